#pragma once

#include <cstddef>
#include <cstdint>

// Included only by the vector kernels; see Avx2_p.h for why nothing here has external linkage.
namespace q32 {

/// The different values of a pixel's bytes, except 0, whose weighted sum is 0 too. For each, a word
/// with a 1 in the bytes that have it.
template <int kBytes>
struct RotateValues {
    int m_nCount;
    double m_dValue[kBytes];
    std::uint32_t m_nPlaces[kBytes];
};

template <int kBytes>
static inline RotateValues<kBytes> fnRotateValues(const std::uint8_t* pixel) {
    RotateValues<kBytes> values = {};
    for (int i = 0; i < kBytes; ++i) {
        if (pixel[i] == 0)
            continue;
        int known = 0;
        while (known < values.m_nCount && values.m_dValue[known] != pixel[i])
            ++known;
        if (known == values.m_nCount) {
            values.m_dValue[known] = pixel[i];
            ++values.m_nCount;
        }
        values.m_nPlaces[known] |= 1u << (8 * i);
    }
    return values;
}

} // namespace q32
