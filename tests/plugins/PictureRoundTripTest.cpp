#include "tests/plugins/PictureTest.h"

#include <numeric>

namespace {

class PictureRoundTrip : public PictureTest {
protected:
    static constexpr PICTURE_FORMAT kLossless[] = {PICTURE_PNG, PICTURE_TIFF, PICTURE_BMP};
};

TEST_F(PictureRoundTrip, EveryDepthReadsBackByteForByteAtOddSizes) {
    const std::uint32_t sizes[][2] = {{1, 1},     {2, 3},     {9, 1},   {127, 129},
                                      {128, 128}, {129, 257}, {257, 2}, {1, 300}};
    for (const PICTURE_FORMAT format : kLossless) {
        for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
            for (const auto& [width, height] : sizes) {
                SCOPED_TRACE(testing::Message() << format << ' ' << bits << ' ' << width);
                const auto image = fnMakeNoise(width, height, bits, width * height + bits);
                ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
                ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
                ASSERT_EQ(m_Image.Width, width);
                ASSERT_EQ(m_Image.Height, height);
                // Only BMP has 5-6-5; the other formats get the colours as drawn.
                const bool widened = bits == 16 && format != PICTURE_BMP;
                ASSERT_EQ(m_Image.BitCount, widened ? 24u : bits);
                ASSERT_EQ(fnPixelsOf(m_Image), widened ? fnColorsOf(*image) : fnPixelsOf(*image));
                ASSERT_EQ(fnPaletteOf(m_Image), fnPaletteOf(*image));
            }
        }
    }
}

TEST_F(PictureRoundTrip, AShortPaletteKeepsItsLength) {
    for (const unsigned int bits : {4u, 8u}) {
        const auto image = fnMakeNoise(50, 40, bits, bits, 7);
        for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_BMP}) {
            ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
            ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
            EXPECT_EQ(fnPaletteOf(m_Image), fnPaletteOf(*image));
            EXPECT_EQ(fnPixelsOf(m_Image), fnPixelsOf(*image));
        }
        // A TIFF's colour table is always full; the rest is black.
        ASSERT_TRUE(fnWrite(*image, PICTURE_TIFF).fnIsDone());
        ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
        EXPECT_EQ(m_Image.PaletteCount, 1u << bits);
        EXPECT_EQ(fnColorsOf(m_Image), fnColorsOf(*image));
    }
}

TEST_F(PictureRoundTrip, IndicesBeyondThePaletteShowAsBlackAgain) {
    const auto image = fnMakeNoise(50, 40, 8, 3, 200);
    RGBQUAD few[3] = {{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}};
    CqImage narrow(50, 40, 8, few, 3);
    for (std::uint32_t y = 0; y < 40; ++y) {
        CqImageLine line;
        narrow.fnAccessLine(y, &line, false);
        const Bytes row = fnRowOf(*image, y);
        std::copy(row.begin(), row.end(), line.LineBuffer);
    }
    for (const PICTURE_FORMAT format : kLossless) {
        ASSERT_TRUE(fnWrite(narrow, format).fnIsDone());
        ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
        EXPECT_EQ(fnPixelsOf(m_Image), fnPixelsOf(narrow));
        EXPECT_EQ(fnColorsOf(m_Image), fnColorsOf(narrow));
    }
}

TEST_F(PictureRoundTrip, AGreyImageStaysGrey) {
    CqImage grey(131, 40, 8, q32GreyRamp, 0);
    for (std::uint32_t y = 0; y < 40; ++y) {
        CqImageLine line;
        grey.fnAccessLine(y, &line, false);
        std::iota(line.LineBuffer, line.LineBuffer + 131, static_cast<unsigned char>(y));
    }
    for (const PICTURE_FORMAT format : kLossless) {
        ASSERT_TRUE(fnWrite(grey, format).fnIsDone());
        ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
        EXPECT_TRUE(m_Image.fnIsGrayScale());
        EXPECT_EQ(fnPixelsOf(m_Image), fnPixelsOf(grey));
    }
}

TEST_F(PictureRoundTrip, EveryResolutionReadsBack) {
    const auto image = fnMakeNoise(3, 3, 24, 1);
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP}) {
        for (const int dpi : {1, 2, 72, 96, 100, 254, 300, 1199, 2400, 65535}) {
            image->DpiX = dpi;
            image->DpiY = 2 * dpi <= 65535 ? 2 * dpi : dpi;
            ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
            ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
            EXPECT_EQ(m_Image.DpiX, image->DpiX) << format;
            EXPECT_EQ(m_Image.DpiY, image->DpiY) << format;
        }
    }
}

TEST_F(PictureRoundTrip, AnInvalidResolutionIsNotWritten) {
    const auto image = fnMakeNoise(3, 3, 24, 1);
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP}) {
        for (const auto& [x, y] : {std::pair{0, 300}, std::pair{300, -1}}) {
            image->DpiX = x;
            image->DpiY = y;
            ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
            ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
            EXPECT_EQ(m_Image.DpiX, 96) << format;
            EXPECT_EQ(m_Image.DpiY, 96) << format;
        }
    }
}

TEST_F(PictureRoundTrip, TheTitleReadsBackWhereTheFormatHasOne) {
    const auto image = fnMakeNoise(3, 3, 24, 1);
    for (const char* title : {"", "Sea", "100 % of \xE9\xA4 <b>"}) {
        image->Title = title;
        for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_TIFF}) {
            ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
            ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
            EXPECT_STREQ(m_Image.Title, title) << format;
        }
    }
}

TEST_F(PictureRoundTrip, EveryCompressionGivesTheSamePixels) {
    const auto image = fnMakeNoise(200, 150, 32, 1);
    for (const PICTURE_COMPRESSION compression :
         {PICTURE_LZW, PICTURE_DEFLATE, PICTURE_UNCOMPRESSED}) {
        CqPictureOptions options;
        options.m_eTiffCompression = compression;
        ASSERT_TRUE(fnWrite(*image, PICTURE_TIFF, options).fnIsDone());
        ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
        EXPECT_EQ(fnPixelsOf(m_Image), fnPixelsOf(*image)) << compression;
    }
    for (const unsigned int effort : {0u, 1u, 9u, 99u}) {
        CqPictureOptions options;
        options.m_nPngEffort = effort;
        ASSERT_TRUE(fnWrite(*image, PICTURE_PNG, options).fnIsDone());
        ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
        EXPECT_EQ(fnPixelsOf(m_Image), fnPixelsOf(*image)) << effort;
    }
}

} // namespace
