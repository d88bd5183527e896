#include "q32Base/framework/Values.h"
#include "q32Base/operations/ToneCurves_p.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace q32 {
namespace {

constexpr double kUnit = 0.00392156862745098; ///< 1 / 255

// Converts percent to a scale of 128, limited to 127, so that the slope is never horizontal or
// vertical and no divisor below becomes 0.
int fnScalePercent(std::int32_t percent) {
    return std::clamp<std::int32_t>(fnWrapMultiply(percent, 128) / 100, -127, 127);
}

// Truncates a number to an integer and that to its low byte; numbers beyond 32 bits become 0.
std::uint8_t fnCutToByte(double value) {
    const bool fits = value > -2147483649.0 && value < 2147483648.0;
    return static_cast<std::uint8_t>(fits ? static_cast<std::int32_t>(value) : 0);
}

void fnMakeGammaCurve(double gamma, std::uint8_t* curve) {
    for (int i = 0; i < 256; ++i)
        curve[i] = fnCutToByte(std::pow(i * kUnit, gamma) * 255.0);
}

// Compresses 256 entries between two end points, in integer steps that are spread evenly: 0 below
// `low`, 255 above `high`.
void fnSqueeze(const std::uint8_t* source, int low, int high, std::uint8_t* curve) {
    assert(low >= 0 && low <= high && high <= 255);
    const int span = high - low;
    const int step = span == 0 ? 0 : 255 / span;
    const int rest = span == 0 ? 0 : 255 % span;
    std::fill_n(curve, low, std::uint8_t{0});
    int index = 0;
    int error = span / 2;
    for (int i = low; i <= high; ++i) {
        assert(index < 256);
        curve[i] = source[index];
        index += step;
        error += rest;
        if (error > span) {
            error -= span;
            ++index;
        }
    }
    std::fill_n(curve + high + 1, 255 - high, std::uint8_t{255});
}

} // namespace

void fnMakeContrastCurve(std::int32_t brightness, std::int32_t contrast, std::uint8_t* curve) {
    const int b = fnScalePercent(brightness);
    const int c = fnScalePercent(contrast);
    const int d = 255 - 2 * c; // 1 to 509
    int lowIn = 0;
    int lowOut = 0;
    int highIn = 255;
    int highOut = 255;
    if (c >= 0) {
        lowIn = c - b;
        highIn = 255 - b - c;
        if (lowIn < 0) {
            lowOut = ((d >> 1) - lowIn * 255) / d;
            lowIn = 0;
        }
        if (highIn > 255) {
            highOut = 255 - ((highIn - 255) * 255 + (d >> 1)) / d;
            highIn = 255;
        }
    } else {
        lowOut = b - c;
        highOut = 255 + b + c;
        if (lowOut < 0) {
            lowIn = ((d >> 1) - lowOut * 255) / d;
            lowOut = 0;
        }
        if (highOut > 255) {
            highIn = 255 - ((highOut - 255) * 255 + (d >> 1)) / d;
            highOut = 255;
        }
    }
    const int rise = highOut - lowOut;
    for (int i = 0; i < 256; ++i) {
        const int value = i < lowIn    ? lowOut
                          : i > highIn ? highOut
                                       : lowOut + (rise * i - rise * lowIn) / (highIn - lowIn);
        curve[i] = static_cast<std::uint8_t>(value);
    }
}

void fnMakeBalanceCurve(std::int32_t weight, std::uint8_t* curve) {
    constexpr int kNeutral = 100;
    const int level = fnWrapMultiply(fnWrapAdd(fnWrapMultiply(weight, 5), 640), 40) / 255;
    if (level == kNeutral) {
        for (int i = 0; i < 256; ++i)
            curve[i] = static_cast<std::uint8_t>(i);
        return;
    }
    const int code = static_cast<std::uint8_t>(99 - level);
    const int low = level <= kNeutral ? code : 0;
    const int high = level <= kNeutral ? 255 : code;
    const int middle = (kNeutral - level) * 60 / 100 + 127;
    // Far outside -100 to 100 this is not a number or infinite, which makes a flat curve.
    const double gamma = std::log(0.5) / std::log(middle * kUnit);
    std::uint8_t bend[256];
    fnMakeGammaCurve(gamma, bend);
    fnSqueeze(bend, low, high, curve);
}

} // namespace q32
