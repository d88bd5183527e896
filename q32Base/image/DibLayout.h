/// @file
/// Where things lie in a device-independent bitmap.
#pragma once

#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>

namespace q32 {

inline constexpr std::size_t kDibHeaderBytes = 40;

/// Bytes of a row, reckoned with the byte count rounded down and then padded to four bytes.
inline std::size_t fnDibStride(std::uint32_t width, std::uint32_t bits) {
    return static_cast<std::size_t>(((static_cast<std::uint64_t>(width) * bits >> 3) + 3) & ~3ull);
}

/// Entries of the colour table that a header tells; 0 above 8 bits.
inline std::uint32_t fnDibPaletteCount(const BITMAPINFOHEADER& header) {
    if (header.biBitCount >= 9)
        return 0;
    return header.biClrUsed ? header.biClrUsed : 1u << header.biBitCount;
}

/// Where the pixels begin: behind the header, as long as it says it is, and the colour table.
inline std::uint64_t fnDibPixelOffset(const BITMAPINFOHEADER& header) {
    return header.biSize + 4ull * fnDibPaletteCount(header);
}

/// The first row in memory of a packed bitmap.
inline unsigned char* fnDibPixels(BITMAPINFOHEADER* header) {
    return reinterpret_cast<unsigned char*>(header) + fnDibPixelOffset(*header);
}
inline const unsigned char* fnDibPixels(const BITMAPINFOHEADER* header) {
    return reinterpret_cast<const unsigned char*>(header) + fnDibPixelOffset(*header);
}

} // namespace q32
