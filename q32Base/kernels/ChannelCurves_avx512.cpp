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

void fnChannelCurves24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves) {
    const ThreeCurves three(curves);
    // 64 is one more than a multiple of 3, so each block of 64 bytes begins one channel later.
    constexpr __mmask64 kFirst[3] = {kEveryThird, kEveryThird << 2, kEveryThird << 1};
    std::size_t bytes = 3 * count;
    for (unsigned phase = 0; bytes != 0; phase = phase == 2 ? 0 : phase + 1) {
        const std::size_t part = bytes < 64 ? bytes : 64;
        const __mmask64 inside = part == 64 ? ~__mmask64{0} : fnFirstBytes(part);
        const __m512i old = _mm512_maskz_loadu_epi8(inside, pixels);
        _mm512_mask_storeu_epi8(
            pixels, inside,
            three.fnLookUp(old, kFirst[phase], kFirst[(phase + 2) % 3], kFirst[(phase + 1) % 3]));
        pixels += part;
        bytes -= part;
    }
}

void fnChannelCurves32(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves) {
    const ThreeCurves three(curves);
    constexpr __mmask64 kEveryFourth = 0x1111111111111111;
    for (std::size_t bytes = 4 * count; bytes != 0;) {
        const std::size_t part = bytes < 64 ? bytes : 64;
        const __mmask64 inside = part == 64 ? ~__mmask64{0} : fnFirstBytes(part);
        const __m512i old = _mm512_maskz_loadu_epi8(inside, pixels);
        _mm512_mask_storeu_epi8(
            pixels, inside,
            three.fnLookUp(old, kEveryFourth << 1, kEveryFourth << 2, kEveryFourth << 3));
        pixels += part;
        bytes -= part;
    }
}

} // namespace
} // namespace avx512

void fnUseAvx512ChannelCurves(Kernels& table) {
    table.fnChannelCurves24 = avx512::fnChannelCurves24;
    table.fnChannelCurves32 = avx512::fnChannelCurves32;
}

} // namespace q32
