/// @file
/// How a colour is stored in the bytes of one pixel, for single-pixel access, fills and lines.
#pragma once

#include "q32Base/image/CqColor.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/Nibbles_p.h"
#include "q32Base/pixels/PixelFormat_p.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace q32 {

/// Sets `count` adjacent pixels of `size` bytes each, from `target` on.
inline void fnFillPixels(unsigned char* target, const unsigned char* pixel, std::size_t size,
                         std::size_t count) {
    fnKernels().fnFill[size - 1](target, count, pixel);
}

/// Mirrors a row of pixels of `size` bytes each.
inline void fnReversePixels(unsigned char* row, std::size_t pixels, std::size_t size) {
    if (size == 1)
        return std::reverse(row, row + pixels);
    unsigned char* end = row + pixels * size;
    for (std::size_t i = 0; i < pixels / 2; ++i, row += size) {
        end -= size;
        std::swap_ranges(row, row + size, end);
    }
}

inline PixelColor fnPixelColor(const CqColor& color) {
    return {color.m_Red, color.m_Green, color.m_Blue, color.m_Alpha};
}
inline CqColor fnColor(const PixelColor& color) {
    return CqColor(color.m_nRed, color.m_nGreen, color.m_nBlue, color.m_nAlpha);
}

/// Palette index of a colour: the first entry with the same red, green and blue, else 0.
inline std::uint8_t fnPaletteIndex(const CqTileMap& map, const CqColor& color) {
    const int index = map.fnFindColor(color.m_Red, color.m_Green, color.m_Blue);
    return static_cast<std::uint8_t>(index < 0 ? 0 : index);
}

/// Reads the pixel at `pixel`. At 4 bits `odd` chooses the low nibble. At 16 bits green contains
/// bits of red and blue, deliberately.
inline CqColor fnReadPixel(const CqTileMap& map, const unsigned char* pixel, bool odd) {
    const PixelFormat& format = fnPixelFormat(map.BitCount);
    if (!format.m_bIndexed)
        return fnColor(format.m_fnUnpackSingle(pixel));
    return CqColor(map.Palette[format.m_nBytes != 0 ? *pixel : fnGetNibble(pixel, odd)]);
}

/// Writes the pixel at `pixel`; at 4 bits the other nibble stays. 16-bit pixels are stored low byte
/// first, unlike those of fills and drawing, deliberately.
inline void fnWritePixel(const CqTileMap& map, unsigned char* pixel, bool odd,
                         const CqColor& color) {
    const PixelFormat& format = fnPixelFormat(map.BitCount);
    if (!format.m_bIndexed)
        format.m_fnPackSingle(pixel, fnPixelColor(color));
    else if (format.m_nBytes != 0)
        *pixel = fnPaletteIndex(map, color);
    else
        fnPutNibble(pixel, odd, fnPaletteIndex(map, color) & 0x0Fu);
}

/// Sets the bytes that a fill repeats and returns their number; at 4 bits one byte for two pixels,
/// with the index in both nibbles. An index above 15 is combined with itself, deliberately.
inline unsigned int fnPackFill(const CqTileMap& map, const CqColor& color,
                               unsigned char (&bytes)[4]) {
    const PixelFormat& format = fnPixelFormat(map.BitCount);
    if (!format.m_bIndexed) {
        format.m_fnPack(bytes, fnPixelColor(color));
        return format.m_nBytes;
    }
    const unsigned int index = fnPaletteIndex(map, color);
    bytes[0] = static_cast<unsigned char>(format.m_nBytes != 0 ? index : index << 4 | index);
    return 1;
}

/// Sets all pixels of an image. Raises the memory exception where pixels of it were lost.
void fnFillAll(CqTileMap& map, const CqColor& color);

} // namespace q32
