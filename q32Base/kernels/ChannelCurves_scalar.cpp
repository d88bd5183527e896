#include "q32Base/kernels/KernelParts.h"

namespace q32 {
namespace scalar {
namespace {

void fnChannelCurves565(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves) {
    for (; count != 0; --count, pixels += 2) {
        const unsigned value = static_cast<unsigned>(pixels[0]) << 8 | pixels[1];
        const unsigned red = curves[value >> 8 & 0xF8];
        const unsigned green = curves[256 + (value >> 3 & 0xFC)];
        const unsigned blue = curves[512 + (value << 3 & 0xF8)];
        const unsigned result = red >> 3 << 11 | green >> 2 << 5 | blue >> 3;
        pixels[0] = static_cast<std::uint8_t>(result >> 8);
        pixels[1] = static_cast<std::uint8_t>(result);
    }
}

} // namespace

void fnChannelCurves24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves) {
    for (; count != 0; --count, pixels += 3) {
        pixels[0] = curves[pixels[0]];
        pixels[1] = curves[256 + pixels[1]];
        pixels[2] = curves[512 + pixels[2]];
    }
}

void fnChannelCurves32(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves) {
    for (; count != 0; --count, pixels += 4) {
        pixels[1] = curves[pixels[1]];
        pixels[2] = curves[256 + pixels[2]];
        pixels[3] = curves[512 + pixels[3]];
    }
}

} // namespace scalar

void fnUseScalarChannelCurves(Kernels& table) {
    table.fnChannelCurves565 = scalar::fnChannelCurves565;
    table.fnChannelCurves24 = scalar::fnChannelCurves24;
    table.fnChannelCurves32 = scalar::fnChannelCurves32;
}

} // namespace q32
