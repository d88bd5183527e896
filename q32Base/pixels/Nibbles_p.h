/// @file
/// Palette indices of 4 bits: two to a byte, the first in the high nibble.
#pragma once

#include "q32Base/kernels/Kernels_p.h"

#include <cstddef>
#include <cstdint>

namespace q32 {

/// Sets one of a byte's two indices: the low nibble if `odd`, else the high one. `index` is below
/// 16.
inline void fnPutNibble(std::uint8_t* byte, bool odd, unsigned int index) {
    *byte = static_cast<std::uint8_t>(odd ? (*byte & 0xF0u) | index : (*byte & 0x0Fu) | index << 4);
}

inline std::uint8_t fnGetNibble(const std::uint8_t* row, std::size_t x) {
    return static_cast<std::uint8_t>(x % 2 == 0 ? row[x / 2] >> 4 : row[x / 2] & 0x0F);
}

/// Unpacks `count` indices of a row, from pixel x on, to one a byte.
inline void fnUnpackNibbles(const std::uint8_t* row, std::size_t x, std::size_t count,
                            std::uint8_t* out) {
    if (x % 2 != 0 && count != 0) {
        *out++ = fnGetNibble(row, x++);
        --count;
    }
    fnKernels().fnIndex4ToIndex8(row + x / 2, out, count);
}

/// The inverse: packs the low nibble of each byte into the row, from pixel x on. Other pixels stay
/// unchanged.
inline void fnPackNibbles(const std::uint8_t* in, std::size_t count, std::uint8_t* row,
                          std::size_t x) {
    if (x % 2 != 0 && count != 0) {
        fnPutNibble(row + x / 2, true, *in++ & 0x0Fu);
        ++x;
        --count;
    }
    std::uint8_t* at = row + x / 2;
    for (; count >= 2; count -= 2, in += 2)
        *at++ = static_cast<std::uint8_t>(in[0] << 4 | (in[1] & 0x0F));
    if (count != 0)
        fnPutNibble(at, false, *in & 0x0Fu);
}

} // namespace q32
