#pragma once

namespace q32 {

/// The library's tolerance: a smaller difference between two doubles counts as rounding noise.
inline constexpr double kEpsilon = 1e-10;

} // namespace q32
