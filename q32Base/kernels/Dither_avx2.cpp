#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

#include <cstring>

namespace q32 {
namespace avx2 {
namespace {

// Computes the palette index without a division.
//
// A component c = 51 q + r has level q, plus 1 if r >= t. There are two cases:
//   c <  t: the level is 0, since then q = 0 and r < t.
//   c >= t: the level is (c - t) / 51 + 1, since c - t = 51 q + (r - t), and r - t lies between
//           -50 and 50: the quotient is q for r >= t and q - 1 below.
// With d = c - t and its high nibble h, the quotient is 16 h / 51, plus 1 if d has reached the next
// multiple of 51. No nibble's range holds two such multiples, so two look-ups by h suffice: the
// next multiple, and the contribution below it.
//
// d = 255 means c = 255 and t = 0, the only case of level 6, which adds nothing: only it reaches
// the last multiple, where the step brings the contribution back to 0.
template <int kWeight>
struct LevelTables {
    alignas(16) std::uint8_t m_NextMultiple[16];
    alignas(16) std::uint8_t m_Below[16]; // the contribution below the next multiple
    alignas(16) std::uint8_t m_Step[16];  // what reaching it adds

    constexpr LevelTables() : m_NextMultiple{}, m_Below{}, m_Step{} {
        for (int h = 0; h < 16; ++h) {
            const int level = 16 * h / 51 + 1;
            m_NextMultiple[h] = static_cast<std::uint8_t>(51 * level);
            m_Below[h] = static_cast<std::uint8_t>(level * kWeight);
            m_Step[h] = static_cast<std::uint8_t>(level == 5 ? -5 * kWeight : kWeight);
        }
    }
};

template <int kWeight>
constexpr LevelTables<kWeight> kLevelTables{};

template <int kWeight>
__m256i fnContribution(__m256i component, __m256i threshold) {
    const __m256i nextMultiple = fnLoadTwice(kLevelTables<kWeight>.m_NextMultiple);
    const __m256i below = fnLoadTwice(kLevelTables<kWeight>.m_Below);
    const __m256i step = fnLoadTwice(kLevelTables<kWeight>.m_Step);
    const __m256i difference = _mm256_subs_epu8(component, threshold);
    const __m256i nibble =
        _mm256_and_si256(_mm256_srli_epi16(difference, 4), _mm256_set1_epi8(0x0F));
    const __m256i reached = fnAtLeast(difference, _mm256_shuffle_epi8(nextMultiple, nibble));
    const __m256i sum =
        _mm256_add_epi8(_mm256_shuffle_epi8(below, nibble),
                        _mm256_and_si256(reached, _mm256_shuffle_epi8(step, nibble)));
    return _mm256_and_si256(sum, fnAtLeast(component, threshold));
}

struct Planes {
    __m256i m_Red, m_Green, m_Blue;
};

// The pixels may be in any order that keeps each group of eight together.
__m256i fnIndices(const Planes& pixels, __m256i thresholds) {
    return _mm256_add_epi8(_mm256_add_epi8(fnContribution<36>(pixels.m_Red, thresholds),
                                           fnContribution<6>(pixels.m_Green, thresholds)),
                           fnContribution<1>(pixels.m_Blue, thresholds));
}

// The row of eight thresholds, rotated to begin at x and repeated.
__m256i fnThresholds(const std::uint8_t* thresholds, int x, int y) {
    std::uint64_t row;
    std::memcpy(&row, thresholds + (static_cast<unsigned>(y) & 7) * 8, 8);
    const unsigned bits = (static_cast<unsigned>(x) & 7) * 8;
    const std::uint64_t rotated = row >> bits | row << ((64 - bits) & 63);
    return _mm256_set1_epi64x(static_cast<long long>(rotated));
}

// Collects groups of 4 reds, 4 greens, 4 blues; each half has the four groups of 16 pixels.
Planes fnPlanes(__m256i a, __m256i b, __m256i c, __m256i d) {
    const __m256i redGreenAb = _mm256_unpacklo_epi32(a, b);
    const __m256i redGreenCd = _mm256_unpacklo_epi32(c, d);
    const __m256i blueAb = _mm256_unpackhi_epi32(a, b);
    const __m256i blueCd = _mm256_unpackhi_epi32(c, d);
    return {_mm256_unpacklo_epi64(redGreenAb, redGreenCd),
            _mm256_unpackhi_epi64(redGreenAb, redGreenCd), _mm256_unpacklo_epi64(blueAb, blueCd)};
}

// The source formats. fnPlanesOf reads 32 pixels and no byte more.
struct Rgb24 {
    static constexpr std::size_t kBytes = 3;
    static __m256i fnIndices(__m256i indices) { return indices; }

    static Planes fnPlanesOf(const std::uint8_t* source) {
        const __m128i first = _mm_setr_epi8(0, 3, 6, 9, 1, 4, 7, 10, 2, 5, 8, 11, -1, -1, -1, -1);
        // The last group's load begins 4 bytes early, so as not to read past the end.
        const __m128i last =
            _mm_setr_epi8(4, 7, 10, 13, 5, 8, 11, 14, 6, 9, 12, 15, -1, -1, -1, -1);
        const __m256i order = fnTwice(first);
        const __m256i lastOrder = _mm256_inserti128_si256(_mm256_castsi128_si256(first), last, 1);
        return fnPlanes(_mm256_shuffle_epi8(fnLoadPair(source, source + 48), order),
                        _mm256_shuffle_epi8(fnLoadPair(source + 12, source + 60), order),
                        _mm256_shuffle_epi8(fnLoadPair(source + 24, source + 72), order),
                        _mm256_shuffle_epi8(fnLoadPair(source + 36, source + 80), lastOrder));
    }
};

struct Argb32 {
    static constexpr std::size_t kBytes = 4;
    static __m256i fnIndices(__m256i indices) { return indices; }

    static Planes fnPlanesOf(const std::uint8_t* source) {
        const __m256i order =
            fnTwice(_mm_setr_epi8(1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, -1, -1, -1, -1));
        return fnPlanes(_mm256_shuffle_epi8(fnLoadPair(source, source + 64), order),
                        _mm256_shuffle_epi8(fnLoadPair(source + 16, source + 80), order),
                        _mm256_shuffle_epi8(fnLoadPair(source + 32, source + 96), order),
                        _mm256_shuffle_epi8(fnLoadPair(source + 48, source + 112), order));
    }
};

// As read, a value is GGGBBBBB RRRRRGGG: the pixel's first byte is the low one.
struct Rgb565 {
    static constexpr std::size_t kBytes = 2;
    // Packing leaves the pixels in the order 0-7, 16-23, 8-15, 24-31.
    static __m256i fnIndices(__m256i indices) { return _mm256_permute4x64_epi64(indices, 0xD8); }

    static Planes fnPlanesOf(const std::uint8_t* source) {
        const __m256i a = fnLoad(source), b = fnLoad(source + 32);
        return {_mm256_packus_epi16(fnRed(a), fnRed(b)),
                _mm256_packus_epi16(fnGreen(a), fnGreen(b)),
                _mm256_packus_epi16(fnBlue(a), fnBlue(b))};
    }

private:
    static __m256i fnRed(__m256i v) { return _mm256_and_si256(v, _mm256_set1_epi16(0xF8)); }
    static __m256i fnGreen(__m256i v) {
        return _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi16(v, 5), _mm256_set1_epi16(0xE0)),
                               _mm256_and_si256(_mm256_srli_epi16(v, 11), _mm256_set1_epi16(0x1C)));
    }
    static __m256i fnBlue(__m256i v) {
        return _mm256_and_si256(_mm256_srli_epi16(v, 5), _mm256_set1_epi16(0xF8));
    }
};

template <class Format>
void fnDither(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
              const std::uint8_t* thresholds, int x, int y) {
    const __m256i cells = fnThresholds(thresholds, x, y);
    const auto indices = [cells](const std::uint8_t* from) {
        return Format::fnIndices(avx2::fnIndices(Format::fnPlanesOf(from), cells));
    };
    for (; count >= 32; count -= 32, source += 32 * Format::kBytes, target += 32)
        fnStore(target, indices(source));
    if (count != 0) {
        // The rest goes through a padded block: much faster than single pixels.
        std::uint8_t block[32 * Format::kBytes] = {};
        std::memcpy(block, source, count * Format::kBytes);
        const __m256i last = indices(block);
        std::memcpy(target, &last, count);
    }
}

// The thresholds of 32 pixels of three bytes: one row of four repeats over 96 bytes.
void fnHiColorDither(std::uint8_t* pixels, std::size_t count, const std::uint8_t* pattern, int x,
                     int y) {
    const std::uint8_t* row = pattern + (static_cast<unsigned>(y) & 3) * 4;
    unsigned rotated = 0;
    for (unsigned i = 0; i < 4; ++i)
        rotated |= static_cast<unsigned>(row[(static_cast<unsigned>(x) + i) & 3]) << 8 * i;
    const __m256i four = _mm256_set1_epi32(static_cast<int>(rotated));
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

void fnUseAvx2Dither(Kernels& table) {
    table.fnDither16 = avx2::fnDither<avx2::Rgb565>;
    table.fnDither24 = avx2::fnDither<avx2::Rgb24>;
    table.fnDither32 = avx2::fnDither<avx2::Argb32>;
    table.fnHiColorDither = avx2::fnHiColorDither;
}

} // namespace q32
