#include "q32Base/framework/Memory.h"
#include "q32Base/geometry/CqRect2D.h"
#include "q32Base/geometry/GeometryTolerance.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/kernels/Epsilon.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/operations/Rotate_p.h"
#include "q32Base/platform/Checked_p.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

namespace {

/// The internal angle of a rotation: the given one negated and reduced to between -360 and 360.
/// Subtracting 360 repeatedly would give the same bits as the remainder, since each difference is
/// exact up to 2^56.
double fnInnerAngle(double angle) {
    double a = std::fmod(std::fabs(angle), 360.0);
    if (a > 360.0 - q32::kEpsilon)
        a -= 360.0;
    return angle >= 0.0 ? -a : a;
}

bool fnIsNear(double a, double value) {
    return std::fabs(a - value) < q32::kEpsilon;
}

struct RotatedSize {
    std::int64_t m_nWidth;
    std::int64_t m_nHeight;
};

/// The size of the picture rotated about its pivot, with a margin. The box starts at the smallest
/// positive number, deliberately: one that lies completely on the negative side is measured from 0.
RotatedSize fnBoundingBox(const CqTileMap& map, const CPoint& center, double s, double c,
                          bool antiAlias) {
    CqRect2D area(0.0, 0.0, map.Width - 1.0, map.Height - 1.0);
    area.fnOffsetRect(-static_cast<double>(center.x), -static_cast<double>(center.y));
    const CqPoint2D corners[] = {{area.m_Left, area.m_Top},
                                 {area.m_Right, area.m_Top},
                                 {area.m_Right, area.m_Bottom},
                                 {area.m_Left, area.m_Bottom}};
    constexpr double kMax = std::numeric_limits<double>::max();
    constexpr double kMin = std::numeric_limits<double>::min();
    CqRect2D box(kMax, kMax, kMin, kMin);
    for (const CqPoint2D& corner : corners) {
        const double x = corner.m_X * c - corner.m_Y * s;
        const double y = corner.m_Y * c + corner.m_X * s;
        box.m_Left = std::min(box.m_Left, x);
        box.m_Top = std::min(box.m_Top, y);
        box.m_Right = std::max(box.m_Right, x);
        box.m_Bottom = std::max(box.m_Bottom, y);
    }
    const auto span = [](double least, double most) {
        auto end = static_cast<std::int64_t>(most);
        if (most - static_cast<double>(end) > q32::kEpsilon)
            ++end;
        return end - static_cast<std::int64_t>(least);
    };
    const int margin = antiAlias ? 5 : 3; // space for the blended edge
    return {span(box.m_Left, box.m_Right) + margin, span(box.m_Top, box.m_Bottom) + margin};
}

/// Raises the memory exception for a size that no image can have.
std::unique_ptr<CqTileMap> fnNewMap(const CqTileMap& map, const RotatedSize& size,
                                    q32::BlockContents contents) {
    constexpr std::int64_t kMax = 0xFFFFFFFF;
    if (size.m_nWidth > kMax || size.m_nHeight > kMax)
        AfxThrowMemoryException();
    return std::unique_ptr<CqTileMap>(q32::fnNew<CqTileMap>(
        static_cast<std::uint32_t>(size.m_nWidth), static_cast<std::uint32_t>(size.m_nHeight),
        map.BitCount, map.Palette.get(), map.PaletteCount, contents));
}

} // namespace

void CqImage::fnRotate(double angle, const CqColor& background, CPoint* center, bool antiAlias,
                       CqProgressDisplay* progress) {
    q32::fnRequirePixels("CqImage::fnRotate", TileMap);
    const double a = fnInnerAngle(angle);
    // Infinity and not-a-number aren't angles, and 4-bit pixels can't be moved one by one.
    if (!(std::fabs(a) >= q32::kEpsilon) || BitCount == 4)
        return;
    CPoint middle(static_cast<LONG>(Width >> 1), static_cast<LONG>(Height >> 1));
    CPoint& pivot = center ? *center : middle;
    const double radians = q32::fnRadians(a);
    const double s = std::sin(radians);
    const double c = std::cos(radians);

    // The size depends on an exact right angle, the method on an approximate one: an angle that is
    // nearly right gets the larger map and moved pixels, deliberately.
    std::unique_ptr<CqTileMap> target;
    CPoint newCenter;
    const double right = std::fabs(a);
    if (right == 90.0 || right == 270.0) {
        target = fnNewMap(*TileMap, {Height, Width}, q32::BlockContents::ANY);
    } else if (right != 180.0) {
        const RotatedSize size = fnBoundingBox(*TileMap, pivot, s, c, antiAlias);
        // Moved pixels don't fill the larger map, and those of 16 bits aren't sampled.
        const bool fills = BitCount != 16 && !fnIsNear(std::remainder(right, 90.0), 0.0);
        target =
            fnNewMap(*TileMap, size, fills ? q32::BlockContents::ANY : q32::BlockContents::ZERO);
        newCenter = {static_cast<LONG>(size.m_nWidth / 2), static_cast<LONG>(size.m_nHeight / 2)};
    }

    bool done;
    if (fnIsNear(a, 90.0) || fnIsNear(a, -270.0)) {
        done = q32::fnRotateQuarterLeft(*TileMap, *target, pivot, progress);
    } else if (fnIsNear(right, 180.0)) {
        done = q32::fnRotateHalf(*TileMap, pivot, progress);
    } else if (fnIsNear(a, 270.0) || fnIsNear(a, -90.0)) {
        done = q32::fnRotateQuarterRight(*TileMap, *target, pivot, progress);
    } else {
        // Palette images are never blended, but keep the larger margin.
        const bool blended = antiAlias && (BitCount != 8 || TileMap->GrayScale);
        done = q32::fnRotateAny(*TileMap, *target, {s, c, pivot, newCenter, background, blended},
                                progress);
        pivot = newCenter; // also after an abort
    }
    // Both the last call's result and the display's own state count: a host's own display may set
    // only one of the two. A display left aborted by an earlier run keeps the picture too,
    // deliberately, even if nothing was reported to it here.
    if (done && target && !(progress && progress->fnWasAborted()))
        fnSetBuf(target.release());
}
