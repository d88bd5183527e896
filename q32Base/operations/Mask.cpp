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

constexpr double kMaskPixelTime = 0.04; ///< nanoseconds

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
class Combination {
public:
    Combination(const q32::PlacedMask& own, const q32::PlacedMask& other, bool add,
                CqTileMap& result, const CPoint& corner)
        : m_Own(own), m_Other(other), m_Result(result), m_Corner(corner),
          m_fnSum(add ? q32::fnKernels().fnMaskAdd : q32::fnKernels().fnMaskSubtract) {}

    void fnRun() const {
        const auto combine = [&](std::uint32_t, const q32::TilePiece& tile) {
            CRect area = tile.m_rect;
            area.OffsetRect(m_Corner.x, m_Corner.y);
            if (!fnSumTiles(tile, area))
                fnSumParts(tile, area);
        };
        q32::fnDividePieces(m_Result, q32::fnWholeRect(m_Result), kMaskPixelTime, combine);
    }

private:
    /// In one pass, where one tile of each mask is all of the area. False where it isn't.
    bool fnSumTiles(const q32::TilePiece& tile, const CRect& area) const {
        const unsigned char* first = fnFindTile(m_Own, area);
        const unsigned char* second = fnFindTile(m_Other, area);
        if (!first || !second)
            return false;
        m_fnSum(first, second, tile.m_pPixels,
                tile.m_nStride * static_cast<std::size_t>(area.Height()));
        return true;
    }

    /// The pixels of the tile that is `area`; null where none is.
    static const unsigned char* fnFindTile(const q32::PlacedMask& mask, const CRect& area) {
        CRect covered;
        if (!covered.IntersectRect(mask.m_rect, area) || !(covered == area))
            return nullptr;
        const q32::PixelArea pixels(*mask.m_pMap);
        const auto left = static_cast<std::uint32_t>(area.left - mask.m_rect.left);
        const auto top = static_cast<std::uint32_t>(area.top - mask.m_rect.top);
        const bool fits = pixels.fnGetStride(left) == area.Width() &&
                          pixels.fnRunBegin(left) == left &&
                          top + static_cast<std::uint32_t>(area.Height()) <= pixels.fnRowsEnd(top);
        return fits ? pixels.fnAt(left, top) : nullptr;
    }

    void fnSumParts(const q32::TilePiece& tile, const CRect& area) const {
        CRect covered;
        covered.IntersectRect(m_Own.m_rect, area);
        if (!(covered == area))
            std::memset(tile.m_pPixels, 0,
                        tile.m_nStride * static_cast<std::size_t>(tile.m_rect.Height()));
        const auto copy = [](const unsigned char* from, unsigned char* to, std::size_t count) {
            std::memcpy(to, from, count);
        };
        m_Own.fnForEachOverlap(area, m_Result, m_Corner, copy);
        const auto sum = [&](const unsigned char* from, unsigned char* to, std::size_t count) {
            m_fnSum(to, from, to, count);
        };
        m_Other.fnForEachOverlap(area, m_Result, m_Corner, sum);
    }

    const q32::PlacedMask& m_Own;
    const q32::PlacedMask& m_Other;
    CqTileMap& m_Result;
    CPoint m_Corner;
    q32::MaskSumRun m_fnSum;
};

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
    const q32::PlacedMask placed(*this);
    const q32::PlacedMask placedOther(other);
    Combination(placed, placedOther, add, *map, result.TopLeft()).fnRun();
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
