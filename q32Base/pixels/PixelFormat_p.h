/// @file
/// The pixel format of each depth: one table, by bits a pixel.
///
/// Bytes of a pixel in memory: 4 bits, a palette index, two to a byte, even x in the high nibble; 8
/// bits, a palette index; 16 bits, 5-6-5 stored high byte first; 24 bits, red, green, blue; 32
/// bits, alpha, red, green, blue.
#pragma once

#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/kernels/Rgb565_p.h"

#include <cstdint>

namespace q32 {

/// The colour of a pixel.
struct PixelColor {
    std::uint8_t m_nRed = 0;
    std::uint8_t m_nGreen = 0;
    std::uint8_t m_nBlue = 0;
    std::uint8_t m_nAlpha = 255;
};

/// Convert a pixel that isn't a palette index to a colour and back.
using PixelUnpack = PixelColor (*)(const std::uint8_t* pixel);
using PixelPack = void (*)(std::uint8_t* pixel, const PixelColor& color);

/// One depth. Null members don't apply to it.
struct PixelFormat {
    std::uint32_t m_nBits;
    std::uint32_t m_nBytes; ///< 0 at 4 bits
    bool m_bIndexed;        ///< the pixel is a palette index; else it is the colour
    bool m_bAlpha;          ///< the first byte is alpha

    PixelUnpack m_fnUnpack; ///< as stored
    PixelPack m_fnPack;
    PixelUnpack m_fnUnpackSingle; ///< as single-pixel access reads: 16 bits with mixed green
    PixelPack m_fnPackSingle;     ///< as single-pixel access writes: 16 bits low byte first

    // Kernels for runs of this depth. A null conversion means that the bytes are already in that
    // form.
    PixelRun Kernels::*m_pToArgb32;
    PixelRun Kernels::*m_pToBgrx32; ///< the fourth byte has no meaning
    PixelRun Kernels::*m_pToRgb24;
    PixelRun Kernels::*m_pToBgr24;
    ChannelCurvesRun Kernels::*m_pChannelCurves;
    HueRun Kernels::*m_pHueShift;
};

namespace pixels {

inline PixelColor fnUnpack16(const std::uint8_t* pixel) {
    const Rgb8 color = fnReadRgb565(pixel);
    return {color.m_nRed, color.m_nGreen, color.m_nBlue};
}
inline PixelColor fnUnpack16MixedGreen(const std::uint8_t* pixel) {
    const Rgb8 color = fnReadRgb565MixedGreen(pixel);
    return {color.m_nRed, color.m_nGreen, color.m_nBlue};
}
inline PixelColor fnUnpack24(const std::uint8_t* pixel) {
    return {pixel[0], pixel[1], pixel[2]};
}
inline PixelColor fnUnpack32(const std::uint8_t* pixel) {
    return {pixel[1], pixel[2], pixel[3], pixel[0]};
}
inline void fnPack16(std::uint8_t* pixel, const PixelColor& color) {
    fnWriteRgb565(pixel, {color.m_nRed, color.m_nGreen, color.m_nBlue});
}
inline void fnPack16LowFirst(std::uint8_t* pixel, const PixelColor& color) {
    fnWriteRgb565LowFirst(pixel, {color.m_nRed, color.m_nGreen, color.m_nBlue});
}
inline void fnPack24(std::uint8_t* pixel, const PixelColor& color) {
    pixel[0] = color.m_nRed;
    pixel[1] = color.m_nGreen;
    pixel[2] = color.m_nBlue;
}
inline void fnPack32(std::uint8_t* pixel, const PixelColor& color) {
    pixel[0] = color.m_nAlpha;
    fnPack24(pixel + 1, color);
}

} // namespace pixels

/// Every depth that an image can have.
inline constexpr PixelFormat kPixelFormats[] = {
    {4, 0, true, false, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
     nullptr, nullptr},
    {8, 1, true, false, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
     nullptr, nullptr},
    {16, 2, false, false, pixels::fnUnpack16, pixels::fnPack16, pixels::fnUnpack16MixedGreen,
     pixels::fnPack16LowFirst, &Kernels::fnRgb565ToArgb32, &Kernels::fnRgb565ToBgrx32,
     &Kernels::fnRgb565ToRgb24, &Kernels::fnRgb565ToBgr24, &Kernels::fnChannelCurves565,
     &Kernels::fnHueShift16},
    {24, 3, false, false, pixels::fnUnpack24, pixels::fnPack24, pixels::fnUnpack24,
     pixels::fnPack24, &Kernels::fnRgb24ToArgb32, &Kernels::fnRgb24ToBgrx32, nullptr,
     &Kernels::fnRgb24ToBgr24, &Kernels::fnChannelCurves24, &Kernels::fnHueShift24},
    {32, 4, false, true, pixels::fnUnpack32, pixels::fnPack32, pixels::fnUnpack32, pixels::fnPack32,
     nullptr, &Kernels::fnArgb32ToBgra32, &Kernels::fnArgb32ToRgb24, &Kernels::fnArgb32ToBgr24,
     &Kernels::fnChannelCurves32, &Kernels::fnHueShift32},
};

/// The table row of a depth, or null for a depth that no image has.
constexpr const PixelFormat* fnFindPixelFormat(std::uint32_t bits) {
    for (const PixelFormat& format : kPixelFormats)
        if (format.m_nBits == bits)
            return &format;
    return nullptr;
}

/// The table row of an image's depth, which must be one of the table.
constexpr const PixelFormat& fnPixelFormat(std::uint32_t bits) {
    return kPixelFormats[bits >> 3];
}

/// Whether pixels of that depth are palette indices.
constexpr bool fnIsIndexed(std::uint32_t bits) {
    return bits <= 8;
}

} // namespace q32
