#include "q32Base/image/PixelAccess.h"

#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/pixels/Nibbles_p.h"
#include "q32Base/pixels/PixelConversion.h"

#include <algorithm>
#include <cstring>

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
void fnForEachRun(const CqTileMap& map, const CRect& rect, std::size_t stride,
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

/// Collects pixels of one row at the listed columns, as stored; at 4 bits one index a byte.
template <std::size_t Bytes>
void fnGather(const q32::PixelArea& area, std::uint32_t y, const std::uint32_t* columns,
              std::size_t count, unsigned char* out) {
    for (std::size_t i = 0; i < count;) {
        const std::uint32_t first = area.fnRunBegin(columns[i]);
        const std::uint32_t length = area.fnRunEnd(columns[i]) - first;
        const unsigned char* row = area.fnAt(first, y);
        for (; i < count && columns[i] - first < length; ++i)
            std::memcpy(out + i * Bytes, row + std::size_t{columns[i] - first} * Bytes, Bytes);
    }
}

void fnGatherNibbles(const CqTileMap& map, std::uint32_t y, const std::uint32_t* columns,
                     std::size_t count, unsigned char* out) {
    const unsigned char* row = map.PixelBuffer + std::size_t{y} * map.RowBytes;
    for (std::size_t i = 0; i < count; ++i)
        out[i] = q32::fnGetNibble(row, columns[i]);
}

void fnGatherPixels(const CqTileMap& map, std::uint32_t y, const std::uint32_t* columns,
                    std::size_t count, unsigned char* out) {
    if (map.BytesPerPixel == 0)
        return fnGatherNibbles(map, y, columns, count, out);
    using Gather = void (*)(const q32::PixelArea&, std::uint32_t, const std::uint32_t*, std::size_t,
                            unsigned char*);
    static constexpr Gather kGathers[] = {fnGather<1>, fnGather<2>, fnGather<3>, fnGather<4>};
    kGathers[map.BytesPerPixel - 1](q32::PixelArea(map), y, columns, count, out);
}

} // namespace

CqPixelReader::CqPixelReader(const CqImage& image, PIXEL_ORDER order) noexcept
    : m_Image(image), m_pMap(image.TileMap),
      m_Run(fnBitsOf(m_pMap), m_pMap ? m_pMap->Palette.get() : nullptr, order),
      m_nPixelBytes(q32::fnGetOrderBytes(fnBitsOf(m_pMap), order)) {}

bool CqPixelReader::fnRead(const CRect& rect, void* out, std::size_t stride) const {
    if (!m_pMap || m_pMap != m_Image.TileMap || !fnIsSound(*m_pMap, rect, stride, m_nPixelBytes))
        return false;
    auto* to = static_cast<unsigned char*>(out);
    fnForEachRun(*m_pMap, rect, stride, m_nPixelBytes,
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
    return true;
}

bool CqPixelReader::fnReadRow(std::uint32_t x, std::uint32_t y, std::uint32_t count,
                              void* out) const {
    CRect rect;
    return m_pMap && fnMakeRect(*m_pMap, x, y, count, rect) &&
           fnRead(rect, out, count * m_nPixelBytes);
}

bool CqPixelReader::fnPick(std::uint32_t y, const std::uint32_t* columns, std::size_t count,
                           void* out) const {
    if (!m_pMap || m_pMap != m_Image.TileMap || y >= m_pMap->Height)
        return false;
    std::uint32_t last = 0;
    for (std::size_t i = 0; i < count; ++i)
        last = std::max(last, columns[i]);
    if (last >= m_pMap->Width)
        return false;
    auto* to = static_cast<unsigned char*>(out);
    unsigned char pixels[4 * kChunk];
    for (std::size_t done = 0; done < count; done += kChunk) {
        const std::size_t part = std::min(kChunk, count - done);
        fnGatherPixels(*m_pMap, y, columns + done, part, pixels);
        m_Run.fnRun(pixels, to + done * m_nPixelBytes, part);
    }
    return true;
}

CqPixelWriter::CqPixelWriter(CqImage& image, PIXEL_ORDER order) noexcept
    : m_Image(image), m_pMap(image.TileMap),
      m_Run(fnBitsOf(m_pMap), m_pMap ? m_pMap->Palette.get() : nullptr,
            m_pMap ? m_pMap->PaletteCount : 0, order),
      m_nPixelBytes(q32::fnGetOrderBytes(fnBitsOf(m_pMap), order)) {}

bool CqPixelWriter::fnWrite(const CRect& rect, const void* in, std::size_t stride) const {
    if (!m_pMap || m_pMap != m_Image.TileMap || !fnIsSound(*m_pMap, rect, stride, m_nPixelBytes))
        return false;
    const auto* from = static_cast<const unsigned char*>(in);
    fnForEachRun(
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
    return true;
}

bool CqPixelWriter::fnWriteRow(std::uint32_t x, std::uint32_t y, std::uint32_t count,
                               const void* in) const {
    CRect rect;
    return m_pMap && fnMakeRect(*m_pMap, x, y, count, rect) &&
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
