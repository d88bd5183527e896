#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/operations/BandWalk_p.h"
#include "q32Base/operations/TilePieces_p.h"
#include "q32Base/platform/Checked_p.h"

#include <cassert>
#include <cstring>

namespace {

constexpr double kMergePixelTime = 0.1; ///< nanoseconds

/// Applies the rule of one merge to runs of 16- or 24-bit pixels.
class MergeRun {
public:
    MergeRun(const CqMergeParam& param, std::uint32_t bytesPerPixel)
        : m_eType(param.m_eType),
          m_bShort(bytesPerPixel == 2), m_Key{static_cast<std::uint8_t>(param.m_nKey),
                                              static_cast<std::uint8_t>(param.m_nKey >> 8),
                                              static_cast<std::uint8_t>(param.m_nKey >> 16)} {}

    /// `weights` is read only for a mask.
    void operator()(const unsigned char* source, unsigned char* target, std::size_t pixels,
                    const unsigned char* weights) const {
        assert(m_eType != MERGE_MASK || weights);
        const q32::Kernels& kernels = q32::fnKernels();
        if (m_eType == MERGE_KEY)
            (m_bShort ? kernels.fnMergeKey16 : kernels.fnMergeKey24)(source, target, pixels, m_Key);
        else if (m_eType == MERGE_MASK)
            (m_bShort ? kernels.fnMergeMask16 : kernels.fnMergeMask24)(source, target, pixels,
                                                                       weights);
        else if (m_bShort) // without alpha every weight is 255
            kernels.fnMergeAll16(source, target, pixels);
        else
            std::memcpy(target, source, 3 * pixels);
    }

private:
    MERGE_TYPE m_eType;
    bool m_bShort;
    std::uint8_t m_Key[3];
};

/// What is merged: a part of the source, where it lands, and the mask in the source's coordinates.
struct MergePlace {
    CRect m_rect;
    CPoint m_Place;
    CqMask* m_pMask = nullptr; ///< null unless the rule uses one

    CPoint fnGetMaskOrigin() const { return m_pMask->m_rectBound.TopLeft(); }
};

/// Clips to the target and to the mask. The source's pixel size applies throughout, so the widths
/// of the target and the mask are computed from their bytes per row.
bool fnClip(MergePlace& merge, const CqTileMap& source, const CqTileMap& target) {
    q32::PlacedSpan columns{merge.m_rect.left, merge.m_rect.right, merge.m_Place.x};
    q32::PlacedSpan rows{merge.m_rect.top, merge.m_rect.bottom, merge.m_Place.y};
    if (!columns.fnClip(source.Width, target.RowBytes / source.BytesPerPixel) ||
        !rows.fnClip(source.Height, target.Height))
        return false;
    if (merge.m_pMask) {
        const CqTileMap& mask = *merge.m_pMask->TileMap;
        const CPoint origin = merge.fnGetMaskOrigin();
        if (!columns.fnKeep(origin.x, std::int64_t{origin.x} + mask.RowBytes) ||
            !rows.fnKeep(origin.y, std::int64_t{origin.y} + mask.Height))
            return false;
    }
    merge.m_rect.SetRect(columns.m_nFirst, rows.m_nFirst, columns.m_nEnd, rows.m_nEnd);
    merge.m_Place = CPoint(columns.m_nPlace, rows.m_nPlace);
    return true;
}

/// Merges a part of the source directly from tile to tile.
void fnMergePart(const MergePlace& merge, const CqTileMap& source, CqTileMap& target,
                 const MergeRun& run) {
    if (!merge.m_pMask)
        return q32::fnForEachRun(source, merge.m_rect, target, merge.m_Place.x, merge.m_Place.y,
                                 [&](const unsigned char* from, unsigned char* to,
                                     std::size_t pixels) { run(from, to, pixels, nullptr); });
    const CPoint origin = merge.fnGetMaskOrigin();
    const std::size_t bytes = source.BytesPerPixel;
    const auto mergePieces = [&](const q32::TilePiece& from, const q32::TilePiece& to) {
        CRect covered = from.m_rect;
        covered.OffsetRect(-origin.x, -origin.y);
        q32::fnForEachPiece(*merge.m_pMask->TileMap, covered, [&](const q32::TilePiece& weights) {
            const auto column = static_cast<std::size_t>(weights.m_rect.left - covered.left);
            auto row = static_cast<std::size_t>(weights.m_rect.top - covered.top);
            for (LONG i = 0; i < weights.m_rect.Height(); ++i, ++row)
                run(from.m_pPixels + row * from.m_nStride + column * bytes,
                    to.m_pPixels + row * to.m_nStride + column * bytes,
                    static_cast<std::size_t>(weights.m_rect.Width()),
                    weights.m_pPixels + static_cast<std::size_t>(i) * weights.m_nStride);
        });
    };
    q32::fnForEachPiecePair(source, merge.m_rect, target, merge.m_Place.x, merge.m_Place.y,
                            mergePieces);
}

/// Merges directly from tile to tile; the three images have different storage.
void fnMergeTiles(const MergePlace& merge, const CqTileMap& source, CqTileMap& target,
                  const MergeRun& run) {
    q32::fnDividePlaces(
        merge.m_rect, merge.m_Place.x, merge.m_Place.y, kMergePixelTime,
        [&](const CRect& part, LONG left, LONG top) {
            fnMergePart({part, CPoint(left, top), merge.m_pMask}, source, target, run);
        });
}

/// Merges row by row through buffers: for images that share storage, where each row must be written
/// only after the next one has been read, and for images of different depths.
void fnMergeLines(const MergePlace& merge, CqImage& source, CqImage& target, const MergeRun& run) {
    const std::size_t bytes = source.BytesPerPixel;
    CqImageLine from;
    CqImageLine to;
    CqImageLine mask;
    for (LONG i = 0; i < merge.m_rect.Height(); ++i) {
        const LONG row = merge.m_rect.top + i;
        source.fnAccessLine(static_cast<unsigned int>(row), &from, true);
        target.fnAccessLine(static_cast<unsigned int>(merge.m_Place.y + i), &to, false);
        const unsigned char* weights = nullptr;
        if (merge.m_pMask) {
            const CPoint origin = merge.fnGetMaskOrigin();
            merge.m_pMask->fnAccessLine(static_cast<unsigned int>(row - origin.y), &mask, true);
            weights = mask.LineBuffer + (std::ptrdiff_t{merge.m_rect.left} - origin.x);
        }
        run(from.LineBuffer + static_cast<std::size_t>(merge.m_rect.left) * bytes,
            to.LineBuffer + static_cast<std::size_t>(merge.m_Place.x) * bytes,
            static_cast<std::size_t>(merge.m_rect.Width()), weights);
    }
}

} // namespace

void CqImage::fnMerge(CqImage& src, const CRect* rect, const CqMergeParam& param, int x, int y) {
    q32::fnRequirePixels("CqImage::fnMerge", TileMap);
    q32::fnRequirePixels("CqImage::fnMerge", src.TileMap, "src");
    if (src.BitCount != 16 && src.BitCount != 24) // nothing is written at the other depths
        return;
    CqMask* const mask = param.m_eType == MERGE_MASK ? param.m_pMask : nullptr;
    if (param.m_eType == MERGE_MASK && !(mask && mask->TileMap))
        return;
    MergePlace merge{rect ? *rect : q32::fnWholeRect(*src.TileMap), CPoint(x, y), mask};
    // The rectangle is clipped before it is placed, and to the target's size, wherever it lands.
    merge.m_rect.left = std::max<LONG>(merge.m_rect.left, 0);
    merge.m_rect.top = std::max<LONG>(merge.m_rect.top, 0);
    merge.m_rect.right = std::min(merge.m_rect.right, static_cast<LONG>(Width));
    merge.m_rect.bottom = std::min(merge.m_rect.bottom, static_cast<LONG>(Height));
    if (!fnClip(merge, *src.TileMap, *TileMap))
        return;
    const MergeRun run(param, src.BytesPerPixel);
    const bool apart = &src != this && mask != this && src.BitCount == BitCount;
    if (apart && (!mask || mask->BitCount == 8))
        fnMergeTiles(merge, *src.TileMap, *TileMap, run);
    else
        fnMergeLines(merge, src, *this, run);
    src.TileMap->fnRequirePixels();
    if (mask)
        mask->TileMap->fnRequirePixels();
    TileMap->fnRequirePixels();
}
