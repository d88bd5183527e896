#include "q32Base/image/CqColor.h"

#include "q32Base/framework/CArchive.h"

#include <algorithm>
#include <cmath>

namespace {

/// What one television standard allows, and how it forms its signal.
struct VideoLimits {
    double m_dGamma;
    double m_dChroma;
    double m_dComposite;
    double m_dLuma[3];
    double m_dChroma1[3];
    double m_dChroma2[3];
};

constexpr VideoLimits kNtsc = {2.2,
                               0.5405405405405406,
                               1.1081081081081081,
                               {0.2989, 0.5866, 0.1144},
                               {0.5959, -0.2741, -0.3218},
                               {0.2113, -0.5227, 0.3113}};
constexpr VideoLimits kPal = {2.8,
                              0.5,
                              1.1,
                              {0.2989, 0.5866, 0.1144},
                              {-0.1473, -0.2891, 0.4364},
                              {0.6149, -0.5145, -0.1004}};

double fnWeigh(const double (&weights)[3], double r, double g, double b) {
    return weights[0] * r + weights[1] * g + weights[2] * b;
}

/// Whether a value reaches a limit by more than the tolerance.
bool fnExceeds(double value, double limit) {
    return value >= limit && value - limit >= 1e-10;
}

unsigned char fnScale(unsigned char channel, double factor) {
    const double scaled = channel * factor;
    if (!(scaled > 0.0)) // not-a-number, which 0 times infinity is, counts as 0 too
        return 0;
    return scaled >= 255.0 ? 255 : static_cast<unsigned char>(scaled);
}

enum CHANNEL { RED, GREEN, BLUE };

struct RankedChannel {
    int m_nValue;
    CHANNEL m_eChannel;
};

} // namespace

CqColor CqColor::operator*(double factor) {
    CqColor scaled(*this);
    scaled *= factor;
    return scaled;
}

void CqColor::operator*=(double factor) {
    m_Red = fnScale(m_Red, factor);
    m_Green = fnScale(m_Green, factor);
    m_Blue = fnScale(m_Blue, factor);
}

void CqColor::fnConvertToHSB(int& hue, int& saturation, int& brightness) const {
    RankedChannel low{m_Red, RED};
    RankedChannel high{m_Blue, BLUE};
    if (m_Red > m_Blue)
        std::swap(low, high);
    RankedChannel middle{m_Green, GREEN};
    if (middle.m_nValue < low.m_nValue)
        std::swap(middle, low);
    else if (middle.m_nValue > high.m_nValue)
        std::swap(middle, high);

    const int delta = high.m_nValue - low.m_nValue;
    brightness = high.m_nValue;
    saturation = 0;
    hue = HSB_UNDEFINED_HUE;
    if (delta == 0)
        return;
    saturation = ((high.m_nValue >> 1) + delta * 255) / high.m_nValue;
    const int half = delta >> 1;
    const int rising = (half + (middle.m_nValue - low.m_nValue) * 60) / delta;
    const int falling = (half + (high.m_nValue - middle.m_nValue) * 60) / delta;
    if (high.m_eChannel == RED)
        hue = middle.m_eChannel == GREEN ? rising : falling + 300;
    else if (high.m_eChannel == GREEN)
        hue = middle.m_eChannel == RED ? falling + 60 : rising + 120;
    else
        hue = middle.m_eChannel == GREEN ? falling + 180 : rising + 240;
}

void CqColor::fnAssignFromHSB(int hue, int saturation, int brightness) {
    const auto set = [this](int red, int green, int blue) {
        fnSet(static_cast<BYTE>(red), static_cast<BYTE>(green), static_cast<BYTE>(blue), m_Alpha);
    };
    if (hue == HSB_UNDEFINED_HUE)
        return set(brightness, brightness, brightness);
    if (hue > 360)
        hue -= 360;
    else if (hue < 0)
        hue += 360;
    // In 32 bits that wrap: values far out of range are cut to bytes in the end.
    const auto wrapped = [](std::int64_t v) { return static_cast<std::int32_t>(v); };
    const int chroma =
        wrapped(wrapped(static_cast<std::int64_t>(saturation) * brightness) + 127LL) / 255;
    const int low = wrapped(static_cast<std::int64_t>(brightness) - chroma);
    const int step = wrapped(wrapped(static_cast<std::int64_t>(hue % 60) * chroma) + 30LL) / 60;
    const int rise = wrapped(static_cast<std::int64_t>(low) + step);
    const int fall = wrapped(static_cast<std::int64_t>(brightness) - step);
    switch (hue / 60) {
    case 1:
        return set(fall, brightness, low);
    case 2:
        return set(low, brightness, rise);
    case 3:
        return set(low, fall, brightness);
    case 4:
        return set(rise, low, brightness);
    case 5:
        return set(brightness, low, fall);
    default: // 0, the full circle, and all that could not be brought into it
        return set(brightness, rise, low);
    }
}

bool CqColor::fnEnsureVideoSafe(VIDEO_TYPE type) {
    const VideoLimits& limits = type == VIDEO_NTSC ? kNtsc : kPal;
    const double r = m_Red * 0.00392156862745098;
    const double g = m_Green * 0.00392156862745098;
    const double b = m_Blue * 0.00392156862745098;
    const double encode = 1.0 / limits.m_dGamma;
    const double er = std::pow(r, encode);
    const double eg = std::pow(g, encode);
    const double eb = std::pow(b, encode);
    const double luma = fnWeigh(limits.m_dLuma, er, eg, eb);
    const double chroma1 = fnWeigh(limits.m_dChroma1, er, eg, eb);
    const double chroma2 = fnWeigh(limits.m_dChroma2, er, eg, eb);
    const double squared = chroma1 * chroma1 + chroma2 * chroma2;
    const double room = limits.m_dComposite - luma;
    if (!fnExceeds(squared, limits.m_dChroma * limits.m_dChroma) &&
        !fnExceeds(squared, room * room))
        return true;
    const double chroma = std::sqrt(squared);
    const double factor =
        std::min(limits.m_dChroma / chroma, limits.m_dComposite / (chroma + luma));
    const double scale = std::pow(factor, limits.m_dGamma);
    m_Red = static_cast<unsigned char>(scale * r * 255.0);
    m_Green = static_cast<unsigned char>(scale * g * 255.0);
    m_Blue = static_cast<unsigned char>(scale * b * 255.0);
    return false;
}

void CqColor::fnSerialize(CArchive& archive) {
    if (archive.IsLoading())
        archive >> m_Alpha >> m_Red >> m_Green >> m_Blue;
    else
        archive << m_Alpha << m_Red << m_Green << m_Blue;
}
