#pragma once

#include <cstdint>

class CqProgressDisplay;
class CqTileMap;

namespace q32 {

/// The kernel of a blur in one direction. See Blur.h.
struct BlurKernel {
    std::uint32_t m_nPair = 1;  ///< width of two of the boxes; odd
    std::uint32_t m_nThird = 1; ///< width of the third; odd
    std::uint32_t m_nSide = 0;  ///< f of the fourth kernel; 0: there is none

    static constexpr std::uint32_t kSideSum = 256;

    /// The sum of the boxes' product.
    std::uint64_t fnGetBoxSum() const { return std::uint64_t{m_nPair} * m_nPair * m_nThird; }
    /// The sum of the whole kernel.
    std::uint64_t fnGetSum() const { return fnGetBoxSum() * (m_nSide != 0 ? kSideSum : 1); }
    /// Samples to each side of the centre.
    std::uint32_t fnGetReach() const {
        return (2 * m_nPair + m_nThird - 3) / 2 + (m_nSide != 0 ? 1 : 0);
    }
};

/// The kernel for a standard deviation. One that isn't above 0 gives a kernel of one sample.
BlurKernel fnMakeBlurKernel(double sigma);

/// Blurs `source`, an 8-bit grey, 24-bit or 32-bit map, into `target`, which has the same size and
/// depth and may be the same map. False after an abort: the target's contents are then
/// meaningless. Raises the memory exception.
/// @param progress  may be null
/// @param percent   what its reports add up to
bool fnBlurMap(const CqTileMap& source, CqTileMap& target, const BlurKernel& kernel,
               CqProgressDisplay* progress, unsigned percent = 100);

} // namespace q32
