#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace avx2 {
namespace {

void fnThreshold(std::uint8_t* pixels, std::size_t count, std::uint8_t level) {
    const __m256i levels = _mm256_set1_epi8(static_cast<char>(level));
    for (; count >= 32; count -= 32, pixels += 32)
        fnStore(pixels, fnAtLeast(fnLoad(pixels), levels));
    scalar::fnThreshold(pixels, count, level);
}

} // namespace
} // namespace avx2

void fnUseAvx2Threshold(Kernels& table) {
    table.fnThreshold = avx2::fnThreshold;
}

} // namespace q32
