/// @file
/// The filter's sums in integers: four consecutive samples, a quad, are summed by one instruction.
#pragma once

#include "q32Base/kernels/ContribList_p.h"

#include <cstdint>

namespace q32 {

/// A weight of 1 in the units of the integer sum: 2 to this power.
inline constexpr int kQuadBits = 22;

/// The integer weights of four consecutive samples. A weight is 65536 times its high part plus 256
/// times its middle part plus its low part, each a signed byte; the first sample's is the lowest
/// byte.
struct QuadWeights {
    std::uint32_t m_nHigh;
    std::uint32_t m_nMiddle;
    std::uint32_t m_nLow;
};

/// How a list is summed in integers. The bias plus the samples times their integer weights fits
/// into 32 bits with sign. If that sum and the sum less the error bound, both shifted right by
/// kQuadBits, are equal, they are the sum of doubles, truncated; otherwise the sum of doubles
/// decides. The result is then clamped to a byte.
struct QuadList {
    const QuadWeights* m_pWeights;
    const ContribList* m_pExact; ///< the entries of the sum of doubles
    std::int32_t m_nQuads;
    std::int32_t m_nFirst; ///< the pixel of the first quad's first sample
    std::int32_t m_nLeast; ///< the entries' first pixel
    std::int32_t m_nMost;  ///< and their last one; all between have entries
    std::int32_t m_nBias;
    std::uint32_t m_nErrorBound; ///< 0: no sum needs the doubles
    std::int16_t m_nFlatMax;     ///< see ContribList
};

} // namespace q32
