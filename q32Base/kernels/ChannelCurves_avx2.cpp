#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/SplitCurve_p.h"

namespace q32 {
namespace avx2 {
namespace {

// Below this, splitting the curves costs more than it saves.
constexpr std::size_t kShortRun = 128;

class ThreeCurves {
public:
    explicit ThreeCurves(const std::uint8_t* curves)
        : m_Red(curves), m_Green(curves + 256), m_Blue(curves + 512) {}

    void fnLookUp(__m256i& red, __m256i& green, __m256i& blue) const {
        red = m_Red.fnLookUp(red);
        green = m_Green.fnLookUp(green);
        blue = m_Blue.fnLookUp(blue);
    }

private:
    SplitCurve m_Red, m_Green, m_Blue;
};

// Byte i of the first, second or third register, as i % 3 is 0, 1 or 2.
class EveryThird {
public:
    EveryThird() {
        alignas(32) std::uint8_t masks[2][32];
        for (int i = 0; i < 32; ++i)
            for (int k = 0; k < 2; ++k)
                masks[k][i] = i % 3 == k + 1 ? 0xFF : 0;
        m_Second = fnLoad(masks[0]);
        m_Third = fnLoad(masks[1]);
    }

    __m256i fnPick(__m256i first, __m256i second, __m256i third) const {
        return _mm256_blendv_epi8(_mm256_blendv_epi8(first, second, m_Second), third, m_Third);
    }

private:
    __m256i m_Second, m_Third;
};

// In three consecutive registers, byte i belongs to a different channel in each. So picking
// separates the channels, and picking again restores them; in between, their order doesn't matter.
void fnChannelCurves24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves) {
    if (count >= kShortRun) {
        const ThreeCurves three(curves);
        const EveryThird third;
        for (; count >= 32; count -= 32, pixels += 96) {
            const __m256i a = fnLoad(pixels), b = fnLoad(pixels + 32), c = fnLoad(pixels + 64);
            __m256i red = third.fnPick(a, b, c);
            __m256i green = third.fnPick(c, a, b);
            __m256i blue = third.fnPick(b, c, a);
            three.fnLookUp(red, green, blue);
            fnStore(pixels, third.fnPick(red, green, blue));
            fnStore(pixels + 32, third.fnPick(blue, red, green));
            fnStore(pixels + 64, third.fnPick(green, blue, red));
        }
    }
    scalar::fnChannelCurves24(pixels, count, curves);
}

// Transposes 4 x 4 cells of 32 bits in each half of four registers. Its own inverse.
void fnTranspose(__m256i& a, __m256i& b, __m256i& c, __m256i& d) {
    const __m256i abLow = _mm256_unpacklo_epi32(a, b), abHigh = _mm256_unpackhi_epi32(a, b);
    const __m256i cdLow = _mm256_unpacklo_epi32(c, d), cdHigh = _mm256_unpackhi_epi32(c, d);
    a = _mm256_unpacklo_epi64(abLow, cdLow);
    b = _mm256_unpackhi_epi64(abLow, cdLow);
    c = _mm256_unpacklo_epi64(abHigh, cdHigh);
    d = _mm256_unpackhi_epi64(abHigh, cdHigh);
}

void fnChannelCurves32(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves) {
    if (count >= kShortRun) {
        const ThreeCurves three(curves);
        // Four pixels become four bytes of each channel; its own inverse.
        const __m256i byChannel =
            fnTwice(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
        for (; count >= 32; count -= 32, pixels += 128) {
            __m256i alpha = _mm256_shuffle_epi8(fnLoad(pixels), byChannel);
            __m256i red = _mm256_shuffle_epi8(fnLoad(pixels + 32), byChannel);
            __m256i green = _mm256_shuffle_epi8(fnLoad(pixels + 64), byChannel);
            __m256i blue = _mm256_shuffle_epi8(fnLoad(pixels + 96), byChannel);
            fnTranspose(alpha, red, green, blue);
            three.fnLookUp(red, green, blue);
            fnTranspose(alpha, red, green, blue);
            fnStore(pixels, _mm256_shuffle_epi8(alpha, byChannel));
            fnStore(pixels + 32, _mm256_shuffle_epi8(red, byChannel));
            fnStore(pixels + 64, _mm256_shuffle_epi8(green, byChannel));
            fnStore(pixels + 96, _mm256_shuffle_epi8(blue, byChannel));
        }
    }
    scalar::fnChannelCurves32(pixels, count, curves);
}

} // namespace
} // namespace avx2

void fnUseAvx2ChannelCurves(Kernels& table) {
    table.fnChannelCurves24 = avx2::fnChannelCurves24;
    table.fnChannelCurves32 = avx2::fnChannelCurves32;
}

} // namespace q32
