#include "q32Base/operations/kernels/Avx2.h"
#include "q32Base/operations/kernels/WeighWhole.h"

// The weights are whole parts of one denominator, each cut in two bytes. Products of two entries
// at a time are added up in 16 bits; ContribTable.cpp sees to it that none overflows, and proves
// that the result is that of doubles.

namespace q32 {
namespace avx2 {
namespace {

/// Where the samples of entry k stand: in a row of its own.
struct RowsByAddress {
    const std::uint8_t* const* rows;
    const std::uint8_t* operator()(std::int32_t k) const { return rows[k]; }
};

/// In lanes, by pixel.
struct RowsByPixel {
    const std::uint8_t* base;
    const ContribEntry* entries;
    std::int32_t first;
    std::size_t stride;
    const std::uint8_t* operator()(std::int32_t k) const {
        return base + static_cast<std::size_t>(entries[k].pixel - first) * stride;
    }
};

/// Sums of 32 samples. Unpacked bytes lie in two registers: 0 to 7 and 16 to 23, and the others.
struct Sums {
    __m256i high[2] = {_mm256_setzero_si256(), _mm256_setzero_si256()};
    __m256i low[2] = {_mm256_setzero_si256(), _mm256_setzero_si256()};
    inline void fnAdd(const std::uint8_t* one, const std::uint8_t* other, __m256i highParts,
                      __m256i lowParts) {
        const __m256i a = fnLoad(one);
        const __m256i b = fnLoad(other);
        const __m256i pairs[2] = {_mm256_unpacklo_epi8(a, b), _mm256_unpackhi_epi8(a, b)};
#pragma GCC unroll 2
        for (int i = 0; i < 2; ++i) {
            high[i] = _mm256_add_epi16(high[i], _mm256_maddubs_epi16(pairs[i], highParts));
            low[i] = _mm256_add_epi16(low[i], _mm256_maddubs_epi16(pairs[i], lowParts));
        }
    }
};

/// What turns sums into bytes.
struct Divider {
    __m256i radix;
    __m256 part;
    __m256 half;
    explicit Divider(const ContribList& list)
        : radix(_mm256_set1_epi32(list.whole.radix | 0x10000)),
          part(_mm256_set1_ps(list.whole.part)), half(_mm256_set1_ps(list.whole.part * 0.5F)) {}

    inline __m256i fnFour(__m256i highAndLow) const {
        const __m256 sum = _mm256_cvtepi32_ps(_mm256_madd_epi16(highAndLow, radix));
        return _mm256_cvttps_epi32(_mm256_fmadd_ps(sum, part, half));
    }
    inline __m256i fnEight(__m256i high, __m256i low) const {
        return _mm256_packs_epi32(fnFour(_mm256_unpacklo_epi16(high, low)),
                                  fnFour(_mm256_unpackhi_epi16(high, low)));
    }
    inline __m256i operator()(const Sums& sums) const {
        return _mm256_packus_epi16(fnEight(sums.high[0], sums.low[0]),
                                   fnEight(sums.high[1], sums.low[1]));
    }
};

/// kBlocks times 32 samples.
template <int kBlocks, class Rows>
inline void fnWeigh(const Rows& rows, const ContribList& list, const Divider& divide,
                    std::size_t at, std::uint8_t* target) {
    Sums sums[kBlocks];
    const std::int32_t end = list.whole.begin + 2 * list.whole.pairs;
    for (std::int32_t k = list.whole.begin; k < end; k += 2) {
        std::int16_t parts[2];
        __builtin_memcpy(parts, list.entries[k].parts, sizeof parts);
        const __m256i low = _mm256_set1_epi16(parts[0]);
        const __m256i high = _mm256_set1_epi16(parts[1]);
        const std::uint8_t* one = rows(k) + at;
        // A last one without a partner has a weight of 0 beside it.
        const std::uint8_t* other = rows(k + 1 < list.count ? k + 1 : k) + at;
#pragma GCC unroll 2
        for (int i = 0; i < kBlocks; ++i)
            sums[i].fnAdd(one + 32 * i, other + 32 * i, high, low);
    }
#pragma GCC unroll 2
    for (int i = 0; i < kBlocks; ++i)
        fnStore(target + at + 32 * i, divide(sums[i]));
}

/// `count` is 32 or more.
template <class Rows>
inline void fnWeighAll(const Rows& rows, const ContribList& list, std::uint8_t* target,
                       std::size_t count) {
    const Divider divide(list);
    std::size_t i = 0;
    for (; i + 64 <= count; i += 64)
        fnWeigh<2>(rows, list, divide, i, target);
    for (; i < count; i += 32) {
        if (i + 32 > count)
            i = count - 32;
        fnWeigh<1>(rows, list, divide, i, target);
    }
}

void fnWeighWholeRows(const std::uint8_t* const* rows, const ContribList& list,
                      std::uint8_t* target, std::size_t count) {
    if (count < 32)
        scalar::fnWeighWholeRows(rows, list, target, count);
    else
        fnWeighAll(RowsByAddress{rows}, list, target, count);
}

void fnWeighWholeLanes(const std::uint8_t* base, std::int32_t first, const ContribList& list,
                       std::uint8_t* target, std::size_t count) {
    const std::size_t lanes = count * kFilterLanes;
    if (count != 0)
        fnWeighAll(RowsByPixel{base, list.entries, first, lanes}, list, target, lanes);
}

} // namespace
} // namespace avx2

void fnUseAvx2WeighWhole(CqKernels& table) {
    table.fnWeighWholeRows = avx2::fnWeighWholeRows;
    table.fnWeighWholeLanes = avx2::fnWeighWholeLanes;
}

} // namespace q32
