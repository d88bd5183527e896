#pragma once

#include "q32Base/image/CqImageTile.h"
#include "q32Base/memory/CqTileMap_p.h"

#include <cstdint>

namespace q32 {

/// Copies all tiles of a map to one of the same size, whose depth isn't greater. Raises the memory
/// exception if pixels of either were lost.
inline void fnCopyTiles(CqTileMap& source, CqTileMap& target) {
    {
        CqImageTile from(true);
        CqImageTile to(true);
        for (std::uint32_t i = 0; i < target.TileCount; ++i) {
            source.fnAccessTile(i, &from);
            target.fnAccessTile(i, &to);
            to.fnCopy(from);
        }
    }
    source.fnRequirePixels();
    target.fnRequirePixels();
}

} // namespace q32
