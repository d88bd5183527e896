#include "q32Base/image/CqImageTile.h"

#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/platform/Checked_p.h"

#include <cassert>
#include <cstring>

CqImageTile::~CqImageTile() {
    if (Claim && TileMap)
        TileMap->fnReleaseTile(static_cast<std::uint32_t>(Index));
}

void CqImageTile::fnCopy(CqImageTile& source) {
    q32::fnRequirePlace("CqImageTile::fnCopy", Index, "CqImage::fnAccessTile");
    q32::fnRequirePlace("CqImageTile::fnCopy", source.Index, "CqImage::fnAccessTile");
    assert(Pixels && source.Pixels);
    std::memmove(Pixels, source.Pixels, Size);
}

void CqTileMap::fnAccessTile(std::uint32_t index, CqImageTile* tile) {
    assert(index < TileCount);
    if (tile->Index == static_cast<std::int32_t>(index))
        return;
    if (tile->Claim) {
        CSingleLock lock(TileLock);
        if (TileTable[index].Locked)
            tile->Claim = false;
        if (tile->Index > -1) {
            lock.Unlock();
            fnReleaseTile(static_cast<std::uint32_t>(tile->Index));
        }
    }
    CRect rect;
    fnGetTileRect(&rect, index, false);
    tile->TileMap = this;
    tile->Index = static_cast<std::int32_t>(index);
    tile->Left = rect.left;
    tile->Top = rect.top;
    tile->Right = rect.right;
    tile->Bottom = rect.bottom;
    tile->Width = rect.Width();
    tile->Height = rect.Height();
    tile->BitCount = BitCount;
    tile->BytesPerPixel = BytesPerPixel;
    tile->RowBytes = fnRowBytes(static_cast<std::uint32_t>(tile->Width));
    tile->Size = tile->RowBytes * static_cast<std::uint32_t>(tile->Height);
    tile->Pixels = TileTable[index].Pixels;
    assert(tile->Pixels >= PixelBuffer && tile->Pixels + tile->Size <= PixelBuffer + BufferSize);
    if (tile->Claim) {
        const CSingleLock lock(TileLock);
        TileTable[index].Locked = true;
    }
}

void CqTileMap::fnAccessTile(CPoint& position, CqImageTile* tile) {
    // Tiles are 128 pixels long in every direction that has several.
    const auto column = TilesAcross == 1 ? 0u : static_cast<std::uint32_t>(position.x >> 7);
    const auto row = TilesDown == 1 ? 0u : static_cast<std::uint32_t>(position.y >> 7);
    fnAccessTile(TilesAcross * row + column, tile);
}
