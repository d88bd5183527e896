/// @file
/// Pixels of an image as a canvas takes them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

class CqImage;
class CqImageTile;

namespace q32::qt {

inline constexpr std::uint32_t kOpaque = 0xFF000000u;

/// Colours of indices, as Format_RGB32.
using PixelTable = std::array<std::uint32_t, 256>;

/// The palette of an image; black where it has no entry.
PixelTable fnReadTable(CqImage& image);

/// Picks pixels of a tile's row, as Format_RGB32 without gamma.
/// @param row      the row's bytes
/// @param columns  of the image, not of the tile
void fnPickPixels(const CqImageTile& tile, const unsigned char* row, const PixelTable& table,
                  const std::uint32_t* columns, std::size_t count, std::uint32_t* out);

} // namespace q32::qt
