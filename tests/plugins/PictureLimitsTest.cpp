#include "q32Base/framework/Exceptions.h"
#include "tests/plugins/CodecFiles.h"

#include <tiffio.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <string>
#include <thread>

namespace {

constexpr PICTURE_FORMAT kAll[] = {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP};

class PictureLimits : public PictureTest {
protected:
    /// Reads with limits. A refusal must name the limit and leave the image unchanged.
    PICTURE_LIMIT fnReadWithin(const CqPictureLimits& limits, int message) {
        const CqTileMap* map = m_Image.TileMap;
        const CqPictureResult result = q32ReadPicture(kPath, m_Image, limits);
        const bool refused = result.m_eLimit != PICTURE_LIMIT_NONE;
        EXPECT_EQ(result.m_nMsgId, refused ? message : 0);
        EXPECT_FALSE(result.m_bAborted);
        EXPECT_FALSE(result.m_bReduced);
        EXPECT_EQ(m_Image.TileMap == map, refused);
        return result.m_eLimit;
    }

    static TestJpeg fnGrey(std::uint32_t side) {
        TestJpeg jpeg;
        jpeg.m_nComponents = 1;
        jpeg.m_nWidth = jpeg.m_nHeight = side;
        jpeg.m_bProgressive = true;
        jpeg.m_Samples.assign(std::size_t{side} * side, 128);
        return jpeg;
    }
};

TEST_F(PictureLimits, PixelsAndStorageBeyondALimitAreRefusedAndTakeNoStorage) {
    const auto image = fnMakeNoise(33, 21, 24, 1);
    for (const PICTURE_FORMAT format : kAll) {
        ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
        CqPictureLimits limits;
        limits.m_nPixels = 33 * 21;
        limits.m_nStorageBytes = 33 * 21 * 3;
        EXPECT_EQ(fnReadWithin(limits, 0), PICTURE_LIMIT_NONE) << format;
        const CqHeadlessCalls& reserve = m_World->m_pMemory->m_Reserve;
        const CqHeadlessCalls& create = m_World->m_pScratch->m_CreateName;
        const std::uint64_t before = reserve.fnGetCount() + create.fnGetCount();
        --limits.m_nPixels;
        EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_PIXELS) << format;
        ++limits.m_nPixels;
        --limits.m_nStorageBytes;
        EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_STORAGE) << format;
        EXPECT_EQ(reserve.fnGetCount() + create.fnGetCount(), before);
    }
}

TEST_F(PictureLimits, ARunLengthCodedBitmapIsHeldToTheSameLimits) {
    // 4 x 1 pixels of 8 bits, two colours: a run of four, the end.
    const Bytes file = {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 62, 0, 0, 0, 40, 0, 0, 0, 4, 0, 0, 0,
                        1,   0,   0, 0, 1, 0, 8, 0, 1, 0, 0,  0, 0, 0, 0,  0, 0, 0, 0, 0, 0, 0,
                        0,   0,   2, 0, 0, 0, 0, 0, 0, 0, 1,  2, 3, 0, 4,  5, 6, 0, 4, 1, 0, 1};
    fnPut(file);
    CqPictureLimits limits;
    limits.m_nPixels = 4;
    limits.m_nStorageBytes = 4;
    limits.m_nCodecBytes = 4;
    EXPECT_EQ(fnReadWithin(limits, 0), PICTURE_LIMIT_NONE);
    limits.m_nPixels = 3;
    EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_PIXELS);
    limits.m_nPixels = 4;
    limits.m_nCodecBytes = 3;
    EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_CODEC);
}

TEST_F(PictureLimits, AFileFarSmallerThanItsPixelsIsRefusedUnlessTheseAreFew) {
    CqImage image(400, 300, 24, nullptr, 0);
    for (std::uint32_t y = 0; y < image.Height; ++y) {
        CqImageLine line;
        image.fnAccessLine(y, &line, false);
        std::fill_n(line.LineBuffer, line.RowBytes, std::uint8_t{7});
    }
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF}) {
        ASSERT_TRUE(fnWrite(image, format).fnIsDone());
        const std::uint64_t ratio = std::uint64_t{400} * 300 * 3 / fnGet().size();
        ASSERT_GT(ratio, 20u) << format;
        CqPictureLimits limits;
        limits.m_nSmallBytes = std::uint64_t{400} * 300 * 3 - 1;
        limits.m_nExpansion = ratio;
        EXPECT_EQ(fnReadWithin(limits, -6), PICTURE_LIMIT_EXPANSION) << format;
        limits.m_nExpansion = ratio + 1;
        EXPECT_EQ(fnReadWithin(limits, -6), PICTURE_LIMIT_NONE) << format;
        limits.m_nExpansion = 1;
        ++limits.m_nSmallBytes;
        EXPECT_EQ(fnReadWithin(limits, -6), PICTURE_LIMIT_NONE) << format;
    }
}

TEST_F(PictureLimits, CoefficientsOfAProgressiveJpegCountAsCodecMemory) {
    fnPut(fnGrey(160).fnMake());
    CqPictureLimits limits;
    limits.m_nCodecBytes = 160 * 160 * 2 - 1;
    EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_CODEC);
    limits.m_nCodecBytes = 160 * 160 * 2; // as much, with nothing for the decoder itself
    EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_CODEC);
    limits.m_nCodecBytes = 1 << 20;
    EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_NONE);
}

TEST_F(PictureLimits, ATileOfATiffCountsAsCodecMemory) {
    TestTiff tiff;
    tiff.m_nTileWidth = tiff.m_nTileHeight = 256;
    tiff.m_Samples = {9};
    fnPut(tiff.fnMake());
    CqPictureLimits limits;
    limits.m_nCodecBytes = 256 * 256;
    EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_CODEC);
    limits.m_nCodecBytes = 1 << 20;
    EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_NONE);
}

TEST_F(PictureLimits, SamplesOfATiffCountAsTheBytesThatTheyBecome) {
    TestTiff tiff;
    tiff.m_nWidth = 4096;
    tiff.m_nSamples = 64;
    tiff.m_nBits = 1;
    tiff.m_Extra.resize(63);
    tiff.m_Samples.resize(4096 * 64 / 8);
    fnPut(tiff.fnMake());
    // A row of 32 KiB and one of pixels, each twice, and 256 KiB for its samples.
    CqPictureLimits limits;
    limits.m_nCodecBytes = 2 * (32 << 10) + 2 * 4096 + (256 << 10) - 1;
    EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_CODEC);
    limits.m_nCodecBytes = 1 << 20;
    EXPECT_TRUE(q32ReadPicture(kPath, m_Image, limits).fnIsDone());
}

TEST_F(PictureLimits, RowsOfABitmapCountAsCodecMemory) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        const auto image = fnMakeNoise(1001, 3, bits, 1);
        ASSERT_TRUE(fnWrite(*image, PICTURE_BMP).fnIsDone());
        const std::uint64_t stored = (1001 * bits + 31) / 32 * 4;
        CqPictureLimits limits;
        limits.m_nCodecBytes = stored + 1001 * std::max(bits / 8, 1u) - 1;
        EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_CODEC) << bits;
        ++limits.m_nCodecBytes;
        EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_NONE) << bits;
    }
}

TEST_F(PictureLimits, WhatLibtiffDecodesAheadOfItsConversionCountsAsCodecMemory) {
    TestTiff tiff;
    tiff.m_nPhotometric = PHOTOMETRIC_CIELAB;
    tiff.m_nCompression = COMPRESSION_PACKBITS; // libtiff divides a strip without compression
    tiff.m_nWidth = 1000;
    tiff.m_nHeight = tiff.m_nRowsPerStrip = 4;
    tiff.m_nSamples = 3;
    tiff.m_Samples.resize(1000 * 4 * 3);
    fnPut(tiff.fnMake());
    const auto read = [&](std::uint64_t codecBytes) {
        CqPictureLimits limits;
        limits.m_nCodecBytes = codecBytes;
        return q32ReadPicture(kPath, m_Image, limits);
    };
    // The strip, and a raster and a row, each twice.
    constexpr std::uint64_t kBytes = 1000 * 4 * 3 + 2 * 1000 * 4 * 4 + 2 * 1000 * 3;
    EXPECT_EQ(read(kBytes - 1).m_eLimit, PICTURE_LIMIT_CODEC);
    const CqPictureResult result = read(kBytes + 4096); // the values of tags
    EXPECT_TRUE(result.fnIsDone()) << result.m_nMsgId << " " << result.m_eLimit;
}

/// A TIFF in a compression, or with no more than its number if libtiff can't write rows in it.
Bytes fnCoded(int compression) {
    TestTiff tiff;
    tiff.m_nWidth = 16;
    tiff.m_nHeight = tiff.m_nRowsPerStrip = 3;
    tiff.m_nSamples = 3;
    tiff.m_nPhotometric = PHOTOMETRIC_RGB;
    tiff.m_Samples.assign(16 * 3 * 3, 0x55);
    const bool known = compression != COMPRESSION_JBIG &&
                       TIFFIsCODECConfigured(static_cast<std::uint16_t>(compression)) != 0;
    tiff.m_nCompression = known ? compression : COMPRESSION_NONE;
    Bytes file = tiff.fnMake();
    if (known)
        return file;
    const Bytes entry = {
        TIFFTAG_COMPRESSION & 255, TIFFTAG_COMPRESSION >> 8, 3, 0, 1, 0, 0, 0, COMPRESSION_NONE, 0};
    const auto at = std::search(file.begin(), file.end(), entry.begin(), entry.end());
    at[8] = static_cast<std::uint8_t>(compression);
    at[9] = static_cast<std::uint8_t>(compression >> 8);
    return file;
}

TEST_F(PictureLimits, CompressionsThatTakeWhateverTheirDataDemandAreNotSupported) {
    for (const int compression :
         {COMPRESSION_LZMA, COMPRESSION_WEBP, COMPRESSION_LERC, COMPRESSION_JBIG, 40000}) {
        fnPut(fnCoded(compression));
        EXPECT_EQ(fnRead().m_nMsgId, -102) << compression;
    }
}

TEST_F(PictureLimits, TheWindowOfAZstandardStreamCountsAsCodecMemory) {
    fnPut(fnCoded(COMPRESSION_ZSTD));
    CqPictureLimits limits;
    limits.m_nCodecBytes = 129 << 20;
    EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_CODEC);
    if (TIFFIsCODECConfigured(COMPRESSION_ZSTD) == 0) {
        EXPECT_EQ(fnRead().m_nMsgId, -6);
        return;
    }
    limits.m_nCodecBytes += 4096;
    EXPECT_EQ(fnReadWithin(limits, -1), PICTURE_LIMIT_NONE);
    EXPECT_TRUE(m_Image.fnGetPixelColor(15, 2) == CqColor(0x55, 0x55, 0x55, 255));
}

TEST_F(PictureLimits, ScansBeyondTheLimitAreRefused) {
    TestJpeg jpeg = fnGrey(24);
    jpeg.m_nScans = 6;
    fnPut(jpeg.fnMake());
    CqPictureLimits limits;
    limits.m_nScans = 6;
    EXPECT_EQ(fnReadWithin(limits, -6), PICTURE_LIMIT_NONE);
    limits.m_nScans = 5;
    EXPECT_EQ(fnReadWithin(limits, -6), PICTURE_LIMIT_SCANS);
}

TEST_F(PictureLimits, ManyScansOfNothingAreRefused) {
    TestJpeg jpeg = fnGrey(2000);
    for (const int scans : {32, 60}) {
        jpeg.m_nScans = scans;
        fnPut(jpeg.fnMake());
        EXPECT_EQ(fnReadWithin({}, -6), scans == 32 ? PICTURE_LIMIT_NONE : PICTURE_LIMIT_SCANS);
    }
}

TEST_F(PictureLimits, AReadThatTakesTooLongIsEnded) {
    const auto image = fnMakeNoise(1000, 1000, 24, 1);
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF}) {
        ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
        CqPictureLimits limits;
        limits.m_nMilliseconds = 1;
        EXPECT_EQ(fnReadWithin(limits, -4), PICTURE_LIMIT_TIME) << format;
    }
}

TEST_F(PictureLimits, TimeSpentByTheHostDoesNotCount) {
    class SlowProgress : public CqPictureProgress {
    public:
        void fnOnProgress(unsigned int, bool&) override {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    } progress;
    const auto image = fnMakeNoise(5, 12, 24, 1);
    ASSERT_TRUE(fnWrite(*image, PICTURE_PNG).fnIsDone());
    CqPictureLimits limits;
    limits.m_nMilliseconds = 500;
    EXPECT_TRUE(q32ReadPicture(kPath, m_Image, limits, &progress).fnIsDone());
}

TEST_F(PictureLimits, AnExceptionOfTheProgressObjectPassesThroughTheCodecLibraries) {
    class ThrowingProgress : public CqPictureProgress {
    public:
        void fnOnProgress(unsigned int, bool&) override { AfxThrowMemoryException(); }
    } progress;
    const auto image = fnMakeNoise(200, 200, 24, 1); // the first call comes as the buffer is filled
    for (const PICTURE_FORMAT format : kAll) {
        ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
        EXPECT_EQ(fnRead(&progress).m_nMsgId, -1) << format;
    }
}

TEST_F(PictureLimits, TheFirstScansOfAProgressiveJpegReportProgress) {
    TestJpeg jpeg = fnGrey(640);
    fnPut(jpeg.fnMake());
    RecordedProgress progress;
    ASSERT_TRUE(fnRead(&progress).fnIsDone());
    EXPECT_GT(progress.m_Percents.size(), 640u + 80) << "80 rows of blocks in each scan";
}

TEST_F(PictureLimits, EachTileReportsProgress) {
    TestTiff tiff;
    tiff.m_nWidth = 100;
    tiff.m_nHeight = 20;
    tiff.m_nTileWidth = tiff.m_nTileHeight = 16;
    tiff.m_Samples.assign(100 * 20, 3);
    fnPut(tiff.fnMake());
    RecordedProgress progress;
    ASSERT_TRUE(fnRead(&progress).fnIsDone());
    EXPECT_EQ(progress.m_Percents.size(), 7u * 2);
    EXPECT_EQ(progress.m_Percents.back(), 100u);
}

TEST_F(PictureLimits, AShortPaletteIsSoughtWithProgressWhenWriting) {
    const auto image = fnMakeNoise(10, 30, 8, 1, 5);
    RecordedProgress progress;
    progress.m_nAbortAt = 3;
    EXPECT_TRUE(fnWrite(*image, PICTURE_PNG, {}, &progress).m_bAborted);
    EXPECT_EQ(progress.m_Percents, (std::vector<unsigned int>{0, 0, 0}));
    EXPECT_TRUE(m_World->m_pDisks->fnGetFiles().empty());
}

TEST_F(PictureLimits, EachLimitHasASentence) {
    std::set<std::string> texts;
    for (unsigned int limit = PICTURE_LIMIT_PIXELS; limit <= PICTURE_LIMIT_SOUND_TIME; ++limit)
        texts.insert(q32GetPictureLimitText(static_cast<PICTURE_LIMIT>(limit)));
    EXPECT_EQ(texts.size(), 9u);
    EXPECT_EQ(q32GetPictureLimitText(PICTURE_LIMIT_NONE), nullptr);
}

} // namespace
