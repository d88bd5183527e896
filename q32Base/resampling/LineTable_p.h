#pragma once

#include "q32Base/kernels/LineSums_p.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace q32 {

class QuadTable;

/// The integer sums of a row, sample by sample. The table they come from must outlive them.
class LineTable {
public:
    /// Raises the memory exception.
    /// @param quads     complete, with alignment 1
    /// @param count     of their lists
    /// @param channels  1 to 4
    LineTable(const QuadTable& quads, std::uint32_t count, std::uint32_t channels);

    /// Whether the samples of each group lie close enough together. Otherwise the sums may not be
    /// used.
    bool fnIsComplete() const { return m_bComplete; }
    const LineSums& fnGetSums() const { return m_Sums; }
    /// Bytes beyond the source's last pixel of a group that may be read.
    std::size_t fnGetReach() const;

private:
    bool fnFindWindows(const QuadTable& quads, std::uint32_t count);
    void fnSetGroup(const QuadTable& quads, std::size_t group);
    bool fnSetFlats(const QuadTable& quads, std::size_t group);
    std::size_t fnGetGroups() const;
    void fnAllocate();

    bool m_bComplete;
    std::size_t m_nSamples;
    LineSums m_Sums = {};
    std::unique_ptr<std::uint32_t[]> m_pFirst;
    std::unique_ptr<unsigned char[]> m_pBlock;
    LineGroup* m_pGroups = nullptr;
    LineWeights* m_pWeights = nullptr;
    std::unique_ptr<LineFlats[]> m_pFlats;
};

/// The integer sums of a row where they exist for a table, or null.
std::unique_ptr<LineTable> fnMakeLines(const QuadTable* quads, std::uint32_t count,
                                       std::uint32_t channels);

} // namespace q32
