#pragma once

#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/operations/ProgressRun_p.h"

#include <algorithm>

namespace q32 {

/// Calls `visit(piece)` for the pieces of `rect`, which isn't empty and lies in the image, and
/// reports progress after each row of tiles. False after an abort.
template <class Visit>
bool fnForEachBand(const CqTileMap& map, const CRect& rect, CqProgressDisplay* progress,
                   Visit visit) {
    constexpr auto kTile = static_cast<LONG>(CqTileMap::kMaxTileSize);
    const ProgressRun run(progress, static_cast<std::uint32_t>(rect.Height()));
    for (LONG y = rect.top; y < rect.bottom;) {
        const LONG end = std::min(rect.bottom - y, kTile - y % kTile) + y;
        fnForEachPiece(map, CRect(rect.left, y, rect.right, end), visit);
        if (run.fnAborts(static_cast<std::uint32_t>(y - rect.top)))
            return false;
        y = end;
    }
    return true;
}

} // namespace q32
