#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Parallel_p.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/operations/BlockCopy_p.h"
#include "q32Base/operations/TilePieces_p.h"
#include "q32Base/platform/Checked_p.h"

#include <cassert>
#include <cstring>
#include <memory>

namespace {

constexpr double kFillPatternByteTime = 0.02; ///< nanoseconds

CRect fnClipped(const CRect* rect, const CqTileMap& map) {
    const CRect whole = q32::fnWholeRect(map);
    return rect ? CRect(std::max<LONG>(rect->left, 0), std::max<LONG>(rect->top, 0),
                        std::min(rect->right, whole.right), std::min(rect->bottom, whole.bottom))
                : whole;
}

/// How often a length fits into another, at least once.
struct Repeats {
    LONG m_nCount; ///< a partial last one counts
    LONG m_nRest;  ///< length of a partial last one, else 0

    Repeats(LONG length, LONG whole) : m_nCount(std::max<LONG>(whole / length, 1)), m_nRest(0) {
        assert(length > 0);
        if (length < whole)
            m_nRest = whole - length * m_nCount;
        if (m_nRest > 0)
            ++m_nCount;
    }
};

/// One copy for each repetition.
void fnFillByCopies(CqImage& image, CqImage& pattern, const CRect& src, const CRect& dst) {
    const Repeats down(src.Height(), dst.Height());
    const Repeats across(src.Width(), dst.Width());
    CRect row = src;
    LONG y = dst.top;
    for (LONG r = 0; r < down.m_nCount; ++r) {
        // Deliberate: only the remainder, without adding the top, so the last repetition of a
        // pattern that begins further down has that many fewer rows.
        if (down.m_nRest != 0 && r == down.m_nCount - 1)
            row.bottom = down.m_nRest;
        LONG x = dst.left;
        for (LONG c = 0; c < across.m_nCount; ++c) {
            CRect cell = row;
            if (across.m_nRest != 0 && c == across.m_nCount - 1)
                cell.right = cell.left + across.m_nRest;
            image.fnCopyBlock(pattern, &cell, x, y);
            x = q32::fnWrapAdd(x, row.Width());
        }
        y = q32::fnWrapAdd(y, row.Height());
    }
}

/// Rows of a narrow pattern, repeated sideways far enough to fill a tile's row from any phase.
class WideRows {
public:
    static constexpr std::size_t kMaxRows = CqTileMap::kMaxTileSize;

    WideRows(const CqTileMap& pattern, const CRect& src)
        : m_Pattern(pattern), m_rectSource(src),
          m_nBytes((static_cast<std::size_t>(src.Width()) + CqTileMap::kMaxTileSize) *
                   pattern.BytesPerPixel),
          m_pRows(q32::fnNewArray<unsigned char>(m_nBytes * kMaxRows)) {}

    /// Builds `count` rows of the repeated pattern, from row `first` of the fill on.
    void fnTake(LONG first, LONG count) {
        assert(first >= 0 && count <= static_cast<LONG>(kMaxRows));
        const CRect& src = m_rectSource;
        const std::size_t once = static_cast<std::size_t>(src.Width()) * m_Pattern.BytesPerPixel;
        LONG y = src.top + first % src.Height();
        unsigned char* row = m_pRows.get();
        for (LONG i = 0; i < count; ++i, row += m_nBytes) {
            unsigned char* at = row;
            q32::fnForEachPiece(
                m_Pattern, CRect(src.left, y, src.right, y + 1), [&](const q32::TilePiece& piece) {
                    const std::size_t bytes =
                        static_cast<std::size_t>(piece.m_rect.Width()) * m_Pattern.BytesPerPixel;
                    std::memcpy(at, piece.m_pPixels, bytes);
                    at += bytes;
                });
            for (std::size_t done = once; done < m_nBytes; done *= 2)
                std::memcpy(row + done, row, std::min(done, m_nBytes - done));
            if (++y == src.bottom)
                y = src.top;
        }
    }

    /// The first row built, from column `column` of the fill on.
    const unsigned char* fnAt(LONG column) const {
        assert(column >= 0);
        return m_pRows.get() +
               static_cast<std::size_t>(column % m_rectSource.Width()) * m_Pattern.BytesPerPixel;
    }
    /// Bytes from one row to the next.
    std::size_t fnGetStride() const { return m_nBytes; }

private:
    const CqTileMap& m_Pattern;
    CRect m_rectSource;
    std::size_t m_nBytes;
    std::unique_ptr<unsigned char[]> m_pRows;
};

/// Fills rows of one row of tiles. `corner` is that of the fill.
void fnFillBand(CqTileMap& map, const CRect& band, const CPoint& corner, WideRows& rows) {
    rows.fnTake(band.top - corner.y, band.Height());
    q32::fnForEachPiece(map, band, [&](const q32::TilePiece& piece) {
        const std::size_t bytes =
            static_cast<std::size_t>(piece.m_rect.Width()) * map.BytesPerPixel;
        q32::fnKernels().fnCopyRows(rows.fnAt(piece.m_rect.left - corner.x), rows.fnGetStride(),
                                    piece.m_pPixels, piece.m_nStride, bytes,
                                    static_cast<std::size_t>(piece.m_rect.Height()));
    });
}

/// The same result for a pattern narrower than a tile: filled tile by tile instead of in copies of
/// a few bytes each.
void fnFillByTiles(CqTileMap& map, const CqTileMap& pattern, const CRect& src, const CRect& dst) {
    const Repeats down(src.Height(), dst.Height());
    LONG bottom = dst.bottom;
    if (down.m_nRest != 0)
        bottom = dst.top + (down.m_nCount - 1) * src.Height() +
                 std::max<LONG>(down.m_nRest - src.top, 0);
    if (bottom <= dst.top)
        return;
    // Rows of tiles, since each thread builds the rows of its own.
    const auto tileHeight = static_cast<LONG>(map.TileHeight);
    const LONG firstBand = dst.top / tileHeight;
    const double bandTime = kFillPatternByteTime * map.BytesPerPixel * dst.Width() * tileHeight;
    const q32::Parallel bands(static_cast<std::uint32_t>((bottom - 1) / tileHeight - firstBand + 1),
                              bandTime);
    q32::PerWorker<WideRows> wide(bands, pattern, src);
    bands.fnRun([&](std::uint32_t worker, std::uint32_t first, std::uint32_t end) {
        for (; first < end; ++first) {
            const LONG top = (firstBand + static_cast<LONG>(first)) * tileHeight;
            const LONG y = std::max(top, dst.top);
            fnFillBand(
                map,
                CRect(dst.left, y, dst.right, y + std::min(bottom - y, tileHeight - (y - top))),
                CPoint(dst.left, dst.top), wide[worker]);
        }
    });
}

} // namespace

void CqImage::fnFill(CqImage& pattern, const CRect* srcRect, const CRect* dstRect) {
    q32::fnRequirePixels("CqImage::fnFill", TileMap);
    q32::fnRequirePixels("CqImage::fnFill", pattern.TileMap, "pattern");
    const CRect dst = fnClipped(dstRect, *TileMap);
    if (dst.IsRectEmpty())
        return;
    CRect src = fnClipped(srcRect, *pattern.TileMap);
    if (src.IsRectEmpty() || pattern.BitCount != BitCount)
        return;
    if (src.Width() > dst.Width())
        src.right = src.left + dst.Width();
    if (src.Height() > dst.Height())
        src.bottom = src.top + dst.Height();
    const bool narrow = src.Width() < static_cast<LONG>(CqTileMap::kMaxTileSize);
    if (narrow && src.Width() < dst.Width() && BitCount != 4 && &pattern != this)
        fnFillByTiles(*TileMap, *pattern.TileMap, src, dst);
    else
        fnFillByCopies(*this, pattern, src, dst);
    pattern.TileMap->fnRequirePixels();
    TileMap->fnRequirePixels();
}
