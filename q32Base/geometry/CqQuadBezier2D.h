#pragma once

#include "q32Base/geometry/CqLine2D.h"
#include "q32Base/geometry/CqRect2D.h"

/// A quadratic Bezier curve, from m_Points[0] at t = 0 to m_Points[2] at t = 1. See also
/// CqCubicBezier2D.
///
/// The thickness is stored and copied to parts of the curve; no computation uses it. Nothing fails.
/// Curves of finite coordinates are divided into at most about 2^25 parts; infinity and
/// not-a-number give no useful result, but terminate.
struct Q32_API CqQuadBezier2D {
    /// All points at the origin, thickness 0.
    CqQuadBezier2D() = default;
    /// From the three control points, with their box. Integer points are converted exactly.
    CqQuadBezier2D(const CqPoint2D& p0, const CqPoint2D& p1, const CqPoint2D& p2, double thickness);
    CqQuadBezier2D(const CPoint& p0, const CPoint& p1, const CPoint& p2, double thickness);
    CqQuadBezier2D(const CqQuadBezier2D&) = default;
    ~CqQuadBezier2D() = default;

    CqQuadBezier2D& operator=(const CqQuadBezier2D&) = default;

    /// The stored thickness, in the units of the points.
    double fnGetThickness() const { return m_Thickness; }
    void fnSetThickness(double thickness) { m_Thickness = thickness; }
    /// The bounding box of the control points, not the tight one of the curve.
    CqRect2D fnGetBoundRect() const { return m_BoundRect; }

    /// The point at t. A t below GEOM_EPSILON gives exactly the first point, one above
    /// GEOM_PARAM_ALMOST_ONE the last: the curve is never extrapolated.
    CqPoint2D fnComputeValue(double t) const;
    /// Splits at t = 0.5. The results, each of which may be this curve, have its thickness and
    /// their own boxes.
    void fnBinarySubdivide(CqQuadBezier2D& left, CqQuadBezier2D& right) const;
    /// Splits at t, clamped to 0 to 1, by repeated interpolation.
    void fnSubdivide(double t, CqQuadBezier2D& left, CqQuadBezier2D& right) const;
    /// Reverses the curve's direction. Thickness and box stay.
    void fnReverse();

    /// Crossings with the vertical line at `x` (the horizontal one at `y`): the other coordinate
    /// and t, in the order of the formula, not by increasing t. Slots beyond the count are left as
    /// they were. A curve that begins or ends on the line has only that crossing; one that only
    /// touches it, or lies on it, has none. All are deliberate.
    /// @return 0, 1 or 2
    int fnIntersectX(double x, double& y1, double& t1, double& y2, double& t2) const;
    int fnIntersectY(double y, double& x1, double& t1, double& x2, double& t2) const;
    /// Crossings with a segment, within half a unit, in order of increasing t. One at a joint of
    /// two parts is reported twice, deliberately. A flat curve counts as its chord, and t is the
    /// chord's.
    /// @return the count, which may be above 2: the first t is in `t1` and the last one in `t2`; 0
    ///         when memory for the hits runs out
    int fnIntersectLine(const CqLine2D& line, double& t1, double& t2) const;

    CqPoint2D m_Points[3];    ///< writing to them doesn't update the box
    double m_Thickness = 0.0; ///< in the units of the points
    CqRect2D m_BoundRect;     ///< the box of the points when they were last set as a whole

protected:
    /// Recomputes the box from the points.
    void fnFindBoundRect();
};

static_assert(std::is_trivially_copyable_v<CqQuadBezier2D>);
static_assert(std::is_standard_layout_v<CqQuadBezier2D>);
