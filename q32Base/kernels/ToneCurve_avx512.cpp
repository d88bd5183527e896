#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/WholeCurve_p.h"

namespace q32 {
namespace avx512 {
namespace {

// Looks up those bytes of every 64 whose bit is set in `changed`.
void fnCurve(std::uint8_t* pixels, std::size_t bytes, const std::uint8_t* curve,
             __mmask64 changed) {
    const WholeCurve whole(curve);
    for (; bytes >= 64; bytes -= 64, pixels += 64) {
        const __m512i old = _mm512_loadu_si512(pixels);
        _mm512_storeu_si512(pixels, _mm512_mask_mov_epi8(old, changed, whole.fnLookUp(old)));
    }
    if (bytes == 0)
        return;
    const __mmask64 left = fnFirstBytes(bytes) & changed;
    const __m512i last = _mm512_maskz_loadu_epi8(left, pixels);
    _mm512_mask_storeu_epi8(pixels, left, whole.fnLookUp(last));
}

void fnCurve8(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    fnCurve(pixels, count, curve, ~__mmask64{0});
}

void fnCurve24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    fnCurve(pixels, 3 * count, curve, ~__mmask64{0});
}

void fnCurve32(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    fnCurve(pixels, 4 * count, curve, 0x7777777777777777);
}

} // namespace
} // namespace avx512

void fnUseAvx512ToneCurve(Kernels& table) {
    table.fnCurve8 = avx512::fnCurve8;
    table.fnCurve24 = avx512::fnCurve24;
    table.fnCurve32 = avx512::fnCurve32;
}

} // namespace q32
