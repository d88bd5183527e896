/// @file
/// Conversion between RGB and HSB (hue, saturation, brightness) in integers.
#pragma once

#include "q32Base/kernels/Rgb8_p.h"

#include <algorithm>
#include <cstdint>

namespace q32 {

/// The hue of black, white and every grey.
inline constexpr int kUndefinedHue = 32767;

struct Hsb {
    int m_nHue;        ///< degrees, 0 to 360 inclusive, or kUndefinedHue
    int m_nSaturation; ///< 0 to 255
    int m_nBrightness; ///< 0 to 255: the largest channel
};

constexpr Hsb fnRgbToHsb(Rgb8 color) {
    enum Channel { RED, GREEN, BLUE };
    struct Ranked {
        int m_nValue;
        Channel m_eChannel;
    };
    Ranked low{color.m_nRed, RED};
    Ranked high{color.m_nBlue, BLUE};
    if (color.m_nRed > color.m_nBlue)
        std::swap(low, high);
    Ranked middle{color.m_nGreen, GREEN};
    if (middle.m_nValue < low.m_nValue)
        std::swap(middle, low);
    else if (middle.m_nValue > high.m_nValue)
        std::swap(middle, high);

    const int delta = high.m_nValue - low.m_nValue;
    if (delta == 0)
        return {kUndefinedHue, 0, high.m_nValue};
    const int saturation = ((high.m_nValue >> 1) + delta * 255) / high.m_nValue;
    const int half = delta >> 1;
    const int rising = (half + (middle.m_nValue - low.m_nValue) * 60) / delta;
    const int falling = (half + (high.m_nValue - middle.m_nValue) * 60) / delta;
    int hue = 0;
    if (high.m_eChannel == RED)
        hue = middle.m_eChannel == GREEN ? rising : falling + 300;
    else if (high.m_eChannel == GREEN)
        hue = middle.m_eChannel == RED ? falling + 60 : rising + 120;
    else
        hue = middle.m_eChannel == GREEN ? falling + 180 : rising + 240;
    return {hue, saturation, high.m_nValue};
}

/// The inverse. Any values are accepted: 360 degrees are added to or subtracted from the hue at
/// most once, sums wrap at 32 bits, and results are truncated to their low eight bits. The
/// undefined hue gives the grey of that brightness.
constexpr Rgb8 fnHsbToRgb(int hue, int saturation, int brightness) {
    const auto make = [](int red, int green, int blue) {
        return Rgb8{static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green),
                    static_cast<std::uint8_t>(blue)};
    };
    if (hue == kUndefinedHue)
        return make(brightness, brightness, brightness);
    if (hue > 360)
        hue -= 360;
    else if (hue < 0)
        hue += 360;
    const auto wrapped = [](std::int64_t v) { return static_cast<std::int32_t>(v); };
    const int chroma = wrapped(wrapped(std::int64_t{saturation} * brightness) + 127LL) / 255;
    const int low = wrapped(std::int64_t{brightness} - chroma);
    const int step = wrapped(wrapped(std::int64_t{hue % 60} * chroma) + 30LL) / 60;
    const int rise = wrapped(std::int64_t{low} + step);
    const int fall = wrapped(std::int64_t{brightness} - step);
    switch (hue / 60) {
    case 1:
        return make(fall, brightness, low);
    case 2:
        return make(low, brightness, rise);
    case 3:
        return make(low, fall, brightness);
    case 4:
        return make(rise, low, brightness);
    case 5:
        return make(brightness, low, fall);
    default: // 0, 360, and hues that are still out of range
        return make(brightness, rise, low);
    }
}

} // namespace q32
