/// @file
/// Conversion of samples and resolutions between files and images. A row of a codec has the layout
/// of PIXEL_STORED: one byte per pixel (the index) at 4 and 8 bits; 5-6-5, high byte first, at 16;
/// red, green, blue at 24; alpha, red, green, blue at 32 bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace q32 {

/// Bytes per pixel in a codec's row.
constexpr unsigned int fnCodecBytes(unsigned int bitCount) {
    return bitCount < 8 ? 1 : bitCount / 8;
}

/// Unpacks `count` indices of `bits` bits (1, 2, 4 or 8), the leftmost in the high bits, to one per
/// byte.
void fnUnpackBits(const unsigned char* in, unsigned int bits, std::size_t count,
                  unsigned char* out);
/// Packs `count` 4-bit indices to two per byte, the leftmost in the high bits; a spare low half is
/// 0.
void fnJoinNibbles(const unsigned char* in, std::size_t count, unsigned char* out);
/// Converts `count` pixels of CMYK, 255 being full ink, to red, green, blue. In and out may be the
/// same block.
void fnCmykToRgb(const unsigned char* in, std::size_t count, unsigned char* out);

/// A 16-bit sample rounded to 8 bits.
constexpr unsigned char fnScale16(std::uint16_t value) {
    return static_cast<unsigned char>((value * 255u + 32895u) >> 16);
}

inline constexpr double kMetersPerInch = 0.0254;
inline constexpr double kInchesPerMeter = 1 / kMetersPerInch;

/// Converts a resolution, rounded to an integer; 0 for a result below 1 or out of range.
std::int32_t fnDotsPerInch(double dotsPerMeter);
std::uint32_t fnDotsPerMeter(std::int32_t dotsPerInch);

} // namespace q32
