/// @file
/// Samples and numbers of files on their way to an image and back. A codec sees a row as
/// PIXEL_STORED has it: one byte a pixel (the index) at 4 and 8 bits; 5-6-5, high byte first, at
/// 16; red, green, blue at 24; alpha, red, green, blue at 32 bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace q32 {

/// Bytes of a pixel as a codec sees it.
constexpr unsigned int fnCodecBytes(unsigned int bitCount) {
    return bitCount < 8 ? 1 : bitCount / 8;
}

/// Splits bytes that hold `8 / bits` indices each, the leftmost in the high bits, into one a byte.
void fnUnpackBits(const unsigned char* in, unsigned int bits, std::size_t count,
                  unsigned char* out);
/// Joins one index a byte to two a byte, the leftmost in the high bits.
void fnJoinNibbles(const unsigned char* in, std::size_t count, unsigned char* out);
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
