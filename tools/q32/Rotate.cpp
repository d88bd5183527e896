#include "q32Base/image/CqImage.h"
#include "tools/q32/CommandLine.h"
#include "tools/q32/Commands.h"
#include "tools/q32/Pictures.h"
#include "tools/q32/Session.h"

#include <cmath>

namespace tool {

namespace {

constexpr unsigned char kOpaque = 255;
/// Closer to a right angle than this is meant to be one.
constexpr double kSameAngle = 1e-6;

/// Clockwise degrees from 0 to below 360, with right angles made exact.
double fnNormalise(double degrees) {
    double angle = std::fmod(std::fmod(degrees, 360.0) + 360.0, 360.0);
    const double right = std::round(angle / 90) * 90;
    if (std::fabs(angle - right) < kSameAngle)
        angle = right;
    return angle >= 360 ? 0 : angle;
}

} // namespace

/// The library rotates right angles clockwise and all others counter-clockwise.
void fnRotate(CqImage& image, const Words& words, Session& session) {
    const CqColor background = session.fnGetCommon().fnGetColor("background");
    const double angle = fnNormalise(words.fnGetNumber("ANGLE"));
    const bool right = std::fmod(angle, 90) == 0;
    if (angle == 0)
        return;
    if (!right && background.m_Alpha != kOpaque)
        fnConvertDepth(image, Depth::ARGB32, session);
    else if (!right || image.BitCount < 8)
        fnMakeTrueColor(image, session);
    session.fnGetProgress().fnBegin("rotate");
    image.fnRotate(right ? angle : 360 - angle, background, nullptr, !words.fnHas("nearest"),
                   &session.fnGetProgress());
}

} // namespace tool
