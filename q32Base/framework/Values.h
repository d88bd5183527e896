/// @file
/// CPoint, CSize and CRect: the platform's records with operations, in the same layouts.
#pragma once

#include "q32Base/platform/Records.h"

#include <algorithm>
#include <cstdint>

namespace q32 {

/// Sum and difference of coordinates. They wrap, since some come from files.
inline LONG fnWrapAdd(LONG a, LONG b) {
    return static_cast<LONG>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}
inline LONG fnWrapSub(LONG a, LONG b) {
    return static_cast<LONG>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}
/// Product of arbitrary numbers. It wraps.
inline LONG fnWrapMultiply(LONG a, LONG b) {
    return static_cast<LONG>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

} // namespace q32

/// A width and a height, usually in pixels. Neither is checked.
class CSize : public SIZE {
public:
    /// 0 by 0.
    CSize() : SIZE{0, 0} {}
    /// The given lengths.
    CSize(LONG width, LONG height) : SIZE{width, height} {}
    CSize(const SIZE& size) : SIZE(size) {}

    // Two forms each, so that C++20's reversed one isn't as good for two objects of the class.

    /// Whether both lengths are equal.
    bool operator==(const SIZE& other) const { return cx == other.cx && cy == other.cy; }
    bool operator==(const CSize& other) const { return *this == static_cast<const SIZE&>(other); }
};

/// A position, usually in pixels from the top left corner.
class CPoint : public POINT {
public:
    /// The origin.
    CPoint() : POINT{0, 0} {}
    /// The given coordinates.
    CPoint(LONG px, LONG py) : POINT{px, py} {}
    CPoint(const POINT& point) : POINT(point) {}

    /// Whether both coordinates are equal.
    bool operator==(const POINT& other) const { return x == other.x && y == other.y; }
    bool operator==(const CPoint& other) const { return *this == static_cast<const POINT&>(other); }
    /// Moves the point; sums wrap at 32 bits.
    void Offset(LONG dx, LONG dy) {
        x = q32::fnWrapAdd(x, dx);
        y = q32::fnWrapAdd(y, dy);
    }
};

/// A rectangle; right and bottom are exclusive. Empty means a width or height of 0 or less. Sums
/// and differences wrap at 32 bits.
class CRect : public RECT {
public:
    /// All edges 0: empty.
    CRect() : RECT{0, 0, 0, 0} {}
    /// The given edges, which may be inverted.
    CRect(LONG l, LONG t, LONG r, LONG b) : RECT{l, t, r, b} {}
    CRect(const RECT& rect) : RECT(rect) {}
    /// From the top left corner on, of a size.
    CRect(const POINT& corner, const SIZE& size)
        : RECT{corner.x, corner.y, q32::fnWrapAdd(corner.x, size.cx),
               q32::fnWrapAdd(corner.y, size.cy)} {}

    /// Lengths of the sides, below 0 for an inverted rectangle.
    LONG Width() const { return q32::fnWrapSub(right, left); }
    LONG Height() const { return q32::fnWrapSub(bottom, top); }
    CSize Size() const { return {Width(), Height()}; }
    /// The top left corner.
    CPoint TopLeft() const { return {left, top}; }
    /// Whether there is no pixel in it.
    bool IsRectEmpty() const { return right <= left || bottom <= top; }
    /// Whether a point lies in it: those on the left and top edge do, those on the right and bottom
    /// edge don't.
    bool PtInRect(const POINT& p) const {
        return p.x >= left && p.x < right && p.y >= top && p.y < bottom;
    }

    /// Sets the edges, which may be inverted.
    void SetRect(LONG l, LONG t, LONG r, LONG b) { *this = CRect(l, t, r, b); }
    /// Sets all edges to 0.
    void SetRectEmpty() { *this = CRect(); }
    /// Moves the rectangle.
    void OffsetRect(LONG dx, LONG dy) {
        *this = CRect(q32::fnWrapAdd(left, dx), q32::fnWrapAdd(top, dy), q32::fnWrapAdd(right, dx),
                      q32::fnWrapAdd(bottom, dy));
    }
    /// Moves left and right edge outwards by `dx` each, top and bottom edge by `dy`; negative
    /// numbers move them inwards.
    void InflateRect(LONG dx, LONG dy) {
        *this = CRect(q32::fnWrapSub(left, dx), q32::fnWrapSub(top, dy), q32::fnWrapAdd(right, dx),
                      q32::fnWrapAdd(bottom, dy));
    }
    /// Sets this to the intersection of `a` and `b`; if that is empty, to zeros, and returns false.
    bool IntersectRect(const RECT& a, const RECT& b) {
        const CRect shared(std::max(a.left, b.left), std::max(a.top, b.top),
                           std::min(a.right, b.right), std::min(a.bottom, b.bottom));
        const bool any =
            !CRect(a).IsRectEmpty() && !CRect(b).IsRectEmpty() && !shared.IsRectEmpty();
        *this = any ? shared : CRect();
        return any;
    }
    /// Sets this to the smallest rectangle around `a` and `b`, ignoring an empty one. If both are
    /// empty, sets it to zeros and returns false.
    bool UnionRect(const RECT& a, const RECT& b) {
        const CRect first(CRect(a).IsRectEmpty() ? b : a);
        const CRect second(CRect(b).IsRectEmpty() ? a : b);
        const bool any = !first.IsRectEmpty();
        *this =
            any ? CRect(std::min(first.left, second.left), std::min(first.top, second.top),
                        std::max(first.right, second.right), std::max(first.bottom, second.bottom))
                : CRect();
        return any;
    }
    /// Whether all edges are equal.
    bool operator==(const RECT& o) const {
        return left == o.left && top == o.top && right == o.right && bottom == o.bottom;
    }
    bool operator==(const CRect& o) const { return *this == static_cast<const RECT&>(o); }
};

static_assert(sizeof(CSize) == 8 && sizeof(CPoint) == 8 && sizeof(CRect) == 16);
