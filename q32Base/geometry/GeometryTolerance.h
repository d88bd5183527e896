/// @file
/// The tolerances that all 2-D geometry shares, pi, and the comparisons based on them.
///
/// Tolerances are absolute and per coordinate: neither relative nor Euclidean. "Same" and
/// "different" are separate tests, both strict, so that values exactly GEOM_EPSILON apart are
/// neither, deliberately. CqPoint3D doesn't use them: it compares exactly.
#pragma once

#include "q32Base/kernels/Epsilon.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

/// Absolute tolerance of all 2-D comparisons.
inline constexpr double GEOM_EPSILON = q32::kEpsilon;
/// A parameter lies on a segment strictly between these two, so that a hit on an end counts.
inline constexpr double GEOM_PARAM_LOW = -GEOM_EPSILON;
inline constexpr double GEOM_PARAM_HIGH = 1.0 + GEOM_EPSILON;
/// Above it a curve evaluates to its last point; at or above it a root is no longer an inner hit.
inline constexpr double GEOM_PARAM_ALMOST_ONE = 1.0 - GEOM_EPSILON;
/// Four times the arctangent of 1. All conversions between degrees and radians use it.
inline constexpr double GEOM_PI = std::numbers::pi;

namespace q32 {

/// Less than GEOM_EPSILON from 0, or from each other; false for not-a-number.
inline bool fnIsZero(double value) {
    return std::fabs(value) < GEOM_EPSILON;
}
inline bool fnIsSame(double a, double b) {
    return std::fabs(a - b) < GEOM_EPSILON;
}
/// Not the negation of fnIsSame: both are false at exactly GEOM_EPSILON, and for not-a-number.
inline bool fnIsDifferent(double a, double b) {
    return std::fabs(a - b) > GEOM_EPSILON;
}
/// False only for an ordered value outside the range: not-a-number, which collinear and zero-length
/// segments give, counts as a hit, deliberately.
inline bool fnIsOnSegment(double parameter) {
    return !(parameter <= GEOM_PARAM_LOW) && !(parameter >= GEOM_PARAM_HIGH);
}
/// Radians to degrees: the product first, then the quotient.
inline double fnDegrees(double radians) {
    return radians * 180.0 / GEOM_PI;
}
/// Degrees to radians, by the reciprocal.
inline double fnRadians(double degrees) {
    return GEOM_PI * degrees * 0.005555555555555556;
}
/// Truncates toward zero and clamps to 32 bits; not-a-number gives 0.
inline std::int32_t fnTruncate(double value) {
    if (value >= 2147483647.0)
        return std::numeric_limits<std::int32_t>::max();
    if (value <= -2147483648.0)
        return std::numeric_limits<std::int32_t>::min();
    return std::isnan(value) ? 0 : static_cast<std::int32_t>(value);
}

} // namespace q32
