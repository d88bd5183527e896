#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

#include <cstdint>

class CDC;
class CqTileMap;

/// A window on one tile of an image: a rectangle and the address of its bytes, which stay where
/// they are. It lives on the stack and is placed with `CqImage::fnAccessTile`; moving it on is the
/// same call with another index.
///
/// With a claim, the tile is marked as in use for as long as the accessor stands on it. A claim is
/// advisory: an accessor that finds the tile claimed drops its own claim for good and works all the
/// same. The accessor must be gone, or without a claim, before the image changes its storage.
class Q32_API CqImageTile {
public:
    explicit CqImageTile(bool claim = false) : Claim(claim) {}
    ~CqImageTile();
    CqImageTile(const CqImageTile&) = delete;
    CqImageTile& operator=(const CqImageTile&) = delete;

    /// Copies `Size` bytes of this tile's size from the source's pixels. Neither depth nor size is
    /// compared: both images must have the same geometry.
    void fnCopy(CqImageTile& source);

    /// Draws the tile at the place that the image's last `fnDrawInit` set; a null `dc` draws on
    /// that call's window. True also for a tile that lies outside of what is shown.
    bool fnDraw(CDC* dc);
    /// Draws the part of the scaled tile that begins at (x, y) of the scaled image into `rect`.
    /// False when a buffer can't be had or the platform refuses.
    bool fnDraw(CDC* dc, const CRect& rect, int x, int y, bool background);

    std::int32_t Index = -1; ///< -1 when free
    std::int32_t Left = 0;   ///< the tile's rectangle, in image pixels
    std::int32_t Top = 0;
    std::int32_t Right = 0;
    std::int32_t Bottom = 0;
    std::int32_t Width = 0;
    std::int32_t Height = 0;
    std::uint32_t BitCount = 0;
    std::uint32_t BytesPerPixel = 0; ///< 0 at 4 bits
    std::uint32_t RowBytes = 0;      ///< this tile's own row length
    std::uint32_t Size = 0;          ///< RowBytes x Height
    unsigned char* Pixels = nullptr; ///< first byte of the tile; rows follow without padding
    CqTileMap* TileMap = nullptr;
    bool Claim = false;

protected:
    /// Stage a part of the scaled tile, which begins at (x, y) of the scaled image, in the map's
    /// scratch buffer: rows from the top without padding, 4-bit pixels as one index a byte.
    /// Fitting stages nothing, deliberately: what the buffer held before is shown.
    void fnDrawFit(unsigned int factor, int x, int y, int width, int height);
    /// Pixel repetition; the factor is 1 or more. A 4-bit source pixel under x must be even.
    void fnDrawInflate(unsigned int factor, int x, int y, int width, int height);
    /// Nearest sample: pixel (i, j) is source pixel (i x factor, j x factor), or the tile's first
    /// column or row where that lies left of it or above.
    void fnDrawShrink(unsigned int factor, int x, int y, int width, int height);
    /// Convert the staged pixels into rows of a device bitmap. The first row goes to `target`, and
    /// each further one `stride` bytes lower in memory.
    void fnBlt8(unsigned char* target, unsigned int stride, int width, int height, int x, int y);
    void fnBlt24(unsigned char* target, unsigned int stride, int width, int height);
    void fnBlt32(unsigned char* target, unsigned int stride, int width, int height);

private:
    bool fnDrawBand(CDC* dc, const CPoint& place, int x, int y, int width, int height);
};
