#include "q32Base/memory/CqTileMap_p.h"
#include "tests/sound/SoundTestTools.h"
#include "tests/support/Random.h"
#include "tests/support/SystemPlatform.h"

using namespace q32::test;

namespace {

const CqColor kGreen(0, 255, 0, 255);

void fnBlacken(CqImage& image) {
    CqTileMap& map = *image.TileMap;
    const int found = map.fnFindColor(0, 0, 0);
    const auto black = static_cast<unsigned char>(found < 0 ? 0 : found);
    for (std::uint32_t i = 0; i < map.BufferSize; ++i) {
        if (image.BitCount == 4)
            map.PixelBuffer[i] = static_cast<unsigned char>(black << 4 | black);
        else if (image.BitCount == 8)
            map.PixelBuffer[i] = black;
        else
            map.PixelBuffer[i] = image.BitCount == 32 && i % 4 == 0 ? 255 : 0;
    }
}

/// The rule spelt out for each sample and pixel.
void fnPlain(CqImage& image, const CqWave& wave, std::uint32_t start, std::uint32_t length,
             bool vertical) {
    fnBlacken(image);
    const WAVEFORMATEX format = wave.fnGetFormat();
    const bool wide = format.wBitsPerSample == 16;
    const std::int64_t full = wide ? 65535 : 255;
    const std::int64_t mid = wide ? 32768 : 128;
    const std::uint32_t n = vertical ? image.Height : image.Width;
    const std::int64_t m = vertical ? image.Width : image.Height;
    const std::int64_t band = m / format.nChannels;
    const std::uint32_t advance = format.nBlockAlign * length / n;
    std::uint64_t at = format.nBlockAlign * start;
    const auto plot = [&](std::uint32_t t, std::int64_t across) {
        if (across < 0 || across >= m)
            return;
        const int along = static_cast<int>(t);
        const int place = static_cast<int>(across);
        image.fnSetPixelColor(vertical ? place : along, vertical ? along : place, kGreen);
    };
    const auto read = [&](std::uint64_t place, std::int64_t& s) {
        if (place + (wide ? 2 : 1) > wave.fnGetBufferSize())
            return false;
        const unsigned char* bytes = wave.fnGetBuffer() + place;
        s = wide ? static_cast<std::int16_t>(bytes[0] + 256 * bytes[1]) + 32768 : bytes[0];
        return true;
    };
    const auto place = [&](std::int64_t s) {
        const std::int64_t p = vertical ? s * band / full : (full - s) * band / full;
        return p >= band - 1 ? band - 1 : p;
    };
    const auto line = [&](std::uint32_t t, std::int64_t from, std::int64_t to) {
        for (std::int64_t i = std::min(from, to); i <= std::max(from, to); ++i)
            plot(t, i);
    };
    for (std::uint32_t t = 0; t < n; ++t, at += advance) {
        std::int64_t s = 0;
        if (read(at, s)) {
            const std::int64_t p = place(s);
            if (s == mid)
                plot(t, p);
            else
                line(t, p, band - p);
        }
        if (format.nChannels == 2 && read(at + (wide ? 2 : 1), s)) {
            const std::int64_t p = place(s);
            if (s == mid)
                plot(t, p + band);
            else
                line(t, p + band, m - p);
        }
    }
}

bool fnSamePixels(const CqImage& a, const CqImage& b) {
    return a.TileMap->BufferSize == b.TileMap->BufferSize &&
           std::memcmp(a.TileMap->PixelBuffer, b.TileMap->PixelBuffer, a.TileMap->BufferSize) == 0;
}

/// Rows of a column that are green, or columns of a row.
std::vector<int> fnGreen(CqImage& image, int t, bool vertical) {
    std::vector<int> places;
    const int size = static_cast<int>(vertical ? image.Width : image.Height);
    for (int i = 0; i < size; ++i)
        if (image.fnGetPixelColor(vertical ? i : t, vertical ? t : i) == kGreen)
            places.push_back(i);
    return places;
}

std::vector<int> fnRange(int first, int last) {
    std::vector<int> all;
    for (int i = first; i <= last; ++i)
        all.push_back(i);
    return all;
}

class OscillogramTest : public WaveTest {
protected:
    /// Draws one frame on one column (row) and returns the green pixels there.
    std::vector<int> fnDraw(unsigned int channels, unsigned int bits, const Bytes& frame,
                            unsigned int across, bool vertical = false) {
        CqWave wave(channels, bits, 8000, 1, true);
        fnFill(wave, frame);
        CqImage image(vertical ? across : 1, vertical ? 1 : across, 24, nullptr, 0);
        wave.fnRasterize(image, 0, 1, vertical, false);
        return fnGreen(image, 0, vertical);
    }
};

TEST_F(OscillogramTest, SilenceOfAStereoSoundIsAPointInEachBand) {
    EXPECT_EQ(fnDraw(2, 16, {0, 0, 0, 0}, 200), (std::vector{49, 149}));
}

TEST_F(OscillogramTest, TheLoudestSampleIsABarAcrossTheBand) {
    EXPECT_EQ(fnDraw(1, 16, {0xFF, 0x7F}, 100), fnRange(0, 99)) << "0 to 100, which is outside";
    EXPECT_EQ(fnDraw(1, 16, {0x00, 0x80}, 100), fnRange(1, 99)) << "99 down to 1";
    EXPECT_EQ(fnDraw(1, 8, {255}, 100), fnRange(0, 99));
}

TEST_F(OscillogramTest, ABarReachesOnePixelIntoTheNextBand) {
    EXPECT_EQ(fnDraw(2, 16, {0xFF, 0x7F, 0, 0}, 200), [] {
        std::vector<int> expected = fnRange(0, 100);
        expected.push_back(149);
        return expected;
    }());
}

TEST_F(OscillogramTest, OnlyTheSampleInTheMiddleIsAPoint) {
    EXPECT_EQ(fnDraw(1, 8, {128}, 100), (std::vector{49})); // 127 * 100 / 255
    EXPECT_EQ(fnDraw(1, 8, {127}, 100), (std::vector{50})); // 50 to 50: a bar of one pixel
    EXPECT_EQ(fnDraw(1, 8, {129}, 100), (std::vector{49, 50, 51}));
    EXPECT_EQ(fnDraw(1, 8, {126}, 100), (std::vector{50}));
    EXPECT_EQ(fnDraw(1, 8, {124}, 100), (std::vector{49, 50, 51}));
}

TEST_F(OscillogramTest, VerticallyLoudSamplesAreToTheRight) {
    EXPECT_EQ(fnDraw(1, 8, {128}, 100, true), (std::vector{50}));
    EXPECT_EQ(fnDraw(1, 8, {0}, 100, true), fnRange(0, 99));
    EXPECT_EQ(fnDraw(1, 8, {255}, 100, true), fnRange(1, 99));
    EXPECT_EQ(fnDraw(2, 16, {0, 0, 0, 0}, 200, true), (std::vector{50, 150}));
}

TEST_F(OscillogramTest, WithMoreThanTwoChannelsOnlyTheFirstIsDrawn) {
    EXPECT_EQ(fnDraw(4, 8, {128, 0, 0, 0}, 100), (std::vector{12}));
}

TEST_F(OscillogramTest, OtherDepthsAreReadAs8Bits) {
    EXPECT_EQ(fnDraw(2, 24, {128, 128, 0, 0, 0, 0}, 200), (std::vector{49, 149}));
}

TEST_F(OscillogramTest, AStepThatIsNotAMultipleOfAFrameReadsMisaligned) {
    CqWave wave(2, 8, 8000, 3, true); // 6 bytes over 4 columns: a step of one byte
    fnFill(wave, {128, 255, 128, 255, 128, 255});
    CqImage image(4, 20, 24, nullptr, 0);
    wave.fnRasterize(image, 0, 3, false, false);
    EXPECT_EQ(fnGreen(image, 0, false), fnGreen(image, 2, false));
    EXPECT_EQ(fnGreen(image, 1, false), fnGreen(image, 3, false));
    const std::vector<int> first = fnGreen(image, 0, false);
    EXPECT_EQ(first.front(), 4) << "128 first";
    EXPECT_EQ(fnGreen(image, 1, false).front(), 0) << "255 first: the second channel's byte";
}

TEST_F(OscillogramTest, BytesBeyondTheBlockAreNotDrawn) {
    CqWave wave(2, 16, 8000, 1, true);
    CqImage image(4, 20, 24, nullptr, 0);
    wave.fnRasterize(image, 0, 1, false, false); // one byte per step
    EXPECT_EQ(fnGreen(image, 0, false).size(), 2u);
    EXPECT_EQ(fnGreen(image, 1, false).size(), 1u) << "the second channel's sample is cut off";
    EXPECT_EQ(fnGreen(image, 2, false).size(), 1u);
    EXPECT_EQ(fnGreen(image, 3, false).size(), 0u);
    wave.fnRasterize(image, 1, 4, false, false);
    EXPECT_EQ(fnGreen(image, 0, false).size(), 0u);
    wave.fnRasterize(image, 0x3FFFFFFFul, 4, false, false);
    EXPECT_EQ(fnGreen(image, 0, false).size(), 0u);
}

TEST_F(OscillogramTest, IntoAnImageWithoutStorageNothingIsDrawn) {
    const CqWave wave(2, 16, 8000, 4, true);
    CqImage never;
    CqImage lost(3, 2, 24, nullptr, 0);
    CqImage other;
    lost.fnSwapBuf(other);
    lost.Width = 3; // fields that describe storage which is gone
    lost.Height = 2;
    for (CqImage* image : {&never, &lost})
        for (const bool vertical : {false, true})
            wave.fnRasterize(*image, 0, 4, vertical, false);
    EXPECT_EQ(never.TileMap, nullptr);
    EXPECT_EQ(lost.TileMap, nullptr);
}

TEST_F(OscillogramTest, ASoundWithoutChannelsIsBlack) {
    CqImage image(5, 5, 24, nullptr, 0);
    image.fnFill(kGreen, nullptr, false);
    CqWave().fnRasterize(image, 0, 100, false, false);
    CqImage black(5, 5, 24, nullptr, 0);
    fnBlacken(black);
    EXPECT_TRUE(fnSamePixels(image, black));
}

TEST_F(OscillogramTest, APaletteWithoutGreenShowsItsFirstColour) {
    const RGBQUAD colors[] = {{1, 2, 3, 0}, {0, 0, 0, 0}};
    CqWave wave(1, 8, 8000, 1, true);
    CqImage image(1, 9, 8, colors, 2);
    wave.fnRasterize(image, 0, 1, false, false);
    for (int y = 0; y < 9; ++y)
        EXPECT_EQ(*image.fnGetPixelAddr(0, y), y == 4 ? 0 : 1) << y;
}

TEST_F(OscillogramTest, FollowsThePlainRuleForAnySoundAndImage) {
    Random random(7);
    for (int run = 0; run < 1500; ++run) {
        const unsigned int channels = 1 + random() % 3;
        const unsigned int bits = 8 * (1 + random() % 3);
        const std::uint32_t frames = 1 + random() % 700;
        CqWave wave(channels, bits, 8000, frames, false);
        for (std::uint32_t i = 0; i < wave.fnGetBufferSize(); ++i) {
            const unsigned char known[] = {0, 127, 128, 129, 255};
            wave.fnGetBuffer()[i] =
                random() % 3 ? known[random() % 5] : static_cast<unsigned char>(random());
        }
        const unsigned int depths[] = {4, 8, 16, 24, 32};
        const unsigned int depth = depths[random() % 5];
        const unsigned int width = 1 + random() % (run % 2 ? 300 : 20);
        const unsigned int height = 1 + random() % (run % 3 ? 300 : 20);
        const std::uint32_t start = random() % frames;
        const std::uint32_t length =
            run % 5 ? 1 + random() % (frames - start) : 1 + random() % 2000;
        CqImage image(width, height, depth, nullptr, 0);
        CqImage expected(width, height, depth, nullptr, 0);
        image.fnFill(CqColor(9, 8, 7, 6), nullptr, false);
        const bool vertical = random() % 2 != 0;
        wave.fnRasterize(image, start, length, vertical, run % 2 != 0);
        fnPlain(expected, wave, start, length, vertical);
        ASSERT_TRUE(fnSamePixels(image, expected))
            << run << ": " << width << "x" << height << " of " << depth << " bits, " << channels
            << " channels of " << bits << ", " << start << " + " << length << " of " << frames
            << (vertical ? ", vertical" : "");
    }
}

TEST_F(OscillogramTest, EachSampleOf16BitsFollowsTheRule) {
    // 65536 columns, one for each sample.
    CqWave wave(1, 16, 8000, 65536, false);
    for (std::uint32_t i = 0; i < 65536; ++i) {
        wave.fnGetBuffer()[2 * i] = static_cast<unsigned char>(i);
        wave.fnGetBuffer()[2 * i + 1] = static_cast<unsigned char>(i >> 8);
    }
    for (const bool vertical : {false, true}) {
        CqImage image(vertical ? 33 : 65536, vertical ? 65536 : 33, 8, nullptr, 0);
        CqImage expected(image.Width, image.Height, 8, nullptr, 0);
        wave.fnRasterize(image, 0, 65536, vertical, false);
        fnPlain(expected, wave, 0, 65536, vertical);
        EXPECT_TRUE(fnSamePixels(image, expected)) << vertical;
    }
}

TEST(OscillogramPages, EachStepTouchesOnlyThePageOfItsFrame) {
    ASSERT_TRUE(q32Attach(q32::test::fnSystemPlatform()));
    {
        const auto page = static_cast<std::uint32_t>(q32::test::fnGetPageBytes());
        constexpr std::uint32_t kColumns = 100;
        const std::uint32_t frames = kColumns * 3 * page / 4;
        CqWave wave(2, 16, 48000, frames, false);
        CqImage image(kColumns, 64, 24, nullptr, 0);
        unsigned char* block = wave.fnGetBuffer();
        ASSERT_TRUE(fnProtect(block, wave.fnGetBufferSize(), Access::NONE));
        for (std::uint32_t column = 0; column < kColumns; ++column)
            ASSERT_TRUE(fnProtect(block + column * 3 * page, page, Access::READ));
        // A read of any other page is a fault.
        wave.fnRasterize(image, 0, frames, false, false);
        EXPECT_EQ(fnGreen(image, kColumns - 1, false).size(), 2u);
        ASSERT_TRUE(fnProtect(block, wave.fnGetBufferSize(), Access::WRITE));
    }
    q32Detach();
}

} // namespace
