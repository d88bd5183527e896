#include "q32Base/framework/Memory.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/resampling/ContribTable_p.h"
#include "q32Base/resampling/QuadTable_p.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <utility>

namespace q32 {
namespace {

constexpr double kOne = 1 << kQuadBits;

/// The weights of a list by pixel, as doubles in units of the integer sum and rounded.
struct PixelWeights {
    std::int32_t m_nLeast;
    std::int32_t m_nCount;
    double m_dExact[kMaxQuadEntries];
    std::int32_t m_nRounded[kMaxQuadEntries];

    explicit PixelWeights(const ContribList& list) {
        const auto ends = std::minmax_element(
            list.m_pEntries, list.m_pEntries + list.m_nCount,
            [](const ContribEntry& a, const ContribEntry& b) { return a.m_nPixel < b.m_nPixel; });
        m_nLeast = ends.first->m_nPixel;
        m_nCount = ends.second->m_nPixel - m_nLeast + 1;
        // Entries are neighbours, and reflecting some brings them nearer.
        assert(m_nCount > 0 && m_nCount <= static_cast<std::int32_t>(kMaxQuadEntries));
        std::fill_n(m_dExact, m_nCount, 0.0);
        // Reflected entries may share a pixel.
        for (std::int32_t k = 0; k < list.m_nCount; ++k)
            m_dExact[list.m_pEntries[k].m_nPixel - m_nLeast] += list.m_pEntries[k].m_dWeight * kOne;
        // Not by std::lround, which is a call. What rounding leaves is measured below.
        std::transform(m_dExact, m_dExact + m_nCount, m_nRounded, [](double weight) {
            return static_cast<std::int32_t>(weight + std::copysign(0.5, weight));
        });
    }
};

/// How far an integer sum may lie from the sum of its unrounded weights, in its units.
struct Deviation {
    double m_dLeast = 0.0;
    double m_dMost = 0.0;
    explicit Deviation(const PixelWeights& weights) {
        for (std::int32_t i = 0; i < weights.m_nCount; ++i) {
            const double off = 255.0 * (weights.m_nRounded[i] - weights.m_dExact[i]);
            // Without branches, which no processor would foresee.
            m_dLeast += std::min(off, 0.0);
            m_dMost += std::max(off, 0.0);
        }
    }
    double fnGetSpan() const { return m_dMost - m_dLeast; }
};

/// A weight as three signed bytes.
struct WeightBytes {
    std::int32_t m_nHigh;
    std::int32_t m_nMiddle;
    std::int32_t m_nLow;
    explicit WeightBytes(std::int32_t weight)
        : m_nHigh((weight + 0x8080) >> 16), m_nMiddle((weight - m_nHigh * 65536 + 0x80) >> 8),
          m_nLow(weight - m_nHigh * 65536 - m_nMiddle * 256) {}
};

void fnPut(QuadWeights& quad, unsigned place, std::int32_t weight) {
    const WeightBytes bytes(weight);
    const auto shifted = [place](std::int32_t byte) {
        return (static_cast<std::uint32_t>(byte) & 0xFF) << 8 * place;
    };
    quad.m_nHigh |= shifted(bytes.m_nHigh);
    quad.m_nMiddle |= shifted(bytes.m_nMiddle);
    quad.m_nLow |= shifted(bytes.m_nLow);
}

/// Puts the weights other than 0 into quads.
void fnSetWeights(const PixelWeights& weights, std::int32_t alignment, QuadList& quads,
                  QuadWeights* to) {
    std::int32_t begin = 0;
    while (begin + 1 < weights.m_nCount && weights.m_nRounded[begin] == 0)
        ++begin;
    std::int32_t end = weights.m_nCount;
    while (end > begin + 1 && weights.m_nRounded[end - 1] == 0)
        --end;
    quads.m_nFirst = (weights.m_nLeast + begin) / alignment * alignment;
    const std::int32_t before = weights.m_nLeast - quads.m_nFirst;
    quads.m_nQuads = (before + end + 3) / 4;
    quads.m_pWeights = to;
    std::fill_n(to, quads.m_nQuads, QuadWeights{});
    for (std::int32_t i = begin; i < end; ++i)
        fnPut(to[(before + i) / 4], static_cast<unsigned>(before + i) % 4, weights.m_nRounded[i]);
}

} // namespace

// Proof of the error bound. In units of 2^-kQuadBits the integer sum is exact for its own weights:
// weights of size W in all, below 1.9, add up to at most 255 W 2^22 + 500 x 255 / 2 < 2^31 in size
// with the bias, and the sums of the parts may wrap, as their total doesn't. A weight is below 1.9
// x 2^22 < 127 x 65536, so its high part is a signed byte like the others.
//
// Deviation is computed from the weights as they were rounded: samples of 0 to 255 move the integer
// sum by m_dLeast to m_dMost from the sum of the weights in double. Its own rounding, and that of
// weights of one pixel that were added up, is below 10^-6 units. The sum of doubles with
// kFilterDust lies above the true one by kFilterDust - n 2^-44 to kFilterDust + n 2^-44, for n
// entries: by more than 0 and less than 0.001 units.
//
// So the integer sum minus m_dLeast, rounded up, and raised by 1, is at least the sum of doubles
// with kFilterDust; and that less the span, rounded up and raised by 3, is below it. Where both
// have the same integer part, so has the sum of doubles.
//
// Where the sum of doubles counts as a multiple of 1 / D (see fnDenominator), kFilterDust included
// it is truncated like that multiple. A sum that is raised by half of 1 / D, and centred, stays
// less than 1 / D above the multiple, and has the same integer part.
bool fnSetQuadWeights(const ContribList& list, std::int32_t alignment, QuadList& quads,
                      QuadWeights* weights) {
    if (list.m_nCount > static_cast<std::int32_t>(kMaxQuadEntries) ||
        !(fnWeightSize(list) < kMaxWeight))
        return false;
    const PixelWeights pixels(list);
    quads.m_pExact = &list;
    quads.m_nLeast = pixels.m_nLeast;
    quads.m_nMost = pixels.m_nLeast + pixels.m_nCount - 1;
    quads.m_nFlatMax = -1;
    fnSetWeights(pixels, alignment, quads, weights);
    assert(quads.m_nQuads > 0 && static_cast<std::uint32_t>(quads.m_nQuads) <=
                                     fnFindMaxQuads(static_cast<std::uint32_t>(list.m_nCount)));
    const Deviation off(pixels);
    const double denominator = fnDenominator(list);
    if (denominator != 0.0 && off.fnGetSpan() / 2.0 + 2.0 < 0.49 * kOne / denominator) {
        const double center = (off.m_dLeast + off.m_dMost) / 2.0;
        quads.m_nBias = static_cast<std::int32_t>(0.5 * kOne / denominator - center);
        quads.m_nErrorBound = 0;
        return true;
    }
    quads.m_nBias = static_cast<std::int32_t>(std::ceil(-off.m_dLeast)) + 1;
    quads.m_nErrorBound = static_cast<std::uint32_t>(std::ceil(off.fnGetSpan())) + 3;
    quads.m_nFlatMax = fnFindFlatMax(list);
    return true;
}

QuadTable::QuadTable(const ContribTable& table, std::uint32_t count, std::int32_t alignment) {
    if (table.fnGetCapacity() > kMaxQuadEntries)
        return;
    const std::size_t quads = fnFindMaxQuads(table.fnGetCapacity());
    m_pLists.reset(fnNewArray<QuadList>(count));
    m_pWeights.reset(fnNewArray<QuadWeights>(count * quads));
    m_bComplete = true;
    for (std::uint32_t i = 0; i < count && m_bComplete; ++i)
        m_bComplete =
            fnSetQuadWeights(table[i], alignment, m_pLists[i], m_pWeights.get() + i * quads);
}

std::unique_ptr<QuadTable> fnMakeQuads(const ContribTable& table, std::uint32_t count,
                                       std::int32_t alignment) {
    if (!fnKernels().m_bPrefersQuads)
        return nullptr;
    std::unique_ptr<QuadTable> quads(fnNew<QuadTable>(table, count, alignment));
    return quads->fnIsComplete() ? std::move(quads) : nullptr;
}

} // namespace q32
