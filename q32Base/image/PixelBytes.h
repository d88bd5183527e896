/// @file
/// How a colour stands in the bytes of one pixel: the forms that single-pixel access, fills and
/// lines share.
#pragma once

#include "q32Base/image/CqColor.h"
#include "q32Base/kernels/Kernels.h"
#include "q32Base/kernels/Rgb565.h"
#include "q32Base/memory/CqTileMap.h"

#include <cstddef>
#include <cstdint>

namespace q32 {

/// Sets `count` pixels of `size` bytes each, side by side from `target` on.
inline void fnFillPixels(unsigned char* target, const unsigned char* pixel, std::size_t size,
                         std::size_t count) {
    fnKernels().fnFill[size - 1](target, count, pixel);
}

/// 5-6-5 of a colour as a number.
inline std::uint16_t fnPack565(const CqColor& color) {
    return fnPack565(color.m_Red, color.m_Green, color.m_Blue);
}

/// Palette index of a colour: the first entry with the same red, green and blue, else 0.
inline std::uint8_t fnPaletteIndex(const CqTileMap& map, const CqColor& color) {
    const int index = map.fnFindColor(color.m_Red, color.m_Green, color.m_Blue);
    return static_cast<std::uint8_t>(index < 0 ? 0 : index);
}

/// Sets one of the two indices of a byte, the low nibble's for `odd`.
inline void fnPutNibble(unsigned char* byte, bool odd, unsigned int index) {
    *byte =
        static_cast<unsigned char>(odd ? (*byte & 0xF0u) | index : (*byte & 0x0Fu) | index << 4);
}

/// Reads the pixel at `pixel`. At 4 bits `odd` chooses the low nibble. The 16-bit green mixes in
/// low bits of blue and high bits of red: it reads the two bytes low byte first, deliberately.
inline CqColor fnReadPixel(const CqTileMap& map, const unsigned char* pixel, bool odd) {
    switch (map.BitCount) {
    case 4:
        return CqColor(map.Palette[odd ? *pixel & 0x0F : *pixel >> 4]);
    case 8:
        return CqColor(map.Palette[*pixel]);
    case 16: {
        const Rgb8 read = fnReadRgb565MixedGreen(pixel);
        return CqColor(read.m_nRed, read.m_nGreen, read.m_nBlue, 255);
    }
    case 24:
        return CqColor(pixel[0], pixel[1], pixel[2], 255);
    default:
        return CqColor(pixel[1], pixel[2], pixel[3], pixel[0]);
    }
}

/// Writes the pixel at `pixel`; at 4 bits the other nibble stays. 16 bits are stored low byte
/// first, deliberately, against the order that fills and drawing use.
inline void fnWritePixel(const CqTileMap& map, unsigned char* pixel, bool odd,
                         const CqColor& color) {
    switch (map.BitCount) {
    case 4:
        return fnPutNibble(pixel, odd, fnPaletteIndex(map, color) & 0x0Fu);
    case 8:
        *pixel = fnPaletteIndex(map, color);
        return;
    case 16:
        return fnStoreLowFirst(pixel, fnPack565(color));
    case 32:
        *pixel++ = color.m_Alpha;
        [[fallthrough]];
    default:
        pixel[0] = color.m_Red;
        pixel[1] = color.m_Green;
        pixel[2] = color.m_Blue;
    }
}

/// The bytes that a fill repeats, 16 bits high byte first; at 4 bits one byte for two pixels, with
/// the index in both nibbles, where an index above 15 is mixed with itself, deliberately. Returns
/// how many.
inline unsigned int fnPackFill(const CqTileMap& map, const CqColor& color,
                               unsigned char (&bytes)[4]) {
    switch (map.BitCount) {
    case 4: {
        const unsigned int index = fnPaletteIndex(map, color);
        bytes[0] = static_cast<unsigned char>(index << 4 | index);
        return 1;
    }
    case 16:
        fnStoreHighFirst(bytes, fnPack565(color));
        return 2;
    default:
        fnWritePixel(map, bytes, false, color);
        return map.BytesPerPixel;
    }
}

} // namespace q32
