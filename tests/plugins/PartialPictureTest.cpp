// Files that end early or are damaged, read as far as they go.
#include "tests/plugins/CodecFiles.h"

#include <algorithm>
#include <string>

namespace {

class PartialPicture : public PictureTest {
protected:
    static constexpr std::uint32_t kWidth = 64;
    static constexpr std::uint32_t kHeight = 200;

    CqPictureResult fnReadPart() {
        CqPictureLimits limits;
        limits.m_bPartial = true;
        return q32ReadPicture(kPath, m_Image, limits);
    }
    /// Rows from the top that equal those of another picture.
    std::uint32_t fnCountRows(CqImage& whole) {
        std::uint32_t y = 0;
        while (y < kHeight && fnRowOf(m_Image, y) == fnRowOf(whole, y))
            ++y;
        return y;
    }
};

TEST_F(PartialPicture, APngThatEndsEarlyShowsItsRowsUpToThere) {
    const auto whole = fnMakeNoise(kWidth, kHeight, 32, 5);
    ASSERT_TRUE(fnWrite(*whole, PICTURE_PNG).fnIsDone());
    const std::string file = fnGet();
    fnPut(std::string_view(file).substr(0, file.size() / 2));
    fnExpectRefused(-6);
    const CqPictureResult result = fnReadPart();
    ASSERT_TRUE(result.fnIsDone());
    EXPECT_TRUE(result.m_bPartial);
    const std::uint32_t rows = fnCountRows(*whole);
    EXPECT_GT(rows, kHeight / 4);
    EXPECT_LT(rows, kHeight * 2 / 3);
    EXPECT_EQ(fnRowOf(m_Image, kHeight - 1), Bytes(std::size_t{kWidth} * 4, 0)) << "transparent";
}

TEST_F(PartialPicture, AnInterlacedPngThatEndsEarlyShowsThePassesUpToThere) {
    TestPng png;
    png.m_nWidth = png.m_nHeight = 64;
    png.m_bInterlaced = true;
    png.m_Rows.assign(fnPngRowBytes(png) * 64, 0);
    for (std::size_t i = 0; i < png.m_Rows.size(); ++i)
        png.m_Rows[i] = static_cast<std::uint8_t>(1 + i * i / 7 % 255);
    const Bytes file = png.fnMake();
    fnPut(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(file.size() * 3 / 4)));
    ASSERT_TRUE(fnReadPart().m_bPartial);
    EXPECT_NE(fnRowOf(m_Image, 56), Bytes(64 * 3, 0)) << "of an early pass";
}

TEST_F(PartialPicture, AJpegThatEndsEarlyShowsItsRowsUpToThere) {
    const auto whole = fnMakeNoise(kWidth, kHeight, 24, 6);
    ASSERT_TRUE(fnWrite(*whole, PICTURE_JPEG).fnIsDone());
    ASSERT_TRUE(fnRead().fnIsDone());
    CqImage decoded(m_Image);
    const std::string file = fnGet();
    fnPut(std::string_view(file).substr(0, file.size() / 2));
    fnExpectRefused(-6);
    const CqPictureResult result = fnReadPart();
    ASSERT_TRUE(result.fnIsDone());
    EXPECT_TRUE(result.m_bPartial);
    const std::uint32_t rows = fnCountRows(decoded);
    EXPECT_GT(rows, kHeight / 4);
    EXPECT_LT(rows, kHeight * 2 / 3);
}

TEST_F(PartialPicture, AProgressiveJpegThatEndsEarlyShowsItsScansUpToThere) {
    TestJpeg jpeg;
    jpeg.m_nWidth = jpeg.m_nHeight = 128;
    jpeg.m_bProgressive = true;
    const auto noise = fnMakeNoise(128, 128, 24, 3);
    jpeg.m_Samples = fnPixelsOf(*noise);
    const Bytes file = jpeg.fnMake();
    unsigned int shown = 0;
    for (std::size_t part = 2; part < 10; ++part) {
        fnPut(Bytes(file.begin(),
                    file.begin() + static_cast<std::ptrdiff_t>(file.size() * part / 10)));
        fnExpectRefused(-6);
        const CqPictureResult result = fnReadPart();
        EXPECT_EQ(result.fnIsDone(), result.m_bPartial);
        shown += result.fnIsDone() ? 1 : 0; // but for a file that ends within a table
    }
    EXPECT_GT(shown, 6u);
    EXPECT_EQ(m_Image.Width, 128u);
}

TEST_F(PartialPicture, EveryCutEndsWithAPictureOrAMessage) {
    const auto whole = fnMakeNoise(kWidth, 40, 24, 7);
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG}) {
        ASSERT_TRUE(fnWrite(*whole, format).fnIsDone());
        const std::string file = fnGet();
        std::size_t shown = 0;
        for (std::size_t size = 1; size < file.size(); size += 7) {
            fnPut(std::string_view(file).substr(0, size));
            const CqPictureResult result = fnReadPart();
            EXPECT_TRUE(result.fnIsDone() ? result.m_bPartial : result.m_nMsgId != 0) << size;
            shown += result.fnIsDone() ? 1 : 0;
        }
        EXPECT_GT(shown, file.size() / 7 / 2);
    }
}

TEST_F(PartialPicture, ACompleteFileIsNoPartOfAPicture) {
    const auto whole = fnMakeNoise(kWidth, 20, 24, 8);
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP}) {
        ASSERT_TRUE(fnWrite(*whole, format).fnIsDone());
        const CqPictureResult result = fnReadPart();
        EXPECT_TRUE(result.fnIsDone());
        EXPECT_FALSE(result.m_bPartial) << format;
    }
}

TEST_F(PartialPicture, AFileThatCantBeReadAndAnAbortAreFailuresAllTheSame) {
    const auto whole = fnMakeNoise(kWidth, kHeight, 24, 9);
    CqPictureLimits limits;
    limits.m_bPartial = true;
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG}) {
        ASSERT_TRUE(fnWrite(*whole, format).fnIsDone());
        auto& read = m_World->m_pFiles->m_pStream->m_Read;
        read.fnFail(1);
        EXPECT_EQ(fnReadPart().m_nMsgId, -4);
        read.fnFailNever();
        RecordedProgress progress;
        progress.m_nAbortAt = 20;
        EXPECT_TRUE(q32ReadPicture(kPath, m_Image, limits, &progress).m_bAborted);
    }
}

} // namespace
