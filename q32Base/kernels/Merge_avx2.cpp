#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace avx2 {
namespace {

// The lesser of 255 and target x (255 - weight) + source x weight, in 16-bit fields. The sum is at
// most 255 x 255.
__m256i fnBlend(__m256i target, __m256i source, __m256i weight) {
    const __m256i most = _mm256_set1_epi16(255);
    const __m256i sum = _mm256_add_epi16(_mm256_mullo_epi16(target, _mm256_sub_epi16(most, weight)),
                                         _mm256_mullo_epi16(source, weight));
    return _mm256_min_epu16(sum, most);
}

// 24 bits: 32 pixels at a time, as two groups of 16 pixels, one in each half of three registers.
constexpr std::size_t kGroupBytes = 48;

// The bytes of weights that belong to each of the three registers.
__m256i fnSpread(int part) {
    alignas(16) static const std::uint8_t kSpread[3][16] = {
        {0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5},
        {5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10},
        {10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15}};
    return fnLoadTwice(kSpread[part]);
}

__m256i fnBlendBytes(__m256i target, __m256i source, __m256i weight) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i low =
        fnBlend(_mm256_unpacklo_epi8(target, zero), _mm256_unpacklo_epi8(source, zero),
                _mm256_unpacklo_epi8(weight, zero));
    const __m256i high =
        fnBlend(_mm256_unpackhi_epi8(target, zero), _mm256_unpackhi_epi8(source, zero),
                _mm256_unpackhi_epi8(weight, zero));
    const __m256i blended = _mm256_packus_epi16(low, high);
    const __m256i all = _mm256_cmpeq_epi8(weight, _mm256_set1_epi8(-1));
    const __m256i none = _mm256_cmpeq_epi8(weight, zero);
    return _mm256_blendv_epi8(_mm256_blendv_epi8(blended, source, all), target, none);
}

void fnMerge32Pixels(const std::uint8_t* source, std::uint8_t* target, __m256i weight) {
    for (int part = 0; part < 3; ++part, source += 16, target += 16)
        fnStorePair(target, target + kGroupBytes,
                    fnBlendBytes(fnLoadPair(target, target + kGroupBytes),
                                 fnLoadPair(source, source + kGroupBytes),
                                 _mm256_shuffle_epi8(weight, fnSpread(part))));
}

// A run's last pixels are processed together with earlier ones that are already done; these get a
// weight of 0, which leaves them unchanged.
void fnMergeMask24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                   const std::uint8_t* weights) {
    if (count < 32)
        return scalar::fnMergeMask24(source, target, count, weights);
    std::size_t done = 0;
    for (; count - done >= 32; done += 32)
        fnMerge32Pixels(source + 3 * done, target + 3 * done, fnLoad(weights + done));
    if (done == count)
        return;
    const std::size_t last = count - 32;
    fnMerge32Pixels(source + 3 * last, target + 3 * last,
                    _mm256_and_si256(fnLoad(weights + last), fnLastBytes(count - done)));
}

// All ones in the 32-bit fields of pixels whose three bytes are all ones.
__m256i fnWholePixels(__m256i equalBytes) {
    const __m256i four =
        fnTwice(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
    return _mm256_cmpeq_epi32(_mm256_shuffle_epi8(equalBytes, four), _mm256_set1_epi32(0x00FFFFFF));
}

// The key's three bytes repeated, as they are aligned in each of the three registers.
struct RepeatedKey {
    __m256i m_Parts[3];

    explicit RepeatedKey(const std::uint8_t* key) {
        alignas(16) static const std::uint8_t kCycle[18] = {0, 1, 2, 0, 1, 2, 0, 1, 2,
                                                            0, 1, 2, 0, 1, 2, 0, 1, 2};
        const __m256i once = _mm256_set1_epi32(key[0] | key[1] << 8 | key[2] << 16);
        for (int part = 0; part < 3; ++part)
            m_Parts[part] = _mm256_shuffle_epi8(once, fnLoadTwice(kCycle + part));
    }
};

void fnKey32Pixels(const std::uint8_t* source, std::uint8_t* target, const RepeatedKey& key) {
    __m256i color[3];
    __m256i equal[3];
    for (int part = 0; part < 3; ++part) {
        const std::uint8_t* at = source + 16 * part;
        color[part] = fnLoadPair(at, at + kGroupBytes);
        equal[part] = _mm256_cmpeq_epi8(color[part], key.m_Parts[part]);
    }
    // Four pixels of each group in 12 bytes, from both registers that hold them.
    const __m256i first = fnWholePixels(equal[0]);
    const __m256i second = fnWholePixels(_mm256_alignr_epi8(equal[1], equal[0], 12));
    const __m256i third = fnWholePixels(_mm256_alignr_epi8(equal[2], equal[1], 8));
    const __m256i fourth = fnWholePixels(_mm256_srli_si256(equal[2], 4));
    const __m256i keyed =
        _mm256_packs_epi16(_mm256_packs_epi32(first, second), _mm256_packs_epi32(third, fourth));
    for (int part = 0; part < 3; ++part) {
        std::uint8_t* at = target + 16 * part;
        const __m256i stays = _mm256_shuffle_epi8(keyed, fnSpread(part));
        const __m256i under = fnLoadPair(at, at + kGroupBytes);
        fnStorePair(at, at + kGroupBytes, _mm256_blendv_epi8(color[part], under, stays));
    }
}

// Merging by key twice gives the same as once, so a run's last pixels are processed together with
// earlier ones that are already done.
void fnMergeKey24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                  const std::uint8_t* key) {
    if (count < 32)
        return scalar::fnMergeKey24(source, target, count, key);
    const RepeatedKey keys(key);
    for (std::size_t done = 0; done < count - 31; done += 32)
        fnKey32Pixels(source + 3 * done, target + 3 * done, keys);
    fnKey32Pixels(source + 3 * (count - 32), target + 3 * (count - 32), keys);
}

// 16 bits, as words low byte first:
//
//     bits   15..13  12..8  7..3  2..0
//             green   blue   red  green
__m256i fnRed(__m256i pixels) {
    return _mm256_and_si256(pixels, _mm256_set1_epi16(0xF8));
}
__m256i fnBlue(__m256i pixels) {
    return _mm256_and_si256(_mm256_srli_epi16(pixels, 5), _mm256_set1_epi16(0xF8));
}

// The word with red in its top five bits and blue in the low five.
__m256i fnWord(__m256i red, __m256i blue) {
    return _mm256_or_si256(_mm256_slli_epi16(fnRed(red), 8), _mm256_srli_epi16(blue, 3));
}

// As at 24 bits, a run's last pixels are processed together with earlier ones.

void fnAll16Pixels(const std::uint8_t* source, std::uint8_t* target) {
    const __m256i pixels = fnLoad(source);
    fnStore(target, fnWord(fnRed(pixels), fnBlue(pixels)));
}

void fnMergeAll16(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    if (count < 16)
        return scalar::fnMergeAll16(source, target, count);
    for (std::size_t done = 0; done < count - 15; done += 16)
        fnAll16Pixels(source + 2 * done, target + 2 * done);
    fnAll16Pixels(source + 2 * (count - 16), target + 2 * (count - 16));
}

void fnKey16Pixels(const std::uint8_t* source, std::uint8_t* target, __m256i key) {
    const __m256i pixels = fnLoad(source);
    const __m256i seen = _mm256_and_si256(pixels, _mm256_set1_epi16(0x1FF8));
    const __m256i result = fnWord(fnRed(pixels), fnBlue(pixels));
    fnStore(target, _mm256_blendv_epi8(result, fnLoad(target), _mm256_cmpeq_epi16(seen, key)));
}

void fnMergeKey16(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                  const std::uint8_t* key) {
    if (count < 16)
        return scalar::fnMergeKey16(source, target, count, key);
    if (key[1] != 0 || (key[0] & 7) != 0 || (key[2] & 7) != 0) // no pixel has such a colour
        return fnMergeAll16(source, target, count);
    const __m256i packedKey = _mm256_set1_epi16(static_cast<short>(key[0] | key[2] << 5));
    for (std::size_t done = 0; done < count - 15; done += 16)
        fnKey16Pixels(source + 2 * done, target + 2 * done, packedKey);
    fnKey16Pixels(source + 2 * (count - 16), target + 2 * (count - 16), packedKey);
}

void fnMerge16Pixels(const std::uint8_t* source, std::uint8_t* target, __m256i weight) {
    const __m256i over = fnLoad(source);
    const __m256i under = fnLoad(target);
    const __m256i blended = fnWord(fnBlend(fnRed(under), fnRed(over), weight),
                                   fnBlend(fnBlue(under), fnBlue(over), weight));
    const __m256i all = _mm256_cmpeq_epi16(weight, _mm256_set1_epi16(255));
    const __m256i none = _mm256_cmpeq_epi16(weight, _mm256_setzero_si256());
    const __m256i seen = _mm256_blendv_epi8(blended, fnWord(fnRed(over), fnBlue(over)), all);
    fnStore(target, _mm256_blendv_epi8(seen, under, none));
}

void fnMergeMask16(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                   const std::uint8_t* weights) {
    if (count < 16)
        return scalar::fnMergeMask16(source, target, count, weights);
    std::size_t done = 0;
    for (; count - done >= 16; done += 16)
        fnMerge16Pixels(source + 2 * done, target + 2 * done,
                        _mm256_cvtepu8_epi16(fnLoad128(weights + done)));
    if (done == count)
        return;
    const std::size_t last = count - 16;
    fnMerge16Pixels(source + 2 * last, target + 2 * last,
                    _mm256_and_si256(_mm256_cvtepu8_epi16(fnLoad128(weights + last)),
                                     fnLastBytes(2 * (count - done))));
}

} // namespace
} // namespace avx2

void fnUseAvx2Merge(Kernels& table) {
    table.fnMergeKey16 = avx2::fnMergeKey16;
    table.fnMergeKey24 = avx2::fnMergeKey24;
    table.fnMergeMask16 = avx2::fnMergeMask16;
    table.fnMergeMask24 = avx2::fnMergeMask24;
    table.fnMergeAll16 = avx2::fnMergeAll16;
}

} // namespace q32
