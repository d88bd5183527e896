#include "q32Base/operations/kernels/Avx2.h"
#include "q32Base/operations/kernels/ChannelCurves.h"
#include "q32Base/operations/kernels/SplitCurve.h"

namespace q32 {
namespace avx2 {
namespace {

// Below this, cutting the curves costs more than it saves.
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

// Places for a shuffle: byte i of the result is byte `places[i]` of three registers of 16 bytes
// that follow each other, so each register has its own shuffle, which yields 0 for the others'.
struct ThreeShuffles {
    __m256i m_Parts[3];

    // Result byte i is byte step * i + first, modulo 48 with one more after each round.
    ThreeShuffles(int first, int step) {
        alignas(16) std::uint8_t places[3][16];
        for (int i = 0; i < 16; ++i) {
            const int at = first + step * i;
            const int place = at % 48 + at / 48;
            for (int part = 0; part < 3; ++part)
                places[part][i] =
                    place / 16 == part ? static_cast<std::uint8_t>(place % 16) : std::uint8_t{0x80};
        }
        for (int part = 0; part < 3; ++part)
            m_Parts[part] = fnLoadTwice(places[part]);
    }

    __m256i fnGather(__m256i a, __m256i b, __m256i c) const {
        return _mm256_or_si256(
            _mm256_or_si256(_mm256_shuffle_epi8(a, m_Parts[0]), _mm256_shuffle_epi8(b, m_Parts[1])),
            _mm256_shuffle_epi8(c, m_Parts[2]));
    }
};

void fnChannelCurves24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves) {
    if (count >= kShortRun) {
        const ThreeCurves three(curves);
        // Every third byte of 48 makes a channel of 16 pixels; back, every sixteenth byte.
        const ThreeShuffles toRed(0, 3), toGreen(1, 3), toBlue(2, 3);
        const ThreeShuffles toFirst(0, 16), toSecond(16 * 16, 16), toThird(32 * 16, 16);
        for (; count >= 32; count -= 32, pixels += 96) {
            const __m256i a = fnLoadPair(pixels, pixels + 48);
            const __m256i b = fnLoadPair(pixels + 16, pixels + 64);
            const __m256i c = fnLoadPair(pixels + 32, pixels + 80);
            __m256i red = toRed.fnGather(a, b, c);
            __m256i green = toGreen.fnGather(a, b, c);
            __m256i blue = toBlue.fnGather(a, b, c);
            three.fnLookUp(red, green, blue);
            fnStorePair(pixels, pixels + 48, toFirst.fnGather(red, green, blue));
            fnStorePair(pixels + 16, pixels + 64, toSecond.fnGather(red, green, blue));
            fnStorePair(pixels + 32, pixels + 80, toThird.fnGather(red, green, blue));
        }
    }
    scalar::fnChannelCurves24(pixels, count, curves);
}

// Transposes 4 x 4 cells of 32 bits in each half of four registers. Its own reverse.
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
        // Four pixels become four bytes of each channel; its own reverse.
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

void fnUseAvx2ChannelCurves(CqKernels& table) {
    table.fnChannelCurves24 = avx2::fnChannelCurves24;
    table.fnChannelCurves32 = avx2::fnChannelCurves32;
}

} // namespace q32
