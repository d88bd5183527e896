#include "q32Base/kernels/Avx512_p.h"
#include "q32Base/kernels/KernelParts_p.h"

// See ConvolveFixed_avx2.cpp: the same sums, of 64 samples at a time. The last samples are loaded
// and stored under a mask.

namespace q32 {
namespace avx512 {
namespace {

/// Two entries of a list: the addresses of their samples, and their parts side by side.
struct Pair {
    __m512i m_Low;
    __m512i m_High;
    const std::uint8_t* m_pOne;
    const std::uint8_t* m_pOther;
};

/// A list's entries in pairs, broadcast for all samples. `addressOf(k)` is where entry k's samples
/// begin.
struct Pairs {
    std::size_t m_nCount;
    Pair m_Pairs[kMaxFixedPointEntries / 2];

    template <class Address>
    Pairs(const ContribList& list, Address addressOf) : m_nCount(list.m_FixedPoint.m_nPairs) {
        std::int32_t k = list.m_FixedPoint.m_nBegin;
        for (std::size_t i = 0; i < m_nCount; ++i, k += 2) {
            std::int16_t low;
            std::int16_t high;
            __builtin_memcpy(&low, list.m_pEntries[k].m_Parts, sizeof low);
            __builtin_memcpy(&high, list.m_pEntries[k].m_Parts + 2, sizeof high);
            // A last entry without a partner is paired with a weight of 0.
            m_Pairs[i] = {_mm512_set1_epi16(low), _mm512_set1_epi16(high), addressOf(k),
                          addressOf(k + 1 < list.m_nCount ? k + 1 : k)};
        }
    }
};

/// Sums of 64 samples, in two registers, as unpacking leaves them: the first 8 of each 16, and the
/// others.
struct Sums {
    __m512i m_High[2] = {_mm512_setzero_si512(), _mm512_setzero_si512()};
    __m512i m_Low[2] = {_mm512_setzero_si512(), _mm512_setzero_si512()};

    Sums(const Pairs& pairs, std::size_t at, __mmask64 there) {
        for (std::size_t k = 0; k < pairs.m_nCount; ++k) {
            const Pair& pair = pairs.m_Pairs[k];
            const __m512i a = _mm512_maskz_loadu_epi8(there, pair.m_pOne + at);
            const __m512i b = _mm512_maskz_loadu_epi8(there, pair.m_pOther + at);
            const __m512i samples[2] = {_mm512_unpacklo_epi8(a, b), _mm512_unpackhi_epi8(a, b)};
#pragma GCC unroll 2
            for (int i = 0; i < 2; ++i) {
                m_High[i] =
                    _mm512_add_epi16(m_High[i], _mm512_maddubs_epi16(samples[i], pair.m_High));
                m_Low[i] = _mm512_add_epi16(m_Low[i], _mm512_maddubs_epi16(samples[i], pair.m_Low));
            }
        }
    }
};

/// Converts sums to bytes.
struct Divider {
    __m512i m_Radix;
    __m512 m_Unit;
    __m512 m_Half;
    explicit Divider(const ContribList& list)
        : m_Radix(_mm512_set1_epi32(list.m_FixedPoint.m_nRadix | 0x10000)),
          m_Unit(_mm512_set1_ps(list.m_FixedPoint.m_fUnit)),
          m_Half(_mm512_set1_ps(list.m_FixedPoint.m_fUnit * 0.5F)) {}

    inline __m512i fnFour(__m512i highAndLow) const {
        const __m512 sum = _mm512_cvtepi32_ps(_mm512_madd_epi16(highAndLow, m_Radix));
        return _mm512_cvttps_epi32(_mm512_fmadd_ps(sum, m_Unit, m_Half));
    }
    inline __m512i fnEight(__m512i high, __m512i low) const {
        return _mm512_packs_epi32(fnFour(_mm512_unpacklo_epi16(high, low)),
                                  fnFour(_mm512_unpackhi_epi16(high, low)));
    }
    inline __m512i operator()(const Sums& sums) const {
        return _mm512_packus_epi16(fnEight(sums.m_High[0], sums.m_Low[0]),
                                   fnEight(sums.m_High[1], sums.m_Low[1]));
    }
};

void fnConvolve(const Pairs& pairs, const ContribList& list, std::uint8_t* target,
                std::size_t count) {
    const Divider divide(list);
    for (std::size_t i = 0; i < count; i += 64) {
        const __mmask64 there = fnFirstBytes(count - i);
        _mm512_mask_storeu_epi8(target + i, there, divide(Sums(pairs, i, there)));
    }
}

void fnConvolveRowsFixed(const std::uint8_t* const* rows, const ContribList& list,
                         std::uint8_t* target, std::size_t count) {
    fnConvolve(Pairs(list, [rows](std::int32_t k) { return rows[k]; }), list, target, count);
}

void fnConvolveLanesFixed(const std::uint8_t* lanes, std::int32_t first, const ContribList& list,
                          std::uint8_t* target, std::size_t channels) {
    const std::size_t stride = channels * kFilterLanes;
    const auto addressOf = [&](std::int32_t k) {
        return lanes + static_cast<std::size_t>(list.m_pEntries[k].m_nPixel - first) * stride;
    };
    fnConvolve(Pairs(list, addressOf), list, target, stride);
}

} // namespace
} // namespace avx512

void fnUseAvx512ConvolveFixed(Kernels& table) {
    table.fnConvolveRowsFixed = avx512::fnConvolveRowsFixed;
    table.fnConvolveLanesFixed = avx512::fnConvolveLanesFixed;
}

} // namespace q32
