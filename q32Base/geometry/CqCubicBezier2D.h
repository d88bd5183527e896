#pragma once

#include "q32Base/geometry/CqLine2D.h"
#include "q32Base/geometry/CqRect2D.h"

class CArchive;
class CqColor;
class CqImage;
class CqPolyline2D;

/// A cubic Bezier curve, from m_Points[0] at t = 0 to m_Points[3] at t = 1.
///
/// The thickness is stored and copied to parts of the curve; no computation uses it. Division into
/// flat parts measures the inner control points' distances from the line through the ends; a curve,
/// or part, that ends where it starts counts as flat, whatever its other points, deliberately.
/// Curves of finite coordinates consist of at most about 2^25 parts; infinity and not-a-number give
/// no useful result, but terminate. The host limits the parts (CurveLimit.h).
struct Q32_API CqCubicBezier2D {
    /// All points at the origin, thickness 0.
    CqCubicBezier2D() = default;
    CqCubicBezier2D(const CqPoint2D& p0, const CqPoint2D& p1, const CqPoint2D& p2,
                    const CqPoint2D& p3, double thickness);
    CqCubicBezier2D(const CPoint& p0, const CPoint& p1, const CPoint& p2, const CPoint& p3,
                    double thickness);
    CqCubicBezier2D(const CqCubicBezier2D&) = default;
    ~CqCubicBezier2D() = default;

    CqCubicBezier2D& operator=(const CqCubicBezier2D&) = default;

    double fnGetThickness() const { return m_Thickness; }
    void fnSetThickness(double thickness) { m_Thickness = thickness; }
    /// The bounding box of the control points, not the tight one of the curve.
    CqRect2D fnGetBoundRect() const { return m_BoundRect; }

    /// Value and derivatives at t. A t below GEOM_EPSILON counts as the start, one above
    /// GEOM_PARAM_ALMOST_ONE as the end: the curve is never extrapolated.
    CqPoint2D fnComputeValue(double t) const;
    CqPoint2D fnDerivative1(double t) const;
    CqPoint2D fnDerivative2(double t) const;
    /// The four cubic basis values. A t below GEOM_EPSILON counts as 0; there is no such test at 1.
    static double fnBernstein0(double t);
    static double fnBernstein1(double t);
    static double fnBernstein2(double t);
    static double fnBernstein3(double t);

    /// Splits at t = 0.5. The results, each of which may be this curve, have its thickness and
    /// their own boxes.
    void fnBinarySubdivide(CqCubicBezier2D& left, CqCubicBezier2D& right) const;
    /// Splits at t, clamped to 0 to 1, by the closed polynomial form.
    void fnSubdivide(double t, CqCubicBezier2D& left, CqCubicBezier2D& right) const;
    /// Reverses the curve's direction. Thickness and box stay.
    void fnReverse();
    /// The mean length of the curve's four quarters, deliberately: about a quarter of its length.
    /// Multiply it by 4.
    double fnFindLength() const;

    /// Crossings with the vertical line at `x` (the horizontal one at `y`): the other coordinate
    /// and t, in the order of the formula, not by increasing t. Slots beyond the count are left as
    /// they were. A curve that begins or ends on the line has only that crossing; one that lies on
    /// it has none. All are deliberate.
    /// @return 0 to 3
    int fnIntersectX(double x, double& y1, double& t1, double& y2, double& t2, double& y3,
                     double& t3) const;
    int fnIntersectY(double y, double& x1, double& t1, double& x2, double& t2, double& x3,
                     double& t3) const;
    /// Crossings with a segment, within half a unit, in order of increasing t. One at a joint of
    /// two parts is reported twice, deliberately. A flat curve counts as its chord, and t is the
    /// chord's.
    /// @return the count, which may be above 3: the first two are in `t1` and `t2`, the last one in
    ///         `t3`; 0 when memory for the hits runs out, and beyond the limit of parts
    int fnIntersectLine(const CqLine2D& line, double& t1, double& t2, double& t3) const;

    /// Replaces the polyline by segments that lie within `tolerance` of the curve; the record of
    /// each is its range of t, with tag 0. A tolerance below the rounding of the coordinates counts
    /// as that rounding. Raises CMemoryException, also beyond the limit of parts, with the polyline
    /// incomplete.
    void fnTessellate(CqPolyline2D& polyline, double tolerance) const;
    /// Draws the curve one pixel wide, as lines with a flatness of half a pixel, by the rules of
    /// `CqLine2D::fnRasterize`. The thickness is ignored. Parts that can't touch the image count as
    /// few. Raises CMemoryException beyond the limit of parts, with the curve drawn up to there,
    /// and for lost pixels of the image, with all of it drawn.
    void fnRasterize(CqImage& image, const CqColor& color);

    /// Saves or loads the control points: eight doubles, x and y of each. Loading computes the box
    /// again and keeps the thickness; if it fails, with the archive's exceptions, nothing is
    /// changed.
    void fnSerialize(CArchive& ar);

    CqPoint2D m_Points[4]; ///< writing to them doesn't update the box
    double m_Thickness = 0.0;
    CqRect2D m_BoundRect;

protected:
    void fnFindBoundRect();
};

static_assert(std::is_trivially_copyable_v<CqCubicBezier2D>);
static_assert(std::is_standard_layout_v<CqCubicBezier2D>);
