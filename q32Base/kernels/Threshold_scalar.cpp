#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace scalar {

void fnThreshold(std::uint8_t* pixels, std::size_t count, std::uint8_t level) {
    for (std::size_t i = 0; i < count; ++i)
        pixels[i] = pixels[i] < level ? 0 : 255;
}

} // namespace scalar

void fnUseScalarThreshold(Kernels& table) {
    table.fnThreshold = scalar::fnThreshold;
}

} // namespace q32
