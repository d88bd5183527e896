#include "platforms/headless/headless.h"
#include "q32Base/frame/Module.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/services/CqProgressDisplay.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;
using Curve = std::array<std::uint8_t, 256>;

/// Records the percentages, looks at the image, and aborts at a chosen call.
class Watcher : public CqProgressDisplay {
public:
    Watcher() : CqProgressDisplay(false) {}

    int m_nAbortAt = -1; ///< counted from 0
    std::function<void(int call)> m_OnCall;
    std::vector<unsigned> m_Percents;

    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        const int call = static_cast<int>(m_Percents.size());
        m_Percents.push_back(percent);
        if (m_OnCall)
            m_OnCall(call);
        *aborted = call == m_nAbortAt;
    }
};

class Tone : public testing::Test {
protected:
    void SetUp() override {
        CqHeadlessOptions options;
        options.m_Mode.m_nBits = 24;
        m_World = q32HeadlessWorld(options);
        ASSERT_TRUE(q32Attach(m_World->fnPlatform()));
    }
    void TearDown() override {
        EXPECT_EQ(m_World->m_pMisuses->fnGetAll(), std::vector<std::string>());
        q32Detach();
    }

    /// Rows of the tiles in turn, which is the order of the image's block.
    static Bytes fnRead(CqImage& image, std::uint32_t from = 0, std::uint32_t to = UINT_MAX) {
        Bytes bytes;
        CqImageTile tile;
        for (std::uint32_t i = from; i < std::min(to, image.TileCount); ++i) {
            image.fnAccessTile(i, &tile);
            bytes.insert(bytes.end(), tile.Pixels, tile.Pixels + tile.Size);
        }
        return bytes;
    }
    static void fnWrite(CqImage& image, const Bytes& bytes) {
        CqImageTile tile;
        std::size_t at = 0;
        for (std::uint32_t i = 0; i < image.TileCount; ++i) {
            image.fnAccessTile(i, &tile);
            std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), tile.Size, tile.Pixels);
            at += tile.Size;
        }
    }
    std::unique_ptr<CqImage> fnNoise(unsigned width, unsigned height, unsigned bits) {
        auto image = std::make_unique<CqImage>(width, height, bits, nullptr, bits < 9 ? 16u : 0u);
        Bytes bytes(fnRead(*image).size());
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(m_Random());
        fnWrite(*image, bytes);
        return image;
    }
    /// What an operation on 24 bits makes of the 256 greys, by channel.
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

    std::shared_ptr<CqHeadlessWorld> m_World;
    Random m_Random{7};
};

Curve fnIdentity() {
    Curve curve;
    for (unsigned i = 0; i < 256; ++i)
        curve[i] = static_cast<std::uint8_t>(i);
    return curve;
}

// The rules once more, from their words.

std::int64_t fnIn32Bits(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(value)));
}

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

} // namespace

TEST_F(Tone, BrightnessAndContrastFollowTheRuleForAllPercentages) {
    for (int brightness = -101; brightness <= 101; brightness += 3)
        for (int contrast = -101; contrast <= 101; contrast += 2)
            ASSERT_EQ(fnContrast(brightness, contrast), fnContrastByRule(brightness, contrast))
                << brightness << ", " << contrast;
}

TEST_F(Tone, FullBrightnessEndsAtTheMiddle) {
    const Curve curve = fnContrast(100, 0); // b is 127
    EXPECT_EQ(curve[0], 127);
    EXPECT_EQ(curve[64], 191); // 127 + 128 x 64 / 128
    EXPECT_EQ(curve[128], 255);
    EXPECT_EQ(curve[129], 255);
    EXPECT_EQ(curve[255], 255);
}

TEST_F(Tone, FullContrastIsAStepBetween127And128) {
    const Curve curve = fnContrast(0, 100);
    for (unsigned i = 0; i < 256; ++i)
        EXPECT_EQ(curve[i], i < 128 ? 0 : 255) << i;
}

TEST_F(Tone, NoContrastIsNearlyOneGrey) {
    const Curve curve = fnContrast(0, -100); // from 127 to 128
    EXPECT_EQ(curve[0], 127);
    EXPECT_EQ(curve[254], 127);
    EXPECT_EQ(curve[255], 128);
}

TEST_F(Tone, HugeBrightnessAndContrastWrapIn32BitsAndDoNoHarm) {
    for (const int huge : kHuge) {
        ASSERT_EQ(fnContrast(huge, 0), fnContrastByRule(huge, 0)) << huge;
        ASSERT_EQ(fnContrast(0, huge), fnContrastByRule(0, huge)) << huge;
        for (const int other : kHuge)
            ASSERT_EQ(fnContrast(huge, other), fnContrastByRule(huge, other));
    }
    EXPECT_EQ(fnContrast(INT_MIN, 33554432), fnIdentity()); // shifted by 7, nothing is left
    EXPECT_EQ(fnContrast(INT_MAX, 0), fnContrast(-1, 0));
    EXPECT_EQ(fnContrast(1000000, 0), fnContrast(100, 0));
}

TEST_F(Tone, BrightnessOf8BitsChangesIndicesAndNotThePalette) {
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

TEST_F(Tone, CurvesActOnTheChannelsOfEachDepth) {
    for (const unsigned bits : {16u, 24u, 32u})
        for (int round = 0; round < 20; ++round) {
            const auto image = fnNoise(1 + m_Random() % 300, 1 + m_Random() % 200, bits);
            const int a = static_cast<int>(m_Random() % 201) - 100;
            const int b = static_cast<int>(m_Random() % 201) - 100;
            const int c = static_cast<int>(m_Random() % 201) - 100;
            const bool balance = round % 2 != 0;
            Bytes wanted = fnRead(*image);
            std::array<Curve, 3> curves;
            if (balance)
                curves = {fnBalanceByRule(a), fnBalanceByRule(b), fnBalanceByRule(c)};
            else
                curves.fill(fnContrastByRule(a, b));
            for (std::size_t i = 0; i < wanted.size(); i += bits / 8) {
                std::uint8_t* p = &wanted[i];
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
            ASSERT_EQ(fnRead(*image), wanted) << bits << " bits, " << a << ", " << b << ", " << c;
        }
}

TEST_F(Tone, ColourBalanceFollowsTheRuleForAllWeights) {
    for (int weight = -130; weight <= 130; ++weight)
        ASSERT_EQ(fnBalance(weight), fnBalanceByRule(weight)) << weight;
}

TEST_F(Tone, ColourBalanceMovesTheEndPoints) {
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

TEST_F(Tone, ANeutralWeightLeavesItsChannelAlone) {
    const auto curves =
        fnCurves([](CqImage& image) { image.fnColorBalance(50, 0, 21474836, false, nullptr); });
    EXPECT_EQ(curves[0], fnBalanceByRule(50));
    EXPECT_EQ(curves[1], fnIdentity());
    EXPECT_EQ(curves[2], fnIdentity()); // 200 times that wraps to -96, still level 100
}

TEST_F(Tone, HugeWeightsWrapIn32BitsAndDoNoHarm) {
    for (const int huge : kHuge)
        ASSERT_EQ(fnBalance(huge), fnBalanceByRule(huge)) << huge;
    // The middle at 0 makes a gamma of 0, and so white.
    EXPECT_EQ(fnBalance(270)[0], 255);
    // Below it there is no gamma: black up to the end point, which is (99 - 884) % 256. There, 1 to
    // the power of anything is 1.
    EXPECT_EQ(fnBalance(1000)[238], 0);
    EXPECT_EQ(fnBalance(1000)[239], 255);
    // The middle at 255 makes the gamma infinite: black up to the last value.
    EXPECT_EQ(fnBalance(-274)[254], 0);
    EXPECT_EQ(fnBalance(-274)[255], 255);
    EXPECT_EQ(fnBalance(INT_MAX), fnBalance(-1));
}

TEST_F(Tone, HueAndSaturationFollowTheColourClass) {
    struct Shift {
        int hue, saturation;
    };
    for (const Shift& by : {Shift{30, 0}, Shift{0, 20}, Shift{-30, -20}, Shift{400, 100},
                            Shift{-1000, 33}, Shift{INT_MAX, 1}, Shift{INT_MIN, 0},
                            Shift{0, INT_MAX}, Shift{0, INT_MIN}, Shift{5, 8421505}})
        for (const unsigned bits : {24u, 32u}) {
            const auto image = fnNoise(140, 130, bits);
            Bytes wanted = fnRead(*image);
            const std::int64_t shift = fnIn32Bits(std::int64_t{by.saturation} * 255) / 100;
            for (std::size_t i = bits / 8 - 3; i < wanted.size(); i += bits / 8) {
                CqColor color(wanted[i], wanted[i + 1], wanted[i + 2], 0);
                int h, s, v;
                color.fnConvertToHSB(h, s, v);
                if (h != HSB_UNDEFINED_HUE) {
                    h = static_cast<int>(fnIn32Bits(std::int64_t{h} + by.hue));
                    s = static_cast<int>(
                        std::min<std::int64_t>(255, std::max<std::int64_t>(0, s + shift)));
                }
                color.fnAssignFromHSB(h, s, v);
                wanted[i] = color.m_Red;
                wanted[i + 1] = color.m_Green;
                wanted[i + 2] = color.m_Blue;
            }
            image->fnHueSaturation(by.hue, by.saturation, false, nullptr);
            ASSERT_EQ(fnRead(*image), wanted)
                << bits << " bits, " << by.hue << ", " << by.saturation;
        }
}

TEST_F(Tone, PrimariesTurnIntoEachOther) {
    CqImage image(4, 1, 24, nullptr, 0u);
    fnWrite(image, {255, 0, 0, 0, 255, 0, 0, 0, 255, 77, 77, 77});
    image.fnHueSaturation(120, 0, false, nullptr);
    EXPECT_EQ(fnRead(image), (Bytes{0, 255, 0, 0, 0, 255, 255, 0, 0, 77, 77, 77}));
    image.fnHueSaturation(0, -100, false, nullptr); // no saturation left
    EXPECT_EQ(fnRead(image), (Bytes{255, 255, 255, 255, 255, 255, 255, 255, 255, 77, 77, 77}));
    fnWrite(image, {255, 0, 0, 0, 255, 0, 0, 0, 255, 77, 77, 77});
    image.fnHueSaturation(32767, 0, false, nullptr); // red becomes a colour without hue
    EXPECT_EQ(fnRead(image)[1], 255);
}

TEST_F(Tone, A16BitPixelComesBackFromAHueShiftWithItsBytesExchanged) {
    CqImage image(2, 1, 16, nullptr, 0u);
    fnWrite(image, {0xF8, 0x00, 0x00, 0x1F}); // red and blue, high byte first
    // Blue's low bits are read as green's too: the word 0x1F00, shifted by three, gives 0xE0.
    image.fnHueSaturation(360, 0, false, nullptr);
    const Bytes bytes = fnRead(image);
    // Red's byte is read as green's as well: 0xF8 >> 3 & 0xFC is 0x1C.
    CqColor red(0xF8, 0x1C, 0, 0), blue(0, 0xE0, 0xF8, 0);
    const unsigned words[] = {0xF8u << 8 | 0x1Cu << 3, 0xE0u << 3 | 0xF8u >> 3};
    int i = 0;
    for (CqColor* color : {&red, &blue}) {
        int h, s, v;
        color->fnConvertToHSB(h, s, v);
        color->fnAssignFromHSB(h + 360, s, v);
        const unsigned word = (color->m_Red & 0xF8u) << 8 | (color->m_Green & 0xFCu) << 3 |
                              unsigned{color->m_Blue} >> 3;
        EXPECT_EQ(bytes[static_cast<std::size_t>(2 * i)], word & 0xFF);
        EXPECT_EQ(bytes[static_cast<std::size_t>(2 * i + 1)], word >> 8);
        EXPECT_EQ(word >> 11, words[i] >> 11); // red survives, in the second byte now
        ++i;
    }
}

TEST_F(Tone, AThresholdActsOnEveryByteOfEveryDepth) {
    for (const unsigned bits : {4u, 8u, 16u, 24u, 32u})
        for (const unsigned level : {0u, 1u, 128u, 255u}) {
            const auto image = fnNoise(131, 130, bits);
            Bytes wanted = fnRead(*image);
            for (std::uint8_t& byte : wanted)
                byte = byte < level ? 0 : 255;
            image->fnThresholding(static_cast<unsigned char>(level), false, nullptr);
            ASSERT_EQ(fnRead(*image), wanted) << bits << " bits, level " << level;
        }
}

TEST_F(Tone, NothingToDoMakesNoProgressCall) {
    const auto image = fnNoise(200, 20, 24);
    const Bytes before = fnRead(*image);
    Watcher watcher;
    image->fnBrightContrast(0, 0, true, &watcher);
    image->fnColorBalance(0, 0, 0, true, &watcher);
    image->fnHueSaturation(0, 0, true, &watcher);
    EXPECT_TRUE(watcher.m_Percents.empty());
    EXPECT_EQ(fnRead(*image), before);
    image->fnThresholding(0, false, &watcher); // this one always works
    EXPECT_EQ(watcher.m_Percents, (std::vector<unsigned>{0, 50}));
    EXPECT_EQ(fnRead(*image), Bytes(before.size(), 255));
}

TEST_F(Tone, PaletteDepthsAreLeftAloneWhereOnlyChannelsMakeSense) {
    for (const unsigned bits : {4u, 8u}) {
        const auto image = fnNoise(201, 31, bits);
        const Bytes before = fnRead(*image);
        Watcher watcher;
        image->fnColorBalance(10, 20, 30, true, &watcher);
        image->fnHueSaturation(10, 20, true, &watcher);
        if (bits == 4)
            image->fnBrightContrast(10, 20, true, &watcher);
        EXPECT_TRUE(watcher.m_Percents.empty());
        EXPECT_EQ(fnRead(*image), before);
    }
}

using Operation = std::function<void(CqImage&, bool draw, CqProgressDisplay*)>;
const std::pair<const char*, Operation> kOperations[] = {
    {"brightness",
     [](CqImage& image, bool draw, CqProgressDisplay* progress) {
         image.fnBrightContrast(30, 10, draw, progress);
     }},
    {"balance",
     [](CqImage& image, bool draw, CqProgressDisplay* progress) {
         image.fnColorBalance(30, -10, 5, draw, progress);
     }},
    {"hue", [](CqImage& image, bool draw,
               CqProgressDisplay* progress) { image.fnHueSaturation(30, 10, draw, progress); }},
    {"threshold", [](CqImage& image, bool draw,
                     CqProgressDisplay* progress) { image.fnThresholding(100, draw, progress); }},
};

TEST_F(Tone, AnAbortLeavesTheTilesDoneSoFarChangedAndTheRestUntouched) {
    for (const auto& [name, work] : kOperations)
        for (const unsigned bits : {16u, 24u, 32u}) {
            const auto whole = fnNoise(300, 140, bits); // 3 x 2 tiles
            const Bytes before = fnRead(*whole);
            work(*whole, false, nullptr);
            for (int stop = -1; stop < 6; ++stop) {
                CqImage image(300, 140, bits, nullptr, 0u);
                fnWrite(image, before);
                Watcher watcher;
                watcher.m_nAbortAt = stop;
                work(image, false, &watcher);
                std::vector<unsigned> percents{0, 16, 33, 50, 66, 83};
                percents.resize(stop < 0 ? 6 : static_cast<std::size_t>(stop) + 1);
                ASSERT_EQ(watcher.m_Percents, percents) << name;
                const auto done = static_cast<std::uint32_t>(percents.size());
                ASSERT_EQ(fnRead(image, 0, done), fnRead(*whole, 0, done)) << name;
                fnWrite(*whole, before);
                ASSERT_EQ(fnRead(image, done), fnRead(*whole, done)) << name;
                work(*whole, false, nullptr);
            }
        }
}

TEST_F(Tone, TheProgressDisplayOfAHostStopsTheWorkWithEsc) {
    const auto image = fnNoise(300, 140, 24);
    const Bytes before = fnRead(*image);
    m_World->m_pKeyboard->fnPressAfter(VK_ESCAPE, 2); // found by the third look
    CqProgressDisplay display(false);
    image->fnThresholding(0, false, &display);
    EXPECT_TRUE(display.fnWasAborted());
    EXPECT_EQ(fnRead(*image, 0, 3), Bytes(fnRead(*image, 0, 3).size(), 255));
    const Bytes rest = fnRead(*image, 3);
    EXPECT_TRUE(std::equal(rest.rbegin(), rest.rend(), before.rbegin()));
}

TEST_F(Tone, DrawingShowsTheWindowTileByTile) {
    CqHeadlessWnd window(CRect(20, 30, 320, 170));
    for (const auto& operation : kOperations) {
        m_World->m_pScreen->fnClear(0x000001);
        CqImage image(300, 140, 24, nullptr, 0u);
        fnWrite(image, Bytes(fnRead(image).size(), 120));
        image.fnDrawInit(1u, false, CRect(0, 0, 300, 140), CPoint(), &window);
        CqImageTile tile;
        const CPoint probes[] = {{5, 5}, {130, 5}, {260, 5}, {5, 130}, {130, 130}, {260, 139}};
        Watcher watcher;
        watcher.m_OnCall = [&](int call) {
            for (int i = 0; i < 6; ++i) {
                const bool shown =
                    m_World->m_pScreen->fnGetPixel(20 + probes[i].x, 30 + probes[i].y) != 0x000001;
                EXPECT_EQ(shown, i <= call)
                    << operation.first << ", tile " << i << " at call " << call;
            }
            EXPECT_EQ(m_World->m_pScreen->fnGetDraws().size(), static_cast<std::size_t>(call + 1));
        };
        m_World->m_pScreen->fnClearDraws();
        operation.second(image, true, &watcher);
        EXPECT_EQ(watcher.m_Percents.size(), 6u);
        m_World->m_pScreen->fnClearDraws();
        operation.second(image, false, nullptr);
        EXPECT_TRUE(m_World->m_pScreen->fnGetDraws().empty());
    }
    EXPECT_EQ(m_World->m_pScreen->fnGetOpenDCs(), 0u);
}

TEST_F(Tone, DrawingThatFailsDoesNotStopTheWork) {
    CqHeadlessWnd window(CRect(0, 0, 300, 140));
    const auto image = fnNoise(300, 140, 24);
    image->fnDrawInit(1u, false, CRect(0, 0, 300, 140), CPoint(), &window);
    m_World->m_pScreen->m_SetDIBits.fnFail(1, CqHeadlessCalls::kForever);
    image->fnThresholding(0, true, nullptr);
    EXPECT_EQ(fnRead(*image), Bytes(fnRead(*image).size(), 255));
}

TEST_F(Tone, WithoutMemoryForItsTablesAnOperationChangesNothing) {
    for (std::size_t which : {0u, 1u}) {
        const auto image = fnNoise(300, 140, 24);
        const Bytes before = fnRead(*image);
        Watcher watcher;
        const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
            bool raised = false;
            try {
                kOperations[which].second(*image, false, nullptr);
            } catch (CMemoryException* memory) {
                memory->Delete();
                raised = true;
            }
            const bool failed = failure.fnHappened();
            failure.fnEnd();
            EXPECT_EQ(raised, failed);
            if (failed) {
                EXPECT_EQ(fnRead(*image), before);
            }
        });
        EXPECT_EQ(failures, 1u);
    }
}

TEST_F(Tone, AnImageOfOnePixelWorks) {
    for (const auto& [name, work] : kOperations)
        for (const unsigned bits : {16u, 24u, 32u}) {
            const auto image = fnNoise(1, 1, bits);
            Watcher watcher;
            work(*image, false, &watcher);
            EXPECT_EQ(watcher.m_Percents, std::vector<unsigned>{0}) << name;
        }
}
