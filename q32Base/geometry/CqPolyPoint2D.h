#pragma once

#include <cstdint>
#include <type_traits>

/// A position on a polyline: a segment and the parameter on it.
struct CqPolyPoint2D {
    /// No position.
    constexpr CqPolyPoint2D() = default;
    /// The point at `param` of segment `line`.
    constexpr CqPolyPoint2D(int line, double param) : m_Line(line), m_Param(param) {}

    std::int32_t m_Line = -1; ///< index of the segment; -1: none
    double m_Param = 0.0;     ///< 0 at the segment's start, 1 at its end
};

static_assert(std::is_trivially_copyable_v<CqPolyPoint2D>);
