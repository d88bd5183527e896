#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/WholeCurve_p.h"

namespace q32 {
namespace avx512 {
namespace {

// Bit i is set where byte i belongs to the first channel of three-byte pixels that begin at byte 0.
constexpr __mmask64 kEveryThird = 0x9249249249249249;

class ThreeCurves {
public:
    explicit ThreeCurves(const std::uint8_t* curves)
        : m_Red(curves), m_Green(curves + 256), m_Blue(curves + 512) {}

    // Looks up each byte in the curve whose mask has its bit; the others stay.
    __m512i fnLookUp(__m512i bytes, __mmask64 red, __mmask64 green, __mmask64 blue) const {
        __m512i result = _mm512_mask_mov_epi8(bytes, red, m_Red.fnLookUp(bytes));
        result = _mm512_mask_mov_epi8(result, green, m_Green.fnLookUp(bytes));
        return _mm512_mask_mov_epi8(result, blue, m_Blue.fnLookUp(bytes));
    }

private:
    WholeCurve m_Red, m_Green, m_Blue;
};

// Loads and stores of complete blocks have no masks: with both of them masked, a processor of AMD
// (Zen 5) took five times as long for a picture beyond the caches.

/// Looks up the first `bytes` of a block, at most 64; the others aren't touched.
void fnLookUpPart(const ThreeCurves& three, std::uint8_t* pixels, std::size_t bytes, __mmask64 red,
                  __mmask64 green, __mmask64 blue) {
    const __mmask64 inside = fnFirstBytes(bytes);
    const __m512i old = _mm512_maskz_loadu_epi8(inside, pixels);
    _mm512_mask_storeu_epi8(pixels, inside, three.fnLookUp(old, red, green, blue));
}

void fnChannelCurves24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves) {
    const ThreeCurves three(curves);
    // 64 is one more than a multiple of 3, so each block of 64 bytes begins one channel later.
    constexpr __mmask64 kFirst[3] = {kEveryThird, kEveryThird << 2, kEveryThird << 1};
    std::size_t bytes = 3 * count;
    for (; bytes >= 192; bytes -= 192, pixels += 192) {
#pragma GCC unroll 3
        for (unsigned block = 0; block < 3; ++block) {
            std::uint8_t* const at = pixels + 64 * block;
            _mm512_storeu_si512(at,
                                three.fnLookUp(_mm512_loadu_si512(at), kFirst[block],
                                               kFirst[(block + 2) % 3], kFirst[(block + 1) % 3]));
        }
    }
    for (unsigned block = 0; bytes != 0; ++block) {
        const std::size_t part = bytes < 64 ? bytes : 64;
        fnLookUpPart(three, pixels, part, kFirst[block], kFirst[(block + 2) % 3],
                     kFirst[(block + 1) % 3]);
        pixels += part;
        bytes -= part;
    }
}

void fnChannelCurves32(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves) {
    const ThreeCurves three(curves);
    constexpr __mmask64 kAlpha = 0x1111111111111111;
    std::size_t bytes = 4 * count;
    for (; bytes >= 64; bytes -= 64, pixels += 64)
        _mm512_storeu_si512(pixels, three.fnLookUp(_mm512_loadu_si512(pixels), kAlpha << 1,
                                                   kAlpha << 2, kAlpha << 3));
    if (bytes != 0)
        fnLookUpPart(three, pixels, bytes, kAlpha << 1, kAlpha << 2, kAlpha << 3);
}

} // namespace
} // namespace avx512

void fnUseAvx512ChannelCurves(Kernels& table) {
    table.fnChannelCurves24 = avx512::fnChannelCurves24;
    table.fnChannelCurves32 = avx512::fnChannelCurves32;
}

} // namespace q32
