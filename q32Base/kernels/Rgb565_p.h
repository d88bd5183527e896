/// @file
/// The arithmetic of 16-bit pixels: five bits of red, six of green, five of blue. Only the vector
/// kernels have forms of their own.
#pragma once

#include "q32Base/kernels/Rgb8_p.h"

#include <cstdint>

namespace q32 {

/// The channels of a value with red in the top bits. They stay in the high bits; the low bits are
/// 0.
constexpr Rgb8 fnWiden565(unsigned int value) {
    return {static_cast<std::uint8_t>(value >> 8 & 0xF8),
            static_cast<std::uint8_t>(value >> 3 & 0xFC),
            static_cast<std::uint8_t>(value << 3 & 0xF8)};
}

/// Converts 5-5-5 (the top bit is dropped) to 5-6-5, with the low green bit 0, and back.
constexpr unsigned int fnWiden555To565(unsigned int value) {
    return (value & 0x7FE0) << 1 | (value & 0x001F);
}
constexpr unsigned int fnNarrow565To555(unsigned int value) {
    return (value >> 1 & 0x7FE0) | (value & 0x001F);
}

/// The channels of a 5-6-5 value, or of a 5-5-5 one (the top bit is dropped), with their high bits
/// repeated in the low ones, as a device shows them: full intensity is 255.
constexpr Rgb8 fnExpand565(unsigned int value) {
    const Rgb8 high = fnWiden565(value);
    return {static_cast<std::uint8_t>(high.m_nRed | high.m_nRed >> 5),
            static_cast<std::uint8_t>(high.m_nGreen | high.m_nGreen >> 6),
            static_cast<std::uint8_t>(high.m_nBlue | high.m_nBlue >> 5)};
}
constexpr Rgb8 fnExpand555(unsigned int value) {
    const Rgb8 high = fnWiden565(fnWiden555To565(value));
    return {static_cast<std::uint8_t>(high.m_nRed | high.m_nRed >> 5),
            static_cast<std::uint8_t>(high.m_nGreen | high.m_nGreen >> 5),
            static_cast<std::uint8_t>(high.m_nBlue | high.m_nBlue >> 5)};
}

/// Packs channels of 0 to 255; their low bits are dropped.
constexpr std::uint16_t fnPack565(unsigned int red, unsigned int green, unsigned int blue) {
    return static_cast<std::uint16_t>((red & 0xF8) << 8 | (green & 0xFC) << 3 | blue >> 3);
}

// The two bytes of a value: images store the high one first, device bitmaps the low one.

constexpr unsigned int fnLoadHighFirst(const std::uint8_t* pixel) {
    return static_cast<unsigned int>(pixel[0]) << 8 | pixel[1];
}
constexpr unsigned int fnLoadLowFirst(const std::uint8_t* pixel) {
    return static_cast<unsigned int>(pixel[1]) << 8 | pixel[0];
}
constexpr void fnStoreHighFirst(std::uint8_t* pixel, unsigned int value) {
    pixel[0] = static_cast<std::uint8_t>(value >> 8);
    pixel[1] = static_cast<std::uint8_t>(value);
}
constexpr void fnStoreLowFirst(std::uint8_t* pixel, unsigned int value) {
    pixel[0] = static_cast<std::uint8_t>(value);
    pixel[1] = static_cast<std::uint8_t>(value >> 8);
}

/// Reads a stored pixel, high byte first.
constexpr Rgb8 fnReadRgb565(const std::uint8_t* pixel) {
    return fnWiden565(fnLoadHighFirst(pixel));
}

// Forms that differ from the stored one, all deliberately: results depend on them. A host that
// needs the channels as stored reads rows with q32Base/image/PixelAccess.h.

/// Single pixels, shifts of hues and the cubic filter: red and blue as stored, but green is taken
/// from the two bytes in low-byte-first order, and so contains low bits of blue and high bits of
/// red.
constexpr Rgb8 fnReadRgb565MixedGreen(const std::uint8_t* pixel) {
    const Rgb8 stored = fnReadRgb565(pixel);
    return {stored.m_nRed, fnWiden565(fnLoadLowFirst(pixel)).m_nGreen, stored.m_nBlue};
}

/// For merges: green is dropped.
constexpr Rgb8 fnReadRgb565NoGreen(const std::uint8_t* pixel) {
    const Rgb8 stored = fnReadRgb565(pixel);
    return {stored.m_nRed, 0, stored.m_nBlue};
}

/// Single pixels, lines, shifts of hues and merges write low byte first; fills, the filter and the
/// widening operations read and write as stored.
constexpr void fnWriteRgb565LowFirst(std::uint8_t* pixel, const Rgb8& color) {
    fnStoreLowFirst(pixel, fnPack565(color.m_nRed, color.m_nGreen, color.m_nBlue));
}
constexpr void fnWriteRgb565(std::uint8_t* pixel, const Rgb8& color) {
    fnStoreHighFirst(pixel, fnPack565(color.m_nRed, color.m_nGreen, color.m_nBlue));
}

} // namespace q32
