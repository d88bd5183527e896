// Pictures that are reduced while they are decoded.
#include "tests/plugins/PictureTest.h"

#include <cstdlib>

namespace {

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

} // namespace
