#include "examples/darkroom/ui/SelectionHandles.h"

#include <algorithm>
#include <cmath>

namespace darkroom {

namespace {

/// How far from a side it can be grabbed.
constexpr double kReach = 8;

/// Whether a side is nearer than the other one, and near enough.
bool fnIsNear(double side, double other, double at) {
    const double distance = std::abs(at - side);
    return distance <= kReach && distance <= std::abs(at - other);
}

} // namespace

GrabbedSides fnGrab(const QRectF& frame, const QPointF& press) {
    if (!frame.adjusted(-kReach, -kReach, kReach, kReach).contains(press))
        return {};
    // The middle third of a small rectangle moves it.
    const double insetX = std::min(kReach, frame.width() / 3);
    const double insetY = std::min(kReach, frame.height() / 3);
    if (frame.adjusted(insetX, insetY, -insetX, -insetY).contains(press))
        return {true, true, true, true};
    const GrabbedSides sides{fnIsNear(frame.left(), frame.right(), press.x()),
                             fnIsNear(frame.top(), frame.bottom(), press.y()),
                             fnIsNear(frame.right(), frame.left(), press.x()),
                             fnIsNear(frame.bottom(), frame.top(), press.y())};
    return sides;
}

CRect fnDragSides(const CRect& place, const GrabbedSides& sides, const QPoint& by) {
    CRect moved = place;
    moved.left += sides.m_bLeft ? by.x() : 0;
    moved.right += sides.m_bRight ? by.x() : 0;
    moved.top += sides.m_bTop ? by.y() : 0;
    moved.bottom += sides.m_bBottom ? by.y() : 0;
    if (moved.right <= moved.left)
        (sides.m_bLeft ? moved.left : moved.right) =
            sides.m_bLeft ? moved.right - 1 : moved.left + 1;
    if (moved.bottom <= moved.top)
        (sides.m_bTop ? moved.top : moved.bottom) = sides.m_bTop ? moved.bottom - 1 : moved.top + 1;
    return moved;
}

} // namespace darkroom
