/// @file
/// The path of pixels to a device, for both tiles and lines: they are converted to rows of a device
/// bitmap, which are then padded, gamma-corrected, dithered and drawn.
#pragma once

#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>

class CDC;

namespace q32 {

/// Rows of pixels of an image, from the top down.
struct DrawRows {
    unsigned char* m_pPixels; ///< in the image's format; at 4 bits one index a byte
    std::size_t m_nRowBytes;  ///< from one row to the next
    std::uint32_t m_nBitCount;
    const RGBQUAD* m_pPalette; ///< 256 entries, for indices
    int m_nWidth;
    int m_nHeight;
    int m_nX; ///< position of the first pixel in the image, for the dither
    int m_nY;
};

/// Converts rows of 4, 8, 16, 24 or 32 bits a pixel to a device bitmap of `deviceBits` (8, 24, 32).
/// At 8 device bits, indices are copied and colours become indices of the palette of 216 colours.
/// The fourth byte of 32 device bits is the palette entry's, 0, or alpha. The first row goes to
/// `top`, and each further one `stride` bytes lower in memory.
void fnConvertRows(const DrawRows& rows, std::uint32_t deviceBits, unsigned char* top,
                   std::size_t stride);

/// Converts rows and draws them at (x, y) of a device. `dib` is the map's device bitmap, of the
/// display's depth and large enough for the rows; its header is set to their size. Returns the
/// number of scan lines drawn; -1 on failure.
int fnDrawRows(CDC* dc, int x, int y, BITMAPINFOHEADER& dib, const DrawRows& rows);

} // namespace q32
