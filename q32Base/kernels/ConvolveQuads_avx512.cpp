#include "q32Base/kernels/Avx512_p.h"
#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/QuadList_p.h"

// An instruction multiplies four samples by four signed bytes and adds the products to an integer
// of 32 bits. Weights have three bytes, so three such sums make one; QuadTable.cpp proves its error
// bound. Only where a sum is that close to an integer, the sum in double decides.

namespace q32 {
namespace avx512 {
namespace {

inline __m512i fnLoad(const std::uint8_t* from, __mmask64 which) {
    return _mm512_maskz_loadu_epi8(which, from);
}

/// The three parts of 16 sums.
struct Parts {
    __m512i m_High = _mm512_setzero_si512();
    __m512i m_Middle = _mm512_setzero_si512();
    __m512i m_Low;
    Parts() = default;
    explicit Parts(const QuadList& list) : m_Low(_mm512_set1_epi32(list.m_nBias)) {}

    inline void fnAdd(__m512i samples, __m512i high, __m512i middle, __m512i low) {
        m_High = _mm512_dpbusd_epi32(m_High, samples, high);
        m_Middle = _mm512_dpbusd_epi32(m_Middle, samples, middle);
        m_Low = _mm512_dpbusd_epi32(m_Low, samples, low);
    }
    inline __m512i fnSum() const {
        return _mm512_add_epi32(
            _mm512_add_epi32(_mm512_slli_epi32(m_High, 16), _mm512_slli_epi32(m_Middle, 8)), m_Low);
    }
};

/// The weights of a quad, broadcast.
struct Weights {
    __m512i m_High;
    __m512i m_Middle;
    __m512i m_Low;
    explicit Weights(const QuadWeights& quad)
        : m_High(_mm512_set1_epi32(static_cast<int>(quad.m_nHigh))),
          m_Middle(_mm512_set1_epi32(static_cast<int>(quad.m_nMiddle))),
          m_Low(_mm512_set1_epi32(static_cast<int>(quad.m_nLow))) {}
    inline void fnAddTo(Parts& parts, __m512i samples) const {
        parts.fnAdd(samples, m_High, m_Middle, m_Low);
    }
};

/// The fraction of a sum, in the high bits.
inline __m512i fnFraction(__m512i sum) {
    return _mm512_slli_epi32(sum, 32 - kQuadBits);
}

inline __m512i fnBoundOf(const QuadList& list) {
    return _mm512_set1_epi32(static_cast<int>(list.m_nErrorBound << (32 - kQuadBits)));
}

inline __m512i fnWhole(__m512i sum) {
    return _mm512_srai_epi32(sum, kQuadBits);
}

/// Bytes from four registers, each of which holds four adjacent values in each quarter.
inline __m512i fnPack(const __m512i (&values)[4]) {
    return _mm512_packus_epi16(_mm512_packs_epi32(values[0], values[1]),
                               _mm512_packs_epi32(values[2], values[3]));
}

/// The sum, as a byte, of equal samples of these values.
inline __m512i fnFlatSum(const QuadList& list, __m512i value) {
    const __mmask64 less =
        _mm512_cmpgt_epu8_mask(value, _mm512_set1_epi8(static_cast<char>(list.m_nFlatMax)));
    return _mm512_mask_sub_epi8(value, less, value, _mm512_set1_epi8(1));
}

/// 64 samples of a row and where they are.
struct RowPart {
    const std::uint8_t* const* m_pRows; ///< at `m_nAt` each, from the list's first pixel on
    std::size_t m_nAt;
    __mmask64 m_Which;
    inline __m512i operator[](std::int32_t pixel) const {
        return fnLoad(m_pRows[pixel] + m_nAt, m_Which);
    }
};

/// Recomputes the uncertain ones of 64 bytes that are already in the target.
__attribute__((noinline)) void fnSettleRows(const RowPart& rows, const QuadList& list,
                                            std::uint8_t* target, const __m512i (&sums)[4]) {
    const __m512i bound = fnBoundOf(list);
    __m512i doubts[4];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i)
        doubts[i] = _mm512_movm_epi32(_mm512_cmplt_epu32_mask(fnFraction(sums[i]), bound));
    // Packed with signed saturation, all ones stay all ones.
    const __m512i packed = _mm512_packs_epi16(_mm512_packs_epi32(doubts[0], doubts[1]),
                                              _mm512_packs_epi32(doubts[2], doubts[3]));
    __mmask64 uncertain = _mm512_movepi8_mask(packed) & rows.m_Which;
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

/// Sums 64 samples.
inline void fnConvolvePart(const RowPart& rows, const QuadList& list, std::uint8_t* target) {
    Parts parts[4] = {Parts(list), Parts(list), Parts(list), Parts(list)};
    std::int32_t pixel = list.m_nFirst - list.m_nLeast;
    for (std::int32_t q = 0; q < list.m_nQuads; ++q, pixel += 4) {
        const __m512i a = rows[pixel];
        const __m512i b = rows[pixel + 1];
        const __m512i c = rows[pixel + 2];
        const __m512i d = rows[pixel + 3];
        const __m512i ab = _mm512_unpacklo_epi8(a, b);
        const __m512i cd = _mm512_unpacklo_epi8(c, d);
        const __m512i abHigh = _mm512_unpackhi_epi8(a, b);
        const __m512i cdHigh = _mm512_unpackhi_epi8(c, d);
        const Weights weights(list.m_pWeights[q]);
        weights.fnAddTo(parts[0], _mm512_unpacklo_epi16(ab, cd));
        weights.fnAddTo(parts[1], _mm512_unpackhi_epi16(ab, cd));
        weights.fnAddTo(parts[2], _mm512_unpacklo_epi16(abHigh, cdHigh));
        weights.fnAddTo(parts[3], _mm512_unpackhi_epi16(abHigh, cdHigh));
    }
    __m512i sums[4];
    __m512i whole[4];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        sums[i] = parts[i].fnSum();
        whole[i] = fnWhole(sums[i]);
    }
    _mm512_mask_storeu_epi8(target, rows.m_Which, fnPack(whole));
    if (list.m_nErrorBound == 0)
        return;
    const __m512i least =
        _mm512_min_epu32(_mm512_min_epu32(fnFraction(sums[0]), fnFraction(sums[1])),
                         _mm512_min_epu32(fnFraction(sums[2]), fnFraction(sums[3])));
    if (__builtin_expect(_mm512_cmplt_epu32_mask(least, fnBoundOf(list)) != 0, 0))
        fnSettleRows(rows, list, target, sums);
}

void fnConvolveQuadRows(const std::uint8_t* const* rows, const QuadList& list, std::uint8_t* target,
                        std::size_t count) {
    for (std::size_t i = 0; i < count; i += 64)
        fnConvolvePart({rows, i, fnFirstBytes(count - i)}, list, target + i);
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
        std::uint32_t counts = ~std::uint32_t{0} << 8 * before;
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
__attribute__((noinline)) void fnSettleLanes(const Lanes& lanes, const QuadList& list,
                                             std::uint8_t* target, __mmask16 uncertain) {
    if (list.m_nFlatMax >= 0) {
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
inline void fnStoreLanes(const __m512i (&sums)[kVectors], std::uint8_t* target) {
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
#pragma GCC unroll 2
    for (std::size_t v = 0; v < kVectors; v += 4) {
        const bool four = v + 4 <= kVectors; // else two
        const __m512i whole[4] = {fnWhole(sums[v]), fnWhole(sums[v + 1]),
                                  fnWhole(sums[four ? v + 2 : v]),
                                  fnWhole(sums[four ? v + 3 : v + 1])};
        const __m512i bytes = _mm512_permutexvar_epi32(order, fnPack(whole));
        if (four)
            _mm512_storeu_si512(target + 16 * v, bytes);
        else
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + 16 * v),
                                _mm512_castsi512_si256(bytes));
    }
}

/// One target pixel of kVectors times 16 samples.
template <std::size_t kVectors>
inline void fnConvolvePixel(const Lanes& lanes, const QuadList& list, std::uint8_t* target) {
    Parts parts[kVectors];
#pragma GCC unroll 8
    for (std::size_t v = 0; v < kVectors; ++v)
        parts[v] = Parts(list);
    const std::uint8_t* from = lanes.fnQuadOf(list.m_nFirst);
    for (std::int32_t q = 0; q < list.m_nQuads; ++q, from += lanes.m_nStride) {
        const Weights weights(list.m_pWeights[q]);
#pragma GCC unroll 8
        for (std::size_t v = 0; v < kVectors; ++v)
            weights.fnAddTo(parts[v], _mm512_loadu_si512(from + 64 * v));
    }
    __m512i sums[kVectors];
#pragma GCC unroll 8
    for (std::size_t v = 0; v < kVectors; ++v)
        sums[v] = parts[v].fnSum();
    fnStoreLanes(sums, target);
    if (list.m_nErrorBound == 0)
        return;
    __m512i least = fnFraction(sums[0]);
#pragma GCC unroll 8
    for (std::size_t v = 1; v < kVectors; ++v)
        least = _mm512_min_epu32(least, fnFraction(sums[v]));
    const __m512i bound = fnBoundOf(list);
    if (__builtin_expect(_mm512_cmplt_epu32_mask(least, bound) == 0, 1))
        return;
    for (std::size_t v = 0; v < kVectors; ++v)
        if (const __mmask16 doubts = _mm512_cmplt_epu32_mask(fnFraction(sums[v]), bound))
            fnSettleLanes({lanes.m_pQuads + 64 * v, lanes.m_nStride, lanes.m_nFirst}, list,
                          target + 16 * v, doubts);
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

/// Transposes 16 x 16 integers of 32 bits.
inline void fnTranspose(__m512i (&rows)[16]) {
    __m512i pairs[16];
#pragma GCC unroll 8
    for (int i = 0; i < 16; i += 2) {
        pairs[i] = _mm512_unpacklo_epi32(rows[i], rows[i + 1]);
        pairs[i + 1] = _mm512_unpackhi_epi32(rows[i], rows[i + 1]);
    }
    // Of each four rows, column j of every quarter is then in fours[4 * (row / 4) + j].
    __m512i fours[16];
#pragma GCC unroll 4
    for (int i = 0; i < 16; i += 4) {
        fours[i] = _mm512_unpacklo_epi64(pairs[i], pairs[i + 2]);
        fours[i + 1] = _mm512_unpackhi_epi64(pairs[i], pairs[i + 2]);
        fours[i + 2] = _mm512_unpacklo_epi64(pairs[i + 1], pairs[i + 3]);
        fours[i + 3] = _mm512_unpackhi_epi64(pairs[i + 1], pairs[i + 3]);
    }
#pragma GCC unroll 4
    for (int j = 0; j < 4; ++j) {
        const __m512i even = _mm512_shuffle_i32x4(fours[j], fours[j + 4], 0x88);
        const __m512i odd = _mm512_shuffle_i32x4(fours[j], fours[j + 4], 0xDD);
        const __m512i evenBelow = _mm512_shuffle_i32x4(fours[j + 8], fours[j + 12], 0x88);
        const __m512i oddBelow = _mm512_shuffle_i32x4(fours[j + 8], fours[j + 12], 0xDD);
        rows[j] = _mm512_shuffle_i32x4(even, evenBelow, 0x88);
        rows[j + 4] = _mm512_shuffle_i32x4(odd, oddBelow, 0x88);
        rows[j + 8] = _mm512_shuffle_i32x4(even, evenBelow, 0xDD);
        rows[j + 12] = _mm512_shuffle_i32x4(odd, oddBelow, 0xDD);
    }
}

/// Where byte i of a row's quads comes from.
template <std::size_t kChannels>
struct QuadOrder {
    std::uint8_t m_Bytes[64] = {};
    constexpr QuadOrder() {
        for (std::size_t i = 0; i < 64; ++i) {
            const std::size_t block = i / 4;
            const std::size_t from =
                (block / kChannels * 4 + i % 4) * kChannels + block % kChannels;
            m_Bytes[i] = static_cast<std::uint8_t>(from % 64);
        }
    }
};

template <std::size_t kChannels>
void fnFetchQuads(const std::uint8_t* const* rows, std::uint8_t* target, std::size_t pixels) {
    // Complete quads that fit into a register.
    constexpr std::size_t kPixels = 16 / kChannels * 4;
    constexpr std::size_t kBlock = 4 * kFilterLanes;
    alignas(64) static constexpr QuadOrder<kChannels> kOrder;
    const __m512i order = _mm512_load_si512(kOrder.m_Bytes);
    for (std::size_t at = 0; at < pixels; at += kPixels) {
        const std::size_t count = pixels - at < kPixels ? pixels - at : kPixels;
        const __mmask64 which = fnFirstBytes(count * kChannels);
        const std::size_t blocks = (count + 3) / 4 * kChannels;
        std::uint8_t* const to = target + at / 4 * kChannels * kBlock;
        for (std::size_t half = 0; half < 2; ++half) {
            __m512i block[16];
#pragma GCC unroll 16
            for (std::size_t r = 0; r < 16; ++r) {
                block[r] = fnLoad(rows[16 * half + r] + at * kChannels, which);
                if (kChannels != 1)
                    block[r] = _mm512_permutexvar_epi8(order, block[r]);
            }
            fnTranspose(block);
#pragma GCC unroll 16
            for (std::size_t b = 0; b < 16; ++b)
                if (b < blocks)
                    _mm512_storeu_si512(to + b * kBlock + 64 * half, block[b]);
        }
    }
}

void fnRowsToQuads(const std::uint8_t* const* rows, std::uint8_t* target, std::size_t pixels,
                   std::size_t channels) {
    static constexpr decltype(&fnFetchQuads<1>) kByChannels[] = {fnFetchQuads<1>, fnFetchQuads<2>,
                                                                 fnFetchQuads<3>, fnFetchQuads<4>};
    kByChannels[channels - 1](rows, target, pixels);
}

} // namespace
} // namespace avx512

void fnUseAvx512ConvolveQuads(Kernels& table) {
    table.m_bPrefersQuads = true;
    table.fnConvolveQuadRows = avx512::fnConvolveQuadRows;
    table.fnConvolveQuads = avx512::fnConvolveQuads;
    table.fnRowsToQuads = avx512::fnRowsToQuads;
}

} // namespace q32
