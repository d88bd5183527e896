#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"
#include "tools/q32/CommandLine.h"
#include "tools/q32/Commands.h"
#include "tools/q32/Pictures.h"
#include "tools/q32/Session.h"

#include <array>
#include <cmath>
#include <vector>

namespace tool {

namespace {

using Curve = std::array<unsigned char, 256>;

constexpr double kFull = 255;

/// Sends all bytes but alpha through a curve. 8-bit greys, 24 and 32 bits.
void fnApplyCurve(CqImage& image, const Curve& curve, Session& session) {
    const CqPixelReader reader(image, PIXEL_STORED);
    const CqPixelWriter writer(image, PIXEL_STORED);
    const std::size_t pixel = reader.fnGetPixelBytes();
    std::vector<unsigned char> row(image.Width * pixel);
    for (std::uint32_t y = 0; y < image.Height; ++y) {
        if (!reader.fnReadRow(0, y, image.Width, row.data()))
            AfxThrowMemoryException();
        for (std::size_t i = 0; i < row.size(); ++i)
            if (pixel != 4 || i % pixel != 0)
                row[i] = curve[row[i]];
        if (!writer.fnWriteRow(0, y, image.Width, row.data()))
            AfxThrowMemoryException();
        session.fnGetProgress().fnReport(y + 1, image.Height);
    }
}

Curve fnMakeGamma(double gamma) {
    Curve curve{};
    for (std::size_t i = 0; i < curve.size(); ++i)
        curve[i] = static_cast<unsigned char>(
            std::lround(std::pow(static_cast<double>(i) / kFull, 1 / gamma) * kFull));
    return curve;
}

Curve fnMakeThreshold(int level) {
    Curve curve{};
    for (std::size_t i = 0; i < curve.size(); ++i)
        curve[i] = static_cast<int>(i) < level ? 0 : 255;
    return curve;
}

} // namespace

void fnAdjust(CqImage& image, const Words& words, Session& session) {
    Progress& progress = session.fnGetProgress();
    const auto get = [&](const char* name) { return words.fnGetInteger(name); };
    const bool balances = get("red") != 0 || get("green") != 0 || get("blue") != 0;
    const bool colors = balances || get("hue") != 0 || get("saturation") != 0;
    fnMakeTones(image, session);
    if (colors)
        fnMakeTrueColor(image, session);
    progress.fnBegin("adjust");
    image.fnBrightContrast(get("brightness"), get("contrast"), false, &progress);
    progress.fnRequire();
    const double gamma = words.fnGetNumber("gamma");
    if (gamma != 1)
        fnApplyCurve(image, fnMakeGamma(gamma), session);
    image.fnColorBalance(get("red"), get("green"), get("blue"), false, &progress);
    progress.fnRequire();
    image.fnHueSaturation(get("hue"), get("saturation"), false, &progress);
    progress.fnRequire();
    // The library's threshold changes alpha, too.
    if (words.fnHas("threshold"))
        fnApplyCurve(image, fnMakeThreshold(get("threshold")), session);
}

} // namespace tool
