// What is known of a picture without its pixels. That it agrees with what is read, for every kind
// of file, is checked wherever these are tested (PictureTest::fnReadAsDescribed).
#include "q32Base/memory/CqVMPolicy.h"
#include "tests/plugins/CodecFiles.h"
#include "tests/plugins/PictureTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <string>

namespace {

constexpr PICTURE_FORMAT kDescribedFormats[] = {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF,
                                                PICTURE_BMP};

class PictureDescription : public PictureTest {
protected:
    CqPictureResult fnDescribe(const CqPictureLimits& limits = {},
                               CqPictureProgress* progress = nullptr) {
        return q32DescribePicture(kPath, m_Facts, nullptr, limits, progress);
    }
    /// Writes a picture of noise, 60 x 50 of 24 bits, and returns the file's bytes.
    std::string fnMakeFile(PICTURE_FORMAT format) {
        const auto image = fnMakeNoise(60, 50, 24, 1);
        EXPECT_TRUE(fnWrite(*image, format).fnIsDone());
        return fnGet();
    }
    /// Expects that the file can't be described, and that what was known before stays.
    void fnExpectUnknown(int message) {
        m_Facts = {};
        m_Facts.m_nWidth = 77;
        m_Facts.m_strTitle = "known";
        EXPECT_EQ(fnDescribe().m_nMsgId, message);
        EXPECT_EQ(m_Facts.m_nWidth, 77u);
        EXPECT_STREQ(m_Facts.m_strTitle, "known");
    }

    CqPictureFacts m_Facts;
};

TEST_F(PictureDescription, NeedsNoPixels) {
    for (const PICTURE_FORMAT format : kDescribedFormats) {
        std::string file = fnMakeFile(format);
        // In the middle there are pixels, coded or not.
        std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(file.size() / 2), 64, '\xFF');
        fnPut(file);
        EXPECT_EQ(fnRead().fnIsDone(), format == PICTURE_BMP) << format;
        ASSERT_TRUE(fnDescribe().fnIsDone()) << format;
        EXPECT_EQ(m_Facts.m_eFormat, format);
        EXPECT_EQ(m_Facts.m_nWidth, 60u);
        EXPECT_EQ(m_Facts.m_nHeight, 50u);
        EXPECT_EQ(m_Facts.m_nBitCount, 24u);
        EXPECT_EQ(m_Facts.m_nColors, 0u);
        EXPECT_FALSE(m_Facts.m_bGrey);
    }
}

TEST_F(PictureDescription, OfALargePictureTakesNoMemoryForIt) {
    // The size in the frame header of a small one is changed; the file is long enough for it.
    TestJpeg jpeg;
    jpeg.m_Samples = Bytes(std::size_t{8} * 8 * 3, 100);
    Bytes file = jpeg.fnMake();
    const Bytes frame = {0xFF, 0xC0, 0, 17, 8};
    const auto found = std::search(file.begin(), file.end(), frame.begin(), frame.end());
    ASSERT_NE(found, file.end());
    for (int i = 0; i < 2; ++i) { // 30,000
        found[5 + 2 * i] = 0x75;
        found[6 + 2 * i] = 0x30;
    }
    file.resize(30000 / 512 * 31000);
    fnPut(file);
    q32GetVMPolicy()->fnSetRamLimit(1'000'000);
    for (unsigned int disk = 0; disk < CqVMPolicy::kDisks; ++disk)
        q32GetVMPolicy()->fnEnableDisk(disk, false);
    ASSERT_TRUE(fnDescribe().fnIsDone());
    EXPECT_EQ(m_Facts.m_nWidth, 30000u);
    EXPECT_EQ(m_Facts.m_nHeight, 30000u);
}

TEST_F(PictureDescription, FailsWhereHeadersAreMissing) {
    fnExpectUnknown(-3);
    fnPut("");
    fnExpectUnknown(-11);
    fnPut("GIF89a and more bytes than any head");
    fnExpectUnknown(-102);
    for (const PICTURE_FORMAT format : kDescribedFormats) {
        const std::string file = fnMakeFile(format);
        fnPut(file.substr(0, 24));
        fnExpectUnknown(-6);
    }
}

TEST_F(PictureDescription, NoticesThatAPngOrBmpEndsEarly) {
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_BMP}) {
        const std::string file = fnMakeFile(format);
        for (const std::size_t missing : {std::size_t{1}, file.size() / 2}) {
            fnPut(file.substr(0, file.size() - missing));
            fnExpectUnknown(-6);
        }
    }
}

TEST_F(PictureDescription, OfAPartOfAPngSaysSo) {
    const std::string file = fnMakeFile(PICTURE_PNG);
    fnPut(file.substr(0, file.size() / 2));
    CqPictureLimits limits;
    limits.m_bPartial = true;
    const CqPictureResult result = fnDescribe(limits);
    ASSERT_TRUE(result.fnIsDone());
    EXPECT_TRUE(result.m_bPartial);
    EXPECT_EQ(m_Facts.m_nHeight, 50u);
}

TEST_F(PictureDescription, NotesATitleBehindThePixelsOfAPng) {
    TestPng png;
    png.m_Rows = {1, 2, 3};
    png.m_Title = "Sea";
    png.m_bTitleBehind = true;
    fnPut(png.fnMake());
    const CqPictureResult result = fnDescribe();
    ASSERT_TRUE(result.fnIsDone());
    EXPECT_EQ(result.m_nParts, static_cast<unsigned int>(PICTURE_PART_NOTES));
    EXPECT_STREQ(m_Facts.m_strTitle, "");
}

TEST_F(PictureDescription, KeepsToTheLimits) {
    for (const PICTURE_FORMAT format : kDescribedFormats) {
        fnMakeFile(format);
        CqPictureLimits limits;
        limits.m_nPixels = 2999;
        EXPECT_EQ(fnDescribe(limits).m_eLimit, PICTURE_LIMIT_PIXELS) << format;
        limits.m_nPixels = 3000;
        EXPECT_TRUE(fnDescribe(limits).fnIsDone()) << format;
    }
}

TEST_F(PictureDescription, OfAJpegThatIsToBeReducedGivesThatSize) {
    fnMakeFile(PICTURE_JPEG);
    CqPictureLimits limits;
    limits.m_nFitWidth = 20;
    EXPECT_EQ(fnDescribe(limits).m_nReduction, 2u);
    EXPECT_EQ(m_Facts.m_nWidth, 30u);
    EXPECT_EQ(m_Facts.m_nHeight, 25u);
}

TEST_F(PictureDescription, HasTheMetadataThatAReadHas) {
    CqPictureMetadata written;
    const std::string xmp = "<x:xmpmeta xmlns:x='adobe:ns:meta/'/>";
    written.m_Xmp.assign(xmp.begin(), xmp.end());
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF}) {
        const auto image = fnMakeNoise(60, 50, 24, 1);
        ASSERT_TRUE(q32WritePicture(kPath, *image, written, format).fnIsDone());
        CqPictureMetadata metadata;
        const CqPictureResult result = q32DescribePicture(kPath, m_Facts, &metadata);
        ASSERT_TRUE(result.fnIsDone());
        EXPECT_FALSE(result.m_bReduced);
        EXPECT_EQ(metadata.m_Xmp, written.m_Xmp) << format;
        EXPECT_TRUE(fnDescribe().m_bReduced) << format;
    }
}

TEST_F(PictureDescription, EndsAtAnAbort) {
    for (const PICTURE_FORMAT format : kDescribedFormats) {
        const auto image = fnMakeNoise(300, 300, 24, 1);
        ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
        RecordedProgress progress;
        progress.m_nAbortAt = 1;
        const CqPictureResult result = fnDescribe({}, &progress);
        EXPECT_EQ(result.m_bAborted, !progress.m_Percents.empty()) << format;
    }
}

TEST_F(PictureDescription, EndsWithAMessageForEachFailedAllocationAndEachFailedRead) {
    for (const PICTURE_FORMAT format : kDescribedFormats) {
        fnMakeFile(format);
        EXPECT_GT(fnFailEachAllocation([&](CqAllocationFailure& failure) {
                      const CqPictureResult result = fnDescribe();
                      failure.fnEnd();
                      EXPECT_EQ(result.fnIsDone(), result.m_nMsgId == 0) << format;
                  }),
                  2u);
        auto& reads = m_World->m_pFiles->m_pStream->m_Read;
        const std::uint64_t before = reads.fnGetCount();
        ASSERT_TRUE(fnDescribe().fnIsDone());
        const std::uint64_t all = reads.fnGetCount() - before;
        for (std::uint64_t nth = 1; nth <= all; ++nth) {
            reads.fnFail(nth);
            fnExpectUnknown(-4);
        }
        reads.fnFailNever();
    }
}

} // namespace
