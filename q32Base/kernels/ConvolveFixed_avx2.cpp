#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

// The weights are integers over one denominator, each split into two bytes. Products of two entries
// at a time are summed in 16 bits; ContribTable.cpp ensures that none overflows, and proves that
// the result equals that of doubles.

namespace q32 {
namespace avx2 {
namespace {

/// Two entries of a list: the addresses of their samples, and their parts side by side.
struct Pair {
    __m256i m_Low;
    __m256i m_High;
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
            m_Pairs[i] = {_mm256_set1_epi16(low), _mm256_set1_epi16(high), addressOf(k),
                          addressOf(k + 1 < list.m_nCount ? k + 1 : k)};
        }
    }
};

/// Sums of 32 samples, in two registers, as unpacking leaves them: 0 to 7 and 16 to 23, and the
/// others.
struct Sums {
    __m256i m_High[2] = {_mm256_setzero_si256(), _mm256_setzero_si256()};
    __m256i m_Low[2] = {_mm256_setzero_si256(), _mm256_setzero_si256()};

    Sums(const Pairs& pairs, std::size_t at) {
        for (std::size_t k = 0; k < pairs.m_nCount; ++k) {
            const Pair& pair = pairs.m_Pairs[k];
            const __m256i a = fnLoad(pair.m_pOne + at);
            const __m256i b = fnLoad(pair.m_pOther + at);
            const __m256i samples[2] = {_mm256_unpacklo_epi8(a, b), _mm256_unpackhi_epi8(a, b)};
#pragma GCC unroll 2
            for (int i = 0; i < 2; ++i) {
                m_High[i] =
                    _mm256_add_epi16(m_High[i], _mm256_maddubs_epi16(samples[i], pair.m_High));
                m_Low[i] = _mm256_add_epi16(m_Low[i], _mm256_maddubs_epi16(samples[i], pair.m_Low));
            }
        }
    }
};

/// Converts sums to bytes.
struct Divider {
    __m256i m_Radix;
    __m256 m_Unit;
    __m256 m_Half;
    explicit Divider(const ContribList& list)
        : m_Radix(_mm256_set1_epi32(list.m_FixedPoint.m_nRadix | 0x10000)),
          m_Unit(_mm256_set1_ps(list.m_FixedPoint.m_fUnit)),
          m_Half(_mm256_set1_ps(list.m_FixedPoint.m_fUnit * 0.5F)) {}

    inline __m256i fnFour(__m256i highAndLow) const {
        const __m256 sum = _mm256_cvtepi32_ps(_mm256_madd_epi16(highAndLow, m_Radix));
        return _mm256_cvttps_epi32(_mm256_fmadd_ps(sum, m_Unit, m_Half));
    }
    inline __m256i fnEight(__m256i high, __m256i low) const {
        return _mm256_packs_epi32(fnFour(_mm256_unpacklo_epi16(high, low)),
                                  fnFour(_mm256_unpackhi_epi16(high, low)));
    }
    inline __m256i operator()(const Sums& sums) const {
        return _mm256_packus_epi16(fnEight(sums.m_High[0], sums.m_Low[0]),
                                   fnEight(sums.m_High[1], sums.m_Low[1]));
    }
};

/// `count` is 32 or more.
void fnConvolve(const Pairs& pairs, const ContribList& list, std::uint8_t* target,
                std::size_t count) {
    const Divider divide(list);
    for (std::size_t i = 0; i < count; i += 32) {
        if (i + 32 > count)
            i = count - 32;
        fnStore(target + i, divide(Sums(pairs, i)));
    }
}

void fnConvolveRowsFixed(const std::uint8_t* const* rows, const ContribList& list,
                         std::uint8_t* target, std::size_t count) {
    if (count < 32) {
        scalar::fnConvolveRowsFixed(rows, list, target, count);
        return;
    }
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
} // namespace avx2

void fnUseAvx2ConvolveFixed(Kernels& table) {
    table.fnConvolveRowsFixed = avx2::fnConvolveRowsFixed;
    table.fnConvolveLanesFixed = avx2::fnConvolveLanesFixed;
}

} // namespace q32
