#pragma once

#include "q32Base/geometry/CqPoint2D.h"

#include <algorithm>
#include <limits>
#include <span>

/// An axis-aligned rectangle in double coordinates. Left may exceed right, and top bottom; only
/// `fnTransform` orders them, where it computes a bounding box.
///
/// "Empty" means neither width nor height; a rectangle with one of them is not empty. "Null" means
/// that all four fields are near zero.
struct Q32_API CqRect2D {
    /// All four edges 0: empty and null.
    CqRect2D() : CqRect2D(0.0, 0.0, 0.0, 0.0) {}
    /// The edges as they are, not ordered.
    CqRect2D(double left, double top, double right, double bottom)
        : m_Left(left), m_Top(top), m_Right(right), m_Bottom(bottom) {}
    CqRect2D(const RECT& rect) : CqRect2D(rect.left, rect.top, rect.right, rect.bottom) {}
    /// The two points as they are, not ordered.
    CqRect2D(const CqPoint2D& topLeft, const CqPoint2D& bottomRight)
        : CqRect2D(topLeft.m_X, topLeft.m_Y, bottomRight.m_X, bottomRight.m_Y) {}
    CqRect2D(const CqRect2D&) = default;

    CqRect2D& operator=(const CqRect2D&) = default;

    /// The pixels touched, as a half-open rectangle: left and top truncated; right and bottom
    /// truncated, plus 1 if that dropped a fraction, plus 1. So (0, 0, 2.5, 2.5) gives (0, 0, 4,
    /// 4). Coordinates are clamped to 32 bits.
    operator CRect() const;
    /// Offsets by the point's coordinates.
    void operator+=(const CqPoint2D& offset) { fnOffsetRect(offset.m_X, offset.m_Y); }
    void operator-=(const CqPoint2D& offset);
    /// Intersection and union in place. An empty or null rectangle becomes the argument; an empty
    /// or null argument changes nothing.
    void operator&=(const CqRect2D& other);
    void operator|=(const CqRect2D& other);

    /// Negative for an inverted rectangle.
    double fnWidth() const { return m_Right - m_Left; }
    double fnHeight() const { return m_Bottom - m_Top; }
    /// References into this rectangle; writing through them changes it.
    CqPoint2D& fnTopLeft() { return m_TopLeft; }
    CqPoint2D& fnBottomRight() { return m_BottomRight; }
    /// Whether width and height are both within GEOM_EPSILON of 0.
    bool fnIsRectEmpty() const { return q32::fnIsZero(fnWidth()) && q32::fnIsZero(fnHeight()); }
    /// Whether all four edges are within GEOM_EPSILON of 0.
    bool fnIsRectNull() const;
    /// All four edges, and GEOM_EPSILON around them, belong to the rectangle.
    bool fnPtInRect(const CqPoint2D& point) const;

    /// Adds `dx` to left and right, `dy` to top and bottom.
    void fnOffsetRect(double dx, double dy);
    /// Moves each edge outward by `dx` or `dy`.
    void fnInflateRect(int dx, int dy);
    /// Becomes the intersection of `a` and `b`, either of which may be this rectangle, and returns
    /// whether it has an area. Without an overlap it becomes inverted. If one of them is empty or
    /// null it becomes the other one, deliberately, and the result is false.
    bool fnIntersectRect(const CqRect2D& a, const CqRect2D& b);
    /// Becomes the box around `a` and `b`; one that is empty or null is ignored.
    void fnUnionRect(const CqRect2D& a, const CqRect2D& b);
    /// Becomes the bounding box of the transformed corners. By a matrix that passes
    /// `fnHasScaleOnly` or `fnHasTranslateOnly` only the two points are transformed, and a negative
    /// scale inverts the rectangle, deliberately.
    void fnTransform(const CqMatrix2D& matrix);

    union {
        struct {
            double m_Left; ///< smallest x, unless inverted
            double m_Top;  ///< smallest y, unless inverted
        };
        CqPoint2D m_TopLeft; ///< `m_Left` and `m_Top` as a point
    };
    union {
        struct {
            double m_Right;  ///< largest x, unless inverted
            double m_Bottom; ///< largest y, unless inverted
        };
        CqPoint2D m_BottomRight; ///< `m_Right` and `m_Bottom` as a point
    };
};

static_assert(std::is_trivially_copyable_v<CqRect2D> && std::is_standard_layout_v<CqRect2D>);
static_assert(sizeof(CqRect2D) == 4 * sizeof(double));

namespace q32 {

/// Smallest and largest x and y. Without points it is inverted, from the largest finite double to
/// its negative. Coordinates that are not-a-number are ignored.
inline CqRect2D fnBox(std::span<const CqPoint2D> points) {
    constexpr double kMax = std::numeric_limits<double>::max();
    double left = kMax;
    double top = kMax;
    double right = -kMax;
    double bottom = -kMax;
    for (const CqPoint2D& point : points) {
        left = std::min(left, point.m_X);
        top = std::min(top, point.m_Y);
        right = std::max(right, point.m_X);
        bottom = std::max(bottom, point.m_Y);
    }
    return {left, top, right, bottom};
}

} // namespace q32
