#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace avx2 {
namespace {

__m256i fnAdd(__m256i a, __m256i b) {
    const __m256i sum = _mm256_add_epi8(a, b);
    // A sum overflows where the saturating one differs from the plain one.
    const __m256i fits = _mm256_cmpeq_epi8(sum, _mm256_adds_epi8(a, b));
    return _mm256_or_si256(sum, _mm256_xor_si256(fits, _mm256_set1_epi8(-1)));
}

__m256i fnSubtract(__m256i a, __m256i b) {
    return _mm256_subs_epu8(a, b);
}

// The last bytes are processed together with earlier ones. In place those are already done: for
// them the second mask is set to 0, which changes nothing.
template <__m256i (*Combine)(__m256i, __m256i)>
void fnCombine(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* target,
               std::size_t count) {
    std::size_t done = 0;
    for (; count - done >= 32; done += 32)
        fnStore(target + done, Combine(fnLoad(first + done), fnLoad(second + done)));
    if (done == count)
        return;
    __m256i rest = fnLoad(second + count - 32);
    if (target == first)
        rest = _mm256_and_si256(rest, fnLastBytes(count - done));
    fnStore(target + count - 32, Combine(fnLoad(first + count - 32), rest));
}

void fnMaskAdd(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* target,
               std::size_t count) {
    if (count < 32)
        scalar::fnMaskAdd(first, second, target, count);
    else
        fnCombine<fnAdd>(first, second, target, count);
}

void fnMaskSubtract(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* target,
                    std::size_t count) {
    if (count < 32)
        scalar::fnMaskSubtract(first, second, target, count);
    else
        fnCombine<fnSubtract>(first, second, target, count);
}

} // namespace
} // namespace avx2

void fnUseAvx2MaskSum(Kernels& table) {
    table.fnMaskAdd = avx2::fnMaskAdd;
    table.fnMaskSubtract = avx2::fnMaskSubtract;
}

} // namespace q32
