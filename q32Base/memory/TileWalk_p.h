/// @file
/// Where the pixels of an image lie, and the walk over its tiles. All arguments must lie inside the
/// image.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/memory/CqTileMap_p.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>

namespace q32 {

/// Locates the pixels of an image, or of a buffer that is tiled like one, for loops that read tile
/// memory without an accessor. For 8 bits a pixel and more. Owns nothing.
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
    ///                  column and row may be smaller; inside a tile, rows follow each other
    ///                  without padding
    /// @param isScratch whether the pixels lie in a scratch file
    PixelArea(const TileEntry* tiles, std::uint32_t shiftX, std::uint32_t shiftY,
              std::uint32_t width, std::uint32_t height, std::uint32_t bytesPerPixel,
              bool isScratch)
        : m_pTiles(tiles), m_nAcross(((width - 1) >> shiftX) + 1), m_nShiftX(shiftX),
          m_nShiftY(shiftY), m_nTileWidth(1u << shiftX),
          m_nLastWidth(width - ((m_nAcross - 1) << shiftX)), m_nWidth(width), m_nHeight(height),
          m_nBytes(bytesPerPixel), m_bScratch(isScratch) {}

    std::uint32_t fnGetWidth() const { return m_nWidth; }
    std::uint32_t fnGetHeight() const { return m_nHeight; }
    std::uint32_t fnGetBytesPerPixel() const { return m_nBytes; }
    /// Whether the pixels lie in a scratch file.
    bool fnIsScratch() const { return m_bScratch; }

    unsigned char* fnAt(std::uint32_t x, std::uint32_t y) const {
        assert(x < m_nWidth && y < m_nHeight);
        const std::uint32_t column = x >> m_nShiftX;
        const std::uint32_t row = y >> m_nShiftY;
        const TileEntry& tile = m_pTiles[static_cast<std::size_t>(row) * m_nAcross + column];
        const std::size_t inTile =
            static_cast<std::size_t>(y - (row << m_nShiftY)) * fnTileWidth(column) +
            (x - (column << m_nShiftX));
        return tile.Pixels + inTile * m_nBytes;
    }
    /// Bytes from one row to the next, in the tile column of x.
    std::ptrdiff_t fnGetStride(std::uint32_t x) const {
        return static_cast<std::ptrdiff_t>(fnTileWidth(x >> m_nShiftX)) * m_nBytes;
    }
    /// The first row below y that doesn't lie one stride after the row above it.
    std::uint32_t fnRowsEnd(std::uint32_t y) const {
        return m_nShiftY == 31 ? m_nHeight
                               : std::min(m_nHeight, ((y >> m_nShiftY) + 1) << m_nShiftY);
    }
    /// The first column of the pixels that are contiguous with x.
    std::uint32_t fnRunBegin(std::uint32_t x) const { return x >> m_nShiftX << m_nShiftX; }
    /// The end of the pixels that are contiguous with x: the column after the last one.
    std::uint32_t fnRunEnd(std::uint32_t x) const {
        return m_nAcross == 1 ? m_nWidth : std::min(m_nWidth, ((x >> m_nShiftX) + 1) << m_nShiftX);
    }

private:
    std::uint32_t fnTileWidth(std::uint32_t column) const {
        return column + 1 == m_nAcross ? m_nLastWidth : m_nTileWidth;
    }

    const TileEntry* m_pTiles;
    std::uint32_t m_nAcross;
    std::uint32_t m_nShiftX; ///< 7, tiles of 128, if there are several in that direction
    std::uint32_t m_nShiftY;
    std::uint32_t m_nTileWidth;
    std::uint32_t m_nLastWidth;
    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    std::uint32_t m_nBytes;
    bool m_bScratch;
};

/// The part of a rectangle that lies in one tile, as plain memory.
struct TilePiece {
    CRect m_rect;             ///< in pixels of the image
    unsigned char* m_pPixels; ///< the top left pixel; at 4 bits the byte that holds it
    std::size_t m_nStride;    ///< bytes from one row to the next
};

/// Calls `visit(piece)` for each part of `rect`, in row-major order of tiles.
template <class Visit>
void fnForEachPiece(const PixelArea& area, const CRect& rect, Visit visit) {
    const auto left = static_cast<std::uint32_t>(rect.left);
    const auto right = static_cast<std::uint32_t>(rect.right);
    const auto bottom = static_cast<std::uint32_t>(rect.bottom);
    assert(rect.left >= 0 && right <= area.fnGetWidth());
    assert(rect.top >= 0 && bottom <= area.fnGetHeight());
    for (auto y = static_cast<std::uint32_t>(rect.top); y < bottom;) {
        const std::uint32_t endY = std::min(bottom, area.fnRowsEnd(y));
        for (std::uint32_t x = left; x < right;) {
            const std::uint32_t endX = std::min(right, area.fnRunEnd(x));
            visit(TilePiece{CRect(static_cast<LONG>(x), static_cast<LONG>(y),
                                  static_cast<LONG>(endX), static_cast<LONG>(endY)),
                            area.fnAt(x, y), static_cast<std::size_t>(area.fnGetStride(x))});
            x = endX;
        }
        y = endY;
    }
}

template <class Visit>
void fnForEachPiece(const CqTileMap& map, const CRect& rect, Visit visit) {
    if (map.BytesPerPixel != 0)
        return fnForEachPiece(PixelArea(map), rect, visit);
    const std::size_t first = std::size_t{map.RowBytes} * static_cast<std::uint32_t>(rect.top) +
                              static_cast<std::uint32_t>(rect.left) / 2;
    visit(TilePiece{rect, map.PixelBuffer + first, map.RowBytes});
}

} // namespace q32
