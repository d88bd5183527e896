#include "q32Base/kernels/Hsb_p.h"
#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/Rgb565_p.h"

#include <algorithm>

namespace q32 {
namespace {

std::int32_t fnAddHue(std::int32_t hue, std::int32_t by) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(hue) +
                                     static_cast<std::uint32_t>(by));
}

// Bytes 0, 1 and 2 are brightness, middle and low, as in HueShift::m_nSectors.
constexpr std::int32_t fnTakeFrom(int red, int green, int blue, bool falling) {
    return red | green << 8 | blue << 16 | (falling ? 0x40 : 0);
}

constexpr std::int32_t kGrey = 0;
constexpr std::int32_t kSectors[6] = {fnTakeFrom(0, 1, 2, false), fnTakeFrom(1, 0, 2, true),
                                      fnTakeFrom(2, 0, 1, false), fnTakeFrom(2, 1, 0, true),
                                      fnTakeFrom(1, 2, 0, false), fnTakeFrom(0, 2, 1, true)};

std::int32_t fnDescribe(std::int32_t hue) {
    if (hue == kUndefinedHue)
        return kGrey;
    if (hue > 360)
        hue -= 360;
    else if (hue < 0)
        hue += 360;
    const int sector = hue / 60;
    const auto rest = static_cast<std::uint32_t>(hue % 60);
    return kSectors[sector >= 1 && sector <= 5 ? sector : 0] |
           static_cast<std::int32_t>(rest << 24);
}

Rgb8 fnShift(Rgb8 color, const HueShift& shift) {
    Hsb hsb = fnRgbToHsb(color);
    if (hsb.m_nHue != kUndefinedHue) {
        hsb.m_nHue = fnAddHue(hsb.m_nHue, shift.m_nHue);
        hsb.m_nSaturation = std::clamp(hsb.m_nSaturation + shift.m_nSaturation, 0, 255);
    }
    return fnHsbToRgb(hsb.m_nHue, hsb.m_nSaturation, hsb.m_nBrightness);
}

} // namespace

// Shifts beyond 255 have the same effect as 255.
HueShift::HueShift(std::int32_t hue, std::int32_t saturation)
    : m_nHue(hue), m_nSaturation(std::clamp(saturation, -255, 255)) {
    for (int from = 0; from < kHues; ++from)
        m_nSectors[from] = fnDescribe(fnAddHue(from, m_nHue));
}

namespace scalar {

void fnHueShift16(std::uint8_t* pixels, std::size_t count, const HueShift& shift) {
    for (; count != 0; --count, pixels += 2) {
        const Rgb8 color = fnShift(fnReadRgb565MixedGreen(pixels), shift);
        fnWriteRgb565LowFirst(pixels, color);
    }
}

void fnHueShift24(std::uint8_t* pixels, std::size_t count, const HueShift& shift) {
    for (; count != 0; --count, pixels += 3) {
        const Rgb8 color = fnShift({pixels[0], pixels[1], pixels[2]}, shift);
        pixels[0] = color.m_nRed;
        pixels[1] = color.m_nGreen;
        pixels[2] = color.m_nBlue;
    }
}

void fnHueShift32(std::uint8_t* pixels, std::size_t count, const HueShift& shift) {
    for (; count != 0; --count, pixels += 4) {
        const Rgb8 color = fnShift({pixels[1], pixels[2], pixels[3]}, shift);
        pixels[1] = color.m_nRed;
        pixels[2] = color.m_nGreen;
        pixels[3] = color.m_nBlue;
    }
}

} // namespace scalar

void fnUseScalarHueShift(Kernels& table) {
    table.fnHueShift16 = scalar::fnHueShift16;
    table.fnHueShift24 = scalar::fnHueShift24;
    table.fnHueShift32 = scalar::fnHueShift32;
}

} // namespace q32
