#include "q32Base/image/CqImageTile.h"

#include "q32Base/memory/CqTileMap.h"

#include <cstring>

CqImageTile::~CqImageTile() {
    if (Claim && TileMap)
        TileMap->fnReleaseTile(static_cast<std::uint32_t>(Index));
}

void CqImageTile::fnCopy(CqImageTile& source) {
    std::memmove(Pixels, source.Pixels, Size);
}
