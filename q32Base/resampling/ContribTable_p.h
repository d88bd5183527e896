#pragma once

#include "q32Base/kernels/ContribList_p.h"

#include <cstdint>
#include <memory>

namespace q32 {

/// Longer sums are computed in double directly from the source: the buffers of shorter ones take
/// memory for each sample, and the fast sum isn't valid for such lists anyway.
inline constexpr std::uint32_t kWideSum = 4096;

/// Lists of a larger total weight have no fast sum, so that sums of bytes are below 512 in size.
inline constexpr double kMaxWeight = 1.9;
double fnWeightSize(const ContribList& list);

/// The denominator that all weights share, among those of the usual factors, or 0. A sum of bytes
/// then counts as an integral multiple of its reciprocal: the weights deviate so little that
/// kFilterDust compensates for it.
double fnDenominator(const ContribList& list);

/// See ContribList::m_nFlatMax.
std::int16_t fnFindFlatMax(const ContribList& list);

/// Sets what the fast sum needs in a list whose entries have their weights.
void fnSetApproximateWeights(ContribList& list);

/// Sets what the fixed-point sum needs in such a list instead. False if its weights aren't
/// multiples of one unit.
bool fnSetFixedPointWeights(ContribList& list);

/// The samples and weights of one axis, for the filter of Mitchell and Netravali with B = C = 1/3
/// (Reconstruction Filters in Computer Graphics, 1988), whose support widens when reducing. One
/// heap block: the lists, then an array of `fnGetCapacity` entries for each.
///
/// Output position i is at source position i / scale: there is no half-pixel offset. Samples beyond
/// an edge are reflected, with the edge sample used once at the low side and twice at the high
/// side; a source shorter than the filter's support is reflected repeatedly.
class ContribTable {
public:
    /// Raises the memory exception, also for a table that can't fit in memory.
    /// @param scale  target over source; above 0
    /// @param sums   whether the lists get fixed-point or fast sums; sums of doubles, and integer
    /// sums (QuadTable), need neither
    ContribTable(double scale, std::uint32_t dstCount, std::uint32_t srcCount, bool sums = true);

    const ContribList& operator[](std::uint32_t i) const { return m_pLists[i]; }
    /// The most entries that a list can have.
    std::uint32_t fnGetCapacity() const { return m_nCapacity; }
    /// Whether all lists have fixed-point sums, as for the usual factors. Otherwise all have fast
    /// sums.
    bool fnIsFixedPoint() const { return m_bFixedPoint; }

private:
    void fnFillList(ContribList& list, std::uint32_t i, double scale, std::uint32_t srcCount) const;

    double m_nWidth; ///< the filter's support to each side, in source samples
    std::uint32_t m_nCapacity = 0;
    bool m_bFixedPoint = false;
    std::unique_ptr<unsigned char[]> m_pBlock;
    ContribList* m_pLists = nullptr;
};

} // namespace q32
