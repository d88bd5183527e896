#include "tests/plugins/CodecFiles.h"
#include "tests/plugins/JpegAllocations.h"

#include <tiffio.h>

namespace {

constexpr std::uint32_t kSide = 600;
constexpr std::size_t kRowsBytes = 1 << 18; ///< more than a decoder takes for rows of that width

class TiffJpeg : public PictureTest {
protected:
    static TestJpeg fnJpeg(int components) {
        TestJpeg jpeg;
        jpeg.m_nWidth = jpeg.m_nHeight = kSide;
        jpeg.m_nComponents = components;
        jpeg.m_Samples.assign(std::size_t{kSide} * kSide * static_cast<unsigned int>(components),
                              128);
        return jpeg;
    }
    /// A picture of equal parts below each other.
    static TestTiff fnTiff(const std::vector<TestJpeg>& parts, bool tiled = false) {
        TestTiff tiff;
        tiff.m_nWidth = kSide;
        tiff.m_nHeight = kSide * static_cast<std::uint32_t>(parts.size());
        tiff.m_nRowsPerStrip = kSide;
        tiff.m_nSamples = parts[0].m_nComponents;
        tiff.m_nPhotometric = tiff.m_nSamples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_YCBCR;
        tiff.m_nCompression = COMPRESSION_JPEG;
        tiff.m_nTileWidth = tiled ? 608 : 0;
        tiff.m_nTileHeight = 608;
        for (const TestJpeg& part : parts)
            tiff.m_Coded.push_back(part.fnMake());
        return tiff;
    }
    void fnExpectUnsupported(const TestTiff& tiff) {
        fnPut(tiff.fnMake());
        const std::size_t before = fnCountJpegBytes();
        fnExpectRefused(-102);
        EXPECT_LT(fnCountJpegBytes() - before, kRowsBytes);
    }
};

TEST_F(TiffJpeg, OfOneSequentialScanIsReadRowByRow) {
    for (const int components : {1, 3}) {
        fnPut(fnTiff({fnJpeg(components), fnJpeg(components)}).fnMake());
        const std::size_t before = fnCountJpegBytes();
        EXPECT_EQ(fnRead().m_nMsgId, 0) << components;
        EXPECT_LT(fnCountJpegBytes() - before, kRowsBytes);
        EXPECT_EQ(m_Image.Height, 2 * kSide);
        EXPECT_EQ(m_Image.fnGetPixelColor(0, 2 * kSide - 1).m_Red, 128);
    }
}

TEST_F(TiffJpeg, OfProgressiveScansIsRefusedBeforeCoefficientsTakeMemory) {
    TestJpeg jpeg = fnJpeg(1);
    jpeg.m_bProgressive = true;
    jpeg.m_nScans = 100;
    fnExpectUnsupported(fnTiff({jpeg}));
    fnExpectUnsupported(fnTiff({fnJpeg(1), jpeg}));
    jpeg.m_bArithmetic = true;
    jpeg.m_nScans = 0;
    fnExpectUnsupported(fnTiff({jpeg}));
}

TEST_F(TiffJpeg, OfAScanForEachComponentIsRefusedBeforeCoefficientsTakeMemory) {
    TestJpeg jpeg = fnJpeg(3);
    jpeg.m_bApart = true;
    fnExpectUnsupported(fnTiff({jpeg}));
    fnExpectUnsupported(fnTiff({jpeg}, true));
}

TEST_F(TiffJpeg, OfSeveralScansIsRefusedBehindWhateverPrecedesIt) {
    TestJpeg jpeg = fnJpeg(1);
    jpeg.m_bProgressive = true;
    const Bytes coded = jpeg.fnMake();
    for (const std::size_t padding : {0u, 1u, 1020u, 1024u, 5000u, 65000u}) {
        // A long comment with the mark of a sequential frame, fill bytes, bytes between segments.
        Bytes more = {0xFF, 0xFE, static_cast<std::uint8_t>((padding + 2) >> 8),
                      static_cast<std::uint8_t>(padding + 2)};
        more.insert(more.end(), padding, 0);
        more.insert(more.end(), {0xFF, 0xFF, 0xFE, 0, 6, 0xFF, 0xC0, 0xFF, 0xDA, 1, 2, 3});
        TestTiff tiff = fnTiff({jpeg});
        tiff.m_Coded[0].insert(tiff.m_Coded[0].begin() + 2, more.begin(), more.end());
        fnExpectUnsupported(tiff);
    }
}

TEST_F(TiffJpeg, OfSeveralScansIsDescribedByTheDirectory) {
    TestJpeg jpeg = fnJpeg(1);
    jpeg.m_bProgressive = true;
    fnPut(fnTiff({jpeg}).fnMake());
    CqPictureFacts facts;
    EXPECT_TRUE(q32DescribePicture(kPath, facts).fnIsDone());
    EXPECT_EQ(facts.m_nWidth, kSide);
}

TEST_F(TiffJpeg, EscIsAskedForBetweenTheHeadersOfParts) {
    TestTiff tiff = fnTiff(std::vector<TestJpeg>(8, fnJpeg(1)));
    fnPut(tiff.fnMake());
    RecordedProgress progress;
    ASSERT_TRUE(fnRead(&progress).fnIsDone());
    EXPECT_GE(progress.m_Percents.size(), tiff.m_nHeight + 7) << "once per row, and per header";
    for (std::size_t nth = 1; nth < 8; ++nth) {
        RecordedProgress early;
        early.m_nAbortAt = nth;
        const std::size_t before = fnCountJpegBytes();
        EXPECT_TRUE(fnRead(&early).m_bAborted);
        EXPECT_LT(fnCountJpegBytes() - before, kRowsBytes);
    }
}

} // namespace
