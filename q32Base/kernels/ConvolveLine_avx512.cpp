#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/LineSums_p.h"
#include "q32Base/kernels/QuadSums512_p.h"

// One permutation gathers four samples for each of 16 sums. Each sum has weights of its own, so
// that they are read from the table, where sums over lanes share broadcast ones; a row's samples
// need no transposition in return.

namespace q32 {
namespace avx512 {
namespace {

inline __m512i fnLoad(const void* from) {
    return _mm512_loadu_si512(from);
}

/// The samples of a window at these places.
template <bool kWide>
inline __m512i fnGather(const std::uint8_t* window, __m512i places) {
    return kWide ? _mm512_permutex2var_epi8(fnLoad(window), places, fnLoad(window + 64))
                 : _mm512_permutexvar_epi8(places, fnLoad(window));
}

/// The row and its sums.
struct Line {
    const std::uint8_t* m_pSamples;
    std::size_t m_nOrigin;
    const LineSums& m_Sums;

    inline const std::uint8_t* fnWindow(std::size_t group) const {
        return m_pSamples + (m_Sums.m_pFirst[group] - m_nOrigin);
    }
    inline std::size_t fnGetStep() const { return std::size_t{4} * m_Sums.m_nChannels; }
};

/// Groups one after another. It holds copies of what the sums point at: otherwise each byte stored
/// might have changed them.
struct Groups {
    const std::uint8_t* m_pSamples;
    std::size_t m_nOrigin;
    const std::uint32_t* m_pFirst;
    const LineGroup* m_pGroup;
    const LineWeights* m_pWeights;
    std::size_t m_nQuads;
    std::size_t m_nStep;

    Groups(const Line& line, std::size_t group)
        : m_pSamples(line.m_pSamples), m_nOrigin(line.m_nOrigin),
          m_pFirst(line.m_Sums.m_pFirst + group), m_pGroup(line.m_Sums.m_pGroups + group),
          m_pWeights(line.m_Sums.m_pWeights + group * line.m_Sums.m_nQuads),
          m_nQuads(line.m_Sums.m_nQuads), m_nStep(line.fnGetStep()) {}

    /// The sums of the next group. If kQuads is 0, m_nQuads says how many quads there are.
    template <bool kWide, std::size_t kQuads>
    __attribute__((always_inline)) inline Sums fnNext() {
        const __m512i places = fnLoad(m_pGroup->m_Places);
        const std::uint8_t* window = m_pSamples + (*m_pFirst - m_nOrigin);
        Parts parts(Sums{}, Sums{}, reinterpret_cast<Sums>(fnLoad(m_pGroup->m_Bias)));
        const std::size_t quads = kQuads == 0 ? m_nQuads : kQuads;
#pragma GCC unroll 4
        for (std::size_t quad = 0; quad < quads; ++quad, window += m_nStep) {
            const __m512i samples = fnGather<kWide>(window, places);
            const LineWeights& weights = m_pWeights[quad];
            fnAdd(parts.m_High, samples, reinterpret_cast<Sums>(fnLoad(weights.m_High)));
            fnAdd(parts.m_Middle, samples, reinterpret_cast<Sums>(fnLoad(weights.m_Middle)));
            fnAdd(parts.m_Low, samples, reinterpret_cast<Sums>(fnLoad(weights.m_Low)));
        }
        ++m_pFirst;
        ++m_pGroup;
        m_pWeights += quads;
        return parts.fnSum();
    }
};

/// Sums whose entries are all equal, as a mask; `values` receives what these add up to.
template <bool kWide>
__mmask16 fnFindFlat(const Line& line, std::size_t group, __m128i& values) {
    const LineFlats& flats = line.m_Sums.m_pFlats[group];
    const __m512i places = fnLoad(flats.m_Places);
    const __m512i last = fnLoad(flats.m_Last);
    const std::uint8_t* window = line.fnWindow(group);
    const __m512i value = _mm512_and_si512(fnGather<kWide>(window, places), _mm512_set1_epi32(255));
    const __m512i all = _mm512_mullo_epi32(value, _mm512_set1_epi32(0x01010101));
    __m512i pixel = _mm512_set1_epi32(0x03020100);
    __m512i off = _mm512_setzero_si512();
    for (std::uint32_t quad = 0; quad < line.m_Sums.m_nFlatQuads; ++quad) {
        const __mmask64 counts = _mm512_cmple_epu8_mask(pixel, last);
        const __m512i other = _mm512_xor_si512(fnGather<kWide>(window, places), all);
        off = _mm512_or_si512(off, _mm512_maskz_mov_epi8(counts, other));
        pixel = _mm512_add_epi8(pixel, _mm512_set1_epi8(4));
        window += line.fnGetStep();
    }
    const __m128i bytes = _mm512_cvtepi32_epi8(value);
    const __mmask16 less =
        _mm_cmpgt_epu8_mask(bytes, _mm_loadu_si128(reinterpret_cast<const __m128i*>(flats.m_Most)));
    values = _mm_mask_sub_epi8(bytes, less, bytes, _mm_set1_epi8(1));
    return _mm512_testn_epi32_mask(off, off);
}

/// Recomputes the uncertain ones of a block's bytes that are already in the target. The sums are
/// formed again: handing them over would store them each time.
template <bool kWide>
__attribute__((noinline)) void fnSettleLine(const Line& line, std::size_t first,
                                            std::uint8_t* target, std::size_t count) {
    const __m512i bound = fnBoundOf(line.m_Sums.m_nErrorBound);
    for (std::size_t i = 0; i < count; i += kLineGroup) {
        const std::size_t group = (first + i) / kLineGroup;
        const __m512i fraction = fnFraction(Groups(line, group).fnNext<kWide, 0>());
        unsigned uncertain = _mm512_cmplt_epu32_mask(fraction, bound);
        uncertain &= static_cast<unsigned>(fnFirstBytes(count - i));
        if (uncertain != 0 && line.m_Sums.m_pFlats) {
            __m128i values;
            const unsigned flat = uncertain & fnFindFlat<kWide>(line, group, values);
            _mm_mask_storeu_epi8(target + i, static_cast<__mmask16>(flat), values);
            uncertain &= ~flat;
        }
        for (; uncertain != 0; uncertain &= uncertain - 1) {
            const std::size_t at = i + static_cast<unsigned>(__builtin_ctz(uncertain));
            target[at] =
                scalar::fnExactOfLine(line.m_pSamples, line.m_nOrigin, line.m_Sums, first + at);
        }
    }
}

template <bool kWide, std::size_t kQuads>
void fnConvolveLines(const Line& line, std::size_t first, std::uint8_t* target, std::size_t count) {
    constexpr std::size_t kSamples = kLineGroup * kLineBlock;
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const std::uint32_t errorBound = line.m_Sums.m_nErrorBound;
    Groups groups(line, first / kLineGroup);
    for (std::size_t i = 0; i < count; i += kSamples) {
        const Sums a = groups.fnNext<kWide, kQuads>();
        const Sums b = groups.fnNext<kWide, kQuads>();
        const Sums c = groups.fnNext<kWide, kQuads>();
        const Sums d = groups.fnNext<kWide, kQuads>();
        const __m512i bytes = _mm512_permutexvar_epi32(order, fnCut(a, b, c, d));
        if (__builtin_expect(count - i >= kSamples, 1))
            _mm512_storeu_si512(target + i, bytes);
        else
            _mm512_mask_storeu_epi8(target + i, fnFirstBytes(count - i), bytes);
        if (errorBound != 0 && __builtin_expect(fnAnyUncertain({a, b, c, d}, errorBound), 0))
            fnSettleLine<kWide>(line, first + i, target + i,
                                count - i < kSamples ? count - i : kSamples);
    }
}

void fnConvolveLine(const std::uint8_t* samples, std::size_t origin, const LineSums& sums,
                    std::size_t first, std::uint8_t* target, std::size_t count) {
    static constexpr decltype(&fnConvolveLines<false, 0>) kByQuads[2][5] = {
        {fnConvolveLines<false, 0>, fnConvolveLines<false, 1>, fnConvolveLines<false, 2>,
         fnConvolveLines<false, 3>, fnConvolveLines<false, 4>},
        {fnConvolveLines<true, 0>, fnConvolveLines<true, 1>, fnConvolveLines<true, 2>,
         fnConvolveLines<true, 3>, fnConvolveLines<true, 4>}};
    const auto& byQuads = kByQuads[sums.m_bWide ? 1 : 0];
    byQuads[sums.m_nQuads <= 4 ? sums.m_nQuads : 0]({samples, origin, sums}, first, target, count);
}

} // namespace
} // namespace avx512

void fnUseAvx512ConvolveLine(Kernels& table) {
    table.fnConvolveLine = avx512::fnConvolveLine;
}

} // namespace q32
