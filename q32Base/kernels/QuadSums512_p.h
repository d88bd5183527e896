/// @file
/// Sums in quads by AVX-512. Included only by _avx512.cpp files.
#pragma once

#include "q32Base/kernels/Avx512_p.h"
#include "q32Base/kernels/QuadList_p.h"

// An instruction multiplies four samples by four signed bytes and adds the products to an integer
// of 32 bits. Weights have three bytes, so three such sums make one; QuadTable.cpp proves its error
// bound. Only where a sum is that close to an integer, the sum in double decides.

namespace q32 {
namespace avx512 {

// gcc 12 copies a register before each product unless sums have this type throughout.
using Sums = int __attribute__((vector_size(64)));

static inline __m512i fnBits(Sums sums) {
    return reinterpret_cast<__m512i>(sums);
}

static inline Sums fnBroadcast(std::uint32_t bits) {
    return reinterpret_cast<Sums>(_mm512_set1_epi32(static_cast<int>(bits)));
}

/// Adds the products of four samples and weights each.
static inline void fnAdd(Sums& sums, __m512i samples, Sums weights) {
    sums = reinterpret_cast<Sums>(_mm512_dpbusd_epi32(fnBits(sums), samples, fnBits(weights)));
}

/// The three parts of 16 sums.
struct Parts {
    Sums m_High;
    Sums m_Middle;
    Sums m_Low;
    Parts(Sums high, Sums middle, Sums low) : m_High(high), m_Middle(middle), m_Low(low) {}
    explicit Parts(const QuadList& list)
        : m_High{}, m_Middle{}, m_Low(fnBroadcast(static_cast<std::uint32_t>(list.m_nBias))) {}
    inline Sums fnSum() const {
        return reinterpret_cast<Sums>(
            _mm512_add_epi32(_mm512_add_epi32(_mm512_slli_epi32(fnBits(m_High), 16),
                                              _mm512_slli_epi32(fnBits(m_Middle), 8)),
                             fnBits(m_Low)));
    }
};

/// The fraction of a sum, in the high bits.
static inline __m512i fnFraction(Sums sums) {
    return _mm512_slli_epi32(fnBits(sums), 32 - kQuadBits);
}

static inline __m512i fnBoundOf(std::uint32_t errorBound) {
    return _mm512_set1_epi32(static_cast<int>(errorBound << (32 - kQuadBits)));
}

/// Whether any of four times 16 sums needs the doubles.
static inline bool fnAnyUncertain(const Sums (&sums)[4], std::uint32_t errorBound) {
    const __m512i least =
        _mm512_min_epu32(_mm512_min_epu32(fnFraction(sums[0]), fnFraction(sums[1])),
                         _mm512_min_epu32(fnFraction(sums[2]), fnFraction(sums[3])));
    return _mm512_cmplt_epu32_mask(least, fnBoundOf(errorBound)) != 0;
}

/// Truncates to bytes what four registers hold, four adjacent sums in each quarter of a register.
static inline __m512i fnCut(Sums a, Sums b, Sums c, Sums d) {
    const auto whole = [](Sums sums) { return _mm512_srai_epi32(fnBits(sums), kQuadBits); };
    return _mm512_packus_epi16(_mm512_packs_epi32(whole(a), whole(b)),
                               _mm512_packs_epi32(whole(c), whole(d)));
}

} // namespace avx512
} // namespace q32
