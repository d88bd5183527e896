#pragma once

#include <cstdint>

namespace q32 {

/// One source sample of one output position.
struct ContribEntry {
    std::int32_t pixel; ///< index along the axis, after reflection at the edges
    /// Two whole-number weights for the fast sum, low half first: see ContribList::band. Of a pair
    /// of entries the first has the coarse weights of both, the second the fine weights of both;
    /// a last entry without a partner has its own coarse and fine weight.
    std::uint32_t pair;
    double weight;
};

/// All samples of one output position.
struct ContribList {
    /// A weight is close to coarse / 2^14 + fine / 2^29. A sum of bytes by these weights, kept as
    /// a multiple of 2^-22, lies less than `band` of these units away from the sum of doubles.
    /// 0: the whole-number weights don't hold the list, and only the sum of doubles counts.
    static constexpr int kCoarseBits = 14;
    static constexpr int kFineBits = 15;
    static constexpr int kSumBits = 22;

    std::int32_t count;
    std::int16_t band;
    /// The weights sum up so close to 1 that samples of equal value yield just that value.
    bool flat;
    ContribEntry* entries; ///< in the same block
};

/// Added before a sum is truncated: rescues whole numbers from floating-point dust.
inline constexpr double kFilterDust = 1e-10;

} // namespace q32
