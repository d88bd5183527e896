#include "q32Base/operations/kernels/Avx2.h"
#include "q32Base/operations/kernels/ToneCurve.h"

namespace q32 {
namespace avx2 {
namespace {

// A shuffle looks up 16 entries, so the curve is cut into 16 parts. A shuffle yields 0 where the
// top bit of the index is set, else it looks at the low four bits. So, with 16 * k subtracted from
// indices 0 to 127 (saturated, so that what is negative stays so), part k answers for every index
// of 16 * k and more. Each part therefore holds the difference to the part before it, and the sum
// of the answers is the wanted entry. The upper 128 indices go the same way, with the top bit
// turned: for each half of the curve, the indices of the other half are negative and answer 0.
class SplitCurve {
public:
    explicit SplitCurve(const std::uint8_t* curve) {
        for (int k = 0; k < 16; ++k) {
            const __m256i part = fnLoadTwice(curve + 16 * k);
            m_Parts[k] =
                k % 8 == 0 ? part : _mm256_xor_si256(part, fnLoadTwice(curve + 16 * k - 16));
        }
    }

    // Two registers at a time, so that each part is fetched once for both.
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

// Below this, cutting the curve costs more than it saves.
constexpr std::size_t kShortRun = 64;

void fnCurve24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    if (count >= kShortRun) {
        const SplitCurve split(curve);
        for (; count >= 64; count -= 64)
            for (int third = 0; third < 3; ++third, pixels += 64) {
                __m256i a = fnLoad(pixels), b = fnLoad(pixels + 32);
                split.fnLookUp(a, b);
                fnStore(pixels, a);
                fnStore(pixels + 32, b);
            }
    }
    scalar::fnCurve24(pixels, count, curve);
}

void fnCurve32(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    if (count >= kShortRun) {
        const SplitCurve split(curve);
        const __m256i kept = _mm256_set1_epi32(static_cast<int>(0xFF000000));
        for (; count >= 16; count -= 16, pixels += 64) {
            const __m256i oldA = fnLoad(pixels), oldB = fnLoad(pixels + 32);
            __m256i a = oldA, b = oldB;
            split.fnLookUp(a, b);
            fnStore(pixels, _mm256_blendv_epi8(a, oldA, kept));
            fnStore(pixels + 32, _mm256_blendv_epi8(b, oldB, kept));
        }
    }
    scalar::fnCurve32(pixels, count, curve);
}

} // namespace
} // namespace avx2

void fnUseAvx2ToneCurve(CqKernels& table) {
    table.fnCurve24 = avx2::fnCurve24;
    table.fnCurve32 = avx2::fnCurve32;
}

} // namespace q32
