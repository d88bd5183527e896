#include "examples/darkroom/ui/Placement.h"

#include "q32Base/geometry/GeometryTolerance.h"
#include "q32Base/image/CqColor.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <cmath>

namespace darkroom {

namespace {

QSize fnSizeOf(const CqImage& image) {
    return {static_cast<int>(image.Width), static_cast<int>(image.Height)};
}

/// Nearest neighbour, in steps of 1/256 pixel from the corner of the first pixel.
Placement fnNearest(const QSize& from, const QSize& to) {
    const auto step = [](int of, int in) { return std::floor(of * 256.0 / in) / 256; };
    const double x = step(from.width(), to.width());
    const double y = step(from.height(), to.height());
    return {to, QTransform(x, 0, 0, y, -x / 2, -y / 2), 0, false};
}

Placement fnSized(const QSize& from, const QSize& to, double scaleX, double scaleY) {
    if (from == to) // no change, regardless of the values
        return {to, QTransform(), 0, false};
    return {to, QTransform::fromScale(1 / scaleX, 1 / scaleY), 0, true};
}

/// The pixel at the centre, or to the right of and below it for an even size.
QPoint fnMiddle(const QSize& size) {
    return {size.width() / 2, size.height() / 2};
}

/// The size that the library gives a rotated picture: its bounds plus space for the fringe.
QSize fnRotatedSize(const QSize& from, double degrees, bool smooth) {
    const QRectF pixels(-fnMiddle(from), QSizeF(from.width() - 1, from.height() - 1));
    const QRectF box = QTransform().rotate(degrees).mapRect(pixels);
    const auto span = [&](double least, double most) {
        return static_cast<int>(std::ceil(most - GEOM_EPSILON)) - static_cast<int>(least) +
               (smooth ? 5 : 3);
    };
    return {span(box.left(), box.right()), span(box.top(), box.bottom())};
}

/// @param clockwise  in hundredths of degrees
Placement fnPlaceRotated(const QSize& from, int clockwise, bool smooth) {
    const double degrees = static_cast<double>(clockwise) / kDegree;
    if (clockwise % (360 * kDegree) == 0)
        return {from, QTransform(), 0, false};
    QTransform toSource;
    if (clockwise % (90 * kDegree) == 0) {
        const QSize to = clockwise % (180 * kDegree) == 0 ? from : from.transposed();
        toSource.translate(from.width() / 2.0, from.height() / 2.0);
        toSource.rotate(-degrees);
        toSource.translate(-to.width() / 2.0, -to.height() / 2.0);
        return {to, toSource, 0, false};
    }
    // The centre pixels coincide.
    const QSize to = fnRotatedSize(from, degrees, smooth);
    const QPoint there = fnMiddle(from);
    const QPoint here = fnMiddle(to);
    toSource.translate(there.x() + 0.5, there.y() + 0.5);
    toSource.rotate(-degrees);
    toSource.translate(-(here.x() + 0.5), -(here.y() + 0.5));
    return {to, toSource, 0, smooth};
}

} // namespace

Placement fnFindPlacement(const Operation& operation, const CqImage& image,
                          std::span<const int> values) {
    const QSize from = fnSizeOf(image);
    if (operation.m_ePreview == PreviewKind::SIZE) {
        const QSize to(values[0], values[1]);
        const bool paletteImage = image.BitCount <= 8 && !image.fnIsGrayScale();
        if (values[2] == 0 || paletteImage)
            return fnNearest(from, to);
        return fnSized(from, to, static_cast<double>(to.width()) / from.width(),
                       static_cast<double>(to.height()) / from.height());
    }
    Placement placement = fnPlaceRotated(from, values[0], values[1] != 0);
    const CqColor ground(static_cast<unsigned long>(values[2]));
    placement.m_Ground = qRgb(ground.m_Red, ground.m_Green, ground.m_Blue);
    return placement;
}

} // namespace darkroom
