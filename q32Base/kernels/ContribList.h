#pragma once

#include <cstdint>

namespace q32 {

/// One source sample of one output position.
struct ContribEntry {
    std::int32_t pixel; ///< index along the axis, after reflection at the edges
    union {
        float rough; ///< the weight, rounded: for the fast sum
        /// For the whole sum: low and high parts of this entry and the next one, in the order low,
        /// low, high, high. Only every other entry has them.
        std::int8_t parts[4];
    };
    double weight;
};

/// Longer lists have no whole sum.
inline constexpr int kMaxWholeEntries = 128;

/// How a list is summed up in whole numbers, if its table is whole: every weight is a multiple of
/// one part, off by next to nothing.
struct WholeSum {
    float part = 0.0F;      ///< the reciprocal of the weights' denominator
    std::uint8_t radix = 0; ///< a weight is its high parts times radix and its low parts together
    std::uint8_t begin = 0; ///< the first entry; those before have no part
    std::uint8_t pairs = 0; ///< from there on, two entries each; at an odd end the last is alone
};

/// All samples of one output position.
struct ContribList {
    std::int32_t count;
    /// What the fast sum begins with. It then adds up samples times `rough` in single precision, in
    /// any order, each step rounded once. If that sum and the sum less `doubt` are cut to the same
    /// byte, then so is the sum of doubles; otherwise only the latter counts.
    float bias;
    float doubt; ///< below 0: the fast sum doesn't hold the list
    /// Samples of equal value yield just that value, or one less if it is above this. Below 0:
    /// there is no telling.
    std::int16_t flatMost;
    ContribEntry* entries; ///< in the same block
    WholeSum whole = {};   ///< instead of bias, doubt, flatMost and the rough weights
};

/// Added before a sum is truncated: rescues whole numbers from floating-point dust.
inline constexpr double kFilterDust = 1e-10;

} // namespace q32
