/// @file What q32Blend makes of a single pixel, for previews and for pixels restored one by one.
#pragma once

#include <array>
#include <cstddef>

namespace darkroom {

/// Alpha, red, green, blue.
using BlendPixel = std::array<unsigned int, 4>;

/// A product of two values of 255 parts, rounded to the nearest.
constexpr unsigned int fnShare(unsigned int a, unsigned int b) {
    return (a * b + 127) / 255;
}

/// @param weight  of the mask, 0 to 255
/// @param covers  as BLEND_OVER, otherwise as BLEND_REPLACE
/// @param alpha   the target has alpha
constexpr BlendPixel fnBlendPixel(const BlendPixel& over, const BlendPixel& below,
                                  unsigned int weight, bool covers, bool alpha) {
    const unsigned int w = covers ? fnShare(weight, over[0]) : weight;
    if (w == 0)
        return below;
    const unsigned int above = !alpha ? w : covers ? 255 * w : over[0] * w;
    const unsigned int rest = alpha ? below[0] * (255 - w) : 255 - w;
    const unsigned int sum = above + rest;
    BlendPixel made = below;
    if (alpha)
        made[0] = covers ? w + (rest + 127) / 255 : (sum + 127) / 255;
    for (std::size_t i = 1; i < made.size(); ++i)
        made[i] = sum == 0 ? over[i] : (above * over[i] + rest * below[i] + sum / 2) / sum;
    return made;
}

/// Mixes a stored pixel of 8 bits of grey, 24 or 32 bits into another one, as BLEND_REPLACE.
/// @param pixel  becomes the mixture
/// @param size   bytes of a pixel
inline void fnMixBack(unsigned char* pixel, const unsigned char* below, std::size_t size,
                      unsigned int weight) {
    BlendPixel one{};
    BlendPixel other{};
    const std::size_t first = one.size() - size; // alpha is there only at 32 bits
    for (std::size_t i = 0; i < size; ++i) {
        one[first + i] = pixel[i];
        other[first + i] = below[i];
    }
    const BlendPixel made = fnBlendPixel(one, other, weight, false, size == 4);
    for (std::size_t i = 0; i < size; ++i)
        pixel[i] = static_cast<unsigned char>(made[first + i]);
}

} // namespace darkroom
