/// @file
/// Walks over the pieces of a rectangle in which several threads take part. Visits with different
/// `worker` may run at once; see Parallel.
#pragma once

#include "q32Base/framework/Parallel_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/operations/TilePieces_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <cstdint>

namespace q32 {

/// A rectangle, divided where the tiles of an image end.
class TileGrid {
public:
    /// @param pixelTime  nanoseconds for a pixel
    TileGrid(const CRect& rect, double pixelTime)
        : m_rect(rect), m_nAcross(fnCount(rect.left, rect.right)),
          m_Cells(m_nAcross * fnCount(rect.top, rect.bottom),
                  pixelTime * rect.Width() * rect.Height() /
                      (1.0 * m_nAcross * fnCount(rect.top, rect.bottom))) {}

    const Parallel& fnGetParallel() const { return m_Cells; }

    /// Calls `visit(worker, part)` for parts that together cover the rectangle.
    template <class Visit>
    void fnRun(Visit visit) const {
        m_Cells.fnRun([&](std::uint32_t worker, std::uint32_t first, std::uint32_t end) {
            if (end - first == m_Cells.fnGetUnits())
                return visit(worker, m_rect);
            for (std::uint32_t next; first < end; first = next) {
                next = std::min(end, (first / m_nAcross + 1) * m_nAcross);
                visit(worker, fnGetPart(first, next));
            }
        });
    }

private:
    static constexpr std::int64_t kTile = CqTileMap::kMaxTileSize;

    static std::uint32_t fnCount(LONG first, LONG end) {
        return static_cast<std::uint32_t>((end - 1) / kTile - first / kTile + 1);
    }

    /// Cells of one row of tiles.
    CRect fnGetPart(std::uint32_t first, std::uint32_t end) const {
        const std::int64_t left = m_rect.left / kTile + first % m_nAcross;
        const std::int64_t top = m_rect.top / kTile + first / m_nAcross;
        const auto clip = [](std::int64_t cell, LONG low, LONG high) {
            return static_cast<LONG>(
                std::clamp(cell * kTile, std::int64_t{low}, std::int64_t{high}));
        };
        return {clip(left, m_rect.left, m_rect.right), clip(top, m_rect.top, m_rect.bottom),
                clip(left + end - first, m_rect.left, m_rect.right),
                clip(top + 1, m_rect.top, m_rect.bottom)};
    }

    CRect m_rect;
    std::uint32_t m_nAcross;
    Parallel m_Cells;
};

/// Calls `visit(worker, piece)` for the pieces of `rect`, which isn't empty and lies in the image.
template <class Visit>
void fnDividePieces(const CqTileMap& map, const CRect& rect, double pixelTime, Visit visit) {
    TileGrid(rect, pixelTime).fnRun([&](std::uint32_t worker, const CRect& part) {
        fnForEachPiece(map, part, [&](const TilePiece& piece) { visit(worker, piece); });
    });
}

/// Calls `visit(part, x, y)` for parts of `rect` of one image and the places of their pixels in
/// another, where `rect` lies at (x, y).
template <class Visit>
void fnDividePlaces(const CRect& rect, LONG x, LONG y, double pixelTime, Visit visit) {
    TileGrid(CRect(CPoint(x, y), rect.Size()), pixelTime)
        .fnRun([&](std::uint32_t, const CRect& part) {
            CRect from = part;
            from.OffsetRect(rect.left - x, rect.top - y);
            visit(from, part.left, part.top);
        });
}

/// Calls `visit(worker, piece)` for the pieces of `rect`, which isn't empty and lies in the image,
/// and reports progress after each row of tiles. False after an abort. There are at most as many
/// workers as for a TileGrid of `rect`.
template <class Visit>
bool fnForEachBand(const CqTileMap& map, const CRect& rect, double pixelTime,
                   CqProgressDisplay* progress, Visit visit) {
    if (!progress) {
        fnDividePieces(map, rect, pixelTime, visit);
        return true;
    }
    constexpr auto kTile = static_cast<LONG>(CqTileMap::kMaxTileSize);
    const ProgressRun run(progress, static_cast<std::uint32_t>(rect.Height()));
    for (LONG y = rect.top; y < rect.bottom;) {
        const LONG end = std::min(rect.bottom - y, kTile - y % kTile) + y;
        fnDividePieces(map, CRect(rect.left, y, rect.right, end), pixelTime, visit);
        if (run.fnAborts(static_cast<std::uint32_t>(y - rect.top)))
            return false;
        y = end;
    }
    return true;
}

} // namespace q32
