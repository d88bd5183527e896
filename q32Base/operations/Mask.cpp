#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/operations/BandWalk_p.h"
#include "q32Base/operations/PlacedMask_p.h"
#include "q32Base/operations/TilePieces_p.h"

#include <cstdint>
#include <cstring>
#include <memory>

namespace {

constexpr double kPixelTime = 0.15; ///< nanoseconds

/// The rectangle that remains of `a` after a subtraction: full strips of `a` at its edges that
/// `shared`, the overlap of both masks, covers are removed; anything else stays. `shared` isn't all
/// of `a`.
CRect fnCutStrips(const CRect& a, const CRect& shared) {
    CRect rest = a;
    if (shared.Width() == a.Width()) {
        if (shared.top == a.top)
            rest.top = shared.bottom;
        if (shared.bottom == a.bottom)
            rest.bottom = shared.top;
    }
    if (shared.Height() == a.Height()) {
        if (shared.left == a.left)
            rest.left = shared.right;
        if (shared.right == a.right)
            rest.right = shared.left;
    }
    return rest;
}

/// Fills `result`, which lies at `corner`, with `own` on black, and adds or subtracts `other`.
/// Works tile by tile, so that both passes find the tile in the cache.
void fnCombine(const q32::PlacedMask& own, const q32::PlacedMask& other, bool add,
               CqTileMap& result, const CPoint& corner) {
    const q32::PixelRun run = add ? q32::fnKernels().fnMaskAdd : q32::fnKernels().fnMaskSubtract;
    const auto copy = [](const unsigned char* from, unsigned char* to, std::size_t count) {
        std::memcpy(to, from, count);
    };
    const auto combine = [&](std::uint32_t, const q32::TilePiece& tile) {
        CRect area = tile.m_rect;
        area.OffsetRect(corner.x, corner.y);
        CRect covered;
        covered.IntersectRect(own.m_rect, area);
        if (!(covered == area))
            std::memset(tile.m_pPixels, 0,
                        tile.m_nStride * static_cast<std::size_t>(tile.m_rect.Height()));
        own.fnForEachOverlap(area, result, corner, copy);
        other.fnForEachOverlap(area, result, corner, run);
    };
    q32::fnDividePieces(result, q32::fnWholeRect(result), kPixelTime, combine);
}

} // namespace

void CqMask::fnMerge(CqMask& other, bool add) {
    const CRect& own = m_rectBound;
    const CRect& others = other.m_rectBound;
    const bool grey = (!TileMap || BitCount == 8) && other.TileMap && other.BitCount == 8;
    if (others.IsRectEmpty() || !grey)
        return;
    CRect result;
    if (add) {
        result.UnionRect(own, others);
    } else {
        CRect shared;
        if (!shared.IntersectRect(own, others))
            return;
        if (shared == own)
            return m_rectBound.SetRectEmpty();
        result = fnCutStrips(own, shared);
    }
    std::unique_ptr<CqTileMap> map(q32::fnNew<CqTileMap>(
        static_cast<std::uint32_t>(result.Width()), static_cast<std::uint32_t>(result.Height()), 8u,
        q32GreyRamp, 256u, q32::BlockContents::ANY));
    fnCombine(q32::PlacedMask(*this), q32::PlacedMask(other), add, *map, result.TopLeft());
    other.TileMap->fnRequirePixels();
    fnSetBuf(map.release());
    m_rectBound = result;
}

CqMask CqMask::operator+(CqMask& other) {
    CqMask sum(*this);
    sum.fnMerge(other, true);
    return sum;
}

CqMask CqMask::operator-(CqMask& other) {
    CqMask difference(*this);
    difference.fnMerge(other, false);
    return difference;
}

CqMask& CqMask::operator+=(CqMask& other) {
    fnMerge(other, true);
    return *this;
}

CqMask& CqMask::operator-=(CqMask& other) {
    fnMerge(other, false);
    return *this;
}
