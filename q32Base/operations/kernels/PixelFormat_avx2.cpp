#include "q32Base/operations/kernels/Avx2.h"
#include "q32Base/operations/kernels/PixelFormat.h"

namespace q32 {
namespace avx2 {
namespace {

constexpr char kZ = -1; // a shuffle puts a zero byte here

// Shuffles of four pixels in each half. A target of three bytes a pixel fills the first 12 bytes.
struct FourPixels {
    static __m256i fnArgbToBgr() {
        return fnTwice(_mm_setr_epi8(3, 2, 1, 7, 6, 5, 11, 10, 9, 15, 14, 13, kZ, kZ, kZ, kZ));
    }
    static __m256i fnArgbToRgb() {
        return fnTwice(_mm_setr_epi8(1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, kZ, kZ, kZ, kZ));
    }
    static __m256i fnArgbToBgra() {
        return fnTwice(_mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12));
    }
    static __m256i fnArgbToBgr0() {
        return fnTwice(_mm_setr_epi8(3, 2, 1, kZ, 7, 6, 5, kZ, 11, 10, 9, kZ, 15, 14, 13, kZ));
    }
    static __m256i fnRgbToBgr0() {
        return fnTwice(_mm_setr_epi8(2, 1, 0, kZ, 5, 4, 3, kZ, 8, 7, 6, kZ, 11, 10, 9, kZ));
    }
    static __m256i fnRgbTo0Rgb() {
        return fnTwice(_mm_setr_epi8(kZ, 0, 1, 2, kZ, 3, 4, 5, kZ, 6, 7, 8, kZ, 9, 10, 11));
    }
};

// Writes the first 12 bytes of each half side by side, and 8 bytes of no meaning behind them.
void fnStore24And8(std::uint8_t* target, __m256i halves) {
    const __m256i together = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    fnStore(target, _mm256_permutevar8x32_epi32(halves, together));
}

// Eight pixels, four to a half, with 4 bytes more in each half that mean nothing. Reads 28 bytes.
__m256i fnLoadRgb24(const std::uint8_t* source) {
    return fnLoadPair(source, source + 12);
}

// How many pixels must be left for a step that writes 24 and 8 bytes, or reads 28.
constexpr std::size_t kStepRgb24 = 11;

// 16 pixels as values to alpha 255, red, green, blue: pixels 0 to 7 and 8 to 15.
struct Argb16 {
    __m256i first, second;
};

Argb16 fnLoad565(const std::uint8_t* source) {
    const __m256i swap =
        fnTwice(_mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14));
    const __m256i value = _mm256_shuffle_epi8(fnLoad(source), swap); // RRRRRGGG GGGBBBBB
    const __m256i alphaRed =                                         // RRRRR000 11111111
        _mm256_or_si256(_mm256_and_si256(value, _mm256_set1_epi16(static_cast<short>(0xF800))),
                        _mm256_set1_epi16(0x00FF));
    const __m256i greenBlue = // BBBBB000 GGGGGG00
        _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(value, 3), _mm256_set1_epi16(0x00FC)),
                        _mm256_slli_epi16(value, 11));
    const __m256i low = _mm256_unpacklo_epi16(alphaRed, greenBlue);  // pixels 0-3, 8-11
    const __m256i high = _mm256_unpackhi_epi16(alphaRed, greenBlue); // pixels 4-7, 12-15
    return {_mm256_permute2x128_si256(low, high, 0x20), _mm256_permute2x128_si256(low, high, 0x31)};
}

void fnRgb565ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i order = FourPixels::fnArgbToRgb();
    for (; count >= 8 + kStepRgb24; count -= 16, source += 32, target += 48) {
        const Argb16 pixels = fnLoad565(source);
        fnStore24And8(target, _mm256_shuffle_epi8(pixels.first, order));
        fnStore24And8(target + 24, _mm256_shuffle_epi8(pixels.second, order));
    }
    scalar::fnRgb565ToRgb24(source, target, count);
}

void fnRgb565ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i order = FourPixels::fnArgbToBgr();
    for (; count >= 8 + kStepRgb24; count -= 16, source += 32, target += 48) {
        const Argb16 pixels = fnLoad565(source);
        fnStore24And8(target, _mm256_shuffle_epi8(pixels.first, order));
        fnStore24And8(target + 24, _mm256_shuffle_epi8(pixels.second, order));
    }
    scalar::fnRgb565ToBgr24(source, target, count);
}

void fnRgb565ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count >= 16; count -= 16, source += 32, target += 64) {
        const Argb16 pixels = fnLoad565(source);
        fnStore(target, pixels.first);
        fnStore(target + 32, pixels.second);
    }
    scalar::fnRgb565ToArgb32(source, target, count);
}

void fnRgb565ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i order = FourPixels::fnArgbToBgr0();
    for (; count >= 16; count -= 16, source += 32, target += 64) {
        const Argb16 pixels = fnLoad565(source);
        fnStore(target, _mm256_shuffle_epi8(pixels.first, order));
        fnStore(target + 32, _mm256_shuffle_epi8(pixels.second, order));
    }
    scalar::fnRgb565ToBgrx32(source, target, count);
}

void fnRgb24ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i order = FourPixels::fnRgbToBgr0();
    for (; count >= kStepRgb24; count -= 8, source += 24, target += 32)
        fnStore(target, _mm256_shuffle_epi8(fnLoadRgb24(source), order));
    scalar::fnRgb24ToBgrx32(source, target, count);
}

void fnRgb24ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i order = FourPixels::fnRgbTo0Rgb();
    const __m256i alpha = _mm256_set1_epi32(0xFF);
    for (; count >= kStepRgb24; count -= 8, source += 24, target += 32)
        fnStore(target, _mm256_or_si256(_mm256_shuffle_epi8(fnLoadRgb24(source), order), alpha));
    scalar::fnRgb24ToArgb32(source, target, count);
}

void fnArgb32ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i order = FourPixels::fnArgbToBgr();
    for (; count >= kStepRgb24; count -= 8, source += 32, target += 24)
        fnStore24And8(target, _mm256_shuffle_epi8(fnLoad(source), order));
    scalar::fnArgb32ToBgr24(source, target, count);
}

void fnArgb32ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i order = FourPixels::fnArgbToRgb();
    for (; count >= kStepRgb24; count -= 8, source += 32, target += 24)
        fnStore24And8(target, _mm256_shuffle_epi8(fnLoad(source), order));
    scalar::fnArgb32ToRgb24(source, target, count);
}

void fnArgb32ToBgra32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i order = FourPixels::fnArgbToBgra();
    for (; count >= 8; count -= 8, source += 32, target += 32)
        fnStore(target, _mm256_shuffle_epi8(fnLoad(source), order));
    scalar::fnArgb32ToBgra32(source, target, count);
}

// Each half takes 16 pixels, 48 bytes, as three parts of 16 bytes. Pixel 5 lies across the first
// and the second part, pixel 10 across the second and the third: their outer bytes change parts.
void fnRgb24ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i firstOwn =
        fnTwice(_mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, kZ));
    const __m256i secondOwn =
        fnTwice(_mm_setr_epi8(0, kZ, 4, 3, 2, 7, 6, 5, 10, 9, 8, 13, 12, 11, kZ, 15));
    const __m256i thirdOwn =
        fnTwice(_mm_setr_epi8(kZ, 3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10, 15, 14, 13));
    const __m256i byte1To15 =
        fnTwice(_mm_setr_epi8(kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, 1));
    const __m256i byte15To1 =
        fnTwice(_mm_setr_epi8(kZ, 15, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ));
    const __m256i byte0To14 =
        fnTwice(_mm_setr_epi8(kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, 0, kZ));
    const __m256i byte14To0 =
        fnTwice(_mm_setr_epi8(14, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ, kZ));
    for (; count >= 32; count -= 32, source += 96, target += 96) {
        const __m256i first = fnLoadPair(source, source + 48);
        const __m256i second = fnLoadPair(source + 16, source + 64);
        const __m256i third = fnLoadPair(source + 32, source + 80);
        const __m256i newFirst = _mm256_or_si256(_mm256_shuffle_epi8(first, firstOwn),
                                                 _mm256_shuffle_epi8(second, byte1To15));
        const __m256i newSecond =
            _mm256_or_si256(_mm256_shuffle_epi8(second, secondOwn),
                            _mm256_or_si256(_mm256_shuffle_epi8(first, byte15To1),
                                            _mm256_shuffle_epi8(third, byte0To14)));
        const __m256i newThird = _mm256_or_si256(_mm256_shuffle_epi8(third, thirdOwn),
                                                 _mm256_shuffle_epi8(second, byte14To0));
        fnStorePair(target, target + 48, newFirst);
        fnStorePair(target + 16, target + 64, newSecond);
        fnStorePair(target + 32, target + 80, newThird);
    }
    scalar::fnRgb24ToBgr24(source, target, count);
}

__m256i fnSwapBytes(__m256i values) {
    return _mm256_or_si256(_mm256_srli_epi16(values, 8), _mm256_slli_epi16(values, 8));
}

void fnSwap16(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count >= 16; count -= 16, source += 32, target += 32)
        fnStore(target, fnSwapBytes(fnLoad(source)));
    scalar::fnSwap16(source, target, count);
}

void fnRgb555LeToRgb565(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i redGreen = _mm256_set1_epi16(0x7FE0);
    const __m256i blue = _mm256_set1_epi16(0x001F);
    for (; count >= 16; count -= 16, source += 32, target += 32) {
        const __m256i value = fnLoad(source);
        const __m256i widened = _mm256_or_si256(
            _mm256_slli_epi16(_mm256_and_si256(value, redGreen), 1), _mm256_and_si256(value, blue));
        fnStore(target, fnSwapBytes(widened));
    }
    scalar::fnRgb555LeToRgb565(source, target, count);
}

void fnRgb565ToRgb555Le(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i redGreen = _mm256_set1_epi16(0x7FE0);
    const __m256i blue = _mm256_set1_epi16(0x001F);
    for (; count >= 16; count -= 16, source += 32, target += 32) {
        const __m256i value = fnSwapBytes(fnLoad(source));
        fnStore(target, _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(value, 1), redGreen),
                                        _mm256_and_si256(value, blue)));
    }
    scalar::fnRgb565ToRgb555Le(source, target, count);
}

} // namespace
} // namespace avx2

void fnUseAvx2PixelFormat(CqKernels& table) {
    table.fnRgb565ToBgr24 = avx2::fnRgb565ToBgr24;
    table.fnRgb565ToBgrx32 = avx2::fnRgb565ToBgrx32;
    table.fnRgb565ToRgb24 = avx2::fnRgb565ToRgb24;
    table.fnRgb565ToArgb32 = avx2::fnRgb565ToArgb32;
    table.fnRgb24ToBgr24 = avx2::fnRgb24ToBgr24;
    table.fnRgb24ToBgrx32 = avx2::fnRgb24ToBgrx32;
    table.fnRgb24ToArgb32 = avx2::fnRgb24ToArgb32;
    table.fnArgb32ToBgr24 = avx2::fnArgb32ToBgr24;
    table.fnArgb32ToRgb24 = avx2::fnArgb32ToRgb24;
    table.fnArgb32ToBgra32 = avx2::fnArgb32ToBgra32;
    table.fnSwap16 = avx2::fnSwap16;
    table.fnRgb555LeToRgb565 = avx2::fnRgb555LeToRgb565;
    table.fnRgb565ToRgb555Le = avx2::fnRgb565ToRgb555Le;
}

} // namespace q32
