/// @file
/// Pixels between images and codecs. A codec sees a row as plain bytes: one a pixel (the index) at
/// 4 and 8 bits; 5-6-5, high byte first, at 16; red, green, blue at 24; alpha, red, green, blue at
/// 32 bits.
#pragma once

#include "q32Base/image/CqImage.h"

#include <cstddef>
#include <cstdint>

namespace q32 {

/// Bytes of a pixel as a codec sees it.
constexpr unsigned int fnCodecBytes(unsigned int bitCount) {
    return bitCount < 8 ? 1 : bitCount / 8;
}

/// Copy `count` pixels from (x, y) on out of the image's tiles, or into them. The run must lie
/// inside the image. `tile` is an accessor on the same image, kept from call to call.
void fnFetchPixels(CqImage& image, CqImageTile& tile, std::uint32_t x, std::uint32_t y,
                   std::uint32_t count, unsigned char* out);
void fnStorePixels(CqImage& image, CqImageTile& tile, std::uint32_t x, std::uint32_t y,
                   std::uint32_t count, const unsigned char* in);

/// Splits bytes that hold `8 / bits` indices each, the leftmost in the high bits, into one a byte.
void fnUnpackBits(const unsigned char* in, unsigned int bits, std::size_t count,
                  unsigned char* out);
/// Joins one index a byte to two a byte, the leftmost in the high bits.
void fnPackNibbles(const unsigned char* in, std::size_t count, unsigned char* out);
/// Widens 5-6-5 to red, green, blue, with the low bits 0 as everywhere in the library.
void fnExpand565(const unsigned char* in, std::size_t count, unsigned char* out);
/// Ink values, 255 being full ink, to red, green, blue. In and out may be the same block.
void fnCmykToRgb(const unsigned char* in, std::size_t count, unsigned char* out);

/// A 16-bit sample rounded to 8 bits.
constexpr unsigned char fnScale16(std::uint16_t value) {
    return static_cast<unsigned char>((value * 255u + 32895u) >> 16);
}

/// Dots per inch and dots per metre, rounded; 0 for what can't be told.
std::int32_t fnDotsPerInch(double dotsPerMeter);
std::uint32_t fnDotsPerMeter(std::int32_t dotsPerInch);

} // namespace q32
