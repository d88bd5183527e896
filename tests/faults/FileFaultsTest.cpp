/// @file
/// Picture and sound files, read and written with each call of the system failing in turn.

#include "plugins/PictureFile.h"
#include "plugins/WaveFile.h"
#include "tests/faults/FaultTest.h"
#include "tests/plugins/CodecFiles.h"
#include "tests/plugins/PlainCodec.h"

#include <optional>
#include <vector>

namespace q32::test {
namespace {

struct Kind {
    const char* m_szName;
    PICTURE_FORMAT m_eFormat;
    unsigned int m_nBits;
    PICTURE_COMPRESSION m_eCompression = PICTURE_LZW;
};

// libtiff doesn't free all blocks when it is refused others.
const Kind kKinds[] = {
    {"PNG of 8 bits", PICTURE_PNG, 8},
    {"PNG of 32 bits", PICTURE_PNG, 32},
    {"JPEG", PICTURE_JPEG, 24},
    {"TIFF of 24 bits", PICTURE_TIFF, 24},
    {"TIFF of 32 bits", PICTURE_TIFF, 32, PICTURE_DEFLATE},
    {"TIFF of 8 bits", PICTURE_TIFF, 8, PICTURE_UNCOMPRESSED},
    {"BMP of 8 bits", PICTURE_BMP, 8},
    {"BMP of 24 bits", PICTURE_BMP, 24},
    {"PNG of 4 bits", PICTURE_PNG, 4},
    {"PNG of 16 bits", PICTURE_PNG, 16},
    {"JPEG of 8 bits", PICTURE_JPEG, 8},
    {"TIFF of 4 bits", PICTURE_TIFF, 4},
    {"BMP of 4 bits", PICTURE_BMP, 4},
    {"BMP of 16 bits", PICTURE_BMP, 16},
    {"BMP of 32 bits", PICTURE_BMP, 32},
    {"a format of the host", kPlain, 24},
};

class FileFaults : public FaultTest {
protected:
    void SetUp() override {
        FaultTest::SetUp();
        static const PlainCodec plain;
        static const bool added = q32AddPictureFormat(plain);
        ASSERT_TRUE(added);
        m_Folder.fnWrite("file", kOld);
        m_szFile = m_Folder.fnName("file");
    }

    CqPictureResult fnWrite(CqImage& image, const Kind& kind) const {
        CqPictureOptions options;
        options.m_eTiffCompression = kind.m_eCompression;
        return q32WritePicture(m_szFile.c_str(), image, kind.m_eFormat, options);
    }

    /// A refused write keeps the old file, and gives one of the messages.
    std::string fnCheckWritten(const CqPictureResult& result, std::string& good) const {
        const std::string now = m_Folder.fnRead("file");
        if (result.fnIsDone() && good.empty())
            good = now;
        Q32_WANT(now == (result.fnIsDone() ? good : kOld));
        Q32_WANT(result.fnIsDone() || result.m_nMsgId == -1 || result.m_nMsgId == -3 ||
                 result.m_nMsgId == -5 || result.m_nMsgId == -7);
        return "";
    }

    static bool fnIsReadMessage(const CqPictureResult& result) {
        return result.m_nMsgId == -1 || result.m_nMsgId == -3 || result.m_nMsgId == -4 ||
               result.m_nMsgId == -6 || result.m_nMsgId == -7;
    }

    void fnFailReads(const char* name, bool losesBlocks, const CqPictureLimits& limits = {});
    void fnPut(const Bytes& file) const { m_Folder.fnWrite("file", {file.begin(), file.end()}); }

    static constexpr char kOld[] = "what stood there before";
    std::string m_szFile;
};

TEST_F(FileFaults, AWrittenPictureReplacesTheOldFileOrLeavesItWhateverFails) {
    for (const Kind& kind : kKinds) {
        CqImage image(150, 110, kind.m_nBits, nullptr, 0);
        fnPaint(image, 5);
        image.Title = "the title";
        std::string good;
        CqPictureResult result;
        FaultOperation operation;
        operation.m_szName = std::string("write ") + kind.m_szName;
        operation.m_bLosesBlocks = kind.m_eFormat == PICTURE_TIFF;
        operation.m_Prepare = [&] { m_Folder.fnWrite("file", kOld); };
        operation.m_Work = [&] {
            result = fnWrite(image, kind);
            return result.fnIsDone();
        };
        operation.m_Check = [&](bool) { return fnCheckWritten(result, good); };
        operation.m_Clear = [&] { result = {}; };
        const FaultTally tally = fnFailEachCall(m_Folder, operation);
        EXPECT_GT(tally.m_nRefused, 10u);
    }
}

/// Reads the file, with each call failing: its picture replaces the image, or leaves it.
void FileFaults::fnFailReads(const char* name, bool losesBlocks, const CqPictureLimits& limits) {
    Look whole;
    {
        CqImage image;
        ASSERT_TRUE(q32ReadPicture(m_szFile.c_str(), image, limits).fnIsDone()) << name;
        whole = fnLook(image);
    }
    std::optional<CqImage> image;
    Look before;
    CqPictureResult result;
    FaultOperation operation;
    operation.m_szName = std::string("read ") + name;
    operation.m_bLosesBlocks = losesBlocks;
    operation.m_Prepare = [&] {
        image.emplace(60, 50, 24, nullptr, 0);
        fnPaint(*image, 6);
        before = fnLook(*image);
    };
    operation.m_Work = [&] {
        result = q32ReadPicture(m_szFile.c_str(), *image, limits);
        return result.fnIsDone();
    };
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(fnLook(*image) == (done ? whole : before));
        Q32_WANT(done || fnIsReadMessage(result));
        return "";
    };
    operation.m_Clear = [&] {
        image.reset();
        result = {};
    };
    EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 10u);
}

TEST_F(FileFaults, AReadPictureReplacesTheImageOrLeavesItWhateverFails) {
    for (const Kind& kind : kKinds) {
        CqImage image(150, 110, kind.m_nBits, nullptr, 0);
        fnPaint(image, 5);
        image.Title = "the title";
        ASSERT_TRUE(fnWrite(image, kind).fnIsDone());
        fnFailReads(kind.m_szName, kind.m_eFormat == PICTURE_TIFF);
    }
}

TEST_F(FileFaults, APictureOfAnotherWriterReplacesTheImageOrLeavesItWhateverFails) {
    TestPng png;
    png.m_nWidth = png.m_nHeight = 40;
    png.m_bInterlaced = true;
    png.m_Rows.resize(fnPngRowBytes(png) * 40);
    fnPut(png.fnMake());
    fnFailReads("interlaced PNG", false);
    TestJpeg jpeg;
    jpeg.m_nWidth = jpeg.m_nHeight = 40;
    jpeg.m_bProgressive = true;
    jpeg.m_Samples.resize(std::size_t{40} * 40 * 3);
    fnPut(jpeg.fnMake());
    fnFailReads("progressive JPEG", false);
    TestTiff tiff;
    tiff.m_nWidth = tiff.m_nHeight = 40;
    tiff.m_nSamples = 4;
    tiff.m_nPhotometric = 5; // inks
    tiff.m_nTileWidth = tiff.m_nTileHeight = 16;
    tiff.m_Samples.resize(std::size_t{40} * 40 * 4);
    fnPut(tiff.fnMake());
    fnFailReads("tiled TIFF", true);
    tiff = {};
    tiff.m_nWidth = tiff.m_nHeight = 40;
    tiff.m_nSamples = 3;
    tiff.m_nPhotometric = 8; // CIE L*a*b*
    tiff.m_Samples.resize(std::size_t{40} * 40 * 3);
    fnPut(tiff.fnMake());
    fnFailReads("TIFF that libtiff converts", true);
    tiff.m_nPhotometric = 2;
    tiff.m_bSeparate = true;
    fnPut(tiff.fnMake());
    fnFailReads("TIFF of planes", true);
    // 4 x 1 pixels of 8 bits, two colours: a run of four, the end.
    fnPut({'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 62, 0, 0, 0, 40, 0, 0, 0, 4, 0, 0, 0,
           1,   0,   0, 0, 1, 0, 8, 0, 1, 0, 0,  0, 0, 0, 0,  0, 0, 0, 0, 0, 0, 0,
           0,   0,   2, 0, 0, 0, 0, 0, 0, 0, 1,  2, 3, 0, 4,  5, 6, 0, 4, 1, 0, 1});
    fnFailReads("run-length coded BMP", false);
}

TEST_F(FileFaults, APictureReadInAnotherWayReplacesTheImageOrLeavesItWhateverFails) {
    TestPng png;
    png.m_nWidth = png.m_nHeight = 40;
    png.m_Rows.resize(fnPngRowBytes(png) * 40, 77);
    Bytes file = png.fnMake();
    file.resize(file.size() - 20);
    fnPut(file);
    CqPictureLimits limits;
    limits.m_bPartial = true;
    fnFailReads("a part of a PNG", false, limits);
    TestJpeg jpeg;
    jpeg.m_nWidth = jpeg.m_nHeight = 80;
    jpeg.m_Samples.resize(std::size_t{80} * 80 * 3, 77);
    file = jpeg.fnMake();
    file.resize(file.size() - 20);
    fnPut(file);
    fnFailReads("a part of a JPEG", false, limits);
    limits = {};
    limits.m_nFitWidth = 10;
    jpeg.m_bProgressive = true;
    fnPut(jpeg.fnMake());
    fnFailReads("a reduced JPEG", false, limits);
    limits = {};
    limits.m_bDither = true;
    png.m_nDepth = 16;
    png.m_Rows.assign(fnPngRowBytes(png) * 40, 77);
    fnPut(png.fnMake());
    fnFailReads("a dithered PNG", false, limits);
    TestTiff tiff;
    tiff.m_nWidth = tiff.m_nHeight = 40;
    tiff.m_nBits = 16;
    tiff.m_Samples.resize(std::size_t{40} * 40 * 2, 77);
    fnPut(tiff.fnMake());
    fnFailReads("a dithered TIFF", true, limits);
}

CqPictureMetadata fnMetadata() {
    const std::string camera("MM\0*\0\0\0\x08\0\0\0\0\0\0", 14);
    CqPictureMetadata metadata;
    metadata.m_Exif.assign(camera.begin(), camera.end());
    metadata.m_Xmp.assign(3000, 'x');
    return metadata;
}

TEST_F(FileFaults, MetadataIsWrittenWithThePictureOrTheOldFileStays) {
    const CqPictureMetadata metadata = fnMetadata();
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF}) {
        CqImage image(50, 40, 24, nullptr, 0);
        fnPaint(image, 5);
        std::string good;
        CqPictureResult result;
        FaultOperation operation;
        operation.m_szName = "write metadata, format " + std::to_string(format);
        operation.m_bLosesBlocks = format == PICTURE_TIFF;
        operation.m_Prepare = [&] { m_Folder.fnWrite("file", kOld); };
        operation.m_Work = [&] {
            result = q32WritePicture(m_szFile.c_str(), image, metadata, format);
            return result.fnIsDone();
        };
        operation.m_Check = [&](bool) { return fnCheckWritten(result, good); };
        operation.m_Clear = [&] { result = {}; };
        EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 10u);
    }
}

TEST_F(FileFaults, MetadataIsReadWithThePictureOrBothStay) {
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF}) {
        CqImage source(50, 40, 24, nullptr, 0);
        fnPaint(source, 5);
        ASSERT_TRUE(q32WritePicture(m_szFile.c_str(), source, fnMetadata(), format).fnIsDone());
        std::optional<CqImage> image;
        CqPictureMetadata metadata;
        CqPictureResult result;
        FaultOperation operation;
        operation.m_szName = "read metadata, format " + std::to_string(format);
        operation.m_bLosesBlocks = format == PICTURE_TIFF;
        operation.m_Prepare = [&] {
            image.emplace(7, 6, 24, nullptr, 0);
            metadata.m_Xmp.assign(10, 'o');
        };
        operation.m_Work = [&] {
            result = q32ReadPicture(m_szFile.c_str(), *image, metadata);
            return result.fnIsDone();
        };
        operation.m_Check = [&](bool done) -> std::string {
            Q32_WANT(image->Width == (done ? 50u : 7u));
            Q32_WANT(metadata.m_Xmp ==
                     (done ? fnMetadata().m_Xmp : std::vector<unsigned char>(10, 'o')));
            Q32_WANT(done || fnIsReadMessage(result));
            return "";
        };
        operation.m_Clear = [&] {
            image.reset();
            metadata = {};
            result = {};
        };
        EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 10u);
    }
}

TEST_F(FileFaults, APictureIsDescribedOrTheFactsStayWhateverFails) {
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP}) {
        CqImage image(50, 40, 24, nullptr, 0);
        fnPaint(image, 5);
        ASSERT_TRUE(q32WritePicture(m_szFile.c_str(), image, fnMetadata(), format).fnIsDone());
        CqPictureFacts facts;
        CqPictureMetadata metadata;
        CqPictureResult result;
        FaultOperation operation;
        operation.m_szName = "describe, format " + std::to_string(format);
        operation.m_bLosesBlocks = format == PICTURE_TIFF;
        operation.m_Work = [&] {
            result = q32DescribePicture(m_szFile.c_str(), facts, &metadata);
            return result.fnIsDone();
        };
        operation.m_Check = [&](bool done) -> std::string {
            Q32_WANT(facts.m_nWidth == (done ? 50u : 0u) && facts.m_nHeight == (done ? 40u : 0u));
            Q32_WANT(done || metadata.m_Xmp.empty());
            Q32_WANT(done || fnIsReadMessage(result));
            return "";
        };
        operation.m_Clear = [&] {
            facts = {};
            metadata = {};
            result = {};
        };
        EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 5u);
    }
}

std::string fnSamples(const CqWave& wave) {
    return {reinterpret_cast<const char*>(wave.fnGetBuffer()), wave.fnGetBufferSize()};
}

void fnFillWave(CqWave& wave, unsigned int seed) {
    for (std::uint32_t i = 0; i < wave.fnGetBufferSize(); ++i)
        wave.fnGetBuffer()[i] = static_cast<unsigned char>(i * 7 + seed);
}

TEST_F(FileFaults, AWrittenSoundReplacesTheOldFileOrLeavesItWhateverFails) {
    CqWave wave(2, 16, 44100, 9000, true);
    fnFillWave(wave, 1);
    std::string good;
    CqPictureResult result;
    FaultOperation operation;
    operation.m_szName = "write WAV";
    operation.m_Prepare = [&] { m_Folder.fnWrite("file", kOld); };
    operation.m_Work = [&] {
        result = q32WriteWave(m_szFile.c_str(), wave);
        return result.fnIsDone();
    };
    operation.m_Check = [&](bool) { return fnCheckWritten(result, good); };
    operation.m_Clear = [&] { result = {}; };
    EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 10u);
}

TEST_F(FileFaults, AReadSoundReplacesTheWaveOrLeavesItWhateverFails) {
    CqWave source(2, 16, 44100, 9000, true);
    fnFillWave(source, 1);
    ASSERT_TRUE(q32WriteWave(m_szFile.c_str(), source).fnIsDone());
    std::optional<CqWave> wave;
    std::string before;
    CqPictureResult result;
    FaultOperation operation;
    operation.m_szName = "read WAV";
    operation.m_Prepare = [&] {
        wave.emplace(1, 8, 8000, 500, true);
        before = fnSamples(*wave);
    };
    operation.m_Work = [&] {
        result = q32ReadWave(m_szFile.c_str(), *wave);
        return result.fnIsDone();
    };
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(fnSamples(*wave) == (done ? fnSamples(source) : before));
        Q32_WANT(done || fnIsReadMessage(result));
        return "";
    };
    operation.m_Clear = [&] {
        wave.reset();
        result = {};
    };
    EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 10u);
}

TEST_F(FileFaults, ASoundIsDescribedOrTheFactsStayWhateverFails) {
    CqWave source(2, 16, 44100, 9000, true);
    fnFillWave(source, 1);
    ASSERT_TRUE(q32WriteWave(m_szFile.c_str(), source).fnIsDone());
    CqWaveFacts facts;
    CqPictureResult result;
    FaultOperation operation;
    operation.m_szName = "describe WAV";
    operation.m_Work = [&] {
        result = q32DescribeWave(m_szFile.c_str(), facts);
        return result.fnIsDone();
    };
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(facts.m_nFrames == (done ? 9000u : 0u));
        Q32_WANT(done || fnIsReadMessage(result));
        return "";
    };
    operation.m_Clear = [&] {
        facts = {};
        result = {};
    };
    EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 5u);
}

} // namespace
} // namespace q32::test
