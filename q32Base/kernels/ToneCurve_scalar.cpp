#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace scalar {

void fnCurve8(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    for (std::size_t i = 0; i < count; ++i)
        pixels[i] = curve[pixels[i]];
}

void fnCurve24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    fnCurve8(pixels, 3 * count, curve);
}

void fnCurve32(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve) {
    for (; count != 0; --count, pixels += 4) {
        pixels[0] = curve[pixels[0]];
        pixels[1] = curve[pixels[1]];
        pixels[2] = curve[pixels[2]];
    }
}

} // namespace scalar

void fnUseScalarToneCurve(Kernels& table) {
    table.fnCurve8 = scalar::fnCurve8;
    table.fnCurve24 = scalar::fnCurve24;
    table.fnCurve32 = scalar::fnCurve32;
}

} // namespace q32
