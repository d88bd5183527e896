#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/LineSums_p.h"
#include "q32Base/kernels/QuadList_p.h"

namespace q32 {
namespace scalar {
namespace {

/// The byte of the sum of doubles. `at(pixel)` is a sample.
template <class At>
std::uint8_t fnExactByte(const ContribList& list, At at) {
    double sum = 0.0;
    for (std::int32_t k = 0; k < list.m_nCount; ++k)
        sum += at(list.m_pEntries[k].m_nPixel) * list.m_pEntries[k].m_dWeight;
    return fnStoredByte(sum);
}

} // namespace

std::uint8_t fnExactOfRows(const std::uint8_t* const* rows, const QuadList& list, std::size_t at) {
    return fnExactByte(*list.m_pExact,
                       [&](std::int32_t pixel) { return rows[pixel - list.m_nLeast][at]; });
}

std::uint8_t fnExactOfQuads(const std::uint8_t* quads, std::size_t stride, std::int32_t first,
                            const QuadList& list) {
    return fnExactByte(*list.m_pExact, [&](std::int32_t pixel) {
        const auto place = static_cast<std::size_t>(pixel - first);
        return quads[place / 4 * stride + place % 4];
    });
}

std::uint8_t fnExactOfLine(const std::uint8_t* samples, std::size_t origin, const LineSums& sums,
                           std::size_t at) {
    const std::size_t channel = at % sums.m_nChannels;
    return fnExactByte(*sums.m_pLists[at / sums.m_nChannels].m_pExact, [&](std::int32_t pixel) {
        return samples[static_cast<std::size_t>(pixel) * sums.m_nChannels + channel - origin];
    });
}

namespace {

void fnConvolveLines(const LineRows& rows, const LineSums& sums, std::size_t first,
                     std::size_t count) {
    for (std::size_t row = 0; row < rows.m_nRows; ++row)
        for (std::size_t i = 0; i < count; ++i)
            rows.m_pTarget[row * rows.m_nTargetStride + i] = fnExactOfLine(
                rows.m_pSamples + row * rows.m_nStride, rows.m_nOrigin, sums, first + i);
}

void fnConvolveQuadRows(const std::uint8_t* const* rows, const QuadList& list, std::uint8_t* target,
                        std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        target[i] = fnExactOfRows(rows, list, i);
}

void fnConvolveQuads(const std::uint8_t* quads, std::int32_t first, const QuadList* lists,
                     std::size_t count, std::uint8_t* target, std::size_t channels) {
    const std::size_t lanes = channels * kFilterLanes;
    for (std::size_t i = 0; i < count; ++i, target += lanes)
        for (std::size_t lane = 0; lane < lanes; ++lane)
            target[lane] = fnExactOfQuads(quads + 4 * lane, 4 * lanes, first, lists[i]);
}

} // namespace
} // namespace scalar

void fnUseScalarConvolveLine(Kernels& table) {
    table.fnConvolveLines = scalar::fnConvolveLines;
}

void fnUseScalarConvolveQuads(Kernels& table) {
    table.m_bPrefersQuads = false;
    table.fnConvolveQuadRows = scalar::fnConvolveQuadRows;
    table.fnConvolveQuads = scalar::fnConvolveQuads;
}

} // namespace q32
