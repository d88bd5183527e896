/// @file
/// The weights of the cubic filter: which samples along an axis contribute to one output position.
#pragma once

#include "q32Base/kernels/Epsilon.h"

#include <cstdint>

namespace q32 {

/// One source sample of one output position.
struct ContribEntry {
    std::int32_t m_nPixel; ///< index along the axis, after reflection at the edges
    union {
        float m_fWeight; ///< the approximate weight, in single precision, for the fast sum
        /// For the fixed-point sum: low and high parts of this entry and the next one, in the order
        /// low, low, high, high. Only every other entry has them.
        std::int8_t m_Parts[4];
    };
    double m_dWeight;
};

/// Longer lists have no fixed-point sum.
inline constexpr int kMaxFixedPointEntries = 128;

/// How a list is summed in integers, if its table is fixed-point: every weight is an integral
/// number of units, up to a negligible deviation.
struct FixedPointSum {
    float m_fUnit = 0.0F;      ///< the reciprocal of the weights' denominator
    std::uint8_t m_nRadix = 0; ///< a weight is its high part times the radix plus its low part
    std::uint8_t m_nBegin = 0; ///< the first entry; those before have a weight of 0
    std::uint8_t m_nPairs = 0; ///< of entries, from there on; an odd last one has no partner
};

/// All samples of one output position.
struct ContribList {
    std::int32_t m_nCount;
    /// The start value of the fast sum, which then adds samples times approximate weights in single
    /// precision, in any order, each step rounded once. If that sum and the sum less the error
    /// bound are truncated to the same byte, so is the sum of doubles; otherwise the sum of doubles
    /// decides.
    float m_fBias;
    float m_fErrorBound; ///< below 0: the fast sum can't be used for this list
    /// Samples of equal value yield that value up to this limit, and one less above it. Below 0:
    /// nothing is known about equal samples.
    std::int16_t m_nFlatMax;
    ContribEntry* m_pEntries;        ///< in the same block
    FixedPointSum m_FixedPoint = {}; ///< in place of bias, error bound, flat limit and m_fWeight
};

/// Added before a sum is truncated, so that rounding errors don't push an integer below itself.
inline constexpr double kFilterDust = kEpsilon;

/// The byte that a sum of doubles is stored as: kFilterDust is added, then the sum is truncated and
/// clamped to a byte. Not-a-number gives 0. Not inline: see Avx2_p.h.
std::uint8_t fnStoredByte(double sum);

} // namespace q32
