#include "q32Base/image/CqColor.h"
#include "q32Base/kernels/HueShift_p.h"
#include "tests/kernels/KernelsTestTools.h"

#include <climits>
#include <numeric>

namespace q32::test {
namespace {

std::uint8_t fnByte(unsigned value) {
    return static_cast<std::uint8_t>(value);
}

class KernelsTone : public KernelsAtEachLevel {};
Q32_AT_EACH_LEVEL(KernelsTone);

TEST_P(KernelsTone, OneCurveChangesEveryByte) {
    const Bytes curve = fnRandomBytes(m_Random, 256);
    const SourceBytes table(curve, 1);
    fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
        Bytes expected = fnRandomBytes(m_Random, count);
        TargetBytes pixels(expected, misalignment);
        m_Kernels.fnCurve8(pixels.fnGetData(), count, table.fnGetData());
        for (std::uint8_t& byte : expected)
            byte = curve[byte];
        ASSERT_TRUE(pixels.fnHolds(expected)) << count << " pixels, misaligned by " << misalignment;
    });
}

TEST_P(KernelsTone, ThreeCurvesChangeEachChannelByItsOwn) {
    const Bytes curves = fnRandomBytes(m_Random, 768);
    const SourceBytes table(curves, 1);
    for (const std::size_t bytes : {std::size_t{3}, std::size_t{4}})
        fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
            Bytes expected = fnRandomBytes(m_Random, bytes * count);
            TargetBytes pixels(expected, misalignment);
            (bytes == 3 ? m_Kernels.fnChannelCurves24 : m_Kernels.fnChannelCurves32)(
                pixels.fnGetData(), count, table.fnGetData());
            for (std::size_t i = 0; i < count; ++i)
                for (std::size_t channel = 0; channel < 3; ++channel) {
                    std::uint8_t& byte = expected[i * bytes + bytes - 3 + channel];
                    byte = curves[256 * channel + byte];
                }
            ASSERT_TRUE(pixels.fnHolds(expected))
                << bytes << " bytes, " << count << " pixels, misaligned by " << misalignment;
        });
}

TEST_P(KernelsTone, ThreeCurvesLookUpAll256ValuesOfEachChannel) {
    const Bytes curves = fnRandomBytes(m_Random, 768);
    for (unsigned shift = 0; shift < 256; shift += 51) {
        Bytes expected;
        Bytes content;
        for (unsigned i = 0; i < 256; ++i) {
            const unsigned values[] = {i, (i + shift) % 256, 255 - i};
            for (unsigned channel = 0; channel < 3; ++channel) {
                content.push_back(fnByte(values[channel]));
                expected.push_back(curves[256 * channel + values[channel]]);
            }
        }
        TargetBytes pixels(content, 0);
        m_Kernels.fnChannelCurves24(pixels.fnGetData(), 256, curves.data());
        EXPECT_TRUE(pixels.fnHolds(expected));
    }
}

TEST_P(KernelsTone, ThreeCurvesActOnEvery565Value) {
    const Bytes curves = fnRandomBytes(m_Random, 768);
    Bytes content, expected;
    for (unsigned value = 0; value < 65536; ++value) {
        content.insert(content.end(), {fnByte(value >> 8), fnByte(value)});
        const unsigned red = curves[value / 2048 * 8];
        const unsigned green = curves[256 + value / 32 % 64 * 4];
        const unsigned blue = curves[512 + value % 32 * 8];
        const unsigned result = red / 8 * 2048 + green / 4 * 32 + blue / 8;
        expected.insert(expected.end(), {fnByte(result / 256), fnByte(result)});
    }
    TargetBytes pixels(content, 1);
    m_Kernels.fnChannelCurves565(pixels.fnGetData(), 65536, curves.data());
    EXPECT_TRUE(pixels.fnHolds(expected));
}

TEST_P(KernelsTone, AThresholdLeaves0Below255AtAndAboveIt) {
    for (const unsigned level : {0u, 1u, 2u, 127u, 128u, 129u, 254u, 255u})
        fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
            Bytes expected = fnRandomBytes(m_Random, count);
            TargetBytes pixels(expected, misalignment);
            m_Kernels.fnThreshold(pixels.fnGetData(), count, fnByte(level));
            for (std::uint8_t& byte : expected)
                byte = byte < level ? 0 : 255;
            ASSERT_TRUE(pixels.fnHolds(expected)) << count << " bytes, level " << level;
        });
}

// The rule as the colour class defines it.
CqColor fnShifted(CqColor color, std::int32_t hue, std::int32_t saturation) {
    int h, s, v;
    color.fnConvertToHSB(h, s, v);
    if (h != HSB_UNDEFINED_HUE) {
        h = static_cast<std::int32_t>(static_cast<std::int64_t>(h) + hue);
        s = std::min(std::max(s + saturation, 0), 255);
    }
    color.fnAssignFromHSB(h, s, v);
    return color;
}

struct Shift {
    std::int32_t hue, saturation;
};
const Shift kShifts[] = {
    {1, 0},      {0, 1},      {-1, -1},     {60, 40},     {-60, -40},         {180, 0},
    {-180, 255}, {359, 10},   {360, 0},     {361, -255},  {-360, 3},          {-361, 3},
    {719, 0},    {721, 0},    {-725, 0},    {5000, 100},  {-5000, -100},      {32767, 0},
    {32527, 0},  {32407, 20}, {INT_MAX, 0}, {INT_MIN, 7}, {INT_MAX - 180, 0}, {INT_MIN + 59, 0},
    {0, 1000},   {0, -1000}};

TEST_P(KernelsTone, AHueShiftFollowsTheColourClassForEveryDepth) {
    for (const Shift& by : kShifts) {
        const HueShift shift(by.hue, by.saturation);
        fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
            for (const std::size_t bytes : {3u, 4u}) {
                Bytes expected = fnRandomBytes(m_Random, bytes * count);
                TargetBytes pixels(expected, misalignment);
                (bytes == 3 ? m_Kernels.fnHueShift24 : m_Kernels.fnHueShift32)(pixels.fnGetData(),
                                                                               count, shift);
                for (std::size_t i = 0; i < count; ++i) {
                    std::uint8_t* rgb = expected.data() + i * bytes + bytes - 3;
                    const CqColor color =
                        fnShifted(CqColor(rgb[0], rgb[1], rgb[2], 0), by.hue, by.saturation);
                    rgb[0] = color.m_Red;
                    rgb[1] = color.m_Green;
                    rgb[2] = color.m_Blue;
                }
                ASSERT_TRUE(pixels.fnHolds(expected))
                    << bytes << " bytes, " << count << " pixels by " << by.hue << ", "
                    << by.saturation;
            }
        });
    }
}

TEST_P(KernelsTone, AHueShiftIsExactForAllColoursOfCoarseSteps) {
    for (const Shift& by : {Shift{30, 0}, Shift{-200, -50}, Shift{90, 77}, Shift{7000, 1}}) {
        const HueShift shift(by.hue, by.saturation);
        for (unsigned red = 0; red < 256; red += 3) {
            Bytes content, expected;
            for (unsigned green = 0; green < 256; ++green)
                for (unsigned blue = green % 5; blue < 256; blue += 5) {
                    content.insert(content.end(), {fnByte(red), fnByte(green), fnByte(blue)});
                    const CqColor color =
                        fnShifted(CqColor(fnByte(red), fnByte(green), fnByte(blue), 0), by.hue,
                                  by.saturation);
                    expected.insert(expected.end(), {color.m_Red, color.m_Green, color.m_Blue});
                }
            TargetBytes pixels(content, 0);
            m_Kernels.fnHueShift24(pixels.fnGetData(), content.size() / 3, shift);
            ASSERT_TRUE(pixels.fnHolds(expected)) << "red " << red << " by " << by.hue;
        }
    }
}

TEST_P(KernelsTone, AHueShiftOf16BitsExchangesTheBytes) {
    Bytes content;
    for (unsigned value = 0; value < 65536; ++value)
        content.insert(content.end(), {fnByte(value), fnByte(value >> 8)});
    for (const Shift& by : {Shift{1, 0}, Shift{120, -30}, Shift{-77, 90}, Shift{40000, 0}}) {
        Bytes expected;
        for (unsigned word = 0; word < 65536; ++word) {
            const CqColor color = fnShifted(
                CqColor(fnByte(word & 0xF8), fnByte(word >> 3 & 0xFC), fnByte(word >> 8 << 3), 0),
                by.hue, by.saturation);
            const unsigned result = (color.m_Red & 0xF8u) << 8 | (color.m_Green & 0xFCu) << 3 |
                                    unsigned{color.m_Blue} >> 3;
            expected.insert(expected.end(), {fnByte(result), fnByte(result >> 8)});
        }
        TargetBytes pixels(content, 1);
        m_Kernels.fnHueShift16(pixels.fnGetData(), 65536, HueShift(by.hue, by.saturation));
        EXPECT_TRUE(pixels.fnHolds(expected)) << by.hue;
    }
    for (std::size_t count = 0; count < 40; ++count) {
        TargetBytes all(content, 0);
        m_Kernels.fnHueShift16(all.fnGetData(), 65536, HueShift(50, 5));
        Bytes expected = all.fnContent();
        expected.resize(2 * count);
        TargetBytes some(Bytes(content.begin(), content.begin() + static_cast<long>(2 * count)),
                         count % 8);
        m_Kernels.fnHueShift16(some.fnGetData(), count, HueShift(50, 5));
        ASSERT_TRUE(some.fnHolds(expected)) << count << " pixels";
    }
}

} // namespace
} // namespace q32::test
