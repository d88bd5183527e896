#include "examples/darkroom/model/Tones.h"

#include <algorithm>
#include <cmath>

namespace darkroom {

namespace {

constexpr double kTop = 255;

/// The same curve for all channels.
/// @param map  from 0 to 1 to the same
template <typename Map>
CqToneCurves fnMakeCurves(const Map& map) {
    CqToneCurves curves;
    for (int i = 0; i < 256; ++i) {
        const double value = std::clamp(map(i / kTop), 0.0, 1.0);
        curves.m_Red[i] = curves.m_Green[i] = curves.m_Blue[i] =
            static_cast<unsigned char>(std::lround(value * kTop));
    }
    return curves;
}

} // namespace

CqToneCurves fnMakeLevels(std::span<const int> values) {
    const double black = values[0] / kTop;
    const double white = std::max(values[2], values[0] + 1) / kTop;
    const double exponent = 100.0 / values[1];
    const double low = values[3] / kTop;
    const double high = values[4] / kTop;
    return fnMakeCurves([=](double value) {
        const double at = std::clamp((value - black) / (white - black), 0.0, 1.0);
        return low + (high - low) * std::pow(at, exponent);
    });
}

CqToneCurves fnMakeToneCurve(std::span<const int> values) {
    // Each part is a bump of height 1; at this height the curve still rises everywhere.
    constexpr double kHeight = 0.2 / 100;
    return fnMakeCurves([&](double t) {
        const double shadows = 6.75 * t * (1 - t) * (1 - t);
        const double middle = 16 * t * t * (1 - t) * (1 - t);
        const double highlights = 6.75 * t * t * (1 - t);
        return t + kHeight * (values[0] * shadows + values[1] * middle + values[2] * highlights);
    });
}

} // namespace darkroom
