#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/Rgb565_p.h"

namespace q32 {
namespace scalar {
namespace {

void fnChannelCurves565(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves) {
    for (; count != 0; --count, pixels += 2) {
        const Rgb8 color = fnReadRgb565(pixels);
        fnWriteRgb565(pixels, {curves[color.m_nRed], curves[256 + color.m_nGreen],
                               curves[512 + color.m_nBlue]});
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
