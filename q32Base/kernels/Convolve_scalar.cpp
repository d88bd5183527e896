#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {

std::uint8_t fnStoredByte(double sum) {
    sum += kFilterDust;
    return sum > 0.0 ? sum < 255.0 ? static_cast<std::uint8_t>(sum) : 255 : 0;
}

namespace scalar {

namespace {

void fnConvolveRows(const float* const* rows, const ContribList& list, std::uint8_t* target,
                    std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        double sum = 0.0;
        for (std::int32_t k = 0; k < list.m_nCount; ++k)
            sum += rows[k][i] * list.m_pEntries[k].m_dWeight;
        target[i] = fnStoredByte(sum);
    }
}

void fnConvolveLanes(const FloatLanes& lanes, const ContribList& list, std::uint8_t* target,
                     std::size_t channels) {
    const std::size_t stride = channels * kFilterLanes;
    for (std::size_t i = 0; i < stride; ++i) {
        double sum = 0.0;
        for (std::int32_t k = 0; k < list.m_nCount; ++k) {
            const auto pixel =
                static_cast<std::size_t>(list.m_pEntries[k].m_nPixel - lanes.m_nFirst);
            sum += lanes.m_pSamples[pixel * stride + i] * list.m_pEntries[k].m_dWeight;
        }
        target[i] = fnStoredByte(sum);
    }
}

} // namespace

void fnBytesToFloats(const std::uint8_t* source, float* target, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        target[i] = source[i];
}

void fnRowsToLanes(const std::uint8_t* const* rows, std::uint8_t* target, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t row = 0; row < kFilterLanes; ++row)
            target[i * kFilterLanes + row] = rows[row][i];
}

void fnReadLanes(const std::uint8_t* lanes, float* samples, std::uint8_t* runs, std::size_t pixels,
                 std::size_t channels) {
    const std::size_t stride = channels * kFilterLanes;
    fnBytesToFloats(lanes, samples, pixels * stride);
    for (std::size_t i = 0; i < pixels * stride; ++i) {
        const bool goesOn = i >= stride && lanes[i] == lanes[i - stride];
        const unsigned before = goesOn ? runs[i - stride] + 1U : 0U;
        runs[i] = static_cast<std::uint8_t>(before < 255 ? before : 255);
    }
}

void fnLanesToRows(const std::uint8_t* source, std::uint8_t* const* rows, std::size_t count) {
    for (std::size_t row = 0; row < kFilterLanes; ++row)
        for (std::size_t i = 0; i < count; ++i)
            rows[row][i] = source[i * kFilterLanes + row];
}

} // namespace scalar

void fnUseScalarConvolve(Kernels& table) {
    table.fnConvolveRows = scalar::fnConvolveRows;
    table.fnConvolveLanes = scalar::fnConvolveLanes;
    table.fnBytesToFloats = scalar::fnBytesToFloats;
    table.fnRowsToLanes = scalar::fnRowsToLanes;
    table.fnReadLanes = scalar::fnReadLanes;
    table.fnLanesToRows = scalar::fnLanesToRows;
}

} // namespace q32
