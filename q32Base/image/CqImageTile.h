#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

#include <cstdint>

class CDC;
class CqTileMap;

/// A window on one tile of an image: its rectangle and the address of its bytes, which aren't
/// copied. It lives on the stack and is placed with `CqImage::fnAccessTile`; the same call with
/// another index moves it.
///
/// With a claim, the tile is marked as in use for as long as the accessor is on it. A claim is
/// advisory: an accessor that finds the tile claimed drops its own claim for good and works all the
/// same. Destroy the accessor before the image changes its storage, unless it holds no claim.
class Q32_API CqImageTile {
public:
    /// On no tile. `claim`: marks the tile as in use.
    explicit CqImageTile(bool claim = false) : Claim(claim) {}
    ~CqImageTile();
    CqImageTile(const CqImageTile&) = delete;
    CqImageTile& operator=(const CqImageTile&) = delete;

    /// Copies `Size` bytes of this tile's size from the source's pixels. Neither depth nor size is
    /// checked: both images must have the same geometry.
    void fnCopy(CqImageTile& source);

    /// Draws the tile at the position set by the image's last `fnDrawInit`; a null `dc` draws in
    /// that call's window. Also true for a tile outside the visible part.
    bool fnDraw(CDC* dc);
    /// Draws the part of the scaled tile that begins at (x, y) of the scaled image into `rect`.
    /// False when a buffer can't be allocated or the platform call fails.
    bool fnDraw(CDC* dc, const CRect& rect, int x, int y, bool background);

    // Written by the accessor; the caller changes only the bytes of the tile.

    std::int32_t Index = -1;         ///< -1 when free
    std::int32_t Left = 0;           ///< the tile's rectangle, in image pixels
    std::int32_t Top = 0;            ///< its first row
    std::int32_t Right = 0;          ///< the column after its last one
    std::int32_t Bottom = 0;         ///< the row after its last one
    std::int32_t Width = 0;          ///< in pixels, at most 128 unless the image has 4 bits
    std::int32_t Height = 0;         ///< in pixels, likewise
    std::uint32_t BitCount = 0;      ///< bits per pixel
    std::uint32_t BytesPerPixel = 0; ///< 0 at 4 bits
    std::uint32_t RowBytes = 0;      ///< this tile's own row length
    std::uint32_t Size = 0;          ///< RowBytes x Height
    unsigned char* Pixels = nullptr; ///< first byte of the tile; rows follow without padding
    CqTileMap* TileMap = nullptr;    ///< the image's storage; not owned
    bool Claim = false;              ///< whether the tile is, or will be, claimed

protected:
    /// Stage a part of the scaled tile, which begins at (x, y) of the scaled image, in the map's
    /// scratch buffer: rows from the top without padding, 4-bit pixels as one index a byte.
    /// fnDrawFit stages nothing, deliberately: the buffer's previous contents are shown.
    void fnDrawFit(unsigned int factor, int x, int y, int width, int height);
    /// Pixel repetition; the factor is 1 or more. At 4 bits the source pixel at x must be even.
    void fnDrawInflate(unsigned int factor, int x, int y, int width, int height);
    /// Nearest neighbour: pixel (i, j) is source pixel (i x factor, j x factor), or the tile's
    /// first column or row if that lies left of the tile or above it.
    void fnDrawShrink(unsigned int factor, int x, int y, int width, int height);
    /// Convert the staged pixels into rows of a device bitmap. The first row goes to `target`, and
    /// each further one `stride` bytes lower in memory.
    void fnBlt8(unsigned char* target, unsigned int stride, int width, int height, int x, int y);
    void fnBlt24(unsigned char* target, unsigned int stride, int width, int height);
    void fnBlt32(unsigned char* target, unsigned int stride, int width, int height);

private:
    Q32_LOCAL bool fnDrawBand(CDC* dc, const CPoint& place, int x, int y, int width, int height);
};
