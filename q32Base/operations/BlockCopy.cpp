#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelBytes_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/kernels/StreamPixels_p.h"
#include "q32Base/operations/BandWalk_p.h"
#include "q32Base/operations/BlockCopy_p.h"
#include "q32Base/operations/TilePieces_p.h"
#include "q32Base/platform/Checked_p.h"

#include <cassert>
#include <cstring>
#include <memory>

namespace {

constexpr double kBlockCopyByteTime = 0.015; ///< nanoseconds

void fnCopyPieces(const CqTileMap& from, const CRect& rect, CqTileMap& to, LONG x, LONG y) {
    q32::fnForEachPiecePair(
        from, rect, to, x, y, [&](const q32::TilePiece& source, const q32::TilePiece& target) {
            const std::size_t bytes =
                static_cast<std::size_t>(source.m_rect.Width()) * to.BytesPerPixel;
            const auto rows = static_cast<std::size_t>(source.m_rect.Height());
            if (source.m_nStride == bytes && target.m_nStride == bytes)
                std::memcpy(target.m_pPixels, source.m_pPixels, bytes * rows);
            else
                q32::fnKernels().fnCopyRows(source.m_pPixels, source.m_nStride, target.m_pPixels,
                                            target.m_nStride, bytes, rows);
        });
}

/// The same with several threads: source and target don't overlap.
void fnCopyApart(const CqTileMap& from, const CRect& rect, CqTileMap& to, LONG x, LONG y) {
    // Complete tiles beyond the caches are copied by one thread as fast as the memory allows.
    const double bytes = 1.0 * rect.Width() * rect.Height() * to.BytesPerPixel;
    const bool saturates = (x - rect.left) % static_cast<LONG>(CqTileMap::kMaxTileSize) == 0 &&
                           bytes >= q32::kStreamLeast;
    q32::fnDividePlaces(
        rect, x, y, saturates ? 0.0 : kBlockCopyByteTime * to.BytesPerPixel,
        [&](const CRect& part, LONG left, LONG top) { fnCopyPieces(from, part, to, left, top); });
}

/// Copies sideways within the same rows: each row is read completely before it is written.
void fnShiftRows(CqTileMap& map, const CRect& rect, LONG x) {
    assert(x >= 0 && static_cast<std::uint32_t>(x + rect.Width()) <= map.Width);
    const std::size_t bytes = map.BytesPerPixel;
    const std::unique_ptr<unsigned char[]> row(q32::fnNewArray<unsigned char>(map.RowBytes));
    for (LONG y = rect.top; y < rect.bottom; ++y) {
        map.fnFetchRow(static_cast<std::uint32_t>(y), row.get());
        std::memmove(row.get() + static_cast<std::size_t>(x) * bytes,
                     row.get() + static_cast<std::size_t>(rect.left) * bytes,
                     static_cast<std::size_t>(rect.Width()) * bytes);
        map.fnStoreRow(static_cast<std::uint32_t>(y), row.get());
    }
}

/// Copies row by row. For a move down by one row the last row comes first, so that each is read
/// before it is overwritten.
void fnMoveRows(CqTileMap& map, const CRect& rect, LONG x, LONG y) {
    const bool upwards = y == rect.top + 1;
    for (LONG i = 0; i < rect.Height(); ++i) {
        const LONG row = upwards ? rect.Height() - 1 - i : i;
        const CRect line(rect.left, rect.top + row, rect.right, rect.top + row + 1);
        fnCopyPieces(map, line, map, x, y + row);
    }
}

/// Two pixels a byte. `from` and `to` are columns.
void fnCopyNibbles(const unsigned char* source, LONG from, unsigned char* target, LONG to,
                   LONG count) {
    source += from >> 1;
    target += to >> 1;
    for (; count > 0; --count, ++from, ++to) {
        const bool low = (from & 1) != 0;
        q32::fnPutNibble(target, (to & 1) != 0, low ? *source & 0x0Fu : *source >> 4u);
        source += from & 1;
        target += to & 1;
    }
}

/// Deliberate: rows are counted from the top of both images, whatever rows are given.
void fnCopyBlock4(const CqTileMap& from, const CRect& rect, CqTileMap& to, LONG x) {
    q32::PlacedSpan columns{rect.left, rect.right, x};
    if (!columns.fnClip(from.Width, to.Width))
        return;
    const std::int64_t rows = std::min(
        {std::int64_t{rect.bottom} - rect.top, std::int64_t{from.Height}, std::int64_t{to.Height}});
    for (std::int64_t row = 0; row < rows; ++row)
        fnCopyNibbles(from.PixelBuffer + row * std::int64_t{from.RowBytes}, columns.m_nFirst,
                      to.PixelBuffer + row * std::int64_t{to.RowBytes}, columns.m_nPlace,
                      columns.m_nEnd - columns.m_nFirst);
}

} // namespace

void q32::fnCopyPixels(const CqTileMap& from, const CRect& rect, CqTileMap& to, LONG x, LONG y) {
    PlacedSpan columns{rect.left, rect.right, x};
    PlacedSpan rows{rect.top, rect.bottom, y};
    if (!columns.fnClip(from.Width, to.Width) || !rows.fnClip(from.Height, to.Height))
        return;
    const CRect source(columns.m_nFirst, rows.m_nFirst, columns.m_nEnd, rows.m_nEnd);
    const CPoint place(columns.m_nPlace, rows.m_nPlace);
    CRect shared;
    if (&from != &to || !shared.IntersectRect(source, CRect(place, source.Size())))
        fnCopyApart(from, source, to, place.x, place.y);
    else if (place.y == source.top)
        fnShiftRows(to, source, place.x);
    else
        fnMoveRows(to, source, place.x, place.y);
}

void CqImage::fnCopyBlock(CqImage& src, const CRect* rect, int x, int y) {
    q32::fnRequirePixels("CqImage::fnCopyBlock", TileMap);
    q32::fnRequirePixels("CqImage::fnCopyBlock", src.TileMap, "src");
    if (src.BitCount != BitCount)
        return;
    const CRect block = rect ? *rect : q32::fnWholeRect(*src.TileMap);
    if (BitCount == 4)
        fnCopyBlock4(*src.TileMap, block, *TileMap, x);
    else
        q32::fnCopyPixels(*src.TileMap, block, *TileMap, x, y);
    src.TileMap->fnRequirePixels();
    TileMap->fnRequirePixels();
}
