/// @file
/// Ordered dithering of 16-bit samples to 8 bits. The sample v of the pixel at x, y becomes
/// (v * 255 + t) / 65535, rounded down, where t = (2 b + 1) * 65535 / 128, rounded down, and b,
/// from 0 to 63, is the entry of column x mod 8 and row y mod 8 of Bayer's matrix. A sample that 8
/// bits can hold is unchanged; of any other, the 64 results average to its value.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace q32 {

/// The thresholds t of one row.
using DitherRow = std::array<std::uint16_t, 8>;

/// All rows, from the matrix whose bits are those of x ^ y and y, interleaved, the lowest first.
constexpr std::array<DitherRow, 8> fnMakeDitherRows() {
    std::array<DitherRow, 8> rows{};
    for (std::uint32_t y = 0; y < 8; ++y) {
        for (std::uint32_t x = 0; x < 8; ++x) {
            std::uint32_t entry = 0;
            for (std::uint32_t bit = 0; bit < 3; ++bit)
                entry = entry << 2 | ((x ^ y) >> bit & 1) << 1 | (y >> bit & 1);
            rows[y][x] = static_cast<std::uint16_t>((2 * entry + 1) * 65535 / 128);
        }
    }
    return rows;
}

inline constexpr std::array<DitherRow, 8> kDitherRows = fnMakeDitherRows();

/// @param threshold  of the pixel, the same for all of its samples
constexpr unsigned char fnDitherSample(std::uint16_t value, std::uint16_t threshold) {
    return static_cast<unsigned char>((std::uint32_t{value} * 255 + threshold) / 65535);
}

constexpr std::uint16_t fnDitherThreshold(std::size_t x, std::size_t y) {
    return kDitherRows[y % 8][x % 8];
}

} // namespace q32
