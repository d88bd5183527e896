#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/SplitCurve_p.h"

namespace q32 {
namespace avx2 {
namespace {

// Below this, splitting the curve costs more than it saves.
constexpr std::size_t kShortRun = 64;

void fnCurve8(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    if (count >= kShortRun) {
        const SplitCurve split(curve);
        for (; count >= 64; count -= 64, pixels += 64) {
            __m256i a = fnLoad(pixels), b = fnLoad(pixels + 32);
            split.fnLookUp(a, b);
            fnStore(pixels, a);
            fnStore(pixels + 32, b);
        }
    }
    scalar::fnCurve8(pixels, count, curve);
}

void fnCurve24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    fnCurve8(pixels, 3 * count, curve);
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

void fnUseAvx2ToneCurve(Kernels& table) {
    table.fnCurve8 = avx2::fnCurve8;
    table.fnCurve24 = avx2::fnCurve24;
    table.fnCurve32 = avx2::fnCurve32;
}

} // namespace q32
