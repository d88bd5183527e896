#include "q32Base/operations/kernels/Avx2.h"
#include "q32Base/operations/kernels/MaskSum.h"

namespace q32 {
namespace avx2 {
namespace {

void fnMaskAdd(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count >= 32; count -= 32, source += 32, target += 32) {
        const __m256i a = fnLoad(target);
        const __m256i b = fnLoad(source);
        const __m256i sum = _mm256_add_epi8(a, b);
        // A sum overflows where the saturating one differs from the plain one.
        const __m256i fits = _mm256_cmpeq_epi8(sum, _mm256_adds_epi8(a, b));
        const __m256i overflows = _mm256_xor_si256(fits, _mm256_set1_epi8(-1));
        fnStore(target, _mm256_or_si256(sum, overflows));
    }
    scalar::fnMaskAdd(source, target, count);
}

void fnMaskSubtract(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count >= 32; count -= 32, source += 32, target += 32)
        fnStore(target, _mm256_subs_epu8(fnLoad(target), fnLoad(source)));
    scalar::fnMaskSubtract(source, target, count);
}

} // namespace
} // namespace avx2

void fnUseAvx2MaskSum(CqKernels& table) {
    table.fnMaskAdd = avx2::fnMaskAdd;
    table.fnMaskSubtract = avx2::fnMaskSubtract;
}

} // namespace q32
