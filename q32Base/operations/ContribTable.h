#pragma once

#include "q32Base/kernels/ContribList.h"

#include <cstdint>
#include <memory>

namespace q32 {

/// Sums of more samples are formed in double straight from the source: what speeds up shorter ones
/// takes memory for each sample, and the fast sum doesn't hold such lists anyway.
inline constexpr std::uint32_t kWideSum = 4096;

/// Gives a list, whose entries have their weights, what the fast sum needs.
void fnSetApproximateWeights(ContribList& list);

/// Gives such a list what the fixed-point sum needs instead. False: its weights aren't multiples of
/// one unit.
bool fnSetFixedPointWeights(ContribList& list);

/// The samples and weights of one axis, for the filter of Mitchell and Netravali with B = C = 1/3
/// (Reconstruction Filters in Computer Graphics, 1988), which widens when reducing. One heap block:
/// the lists, then an array of `fnCapacity` entries for each.
///
/// Output position i stands at source position i / scale: there is no half-pixel offset. Samples
/// beyond an edge are reflected, the edge sample being taken once at the low side and twice at the
/// high side; a source shorter than the filter's reach is reflected again and again.
class ContribTable {
public:
    /// @param scale  target over source; above 0
    /// Raises the memory exception, also for a table that no memory can hold.
    ContribTable(double scale, std::uint32_t dstCount, std::uint32_t srcCount);

    const ContribList& operator[](std::uint32_t i) const { return m_pLists[i]; }
    /// The most entries that a list can have.
    std::uint32_t fnCapacity() const { return m_nCapacity; }
    /// All lists have fixed-point sums, as those of the usual factors do. Otherwise all have fast
    /// sums.
    bool fnIsFixedPoint() const { return m_bFixedPoint; }

private:
    void fnFillList(ContribList& list, std::uint32_t i, double scale, std::uint32_t srcCount) const;

    double m_nWidth; ///< how far the filter reaches to each side, in source samples
    std::uint32_t m_nCapacity = 0;
    bool m_bFixedPoint = false;
    std::unique_ptr<unsigned char[]> m_pBlock;
    ContribList* m_pLists = nullptr;
};

} // namespace q32
