// Pictures that are reduced while they are decoded.
#include "tests/plugins/CodecFiles.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <vector>

namespace {

constexpr int kCorrupted = -6;

class ReducedReadingTest : public PictureTest {
protected:
    CqPictureResult fnReadInto(std::uint32_t width, std::uint32_t height) {
        CqPictureLimits limits;
        limits.m_nFitWidth = width;
        limits.m_nFitHeight = height;
        return q32ReadPicture(kPath, m_Image, limits);
    }

    /// Writes a picture of a slow ramp, which every reduction shows alike.
    void fnWriteRamp(unsigned int width, unsigned int height, PICTURE_FORMAT format) {
        CqImage image(width, height, 24, nullptr, 0);
        CqImageLine line;
        for (unsigned int y = 0; y < height; ++y) {
            image.fnAccessLine(y, &line, false);
            for (unsigned int x = 0; x < width; ++x)
                line.fnSetPixelColor(static_cast<int>(x), fnRamp(x, width, y, height));
        }
        line.fnUnAssociate();
        CqPictureOptions options;
        options.m_nQuality = 100;
        ASSERT_TRUE(fnWrite(image, format, options).fnIsDone());
    }

    static CqColor fnRamp(unsigned int x, unsigned int width, unsigned int y, unsigned int height) {
        const auto red = static_cast<unsigned char>(x * 255 / width);
        const auto green = static_cast<unsigned char>(y * 255 / height);
        return {red, green, 128, 255};
    }
};

TEST_F(ReducedReadingTest, AJpegIsReducedAsFarAsItStillReachesTheBox) {
    fnWriteRamp(801, 400, PICTURE_JPEG);
    const struct {
        std::uint32_t m_nBoxWidth, m_nBoxHeight;
        unsigned int m_nReduction, m_nWidth, m_nHeight;
    } cases[] = {
        {0, 0, 1, 801, 400},          {1000, 1000, 1, 801, 400}, {401, 1000, 2, 401, 200},
        {402, 1000, 1, 801, 400},     {201, 201, 4, 201, 100},   {202, 202, 2, 401, 200},
        {101, 0, 8, 101, 50},         {1, 1, 8, 101, 50},        {0, 50, 8, 101, 50},
        {0, 51, 4, 201, 100},         {102, 50, 8, 101, 50},     {UINT32_MAX, 1, 8, 101, 50},
        {UINT32_MAX, 0, 1, 801, 400},
    };
    for (const auto& one : cases) {
        const CqPictureResult result = fnReadInto(one.m_nBoxWidth, one.m_nBoxHeight);
        SCOPED_TRACE(std::to_string(one.m_nBoxWidth) + " x " + std::to_string(one.m_nBoxHeight));
        ASSERT_TRUE(result.fnIsDone());
        EXPECT_EQ(result.m_nReduction, one.m_nReduction);
        EXPECT_FALSE(result.m_bReduced) << "nothing in the file is missing";
        EXPECT_EQ(m_Image.Width, one.m_nWidth);
        EXPECT_EQ(m_Image.Height, one.m_nHeight);
    }
}

TEST_F(ReducedReadingTest, AReducedJpegShowsTheSamePicture) {
    fnWriteRamp(400, 240, PICTURE_JPEG);
    ASSERT_EQ(fnReadInto(50, 30).m_nReduction, 8u);
    for (unsigned int y = 0; y < 30; ++y)
        for (unsigned int x = 0; x < 50; ++x) {
            const CqColor color = m_Image.fnGetPixelColor(static_cast<int>(x), static_cast<int>(y));
            const CqColor expected = fnRamp(8 * x + 4, 400, 8 * y + 4, 240);
            ASSERT_LE(std::abs(color.m_Red - expected.m_Red), 3) << x << ' ' << y;
            ASSERT_LE(std::abs(color.m_Green - expected.m_Green), 3) << x << ' ' << y;
        }
}

TEST_F(ReducedReadingTest, AGreyJpegIsReducedToo) {
    CqImage grey(80, 64, 8, q32GreyRamp, 256);
    ASSERT_TRUE(fnWrite(grey, PICTURE_JPEG).fnIsDone());
    ASSERT_EQ(fnReadInto(10, 8).m_nReduction, 8u);
    EXPECT_EQ(m_Image.Width, 10u);
    EXPECT_EQ(m_Image.BitCount, 8u);
    EXPECT_TRUE(m_Image.fnIsGrayScale());
}

TEST_F(ReducedReadingTest, TheLimitsApplyToWhatIsDecoded) {
    fnWriteRamp(800, 400, PICTURE_JPEG);
    CqPictureLimits limits;
    limits.m_nPixels = 100 * 50;
    EXPECT_EQ(q32ReadPicture(kPath, m_Image, limits).m_eLimit, PICTURE_LIMIT_PIXELS);
    limits.m_nFitWidth = 100;
    limits.m_nFitHeight = 100;
    EXPECT_TRUE(q32ReadPicture(kPath, m_Image, limits).fnIsDone());
    limits.m_nPixels -= 1;
    const CqPictureResult refused = q32ReadPicture(kPath, m_Image, limits);
    EXPECT_EQ(refused.m_eLimit, PICTURE_LIMIT_PIXELS);
    EXPECT_EQ(refused.m_nReduction, 1u) << "nothing was read";
}

TEST_F(ReducedReadingTest, OtherFormatsAreReadWhole) {
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_TIFF, PICTURE_BMP}) {
        fnWriteRamp(800, 400, format);
        EXPECT_EQ(fnReadInto(1, 1).m_nReduction, 1u);
        EXPECT_EQ(m_Image.Width, 800u);
    }
}

/// A JPEG of noise, which has all coefficients.
TestJpeg fnMakeNoisyJpeg(int components, bool progressive) {
    TestJpeg jpeg;
    jpeg.m_nWidth = 53;
    jpeg.m_nHeight = 37;
    jpeg.m_nComponents = components;
    jpeg.m_bProgressive = progressive;
    jpeg.m_Samples.resize(std::size_t{53} * 37 * static_cast<unsigned int>(components));
    std::uint32_t seed = 1;
    for (std::uint8_t& sample : jpeg.m_Samples)
        sample = static_cast<std::uint8_t>((seed = seed * 1664525 + 1013904223) >> 24);
    return jpeg;
}

/// Where the segments with this mark begin.
std::vector<std::size_t> fnFindMarks(const Bytes& file, std::uint8_t mark) {
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i + 1 < file.size(); ++i)
        if (file[i] == 0xFF && file[i + 1] == mark)
            places.push_back(i);
    return places;
}

TEST_F(ReducedReadingTest, AProgressiveJpegIsReducedToThePixelsOfTheOrdinaryOne) {
    for (const int components : {1, 3, 4})
        for (const std::uint32_t box : {1u, 8u, 14u}) { // an eighth, and a quarter
            fnPut(fnMakeNoisyJpeg(components, false).fnMake());
            const CqPictureResult ordinary = fnReadInto(box, 0);
            ASSERT_TRUE(ordinary.fnIsDone());
            const Bytes pixels = fnPixelsOf(m_Image);
            fnPut(fnMakeNoisyJpeg(components, true).fnMake());
            const CqPictureResult progressive = fnReadInto(box, 0);
            ASSERT_TRUE(progressive.fnIsDone());
            EXPECT_EQ(progressive.m_nReduction, ordinary.m_nReduction);
            EXPECT_EQ(fnPixelsOf(m_Image), pixels) << components << " in a box of " << box;
        }
}

TEST_F(ReducedReadingTest, SegmentsOfAProgressiveJpegMayLieAcrossBlocksOfTheFile) {
    constexpr std::size_t kBlock = 65536;
    const Bytes file = fnMakeNoisyJpeg(3, true).fnMake();
    fnPut(file);
    ASSERT_EQ(fnReadInto(1, 1).m_nReduction, 8u);
    const Bytes pixels = fnPixelsOf(m_Image);
    std::vector<std::size_t> places = fnFindMarks(file, 0xDA);
    ASSERT_GT(places.size(), 5u);
    std::ranges::copy(fnFindMarks(file, 0xC4), std::back_inserter(places));
    places.push_back(file.size() - 2); // the mark of the end
    for (const std::size_t place : places)
        for (std::size_t before = 0; before < 12; ++before) { // bytes of it in the first block
            const std::size_t length = kBlock - before - place - 2;
            Bytes comment = {0xFF, 0xFE, static_cast<std::uint8_t>(length >> 8),
                             static_cast<std::uint8_t>(length)};
            comment.resize(length + 2, 0x20);
            Bytes moved = file;
            moved.insert(moved.begin() + 2, comment.begin(), comment.end());
            fnPut(moved);
            ASSERT_TRUE(fnReadInto(1, 1).fnIsDone());
            ASSERT_EQ(fnPixelsOf(m_Image), pixels) << place << ", " << before << " bytes before";
        }
}

TEST_F(ReducedReadingTest, ScansWithoutEffectOnAnEighthAreNotDecoded) {
    Bytes file = fnMakeNoisyJpeg(3, true).fnMake();
    const std::size_t last = fnFindMarks(file, 0xDA).back();
    ASSERT_EQ(file[last + 5], 1) << "a refinement of the luminance";
    file[last + 9] = 0xEE; // no such bits
    fnPut(file);
    fnExpectRefused(kCorrupted);
    EXPECT_EQ(fnReadInto(14, 0).m_nMsgId, kCorrupted) << "a quarter needs it";
    EXPECT_TRUE(fnReadInto(1, 1).fnIsDone());

    CqPictureLimits limits;
    limits.m_nFitWidth = limits.m_nFitHeight = 1;
    limits.m_bPartial = true;
    EXPECT_EQ(q32ReadPicture(kPath, m_Image, limits).m_nMsgId, kCorrupted)
        << "of a damaged file all scans count";
}

TEST_F(ReducedReadingTest, AnEighthOfAProgressiveJpegThatEndsEarlyIsRefused) {
    Bytes file = fnMakeNoisyJpeg(3, true).fnMake();
    const std::size_t last = fnFindMarks(file, 0xDA).back();
    for (const std::size_t length : {last + 3, last + 10, file.size() - 2}) {
        fnPut(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)));
        EXPECT_EQ(fnReadInto(1, 1).m_nMsgId, kCorrupted) << length;
    }
}

} // namespace
