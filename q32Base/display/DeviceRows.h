/// @file
/// The way of pixels to a device, the same for tiles and for lines: they are converted to rows of a
/// device bitmap, which are then padded, corrected by the gamma curve, dithered and put.
#pragma once

#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>

class CDC;

namespace q32 {

/// Rows of pixels of an image, from the topmost one down.
struct SourceRows {
    unsigned char* m_pPixels; ///< in the image's format; 4 bits come as one index a byte
    std::size_t m_nRowBytes;  ///< from a row to the next one
    std::uint32_t m_nBitCount;
    const RGBQUAD* m_pPalette; ///< 256 entries, for indices
    int m_nWidth;
    int m_nHeight;
    int m_nX; ///< place of the first pixel in the image, for the dither
    int m_nY;
};

/// Converts rows of 4, 8, 16, 24 or 32 bits a pixel to a device bitmap of `deviceBits` (8, 24, 32).
/// Indices go to 8 bits as they are, colours as indices of the palette of 216 colours. The fourth
/// byte of 32 device bits is the palette entry's, 0, or alpha. The first row goes to `top`, and
/// each further one `stride` bytes lower in memory.
void fnConvertRows(const SourceRows& rows, std::uint32_t deviceBits, unsigned char* top,
                   std::size_t stride);

/// Draws rows at (x, y) of a device, all the way. `dib` is the map's device bitmap, in the depth of
/// the display and with room for the rows; it takes their size. Returns the scans that the device
/// has taken; -1 on failure.
int fnDrawRows(CDC* dc, int x, int y, BITMAPINFOHEADER& dib, const SourceRows& rows);

} // namespace q32
