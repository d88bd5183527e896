#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace scalar {

void fnMaskAdd(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* target,
               std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const int sum = static_cast<std::int8_t>(first[i]) + static_cast<std::int8_t>(second[i]);
        const bool overflows = sum < -128 || sum > 127;
        target[i] = overflows ? 255 : static_cast<std::uint8_t>(sum);
    }
}

void fnMaskSubtract(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* target,
                    std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        target[i] = first[i] > second[i] ? static_cast<std::uint8_t>(first[i] - second[i])
                                         : std::uint8_t{0};
}

} // namespace scalar

void fnUseScalarMaskSum(Kernels& table) {
    table.fnMaskAdd = scalar::fnMaskAdd;
    table.fnMaskSubtract = scalar::fnMaskSubtract;
}

} // namespace q32
