#include "q32Base/kernels/Avx512_p.h"
#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/QuadSums512_p.h"

namespace q32 {
namespace avx512 {
namespace {

/// The weights of a quad, broadcast.
struct WideWeights {
    Sums m_High;
    Sums m_Middle;
    Sums m_Low;
    explicit WideWeights(const QuadWeights& quad)
        : m_High(fnBroadcast(quad.m_nHigh)), m_Middle(fnBroadcast(quad.m_nMiddle)),
          m_Low(fnBroadcast(quad.m_nLow)) {}
    inline void fnAddTo(Parts& parts, __m512i samples) const {
        fnAdd(parts.m_High, samples, m_High);
        fnAdd(parts.m_Middle, samples, m_Middle);
        fnAdd(parts.m_Low, samples, m_Low);
    }
};

/// The sum, as a byte, of equal samples of these values.
inline __m512i fnFlatSum(const QuadList& list, __m512i value) {
    const __mmask64 less =
        _mm512_cmpgt_epu8_mask(value, _mm512_set1_epi8(static_cast<char>(list.m_nFlatMax)));
    return _mm512_mask_sub_epi8(value, less, value, _mm512_set1_epi8(1));
}

/// 64 samples of each row: all of them, or those of the mask.
template <bool kAll>
struct RowParts {
    const std::uint8_t* const* m_pRows; ///< from the list's first pixel on
    std::size_t m_nAt;
    __mmask64 m_Which;

    inline __m512i operator[](std::int32_t row) const {
        const std::uint8_t* from = m_pRows[row] + m_nAt;
        return kAll ? _mm512_loadu_si512(from) : _mm512_maskz_loadu_epi8(m_Which, from);
    }
    inline void fnStore(std::uint8_t* target, __m512i bytes) const {
        if (kAll)
            _mm512_storeu_si512(target, bytes);
        else
            _mm512_mask_storeu_epi8(target, m_Which, bytes);
    }
};

/// The sums of 64 samples, four adjacent ones in each quarter of a register.
struct RowSums {
    Sums m_Sums[4];

    template <class Rows>
    __attribute__((always_inline)) inline RowSums(const Rows& rows, const QuadList& list) {
        Parts first(list);
        Parts second(list);
        Parts third(list);
        Parts fourth(list);
        std::int32_t row = list.m_nFirst - list.m_nLeast;
        const QuadWeights* const end = list.m_pWeights + list.m_nQuads;
        for (const QuadWeights* quad = list.m_pWeights; quad != end; ++quad, row += 4) {
            const __m512i a = rows[row];
            const __m512i b = rows[row + 1];
            const __m512i c = rows[row + 2];
            const __m512i d = rows[row + 3];
            const __m512i ab = _mm512_unpacklo_epi8(a, b);
            const __m512i cd = _mm512_unpacklo_epi8(c, d);
            const __m512i abHigh = _mm512_unpackhi_epi8(a, b);
            const __m512i cdHigh = _mm512_unpackhi_epi8(c, d);
            const WideWeights weights(*quad);
            weights.fnAddTo(first, _mm512_unpacklo_epi16(ab, cd));
            weights.fnAddTo(second, _mm512_unpackhi_epi16(ab, cd));
            weights.fnAddTo(third, _mm512_unpacklo_epi16(abHigh, cdHigh));
            weights.fnAddTo(fourth, _mm512_unpackhi_epi16(abHigh, cdHigh));
        }
        m_Sums[0] = first.fnSum();
        m_Sums[1] = second.fnSum();
        m_Sums[2] = third.fnSum();
        m_Sums[3] = fourth.fnSum();
    }
    inline __m512i fnCutAll() const { return fnCut(m_Sums[0], m_Sums[1], m_Sums[2], m_Sums[3]); }
    inline bool fnHasUncertain(const QuadList& list) const {
        return fnAnyUncertain(m_Sums, list.m_nErrorBound);
    }
    __mmask64 fnFindUncertain(const QuadList& list) const {
        const __m512i bound = fnBoundOf(list.m_nErrorBound);
        const auto uncertain = [&](Sums sums) {
            return _mm512_movm_epi32(_mm512_cmplt_epu32_mask(fnFraction(sums), bound));
        };
        // Packed with signed saturation, all ones stay all ones.
        return _mm512_movepi8_mask(
            _mm512_packs_epi16(_mm512_packs_epi32(uncertain(m_Sums[0]), uncertain(m_Sums[1])),
                               _mm512_packs_epi32(uncertain(m_Sums[2]), uncertain(m_Sums[3]))));
    }
};

/// Recomputes the uncertain ones of 64 bytes that are already in the target. The sums are formed
/// again: handing them over would store them each time.
template <bool kAll>
__attribute__((noinline)) void fnSettleRows(const RowParts<kAll>& rows, const QuadList& list,
                                            std::uint8_t* target) {
    __mmask64 uncertain = RowSums(rows, list).fnFindUncertain(list) & rows.m_Which;
    if (list.m_nFlatMax >= 0) {
        const __m512i value = rows[0];
        __mmask64 equal = uncertain;
        for (std::int32_t k = 1; k <= list.m_nMost - list.m_nLeast && equal != 0; ++k)
            equal = _mm512_mask_cmpeq_epu8_mask(equal, value, rows[k]);
        _mm512_mask_storeu_epi8(target, equal, fnFlatSum(list, value));
        uncertain &= ~equal;
    }
    for (; uncertain != 0; uncertain &= uncertain - 1) {
        const auto i = static_cast<unsigned>(__builtin_ctzll(uncertain));
        target[i] = scalar::fnExactOfRows(rows.m_pRows, list, rows.m_nAt + i);
    }
}

template <bool kAll>
__attribute__((always_inline)) inline void
fnConvolveParts(const RowParts<kAll>& rows, const QuadList& list, std::uint8_t* target) {
    const RowSums sums(rows, list);
    rows.fnStore(target, sums.fnCutAll());
    if (list.m_nErrorBound != 0 && __builtin_expect(sums.fnHasUncertain(list), 0))
        fnSettleRows(rows, list, target);
}

void fnConvolveQuadRows(const std::uint8_t* const* rows, const QuadList& list, std::uint8_t* target,
                        std::size_t count) {
    std::size_t i = 0;
    for (; i + 64 <= count; i += 64)
        fnConvolveParts<true>({rows, i, ~__mmask64{0}}, list, target + i);
    if (i < count)
        fnConvolveParts<false>({rows, i, fnFirstBytes(count - i)}, list, target + i);
}

/// The samples of 16 rows, in quads of one channel.
struct Lanes {
    const std::uint8_t* m_pQuads; ///< from the first quad that was fetched
    std::size_t m_nStride;
    std::int32_t m_nFirst; ///< the pixel there

    inline const std::uint8_t* fnQuadOf(std::int32_t pixel) const {
        return m_pQuads + static_cast<std::size_t>(pixel - m_nFirst) / 4 * m_nStride;
    }

    /// The lanes of `among` whose samples are equal in all of the list's pixels; `value` receives
    /// the equal values.
    __mmask16 fnEqual(const QuadList& list, __mmask16 among, __m512i& value) const {
        const auto before = static_cast<unsigned>(list.m_nLeast - m_nFirst) % 4;
        const auto after = 3 - static_cast<unsigned>(list.m_nMost - m_nFirst) % 4;
        const std::uint8_t* const last = fnQuadOf(list.m_nMost);
        const std::uint8_t* at = fnQuadOf(list.m_nLeast);
        value = _mm512_and_si512(_mm512_srl_epi32(_mm512_loadu_si512(at),
                                                  _mm_cvtsi32_si128(static_cast<int>(8 * before))),
                                 _mm512_set1_epi32(255));
        const __m512i all = _mm512_mullo_epi32(value, _mm512_set1_epi32(0x01010101));
        std::uint32_t counts = ~((std::uint32_t{1} << 8 * before) - 1);
        for (;; at += m_nStride, counts = ~std::uint32_t{0}) {
            if (at == last)
                counts &= ~std::uint32_t{0} >> 8 * after;
            const __m512i off = _mm512_xor_si512(_mm512_loadu_si512(at), all);
            among = _mm512_mask_testn_epi32_mask(among, off,
                                                 _mm512_set1_epi32(static_cast<int>(counts)));
            if (at == last || among == 0)
                return among;
        }
    }
};

/// Recomputes the uncertain ones of 16 bytes that are already in the target.
void fnSettleLanes(const Lanes& lanes, const QuadList& list, std::uint8_t* target,
                   __mmask16 uncertain) {
    if (uncertain != 0 && list.m_nFlatMax >= 0) {
        __m512i value;
        const __mmask16 equal = lanes.fnEqual(list, uncertain, value);
        const __mmask16 less = _mm512_cmpgt_epi32_mask(value, _mm512_set1_epi32(list.m_nFlatMax));
        value = _mm512_mask_sub_epi32(value, less, value, _mm512_set1_epi32(1));
        _mm512_mask_cvtepi32_storeu_epi8(target, equal, value);
        uncertain = static_cast<__mmask16>(uncertain & ~equal);
    }
    for (unsigned left = uncertain; left != 0; left &= left - 1) {
        const auto i = static_cast<unsigned>(__builtin_ctz(left));
        target[i] = scalar::fnExactOfQuads(lanes.m_pQuads + std::size_t{4} * i, lanes.m_nStride,
                                           lanes.m_nFirst, list);
    }
}

/// Stores the sums of kVectors times 16 samples, truncated and clamped to bytes.
template <std::size_t kVectors>
inline void fnStoreLanes(const Sums (&sums)[kVectors], std::uint8_t* target) {
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const auto cut = [&](std::size_t v, std::size_t w) {
        return _mm512_permutexvar_epi32(order, fnCut(sums[v], sums[v + 1], sums[w], sums[w + 1]));
    };
#pragma GCC unroll 2
    for (std::size_t v = 0; v + 4 <= kVectors; v += 4)
        _mm512_storeu_si512(target + 16 * v, cut(v, v + 2));
    if (kVectors % 4 != 0)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + 16 * (kVectors - 2)),
                            _mm512_castsi512_si256(cut(kVectors - 2, kVectors - 2)));
}

/// The sums of one target pixel of kVectors times 16 samples.
template <std::size_t kVectors>
struct LaneSums {
    Sums m_Sums[kVectors];

    __attribute__((always_inline)) inline LaneSums(const Lanes& lanes, const QuadList& list) {
        Sums high[kVectors];
        Sums middle[kVectors];
        Sums low[kVectors];
#pragma GCC unroll 8
        for (std::size_t v = 0; v < kVectors; ++v) {
            high[v] = middle[v] = Sums{};
            low[v] = fnBroadcast(static_cast<std::uint32_t>(list.m_nBias));
        }
        const std::uint8_t* from = lanes.fnQuadOf(list.m_nFirst);
        const QuadWeights* const end = list.m_pWeights + list.m_nQuads;
        for (const QuadWeights* quad = list.m_pWeights; quad != end;
             ++quad, from += lanes.m_nStride) {
            const WideWeights weights(*quad);
#pragma GCC unroll 8
            for (std::size_t v = 0; v < kVectors; ++v) {
                const __m512i samples = _mm512_loadu_si512(from + 64 * v);
                fnAdd(high[v], samples, weights.m_High);
                fnAdd(middle[v], samples, weights.m_Middle);
                fnAdd(low[v], samples, weights.m_Low);
            }
        }
#pragma GCC unroll 8
        for (std::size_t v = 0; v < kVectors; ++v)
            m_Sums[v] = Parts(high[v], middle[v], low[v]).fnSum();
    }
    inline bool fnHasUncertain(const QuadList& list) const {
        __m512i least = fnFraction(m_Sums[0]);
#pragma GCC unroll 8
        for (std::size_t v = 1; v < kVectors; ++v)
            least = _mm512_min_epu32(least, fnFraction(m_Sums[v]));
        return _mm512_cmplt_epu32_mask(least, fnBoundOf(list.m_nErrorBound)) != 0;
    }
};

/// Recomputes the uncertain bytes of a target pixel; see fnSettleRows.
template <std::size_t kVectors>
__attribute__((noinline)) void fnSettlePixel(const Lanes& lanes, const QuadList& list,
                                             std::uint8_t* target) {
    const LaneSums<kVectors> sums(lanes, list);
    for (std::size_t v = 0; v < kVectors; ++v)
        fnSettleLanes(
            {lanes.m_pQuads + 64 * v, lanes.m_nStride, lanes.m_nFirst}, list, target + 16 * v,
            _mm512_cmplt_epu32_mask(fnFraction(sums.m_Sums[v]), fnBoundOf(list.m_nErrorBound)));
}

/// One target pixel of kVectors times 16 samples.
template <std::size_t kVectors>
__attribute__((always_inline)) inline void fnConvolvePixel(const Lanes& lanes, const QuadList& list,
                                                           std::uint8_t* target) {
    const LaneSums<kVectors> sums(lanes, list);
    fnStoreLanes(sums.m_Sums, target);
    if (list.m_nErrorBound != 0 && __builtin_expect(sums.fnHasUncertain(list), 0))
        fnSettlePixel<kVectors>(lanes, list, target);
}

template <std::size_t kChannels>
void fnConvolveChannels(const Lanes& lanes, const QuadList* lists, std::size_t count,
                        std::uint8_t* target) {
    for (std::size_t i = 0; i < count; ++i, target += kChannels * kFilterLanes)
        fnConvolvePixel<2 * kChannels>(lanes, lists[i], target);
}

void fnConvolveQuads(const std::uint8_t* quads, std::int32_t first, const QuadList* lists,
                     std::size_t count, std::uint8_t* target, std::size_t channels) {
    static constexpr decltype(&fnConvolveChannels<1>) kByChannels[] = {
        fnConvolveChannels<1>, fnConvolveChannels<2>, fnConvolveChannels<3>, fnConvolveChannels<4>};
    kByChannels[channels - 1]({quads, 4 * channels * kFilterLanes, first}, lists, count, target);
}

} // namespace
} // namespace avx512

void fnUseAvx512ConvolveQuads(Kernels& table) {
    table.m_bPrefersQuads = true;
    table.fnConvolveQuadRows = avx512::fnConvolveQuadRows;
    table.fnConvolveQuads = avx512::fnConvolveQuads;
}

} // namespace q32
