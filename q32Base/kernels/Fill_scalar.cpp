#include "q32Base/kernels/KernelParts_p.h"

#include <cstring>

namespace q32 {
namespace {

void fnFill8(std::uint8_t* target, std::size_t count, const std::uint8_t* pixel) {
    if (count != 0)
        std::memset(target, *pixel, count);
}

template <std::size_t Bytes>
void fnFill(std::uint8_t* target, std::size_t count, const std::uint8_t* pixel) {
    for (; count != 0; --count, target += Bytes)
        std::memcpy(target, pixel, Bytes);
}

void fnCopyRows(const std::uint8_t* source, std::size_t sourceStride, std::uint8_t* target,
                std::size_t targetStride, std::size_t count, std::size_t rows) {
    if (count == 0)
        return;
    for (; rows != 0; --rows, source += sourceStride, target += targetStride)
        std::memcpy(target, source, count);
}

} // namespace

void fnUseScalarFill(Kernels& table) {
    table.fnFill[0] = fnFill8;
    table.fnFill[1] = fnFill<2>;
    table.fnFill[2] = fnFill<3>;
    table.fnFill[3] = fnFill<4>;
    table.fnCopyRows = fnCopyRows;
}

} // namespace q32
