#pragma once

#include "examples/darkroom/model/Operation.h"

#include <QRgb>
#include <QSize>
#include <QTransform>

namespace darkroom {

/// Where an operation moves a picture's pixels.
struct Placement {
    QSize m_Size;           ///< of the result
    QTransform m_ToSource;  ///< from positions in the result to those in the picture
    QRgb m_Ground = 0;      ///< shown where the result has no pixel of the picture
    bool m_bSmooth = false; ///< pixels are blended
};

/// The placement of an operation that moves pixels, for these values.
Placement fnFindPlacement(const Operation& operation, const CqImage& image,
                          std::span<const int> values);

} // namespace darkroom
