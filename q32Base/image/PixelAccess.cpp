#include "q32Base/image/PixelAccess.h"

#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/pixels/Nibbles_p.h"
#include "q32Base/pixels/PixelConversion.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <span>

namespace {

using q32::TilePiece;

/// Pixels converted at a time where they can't be taken directly from a tile. Even, so that no pair
/// of a 4-bit row is split.
constexpr std::size_t kChunk = 256;

/// The depth of a map; for null, one that needs no palette.
std::uint32_t fnBitsOf(const CqTileMap* map) {
    return map ? map->BitCount : 32;
}

/// Whether the rectangle lies inside the map and its rows fit in `stride` bytes.
bool fnIsSound(const CqTileMap& map, const CRect& rect, std::size_t stride,
               std::size_t pixelBytes) {
    return rect.left >= 0 && rect.top >= 0 && rect.left <= rect.right && rect.top <= rect.bottom &&
           static_cast<std::uint32_t>(rect.right) <= map.Width &&
           static_cast<std::uint32_t>(rect.bottom) <= map.Height &&
           stride >= pixelBytes * static_cast<std::size_t>(rect.Width());
}

/// Converts a run to a rectangle. False when it isn't inside the map.
bool fnMakeRect(const CqTileMap& map, std::uint32_t x, std::uint32_t y, std::uint32_t count,
                CRect& rect) {
    if (y >= map.Height || x > map.Width || count > map.Width - x)
        return false;
    rect = CRect(static_cast<LONG>(x), static_cast<LONG>(y), static_cast<LONG>(x + count),
                 static_cast<LONG>(y + 1));
    return true;
}

/// Calls `visit(pixels, nibble, offset, count)` for the runs that make up `rect`: the address of a
/// run, at 4 bits with nibble 1 for the low nibble, the offset of its first pixel in rows of
/// `stride` bytes, and its number of pixels. Rows that are contiguous on both sides are combined
/// into one run.
template <class Visit>
void fnVisitRuns(const CqTileMap& map, const CRect& rect, std::size_t stride,
                 std::size_t pixelBytes, const Visit& visit) {
    if (rect.IsRectEmpty())
        return;
    q32::fnForEachPiece(map, rect, [&](const TilePiece& piece) {
        const auto count = static_cast<std::size_t>(piece.m_rect.Width());
        const auto rows = static_cast<std::size_t>(piece.m_rect.Height());
        const std::size_t nibble =
            map.BytesPerPixel == 0 ? static_cast<std::size_t>(piece.m_rect.left) % 2 : 0;
        const std::size_t offset =
            static_cast<std::size_t>(piece.m_rect.top - rect.top) * stride +
            static_cast<std::size_t>(piece.m_rect.left - rect.left) * pixelBytes;
        if (map.BytesPerPixel != 0 && piece.m_nStride == count * map.BytesPerPixel &&
            stride == count * pixelBytes)
            return visit(piece.m_pPixels, nibble, offset, count * rows);
        for (std::size_t row = 0; row < rows; ++row)
            visit(piece.m_pPixels + row * piece.m_nStride, nibble, offset + row * stride, count);
    });
}

/// Whether an image still has the storage that a reader or writer was made for. New storage may lie
/// at the old address, so its number counts as well.
bool fnIsCurrent(const CqImage& image, const CqTileMap* map, std::uint64_t serial) {
    return map && map == image.TileMap && map->fnGetSerial() == serial;
}

struct IndexRange {
    std::uint32_t m_nLeast, m_nMost;
};

/// The range that columns or rows lie in; most is 0 of none. Four at a time, since each comparison
/// waits for the one before it.
IndexRange fnFindRange(const std::uint32_t* columns, std::size_t count) {
    constexpr std::size_t kLanes = 4;
    std::uint32_t least[kLanes] = {UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX};
    std::uint32_t most[kLanes] = {};
    const auto look = [&](std::size_t lane, std::uint32_t column) {
        least[lane] = std::min(least[lane], column);
        most[lane] = std::max(most[lane], column);
    };
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        look(0, columns[i]);
        look(1, columns[i + 1]);
        look(2, columns[i + 2]);
        look(3, columns[i + 3]);
    }
    for (; i < count; ++i)
        look(0, columns[i]);
    return {std::min(std::min(least[0], least[1]), std::min(least[2], least[3])),
            std::max(std::max(most[0], most[1]), std::max(most[2], most[3]))};
}

/// Picks pixels of some columns, which lie in the image, from one row after the other.
class Picking {
public:
    Picking(const CqTileMap& map, const q32::PixelDecoder& run, std::size_t pixelBytes,
            std::span<const std::uint32_t> columns, const IndexRange& range)
        : m_Map(map), m_Run(run), m_nPixelBytes(pixelBytes), m_Columns(columns), m_Range(range) {
        if (map.BytesPerPixel == 0 || columns.empty())
            return;
        const q32::PixelArea area(map);
        m_nFirst = area.fnRunBegin(range.m_nLeast);
        m_bOneTile = range.m_nMost < area.fnRunEnd(range.m_nLeast);
        const std::size_t span = range.m_nMost - range.m_nLeast + std::size_t{1};
        static_assert(CqTileMap::kMaxTileSize <= kChunk);
        m_bDense = m_bOneTile && pixelBytes == 4 && span <= 2 * columns.size();
    }

    void fnPickRow(std::uint32_t y, unsigned char* out) const {
        assert(y < m_Map.Height && m_Range.m_nMost < m_Map.Width);
        if (m_Map.BytesPerPixel == 0)
            return m_Run.fnPick(m_Map.PixelBuffer + std::size_t{y} * m_Map.RowBytes, 0,
                                m_Columns.data(), m_Columns.size(), out);
        if (m_bDense)
            return fnPickDense(y, out);
        if (m_bOneTile)
            return m_Run.fnPick(q32::PixelArea(m_Map).fnAt(m_nFirst, y), m_nFirst, m_Columns.data(),
                                m_Columns.size(), out);
        fnPickAcross(y, out);
    }

private:
    /// Where most pixels are picked, all are converted at the speed of the kernels.
    void fnPickDense(std::uint32_t y, unsigned char* out) const {
        unsigned char pixels[4 * kChunk];
        assert(m_nPixelBytes == 4 && m_Range.m_nMost - m_Range.m_nLeast < kChunk);
        m_Run.fnRun(q32::PixelArea(m_Map).fnAt(m_Range.m_nLeast, y), pixels,
                    m_Range.m_nMost - m_Range.m_nLeast + std::size_t{1});
        for (const std::uint32_t column : m_Columns) {
            std::memcpy(out, pixels + 4 * std::size_t{column - m_Range.m_nLeast}, 4);
            out += 4;
        }
    }

    void fnPickAcross(std::uint32_t y, unsigned char* out) const {
        const q32::PixelArea area(m_Map);
        for (std::size_t done = 0; done < m_Columns.size();) {
            const std::uint32_t first = area.fnRunBegin(m_Columns[done]);
            const std::uint32_t length = area.fnRunEnd(m_Columns[done]) - first;
            std::size_t next = done + 1;
            while (next < m_Columns.size() && m_Columns[next] - first < length)
                ++next;
            m_Run.fnPick(area.fnAt(first, y), first, m_Columns.data() + done, next - done,
                         out + done * m_nPixelBytes);
            done = next;
        }
    }

    const CqTileMap& m_Map;
    const q32::PixelDecoder& m_Run;
    std::size_t m_nPixelBytes;
    std::span<const std::uint32_t> m_Columns;
    IndexRange m_Range;
    std::uint32_t m_nFirst = 0; ///< of the tile's columns
    bool m_bOneTile = false;
    bool m_bDense = false;
};

} // namespace

CqPixelReader::CqPixelReader(const CqImage& image, PIXEL_ORDER order) noexcept
    : m_Image(image), m_pMap(image.TileMap), m_nSerial(m_pMap ? m_pMap->fnGetSerial() : 0),
      m_Run(fnBitsOf(m_pMap), m_pMap ? m_pMap->Palette.get() : nullptr, order),
      m_nPixelBytes(q32::fnGetOrderBytes(fnBitsOf(m_pMap), order)) {}

bool CqPixelReader::fnRead(const CRect& rect, void* out, std::size_t stride) const {
    if (!fnIsCurrent(m_Image, m_pMap, m_nSerial) ||
        !fnIsSound(*m_pMap, rect, stride, m_nPixelBytes))
        return false;
    auto* to = static_cast<unsigned char*>(out);
    fnVisitRuns(*m_pMap, rect, stride, m_nPixelBytes,
                [&](const unsigned char* pixels, std::size_t nibble, std::size_t offset,
                    std::size_t count) {
                    if (m_pMap->BytesPerPixel != 0)
                        return m_Run.fnRun(pixels, to + offset, count);
                    unsigned char indices[kChunk];
                    for (std::size_t done = 0; done < count; done += kChunk) {
                        const std::size_t part = std::min(kChunk, count - done);
                        q32::fnUnpackNibbles(pixels, nibble + done, part, indices);
                        m_Run.fnRun(indices, to + offset + done * m_nPixelBytes, part);
                    }
                });
    return !m_pMap->fnHasNewLosses();
}

bool CqPixelReader::fnReadRow(std::uint32_t x, std::uint32_t y, std::uint32_t count,
                              void* out) const {
    CRect rect;
    return fnIsCurrent(m_Image, m_pMap, m_nSerial) && fnMakeRect(*m_pMap, x, y, count, rect) &&
           fnRead(rect, out, count * m_nPixelBytes);
}

bool CqPixelReader::fnPick(std::uint32_t y, const std::uint32_t* columns, std::size_t count,
                           void* out) const {
    return fnPick(&y, 1, columns, count, out, count * m_nPixelBytes);
}

bool CqPixelReader::fnPick(const std::uint32_t* rows, std::size_t rowCount,
                           const std::uint32_t* columns, std::size_t count, void* out,
                           std::size_t stride) const {
    const std::size_t rowBytes = count * m_nPixelBytes;
    if (!fnIsCurrent(m_Image, m_pMap, m_nSerial) || stride < rowBytes)
        return false;
    const IndexRange across = fnFindRange(columns, count);
    if (fnFindRange(rows, rowCount).m_nMost >= m_pMap->Height || across.m_nMost >= m_pMap->Width)
        return false;
    const Picking picking(*m_pMap, m_Run, m_nPixelBytes, {columns, count}, across);
    auto* to = static_cast<unsigned char*>(out);
    for (std::size_t i = 0; i < rowCount && count > 0; ++i, to += stride) {
        if (i > 0 && rows[i] == rows[i - 1])
            std::memcpy(to, to - stride, rowBytes);
        else
            picking.fnPickRow(rows[i], to);
    }
    return !m_pMap->fnHasNewLosses();
}

CqPixelWriter::CqPixelWriter(CqImage& image, PIXEL_ORDER order) noexcept
    : m_Image(image), m_pMap(image.TileMap), m_nSerial(m_pMap ? m_pMap->fnGetSerial() : 0),
      m_Run(fnBitsOf(m_pMap), m_pMap ? m_pMap->Palette.get() : nullptr,
            m_pMap ? m_pMap->PaletteCount : 0, order),
      m_nPixelBytes(q32::fnGetOrderBytes(fnBitsOf(m_pMap), order)) {}

bool CqPixelWriter::fnWrite(const CRect& rect, const void* in, std::size_t stride) const {
    if (!fnIsCurrent(m_Image, m_pMap, m_nSerial) ||
        !fnIsSound(*m_pMap, rect, stride, m_nPixelBytes))
        return false;
    const auto* from = static_cast<const unsigned char*>(in);
    fnVisitRuns(
        *m_pMap, rect, stride, m_nPixelBytes,
        [&](unsigned char* pixels, std::size_t nibble, std::size_t offset, std::size_t count) {
            if (m_pMap->BytesPerPixel != 0)
                return m_Run.fnRun(from + offset, pixels, count);
            unsigned char indices[kChunk];
            for (std::size_t done = 0; done < count; done += kChunk) {
                const std::size_t part = std::min(kChunk, count - done);
                m_Run.fnRun(from + offset + done * m_nPixelBytes, indices, part);
                q32::fnPackNibbles(indices, part, pixels, nibble + done);
            }
        });
    return !m_pMap->fnHasNewLosses();
}

bool CqPixelWriter::fnWriteRow(std::uint32_t x, std::uint32_t y, std::uint32_t count,
                               const void* in) const {
    CRect rect;
    return fnIsCurrent(m_Image, m_pMap, m_nSerial) && fnMakeRect(*m_pMap, x, y, count, rect) &&
           fnWrite(rect, in, count * m_nPixelBytes);
}

bool q32ReadPixels(const CqImage& image, const CRect& rect, PIXEL_ORDER order, void* out,
                   std::size_t stride) {
    return CqPixelReader(image, order).fnRead(rect, out, stride);
}

bool q32WritePixels(CqImage& image, const CRect& rect, PIXEL_ORDER order, const void* in,
                    std::size_t stride) {
    return CqPixelWriter(image, order).fnWrite(rect, in, stride);
}
