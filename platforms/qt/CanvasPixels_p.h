/// @file
/// Pixels of a canvas in Format_RGB32.
#pragma once

#include "q32Base/pixels/PixelOrder.h"

#include <bit>
#include <cstdint>

namespace q32::qt {

inline constexpr std::uint32_t kOpaque = 0xFF000000u;

/// The byte order of canvas pixels.
inline constexpr PIXEL_ORDER kCanvasOrder =
    std::endian::native == std::endian::little ? PIXEL_BGRX32 : PIXEL_ARGB32;

/// The same with the image's alpha in the byte that a canvas ignores.
inline constexpr PIXEL_ORDER kAlphaOrder =
    std::endian::native == std::endian::little ? PIXEL_BGRA32 : PIXEL_ARGB32;

constexpr std::uint32_t fnCanvasPixel(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return kOpaque | red << 16 | green << 8 | blue;
}

} // namespace q32::qt
