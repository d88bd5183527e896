#pragma once

#include "examples/darkroom/model/Operation.h"

#include <QRgb>
#include <QSize>
#include <QTransform>

namespace darkroom {

/// Where an operation moves a picture's pixels to.
struct Placement {
    QSize m_Size;           ///< of the result
    QTransform m_ToSource;  ///< from places in the result to those in the picture
    QRgb m_Ground = 0;      ///< seen where no pixel of the picture comes to lie
    bool m_bSmooth = false; ///< pixels are blended
};

/// The placement by an operation that moves pixels, with these values.
Placement fnFindPlacement(const Operation& operation, const CqImage& image,
                          std::span<const int> values);

} // namespace darkroom
