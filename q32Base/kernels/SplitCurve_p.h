#pragma once

#include "q32Base/kernels/Avx2_p.h"

// Look-ups in a table of 256 bytes. Included only by _avx2.cpp files; see Avx2_p.h.
namespace q32 {
namespace avx2 {
namespace {

// A shuffle looks up 16 entries, so the curve is split into 16 parts. A shuffle yields 0 where the
// top bit of the index is set, else it uses the low four bits. So, with 16 * k subtracted from
// indices 0 to 127 (saturated, so that negative ones stay negative), part k contributes for every
// index of 16 * k and more. Each part therefore holds the XOR with the part before it, and the XOR
// of the contributions is the entry looked up. The upper 128 indices work the same way, with the
// top bit flipped: for each half of the curve, the indices of the other half are negative and
// contribute 0.
class SplitCurve {
public:
    explicit SplitCurve(const std::uint8_t* curve) {
        for (int k = 0; k < 16; ++k) {
            const __m256i part = fnLoadTwice(curve + 16 * k);
            m_Parts[k] =
                k % 8 == 0 ? part : _mm256_xor_si256(part, fnLoadTwice(curve + 16 * k - 16));
        }
    }

    __m256i fnLookUp(__m256i bytes) const {
        const __m256i sixteen = _mm256_set1_epi8(16);
        __m256i low = bytes, high = _mm256_xor_si256(bytes, _mm256_set1_epi8(-128));
        __m256i result = _mm256_setzero_si256();
        for (int k = 0; k < 8; ++k) {
            result = _mm256_xor_si256(result,
                                      _mm256_xor_si256(_mm256_shuffle_epi8(m_Parts[k], low),
                                                       _mm256_shuffle_epi8(m_Parts[k + 8], high)));
            low = _mm256_subs_epi8(low, sixteen);
            high = _mm256_subs_epi8(high, sixteen);
        }
        return result;
    }

    // Two registers at a time, so that each part is loaded once for both.
    void fnLookUp(__m256i& a, __m256i& b) const {
        const __m256i sixteen = _mm256_set1_epi8(16);
        const __m256i topBit = _mm256_set1_epi8(-128);
        __m256i aLow = a, aHigh = _mm256_xor_si256(a, topBit);
        __m256i bLow = b, bHigh = _mm256_xor_si256(b, topBit);
        a = b = _mm256_setzero_si256();
        for (int k = 0; k < 8; ++k) {
            const __m256i low = m_Parts[k], high = m_Parts[k + 8];
            a = _mm256_xor_si256(a, _mm256_xor_si256(_mm256_shuffle_epi8(low, aLow),
                                                     _mm256_shuffle_epi8(high, aHigh)));
            b = _mm256_xor_si256(b, _mm256_xor_si256(_mm256_shuffle_epi8(low, bLow),
                                                     _mm256_shuffle_epi8(high, bHigh)));
            aLow = _mm256_subs_epi8(aLow, sixteen);
            aHigh = _mm256_subs_epi8(aHigh, sixteen);
            bLow = _mm256_subs_epi8(bLow, sixteen);
            bHigh = _mm256_subs_epi8(bHigh, sixteen);
        }
    }

private:
    __m256i m_Parts[16];
};

} // namespace
} // namespace avx2
} // namespace q32
