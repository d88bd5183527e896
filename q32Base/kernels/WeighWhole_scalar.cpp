#include "q32Base/kernels/Weigh.h"
#include "q32Base/kernels/WeighWhole.h"

namespace q32 {
namespace scalar {

void fnWeighWholeRows(const std::uint8_t* const* rows, const ContribList& list,
                      std::uint8_t* target, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        double sum = 0.0;
        for (std::int32_t k = 0; k < list.count; ++k)
            sum += rows[k][i] * list.entries[k].weight;
        target[i] = fnStoredByte(sum);
    }
}

namespace {

void fnWeighWholeLanes(const std::uint8_t* lanes, std::int32_t first, const ContribList& list,
                       std::uint8_t* target, std::size_t channels) {
    const std::size_t stride = channels * kFilterLanes;
    for (std::size_t i = 0; i < stride; ++i) {
        double sum = 0.0;
        for (std::int32_t k = 0; k < list.count; ++k) {
            const auto pixel = static_cast<std::size_t>(list.entries[k].pixel - first);
            sum += lanes[pixel * stride + i] * list.entries[k].weight;
        }
        target[i] = fnStoredByte(sum);
    }
}

} // namespace
} // namespace scalar

void fnUseScalarWeighWhole(CqKernels& table) {
    table.fnWeighWholeRows = scalar::fnWeighWholeRows;
    table.fnWeighWholeLanes = scalar::fnWeighWholeLanes;
}

} // namespace q32
