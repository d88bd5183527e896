#pragma once

#include "q32Base/image/CqMask.h"
#include "q32Base/operations/BandWalk_p.h"
#include "q32Base/operations/TilePieces_p.h"

#include <algorithm>
#include <cstdint>

namespace q32 {

/// A mask's bitmap, if any, and where it lies.
struct PlacedMask {
    const CqTileMap* m_pMap;
    CRect m_rect;

    explicit PlacedMask(const CqMask& mask) : m_pMap(mask.TileMap), m_rect(mask.m_rectBound) {
        const std::int64_t width = m_pMap ? m_pMap->Width : 0;
        const std::int64_t height = m_pMap ? m_pMap->Height : 0;
        m_rect.right = static_cast<LONG>(std::min(m_rect.left + width, std::int64_t{m_rect.right}));
        m_rect.bottom =
            static_cast<LONG>(std::min(m_rect.top + height, std::int64_t{m_rect.bottom}));
    }

    /// Calls `visit(source, target, pixels)` where the mask overlaps `area`, a part of the bitmap
    /// `target`, which lies at `corner`.
    template <class Visit>
    void fnForEachOverlap(const CRect& area, CqTileMap& target, const CPoint& corner,
                          Visit visit) const {
        CRect shared;
        if (!shared.IntersectRect(m_rect, area))
            return;
        const CPoint start(shared.left - m_rect.left, shared.top - m_rect.top);
        fnForEachRun(*m_pMap, CRect(start, shared.Size()), target, shared.left - corner.x,
                     shared.top - corner.y, visit);
    }
    /// The same by several threads, for all of `target`.
    template <class Visit>
    void fnDivideOverlap(const CRect& area, CqTileMap& target, double pixelTime,
                         Visit visit) const {
        TileGrid(fnWholeRect(target), pixelTime).fnRun([&](std::uint32_t, CRect part) {
            part.OffsetRect(area.left, area.top);
            fnForEachOverlap(part, target, area.TopLeft(), visit);
        });
    }
};

} // namespace q32
