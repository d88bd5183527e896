#include "tests/display/DisplayWorld.h"
#include "tests/display/DrawReference.h"

#include <random>
#include <vector>

namespace {

/// One 24-bit pixel's index at a place.
int fnIndex(int red, int green, int blue, int x, int y) {
    unsigned char source[3] = {static_cast<unsigned char>(red), static_cast<unsigned char>(green),
                               static_cast<unsigned char>(blue)};
    unsigned char index = 0;
    q32GetDisplayProperty()->fnDitherRGB666(source, &index, 24, x, y, 1);
    return index;
}

std::vector<unsigned char> fnNoise(std::size_t bytes, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<unsigned char> noise(bytes);
    for (unsigned char& byte : noise)
        byte = static_cast<unsigned char>(random() >> 8);
    return noise;
}

} // namespace

TEST(DisplayDither, BlackInACellWithoutThresholdIsTheDarkGrey43) {
    CqDisplayWorld world(8);
    EXPECT_EQ(fnIndex(0, 0, 0, 0, 0), 43);
    EXPECT_EQ(fnIndex(0, 0, 0, 4, 4), 43);
    EXPECT_EQ(fnIndex(0, 0, 0, 1, 0), 0);
    EXPECT_EQ(fnIndex(0, 0, 0, 8, 16), 43); // the pattern repeats
    EXPECT_EQ(fnIndex(0, 0, 0, -8, -4), 0);
    EXPECT_EQ(fnIndex(0, 0, 0, -4, -4), 43); // also for negative positions
}

TEST(DisplayDither, WhiteInACellWithoutThresholdIsTheIndex0) {
    CqDisplayWorld world(8);
    EXPECT_EQ(fnIndex(255, 255, 255, 4, 4), 0);
    EXPECT_EQ(fnIndex(255, 255, 255, 0, 0), 0);
    EXPECT_EQ(fnIndex(255, 0, 0, 0, 0), 7); // red adds nothing, the others round up
    EXPECT_EQ(fnIndex(0, 255, 0, 0, 0), 37);
    EXPECT_EQ(fnIndex(0, 0, 255, 0, 0), 42);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            if (!(x == y && x % 4 == 0)) {
                EXPECT_EQ(fnIndex(255, 255, 255, x, y), 215) << x << " " << y;
            }
}

TEST(DisplayDither, RoundsUpFromTheThresholdOn) {
    CqDisplayWorld world(8);
    EXPECT_EQ(fnIndex(51 + 37, 0, 0, 1, 0), 36); // threshold 38
    EXPECT_EQ(fnIndex(51 + 38, 0, 0, 1, 0), 72);
    EXPECT_EQ(fnIndex(0, 50, 50, 7, 0), 7); // threshold 50, the highest
    EXPECT_EQ(fnIndex(0, 49, 49, 7, 0), 0);
}

TEST(DisplayDither, RunsOfEveryDepthFollowTheRule) {
    CqDisplayWorld world(8);
    std::mt19937 random(7);
    for (const unsigned bits : {16u, 24u, 32u}) {
        CqImage image(1, 1, bits, nullptr, 0);
        for (int round = 0; round < 200; ++round) {
            const int count = 1 + static_cast<int>(random() % 300);
            const int x = static_cast<int>(random() % 4000) - 2000;
            const int y = static_cast<int>(random() % 4000) - 2000;
            auto source = fnNoise(static_cast<std::size_t>(count) * bits / 8,
                                  static_cast<std::uint32_t>(random()));
            std::vector<unsigned char> out(static_cast<std::size_t>(count) + 1, 0xEE);
            q32GetDisplayProperty()->fnDitherRGB666(source.data(), out.data(), bits, x, y, count);
            for (int i = 0; i < count; ++i) {
                std::array<std::uint8_t, 4> pixel{};
                std::copy_n(source.data() + static_cast<std::size_t>(i) * bits / 8, bits / 8,
                            pixel.data());
                CqReferenceSetup setup;
                setup.m_nScreenBits = 8;
                ASSERT_EQ(out[static_cast<std::size_t>(i)],
                          fnReferenceDevicePixel(image, pixel, setup, x + i, y).m_Bytes[0])
                    << bits << " bits, pixel " << i;
            }
            EXPECT_EQ(out.back(), 0xEE);
        }
    }
}

TEST(DisplayDither, ABlockRunsUpwardsInMemoryFromItsTopRow) {
    CqDisplayWorld world(8);
    CqDisplayProperty& display = world.fnDisplay();
    for (const unsigned bits : {16u, 24u, 32u}) {
        constexpr int kWidth = 13;
        constexpr int kHeight = 11;
        constexpr std::size_t kPitch = 16;
        const std::size_t rowBytes = kWidth * bits / 8;
        auto source = fnNoise(rowBytes * kHeight, bits);
        std::vector<unsigned char> out(kPitch * kHeight, 0xEE);
        auto expected = out;
        display.fnDitherRGB666(source.data(), out.data() + kPitch * (kHeight - 1), kPitch, bits, 5,
                               6, kWidth, kHeight);
        for (int row = 0; row < kHeight; ++row)
            display.fnDitherRGB666(source.data() + rowBytes * static_cast<std::size_t>(row),
                                   expected.data() +
                                       kPitch * static_cast<std::size_t>(kHeight - 1 - row),
                                   bits, 5, 6 + row, kWidth);
        EXPECT_EQ(out, expected) << bits;
    }
}

TEST(DisplayDither, AnEmptyRunTouchesNothing) {
    CqDisplayWorld world(8);
    unsigned char source[4] = {};
    unsigned char out[4] = {1, 2, 3, 4};
    world.fnDisplay().fnDitherRGB666(source, out, 24, 0, 0, 0);
    world.fnDisplay().fnDitherRGB666(source, out, 24, 0, 0, -3);
    world.fnDisplay().fnDitherRGB666(source, out, 4, 24, 0, 0, 1, 0);
    world.fnDisplay().fnHiColorDither(out, 0, 24, 0, 0);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[3], 4);
}

TEST(HiColorDither, OnlyCellsBelow7EverRoundUp) {
    CqDisplayWorld world(16);
    constexpr int kPattern[4][4] = {{0, 12, 3, 15}, {8, 4, 11, 7}, {2, 14, 1, 13}, {10, 6, 9, 5}};
    int cellsThatRoundUp = 0;
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            bool up = false;
            for (int v = 0; v < 256; ++v) {
                const auto byte = static_cast<unsigned char>(v);
                unsigned char pixel[3] = {byte, byte, byte};
                world.fnDisplay().fnHiColorDither(pixel, 1, 24, x, y);
                const int want = v % 8 <= kPattern[y][x] ? v / 8 * 8 : std::min(v / 8 * 8 + 8, 255);
                EXPECT_EQ(pixel[0], want);
                EXPECT_EQ(pixel[1], want); // green is rounded like the others
                EXPECT_EQ(pixel[2], want);
                up = up || want > v;
            }
            cellsThatRoundUp += up ? 1 : 0;
        }
    }
    EXPECT_EQ(cellsThatRoundUp, 7);
}

TEST(HiColorDither, DoesNothingWhenSwitchedOff) {
    CqDisplayWorld world(16);
    world.fnDisplay().fnEnableHiColorDither(false);
    unsigned char pixel[3] = {7, 7, 7};
    world.fnDisplay().fnHiColorDither(pixel, 1, 24, 0, 0);
    EXPECT_EQ(pixel[0], 7);
    world.fnDisplay().fnEnableHiColorDither(true);
    world.fnDisplay().fnHiColorDither(pixel, 1, 99, 0, 0); // the depth isn't read
    EXPECT_EQ(pixel[0], 8);
}

TEST(HiColorDither, ABitmapBeginsWithItsLastRowInMemory) {
    CqDisplayWorld world(16);
    constexpr int kWidth = 9;
    constexpr int kHeight = 6;
    constexpr std::size_t kPitch = 28;
    for (const WORD bits : {WORD{24}, WORD{32}}) { // always three bytes per pixel
        auto dib = fnNoise(40 + kPitch * kHeight, 3);
        auto* header = reinterpret_cast<BITMAPINFOHEADER*>(dib.data());
        *header = BITMAPINFOHEADER{40, kWidth, kHeight, 1, bits, 0, 0, 0, 0, 0, 0};
        auto expected = dib;
        for (int row = 0; row < kHeight; ++row)
            world.fnDisplay().fnHiColorDither(
                expected.data() + 40 + kPitch * static_cast<std::size_t>(kHeight - 1 - row), kWidth,
                24, -2, 3 + row);
        world.fnDisplay().fnHiColorDither(header, kPitch, -2, 3);
        EXPECT_EQ(dib, expected);
    }
}
