// Hue, saturation and thresholds, and what operations leave unchanged.

#include "tests/operations/StepDisplay.h"
#include "tests/operations/ToneWorld.h"

namespace q32::test {
namespace {

class Tone : public ToneWorld {};

TEST_F(Tone, HueAndSaturationFollowTheColourClass) {
    struct Shift {
        int hue, saturation;
    };
    for (const Shift& by : {Shift{30, 0}, Shift{0, 20}, Shift{-30, -20}, Shift{400, 100},
                            Shift{-1000, 33}, Shift{INT_MAX, 1}, Shift{INT_MIN, 0},
                            Shift{0, INT_MAX}, Shift{0, INT_MIN}, Shift{5, 8421505}})
        for (const unsigned bits : {24u, 32u}) {
            const auto image = fnNoise(140, 130, bits);
            Bytes expected = fnRead(*image);
            const std::int64_t shift = fnIn32Bits(std::int64_t{by.saturation} * 255) / 100;
            for (std::size_t i = bits / 8 - 3; i < expected.size(); i += bits / 8) {
                CqColor color(expected[i], expected[i + 1], expected[i + 2], 0);
                int h, s, v;
                color.fnConvertToHSB(h, s, v);
                if (h != HSB_UNDEFINED_HUE) {
                    h = static_cast<int>(fnIn32Bits(std::int64_t{h} + by.hue));
                    s = static_cast<int>(
                        std::min<std::int64_t>(255, std::max<std::int64_t>(0, s + shift)));
                }
                color.fnAssignFromHSB(h, s, v);
                expected[i] = color.m_Red;
                expected[i + 1] = color.m_Green;
                expected[i + 2] = color.m_Blue;
            }
            image->fnHueSaturation(by.hue, by.saturation, false, nullptr);
            ASSERT_EQ(fnRead(*image), expected)
                << bits << " bits, " << by.hue << ", " << by.saturation;
        }
}

TEST_F(Tone, HueShiftsMapPrimariesToEachOther) {
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

TEST_F(Tone, AHueShiftExchangesTheBytesOfA16BitPixel) {
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
            Bytes expected = fnRead(*image);
            for (std::uint8_t& byte : expected)
                byte = byte < level ? 0 : 255;
            image->fnThresholding(static_cast<unsigned char>(level), false, nullptr);
            ASSERT_EQ(fnRead(*image), expected) << bits << " bits, level " << level;
        }
}

TEST_F(Tone, NeutralArgumentsMakeNoProgressCall) {
    const auto image = fnNoise(200, 20, 24);
    const Bytes before = fnRead(*image);
    StepDisplay watcher;
    image->fnBrightContrast(0, 0, true, &watcher);
    image->fnColorBalance(0, 0, 0, true, &watcher);
    image->fnHueSaturation(0, 0, true, &watcher);
    EXPECT_TRUE(watcher.m_Percents.empty());
    EXPECT_EQ(fnRead(*image), before);
    image->fnThresholding(0, false, &watcher); // this one is never neutral
    EXPECT_EQ(watcher.m_Percents, (std::vector<unsigned>{0, 50}));
    EXPECT_EQ(fnRead(*image), Bytes(before.size(), 255));
}

TEST_F(Tone, ChannelOperationsLeavePaletteDepthsUnchanged) {
    for (const unsigned bits : {4u, 8u}) {
        const auto image = fnNoise(201, 31, bits);
        const Bytes before = fnRead(*image);
        StepDisplay watcher;
        image->fnColorBalance(10, 20, 30, true, &watcher);
        image->fnHueSaturation(10, 20, true, &watcher);
        if (bits == 4)
            image->fnBrightContrast(10, 20, true, &watcher);
        EXPECT_TRUE(watcher.m_Percents.empty());
        EXPECT_EQ(fnRead(*image), before);
    }
}

} // namespace
} // namespace q32::test
