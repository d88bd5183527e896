/// @file
/// Draws segments in real coordinates as lines of pixels.
#pragma once

#include "q32Base/geometry/CqPoint2D.h"
#include "q32Base/image/DigitalLine_p.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace q32 {

/// Rounds a coordinate by adding 0.5 and truncating toward zero, and clamps it to 2^30 either way,
/// which is beyond any image. Not-a-number gives 0.
inline std::int32_t fnRoundToPixel(double value) {
    constexpr double kReach = 1073741824.0; // 2^30
    const double rounded = value + 0.5;
    return std::isnan(rounded) ? 0
                               : static_cast<std::int32_t>(std::clamp(rounded, -kReach, kReach));
}

inline void fnDrawSegment(const DigitalLine& line, const CqPoint2D& start, const CqPoint2D& end) {
    line.fnDraw(fnRoundToPixel(start.m_X), fnRoundToPixel(start.m_Y), fnRoundToPixel(end.m_X),
                fnRoundToPixel(end.m_Y));
}

} // namespace q32
