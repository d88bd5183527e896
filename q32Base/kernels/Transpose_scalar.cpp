#include "q32Base/kernels/KernelParts_p.h"

#include <cstring>

namespace q32 {
namespace scalar {

template <std::size_t kBytes>
void fnTranspose(const std::uint8_t* source, std::ptrdiff_t sourceStride, std::uint8_t* target,
                 std::ptrdiff_t targetStride, std::size_t width, std::size_t height) {
    for (std::size_t i = 0; i < width; ++i, source += kBytes, target += targetStride) {
        const std::uint8_t* from = source;
        for (std::size_t j = 0; j < height; ++j, from += sourceStride)
            std::memcpy(target + j * kBytes, from, kBytes);
    }
}

template void fnTranspose<1>(const std::uint8_t*, std::ptrdiff_t, std::uint8_t*, std::ptrdiff_t,
                             std::size_t, std::size_t);
template void fnTranspose<2>(const std::uint8_t*, std::ptrdiff_t, std::uint8_t*, std::ptrdiff_t,
                             std::size_t, std::size_t);
template void fnTranspose<3>(const std::uint8_t*, std::ptrdiff_t, std::uint8_t*, std::ptrdiff_t,
                             std::size_t, std::size_t);
template void fnTranspose<4>(const std::uint8_t*, std::ptrdiff_t, std::uint8_t*, std::ptrdiff_t,
                             std::size_t, std::size_t);

} // namespace scalar

void fnUseScalarTranspose(Kernels& table) {
    table.fnTranspose[0] = scalar::fnTranspose<1>;
    table.fnTranspose[1] = scalar::fnTranspose<2>;
    table.fnTranspose[2] = scalar::fnTranspose<3>;
    table.fnTranspose[3] = scalar::fnTranspose<4>;
}

} // namespace q32
