/// @file
/// The bounding box of points.
#pragma once

#include "q32Base/geometry/CqRect2D.h"

#include <algorithm>
#include <limits>
#include <span>

namespace q32 {

/// Smallest and largest x and y. Of no points at all: turned inside out, from the largest finite
/// double to its negative. Coordinates that are not a number don't count.
inline CqRect2D fnBox(std::span<const CqPoint2D> points) {
    constexpr double kMost = std::numeric_limits<double>::max();
    double left = kMost;
    double top = kMost;
    double right = -kMost;
    double bottom = -kMost;
    for (const CqPoint2D& point : points) {
        left = std::min(left, point.m_X);
        top = std::min(top, point.m_Y);
        right = std::max(right, point.m_X);
        bottom = std::max(bottom, point.m_Y);
    }
    return {left, top, right, bottom};
}

} // namespace q32
