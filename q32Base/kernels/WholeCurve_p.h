#pragma once

#include "q32Base/kernels/Avx512_p.h"

// Look-ups in a table of 256 bytes. Included only by _avx512.cpp files; see Avx2_p.h.
namespace q32 {
namespace avx512 {
namespace {

// The complete curve in four registers. One permutation looks up 128 entries by the low seven bits
// of an index; the top bit then chooses between the two halves.
class WholeCurve {
public:
    explicit WholeCurve(const std::uint8_t* curve)
        : m_First(_mm512_loadu_si512(curve)), m_Second(_mm512_loadu_si512(curve + 64)),
          m_Third(_mm512_loadu_si512(curve + 128)), m_Fourth(_mm512_loadu_si512(curve + 192)) {}

    __m512i fnLookUp(__m512i bytes) const {
        const __m512i low = _mm512_permutex2var_epi8(m_First, bytes, m_Second);
        const __m512i high = _mm512_permutex2var_epi8(m_Third, bytes, m_Fourth);
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(bytes), low, high);
    }

private:
    __m512i m_First, m_Second, m_Third, m_Fourth;
};

} // namespace
} // namespace avx512
} // namespace q32
