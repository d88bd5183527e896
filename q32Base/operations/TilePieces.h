/// @file
/// Copies from one image to another, cut into pieces that lie in one tile of each. Rectangles lie
/// inside their images; depths of 8 bits and more alone, since a piece's left edge is a byte's
/// address.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/memory/CqTileMap.h"
#include "q32Base/memory/TileWalk.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace q32 {

inline CRect fnWholeRect(const CqTileMap& map) {
    return {0, 0, static_cast<LONG>(map.Width), static_cast<LONG>(map.Height)};
}

/// One axis of a copy: positions from `first` to below `end` of a source land from `place` on.
struct PlacedSpan {
    LONG m_nFirst, m_nEnd, m_nPlace;

    /// Leaves out what isn't in `first` to below `end`. False when nothing is left.
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

    /// Leaves out what isn't in 0 to below `sourceSize`, or doesn't land in 0 to below
    /// `targetSize`. False when nothing is left.
    bool fnClip(std::int64_t sourceSize, std::int64_t targetSize) {
        const std::int64_t shift = std::int64_t{m_nPlace} - m_nFirst;
        return fnKeep(std::max<std::int64_t>(0, -shift), std::min(sourceSize, targetSize - shift));
    }
};

/// Calls `visit(source, target)` for pieces of equal size that together are `rect` of one image and
/// the rectangle of its size at (x, y) of another.
template <class Visit>
void fnForEachPiecePair(const CqTileMap& from, const CRect& rect, const CqTileMap& to, LONG x,
                        LONG y, Visit visit) {
    const CRect place(CPoint(x, y), rect.Size());
    fnForEachPiece(to, place, [&](const TilePiece& whole) {
        CRect wanted = whole.m_rect;
        wanted.OffsetRect(rect.left - x, rect.top - y);
        fnForEachPiece(from, wanted, [&](const TilePiece& source) {
            TilePiece target = whole;
            target.m_rect = source.m_rect;
            target.m_rect.OffsetRect(x - rect.left, y - rect.top);
            target.m_pPixels +=
                whole.m_nStride * static_cast<std::size_t>(source.m_rect.top - wanted.top) +
                std::size_t{to.BytesPerPixel} *
                    static_cast<std::size_t>(source.m_rect.left - wanted.left);
            visit(source, target);
        });
    });
}

/// Calls `visit(source, target, pixels)` for the runs of such pieces. Both images have the same
/// depth; rows that follow each other in both come as one run.
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
