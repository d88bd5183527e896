#include "examples/darkroom/model/Operation.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Filters.h"
#include "examples/darkroom/model/FreeCurve.h"
#include "examples/darkroom/model/Tones.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/operations/Blur.h"
#include "q32Base/operations/Flip.h"
#include "q32Base/operations/Grey.h"
#include "q32Base/operations/WeightedResample.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

namespace darkroom {

namespace {

constexpr std::uint32_t kTrueColor = fnDepthBit(24) | fnDepthBit(32);
constexpr std::uint32_t kColor = kTrueColor | fnDepthBit(16);
constexpr std::uint32_t kTones = kColor | kGreyBit;
/// Pictures whose bytes are all brightnesses; at 32 bits one of them is alpha.
constexpr std::uint32_t kByteTones = fnDepthBit(24) | kGreyBit;
constexpr std::uint32_t kBytes = kColor | fnDepthBit(8);
constexpr std::uint32_t kAny = kBytes | fnDepthBit(4);

/// The longest side that a picture can have.
constexpr int kMaxPixels = std::numeric_limits<int>::max();

constexpr Parameter fnNumber(const char* name, int low, int high, int start, const char* unit) {
    return {name, ParameterKind::NUMBER, low, high, start, unit};
}
constexpr Parameter fnSwitch(const char* name, bool on) {
    return {name, ParameterKind::SWITCH, 0, 1, on ? 1 : 0, ""};
}

constexpr Parameter kBrightness[] = {fnNumber("Brightness", -100, 100, 0, " %"),
                                     fnNumber("Contrast", -100, 100, 0, " %")};
constexpr Parameter kBalance[] = {fnNumber("Red", -100, 100, 0, ""),
                                  fnNumber("Green", -100, 100, 0, ""),
                                  fnNumber("Blue", -100, 100, 0, "")};
constexpr Parameter kHue[] = {fnNumber("Hue", -180, 180, 0, "°"),
                              fnNumber("Saturation", -100, 100, 0, " %")};
constexpr Parameter kThreshold[] = {fnNumber("Level", 0, 255, 128, "")};
constexpr Parameter kAmount[] = {fnNumber("Amount", 0, 100, 50, " %")};
constexpr Parameter kLevels[] = {fnNumber("Black", 0, 254, 0, ""),
                                 {"Gamma", ParameterKind::NUMBER, 10, 1000, 100, "", 100, true},
                                 fnNumber("White", 1, 255, 255, ""),
                                 fnNumber("Black becomes", 0, 255, 0, ""),
                                 fnNumber("White becomes", 0, 255, 255, "")};
constexpr Parameter kPoints[] = {{"Curve", ParameterKind::CURVE, 0, 0x3FFFF, 0, ""}};
constexpr Parameter kCurve[] = {fnNumber("Shadows", -100, 100, 0, ""),
                                fnNumber("Midtones", -100, 100, 0, ""),
                                fnNumber("Highlights", -100, 100, 0, "")};
/// Radii are in tenths of a pixel.
constexpr int kTenth = 10;
constexpr Parameter kRadius = {"Radius", ParameterKind::NUMBER, 1, 2500, 20, " px", kTenth};
constexpr Parameter kBlur[] = {kRadius};
constexpr Parameter kUnsharp[] = {kRadius, fnNumber("Amount", 0, 500, 100, " %"),
                                  fnNumber("Threshold", 0, 255, 0, "")};
constexpr Parameter kSize[] = {fnNumber("Width", 1, kMaxPixels, 1, " px"),
                               fnNumber("Height", 1, kMaxPixels, 1, " px"),
                               fnSwitch("Interpolate", true)};
constexpr Parameter kAngle[] = {
    {"Angle, clockwise", ParameterKind::NUMBER, -180 * kDegree, 180 * kDegree, 0, "°", kDegree},
    fnSwitch("Smooth edges", true),
    {"Background", ParameterKind::COLOR, 0, 0xFFFFFF, 0xFFFFFF, ""}};
constexpr Parameter kFillColor[] = {{"Color", ParameterKind::COLOR, 0, 0xFFFFFF, 0, ""}};

/// A positive angle always rotates clockwise here; the library rotates right angles clockwise and
/// all others counter-clockwise.
void fnRotate(CqImage& image, int clockwise, unsigned int background, bool smooth,
              CqProgressDisplay* progress) {
    constexpr int kFull = 360 * kDegree;
    const int angle = ((clockwise % kFull) + kFull) % kFull;
    if (angle == 0)
        return;
    const int rotated = angle % (90 * kDegree) == 0 ? angle : kFull - angle;
    image.fnRotate(static_cast<double>(rotated) / kDegree,
                   CqColor(static_cast<unsigned long>(background)), nullptr, smooth, progress);
    if (angle % (180 * kDegree) == 90 * kDegree)
        std::swap(image.DpiX, image.DpiY);
}

/// Whether the first values all equal the one that changes nothing.
template <std::size_t Count, int Neutral>
bool fnAllAre(const CqImage&, std::span<const int> values) {
    return std::all_of(values.begin(), values.begin() + Count,
                       [](int value) { return value == Neutral; });
}

template <int Degrees>
void fnRotateBy(CqImage& image, std::span<const int>, CqProgressDisplay* progress) {
    fnRotate(image, Degrees * kDegree, 0, false, progress);
}

template <int Bits>
void fnConvertTo(CqImage& image, std::span<const int>, CqProgressDisplay* progress) {
    fnConvertPicture(image, Bits, progress);
}

int fnReachOne(std::span<const int>) {
    return 1;
}

int fnReachRadius(std::span<const int> values) {
    return static_cast<int>(q32GetBlurReach(static_cast<double>(values[0]) / kTenth));
}

template <bool (*Flip)(CqImage&, CqProgressDisplay*)>
void fnFlip(CqImage& image, std::span<const int>, CqProgressDisplay* progress) {
    Flip(image, progress);
}

const Operation kOperations[] = {
    {"brightness", "Brightness and Contrast", MenuPlace::ADJUST, "Ctrl+B", kBrightness,
     PreviewKind::PIXELS, kTones,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         image.fnBrightContrast(values[0], values[1], false, progress);
     },
     nullptr, fnAllAre<2, 0>},
    {"balance", "Color Balance", MenuPlace::ADJUST, "Ctrl+L", kBalance, PreviewKind::PIXELS, kColor,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         image.fnColorBalance(values[0], values[1], values[2], false, progress);
     },
     nullptr, fnAllAre<3, 0>},
    {"hue", "Hue and Saturation", MenuPlace::ADJUST, "Ctrl+U", kHue, PreviewKind::PIXELS,
     kTrueColor,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         image.fnHueSaturation(values[0], values[1], false, progress);
     },
     nullptr, fnAllAre<2, 0>},
    {"levels", "Levels", MenuPlace::ADJUST, "Ctrl+Shift+L", kLevels, PreviewKind::PIXELS, kTones,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         q32ApplyToneCurves(image, nullptr, fnMakeLevels(values), progress);
     },
     nullptr,
     [](const CqImage&, std::span<const int> values) {
         constexpr int kNeutral[] = {0, 100, 255, 0, 255};
         return std::equal(values.begin(), values.end(), std::begin(kNeutral));
     },
     nullptr, true},
    {"curve", "Tone Curve", MenuPlace::ADJUST, "", kCurve, PreviewKind::PIXELS, kTones,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         q32ApplyToneCurves(image, nullptr, fnMakeToneCurve(values), progress);
     },
     nullptr, fnAllAre<3, 0>, nullptr, true},
    {"points", "Curve by Points", MenuPlace::ADJUST, "Ctrl+Shift+M", kPoints, PreviewKind::PIXELS,
     kTones,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         q32ApplyToneCurves(image, nullptr, fnMakeFreeCurves(values), progress);
     },
     nullptr,
     [](const CqImage&, std::span<const int> values) {
         const CqToneCurves curves = fnMakeFreeCurves(values);
         const auto keeps = [](const unsigned char(&table)[256]) {
             return std::all_of(std::begin(table), std::end(table),
                                [i = 0](int value) mutable { return value == i++; });
         };
         return keeps(curves.m_Red) && keeps(curves.m_Green) && keeps(curves.m_Blue);
     }},
    {"grey",
     "Grey",
     MenuPlace::ADJUST,
     "",
     {},
     PreviewKind::PIXELS,
     kTrueColor,
     [](CqImage& image, std::span<const int>, CqProgressDisplay* progress) {
         q32ConvertToGrey(image, image.BitCount, progress);
     },
     nullptr},
    {"threshold", "Threshold", MenuPlace::ADJUST, "", kThreshold, PreviewKind::PIXELS, kByteTones,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         image.fnThresholding(static_cast<unsigned char>(values[0]), false, progress);
     },
     nullptr},
    {"soften", "Soften", MenuPlace::FILTER, "", kAmount, PreviewKind::NEIGHBOURS, kTrueColor,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         fnSoften(image, values[0], progress);
     },
     nullptr, fnAllAre<1, 0>, fnReachOne},
    {"sharpen", "Sharpen", MenuPlace::FILTER, "", kAmount, PreviewKind::NEIGHBOURS, kTrueColor,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         fnSoften(image, -values[0], progress);
     },
     nullptr, fnAllAre<1, 0>, fnReachOne},
    {"blur", "Blur", MenuPlace::FILTER, "", kBlur, PreviewKind::AREA, kTrueColor | kGreyBit,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         q32Blur(image, static_cast<double>(values[0]) / kTenth, progress);
     },
     nullptr, nullptr, fnReachRadius},
    {"unsharp", "Sharpen by Radius", MenuPlace::FILTER, "", kUnsharp, PreviewKind::AREA,
     kTrueColor | kGreyBit,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         q32Sharpen(image, static_cast<double>(values[0]) / kTenth,
                    static_cast<unsigned int>(values[1]), static_cast<unsigned int>(values[2]),
                    progress);
     },
     nullptr, nullptr, fnReachRadius},
    {"resize", "Resize", MenuPlace::IMAGE, "Ctrl+Alt+I", kSize, PreviewKind::SIZE, kAny,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         const auto width = static_cast<unsigned int>(values[0]);
         const auto height = static_cast<unsigned int>(values[1]);
         // Colours of transparent pixels must not show at the edges.
         if (values[2] != 0 && image.BitCount == 32)
             q32ResampleByAlpha(image, width, height, progress);
         else
             image.fnResample(width, height, values[2] != 0, progress);
     },
     [](const CqImage& image, std::span<int> values) {
         values[0] = static_cast<int>(image.Width);
         values[1] = static_cast<int>(image.Height);
         if (image.BitCount == 16)
             values[2] = 0; // the filter corrupts green at 16 bits
     },
     [](const CqImage& image, std::span<const int> values) {
         return static_cast<unsigned int>(values[0]) == image.Width &&
                static_cast<unsigned int>(values[1]) == image.Height;
     }},
    {"rotate", "Rotate", MenuPlace::IMAGE, "Ctrl+R", kAngle, PreviewKind::ROTATION, kTrueColor,
     [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
         fnRotate(image, values[0], static_cast<unsigned int>(values[2]), values[1] != 0, progress);
     },
     nullptr, fnAllAre<1, 0>},
    {"right",
     "Rotate Right",
     MenuPlace::IMAGE,
     "Ctrl+Right",
     {},
     PreviewKind::NONE,
     kBytes,
     fnRotateBy<90>,
     nullptr},
    {"left",
     "Rotate Left",
     MenuPlace::IMAGE,
     "Ctrl+Left",
     {},
     PreviewKind::NONE,
     kBytes,
     fnRotateBy<270>,
     nullptr},
    {"half",
     "Rotate by 180 Degrees",
     MenuPlace::IMAGE,
     "",
     {},
     PreviewKind::NONE,
     kBytes,
     fnRotateBy<180>,
     nullptr},
    {"flipHorizontal",
     "Flip Left and Right",
     MenuPlace::IMAGE,
     "",
     {},
     PreviewKind::NONE,
     kAny,
     fnFlip<q32FlipHorizontal>,
     nullptr},
    {"flipVertical",
     "Flip Top and Bottom",
     MenuPlace::IMAGE,
     "",
     {},
     PreviewKind::NONE,
     kAny,
     fnFlip<q32FlipVertical>,
     nullptr},
    {"to8",
     "Convert to 8 Bits of Grey",
     MenuPlace::IMAGE,
     "",
     {},
     PreviewKind::NONE,
     kAny & ~fnDepthBit(8),
     [](CqImage& image, std::span<const int>, CqProgressDisplay* progress) {
         q32ConvertToGrey(image, 8, progress);
     },
     nullptr},
    {"to24",
     "Convert to 24 Bits",
     MenuPlace::IMAGE,
     "",
     {},
     PreviewKind::NONE,
     kAny & ~fnDepthBit(24),
     fnConvertTo<24>,
     nullptr},
    {"to32",
     "Convert to 32 Bits",
     MenuPlace::IMAGE,
     "",
     {},
     PreviewKind::NONE,
     kAny & ~fnDepthBit(32),
     fnConvertTo<32>,
     nullptr},
};

/// The host decides its place in the menus.
const Operation kFill = {
    "fill",
    "Fill with Color",
    MenuPlace::IMAGE,
    "",
    kFillColor,
    PreviewKind::PIXELS,
    kTrueColor,
    [](CqImage& image, std::span<const int> values, CqProgressDisplay* progress) {
        fnFillPicture(image, CqColor(static_cast<unsigned long>(values[0])), progress);
    }};

} // namespace

bool Operation::fnSuits(const CqImage& image) const {
    if (!image.TileMap)
        return false;
    const std::uint32_t grey = image.BitCount == 8 && image.fnIsGrayScale() ? kGreyBit : 0;
    return (m_nDepths & (fnDepthBit(image.BitCount) | grey)) != 0;
}

Values Operation::fnGetStart(const CqImage& image) const {
    Values values;
    for (const Parameter& parameter : m_Parameters)
        if (parameter.m_eKind == ParameterKind::CURVE)
            values = fnMakeStraightCurves();
        else
            values.push_back(parameter.m_nStart);
    if (m_pStart)
        m_pStart(image, values);
    return values;
}

std::span<const Operation> fnGetOperations() {
    return kOperations;
}

const Operation& fnGetFillOperation() {
    return kFill;
}

const Operation* fnFindOperation(const char* id) {
    const auto found = std::find_if(
        std::begin(kOperations), std::end(kOperations),
        [id](const Operation& operation) { return std::strcmp(operation.m_pszId, id) == 0; });
    return found == std::end(kOperations) ? nullptr : &*found;
}

} // namespace darkroom
