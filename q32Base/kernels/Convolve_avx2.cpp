#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

// The weighted sums are computed in single precision first; ContribTable.cpp proves their error
// bound. Where a sum is that close to an integer, the sum in double decides.

namespace q32 {
namespace avx2 {
namespace {

/// 32 samples in four registers.
struct Block {
    __m256 m_Parts[4];
    Block() = default;
    explicit Block(const float* from)
        : m_Parts{_mm256_loadu_ps(from), _mm256_loadu_ps(from + 8), _mm256_loadu_ps(from + 16),
                  _mm256_loadu_ps(from + 24)} {}
    explicit Block(__m256 all) : m_Parts{all, all, all, all} {}
};

/// Truncates to bytes, in groups of four: 0 to 3, 8 to 11, 16 to 19, 24 to 27, 4 to 7, and so on.
inline __m256i fnCut(const Block& sums) {
    const __m256i low = _mm256_packs_epi32(_mm256_cvttps_epi32(sums.m_Parts[0]),
                                           _mm256_cvttps_epi32(sums.m_Parts[1]));
    const __m256i high = _mm256_packs_epi32(_mm256_cvttps_epi32(sums.m_Parts[2]),
                                            _mm256_cvttps_epi32(sums.m_Parts[3]));
    return _mm256_packus_epi16(low, high);
}

inline __m256i fnInOrder(__m256i groups) {
    return _mm256_permutevar8x32_epi32(groups, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

/// The samples of entry k are in a row of their own.
struct RowsByAddress {
    static constexpr bool kHasRuns = false;
    const float* const* m_pRows;
    const float* operator()(std::int32_t k) const { return m_pRows[k]; }

    /// All ones in those of 32 bytes whose samples are equal in all rows; `value` receives the
    /// equal values.
    __m256i fnEqual(const ContribList& list, std::size_t at, __m256i& value) const {
        const Block first(m_pRows[0] + at);
        Block equal(_mm256_castsi256_ps(_mm256_set1_epi32(-1)));
        for (std::int32_t k = 1; k < list.m_nCount; ++k) {
            const Block samples(m_pRows[k] + at);
#pragma GCC unroll 4
            for (int i = 0; i < 4; ++i)
                equal.m_Parts[i] =
                    _mm256_and_ps(equal.m_Parts[i],
                                  _mm256_cmp_ps(first.m_Parts[i], samples.m_Parts[i], _CMP_EQ_OQ));
        }
        value = fnInOrder(fnCut(first));
        const __m256i low = _mm256_packs_epi32(_mm256_castps_si256(equal.m_Parts[0]),
                                               _mm256_castps_si256(equal.m_Parts[1]));
        const __m256i high = _mm256_packs_epi32(_mm256_castps_si256(equal.m_Parts[2]),
                                                _mm256_castps_si256(equal.m_Parts[3]));
        return fnInOrder(_mm256_packs_epi16(low, high));
    }
};

/// The samples of entry k are in lanes, at its pixel.
struct RowsByPixel {
    static constexpr bool kHasRuns = true;
    const FloatLanes& m_Lanes;
    const ContribEntry* m_pEntries;
    std::size_t m_nStride;
    std::size_t fnPlace(std::int32_t k) const {
        return static_cast<std::size_t>(m_pEntries[k].m_nPixel - m_Lanes.m_nFirst) * m_nStride;
    }
    const float* operator()(std::int32_t k) const { return m_Lanes.m_pSamples + fnPlace(k); }

    /// The runs apply to entries whose pixels are consecutive, as all are except at the edges.
    __m256i fnEqual(const ContribList& list, std::size_t at, __m256i& value) const {
        const std::int32_t steps = list.m_nCount - 1;
        if (steps > 255 || m_pEntries[steps].m_nPixel - m_pEntries[0].m_nPixel != steps)
            return _mm256_setzero_si256();
        const std::size_t last = fnPlace(steps) + at;
        value = fnLoad(m_Lanes.m_pBytes + last);
        return fnAtLeast(fnLoad(m_Lanes.m_pRuns + last),
                         _mm256_set1_epi8(static_cast<char>(steps)));
    }
};

/// Stores the bytes of four adjacent sums in double.
template <class Rows>
inline void fnExactFour(const Rows& rows, const ContribList& list, std::size_t at,
                        std::uint8_t* target) {
    __m256d sum = _mm256_setzero_pd();
    for (std::int32_t k = 0; k < list.m_nCount; ++k) {
        const __m256d samples = _mm256_cvtps_pd(_mm_loadu_ps(rows(k) + at));
        sum = _mm256_add_pd(sum,
                            _mm256_mul_pd(samples, _mm256_set1_pd(list.m_pEntries[k].m_dWeight)));
    }
    sum = _mm256_add_pd(sum, _mm256_set1_pd(kFilterDust));
    // Not-a-number becomes the second operand.
    sum = _mm256_min_pd(_mm256_max_pd(sum, _mm256_setzero_pd()), _mm256_set1_pd(255.0));
    const __m128i whole = _mm256_cvttpd_epi32(sum);
    const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(_mm_packs_epi32(whole, whole), whole));
    __builtin_memcpy(target, &bytes, sizeof bytes);
}

/// The sum, as a byte, of equal samples of these values.
inline __m256i fnFlatSum(const ContribList& list, __m256i value) {
    const __m256i most = _mm256_set1_epi8(static_cast<char>(list.m_nFlatMax));
    const __m256i stays = fnAtLeast(most, value);
    return _mm256_add_epi8(value, _mm256_xor_si256(stays, _mm256_set1_epi8(-1)));
}

/// Recomputes the uncertain ones of 32 bytes that are already in the target.
template <class Rows>
__attribute__((noinline)) void fnSettle(const Rows& rows, const ContribList& list, std::size_t at,
                                        std::uint8_t* target, __m256i uncertain) {
    if (!Rows::kHasRuns && list.m_nFlatMax >= 0) {
        __m256i value = _mm256_setzero_si256();
        const __m256i equal = rows.fnEqual(list, at, value);
        fnStore(target, _mm256_blendv_epi8(fnLoad(target), fnFlatSum(list, value), equal));
        uncertain = _mm256_andnot_si256(equal, uncertain);
    }
    auto left = static_cast<unsigned>(_mm256_movemask_epi8(uncertain));
    while (left != 0) {
        const unsigned four = static_cast<unsigned>(__builtin_ctz(left)) & ~3u;
        fnExactFour(rows, list, at + four, target + four);
        left &= ~(0xFu << four);
    }
}

/// Stores 32 sums as bytes.
template <class Rows>
inline void fnFinish(const Rows& rows, const ContribList& list, std::size_t at,
                     std::uint8_t* target, Block& sums) {
    const __m256i groups = fnCut(sums);
    __m256i bytes = fnInOrder(groups);
    if (list.m_fErrorBound == 0.0F) {
        fnStore(target, bytes);
        return;
    }
    const __m256 bound = _mm256_set1_ps(list.m_fErrorBound);
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i)
        sums.m_Parts[i] = _mm256_sub_ps(sums.m_Parts[i], bound);
    __m256i certain = fnInOrder(_mm256_cmpeq_epi8(groups, fnCut(sums)));
    if (Rows::kHasRuns && list.m_nFlatMax >= 0) {
        __m256i value = _mm256_setzero_si256();
        const __m256i equal = rows.fnEqual(list, at, value);
        bytes = _mm256_blendv_epi8(bytes, fnFlatSum(list, value), equal);
        certain = _mm256_or_si256(certain, equal);
    }
    fnStore(target, bytes);
    const __m256i ones = _mm256_set1_epi8(-1);
    if (__builtin_expect(!_mm256_testc_si256(certain, ones), 0))
        fnSettle(rows, list, at, target, _mm256_xor_si256(certain, ones));
}

/// Convolves kBlocks times 32 samples. Several blocks at once hide the latency of the additions.
template <int kBlocks, class Rows>
inline void fnConvolveBlocks(const Rows& rows, const ContribList& list, std::size_t at,
                             std::uint8_t* target) {
    Block sums[kBlocks];
#pragma GCC unroll 4
    for (int b = 0; b < kBlocks; ++b)
        sums[b] = Block(_mm256_set1_ps(list.m_fBias));
    for (std::int32_t k = 0; k < list.m_nCount; ++k) {
        const float* from = rows(k) + at;
        const __m256 weight = _mm256_broadcast_ss(&list.m_pEntries[k].m_fWeight);
#pragma GCC unroll 4
        for (int b = 0; b < kBlocks; ++b)
#pragma GCC unroll 4
            for (int i = 0; i < 4; ++i)
                sums[b].m_Parts[i] = _mm256_fmadd_ps(_mm256_loadu_ps(from + 32 * b + 8 * i), weight,
                                                     sums[b].m_Parts[i]);
    }
#pragma GCC unroll 4
    for (std::size_t b = 0; b < kBlocks; ++b)
        fnFinish(rows, list, at + 32 * b, target + at + 32 * b, sums[b]);
}

/// `count` is 32 or more.
template <class Rows>
inline void fnConvolveAll(const Rows& rows, const ContribList& list, std::uint8_t* target,
                          std::size_t count) {
    std::size_t i = 0;
    for (; i + 96 <= count && i + 128 != count; i += 96)
        fnConvolveBlocks<3>(rows, list, i, target);
    for (; i + 64 <= count; i += 64)
        fnConvolveBlocks<2>(rows, list, i, target);
    for (; i < count; i += 32) {
        if (i + 32 > count)
            i = count - 32;
        fnConvolveBlocks<1>(rows, list, i, target);
    }
}

void fnConvolveRows(const float* const* rows, const ContribList& list, std::uint8_t* target,
                    std::size_t count) {
    const RowsByAddress at{rows};
    if (list.m_fErrorBound >= 0.0F && count >= 32) {
        fnConvolveAll(at, list, target, count);
        return;
    }
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4)
        fnExactFour(at, list, i, target + i);
    for (; i < count; ++i) {
        double sum = 0.0;
        for (std::int32_t k = 0; k < list.m_nCount; ++k)
            sum += static_cast<double>(rows[k][i]) * list.m_pEntries[k].m_dWeight;
        target[i] = fnStoredByte(sum);
    }
}

void fnConvolveLanes(const FloatLanes& lanes, const ContribList& list, std::uint8_t* target,
                     std::size_t channels) {
    const std::size_t stride = channels * kFilterLanes;
    const RowsByPixel at{lanes, list.m_pEntries, stride};
    if (list.m_fErrorBound >= 0.0F) {
        fnConvolveAll(at, list, target, stride);
        return;
    }
    for (std::size_t i = 0; i < stride; i += 4)
        fnExactFour(at, list, i, target + i);
}

inline void fnStoreFloats(float* to, const std::uint8_t* bytes) {
    const __m256i whole =
        _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes)));
    _mm256_storeu_ps(to, _mm256_cvtepi32_ps(whole));
}

void fnBytesToFloats(const std::uint8_t* source, float* target, std::size_t count) {
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8)
        fnStoreFloats(target + i, source + i);
    scalar::fnBytesToFloats(source + i, target + i, count - i);
}

void fnReadLanes(const std::uint8_t* lanes, float* samples, std::uint8_t* runs, std::size_t pixels,
                 std::size_t channels) {
    const std::size_t stride = channels * kFilterLanes;
    for (std::size_t c = 0; c < stride; c += kFilterLanes) {
        __m256i before = _mm256_setzero_si256();
        __m256i run = _mm256_setzero_si256();
        for (std::size_t p = 0, i = c; p < pixels; ++p, i += stride) {
            const __m256i bytes = fnLoad(lanes + i);
            const __m256i longer = _mm256_adds_epu8(run, _mm256_set1_epi8(1));
            run = p == 0 ? _mm256_setzero_si256()
                         : _mm256_and_si256(longer, _mm256_cmpeq_epi8(bytes, before));
            before = bytes;
            fnStore(runs + i, run);
            for (std::size_t r = 0; r < kFilterLanes; r += 8)
                fnStoreFloats(samples + i + r, lanes + i + r);
        }
    }
}

/// Transposes the 16 x 16 bytes in each half. Interleaving the first eight rows with the last eight
/// moves every bit of a byte's position (row, column) up by one; doing so four times swaps row and
/// column.
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

void fnRowsToLanes(const std::uint8_t* const* rows, std::uint8_t* target, std::size_t count) {
    if (count < 16) {
        scalar::fnRowsToLanes(rows, target, count);
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

void fnLanesToRows(const std::uint8_t* source, std::uint8_t* const* rows, std::size_t count) {
    if (count < 16) {
        scalar::fnLanesToRows(source, rows, count);
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

void fnUseAvx2Convolve(Kernels& table) {
    table.fnConvolveRows = avx2::fnConvolveRows;
    table.fnConvolveLanes = avx2::fnConvolveLanes;
    table.fnBytesToFloats = avx2::fnBytesToFloats;
    table.fnRowsToLanes = avx2::fnRowsToLanes;
    table.fnReadLanes = avx2::fnReadLanes;
    table.fnLanesToRows = avx2::fnLanesToRows;
}

} // namespace q32
