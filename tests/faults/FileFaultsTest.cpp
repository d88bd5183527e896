/// @file
/// Picture and sound files, read and written with each call of the system failing in turn.

#include "plugins/PictureFile.h"
#include "plugins/WaveFile.h"
#include "tests/faults/FaultTest.h"

#include <optional>

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
};

class FileFaults : public FaultTest {
protected:
    void SetUp() override {
        FaultTest::SetUp();
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

TEST_F(FileFaults, AReadPictureReplacesTheImageOrLeavesItWhateverFails) {
    for (const Kind& kind : kKinds) {
        Look written;
        {
            CqImage image(150, 110, kind.m_nBits, nullptr, 0);
            fnPaint(image, 5);
            image.Title = "the title";
            ASSERT_TRUE(fnWrite(image, kind).fnIsDone());
            ASSERT_TRUE(q32ReadPicture(m_szFile.c_str(), image).fnIsDone());
            written = fnLook(image);
        }
        std::optional<CqImage> image;
        Look before;
        CqPictureResult result;
        FaultOperation operation;
        operation.m_szName = std::string("read ") + kind.m_szName;
        operation.m_bLosesBlocks = kind.m_eFormat == PICTURE_TIFF;
        operation.m_Prepare = [&] {
            image.emplace(60, 50, 24, nullptr, 0);
            fnPaint(*image, 6);
            before = fnLook(*image);
        };
        operation.m_Work = [&] {
            result = q32ReadPicture(m_szFile.c_str(), *image);
            return result.fnIsDone();
        };
        operation.m_Check = [&](bool done) -> std::string {
            Q32_WANT(fnLook(*image) == (done ? written : before));
            Q32_WANT(done || fnIsReadMessage(result));
            return "";
        };
        operation.m_Clear = [&] {
            image.reset();
            result = {};
        };
        const FaultTally tally = fnFailEachCall(m_Folder, operation);
        EXPECT_GT(tally.m_nRefused, 10u);
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

} // namespace
} // namespace q32::test
