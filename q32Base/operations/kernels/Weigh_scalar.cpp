#include "q32Base/operations/kernels/Weigh.h"

namespace q32 {
namespace scalar {
namespace {

/// A sum truncated and brought into a byte. Not-a-number gives 0.
std::uint8_t fnStoredByte(double sum) {
    sum += kFilterDust;
    return sum > 0.0 ? sum < 255.0 ? static_cast<std::uint8_t>(sum) : 255 : 0;
}

} // namespace

void fnWeighRows(const std::uint8_t* const* rows, const ContribList& list, std::uint8_t* target,
                 std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        double sum = 0.0;
        for (std::int32_t k = 0; k < list.count; ++k)
            sum += rows[k][i] * list.entries[k].weight;
        target[i] = fnStoredByte(sum);
    }
}

void fnWeighLanes(const std::uint8_t* base, std::int32_t first, std::size_t stride,
                  const ContribList& list, std::uint8_t* target) {
    double sums[kFilterLanes] = {};
    for (std::int32_t k = 0; k < list.count; ++k) {
        const std::uint8_t* from =
            base + static_cast<std::size_t>(list.entries[k].pixel - first) * stride;
        for (std::size_t i = 0; i < kFilterLanes; ++i)
            sums[i] += from[i] * list.entries[k].weight;
    }
    for (std::size_t i = 0; i < kFilterLanes; ++i)
        target[i] = fnStoredByte(sums[i]);
}

void fnBytesToLanes(const std::uint8_t* const* rows, std::uint8_t* target, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t row = 0; row < kFilterLanes; ++row)
            target[i * kFilterLanes + row] = rows[row][i];
}

void fnLanesToBytes(const std::uint8_t* source, std::uint8_t* const* rows, std::size_t count) {
    for (std::size_t row = 0; row < kFilterLanes; ++row)
        for (std::size_t i = 0; i < count; ++i)
            rows[row][i] = source[i * kFilterLanes + row];
}

} // namespace scalar

void fnUseScalarWeigh(CqKernels& table) {
    table.fnWeighRows = scalar::fnWeighRows;
    table.fnWeighLanes = scalar::fnWeighLanes;
    table.fnBytesToLanes = scalar::fnBytesToLanes;
    table.fnLanesToBytes = scalar::fnLanesToBytes;
}

} // namespace q32
