#include "q32Base/operations/kernels/Avx2.h"
#include "q32Base/operations/kernels/Weigh.h"

// The weighted sums are formed in whole numbers first; ContribTable.cpp proves how far they can be
// off. Where a sum comes that near to a whole number, the sum in double decides.

namespace q32 {
namespace avx2 {
namespace {

/// Where the bytes of entry k stand: in a row of its own.
struct RowsByAddress {
    const std::uint8_t* const* rows;
    const std::uint8_t* operator()(std::int32_t k) const { return rows[k]; }
};

/// In blocks of lanes, by pixel.
struct RowsByPixel {
    const std::uint8_t* base;
    const ContribEntry* entries;
    std::int32_t first;
    std::size_t stride;
    const std::uint8_t* operator()(std::int32_t k) const {
        return base + static_cast<std::size_t>(entries[k].pixel - first) * stride;
    }
};

/// The sums in double of four bytes side by side.
template <class Rows>
inline __m128i fnExactSums(const Rows& rows, const ContribList& list, std::size_t at) {
    __m256d sum = _mm256_setzero_pd();
    for (std::int32_t k = 0; k < list.count; ++k) {
        int bytes;
        __builtin_memcpy(&bytes, rows(k) + at, sizeof bytes);
        const __m256d samples = _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes)));
        sum = _mm256_add_pd(sum, _mm256_mul_pd(samples, _mm256_set1_pd(list.entries[k].weight)));
    }
    sum = _mm256_add_pd(sum, _mm256_set1_pd(kFilterDust));
    // Not-a-number becomes the second operand.
    sum = _mm256_min_pd(_mm256_max_pd(sum, _mm256_setzero_pd()), _mm256_set1_pd(255.0));
    const __m128i whole = _mm256_cvttpd_epi32(sum);
    return _mm_packus_epi16(_mm_packs_epi32(whole, whole), whole);
}

template <class Rows>
inline void fnExactFour(const Rows& rows, const ContribList& list, std::size_t at,
                        std::uint8_t* target) {
    const int bytes = _mm_cvtsi128_si32(fnExactSums(rows, list, at));
    __builtin_memcpy(target, &bytes, sizeof bytes);
}

/// Decides the doubtful ones of 32 bytes, which already stand in the target.
template <class Rows>
__attribute__((noinline)) void fnSettle(const Rows& rows, const ContribList& list, std::size_t at,
                                        std::uint8_t* target, __m256i doubt) {
    if (list.flat) {
        __m256i least = fnLoad(rows(0) + at);
        __m256i most = least;
        for (std::int32_t k = 1; k < list.count; ++k) {
            const __m256i bytes = fnLoad(rows(k) + at);
            least = _mm256_min_epu8(least, bytes);
            most = _mm256_max_epu8(most, bytes);
        }
        const __m256i flat = _mm256_cmpeq_epi8(least, most);
        fnStore(target, _mm256_blendv_epi8(fnLoad(target), least, flat));
        doubt = _mm256_andnot_si256(flat, doubt);
    }
    auto left = static_cast<unsigned>(_mm256_movemask_epi8(doubt));
    while (left != 0) {
        const unsigned four = static_cast<unsigned>(__builtin_ctz(left)) & ~3u;
        fnExactFour(rows, list, at + four, target + four);
        left &= ~(0xFu << four);
    }
}

/// Sums of 32 bytes side by side, as 32-bit numbers: [0] bytes 0 to 3 and 16 to 19, [1] 4 to 7 and
/// 20 to 23, and so on.
struct Sums {
    __m256i part[4];
    inline void fnAdd(const __m256i (&pairs)[4], __m256i weights) {
#pragma GCC unroll 4
        for (int i = 0; i < 4; ++i)
            part[i] = _mm256_add_epi32(part[i], _mm256_madd_epi16(pairs[i], weights));
    }
};

/// Bytes of two rows side by side as 16-bit numbers, in the order of Sums.
inline void fnPairUp(__m256i a, __m256i b, __m256i (&pairs)[4]) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i low = _mm256_unpacklo_epi8(a, b);
    const __m256i high = _mm256_unpackhi_epi8(a, b);
    pairs[0] = _mm256_unpacklo_epi8(low, zero);
    pairs[1] = _mm256_unpackhi_epi8(low, zero);
    pairs[2] = _mm256_unpacklo_epi8(high, zero);
    pairs[3] = _mm256_unpackhi_epi8(high, zero);
}

inline __m256i fnBytesOf(__m256i a, __m256i b, __m256i c, __m256i d) {
    return _mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
}

template <class Rows>
inline void fnWeigh32(const Rows& rows, const ContribList& list, std::size_t at,
                      std::uint8_t* target) {
    const __m256i zero = _mm256_setzero_si256();
    Sums coarse = {{zero, zero, zero, zero}};
    Sums fine = {{zero, zero, zero, zero}};
    const ContribEntry* entry = list.entries;
    std::int32_t k = 0;
    for (; k + 1 < list.count; k += 2, entry += 2) {
        __m256i pairs[4];
        fnPairUp(fnLoad(rows(k) + at), fnLoad(rows(k + 1) + at), pairs);
        coarse.fnAdd(pairs, _mm256_set1_epi32(static_cast<int>(entry[0].pair)));
        fine.fnAdd(pairs, _mm256_set1_epi32(static_cast<int>(entry[1].pair)));
    }
    if (k < list.count) {
        __m256i pairs[4];
        fnPairUp(fnLoad(rows(k) + at), zero, pairs);
        coarse.fnAdd(pairs, _mm256_set1_epi32(static_cast<int>(entry->pair & 0xFFFFu)));
        fine.fnAdd(pairs, _mm256_set1_epi32(static_cast<int>(entry->pair >> 16)));
    }

    constexpr int kCoarseShift = ContribList::kSumBits - ContribList::kCoarseBits;
    constexpr int kFineShift =
        ContribList::kCoarseBits + ContribList::kFineBits - ContribList::kSumBits;
    const __m256i band = _mm256_set1_epi32(list.band);
    const __m256i twice = _mm256_set1_epi32(2 * list.band + 1);
    const __m256i fraction = _mm256_set1_epi32((1 << ContribList::kSumBits) - 1);
    __m256i sums[4];
    __m256i doubts[4];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        sums[i] = _mm256_add_epi32(_mm256_slli_epi32(coarse.part[i], kCoarseShift),
                                   _mm256_srai_epi32(fine.part[i], kFineShift));
        doubts[i] =
            _mm256_cmpgt_epi32(twice, _mm256_and_si256(_mm256_add_epi32(sums[i], band), fraction));
        sums[i] = _mm256_srai_epi32(sums[i], ContribList::kSumBits);
    }
    fnStore(target, fnBytesOf(sums[0], sums[1], sums[2], sums[3]));
    const __m256i any = _mm256_or_si256(_mm256_or_si256(doubts[0], doubts[1]),
                                        _mm256_or_si256(doubts[2], doubts[3]));
    if (__builtin_expect(!_mm256_testz_si256(any, any), 0)) {
        const __m256i doubt = _mm256_packs_epi16(_mm256_packs_epi32(doubts[0], doubts[1]),
                                                 _mm256_packs_epi32(doubts[2], doubts[3]));
        fnSettle(rows, list, at, target, doubt);
    }
}

void fnWeighRows(const std::uint8_t* const* rows, const ContribList& list, std::uint8_t* target,
                 std::size_t count) {
    const RowsByAddress at{rows};
    std::size_t i = 0;
    if (list.band != 0 && count >= 32) {
        for (; i + 32 <= count; i += 32)
            fnWeigh32(at, list, i, target + i);
        if (i < count)
            fnWeigh32(at, list, count - 32, target + count - 32);
        return;
    }
    for (; i + 4 <= count; i += 4)
        fnExactFour(at, list, i, target + i);
    for (; i < count; ++i) {
        double sum = 0.0;
        for (std::int32_t k = 0; k < list.count; ++k)
            sum += rows[k][i] * list.entries[k].weight;
        sum += kFilterDust;
        target[i] = sum > 0.0 ? sum < 255.0 ? static_cast<std::uint8_t>(sum) : 255 : 0;
    }
}

void fnWeighLanes(const std::uint8_t* base, std::int32_t first, std::size_t stride,
                  const ContribList& list, std::uint8_t* target) {
    const RowsByPixel at{base, list.entries, first, stride};
    if (list.band != 0) {
        fnWeigh32(at, list, 0, target);
        return;
    }
    for (std::size_t i = 0; i < kFilterLanes; i += 4)
        fnExactFour(at, list, i, target + i);
}

/// Transposes the 16 x 16 bytes in each half. Riffling the first eight rows with the last eight
/// moves every bit of a byte's place (row, column) up by one; four times swaps row and column.
inline void fnTranspose(__m256i (&rows)[16]) {
#pragma GCC unroll 4
    for (int step = 0; step < 4; ++step) {
        __m256i next[16];
#pragma GCC unroll 8
        for (int i = 0; i < 8; ++i) {
            next[2 * i] = _mm256_unpacklo_epi8(rows[i], rows[i + 8]);
            next[2 * i + 1] = _mm256_unpackhi_epi8(rows[i], rows[i + 8]);
        }
#pragma GCC unroll 16
        for (int i = 0; i < 16; ++i)
            rows[i] = next[i];
    }
}

void fnBytesToLanes(const std::uint8_t* const* rows, std::uint8_t* target, std::size_t count) {
    if (count < 16) {
        scalar::fnBytesToLanes(rows, target, count);
        return;
    }
    for (std::size_t i = 0; i < count; i += 16) {
        if (i + 16 > count)
            i = count - 16;
        __m256i block[16];
#pragma GCC unroll 16
        for (int r = 0; r < 16; ++r)
            block[r] = fnLoadPair(rows[r] + i, rows[r + 16] + i);
        fnTranspose(block);
#pragma GCC unroll 16
        for (std::size_t b = 0; b < 16; ++b)
            fnStore(target + (i + b) * kFilterLanes, block[b]);
    }
}

void fnLanesToBytes(const std::uint8_t* source, std::uint8_t* const* rows, std::size_t count) {
    if (count < 16) {
        scalar::fnLanesToBytes(source, rows, count);
        return;
    }
    for (std::size_t i = 0; i < count; i += 16) {
        if (i + 16 > count)
            i = count - 16;
        __m256i block[16];
#pragma GCC unroll 16
        for (std::size_t b = 0; b < 16; ++b)
            block[b] = fnLoad(source + (i + b) * kFilterLanes);
        fnTranspose(block);
#pragma GCC unroll 16
        for (int r = 0; r < 16; ++r)
            fnStorePair(rows[r] + i, rows[r + 16] + i, block[r]);
    }
}

} // namespace
} // namespace avx2

void fnUseAvx2Weigh(CqKernels& table) {
    table.fnWeighRows = avx2::fnWeighRows;
    table.fnWeighLanes = avx2::fnWeighLanes;
    table.fnBytesToLanes = avx2::fnBytesToLanes;
    table.fnLanesToBytes = avx2::fnLanesToBytes;
}

} // namespace q32
