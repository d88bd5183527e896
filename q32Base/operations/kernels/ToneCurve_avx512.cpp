#include "q32Base/operations/kernels/ToneCurve.h"

#include <immintrin.h>

namespace q32 {
namespace avx512 {
namespace {

// The whole curve in four registers. One permutation looks up 128 entries by the low seven bits of
// an index; the top bit then chooses between the two halves.
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

// Bytes of a last part of 0 to 63 bytes.
__mmask64 fnFirstBytes(std::size_t bytes) {
    return (std::uint64_t{1} << bytes) - 1;
}

// Looks up those bytes of every 64 whose bit is set in `changed`.
void fnCurve(std::uint8_t* pixels, std::size_t bytes, const std::uint8_t* curve,
             __mmask64 changed) {
    const WholeCurve whole(curve);
    for (; bytes >= 64; bytes -= 64, pixels += 64)
        _mm512_mask_storeu_epi8(pixels, changed, whole.fnLookUp(_mm512_loadu_si512(pixels)));
    const __mmask64 left = fnFirstBytes(bytes) & changed;
    const __m512i last = _mm512_maskz_loadu_epi8(left, pixels);
    _mm512_mask_storeu_epi8(pixels, left, whole.fnLookUp(last));
}

void fnCurve24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    fnCurve(pixels, 3 * count, curve, ~__mmask64{0});
}

void fnCurve32(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    fnCurve(pixels, 4 * count, curve, 0x7777777777777777);
}

} // namespace
} // namespace avx512

void fnUseAvx512ToneCurve(CqKernels& table) {
    table.fnCurve24 = avx512::fnCurve24;
    table.fnCurve32 = avx512::fnCurve32;
}

} // namespace q32
