/// @file
/// Copies from one image to another, split into pieces that lie in one tile of each. Rectangles
/// must lie inside their images, with 8 bits a pixel or more, since a piece's left edge is a byte
/// address.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/memory/TileWalk_p.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>

namespace q32 {

inline CRect fnWholeRect(const CqTileMap& map) {
    return {0, 0, static_cast<LONG>(map.Width), static_cast<LONG>(map.Height)};
}

/// One axis of a copy: source positions from `m_nFirst` to before `m_nEnd` land from `m_nPlace` on.
struct PlacedSpan {
    LONG m_nFirst, m_nEnd, m_nPlace;

    /// Clips the source positions to `first` to before `end`. False when nothing is left.
    bool fnKeep(std::int64_t first, std::int64_t end) {
        first = std::max(first, std::int64_t{m_nFirst});
        end = std::min(end, std::int64_t{m_nEnd});
        if (first >= end)
            return false;
        m_nPlace = static_cast<LONG>(m_nPlace + (first - m_nFirst));
        m_nFirst = static_cast<LONG>(first);
        m_nEnd = static_cast<LONG>(end);
        return true;
    }

    /// Clips to source positions in 0 to before `sourceSize` that land in 0 to before `targetSize`.
    /// False when nothing is left.
    bool fnClip(std::int64_t sourceSize, std::int64_t targetSize) {
        const std::int64_t shift = std::int64_t{m_nPlace} - m_nFirst;
        return fnKeep(std::max<std::int64_t>(0, -shift), std::min(sourceSize, targetSize - shift));
    }
};

/// Calls `visit(source, target)` for pieces of equal size that together cover `rect` of one image
/// and the rectangle of the same size at (x, y) of another.
template <class Visit>
void fnForEachPiecePair(const CqTileMap& from, const CRect& rect, const CqTileMap& to, LONG x,
                        LONG y, Visit visit) {
    assert(from.BytesPerPixel != 0 && to.BytesPerPixel != 0);
    const CRect place(CPoint(x, y), rect.Size());
    fnForEachPiece(to, place, [&](const TilePiece& whole) {
        CRect sourceRect = whole.m_rect;
        sourceRect.OffsetRect(rect.left - x, rect.top - y);
        fnForEachPiece(from, sourceRect, [&](const TilePiece& source) {
            TilePiece target = whole;
            target.m_rect = source.m_rect;
            target.m_rect.OffsetRect(x - rect.left, y - rect.top);
            target.m_pPixels +=
                whole.m_nStride * static_cast<std::size_t>(source.m_rect.top - sourceRect.top) +
                std::size_t{to.BytesPerPixel} *
                    static_cast<std::size_t>(source.m_rect.left - sourceRect.left);
            visit(source, target);
        });
    });
}

/// Calls `visit(source, target, pixels)` for the runs of such pieces. Both images have the same
/// depth; rows that are contiguous in both are combined into one run.
template <class Visit>
void fnForEachRun(const CqTileMap& from, const CRect& rect, const CqTileMap& to, LONG x, LONG y,
                  Visit visit) {
    const auto visitRows = [&](const TilePiece& source, const TilePiece& target) {
        const auto pixels = static_cast<std::size_t>(source.m_rect.Width());
        const auto rows = static_cast<std::size_t>(source.m_rect.Height());
        const std::size_t bytes = pixels * to.BytesPerPixel;
        if (source.m_nStride == bytes && target.m_nStride == bytes)
            return visit(source.m_pPixels, target.m_pPixels, pixels * rows);
        for (std::size_t row = 0; row < rows; ++row)
            visit(source.m_pPixels + row * source.m_nStride,
                  target.m_pPixels + row * target.m_nStride, pixels);
    };
    fnForEachPiecePair(from, rect, to, x, y, visitRows);
}

} // namespace q32
