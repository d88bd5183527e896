// The curves of brightness, contrast and colour balance, compared with their rules.

#include "q32Base/operations/ToneCurves_p.h"
#include "tests/operations/ToneWorld.h"

#include <algorithm>
#include <cmath>

namespace q32::test {
namespace {

using Curve = std::array<std::uint8_t, 256>;

class ToneCurves : public ToneWorld {
protected:
    /// The result of an operation on the 256 greys at 24 bits, by channel.
    static std::array<Curve, 3> fnCurves(const std::function<void(CqImage&)>& work) {
        CqImage image(256, 1, 24, nullptr, 0u);
        Bytes bytes;
        for (int part = 0; part < 2; ++part)
            for (int i = 0; i < 128; ++i)
                bytes.insert(bytes.end(), 3, static_cast<std::uint8_t>(128 * part + i));
        fnWrite(image, bytes);
        work(image);
        bytes = fnRead(image);
        std::array<Curve, 3> curves;
        for (std::size_t i = 0; i < 768; ++i)
            curves[i % 3][i / 3] = bytes[i];
        return curves;
    }
    static Curve fnContrast(int brightness, int contrast) {
        const auto curves = fnCurves(
            [=](CqImage& image) { image.fnBrightContrast(brightness, contrast, false, nullptr); });
        EXPECT_EQ(curves[0], curves[1]);
        EXPECT_EQ(curves[0], curves[2]);
        return curves[0];
    }
    static Curve fnBalance(int weight) {
        return fnCurves(
            [=](CqImage& image) { image.fnColorBalance(0, weight, 0, false, nullptr); })[1];
    }
};

Curve fnIdentity() {
    Curve curve;
    for (unsigned i = 0; i < 256; ++i)
        curve[i] = static_cast<std::uint8_t>(i);
    return curve;
}

// The rules as documented.

Curve fnContrastByRule(std::int64_t brightness, std::int64_t contrast) {
    const auto scale = [](std::int64_t percent) {
        return std::min<std::int64_t>(
            127, std::max<std::int64_t>(-127, fnIn32Bits(percent * 128) / 100));
    };
    const std::int64_t b = scale(brightness), c = scale(contrast), d = 255 - 2 * c;
    std::int64_t lowIn = 0, lowOut = 0, highIn = 255, highOut = 255;
    if (c >= 0) {
        lowIn = c - b;
        highIn = 255 - b - c;
        if (lowIn < 0)
            lowOut = (d / 2 - lowIn * 255) / d, lowIn = 0;
        if (highIn > 255)
            highOut = 255 - ((highIn - 255) * 255 + d / 2) / d, highIn = 255;
    } else {
        lowOut = b - c;
        highOut = 255 + b + c;
        if (lowOut < 0)
            lowIn = (d / 2 - lowOut * 255) / d, lowOut = 0;
        if (highOut > 255)
            highIn = 255 - ((highOut - 255) * 255 + d / 2) / d, highOut = 255;
    }
    Curve curve;
    for (std::int64_t i = 0; i < 256; ++i) {
        std::int64_t value = lowOut;
        if (i > highIn)
            value = highOut;
        else if (i >= lowIn)
            value =
                lowOut + ((highOut - lowOut) * i - (highOut - lowOut) * lowIn) / (highIn - lowIn);
        curve[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value);
    }
    return curve;
}

Curve fnBalanceByRule(std::int64_t argument) {
    Curve table = fnIdentity();
    const std::int64_t level = fnIn32Bits(fnIn32Bits(argument * 5 + 640) * 40) / 255;
    if (level == 100)
        return table;
    const auto code = static_cast<std::uint8_t>(99 - level);
    int low = level <= 100 ? code : 0;
    const int high = level <= 100 ? 255 : code;
    low = std::min(low, high);
    const std::int64_t middle = (100 - level) * 60 / 100 + 127;
    const double gamma =
        std::log(0.5) / std::log(static_cast<double>(middle) * 0.00392156862745098);
    Curve scratch = fnIdentity();
    if (!(std::fabs(gamma - 1.0) <= 1e-10))
        for (unsigned i = 0; i < 256; ++i) {
            const double value = std::pow(i * 0.00392156862745098, gamma) * 255.0;
            scratch[i] = std::fabs(value) < 2147483648.0
                             ? static_cast<std::uint8_t>(static_cast<std::int64_t>(value))
                             : std::uint8_t{0};
        }
    const int span = high - low;
    const int step = span ? 255 / span : 0, rem = span ? 255 % span : 0;
    int index = 0, err = span / 2;
    for (int j = 0; j < 256; ++j) {
        if (j < low || j > high) {
            table[static_cast<unsigned>(j)] = j < low ? 0 : 255;
            continue;
        }
        table[static_cast<unsigned>(j)] =
            static_cast<std::uint8_t>((scratch[static_cast<unsigned>(index)] * 255 + 127) / 255);
        index += step;
        err += rem;
        if (err > span) {
            err -= span;
            ++index;
        }
    }
    return table;
}

const int kHuge[] = {INT_MIN, INT_MIN + 1, -33554432, -21474837, -100000,  -1000,       -274,
                     -273,    -160,        -128,      128,       150,      160,         270,
                     271,     1000,        100000,    21474836,  33554432, INT_MAX - 1, INT_MAX};

TEST_F(ToneCurves, BrightnessAndContrastFollowTheRuleForAllPercentages) {
    for (int brightness = -101; brightness <= 101; brightness += 3)
        for (int contrast = -101; contrast <= 101; contrast += 2)
            ASSERT_EQ(fnContrast(brightness, contrast), fnContrastByRule(brightness, contrast))
                << brightness << ", " << contrast;
}

TEST_F(ToneCurves, FullBrightnessStartsAtMidGrey) {
    const Curve curve = fnContrast(100, 0); // b is 127
    EXPECT_EQ(curve[0], 127);
    EXPECT_EQ(curve[64], 191); // 127 + 128 x 64 / 128
    EXPECT_EQ(curve[128], 255);
    EXPECT_EQ(curve[129], 255);
    EXPECT_EQ(curve[255], 255);
}

TEST_F(ToneCurves, FullContrastIsAStepBetween127And128) {
    const Curve curve = fnContrast(0, 100);
    for (unsigned i = 0; i < 256; ++i)
        EXPECT_EQ(curve[i], i < 128 ? 0 : 255) << i;
}

TEST_F(ToneCurves, NoContrastIsNearlyOneGrey) {
    const Curve curve = fnContrast(0, -100); // from 127 to 128
    EXPECT_EQ(curve[0], 127);
    EXPECT_EQ(curve[254], 127);
    EXPECT_EQ(curve[255], 128);
}

TEST_F(ToneCurves, HugeBrightnessAndContrastWrapIn32BitsHarmlessly) {
    for (const int huge : kHuge) {
        ASSERT_EQ(fnContrast(huge, 0), fnContrastByRule(huge, 0)) << huge;
        ASSERT_EQ(fnContrast(0, huge), fnContrastByRule(0, huge)) << huge;
        for (const int other : kHuge)
            ASSERT_EQ(fnContrast(huge, other), fnContrastByRule(huge, other));
    }
    EXPECT_EQ(fnContrast(INT_MIN, 33554432), fnIdentity()); // shifted by 7, the value is 0
    EXPECT_EQ(fnContrast(INT_MAX, 0), fnContrast(-1, 0));
    EXPECT_EQ(fnContrast(1000000, 0), fnContrast(100, 0));
}

TEST_F(ToneCurves, BrightnessOf8BitsChangesIndicesAndNotThePalette) {
    CqImage image(256, 3, 8, nullptr, 256u);
    std::vector<RGBQUAD> before(256), after(256);
    image.fnGetPaletteEntry(0, 256, before.data());
    Bytes bytes(768);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i);
    fnWrite(image, bytes);
    image.fnBrightContrast(40, 20, false, nullptr);
    const Curve curve = fnContrastByRule(40, 20);
    for (std::uint8_t& byte : bytes)
        byte = curve[byte];
    EXPECT_EQ(fnRead(image), bytes);
    image.fnGetPaletteEntry(0, 256, after.data());
    for (std::size_t i = 0; i < 256; ++i)
        EXPECT_TRUE(CqColor(before[i]) == &after[i]);
}

TEST_F(ToneCurves, CurvesActOnTheChannelsOfEachDepth) {
    for (const unsigned bits : {16u, 24u, 32u})
        for (int round = 0; round < 20; ++round) {
            const auto image = fnNoise(1 + m_Random() % 300, 1 + m_Random() % 200, bits);
            const int a = static_cast<int>(m_Random() % 201) - 100;
            const int b = static_cast<int>(m_Random() % 201) - 100;
            const int c = static_cast<int>(m_Random() % 201) - 100;
            const bool balance = round % 2 != 0;
            Bytes expected = fnRead(*image);
            std::array<Curve, 3> curves;
            if (balance)
                curves = {fnBalanceByRule(a), fnBalanceByRule(b), fnBalanceByRule(c)};
            else
                curves.fill(fnContrastByRule(a, b));
            for (std::size_t i = 0; i < expected.size(); i += bits / 8) {
                std::uint8_t* p = &expected[i];
                if (bits == 16) {
                    const unsigned red = p[0] & 0xF8u;
                    const unsigned green = ((p[0] * 256u + p[1]) >> 3) & 0xFC;
                    const unsigned blue = (p[1] * 8u) & 0xFF;
                    const unsigned value = unsigned{curves[0][red]} >> 3 << 11 |
                                           unsigned{curves[1][green]} >> 2 << 5 |
                                           unsigned{curves[2][blue]} >> 3;
                    p[0] = static_cast<std::uint8_t>(value >> 8);
                    p[1] = static_cast<std::uint8_t>(value);
                    continue;
                }
                for (std::size_t channel = 0; channel < 3; ++channel) {
                    std::uint8_t& byte = p[bits / 8 - 3 + channel];
                    byte = curves[channel][byte];
                }
            }
            balance ? image->fnColorBalance(a, b, c, false, nullptr)
                    : image->fnBrightContrast(a, b, false, nullptr);
            ASSERT_EQ(fnRead(*image), expected) << bits << " bits, " << a << ", " << b << ", " << c;
        }
}

TEST_F(ToneCurves, ColourBalanceFollowsTheRuleForAllWeights) {
    for (int weight = -130; weight <= 130; ++weight)
        ASSERT_EQ(fnBalance(weight), fnBalanceByRule(weight)) << weight;
}

TEST_F(ToneCurves, ColourBalanceMovesTheEndPoints) {
    const Curve raised = fnBalance(100); // level 178: high is 177
    EXPECT_EQ(raised[0], 0);
    EXPECT_EQ(raised[177], 255);
    EXPECT_EQ(raised[178], 255);
    EXPECT_LT(raised[176], 255);
    const Curve lowered = fnBalance(-100); // level 21: low is 78
    EXPECT_EQ(lowered[77], 0);
    EXPECT_EQ(lowered[78], 0);
    EXPECT_EQ(lowered[255], 255);
    EXPECT_LT(lowered[200], 200);
    EXPECT_EQ(fnBalance(1)[255], 255); // level 101: high is 254
    EXPECT_EQ(fnBalance(1)[254], 255);
}

TEST_F(ToneCurves, ANeutralWeightLeavesItsChannelUnchanged) {
    const auto curves =
        fnCurves([](CqImage& image) { image.fnColorBalance(50, 0, 21474836, false, nullptr); });
    EXPECT_EQ(curves[0], fnBalanceByRule(50));
    EXPECT_EQ(curves[1], fnIdentity());
    EXPECT_EQ(curves[2], fnIdentity()); // 200 times that wraps to -96, still level 100
}

TEST_F(ToneCurves, HugeWeightsWrapIn32BitsHarmlessly) {
    for (const int huge : kHuge)
        ASSERT_EQ(fnBalance(huge), fnBalanceByRule(huge)) << huge;
    // The middle at 0 makes a gamma of 0, and so white.
    EXPECT_EQ(fnBalance(270)[0], 255);
    // Below it there is no gamma: black up to the end point, (99 - 884) % 256, where 1 to
    // the power of anything is 1.
    EXPECT_EQ(fnBalance(1000)[238], 0);
    EXPECT_EQ(fnBalance(1000)[239], 255);
    // The middle at 255 makes the gamma infinite: black up to the last value.
    EXPECT_EQ(fnBalance(-274)[254], 0);
    EXPECT_EQ(fnBalance(-274)[255], 255);
    EXPECT_EQ(fnBalance(INT_MAX), fnBalance(-1));
}

TEST_F(ToneCurves, ABalanceFarOutsideItsRangeMayBeAStep) {
    Curve curve;
    fnMakeBalanceCurve(325, curve.data());
    EXPECT_EQ(curve[0], 0);
    EXPECT_TRUE(
        std::all_of(curve.begin() + 1, curve.end(), [](int value) { return value == 255; }));
}

} // namespace
} // namespace q32::test
