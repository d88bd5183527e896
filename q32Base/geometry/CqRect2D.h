#pragma once

#include "q32Base/geometry/CqPoint2D.h"

#include <algorithm>
#include <limits>
#include <span>

/// An axis-aligned rectangle in double coordinates. Left isn't kept below right, nor top below
/// bottom, and nothing brings them in order but the bounding box of `fnTransform`.
///
/// "Empty" is this class's own word: neither width nor height. A rectangle with one of them is not
/// empty. "Null": all four fields are near zero.
struct Q32_API CqRect2D {
    CqRect2D() : CqRect2D(0.0, 0.0, 0.0, 0.0) {}
    CqRect2D(double left, double top, double right, double bottom)
        : m_Left(left), m_Top(top), m_Right(right), m_Bottom(bottom) {}
    CqRect2D(const RECT& rect) : CqRect2D(rect.left, rect.top, rect.right, rect.bottom) {}
    /// The two points as they are, not ordered.
    CqRect2D(const CqPoint2D& topLeft, const CqPoint2D& bottomRight)
        : CqRect2D(topLeft.m_X, topLeft.m_Y, bottomRight.m_X, bottomRight.m_Y) {}
    CqRect2D(const CqRect2D&) = default;

    CqRect2D& operator=(const CqRect2D&) = default;

    /// The pixels touched, as a half-open rectangle: left and top truncated; right and bottom
    /// truncated, plus 1 if something was cut off, plus 1. So (0, 0, 2.5, 2.5) gives (0, 0, 4, 4).
    /// What lies beyond 32 bits is cut to them.
    operator CRect() const;
    /// Offsets by the point's coordinates.
    void operator+=(const CqPoint2D& offset) { fnOffsetRect(offset.m_X, offset.m_Y); }
    void operator-=(const CqPoint2D& offset);
    /// Intersection and union in place. An empty or null rectangle becomes the argument; an empty
    /// or null argument changes nothing.
    void operator&=(const CqRect2D& other);
    void operator|=(const CqRect2D& other);

    /// Negative for a rectangle turned inside out.
    double fnWidth() const { return m_Right - m_Left; }
    double fnHeight() const { return m_Bottom - m_Top; }
    /// References into this rectangle, to be written through too.
    CqPoint2D& fnTopLeft() { return m_TopLeft; }
    CqPoint2D& fnBottomRight() { return m_BottomRight; }
    bool fnIsRectEmpty() const { return q32::fnIsZero(fnWidth()) && q32::fnIsZero(fnHeight()); }
    bool fnIsRectNull() const;
    /// All four edges belong to the rectangle, and GEOM_EPSILON around it.
    bool fnPtInRect(const CqPoint2D& point) const;

    void fnOffsetRect(double dx, double dy);
    /// Moves each edge outward.
    void fnInflateRect(int dx, int dy);
    /// Becomes what `a` and `b` share, either of which may be this rectangle, and tells whether
    /// that has an area. Without an overlap it is left turned inside out. If one of them is empty
    /// or null it becomes the other one, deliberately, and the result is false.
    bool fnIntersectRect(const CqRect2D& a, const CqRect2D& b);
    /// Becomes the box around `a` and `b`; one that is empty or null doesn't count.
    void fnUnionRect(const CqRect2D& a, const CqRect2D& b);
    /// Becomes the bounding box of the transformed corners. By a matrix that passes
    /// `fnHasScaleOnly` or `fnHasTranslateOnly` only the two points are transformed, and a negative
    /// scale turns the rectangle inside out.
    void fnTransform(const CqMatrix2D& matrix);

    union {
        struct {
            double m_Left;
            double m_Top;
        };
        CqPoint2D m_TopLeft; ///< the same two numbers
    };
    union {
        struct {
            double m_Right;
            double m_Bottom;
        };
        CqPoint2D m_BottomRight;
    };
};

static_assert(std::is_trivially_copyable_v<CqRect2D> && std::is_standard_layout_v<CqRect2D>);
static_assert(sizeof(CqRect2D) == 4 * sizeof(double));

namespace q32 {

/// Smallest and largest x and y. Of no points at all: turned inside out, from the largest finite
/// double to its negative. Coordinates that are not a number don't count.
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
