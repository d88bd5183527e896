/// @file Prints a picture on one page.
#pragma once

#include "examples/darkroom/model/Outcome.h"

#include <functional>
#include <QPagedPaintDevice>
#include <QRectF>
#include <QRgb>
#include <QSize>

class CqImage;
class CqProgressDisplay;

namespace darkroom {

enum class PrintSize {
    FIT,       ///< as large as the page allows
    RESOLUTION ///< by the picture's dots per inch, or smaller, so that it fits
};

/// Size of a picture in inches by its resolution; of one without, at 96 dots per inch.
QSizeF fnGetPrintSize(const CqImage& image);

/// Where a picture comes on a page, and in how many samples.
struct PrintPlan {
    QRectF m_Place;  ///< in pixels of the device, in the middle of what it can print
    QSize m_Samples; ///< those of the picture, but at most 300 to the inch
};
PrintPlan fnPlanPrint(const CqImage& image, const QPagedPaintDevice& device, PrintSize size);

/// Converts a row of colours for the output.
using ConvertRow = std::function<void(QRgb* row, int count)>;

/// Prints a picture in bands, so that memory for some rows is enough. White shows through alpha.
/// -5 without a path when the device refuses to print. May throw std::bad_alloc, and raises the
/// memory exception.
Outcome fnPrintPicture(const CqImage& image, QPagedPaintDevice& device, PrintSize size,
                       const ConvertRow& convert, CqProgressDisplay* progress);

/// The same into a PDF file, which replaces one of that name only when it is complete.
/// @param layout      of its page
/// @param resolution  units to the inch in which it places the picture
Outcome fnPrintToPdf(const CqImage& image, const QString& path, const QPageLayout& layout,
                     int resolution, PrintSize size, const ConvertRow& convert,
                     CqProgressDisplay* progress);

} // namespace darkroom
