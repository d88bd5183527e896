/// @file
/// From rows of image pixels to rows of a device bitmap, and from there to the device.
#pragma once

#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>

class CDC;

namespace q32 {

/// A run of pixels of an image, side by side.
struct CqDeviceRun {
    unsigned char* m_pSource; ///< in the image's format; 4 bits come as one index a byte
    unsigned char* m_pTarget;
    std::size_t m_nCount;
    const RGBQUAD* m_pPalette; ///< 256 entries, for indices
    int m_nX;                  ///< place of the first pixel in the image, for the dither
    int m_nY;
};

/// Converts a run from an image of `bitCount` bits (4, 8, 16, 24, 32) to a device bitmap of
/// `deviceBits` (8, 24, 32). Indices go to 8 bits as they are, colours as indices of the palette of
/// 216 colours. The fourth byte of 32 device bits is the palette entry's, 0, or alpha.
void fnConvertRun(std::uint32_t bitCount, std::uint32_t deviceBits, const CqDeviceRun& run);

/// Zeroes the bytes that pad the rows of a device bitmap.
void fnClearPadding(BITMAPINFOHEADER& dib);

/// Puts all rows of a device bitmap on a device. Returns the scans taken; -1 on failure.
int fnPutRows(CDC* dc, int x, int y, const BITMAPINFOHEADER& dib);

} // namespace q32
