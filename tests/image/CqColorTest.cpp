#include "q32Base/image/CqColor.h"

#include "q32Base/framework/CArchive.h"
#include "q32Base/framework/CFile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

namespace {

struct Hsb {
    int hue, saturation, brightness;
    bool operator==(const Hsb&) const = default;
};

Hsb fnHsb(const CqColor& color) {
    Hsb hsb{};
    color.fnConvertToHSB(hsb.hue, hsb.saturation, hsb.brightness);
    return hsb;
}

CqColor fnFromHsb(int hue, int saturation, int brightness) {
    CqColor color;
    color.fnAssignFromHSB(hue, saturation, brightness);
    return color;
}

CqColor fnRgb(int red, int green, int blue) {
    return {static_cast<unsigned char>(red), static_cast<unsigned char>(green),
            static_cast<unsigned char>(blue), 255};
}

TEST(CqColor, ThreeNumbersMakeAnOpaqueColorClampedToTheBytes) {
    const int blue = 30;
    const CqColor color(10, 20, blue);
    EXPECT_EQ(color, CqColor(BYTE{10}, BYTE{20}, BYTE{30}, BYTE{255}));
    EXPECT_EQ(CqColor(-1, 256, 255), CqColor(BYTE{0}, BYTE{255}, BYTE{255}, BYTE{255}));
    EXPECT_EQ(CqColor(-2147483647 - 1, 2147483647, 0), CqColor(0, 255, 0));
}

TEST(CqColor, BeginsAsOpaqueBlack) {
    const CqColor color;
    EXPECT_EQ(color.m_Alpha, 255);
    EXPECT_EQ(color.m_Red, 0);
    EXPECT_EQ(color.m_Green, 0);
    EXPECT_EQ(color.m_Blue, 0);
}

TEST(CqColor, TheFourByteFormTakesAlphaLastThoughItIsStoredFirst) {
    const CqColor color(1, 2, 3, 4);
    unsigned char bytes[4];
    std::memcpy(bytes, &color.m_Alpha, 4);
    EXPECT_EQ(std::vector<int>(bytes, bytes + 4), (std::vector<int>{4, 1, 2, 3}));
}

TEST(CqColor, HasOneVirtualOperationAndNoVirtualDestructor) {
    EXPECT_TRUE(std::is_polymorphic_v<CqColor>);
    EXPECT_FALSE(std::has_virtual_destructor_v<CqColor>);
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<CqColor&>() = CqColor()), void>));
}

TEST(CqColor, ACopyTakesAlphaAndOtherSourcesAreOpaque) {
    const CqColor source(1, 2, 3, 4);
    EXPECT_EQ(CqColor(source), source);
    CqColor color(9, 9, 9, 9);
    color = source;
    EXPECT_EQ(color, source);
    const RGBQUAD quad{30, 20, 10, 77}; // blue, green, red, reserved
    const PALETTEENTRY entry{10, 20, 30, 77};
    EXPECT_EQ(CqColor(quad), CqColor(10, 20, 30, 255));
    EXPECT_EQ(CqColor(entry), CqColor(10, 20, 30, 255));
    color = quad;
    EXPECT_EQ(color, CqColor(10, 20, 30, 255));
    color.m_Alpha = 3;
    color = entry;
    EXPECT_EQ(color, CqColor(10, 20, 30, 255));
    color.m_Alpha = 3;
    color = 0x77332211ul;
    EXPECT_EQ(color, CqColor(0x11, 0x22, 0x33, 255));
}

TEST(CqColor, ThePackedFormHasRedLowestAndNoTopByte) {
    const CqColor color(0x00112233ul);
    EXPECT_EQ(color, CqColor(0x33, 0x22, 0x11, 255));
    EXPECT_EQ(static_cast<unsigned long>(color), 0x00112233ul);
    EXPECT_EQ(static_cast<unsigned long>(CqColor(0xFF112233ul)), 0x00112233ul);
    EXPECT_EQ(static_cast<unsigned long>(CqColor(255, 255, 255, 0)), 0x00FFFFFFul);
}

TEST(CqColor, ComparisonsDifferInWhetherAlphaCounts) {
    const CqColor a(1, 2, 3, 4);
    const CqColor b(1, 2, 3, 5);
    const RGBQUAD quad{3, 2, 1, 200};
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a.fnIsEqual(b, false));
    EXPECT_FALSE(a.fnIsEqual(b, true));
    EXPECT_TRUE(a.fnIsEqual(CqColor(a), true));
    EXPECT_TRUE(a == &quad);
    EXPECT_FALSE(a != &quad);
    for (int channel = 0; channel < 3; ++channel) {
        const CqColor c(channel == 0 ? 9 : 1, channel == 1 ? 9 : 2, channel == 2 ? 9 : 3, 4);
        EXPECT_FALSE(a == c);
        EXPECT_FALSE(c == &quad);
        EXPECT_TRUE(c != &quad);
        EXPECT_FALSE(a.fnIsEqual(c, false));
    }
}

TEST(CqColor, ScalingTruncatesAndClampsAndKeepsAlpha) {
    CqColor color(255, 100, 1, 9);
    EXPECT_EQ(color * 0.5, CqColor(127, 50, 0, 9));
    EXPECT_EQ(color * 10.0, CqColor(255, 255, 10, 9));
    EXPECT_EQ(color * -2.0, CqColor(0, 0, 0, 9));
    EXPECT_EQ(color * 1.0, color);
    EXPECT_EQ(color, CqColor(255, 100, 1, 9));
    color *= 2.54;
    EXPECT_EQ(color, CqColor(255, 254, 2, 9));
    color *= -0.1;
    EXPECT_EQ(color, CqColor(0, 0, 0, 9));
}

TEST(CqColor, ScalingByNotANumberOrInfinityIsHarmless) {
    CqColor color(7, 0, 1, 9);
    EXPECT_EQ(color * std::numeric_limits<double>::infinity(), CqColor(255, 0, 255, 9));
    EXPECT_EQ(color * -std::numeric_limits<double>::infinity(), CqColor(0, 0, 0, 9));
    EXPECT_EQ(color * std::numeric_limits<double>::quiet_NaN(), CqColor(0, 0, 0, 9));
    EXPECT_EQ(color * 1e300, CqColor(255, 0, 255, 9));
}

TEST(CqColorHsb, GreysHaveNoHueAndConvertBackUnchanged) {
    for (int level = 0; level < 256; ++level) {
        EXPECT_EQ(fnHsb(fnRgb(level, level, level)), (Hsb{32767, 0, level}));
        EXPECT_EQ(fnFromHsb(HSB_UNDEFINED_HUE, 200, level), fnRgb(level, level, level));
    }
}

TEST(CqColorHsb, PureColoursHaveTheHuesOfTheCircle) {
    EXPECT_EQ(fnHsb(fnRgb(255, 0, 0)), (Hsb{0, 255, 255}));
    EXPECT_EQ(fnHsb(fnRgb(255, 255, 0)), (Hsb{60, 255, 255}));
    EXPECT_EQ(fnHsb(fnRgb(0, 255, 0)), (Hsb{120, 255, 255}));
    EXPECT_EQ(fnHsb(fnRgb(0, 255, 255)), (Hsb{180, 255, 255}));
    EXPECT_EQ(fnHsb(fnRgb(0, 0, 255)), (Hsb{240, 255, 255}));
    EXPECT_EQ(fnHsb(fnRgb(255, 0, 255)), (Hsb{300, 255, 255}));
}

TEST(CqColorHsb, AnAlmostRedColourHasHue360AndConvertsBackToRed) {
    EXPECT_EQ(fnHsb(fnRgb(255, 0, 1)), (Hsb{360, 255, 255}));
    EXPECT_EQ(fnFromHsb(360, 255, 255), fnRgb(255, 0, 0));
}

/// The hue by its definition, separately for each order of channels.
Hsb fnHsbByCases(int r, int g, int b) {
    const int most = std::max({r, g, b});
    const int least = std::min({r, g, b});
    const int delta = most - least;
    if (delta == 0)
        return {32767, 0, most};
    const int middle = r + g + b - most - least;
    const int up = (delta / 2 + (middle - least) * 60) / delta;
    const int down = (delta / 2 + (most - middle) * 60) / delta;
    int hue = 0;
    // Red and blue are ordered first, blue higher on a tie; then green, in the middle on a tie.
    const char maximum = r > b ? (g > r ? 'g' : 'r') : (g > b ? 'g' : 'b');
    const char minimum = r > b ? (g < b ? 'g' : 'b') : (g < r ? 'g' : 'r');
    if (maximum == 'r')
        hue = minimum == 'b' ? up : down + 300;
    else if (maximum == 'g')
        hue = minimum == 'b' ? down + 60 : up + 120;
    else
        hue = minimum == 'r' ? down + 180 : up + 240;
    return {hue, (most / 2 + delta * 255) / most, most};
}

TEST(CqColorHsb, EveryColourConvertsByTheRule) {
    for (int r = 0; r < 256; r += 5)
        for (int g = 0; g < 256; g += 3)
            for (int b = 0; b < 256; b += 5)
                ASSERT_EQ(fnHsb(fnRgb(r, g, b)), fnHsbByCases(r, g, b))
                    << r << ", " << g << ", " << b;
}

TEST(CqColorHsb, HuesOutsideTheCircleAreReducedOnlyOnce) {
    EXPECT_EQ(fnFromHsb(361, 200, 180), fnFromHsb(1, 200, 180));
    EXPECT_EQ(fnFromHsb(-1, 200, 180), fnFromHsb(359, 200, 180));
    EXPECT_EQ(fnFromHsb(720, 200, 180), fnFromHsb(360, 200, 180));
    // -400 becomes -40: step (-40 x 255 + 30) / 60 is -169, and so green 0 - 169 in eight bits.
    EXPECT_EQ(fnFromHsb(-400, 255, 255), fnRgb(255, 256 - 169, 0));
    // 800 becomes 440: sector 7, step (20 x 255 + 30) / 60 is 85.
    EXPECT_EQ(fnFromHsb(800, 255, 255), fnRgb(255, 85, 0));
}

TEST(CqColorHsb, EachSectorPlacesItsChannels) {
    // Saturation 200, brightness 180: chroma (36000 + 127) / 255 = 141, low 39; hue 20 in a sector:
    // step (2820 + 30) / 60 = 47, rise 86, fall 133.
    EXPECT_EQ(fnFromHsb(20, 200, 180), fnRgb(180, 86, 39));
    EXPECT_EQ(fnFromHsb(80, 200, 180), fnRgb(133, 180, 39));
    EXPECT_EQ(fnFromHsb(140, 200, 180), fnRgb(39, 180, 86));
    EXPECT_EQ(fnFromHsb(200, 200, 180), fnRgb(39, 133, 180));
    EXPECT_EQ(fnFromHsb(260, 200, 180), fnRgb(86, 39, 180));
    EXPECT_EQ(fnFromHsb(320, 200, 180), fnRgb(180, 39, 133));
}

TEST(CqColorHsb, WithoutSaturationTheResultIsGrey) {
    for (const int hue : {0, 59, 60, 200, 360})
        EXPECT_EQ(fnFromHsb(hue, 0, 77), fnRgb(77, 77, 77));
}

TEST(CqColorHsb, AlphaIsUnchanged) {
    CqColor color(1, 2, 3, 44);
    color.fnAssignFromHSB(120, 255, 255);
    EXPECT_EQ(color, CqColor(0, 255, 0, 44));
    color.fnAssignFromHSB(HSB_UNDEFINED_HUE, 0, 5);
    EXPECT_EQ(color, CqColor(5, 5, 5, 44));
}

TEST(CqColorHsb, ValuesOutOfRangeWrapAtEightBits) {
    EXPECT_EQ(fnFromHsb(HSB_UNDEFINED_HUE, 0, 0x1234), fnRgb(0x34, 0x34, 0x34));
    EXPECT_EQ(fnFromHsb(0, 0, 300), fnRgb(44, 44, 44));
    // Extreme values are harmless.
    fnFromHsb(2147483647, 2147483647, 2147483647);
    fnFromHsb(-2147483647 - 1, -2147483647 - 1, -2147483647 - 1);
}

/// The limits by their definition. Returns whether the colour was safe.
bool fnVideoByRule(int (&rgb)[3], bool ntsc) {
    const double gamma = ntsc ? 2.2 : 2.8;
    const double most = ntsc ? 0.5405405405405406 : 0.5;
    const double composite = ntsc ? 1.1081081081081081 : 1.1;
    const double rows[3][3] = {
        {0.2989, 0.5866, 0.1144},
        {ntsc ? 0.5959 : -0.1473, ntsc ? -0.2741 : -0.2891, ntsc ? -0.3218 : 0.4364},
        {ntsc ? 0.2113 : 0.6149, ntsc ? -0.5227 : -0.5145, ntsc ? 0.3113 : -0.1004}};
    double linear[3];
    double encoded[3];
    for (int i = 0; i < 3; ++i) {
        linear[i] = rgb[i] * (1.0 / 255);
        encoded[i] = std::pow(linear[i], 1 / gamma);
    }
    double signal[3];
    for (int i = 0; i < 3; ++i)
        signal[i] = rows[i][0] * encoded[0] + rows[i][1] * encoded[1] + rows[i][2] * encoded[2];
    const double square = signal[1] * signal[1] + signal[2] * signal[2];
    const double limits[2] = {most * most, (composite - signal[0]) * (composite - signal[0])};
    bool safe = true;
    for (const double limit : limits)
        if (square >= limit && std::fabs(square - limit) >= 1e-10)
            safe = false;
    if (safe)
        return true;
    const double chroma = std::sqrt(square);
    const double factor = std::min(most / chroma, composite / (chroma + signal[0]));
    const double scale = std::pow(factor, gamma);
    for (int i = 0; i < 3; ++i)
        rgb[i] = static_cast<int>(scale * linear[i] * 255.0);
    return false;
}

TEST(CqColorVideo, BlackAndWhiteAndEveryGreyAreSafe) {
    for (const CqColor::VIDEO_TYPE type : {CqColor::VIDEO_NTSC, CqColor::VIDEO_PAL})
        for (int level = 0; level < 256; ++level) {
            CqColor grey = fnRgb(level, level, level);
            EXPECT_TRUE(grey.fnEnsureVideoSafe(type));
            EXPECT_EQ(grey, fnRgb(level, level, level));
        }
}

TEST(CqColorVideo, PureRedIsDarkenedWithGreenAndBlueLeft) {
    for (const CqColor::VIDEO_TYPE type : {CqColor::VIDEO_NTSC, CqColor::VIDEO_PAL}) {
        CqColor red(255, 0, 0, 77);
        EXPECT_FALSE(red.fnEnsureVideoSafe(type));
        EXPECT_LT(red.m_Red, 255);
        EXPECT_GT(red.m_Red, 0);
        EXPECT_EQ(red, CqColor(red.m_Red, 0, 0, 77));
    }
}

TEST(CqColorVideo, EveryColourFollowsTheLimits) {
    for (int r = 0; r < 256; r += 15)
        for (int g = 0; g < 256; g += 15)
            for (int b = 0; b < 256; b += 15)
                for (const bool ntsc : {true, false}) {
                    int expected[3] = {r, g, b};
                    const bool safe = fnVideoByRule(expected, ntsc);
                    CqColor color = fnRgb(r, g, b);
                    ASSERT_EQ(
                        color.fnEnsureVideoSafe(ntsc ? CqColor::VIDEO_NTSC : CqColor::VIDEO_PAL),
                        safe);
                    ASSERT_EQ(color, fnRgb(expected[0], expected[1], expected[2]))
                        << r << ", " << g << ", " << b;
                }
}

TEST(CqColorVideo, AColourThatOnePassHasChangedMayStillBeOutOfRange) {
    CqColor color(0, 255, 15, 255);
    EXPECT_FALSE(color.fnEnsureVideoSafe(CqColor::VIDEO_PAL));
    EXPECT_EQ(color, CqColor(0, 180, 10, 255)); // 255 and 15 times 0.7059, truncated
    EXPECT_FALSE(color.fnEnsureVideoSafe(CqColor::VIDEO_PAL));
}

TEST(CqColorVideo, EveryStandardOtherThanNtscIsTreatedAsPal) {
    EXPECT_EQ(CqColor::VIDEO_NTSC, 1);
    CqColor pal(255, 0, 0, 255);
    pal.fnEnsureVideoSafe(CqColor::VIDEO_PAL);
    for (const int type : {-5, 2, 7, 1000}) {
        CqColor color(255, 0, 0, 255);
        EXPECT_FALSE(color.fnEnsureVideoSafe(static_cast<CqColor::VIDEO_TYPE>(type)));
        EXPECT_EQ(color, pal);
    }
}

TEST(CqColorArchive, ASavedColourIsFourBytesWithAlphaFirst) {
    CMemFile file;
    CqColor color(1, 2, 3, 4);
    {
        CArchive archive(&file, CArchive::store);
        color.fnSerialize(archive);
        archive.Close();
    }
    ASSERT_EQ(file.GetLength(), 4u);
    unsigned char bytes[4];
    file.Seek(0);
    file.Read(bytes, 4);
    EXPECT_EQ(std::vector<int>(bytes, bytes + 4), (std::vector<int>{4, 1, 2, 3}));
    file.Seek(0);
    CArchive archive(&file, CArchive::load);
    CqColor loaded;
    loaded.fnSerialize(archive);
    EXPECT_EQ(loaded, color);
}

TEST(CqColorArchive, ATruncatedArchiveRaisesItsOwnException) {
    const unsigned char bytes[3] = {1, 2, 3};
    CMemFile file(bytes, 3);
    CArchive archive(&file, CArchive::load);
    CqColor color;
    bool raised = false;
    try {
        color.fnSerialize(archive);
    } catch (CArchiveException* failure) {
        raised = true;
        failure->Delete();
    }
    EXPECT_TRUE(raised);
}

} // namespace
