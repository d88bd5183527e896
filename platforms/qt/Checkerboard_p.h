#pragma once

#include <cstddef>
#include <cstdint>

namespace q32::qt {

/// Side of the squares behind transparent pixels, in pixels of the screen.
inline constexpr int kBoardSquare = 8;

/// The colour of the checkerboard at a position of the scaled picture, as Format_RGB32.
constexpr std::uint32_t fnBoardPixel(int x, int y) {
    return (x / kBoardSquare + y / kBoardSquare) % 2 == 0 ? 0xFFFFFFFFu : 0xFFCCCCCCu;
}

/// Lays pixels with alpha in their top byte over the checkerboard, and makes them opaque. Each
/// channel is blended as (pixel x alpha + board x (255 - alpha)) / 255, rounded to nearest.
/// @param x  position of the first one on the scaled picture
void fnLayOverBoard(std::uint32_t* row, std::size_t count, int x, int y);

/// The same for colours that are multiplied by their alpha already.
void fnLayPremultiplied(std::uint32_t* row, std::size_t count, int x, int y);

} // namespace q32::qt
