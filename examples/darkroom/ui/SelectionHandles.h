/// @file Moving and scaling a rectangle by its sides and corners.
#pragma once

#include "q32Base/framework/Values.h"

#include <QPoint>
#include <QPointF>
#include <QRectF>

namespace darkroom {

/// The sides of a rectangle that follow the cursor: all of them to move it.
struct GrabbedSides {
    bool m_bLeft = false;
    bool m_bTop = false;
    bool m_bRight = false;
    bool m_bBottom = false;

    bool fnIsAny() const { return m_bLeft || m_bTop || m_bRight || m_bBottom; }
};

/// What a press grabs: the sides that are close to it, or all sides anywhere else inside.
/// @param frame  the rectangle, in the coordinates of the press
GrabbedSides fnGrab(const QRectF& frame, const QPointF& press);

/// A rectangle whose grabbed sides are moved. Sides that pass each other leave one pixel.
CRect fnDragSides(const CRect& place, const GrabbedSides& sides, const QPoint& by);

} // namespace darkroom
