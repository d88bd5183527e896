/// @file
/// The channels that the filter convolves, as bytes: a pixel's own bytes, but at 16 bits one byte
/// for each of its three channels.
#pragma once

#include "q32Base/kernels/Rgb565_p.h"

#include <cstddef>
#include <cstdint>

namespace q32 {

/// Channels of a pixel of `bytesPerPixel` bytes.
inline std::uint32_t fnFilterChannels(std::uint32_t bytesPerPixel) {
    return bytesPerPixel == 2 ? 3 : bytesPerPixel;
}

/// Unpacks 16-bit pixels to three channels each; green contains bits of red and blue, deliberately.
inline void fnUnpackChannels16(const unsigned char* source, unsigned char* target,
                               std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, source += 2, target += 3) {
        const Rgb8 color = fnReadRgb565MixedGreen(source);
        target[0] = color.m_nRed;
        target[1] = color.m_nGreen;
        target[2] = color.m_nBlue;
    }
}

/// Packs three channels to 16-bit pixels, in the byte order of images.
inline void fnPackChannels16(const unsigned char* source, unsigned char* target,
                             std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, source += 3, target += 2)
        fnWriteRgb565(target, {source[0], source[1], source[2]});
}

} // namespace q32
