#include "tools/q32/Resize.h"

#include "q32Base/image/CqImage.h"
#include "q32Base/kernels/Epsilon.h"
#include "tools/q32/CommandLine.h"
#include "tools/q32/Commands.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Session.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tool {

namespace {

constexpr double kMaxSide = 0x7FFFFFFF;

std::uint32_t fnRoundSide(double side) {
    return static_cast<std::uint32_t>(std::clamp(std::round(side), 1.0, kMaxSide));
}

/// The largest factor that gives a length exactly: the library rounds a size up unless it is within
/// its tolerance above an integer.
double fnFindFactor(std::uint32_t from, std::uint32_t to) {
    if (from == to)
        return 1;
    double factor = static_cast<double>(to) / from;
    while (factor * from - q32::kEpsilon >= to)
        factor = std::nextafter(factor, 0.0);
    return factor;
}

} // namespace

Extent fnFitSize(const Extent& picture, const SizeSpec& spec) {
    constexpr double kNone = std::numeric_limits<double>::infinity();
    const double x =
        spec.m_nWidth == 0 ? kNone : static_cast<double>(spec.m_nWidth) / picture.m_nWidth;
    const double y =
        spec.m_nHeight == 0 ? kNone : static_cast<double>(spec.m_nHeight) / picture.m_nHeight;
    const double factor = spec.m_fPercent > 0 ? spec.m_fPercent / 100 : std::min(x, y);
    Extent size{fnRoundSide(picture.m_nWidth * factor), fnRoundSide(picture.m_nHeight * factor)};
    if (x <= y && spec.m_nWidth != 0)
        size.m_nWidth = spec.m_nWidth;
    if (y <= x && spec.m_nHeight != 0)
        size.m_nHeight = spec.m_nHeight;
    return size;
}

void fnFilterSize(CqImage& image, const Extent& size, Session& session) {
    fnMakeTones(image, session);
    fnRequireRoom(size.m_nWidth, size.m_nHeight, image.BitCount);
    session.fnGetProgress().fnBegin("resize");
    // By its size, a picture with a palette isn't filtered, not even one of greys.
    if (image.BitCount == 8)
        image.fnResample(fnFindFactor(image.Width, size.m_nWidth),
                         fnFindFactor(image.Height, size.m_nHeight), &session.fnGetProgress());
    else
        image.fnResample(size.m_nWidth, size.m_nHeight, true, &session.fnGetProgress());
    session.fnGetProgress().fnRequire();
}

void fnResize(CqImage& image, const Words& words, Session& session) {
    const SizeSpec spec = words.fnGetSize("SIZE");
    Extent size = fnFitSize({image.Width, image.Height}, spec);
    if (words.fnHas("stretch") && spec.m_fPercent == 0)
        size = {spec.m_nWidth == 0 ? image.Width : spec.m_nWidth,
                spec.m_nHeight == 0 ? image.Height : spec.m_nHeight};
    if (!words.fnHas("nearest"))
        return fnFilterSize(image, size, session);
    fnRequireRoom(size.m_nWidth, size.m_nHeight, image.BitCount);
    image.fnResample(size.m_nWidth, size.m_nHeight, false, &session.fnGetProgress());
}

} // namespace tool
