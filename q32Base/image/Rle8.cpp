#include "q32Base/image/CqImage.h"
#include "q32Base/image/DibLayout_p.h"
#include "q32Base/memory/CqTileMap_p.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace {

/// Reads a stream that may end anywhere.
class RleStream {
public:
    RleStream(const unsigned char* bytes, std::size_t size) : m_pAt(bytes), m_nLeft(size) {}

    /// Reads two bytes. False at the end.
    bool fnTakePair(unsigned char& first, unsigned char& second) {
        if (m_nLeft < 2)
            return false;
        first = m_pAt[0];
        second = m_pAt[1];
        m_pAt += 2;
        m_nLeft -= 2;
        return true;
    }

    /// Takes up to `count` bytes, setting `there` to how many are left; after an odd count, a
    /// padding byte is skipped.
    const unsigned char* fnTakeBytes(std::size_t count, std::size_t& there) {
        const unsigned char* bytes = m_pAt;
        there = std::min(count, m_nLeft);
        const std::size_t skipped = std::min(count + (count & 1), m_nLeft);
        m_pAt += skipped;
        m_nLeft -= skipped;
        return bytes;
    }

private:
    const unsigned char* m_pAt;
    std::size_t m_nLeft;
};

/// Writes 8-bit pixels from a position on, tile by tile. Pixels beyond the image's right edge are
/// dropped.
class RleWriter {
public:
    RleWriter(CqTileMap& map, int x, int y) : m_Map(map), m_nX(x), m_nY(y) {
        map.fnAccessTile(map.TileCount - map.TilesAcross, &m_Tile);
    }

    /// Writes `count` pixels: copies of `pixels[0]`, or `count` of them if `literal`.
    void fnWrite(const unsigned char* pixels, std::size_t count, bool literal) {
        const int width = static_cast<int>(m_Map.Width);
        while (count > 0 && m_nX < width) {
            assert(m_nX >= m_Tile.Left && m_nY >= m_Tile.Top && m_nY < m_Tile.Bottom);
            if (m_nX >= m_Tile.Right)
                m_Map.fnAccessTile(static_cast<unsigned int>(m_Tile.Index) + 1, &m_Tile);
            const std::size_t part = std::min(count, static_cast<std::size_t>(m_Tile.Right - m_nX));
            unsigned char* at = m_Tile.Pixels +
                                static_cast<std::size_t>(m_nY - m_Tile.Top) * m_Tile.RowBytes +
                                (m_nX - m_Tile.Left);
            if (literal)
                std::memcpy(at, pixels, part);
            else
                std::memset(at, pixels[0], part);
            pixels += literal ? part : 0;
            m_nX += static_cast<int>(part);
            count -= part;
        }
    }

    /// Moves to the start of the next line, upward. False above the first one.
    bool fnEndLine() {
        m_nX = 0;
        if (--m_nY < 0)
            return false;
        fnPlace();
        return true;
    }

    /// Moves right by dx and down by dy, deliberately, although lines advance upward. Does nothing
    /// if that is outside the image.
    void fnMove(int dx, int dy) {
        if (m_nX + dx >= static_cast<int>(m_Map.Width) ||
            m_nY + dy >= static_cast<int>(m_Map.Height))
            return;
        m_nX += dx;
        m_nY += dy;
        fnPlace();
    }

private:
    void fnPlace() {
        CPoint place(m_nX, m_nY);
        m_Map.fnAccessTile(place, &m_Tile);
    }

    CqTileMap& m_Map;
    CqImageTile m_Tile{false};
    int m_nX;
    int m_nY;
};

} // namespace

/// The run-length encoding of 8-bit bitmaps. Pixels that the stream skips stay as allocated.
void CqImage::fnDecompressRle8(CqTileMap& map, const q32::DibLayout& layout,
                               std::span<const unsigned char> block) {
    const std::uint64_t start = layout.fnGetStreamAt();
    if (map.BitCount != 8 || start >= block.size())
        return;
    RleStream stream(block.data() + start, block.size() - static_cast<std::size_t>(start));
    RleWriter writer(map, 0, static_cast<int>(map.Height) - 1);
    unsigned char count = 0;
    unsigned char value = 0;
    while (stream.fnTakePair(count, value)) {
        if (count > 0) {
            writer.fnWrite(&value, count, false);
        } else if (value == 0) {
            if (!writer.fnEndLine())
                return;
        } else if (value == 1) {
            return;
        } else if (value == 2) {
            unsigned char dx = 0;
            unsigned char dy = 0;
            if (!stream.fnTakePair(dx, dy))
                return;
            writer.fnMove(dx, dy);
        } else {
            std::size_t there = 0;
            const unsigned char* pixels = stream.fnTakeBytes(value, there);
            writer.fnWrite(pixels, there, true);
        }
    }
}
