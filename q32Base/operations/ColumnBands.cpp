#include "q32Base/operations/ColumnBands_p.h"

#include <algorithm>
#include <cmath>

namespace q32 {

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

std::uint32_t ColumnBands::fnNextTop(std::uint32_t y) const {
    const std::uint32_t height = m_Target.fnGetHeight();
    if (y == height)
        return m_Source.fnGetHeight();
    // Each target row's source rows begin lower than those of the row before, except for rows
    // reflected at the lower edge; of those, the last target row reaches highest.
    return std::min(fnSourceRows(y, y + 1).first, fnSourceRows(height - 1, height).first);
}

} // namespace q32
