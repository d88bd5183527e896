#include "q32Base/framework/Memory.h"
#include "q32Base/resampling/ColumnBands_p.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace q32 {

ColumnBands::ColumnBands(const PixelArea& source, const PixelArea& target,
                         const ContribTable& table, std::uint32_t columns)
    : m_Source(source), m_Target(target), m_Table(table),
      m_bScratch(source.fnIsScratch() || target.fnIsScratch()), m_nColumns(columns),
      m_nAcross((target.fnGetWidth() - 1) / columns + 1),
      m_Blocks(m_bScratch ? Parallel(m_nAcross * fnPlanBands())
                          : Parallel(m_nAcross * fnPlanBands(), fnGetBlockTime())),
      m_SourceWalk(source, VIEW_READ_NEXT, {false, false, false, columns}),
      m_TargetWalk(target, VIEW_WRITE_NEXT, {false, false, false, columns}) {}

/// The end of the band that begins at row y: target rows of the same tiles, and for scratch files
/// so few that the source rows they need fit in memory.
std::uint32_t ColumnBands::fnBandEnd(std::uint32_t y) const {
    constexpr double kBandBytes = 32 << 20; // of the source
    constexpr std::uint32_t kTile = CqTileMap::kMaxTileSize;
    std::uint32_t rows = kTile;
    if (m_Source.fnIsScratch()) {
        const double rowBytes =
            static_cast<double>(m_Source.fnGetWidth()) * m_Source.fnGetBytesPerPixel();
        const double most = (kBandBytes / rowBytes - m_Table.fnGetCapacity()) *
                            m_Target.fnGetHeight() / m_Source.fnGetHeight();
        // Equal parts of a tile.
        const auto parts = static_cast<std::uint32_t>(
            std::ceil(kTile / std::clamp(std::floor(most), 1.0, double{kTile})));
        rows = (kTile + parts - 1) / parts;
    }
    return std::min({m_Target.fnGetHeight() - y, kTile - y % kTile, rows}) + y;
}

/// Sets the bands, and returns how many there are.
std::uint32_t ColumnBands::fnPlanBands() {
    const std::uint32_t height = m_Target.fnGetHeight();
    std::uint32_t count = 0;
    for (std::uint32_t y = 0; y < height; y = fnBandEnd(y))
        ++count;
    m_pBands.reset(fnNewArray<std::uint32_t>(std::size_t{count} + 1));
    std::uint32_t* next = m_pBands.get();
    for (std::uint32_t y = 0; y < height; y = fnBandEnd(y))
        *next++ = y;
    assert(next == m_pBands.get() + count);
    *next = height;
    return count;
}

/// Roughly, in nanoseconds.
double ColumnBands::fnGetBlockTime() const {
    constexpr double kSampleTime = 0.1;
    constexpr double kEntryTime = 0.02;
    return (kSampleTime + kEntryTime * m_Table.fnGetCapacity()) *
           std::min(m_nColumns, m_Target.fnGetWidth()) *
           fnFilterChannels(m_Target.fnGetBytesPerPixel()) *
           std::min(CqTileMap::kMaxTileSize, m_Target.fnGetHeight());
}

ColumnBlock ColumnBands::fnGetBlock(std::uint32_t unit) const {
    const std::uint32_t x = unit % m_nAcross * m_nColumns;
    const std::uint32_t* const band = m_pBands.get() + unit / m_nAcross;
    assert(x < m_Target.fnGetWidth() && band[0] < band[1] && band[1] <= m_Target.fnGetHeight());
    return {x, x + std::min(m_nColumns, m_Target.fnGetWidth() - x), band[0], band[1]};
}

std::uint32_t ColumnBands::fnColumnsDone(const ColumnBlock& block) const {
    const std::uint64_t pixels = std::uint64_t{m_Target.fnGetWidth()} * block.m_nY +
                                 std::uint64_t{block.m_nBottom - block.m_nY} * block.m_nEnd;
    return static_cast<std::uint32_t>(pixels / m_Target.fnGetHeight());
}

void ColumnBands::fnReach(const ColumnBlock& block) {
    const auto [top, last] = fnSourceRows(block.m_nY, block.m_nBottom);
    m_SourceWalk.fnReach(block.m_nX, top, block.m_nEnd - 1, last, fnNextTop(block.m_nBottom));
    m_TargetWalk.fnReach(block.m_nX, block.m_nY, block.m_nEnd - 1, block.m_nBottom - 1,
                         block.m_nBottom);
}

/// The first and the last source row that these target rows need.
std::pair<std::uint32_t, std::uint32_t> ColumnBands::fnSourceRows(std::uint32_t y,
                                                                  std::uint32_t bottom) const {
    std::int32_t first = m_Table[y].m_pEntries[0].m_nPixel;
    std::int32_t last = first;
    for (; y < bottom; ++y)
        for (std::int32_t k = 0; k < m_Table[y].m_nCount; ++k) {
            first = std::min(first, m_Table[y].m_pEntries[k].m_nPixel);
            last = std::max(last, m_Table[y].m_pEntries[k].m_nPixel);
        }
    return {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(last)};
}

/// No target row from y on needs a source row above this one.
std::uint32_t ColumnBands::fnNextTop(std::uint32_t y) const {
    const std::uint32_t height = m_Target.fnGetHeight();
    if (y == height)
        return m_Source.fnGetHeight();
    // Each target row's source rows begin lower than those of the row before, except for rows
    // reflected at the lower edge; of those, the last target row reaches highest.
    return std::min(fnSourceRows(y, y + 1).first, fnSourceRows(height - 1, height).first);
}

} // namespace q32
