#pragma once

#include "q32Base/memory/CqTileMap.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace q32 {

/// Where the pixels of an image lie, or those of a buffer that is cut like one: for loops that go
/// to tile memory without an accessor. Whole bytes a pixel only. Owns nothing.
class PixelArea {
public:
    explicit PixelArea(const CqTileMap& map)
        : m_pTiles(map.TileTable.get()), m_nAcross(map.TilesAcross),
          m_nShiftX(map.TilesAcross == 1 ? 31 : 7), m_nShiftY(map.TilesDown == 1 ? 31 : 7),
          m_nTileWidth(map.TileWidth), m_nLastWidth(map.LastTileWidth), m_nWidth(map.Width),
          m_nHeight(map.Height), m_nBytes(map.BytesPerPixel),
          m_bScratch(map.fnGetBlock().fnIsOnDisk()) {
        static_assert(CqTileMap::kMaxTileSize == 1 << 7);
    }
    /// @param tiles     in row-major order; of `1 << shiftX` by `1 << shiftY` pixels, the last
    ///                  column and row cut; rows follow in a tile without padding
    /// @param isScratch whether they lie in a scratch file
    PixelArea(const TileEntry* tiles, std::uint32_t shiftX, std::uint32_t shiftY,
              std::uint32_t width, std::uint32_t height, std::uint32_t bytesPerPixel,
              bool isScratch)
        : m_pTiles(tiles), m_nAcross(((width - 1) >> shiftX) + 1), m_nShiftX(shiftX),
          m_nShiftY(shiftY), m_nTileWidth(1u << shiftX),
          m_nLastWidth(width - ((m_nAcross - 1) << shiftX)), m_nWidth(width), m_nHeight(height),
          m_nBytes(bytesPerPixel), m_bScratch(isScratch) {}

    std::uint32_t fnWidth() const { return m_nWidth; }
    std::uint32_t fnHeight() const { return m_nHeight; }
    std::uint32_t fnBytesPerPixel() const { return m_nBytes; }
    /// Whether the pixels lie in a scratch file.
    bool fnIsScratch() const { return m_bScratch; }

    unsigned char* fnAt(std::uint32_t x, std::uint32_t y) const {
        const std::uint32_t column = x >> m_nShiftX;
        const std::uint32_t row = y >> m_nShiftY;
        const TileEntry& tile = m_pTiles[static_cast<std::size_t>(row) * m_nAcross + column];
        const std::size_t inTile =
            static_cast<std::size_t>(y - (row << m_nShiftY)) * fnTileWidth(column) +
            (x - (column << m_nShiftX));
        return tile.Pixels + inTile * m_nBytes;
    }
    /// Bytes from a row to the next one, where x lies.
    std::ptrdiff_t fnStride(std::uint32_t x) const {
        return static_cast<std::ptrdiff_t>(fnTileWidth(x >> m_nShiftX)) * m_nBytes;
    }
    /// The first row behind y that doesn't lie one stride behind the row above it.
    std::uint32_t fnRowsEnd(std::uint32_t y) const {
        return m_nShiftY == 31 ? m_nHeight
                               : std::min(m_nHeight, ((y >> m_nShiftY) + 1) << m_nShiftY);
    }
    /// The first pixel behind x that doesn't lie side by side with x.
    std::uint32_t fnRunEnd(std::uint32_t x) const {
        return m_nAcross == 1 ? m_nWidth : std::min(m_nWidth, ((x >> m_nShiftX) + 1) << m_nShiftX);
    }

private:
    std::uint32_t fnTileWidth(std::uint32_t column) const {
        return column + 1 == m_nAcross ? m_nLastWidth : m_nTileWidth;
    }

    const TileEntry* m_pTiles;
    std::uint32_t m_nAcross;
    std::uint32_t m_nShiftX; ///< maps of several tiles have tiles of 128 in that direction
    std::uint32_t m_nShiftY;
    std::uint32_t m_nTileWidth;
    std::uint32_t m_nLastWidth;
    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    std::uint32_t m_nBytes;
    bool m_bScratch;
};

} // namespace q32
