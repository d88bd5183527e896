#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace scalar {

void fnConvolveRowsFixed(const std::uint8_t* const* rows, const ContribList& list,
                         std::uint8_t* target, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        double sum = 0.0;
        for (std::int32_t k = 0; k < list.m_nCount; ++k)
            sum += rows[k][i] * list.m_pEntries[k].m_dWeight;
        target[i] = fnStoredByte(sum);
    }
}

namespace {

void fnConvolveLanesFixed(const std::uint8_t* lanes, std::int32_t first, const ContribList& list,
                          std::uint8_t* target, std::size_t channels) {
    const std::size_t stride = channels * kFilterLanes;
    for (std::size_t i = 0; i < stride; ++i) {
        double sum = 0.0;
        for (std::int32_t k = 0; k < list.m_nCount; ++k) {
            const auto pixel = static_cast<std::size_t>(list.m_pEntries[k].m_nPixel - first);
            sum += lanes[pixel * stride + i] * list.m_pEntries[k].m_dWeight;
        }
        target[i] = fnStoredByte(sum);
    }
}

} // namespace
} // namespace scalar

void fnUseScalarConvolveFixed(Kernels& table) {
    table.fnConvolveRowsFixed = scalar::fnConvolveRowsFixed;
    table.fnConvolveLanesFixed = scalar::fnConvolveLanesFixed;
}

} // namespace q32
