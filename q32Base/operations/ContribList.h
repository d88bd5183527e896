#pragma once

#include <cstdint>

namespace q32 {

/// One source sample of one output position.
struct ContribEntry {
    std::int32_t pixel; ///< index along the axis, after reflection at the edges
    float rough;        ///< the weight, rounded: for the fast sum
    double weight;
};

/// All samples of one output position.
struct ContribList {
    std::int32_t count;
    /// What the fast sum begins with. It then adds up samples times `rough` in single precision, in
    /// any order, each step rounded once. If that sum and the sum less `doubt` are cut to the same
    /// byte, then so is the sum of doubles; otherwise only the latter counts.
    float bias;
    float doubt; ///< below 0: the fast sum doesn't hold the list
    /// The weights sum up so close to 1 that samples of equal value yield just that value.
    bool flat;
    ContribEntry* entries; ///< in the same block
};

/// Added before a sum is truncated: rescues whole numbers from floating-point dust.
inline constexpr double kFilterDust = 1e-10;

} // namespace q32
