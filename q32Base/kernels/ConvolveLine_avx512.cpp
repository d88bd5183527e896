#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/LineSums_p.h"
#include "q32Base/kernels/QuadSums512_p.h"

#include <utility>

// One permutation gathers four samples for each of 16 sums. Each sum has weights of its own, so
// that they are read from the table, where sums over lanes share broadcast ones; a row's samples
// need no transposition in return. Several rows share what is read of the table.

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

/// A row and its sums.
struct Line {
    const std::uint8_t* m_pSamples;
    std::size_t m_nOrigin;
    const LineSums& m_Sums;

    inline const std::uint8_t* fnWindow(std::size_t group) const {
        return m_pSamples + (m_Sums.m_pFirst[group] - m_nOrigin);
    }
    inline std::size_t fnGetStep() const { return std::size_t{4} * m_Sums.m_nChannels; }
};

/// The sums of a group for several rows. Rows are numbered by constants: an array whose index is a
/// variable would lie in memory.
template <std::size_t kRows>
struct GroupSums {
    Sums m_Rows[kRows];
};

template <std::size_t kRows, class Visit>
__attribute__((always_inline)) inline void fnForRows(Visit visit) {
    [&]<std::size_t... kRow>(std::index_sequence<kRow...>) __attribute__((always_inline)) {
        (visit(std::integral_constant<std::size_t, kRow>{}), ...);
    }
    (std::make_index_sequence<kRows>{});
}

/// Groups one after another, of several rows. It holds copies of what the sums point at: otherwise
/// each byte stored might have changed them.
template <std::size_t kRows>
struct Groups {
    const std::uint8_t* m_pSamples;
    std::size_t m_nOrigin;
    std::size_t m_nStride; ///< from row to row
    const std::uint32_t* m_pFirst;
    const LineGroup* m_pGroup;
    const LineWeights* m_pWeights;
    std::size_t m_nQuads;
    std::size_t m_nStep;

    Groups(const Line& line, std::size_t stride, std::size_t group)
        : m_pSamples(line.m_pSamples), m_nOrigin(line.m_nOrigin), m_nStride(stride),
          m_pFirst(line.m_Sums.m_pFirst + group), m_pGroup(line.m_Sums.m_pGroups + group),
          m_pWeights(line.m_Sums.m_pWeights + group * line.m_Sums.m_nQuads),
          m_nQuads(line.m_Sums.m_nQuads), m_nStep(line.fnGetStep()) {}

    /// The sums of the next group. If kQuads is 0, m_nQuads says how many quads there are.
    template <bool kWide, std::size_t kQuads>
    __attribute__((always_inline)) inline GroupSums<kRows> fnNext() {
        const __m512i places = fnLoad(m_pGroup->m_Places);
        const Sums bias = reinterpret_cast<Sums>(fnLoad(m_pGroup->m_Bias));
        const std::uint8_t* window = m_pSamples + (*m_pFirst - m_nOrigin);
        GroupSums<kRows> high{};
        GroupSums<kRows> middle{};
        GroupSums<kRows> low;
        fnForRows<kRows>([&](auto row) __attribute__((always_inline)) { low.m_Rows[row] = bias; });
        const std::size_t quads = kQuads == 0 ? m_nQuads : kQuads;
#pragma GCC unroll 4
        for (std::size_t quad = 0; quad < quads; ++quad, window += m_nStep) {
            const Sums highs = reinterpret_cast<Sums>(fnLoad(m_pWeights[quad].m_High));
            const Sums middles = reinterpret_cast<Sums>(fnLoad(m_pWeights[quad].m_Middle));
            const Sums lows = reinterpret_cast<Sums>(fnLoad(m_pWeights[quad].m_Low));
            fnForRows<kRows>([&](auto row) __attribute__((always_inline)) {
                const __m512i samples = fnGather<kWide>(window + row * m_nStride, places);
                fnAdd(high.m_Rows[row], samples, highs);
                fnAdd(middle.m_Rows[row], samples, middles);
                fnAdd(low.m_Rows[row], samples, lows);
            });
        }
        ++m_pFirst;
        ++m_pGroup;
        m_pWeights += quads;
        fnForRows<kRows>([&](auto row) __attribute__((always_inline)) {
            low.m_Rows[row] = Parts(high.m_Rows[row], middle.m_Rows[row], low.m_Rows[row]).fnSum();
        });
        return low;
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
        const __m512i fraction = fnFraction(Groups<1>(line, 0, group).fnNext<kWide, 0>().m_Rows[0]);
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

/// Convolves kRows rows, whatever number there are.
template <bool kWide, std::size_t kQuads, std::size_t kRows>
void fnConvolveTogether(const LineRows& rows, const LineSums& sums, std::size_t first,
                        std::size_t count) {
    constexpr std::size_t kSamples = kLineGroup * kLineBlock;
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const std::uint32_t errorBound = sums.m_nErrorBound;
    std::uint8_t* target = rows.m_pTarget;
    Groups<kRows> groups({rows.m_pSamples, rows.m_nOrigin, sums}, rows.m_nStride,
                         first / kLineGroup);
    for (std::size_t i = 0; i < count; i += kSamples, target += kSamples) {
        const GroupSums<kRows> a = groups.template fnNext<kWide, kQuads>();
        const GroupSums<kRows> b = groups.template fnNext<kWide, kQuads>();
        const GroupSums<kRows> c = groups.template fnNext<kWide, kQuads>();
        const GroupSums<kRows> d = groups.template fnNext<kWide, kQuads>();
        const std::size_t left = count - i;
        fnForRows<kRows>([&](auto row) __attribute__((always_inline)) {
            const Sums of[] = {a.m_Rows[row], b.m_Rows[row], c.m_Rows[row], d.m_Rows[row]};
            const __m512i bytes =
                _mm512_permutexvar_epi32(order, fnCut(of[0], of[1], of[2], of[3]));
            std::uint8_t* const to = target + row * rows.m_nTargetStride;
            if (__builtin_expect(left >= kSamples, 1))
                _mm512_storeu_si512(to, bytes);
            else
                _mm512_mask_storeu_epi8(to, fnFirstBytes(left), bytes);
            if (errorBound != 0 && __builtin_expect(fnAnyUncertain(of, errorBound), 0))
                fnSettleLine<kWide>({rows.m_pSamples + row * rows.m_nStride, rows.m_nOrigin, sums},
                                    first + i, to, left < kSamples ? left : kSamples);
        });
    }
}

template <bool kWide, std::size_t kQuads>
void fnConvolveRows(const LineRows& rows, const LineSums& sums, std::size_t first,
                    std::size_t count) {
    // More would need more registers than there are.
    constexpr std::size_t kTogether = kQuads == 1 ? 4 : 2;
    LineRows part = rows;
    const auto fnPass = [&part](std::size_t done) {
        part.m_pSamples += done * part.m_nStride;
        part.m_pTarget += done * part.m_nTargetStride;
        part.m_nRows -= done;
    };
    for (; part.m_nRows >= kTogether; fnPass(kTogether))
        fnConvolveTogether<kWide, kQuads, kTogether>(part, sums, first, count);
    for (; part.m_nRows > 0; fnPass(1))
        fnConvolveTogether<kWide, kQuads, 1>(part, sums, first, count);
}

void fnConvolveLines(const LineRows& rows, const LineSums& sums, std::size_t first,
                     std::size_t count) {
    static constexpr decltype(&fnConvolveRows<false, 0>) kByQuads[2][5] = {
        {fnConvolveRows<false, 0>, fnConvolveRows<false, 1>, fnConvolveRows<false, 2>,
         fnConvolveRows<false, 3>, fnConvolveRows<false, 4>},
        {fnConvolveRows<true, 0>, fnConvolveRows<true, 1>, fnConvolveRows<true, 2>,
         fnConvolveRows<true, 3>, fnConvolveRows<true, 4>}};
    const auto& byQuads = kByQuads[sums.m_bWide ? 1 : 0];
    byQuads[sums.m_nQuads <= 4 ? sums.m_nQuads : 0](rows, sums, first, count);
}

} // namespace
} // namespace avx512

void fnUseAvx512ConvolveLine(Kernels& table) {
    table.fnConvolveLines = avx512::fnConvolveLines;
}

} // namespace q32
