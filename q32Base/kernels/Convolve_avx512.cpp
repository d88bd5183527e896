#include "q32Base/kernels/Avx512_p.h"
#include "q32Base/kernels/KernelParts_p.h"

// See Convolve_avx2.cpp: sums in single precision, and in double where those are too close to an
// integer. Bytes are handled in parts of 16, each with a mask of those that exist.

namespace q32 {
namespace avx512 {
namespace {

constexpr std::size_t kPart = 16;

__m128i fnLoad128(const std::uint8_t* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

/// Truncates, and clamps at 0.
__m512i fnCut(__m512 sums) {
    return _mm512_max_epi32(_mm512_cvttps_epi32(sums), _mm512_setzero_si512());
}

/// The samples of entry k are in a row of their own.
struct RowsByAddress {
    const float* const* m_pRows;
    const float* operator()(std::int32_t k) const { return m_pRows[k]; }

    /// Those of a part whose samples are equal in all rows; `value` receives the equal values.
    __mmask16 fnEqual(const ContribList& list, std::size_t at, __mmask16 part,
                      __m128i& value) const {
        const __m512 first = _mm512_maskz_loadu_ps(part, m_pRows[0] + at);
        __mmask16 equal = part;
        for (std::int32_t k = 1; k < list.m_nCount && equal != 0; ++k)
            equal = _mm512_mask_cmp_ps_mask(
                equal, first, _mm512_maskz_loadu_ps(part, m_pRows[k] + at), _CMP_EQ_OQ);
        value = _mm512_cvtepi32_epi8(fnCut(first));
        return equal;
    }
};

/// The samples of entry k are in lanes, at its pixel.
struct RowsByPixel {
    const FloatLanes& m_Lanes;
    const ContribEntry* m_pEntries;
    std::size_t m_nStride;
    std::size_t fnPlace(std::int32_t k) const {
        return static_cast<std::size_t>(m_pEntries[k].m_nPixel - m_Lanes.m_nFirst) * m_nStride;
    }
    const float* operator()(std::int32_t k) const { return m_Lanes.m_pSamples + fnPlace(k); }

    /// The runs apply to entries whose pixels are consecutive, as all are except at the edges.
    __mmask16 fnEqual(const ContribList& list, std::size_t at, __mmask16, __m128i& value) const {
        const std::int32_t steps = list.m_nCount - 1;
        if (steps > 255 || m_pEntries[steps].m_nPixel - m_pEntries[0].m_nPixel != steps)
            return 0;
        const std::size_t last = fnPlace(steps) + at;
        value = fnLoad128(m_Lanes.m_pBytes + last);
        return _mm_cmpge_epu8_mask(fnLoad128(m_Lanes.m_pRuns + last),
                                   _mm_set1_epi8(static_cast<char>(steps)));
    }
};

/// Stores the bytes of up to eight adjacent sums in double.
template <class Rows>
inline void fnExactEight(const Rows& rows, const ContribList& list, std::size_t at,
                         std::uint8_t* target, __mmask8 eight) {
    __m512d sum = _mm512_setzero_pd();
    for (std::int32_t k = 0; k < list.m_nCount; ++k) {
        const __m512d samples = _mm512_cvtps_pd(_mm256_maskz_loadu_ps(eight, rows(k) + at));
        sum = _mm512_add_pd(sum,
                            _mm512_mul_pd(samples, _mm512_set1_pd(list.m_pEntries[k].m_dWeight)));
    }
    sum = _mm512_add_pd(sum, _mm512_set1_pd(kFilterDust));
    // Not-a-number becomes the second operand.
    sum = _mm512_min_pd(_mm512_max_pd(sum, _mm512_setzero_pd()), _mm512_set1_pd(255.0));
    _mm_mask_storeu_epi8(target, eight, _mm256_cvtepi32_epi8(_mm512_cvttpd_epi32(sum)));
}

/// Recomputes the uncertain ones of a part that is already in the target.
template <class Rows>
__attribute__((noinline)) void fnSettle(const Rows& rows, const ContribList& list, std::size_t at,
                                        std::uint8_t* target, __mmask16 part, __mmask16 uncertain) {
    if (list.m_nFlatMax >= 0) {
        __m128i value = _mm_setzero_si128();
        const __mmask16 equal = rows.fnEqual(list, at, part, value);
        // Equal samples yield their value, or one less above the limit.
        const __mmask16 less =
            _mm_cmpgt_epu8_mask(value, _mm_set1_epi8(static_cast<char>(list.m_nFlatMax)));
        const __m128i sums = _mm_mask_sub_epi8(value, less, value, _mm_set1_epi8(1));
        _mm_mask_storeu_epi8(target, equal, sums);
        uncertain = static_cast<__mmask16>(uncertain & ~equal);
    }
    if ((uncertain & 0xFF) != 0)
        fnExactEight(rows, list, at, target, static_cast<__mmask8>(part));
    if ((uncertain >> 8) != 0)
        fnExactEight(rows, list, at + 8, target + 8, static_cast<__mmask8>(part >> 8));
}

/// Convolves kParts times 16 samples; several at once hide the latency of the additions.
/// @param part  the samples that exist, of a single part
template <std::size_t kParts, class Rows>
inline void fnConvolveParts(const Rows& rows, const ContribList& list, std::size_t at,
                            std::uint8_t* target, __mmask16 part = 0xFFFF) {
    const auto load = [part](const float* from) {
        return kParts == 1 ? _mm512_maskz_loadu_ps(part, from) : _mm512_loadu_ps(from);
    };
    __m512 sums[kParts];
#pragma GCC unroll 8
    for (std::size_t p = 0; p < kParts; ++p)
        sums[p] = _mm512_set1_ps(list.m_fBias);
    for (std::int32_t k = 0; k < list.m_nCount; ++k) {
        const float* from = rows(k) + at;
        const __m512 weight = _mm512_set1_ps(list.m_pEntries[k].m_fWeight);
#pragma GCC unroll 8
        for (std::size_t p = 0; p < kParts; ++p)
            sums[p] = _mm512_fmadd_ps(load(from + kPart * p), weight, sums[p]);
    }
    const __m512 bound = _mm512_set1_ps(list.m_fErrorBound);
    unsigned anyUncertain = 0;
    __mmask16 uncertain[kParts];
#pragma GCC unroll 8
    for (std::size_t p = 0; p < kParts; ++p) {
        const __m512i bytes = fnCut(sums[p]);
        uncertain[p] = part & _mm512_cmpneq_epi32_mask(bytes, fnCut(_mm512_sub_ps(sums[p], bound)));
        anyUncertain |= uncertain[p];
        _mm_mask_storeu_epi8(target + at + kPart * p, part, _mm512_cvtusepi32_epi8(bytes));
    }
    if (__builtin_expect(anyUncertain != 0, 0))
        for (std::size_t p = 0; p < kParts; ++p)
            if (uncertain[p] != 0)
                fnSettle(rows, list, at + kPart * p, target + at + kPart * p, part, uncertain[p]);
}

template <class Rows>
inline void fnConvolveAll(const Rows& rows, const ContribList& list, std::uint8_t* target,
                          std::size_t count) {
    std::size_t i = 0;
    for (; i + 8 * kPart <= count; i += 8 * kPart)
        fnConvolveParts<8>(rows, list, i, target);
    if (i + 6 * kPart <= count) {
        fnConvolveParts<6>(rows, list, i, target);
        i += 6 * kPart;
    }
    for (; i + 2 * kPart <= count; i += 2 * kPart)
        fnConvolveParts<2>(rows, list, i, target);
    for (; i < count; i += kPart)
        fnConvolveParts<1>(rows, list, i, target,
                           fnFirstWords(count - i < kPart ? count - i : kPart));
}

template <class Rows>
inline void fnExactAll(const Rows& rows, const ContribList& list, std::uint8_t* target,
                       std::size_t count) {
    for (std::size_t i = 0; i < count; i += 8)
        fnExactEight(rows, list, i, target + i,
                     static_cast<__mmask8>(fnFirstWords(count - i < 8 ? count - i : 8)));
}

void fnConvolveRows(const float* const* rows, const ContribList& list, std::uint8_t* target,
                    std::size_t count) {
    const RowsByAddress at{rows};
    if (list.m_fErrorBound >= 0.0F)
        fnConvolveAll(at, list, target, count);
    else
        fnExactAll(at, list, target, count);
}

void fnConvolveLanes(const FloatLanes& lanes, const ContribList& list, std::uint8_t* target,
                     std::size_t channels) {
    const std::size_t stride = channels * kFilterLanes;
    const RowsByPixel at{lanes, list.m_pEntries, stride};
    if (list.m_fErrorBound >= 0.0F)
        fnConvolveAll(at, list, target, stride);
    else
        fnExactAll(at, list, target, stride);
}

__m512 fnToFloats(__m128i bytes) {
    return _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(bytes));
}

void fnBytesToFloats(const std::uint8_t* source, float* target, std::size_t count) {
    for (; count >= kPart; count -= kPart, source += kPart, target += kPart)
        _mm512_storeu_ps(target, fnToFloats(fnLoad128(source)));
    const __mmask16 rest = fnFirstWords(count);
    _mm512_mask_storeu_ps(target, rest, fnToFloats(_mm_maskz_loadu_epi8(rest, source)));
}

void fnReadLanes(const std::uint8_t* lanes, float* samples, std::uint8_t* runs, std::size_t pixels,
                 std::size_t channels) {
    const std::size_t stride = channels * kFilterLanes;
    const __m256i one = _mm256_set1_epi8(1);
    for (std::size_t c = 0; c < stride; c += kFilterLanes) {
        __m256i before = _mm256_setzero_si256();
        __m256i run = _mm256_setzero_si256();
        for (std::size_t p = 0, i = c; p < pixels; ++p, i += stride) {
            const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(lanes + i));
            const __mmask32 goesOn = p == 0 ? 0 : _mm256_cmpeq_epi8_mask(bytes, before);
            run = _mm256_maskz_adds_epu8(goesOn, run, one);
            before = bytes;
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(runs + i), run);
            _mm512_storeu_ps(samples + i, fnToFloats(_mm256_castsi256_si128(bytes)));
            _mm512_storeu_ps(samples + i + kPart, fnToFloats(_mm256_extracti128_si256(bytes, 1)));
        }
    }
}

} // namespace
} // namespace avx512

void fnUseAvx512Convolve(Kernels& table) {
    table.fnConvolveRows = avx512::fnConvolveRows;
    table.fnConvolveLanes = avx512::fnConvolveLanes;
    table.fnBytesToFloats = avx512::fnBytesToFloats;
    table.fnReadLanes = avx512::fnReadLanes;
}

} // namespace q32
