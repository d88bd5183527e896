#pragma once

#include "q32Base/image/CqColor.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>

class CDC;
class CqTileMap;

/// An image row as one piece of memory, although it is spread over a row of tiles. It lives on the
/// stack and is placed with `CqImage::fnAccessLine`.
///
/// Buffered, it copies the row into `LineBuffer`; opened for writing, it copies it back when it
/// moves on or is destroyed. Memoryless, it has no buffer: the caller walks the row with
/// `fnStartSegment`, `fnSetPixel` and `fnNextPixel`.
///
///     CqImageLine line;
///     for (std::uint32_t y = 0; y < image.Height; ++y) {
///         image.fnAccessLine(y, &line, false);
///         // change line.LineBuffer
///     } // the last row is written back here
///
/// With a claim, the row is marked as in use; see CqImageTile.
///
/// Call `fnUnAssociate` before moving an accessor to another image: otherwise a changed row is
/// written to that image, and the buffer keeps the length of the first image's row.
class Q32_API CqImageLine {
public:
    /// On no row.
    /// @param memoryless  has only the walk, and no buffer
    /// @param claim       marks the row as in use
    explicit CqImageLine(bool memoryless = false, bool claim = false)
        : Memoryless(memoryless), Claim(claim) {}
    ~CqImageLine();
    CqImageLine(const CqImageLine&) = delete;
    CqImageLine& operator=(const CqImageLine&) = delete;

    /// Whether the accessor has no buffer, only the walk.
    bool fnIsMemoryless() const { return Memoryless; }
    /// Address of the pixel at `SegX`.
    unsigned char* fnGetPixel() { return SegPixel; }

    /// Writes the buffer back into the tiles, if the accessor is on a row, whatever `ReadOnly` is.
    void fnFlush();
    /// Releases the row: writes it back unless read-only, frees the buffer, releases the claim.
    void fnUnAssociate();

    /// Sets pixels of the buffer. `start` and `count` must lie inside the row. At 4 bits a fill
    /// from an odd pixel begins one pixel late, deliberately, and sets `count / 2` bytes, then a
    /// high nibble if `count` is odd.
    void fnFillColor(const CqColor& color, unsigned int start, unsigned int count);
    /// Mirrors the buffer. 4-bit rows are left unchanged.
    void fnReverseLine();
    /// Swaps the first and third byte of 24-bit pixels, or reverses the four bytes of 32-bit ones;
    /// a `count` with all bits set means up to the end of the row.
    void fnReversePixel(int start, unsigned int count);
    /// Converts the first half of a 16-bit row, `Width >> 1` pixels; the second half stays as it
    /// is, deliberately.
    /// @param swapOnly  only swap the two bytes
    /// @param toMap     otherwise: widen 5-5-5 low byte first to 5-6-5 high byte first; false: the
    ///                  inverse
    void fnReversePixel(bool swapOnly, bool toMap);

    /// Read and write a pixel of the buffer, two 4-bit pixels to a byte. The 16-bit forms are those
    /// of CqImage::fnGetPixelColor and fnSetPixelColor.
    CqColor fnGetPixelColor(int x) const;
    void fnSetPixelColor(int x, const CqColor& color);

    /// Starts a walk at x, which must lie inside the row.
    void fnStartSegment(int x);
    /// Writes at `SegPixel` and moves on.
    void fnSetPixel(unsigned char red, unsigned char green, unsigned char blue,
                    unsigned char alpha);
    /// Moves on by one pixel; past the last pixel of the row, `SegPixel` stays where it is.
    void fnNextPixel();

    /// Draws `count` pixels of the buffer, from `sourceX` on, at (x, y). The last argument has no
    /// effect. False when a buffer can't be allocated or the platform call fails.
    bool fnDraw(CDC* dc, int x, int y, int count, int sourceX, bool flag);

    // Written by the accessor; the caller changes only the bytes of the buffer.

    std::int32_t Row = -1;           ///< -1 when free
    std::uint32_t Width = 0;         ///< of the row, in pixels
    std::uint32_t BitCount = 0;      ///< bits per pixel
    std::uint32_t BytesPerPixel = 0; ///< 0 at 4 bits
    std::uint32_t RowBytes = 0;      ///< bytes of the row in the buffer
    unsigned char* LineBuffer =
        nullptr;                       ///< the row in the image's byte order; null when memoryless
    CqTileMap* TileMap = nullptr;      ///< the image's storage; not owned
    bool Memoryless = false;           ///< as constructed
    bool Claim = false;                ///< whether the row is, or will be, claimed
    bool ReadOnly = true;              ///< whether the row isn't written back
    std::int32_t SegX = 0;             ///< column of the walk
    std::uint32_t SegTile = 0;         ///< index of the tile that contains it
    std::int32_t SegLeft = 0;          ///< the tile's left edge, in image pixels
    std::int32_t SegTop = 0;           ///< the tile's top edge
    std::int32_t SegEnd = 0;           ///< the column after the tile
    unsigned char* SegPixel = nullptr; ///< the walk's pixel in the tile

protected:
    friend class CqTileMap;

    /// Fetches a row; does nothing if the accessor is already on it. Writes the old row back first,
    /// unless it was read-only.
    void fnSetup(unsigned int row, bool readOnly);
    /// Convert `count` pixels of the buffer from `sourceX` on to 8, 24 or 32 device bits.
    void fnBlt8(unsigned char* target, int sourceX, int count);
    void fnBlt24(unsigned char* target, int sourceX, int count);
    void fnBlt32(unsigned char* target, int sourceX, int count);

private:
    Q32_LOCAL void fnMakeBuffer();
    Q32_LOCAL std::size_t fnOffset(int x) const;
    Q32_LOCAL void fnEnterTile(std::uint32_t column);
};
