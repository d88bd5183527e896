// Pictures of 16 bits per channel, dithered to 8 on reading.
#include "tests/plugins/CodecFiles.h"

#include <tiffio.h>

#include <initializer_list>
#include <random>

namespace {

constexpr unsigned int kBayer[8][8] = {
    {0, 32, 8, 40, 2, 34, 10, 42},  {48, 16, 56, 24, 50, 18, 58, 26},
    {12, 44, 4, 36, 14, 46, 6, 38}, {60, 28, 52, 20, 62, 30, 54, 22},
    {3, 35, 11, 43, 1, 33, 9, 41},  {51, 19, 59, 27, 49, 17, 57, 25},
    {15, 47, 7, 39, 13, 45, 5, 37}, {63, 31, 55, 23, 61, 29, 53, 21}};

/// The rule of the documentation.
std::uint8_t fnDithered(unsigned int value, std::uint32_t x, std::uint32_t y) {
    const unsigned int threshold = (2 * kBayer[y % 8][x % 8] + 1) * 65535 / 128;
    return static_cast<std::uint8_t>((value * 255 + threshold) / 65535);
}

class DitheredReading : public PictureTest {
protected:
    DitheredReading() { m_Limits.m_bDither = true; }

    /// Noise of 16 bits, interleaved; `high` is the offset of a sample's high byte.
    static Bytes fnMakeSamples(std::size_t count) {
        std::mt19937 random(static_cast<unsigned int>(count));
        Bytes samples(2 * count);
        for (std::uint8_t& byte : samples)
            byte = static_cast<std::uint8_t>(random());
        return samples;
    }
    static unsigned int fnSample(const Bytes& samples, std::size_t i, std::size_t high) {
        return static_cast<unsigned int>(samples[2 * i + high] << 8 | samples[2 * i + 1 - high]);
    }
    /// Each pixel from those of its samples that `order` names, inverted where 0 is white.
    static Bytes fnExpected(const Bytes& samples, std::uint32_t width, std::size_t perPixel,
                            std::initializer_list<std::size_t> order, std::size_t high,
                            bool inverted = false) {
        Bytes all;
        for (std::size_t pixel = 0; pixel < samples.size() / 2 / perPixel; ++pixel)
            for (const std::size_t sample : order) {
                const std::uint8_t value =
                    fnDithered(fnSample(samples, pixel * perPixel + sample, high),
                               static_cast<std::uint32_t>(pixel % width),
                               static_cast<std::uint32_t>(pixel / width));
                all.push_back(inverted && sample == 0 ? static_cast<std::uint8_t>(255 - value)
                                                      : value);
            }
        return all;
    }
    CqPictureResult fnReadDithered() { return q32ReadPicture(kPath, m_Image, m_Limits); }
    void fnExpectPixels(const Bytes& file, const Bytes& expected) {
        fnPut(file);
        const CqPictureResult result = fnReadDithered();
        ASSERT_EQ(result.m_nMsgId, 0);
        EXPECT_NE(result.m_nParts & PICTURE_PART_DEPTH, 0u);
        ASSERT_EQ(fnPixelsOf(m_Image), expected);
    }
    static TestTiff fnMakeTiff(int photometric, int samples, std::uint32_t width,
                               std::uint32_t height) {
        TestTiff tiff;
        tiff.m_nWidth = width;
        tiff.m_nHeight = height;
        tiff.m_nBits = 16;
        tiff.m_nSamples = samples;
        tiff.m_nPhotometric = photometric;
        tiff.m_Samples =
            fnMakeSamples(std::size_t{width} * height * static_cast<unsigned>(samples));
        return tiff;
    }
    /// The same picture with its samples plane by plane.
    static TestTiff fnApart(const TestTiff& tiff) {
        TestTiff apart = tiff;
        apart.m_bSeparate = true;
        apart.m_Samples.clear();
        const auto step = 2 * static_cast<std::size_t>(tiff.m_nSamples);
        for (std::size_t plane = 0; plane < step; plane += 2)
            for (std::size_t i = plane; i < tiff.m_Samples.size(); i += step)
                apart.m_Samples.insert(apart.m_Samples.end(),
                                       {tiff.m_Samples[i], tiff.m_Samples[i + 1]});
        return apart;
    }

    CqPictureLimits m_Limits;
};

} // namespace

TEST_F(DitheredReading, APngOfEachKindFollowsTheRulePlainAndInterlaced) {
    struct Kind {
        int m_nType;
        std::size_t m_nSamples;
        std::initializer_list<std::size_t> m_Order;
    };
    const Kind kinds[] = {
        {0, 1, {0}}, {2, 3, {0, 1, 2}}, {4, 2, {1, 0, 0, 0}}, {6, 4, {3, 0, 1, 2}}};
    for (const Kind& kind : kinds) {
        for (const bool interlaced : {false, true}) {
            SCOPED_TRACE(kind.m_nType * 10 + interlaced);
            TestPng png;
            png.m_nWidth = 133;
            png.m_nHeight = 21;
            png.m_nDepth = 16;
            png.m_nColorType = kind.m_nType;
            png.m_bInterlaced = interlaced;
            png.m_Rows = fnMakeSamples(std::size_t{133} * 21 * kind.m_nSamples);
            ASSERT_NO_FATAL_FAILURE(fnExpectPixels(
                png.fnMake(), fnExpected(png.m_Rows, 133, kind.m_nSamples, kind.m_Order, 0)));
        }
    }
}

TEST_F(DitheredReading, TheClearColourOfAPngIsComparedAt16BitsAndItsAlphaIsExact) {
    TestPng png;
    png.m_nWidth = 2;
    png.m_nColorType = 0;
    png.m_nDepth = 16;
    png.m_Rows = {0x40, 0x00, 0x40, 0x01};
    png.m_ClearGrey = {0x4000};
    const std::uint8_t first = fnDithered(0x4000, 0, 0);
    const std::uint8_t second = fnDithered(0x4001, 1, 0);
    fnExpectPixels(png.fnMake(), {0, first, first, first, 255, second, second, second});
}

TEST_F(DitheredReading, ATiffFollowsTheRuleInRowsTilesAndPlanes) {
    for (const bool tiled : {false, true}) {
        TestTiff rgba = fnMakeTiff(PHOTOMETRIC_RGB, 4, 75, 53);
        rgba.m_Extra = {EXTRASAMPLE_UNASSALPHA};
        rgba.m_nTileWidth = tiled ? 16 : 0;
        rgba.m_nTileHeight = 32;
        const Bytes expected = fnExpected(rgba.m_Samples, 75, 4, {3, 0, 1, 2}, 1);
        ASSERT_NO_FATAL_FAILURE(fnExpectPixels(rgba.fnMake(), expected)) << tiled;
        ASSERT_NO_FATAL_FAILURE(fnExpectPixels(fnApart(rgba).fnMake(), expected)) << tiled;
    }
    for (const int photometric : {PHOTOMETRIC_MINISBLACK, PHOTOMETRIC_MINISWHITE}) {
        TestTiff grey = fnMakeTiff(photometric, 2, 75, 20);
        grey.m_Extra = {EXTRASAMPLE_UNASSALPHA};
        const Bytes expected = fnExpected(grey.m_Samples, 75, 2, {1, 0, 0, 0}, 1,
                                          photometric == PHOTOMETRIC_MINISWHITE);
        ASSERT_NO_FATAL_FAILURE(fnExpectPixels(grey.fnMake(), expected)) << photometric;
    }
}

TEST_F(DitheredReading, WhatEightBitsHoldIsUnchangedAndTheRestAveragesToItsValue) {
    for (const unsigned int value :
         {0u, 1u, 128u, 129u, 0x1234u, 0x8080u, 0xFE80u, 0xFFFEu, 65535u}) {
        TestPng png;
        png.m_nWidth = 8;
        png.m_nHeight = 8;
        png.m_nColorType = 0;
        png.m_nDepth = 16;
        for (int i = 0; i < 64; ++i)
            png.m_Rows.insert(png.m_Rows.end(), {static_cast<std::uint8_t>(value >> 8),
                                                 static_cast<std::uint8_t>(value & 0xFF)});
        fnPut(png.fnMake());
        ASSERT_EQ(fnReadDithered().m_nMsgId, 0);
        unsigned int sum = 0;
        for (const std::uint8_t pixel : fnPixelsOf(m_Image))
            sum += pixel;
        const double exact = value * 255.0 / 65535 * 64;
        EXPECT_NEAR(sum, exact, 0.5) << value;
        if (value % 257 == 0) {
            EXPECT_EQ(fnPixelsOf(m_Image), Bytes(64, static_cast<std::uint8_t>(value / 257)));
        }
    }
}

TEST_F(DitheredReading, IsOffUnlessTheHostAsksForIt) {
    TestPng png;
    png.m_nWidth = 8;
    png.m_nHeight = 8;
    png.m_nColorType = 0;
    png.m_nDepth = 16;
    for (int i = 0; i < 64; ++i)
        png.m_Rows.insert(png.m_Rows.end(), {0x12, 0x34});
    fnPut(png.fnMake());
    ASSERT_EQ(fnRead().m_nMsgId, 0);
    EXPECT_EQ(fnPixelsOf(m_Image), Bytes(64, (0x1234 * 255 + 32767) / 65535));
    ASSERT_EQ(fnReadDithered().m_nMsgId, 0);
    EXPECT_NE(fnPixelsOf(m_Image), Bytes(64, (0x1234 * 255 + 32767) / 65535));
}

TEST_F(DitheredReading, TheRowsOfAPngCountAsMemoryOfTheDecoder) {
    TestPng png;
    png.m_nWidth = 60000;
    png.m_nColorType = 2;
    png.m_nDepth = 16;
    png.m_Rows = fnMakeSamples(std::size_t{60000} * 3);
    fnPut(png.fnMake());
    m_Limits.m_nCodecBytes = std::uint64_t{1} << 20;
    EXPECT_EQ(fnReadDithered().m_eLimit, PICTURE_LIMIT_CODEC);
    m_Limits.m_bDither = false;
    EXPECT_EQ(fnReadDithered().m_nMsgId, 0) << "which takes no second row";
    m_Limits.m_bDither = true;
    m_Limits.m_nCodecBytes = std::uint64_t{4} << 20;
    EXPECT_EQ(fnReadDithered().m_nMsgId, 0);
}
