#include "q32Base/image/CqColor.h"

#include "q32Base/framework/CArchive.h"
#include "q32Base/kernels/Epsilon.h"
#include "q32Base/kernels/Hsb_p.h"

#include <algorithm>
#include <cmath>

static_assert(HSB_UNDEFINED_HUE == q32::kUndefinedHue);

namespace {

/// The limits of one television standard and the coefficients of its signal.
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

double fnDot(const double (&weights)[3], double r, double g, double b) {
    return weights[0] * r + weights[1] * g + weights[2] * b;
}

/// Whether a value exceeds a limit by more than the tolerance.
bool fnExceeds(double value, double limit) {
    return value >= limit && value - limit >= q32::kEpsilon;
}

unsigned char fnScale(unsigned char channel, double factor) {
    const double scaled = channel * factor;
    if (!(scaled > 0.0)) // not-a-number, such as 0 times infinity, counts as 0 too
        return 0;
    return scaled >= 255.0 ? 255 : static_cast<unsigned char>(scaled);
}

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
    const q32::Hsb hsb = q32::fnRgbToHsb({m_Red, m_Green, m_Blue});
    hue = hsb.m_nHue;
    saturation = hsb.m_nSaturation;
    brightness = hsb.m_nBrightness;
}

void CqColor::fnAssignFromHSB(int hue, int saturation, int brightness) {
    const q32::Rgb8 rgb = q32::fnHsbToRgb(hue, saturation, brightness);
    fnSet(rgb.m_nRed, rgb.m_nGreen, rgb.m_nBlue, m_Alpha);
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
    const double luma = fnDot(limits.m_dLuma, er, eg, eb);
    const double chroma1 = fnDot(limits.m_dChroma1, er, eg, eb);
    const double chroma2 = fnDot(limits.m_dChroma2, er, eg, eb);
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
