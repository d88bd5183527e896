#include "q32Base/operations/kernels/Avx2.h"
#include "q32Base/operations/kernels/Dither.h"

namespace q32 {
namespace avx2 {
namespace {

// The palette index without a division.
//
// A component c = 51 q + r has level q, plus 1 if r >= t. Put c in two cases:
//   c <  t: the level is 0, since then q = 0 and r < t.
//   c >= t: the level is (c - t) / 51 + 1, since c - t = 51 q + (r - t), and r - t lies between
//           -50 and 50: the quotient is q for r >= t and q - 1 below.
// With d = c - t and its high nibble h, the quotient is 16 h / 51, plus 1 if d has reached the next
// multiple of 51. No nibble's range holds two such multiples, so two look-ups by h decide:
// the next multiple, and the contribution below it.
//
// d = 255 means c = 255 and t = 0, the one way to level 6, which adds nothing: it is alone in
// reaching the last multiple, and there the step takes the contribution back to 0.
class Level {
public:
    explicit Level(int weight) {
        alignas(16) std::uint8_t below[16];
        alignas(16) std::uint8_t step[16];
        for (int h = 0; h < 16; ++h) {
            const int level = 16 * h / 51 + 1;
            below[h] = static_cast<std::uint8_t>(level * weight);
            step[h] = static_cast<std::uint8_t>(level == 5 ? -5 * weight : weight);
        }
        m_Below = fnLoadTwice(below);
        m_Step = fnLoadTwice(step);
    }

    __m256i fnContribution(__m256i component, __m256i threshold) const {
        const __m256i nextMultiple =
            fnTwice(_mm_setr_epi8(51, 51, 51, 51, 102, 102, 102, -103, -103, -103, -52, -52, -52,
                                  -1, -1, -1)); // 51, 102, 153, 204, 255
        const __m256i difference = _mm256_subs_epu8(component, threshold);
        const __m256i nibble =
            _mm256_and_si256(_mm256_srli_epi16(difference, 4), _mm256_set1_epi8(0x0F));
        const __m256i reached = fnAtLeast(difference, _mm256_shuffle_epi8(nextMultiple, nibble));
        const __m256i sum =
            _mm256_add_epi8(_mm256_shuffle_epi8(m_Below, nibble),
                            _mm256_and_si256(reached, _mm256_shuffle_epi8(m_Step, nibble)));
        return _mm256_and_si256(sum, fnAtLeast(component, threshold));
    }

private:
    __m256i m_Below, m_Step;
};

struct Planes {
    __m256i red, green, blue;
};

class Dither {
public:
    Dither(const std::uint8_t* thresholds, int x, int y) : m_Red(36), m_Green(6), m_Blue(1) {
        const std::uint8_t* row = thresholds + (static_cast<unsigned>(y) & 7) * 8;
        alignas(16) std::uint8_t turned[16];
        for (unsigned i = 0; i < 16; ++i)
            turned[i] = row[(static_cast<unsigned>(x) + i) & 7];
        m_Thresholds = fnLoadTwice(turned);
    }

    // The pixels may come in any order that keeps each group of eight together.
    __m256i fnIndices(const Planes& pixels) const {
        return _mm256_add_epi8(_mm256_add_epi8(m_Red.fnContribution(pixels.red, m_Thresholds),
                                               m_Green.fnContribution(pixels.green, m_Thresholds)),
                               m_Blue.fnContribution(pixels.blue, m_Thresholds));
    }

private:
    Level m_Red, m_Green, m_Blue;
    __m256i m_Thresholds;
};

// Groups of four pixels, `order` turns each into 4 reds, 4 greens, 4 blues. 32 pixels, of which the
// first half of the registers takes the first 16.
Planes fnLoadPlanes(const std::uint8_t* source, std::size_t groupBytes, __m256i order) {
    __m256i groups[4];
    for (std::size_t i = 0; i < 4; ++i)
        groups[i] = _mm256_shuffle_epi8(
            fnLoadPair(source + i * groupBytes, source + (i + 4) * groupBytes), order);
    const __m256i redGreen01 = _mm256_unpacklo_epi32(groups[0], groups[1]);
    const __m256i redGreen23 = _mm256_unpacklo_epi32(groups[2], groups[3]);
    const __m256i blue01 = _mm256_unpackhi_epi32(groups[0], groups[1]);
    const __m256i blue23 = _mm256_unpackhi_epi32(groups[2], groups[3]);
    return {_mm256_unpacklo_epi64(redGreen01, redGreen23),
            _mm256_unpackhi_epi64(redGreen01, redGreen23), _mm256_unpacklo_epi64(blue01, blue23)};
}

void fnDither24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                const std::uint8_t* thresholds, int x, int y) {
    const __m256i order =
        fnTwice(_mm_setr_epi8(0, 3, 6, 9, 1, 4, 7, 10, 2, 5, 8, 11, -1, -1, -1, -1));
    const Dither dither(thresholds, x, y);
    // A step reads 4 bytes behind its 32 pixels.
    for (; count >= 34; count -= 32, source += 96, target += 32)
        fnStore(target, dither.fnIndices(fnLoadPlanes(source, 12, order)));
    scalar::fnDither24(source, target, count, thresholds, x, y);
}

void fnDither32(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                const std::uint8_t* thresholds, int x, int y) {
    const __m256i order =
        fnTwice(_mm_setr_epi8(1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, -1, -1, -1, -1));
    const Dither dither(thresholds, x, y);
    for (; count >= 32; count -= 32, source += 128, target += 32)
        fnStore(target, dither.fnIndices(fnLoadPlanes(source, 16, order)));
    scalar::fnDither32(source, target, count, thresholds, x, y);
}

// Low bytes of 32 values of 16 bits, in the order of pixels 0-7, 16-23, 8-15, 24-31.
__m256i fnPack(__m256i first, __m256i second) {
    return _mm256_packus_epi16(first, second);
}

void fnDither16(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                const std::uint8_t* thresholds, int x, int y) {
    // As read: GGGBBBBB RRRRRGGG, the pixel's first byte being the low one.
    const __m256i red = _mm256_set1_epi16(0x00F8);
    const __m256i greenHigh = _mm256_set1_epi16(0x00E0);
    const __m256i greenLow = _mm256_set1_epi16(0x001C);
    const Dither dither(thresholds, x, y);
    const auto green = [&](__m256i v) {
        return _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi16(v, 5), greenHigh),
                               _mm256_and_si256(_mm256_srli_epi16(v, 11), greenLow));
    };
    const auto blue = [&](__m256i v) { return _mm256_and_si256(_mm256_srli_epi16(v, 5), red); };
    for (; count >= 32; count -= 32, source += 64, target += 32) {
        const __m256i a = fnLoad(source), b = fnLoad(source + 32);
        const Planes planes = {fnPack(_mm256_and_si256(a, red), _mm256_and_si256(b, red)),
                               fnPack(green(a), green(b)), fnPack(blue(a), blue(b))};
        fnStore(target, _mm256_permute4x64_epi64(dither.fnIndices(planes), 0xD8));
    }
    scalar::fnDither16(source, target, count, thresholds, x, y);
}

// The thresholds of 32 pixels of three bytes: one row of four repeats over 96 bytes.
void fnHiColorDither(std::uint8_t* pixels, std::size_t count, const std::uint8_t* pattern, int x,
                     int y) {
    const std::uint8_t* row = pattern + (static_cast<unsigned>(y) & 3) * 4;
    unsigned turned = 0;
    for (unsigned i = 0; i < 4; ++i)
        turned |= static_cast<unsigned>(row[(static_cast<unsigned>(x) + i) & 3]) << 8 * i;
    const __m256i four = _mm256_set1_epi32(static_cast<int>(turned));
    const __m256i thresholds[3] = {
        _mm256_shuffle_epi8(four,
                            _mm256_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 0, 0, 0, 1, //
                                             1, 1, 2, 2, 2, 3, 3, 3, 0, 0, 0, 1, 1, 1, 2, 2)),
        _mm256_shuffle_epi8(four,
                            _mm256_setr_epi8(2, 3, 3, 3, 0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, //
                                             0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 0, 0, 0, 1)),
        _mm256_shuffle_epi8(four,
                            _mm256_setr_epi8(1, 1, 2, 2, 2, 3, 3, 3, 0, 0, 0, 1, 1, 1, 2, 2, //
                                             2, 3, 3, 3, 0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3)),
    };
    const __m256i lowBits = _mm256_set1_epi8(7);
    const __m256i eight = _mm256_set1_epi8(8);
    for (; count >= 32; count -= 32)
        for (int third = 0; third < 3; ++third, pixels += 32) {
            const __m256i bytes = fnLoad(pixels);
            const __m256i up =
                _mm256_cmpgt_epi8(_mm256_and_si256(bytes, lowBits), thresholds[third]);
            fnStore(pixels, _mm256_adds_epu8(_mm256_andnot_si256(lowBits, bytes),
                                             _mm256_and_si256(up, eight)));
        }
    scalar::fnHiColorDither(pixels, count, pattern, x, y);
}

} // namespace
} // namespace avx2

void fnUseAvx2Dither(CqKernels& table) {
    table.fnDither16 = avx2::fnDither16;
    table.fnDither24 = avx2::fnDither24;
    table.fnDither32 = avx2::fnDither32;
    table.fnHiColorDither = avx2::fnHiColorDither;
}

} // namespace q32
