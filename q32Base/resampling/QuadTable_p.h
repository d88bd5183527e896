#pragma once

#include "q32Base/kernels/QuadList_p.h"

#include <cstdint>
#include <memory>

namespace q32 {

class ContribTable;

/// The integer sums of a table's lists, for the kernels that work in quads. The table must outlive
/// them.
class QuadTable {
public:
    /// Raises the memory exception.
    /// @param count      of the table's lists
    /// @param alignment  quads begin with multiples of this pixel: 1 or 4
    QuadTable(const ContribTable& table, std::uint32_t count, std::int32_t alignment);

    /// Whether all lists have integer sums. Otherwise none may be used.
    bool fnIsComplete() const { return m_bComplete; }
    const QuadList& operator[](std::uint32_t i) const { return m_pLists[i]; }

private:
    bool m_bComplete = false;
    std::unique_ptr<QuadList[]> m_pLists;
    std::unique_ptr<QuadWeights[]> m_pWeights;
};

/// The integer sums of a table's lists where the kernels prefer them, or null. For the arguments
/// see QuadTable.
std::unique_ptr<QuadTable> fnMakeQuads(const ContribTable& table, std::uint32_t count,
                                       std::int32_t alignment);

/// Sets the integer sum of a list. False if it has none: for too many entries or too large weights.
/// @param weights  receives the weights; fnFindMaxQuads of the entries are enough
bool fnSetQuadWeights(const ContribList& list, std::int32_t alignment, QuadList& quads,
                      QuadWeights* weights);

/// Longer lists have no integer sum.
inline constexpr std::uint32_t kMaxQuadEntries = 500;

/// The most quads of a list of `entries` entries, at any alignment.
constexpr std::uint32_t fnFindMaxQuads(std::uint32_t entries) {
    return (entries + 6) / 4;
}

} // namespace q32
