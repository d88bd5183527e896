#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace avx2 {
namespace {

constexpr char kZ = -1; // a shuffle puts a zero byte here

// Shuffles of four pixels of four bytes in each half. Three bytes a pixel fill the first 12 bytes.
__m256i fnArgbToBgr() {
    return fnTwice(_mm_setr_epi8(3, 2, 1, 7, 6, 5, 11, 10, 9, 15, 14, 13, kZ, kZ, kZ, kZ));
}
__m256i fnArgbToRgb() {
    return fnTwice(_mm_setr_epi8(1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, kZ, kZ, kZ, kZ));
}
__m256i fnArgbToBgra() {
    return fnTwice(_mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12));
}
__m256i fnArgbToBgr0() {
    return fnTwice(_mm_setr_epi8(3, 2, 1, kZ, 7, 6, 5, kZ, 11, 10, 9, kZ, 15, 14, 13, kZ));
}

// Eight pixels of three bytes, four in each half: in the first 12 bytes of the low half and the
// last 12 of the high half, since the second load begins 4 bytes early so as not to read past the
// end.
__m256i fnLoadRgb24(const std::uint8_t* source) {
    return fnLoadPair(source, source + 8);
}

// Shuffles of such registers.
__m256i fnRgbToBgr0() {
    return _mm256_setr_epi8(2, 1, 0, kZ, 5, 4, 3, kZ, 8, 7, 6, kZ, 11, 10, 9, kZ, //
                            6, 5, 4, kZ, 9, 8, 7, kZ, 12, 11, 10, kZ, 15, 14, 13, kZ);
}
__m256i fnRgbTo0Rgb() {
    return _mm256_setr_epi8(kZ, 0, 1, 2, kZ, 3, 4, 5, kZ, 6, 7, 8, kZ, 9, 10, 11, //
                            kZ, 4, 5, 6, kZ, 7, 8, 9, kZ, 10, 11, 12, kZ, 13, 14, 15);
}

// 32 pixels of four bytes, in groups of four: the first half of each register has one of the groups
// 0 to 3, the second half one of the groups 4 to 7. So both halves are processed alike.
struct EightGroups {
    __m256i m_A, m_B, m_C, m_D;
};

// Converts groups to three bytes a pixel, 48 bytes for each half:
//   bytes of a group  0..11 | 12..15 of a half and 0..7 | 8..15 and 0..3 | 4..15
class Rgb24Writer {
public:
    explicit Rgb24Writer(__m256i order)
        : m_A(order), m_B(_mm256_alignr_epi8(order, order, 4)),
          m_C(_mm256_alignr_epi8(order, order, 8)), m_D(_mm256_alignr_epi8(order, order, 12)) {}

    void fnStore96(std::uint8_t* target, const EightGroups& groups) const {
        const __m256i a = _mm256_shuffle_epi8(groups.m_A, m_A);
        const __m256i b = _mm256_shuffle_epi8(groups.m_B, m_B);
        const __m256i c = _mm256_shuffle_epi8(groups.m_C, m_C);
        const __m256i d = _mm256_shuffle_epi8(groups.m_D, m_D);
        fnStorePair(target, target + 48, _mm256_blend_epi32(a, b, 0x88));
        fnStorePair(target + 16, target + 64, _mm256_blend_epi32(b, c, 0xCC));
        fnStorePair(target + 32, target + 80, _mm256_blend_epi32(c, d, 0xEE));
    }

private:
    __m256i m_A, m_B, m_C, m_D;
};

// Runs `step` on kPixels pixels at a time, and at the end once more on the last kPixels, some of
// which may be done already: so no single pixels remain. Not for use in place. Returns false, with
// nothing done, for a run shorter than a step.
template <std::size_t kPixels, std::size_t kSourceBytes, std::size_t kTargetBytes, class Step>
bool fnInSteps(const std::uint8_t* source, std::uint8_t* target, std::size_t count, Step step) {
    if (count < kPixels)
        return false;
    std::size_t done = 0;
    for (; count - done >= kPixels; done += kPixels)
        step(source + done * kSourceBytes, target + done * kTargetBytes);
    if (done != count)
        step(source + (count - kPixels) * kSourceBytes, target + (count - kPixels) * kTargetBytes);
    return true;
}

// 16 pixels as alpha 255, red, green, blue: `m_Low` has the first four of each half, `m_High` the
// rest.
struct Argb16 {
    __m256i m_Low, m_High;
};

Argb16 fnWiden565(__m256i pixels) {
    const __m256i swap =
        fnTwice(_mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14));
    const __m256i value = _mm256_shuffle_epi8(pixels, swap); // RRRRRGGG GGGBBBBB
    const __m256i alphaRed =                                 // RRRRR000 11111111
        _mm256_or_si256(_mm256_and_si256(value, _mm256_set1_epi16(static_cast<short>(0xF800))),
                        _mm256_set1_epi16(0x00FF));
    const __m256i greenBlue = // BBBBB000 GGGGGG00
        _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(value, 3), _mm256_set1_epi16(0x00FC)),
                        _mm256_slli_epi16(value, 11));
    return {_mm256_unpacklo_epi16(alphaRed, greenBlue), _mm256_unpackhi_epi16(alphaRed, greenBlue)};
}

// The order is a template argument: a vector passed by value to a function that isn't inlined would
// leave the upper halves of the registers dirty, and every such call would cost a hundred cycles.
template <__m256i (*kOrder)()>
bool fn565To24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    return fnInSteps<32, 2, 3>(
        source, target, count,
        [writer = Rgb24Writer(kOrder())](const std::uint8_t* from, std::uint8_t* to) {
            const Argb16 ab = fnWiden565(fnLoadPair(from, from + 32));
            const Argb16 cd = fnWiden565(fnLoadPair(from + 16, from + 48));
            writer.fnStore96(to, {ab.m_Low, ab.m_High, cd.m_Low, cd.m_High});
        });
}

void fnRgb565ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    if (!fn565To24<fnArgbToRgb>(source, target, count))
        scalar::fnRgb565ToRgb24(source, target, count);
}

void fnRgb565ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    if (!fn565To24<fnArgbToBgr>(source, target, count))
        scalar::fnRgb565ToBgr24(source, target, count);
}

void fnRgb565ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const auto step = [](const std::uint8_t* from, std::uint8_t* to) {
        const Argb16 pixels = fnWiden565(fnLoad(from));
        fnStorePair(to, to + 32, pixels.m_Low);
        fnStorePair(to + 16, to + 48, pixels.m_High);
    };
    if (!fnInSteps<16, 2, 4>(source, target, count, step))
        scalar::fnRgb565ToArgb32(source, target, count);
}

void fnRgb565ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const auto step = [order = fnArgbToBgr0()](const std::uint8_t* from, std::uint8_t* to) {
        const Argb16 pixels = fnWiden565(fnLoad(from));
        fnStorePair(to, to + 32, _mm256_shuffle_epi8(pixels.m_Low, order));
        fnStorePair(to + 16, to + 48, _mm256_shuffle_epi8(pixels.m_High, order));
    };
    if (!fnInSteps<16, 2, 4>(source, target, count, step))
        scalar::fnRgb565ToBgrx32(source, target, count);
}

void fnRgb24ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const auto step = [order = fnRgbToBgr0()](const std::uint8_t* from, std::uint8_t* to) {
        fnStore(to, _mm256_shuffle_epi8(fnLoadRgb24(from), order));
    };
    if (!fnInSteps<8, 3, 4>(source, target, count, step))
        scalar::fnRgb24ToBgrx32(source, target, count);
}

void fnRgb24ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const auto step = [order = fnRgbTo0Rgb(), alpha = _mm256_set1_epi32(0xFF)](
                          const std::uint8_t* from, std::uint8_t* to) {
        fnStore(to, _mm256_or_si256(_mm256_shuffle_epi8(fnLoadRgb24(from), order), alpha));
    };
    if (!fnInSteps<8, 3, 4>(source, target, count, step))
        scalar::fnRgb24ToArgb32(source, target, count);
}

template <__m256i (*kOrder)()>
bool fn32To24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    return fnInSteps<32, 4, 3>(
        source, target, count,
        [writer = Rgb24Writer(kOrder())](const std::uint8_t* from, std::uint8_t* to) {
            writer.fnStore96(to,
                             {fnLoadPair(from, from + 64), fnLoadPair(from + 16, from + 80),
                              fnLoadPair(from + 32, from + 96), fnLoadPair(from + 48, from + 112)});
        });
}

void fnArgb32ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    if (!fn32To24<fnArgbToBgr>(source, target, count))
        scalar::fnArgb32ToBgr24(source, target, count);
}

void fnArgb32ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    if (!fn32To24<fnArgbToRgb>(source, target, count))
        scalar::fnArgb32ToRgb24(source, target, count);
}

void fnArgb32ToBgra32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i order = fnArgbToBgra();
    for (; count >= 8; count -= 8, source += 32, target += 32)
        fnStore(target, _mm256_shuffle_epi8(fnLoad(source), order));
    scalar::fnArgb32ToBgra32(source, target, count);
}

// Each half takes 16 pixels, 48 bytes, as three parts of 16 bytes. Pixel 5 straddles the first and
// the second part, pixel 10 the second and the third: their outer bytes move to the other part.
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

void fnUseAvx2PixelFormat(Kernels& table) {
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
