/// @file
/// The channels that the filter sums up, as bytes: a pixel's own bytes, but at 16 bits three bytes
/// for its two.
#pragma once

#include <cstddef>
#include <cstdint>

namespace q32 {

/// Bytes summed up for a pixel of so many bytes.
inline std::uint32_t fnFilterChannels(std::uint32_t bytesPerPixel) {
    return bytesPerPixel == 2 ? 3 : bytesPerPixel;
}

/// 16-bit pixels to three channels each. The second is cut out of the two bytes read low byte
/// first, against the order in which they are stored: green mixes in bits of its neighbours,
/// deliberately.
inline void fnUnpack16(const unsigned char* source, unsigned char* target, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, source += 2, target += 3) {
        const unsigned word = source[0] | static_cast<unsigned>(source[1]) << 8;
        target[0] = source[0] & 0xF8;
        target[1] = static_cast<unsigned char>((word >> 3) & 0xFC);
        target[2] = static_cast<unsigned char>(source[1] << 3);
    }
}

/// Three channels to 16-bit pixels, in the order in which images store them.
inline void fnPack16(const unsigned char* source, unsigned char* target, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, source += 3, target += 2) {
        target[0] = static_cast<unsigned char>((source[0] & 0xF8) | source[1] >> 5);
        target[1] = static_cast<unsigned char>((source[1] & 0xFC) << 3 | source[2] >> 3);
    }
}

} // namespace q32
