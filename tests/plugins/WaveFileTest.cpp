#include "plugins/WaveFile.h"

#include "q32Base/sound/CqWave.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Random.h"

#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

constexpr char kPath[] = "C:\\Temp\\sound.wav";

std::string fnLow(std::uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> 8 * i);
    return text;
}

/// A chunk, padded to even length.
std::string fnChunk(const std::string& id, const std::string& bytes) {
    return id + fnLow(static_cast<std::uint32_t>(bytes.size()), 4) + bytes +
           std::string(bytes.size() % 2, '\0');
}

std::string fnFormat(std::uint32_t channels, std::uint32_t bits, std::uint32_t tag = 1) {
    const std::uint32_t align = channels * bits / 8;
    return fnLow(tag, 2) + fnLow(channels, 2) + fnLow(8000, 4) + fnLow(8000 * align, 4) +
           fnLow(align, 2) + fnLow(bits, 2);
}

std::string fnExtensible(std::uint32_t channels, std::uint32_t bits, char kind = 1) {
    static constexpr unsigned char kRest[] = {0,    0, 0,    0,    0x10, 0,    0x80,
                                              0x00, 0, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    return fnFormat(channels, bits, 0xFFFE) + fnLow(22, 2) + fnLow(bits, 2) + fnLow(3, 4) +
           std::string{kind, 0} + std::string(std::begin(kRest), std::end(kRest));
}

std::string fnFile(const std::string& chunks) {
    return "RIFF" + fnLow(static_cast<std::uint32_t>(chunks.size() + 4), 4) + "WAVE" + chunks;
}

class WaveFileTest : public AttachedTest {
protected:
    void fnPut(const std::string& bytes) { m_World->m_pDisks->fnPutFile(kPath, bytes); }
    std::string fnGet() { return m_World->m_pDisks->fnGetFile(kPath).value_or("missing"); }

    static std::string fnSamples(const CqWave& wave) {
        return {reinterpret_cast<const char*>(wave.fnGetBuffer()), wave.fnGetBufferSize()};
    }
    static void fnFill(CqWave& wave, std::string bytes) {
        wave.fnFillBuffer(reinterpret_cast<unsigned char*>(bytes.data()),
                          static_cast<DWORD>(bytes.size() / wave.fnGetFormat().nBlockAlign));
    }

    void fnExpectRead(const std::string& file, const std::string& samples) {
        fnPut(file);
        CqWave wave;
        const CqWaveFileResult result = q32ReadWave(kPath, wave);
        EXPECT_EQ(result.m_nMsgId, 0);
        EXPECT_EQ(fnSamples(wave), samples);
        fnExpectDescribed(wave, result);
    }

    /// Expects the file's headers to declare what was read.
    static void fnExpectDescribed(const CqWave& wave, const CqWaveFileResult& result) {
        CqWaveFacts facts;
        const CqWaveFileResult described = q32DescribeWave(kPath, facts);
        EXPECT_EQ(described.m_nMsgId, 0);
        EXPECT_EQ(described.m_bReduced, result.m_bReduced);
        const WAVEFORMATEX format = wave.fnGetFormat();
        EXPECT_EQ(std::memcmp(&facts.m_Format, &format, sizeof format), 0);
        EXPECT_EQ(facts.m_nFrames, wave.fnGetFrameCount());
    }

    /// Expects the read to fail with a message, and the sound to stay.
    void fnExpectRefused(int message, const std::string& file) {
        fnPut(file);
        fnExpectUnread(message);
    }
    void fnExpectUnread(int message, CqPictureProgress* progress = nullptr) {
        CqWave wave(1, 16, 11025, 2, true);
        fnFill(wave, "old!");
        const unsigned char* block = wave.fnGetBuffer();
        const CqWaveFileResult result = q32ReadWave(kPath, wave, progress);
        EXPECT_EQ(result.m_nMsgId, message);
        EXPECT_EQ(result.m_bAborted, message == 0);
        EXPECT_FALSE(result.fnIsDone());
        EXPECT_STREQ(result.m_strPath, kPath);
        EXPECT_EQ(wave.fnGetBuffer(), block);
        EXPECT_EQ(fnSamples(wave), "old!");
        EXPECT_EQ(m_World->m_pDisks->fnGetOpenFiles(), 0u);
    }
};

TEST_F(WaveFileTest, ASoundIsDescribedWithoutItsSamples) {
    fnPut(fnFile(fnChunk("fmt ", fnFormat(2, 24)) + fnChunk("data", std::string(60, 'x'))));
    auto& reads = m_World->m_pFiles->m_pStream->m_Read;
    CqWaveFacts facts;
    const CqWaveFileResult result = q32DescribeWave(kPath, facts);
    ASSERT_TRUE(result.fnIsDone());
    EXPECT_TRUE(result.m_bReduced);
    EXPECT_EQ(facts.m_nFrames, 10u);
    EXPECT_EQ(facts.m_Format.nBlockAlign, 4u);
    EXPECT_EQ(facts.m_Format.wBitsPerSample, 16u);
    CqWaveLimits limits;
    limits.m_nStorageBytes = 39;
    EXPECT_EQ(q32DescribeWave(kPath, facts, limits).m_eLimit, PICTURE_LIMIT_SOUND_STORAGE);
    reads.fnFail(1);
    EXPECT_EQ(q32DescribeWave(kPath, facts).m_nMsgId, -4);
    EXPECT_EQ(facts.m_nFrames, 10u);
}

/// Records its calls, and aborts at one of them, counted from 1; 0: never.
class Listener : public CqPictureProgress {
public:
    explicit Listener(std::size_t abortAt = 0) : m_nAbortAt(abortAt) {}
    void fnOnProgress(unsigned int percent, bool& aborted) override {
        EXPECT_FALSE(aborted);
        m_Percents.push_back(percent);
        aborted = m_Percents.size() == m_nAbortAt;
    }
    std::vector<unsigned int> m_Percents;

private:
    std::size_t m_nAbortAt;
};

/// A file of one channel of 8 bits with seeded samples.
std::string fnLongFile(std::string& samples) {
    Random random(8);
    samples.resize(1'000'000);
    for (char& sample : samples)
        sample = static_cast<char>(random());
    return fnFile(fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("data", samples));
}

TEST_F(WaveFileTest, APlainFileIsRead) {
    fnPut(fnFile(fnChunk("fmt ", fnFormat(2, 16)) + fnChunk("data", "12345678")));
    CqWave wave;
    const CqWaveFileResult result = q32ReadWave(kPath, wave);
    EXPECT_TRUE(result.fnIsDone());
    EXPECT_EQ(fnSamples(wave), "12345678");
    const WAVEFORMATEX format = wave.fnGetFormat();
    EXPECT_EQ(format.wFormatTag, 1);
    EXPECT_EQ(format.nChannels, 2);
    EXPECT_EQ(format.nSamplesPerSec, 8000u);
    EXPECT_EQ(format.nAvgBytesPerSec, 32000u);
    EXPECT_EQ(format.nBlockAlign, 4);
    EXPECT_EQ(format.wBitsPerSample, 16);
    EXPECT_EQ(format.cbSize, 0);
}

TEST_F(WaveFileTest, ChunksAreReadInAnyOrder) {
    const std::string format = fnChunk("fmt ", fnFormat(1, 8));
    const std::string data = fnChunk("data", "abc");
    const std::string other = fnChunk("LIST", "odd"); // with its padding byte
    for (const std::string& chunks :
         {other + format + data, format + other + data, format + data + other,
          data + other + format, other + other + data + format + other,
          fnChunk("fact", "") + format + fnChunk("data", "abc").substr(0, 11)})
        fnExpectRead(fnFile(chunks), "abc");
}

TEST_F(WaveFileTest, TheFirstOfSeveralFormatsAndSamplesIsUsed) {
    fnExpectRead(fnFile(fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("fmt ", fnFormat(1, 16)) +
                        fnChunk("data", "abc") + fnChunk("data", "de")),
                 "abc");
}

TEST_F(WaveFileTest, TheSizeInTheHeaderIsIgnored) {
    std::string file = fnFile(fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("data", "abc"));
    for (const std::uint32_t size : {0u, 5u, 0xFFFFFFFFu}) {
        file.replace(4, 4, fnLow(size, 4));
        fnExpectRead(file, "abc");
    }
}

TEST_F(WaveFileTest, LongerAndExtensibleFormatsAreRead) {
    const std::string data = fnChunk("data", "abcdef");
    fnExpectRead(fnFile(fnChunk("fmt ", fnFormat(1, 8) + fnLow(0, 2)) + data), "abcdef");
    fnExpectRead(fnFile(fnChunk("fmt ", fnExtensible(3, 16)) + data), "abcdef");
    fnPut(fnFile(fnChunk("fmt ", fnExtensible(6, 8) + "more") + data));
    CqWave wave;
    EXPECT_TRUE(q32ReadWave(kPath, wave).fnIsDone());
    EXPECT_EQ(wave.fnGetFormat().wFormatTag, 1) << "as a device takes it";
    EXPECT_EQ(wave.fnGetFormat().nChannels, 6);
}

TEST_F(WaveFileTest, BytesAfterTheLastCompleteFrameAreDropped) {
    fnExpectRead(fnFile(fnChunk("fmt ", fnFormat(2, 16)) + fnChunk("data", "1234567")), "1234");
}

TEST_F(WaveFileTest, OtherKindsOfSoundAreNotSupported) {
    const std::string data = fnChunk("data", "abcdefghijklmnopqrstuvwx");
    fnExpectRefused(-102, fnFile(fnChunk("fmt ", fnFormat(1, 16, 2)) + data));
    fnExpectRefused(-102, fnFile(fnChunk("fmt ", fnFormat(1, 40)) + data));
    fnExpectRefused(-102, fnFile(fnChunk("fmt ", fnFormat(1, 64)) + data));
    fnExpectRefused(-102, fnFile(fnChunk("fmt ", fnFormat(1, 16, 3)) + data));
    fnExpectRefused(-102, fnFile(fnChunk("fmt ", fnExtensible(1, 16, 3)) + data));
    fnExpectRefused(-102, fnFile(fnChunk("fmt ", fnExtensible(1, 24, 6)) + data));
    fnExpectRefused(-102, fnFile(fnChunk("fmt ", fnFormat(1, 16, 0xFFFE)) + data));
}

TEST_F(WaveFileTest, LargerSamplesAreRoundedToSixteenBitsAndThatIsSaid) {
    const auto bytes = [](auto value) {
        std::string text(sizeof value, '\0');
        std::memcpy(text.data(), &value, sizeof value);
        return text;
    };
    struct Case {
        int m_nTag;
        int m_nBits;
        std::string m_Samples;
        std::vector<int> m_Expected;
    };
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    const Case cases[] = {
        {1,
         24,
         fnLow(0x7FFFFF, 3) + fnLow(0x800000, 3) + fnLow(0x00017F, 3) + fnLow(0x000180, 3) +
             fnLow(0xFFFF80, 3) + fnLow(0xFFFF7F, 3),
         {32767, -32768, 1, 2, 0, -1}},
        {1,
         32,
         fnLow(0x7FFFFFFF, 4) + fnLow(0x80000000, 4) + fnLow(0x00017FFF, 4) + fnLow(0x00018000, 4) +
             fnLow(0xFFFF8000, 4) + fnLow(0xFFFF7FFF, 4),
         {32767, -32768, 1, 2, 0, -1}},
        {3,
         32,
         bytes(1.0F) + bytes(-1.0F) + bytes(0.5F) + bytes(-7.0F) + bytes(nan) + bytes(1.5F / 32768),
         {32767, -32768, 16384, -32768, 0, 2}},
        {3,
         64,
         bytes(1.0) + bytes(-1.0) + bytes(-0.25) + bytes(infinity) + bytes(-infinity) +
             bytes(-1.5 / 32768),
         {32767, -32768, -8192, 32767, -32768, -1}},
    };
    for (const Case& one : cases)
        for (const bool extensible : {false, true}) {
            SCOPED_TRACE(std::to_string(one.m_nBits) + " bits, tag " + std::to_string(one.m_nTag));
            std::string expected;
            for (const int value : one.m_Expected)
                expected += fnLow(static_cast<std::uint32_t>(value), 2);
            const auto bits = static_cast<std::uint32_t>(one.m_nBits);
            fnPut(fnFile(
                fnChunk("fmt ", extensible
                                    ? fnExtensible(2, bits, static_cast<char>(one.m_nTag))
                                    : fnFormat(2, bits, static_cast<std::uint32_t>(one.m_nTag))) +
                fnChunk("data", one.m_Samples + "?"))); // an incomplete frame is dropped
            CqWave wave;
            const CqWaveFileResult result = q32ReadWave(kPath, wave);
            ASSERT_TRUE(result.fnIsDone());
            EXPECT_TRUE(result.m_bReduced);
            EXPECT_EQ(fnSamples(wave), expected);
            EXPECT_EQ(wave.fnGetFormat().wBitsPerSample, 16);
            EXPECT_EQ(wave.fnGetFormat().nBlockAlign, 4);
            EXPECT_EQ(wave.fnGetFormat().nAvgBytesPerSec, 32000u);
        }
    fnPut(fnFile(fnChunk("fmt ", fnFormat(1, 16)) + fnChunk("data", "ab")));
    CqWave wave;
    EXPECT_FALSE(q32ReadWave(kPath, wave).m_bReduced);
}

TEST_F(WaveFileTest, ALongSoundOfThreeBytesASampleIsReadAcrossThePieces) {
    std::string samples;
    std::string expected;
    for (std::uint32_t i = 0; i < 300'000; ++i) {
        samples += fnLow(i * 37 << 8, 3);
        expected += fnLow(i * 37, 2);
    }
    fnPut(fnFile(fnChunk("fmt ", fnFormat(1, 24)) + fnChunk("data", samples)));
    CqWave wave;
    Listener listener;
    ASSERT_TRUE(q32ReadWave(kPath, wave, &listener).fnIsDone());
    EXPECT_TRUE(fnSamples(wave) == expected);
    EXPECT_EQ(listener.m_Percents.back(), 100u);
    EXPECT_GE(listener.m_Percents.size(), 4u);
}

TEST_F(WaveFileTest, OtherFilesAreNotSupported) {
    const std::string file = fnFile(fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("data", "abc"));
    for (const char* head : {"RIFX", "RF64", "riff"})
        fnExpectRefused(-102, head + file.substr(4));
    fnExpectRefused(-102, file.substr(0, 8) + "AVI " + file.substr(12));
    fnExpectRefused(-102, "R");
}

TEST_F(WaveFileTest, InconsistentFormatsAreCorrupted) {
    const std::string data = fnChunk("data", "abcdefgh");
    for (const auto& [at, byte] : {std::pair{12, 0}, {12, 3}, {2, 0}, {2, 3}}) {
        std::string format = fnFormat(2, 16);
        format[static_cast<std::size_t>(at)] = static_cast<char>(byte);
        fnExpectRefused(-6, fnFile(fnChunk("fmt ", format) + data));
    }
    std::string still = fnFormat(2, 16);
    still.replace(4, 4, fnLow(0, 4));
    fnExpectRefused(-6, fnFile(fnChunk("fmt ", still) + data));
    fnExpectRefused(-6, fnFile(fnChunk("fmt ", fnFormat(2, 16).substr(0, 14)) + data));
}

TEST_F(WaveFileTest, AFileTruncatedAnywhereIsCorrupted) {
    const std::string file = fnFile(fnChunk("LIST", "odd") + fnChunk("fmt ", fnFormat(1, 16)) +
                                    fnChunk("data", "abcdef"));
    for (std::size_t length = 8; length < file.size(); ++length)
        fnExpectRefused(-6, file.substr(0, length));
    for (std::size_t length = 1; length < 8; ++length)
        fnExpectRefused(-102, file.substr(0, length));
}

TEST_F(WaveFileTest, SamplesThatReachBeyondTheFileAreCorrupted) {
    for (const std::uint32_t size : {4u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        fnExpectRefused(-6,
                        fnFile(fnChunk("fmt ", fnFormat(1, 8)) + "data" + fnLow(size, 4) + "abc"));
    fnExpectRefused(-6, fnFile("LIST" + fnLow(0xFFFFFFFFu, 4)));
}

TEST_F(WaveFileTest, AFileOfZeroBytesIsEmpty) {
    fnExpectRefused(-11, "");
    fnExpectRefused(-11, fnFile(fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("data", "")));
    fnExpectRefused(-11, fnFile(fnChunk("fmt ", fnFormat(2, 16)) + fnChunk("data", "abc")));
}

TEST_F(WaveFileTest, AFileThatCannotBeOpenedOrReadIsReported) {
    fnExpectUnread(-3);
    fnPut(fnFile(fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("data", std::string(100000, 'a'))));
    auto& stream = *m_World->m_pFiles->m_pStream;
    for (std::uint64_t nth = 1; nth <= 2; ++nth) {
        stream.m_Read.fnFail(nth);
        fnExpectUnread(-4);
    }
    stream.m_GetLength.fnFail();
    fnExpectUnread(-4);
}

TEST_F(WaveFileTest, ALongReadReportsItsProgress) {
    std::string samples;
    fnPut(fnLongFile(samples));
    CqWave wave;
    Listener listener;
    ASSERT_TRUE(q32ReadWave(kPath, wave, &listener).fnIsDone());
    // Pieces of 262,144 bytes.
    EXPECT_EQ(listener.m_Percents, (std::vector<unsigned int>{0, 26, 52, 78, 100}));
    EXPECT_EQ(fnSamples(wave), samples);
    ASSERT_TRUE(q32ReadWave(kPath, wave).fnIsDone());
    EXPECT_EQ(fnSamples(wave), samples) << "the same without a listener";
    fnPut(fnFile(fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("data", "a")));
    Listener brief;
    ASSERT_TRUE(q32ReadWave(kPath, wave, &brief).fnIsDone());
    EXPECT_EQ(brief.m_Percents, (std::vector<unsigned int>{0, 100}));
}

TEST_F(WaveFileTest, SamplesBeyondTheLimitOfStorageAreRefusedAndTakeNone) {
    const struct {
        std::string m_Format;
        std::size_t m_nBytes; ///< in the file
        std::uint64_t m_nHeld;
    } kCases[] = {{fnFormat(2, 8), 100, 100}, {fnFormat(1, 24), 300, 200}};
    for (const auto& one : kCases) {
        fnPut(fnFile(fnChunk("fmt ", one.m_Format) +
                     fnChunk("data", std::string(one.m_nBytes, '\1'))));
        CqWave wave;
        CqWaveLimits limits;
        limits.m_nStorageBytes = one.m_nHeld - 1;
        const std::uint64_t before = m_World->m_pMemory->m_Reserve.fnGetCount();
        const CqWaveFileResult result = q32ReadWave(kPath, wave, limits);
        EXPECT_EQ(result.m_nMsgId, -1);
        EXPECT_EQ(result.m_eLimit, PICTURE_LIMIT_SOUND_STORAGE);
        EXPECT_EQ(wave.fnGetBuffer(), nullptr);
        EXPECT_EQ(m_World->m_pMemory->m_Reserve.fnGetCount(), before);
        limits.m_nStorageBytes = one.m_nHeld;
        EXPECT_TRUE(q32ReadWave(kPath, wave, limits).fnIsDone());
        EXPECT_EQ(wave.fnGetBufferSize(), one.m_nHeld);
    }
}

TEST_F(WaveFileTest, ChunksBeyondTheLimitAreRefused) {
    std::string chunks;
    for (int i = 0; i < 10; ++i)
        chunks += fnChunk("junk", "");
    fnPut(fnFile(chunks + fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("data", "a")));
    CqWave wave;
    CqWaveLimits limits;
    limits.m_nChunks = 11;
    const CqWaveFileResult result = q32ReadWave(kPath, wave, limits);
    EXPECT_EQ(result.m_nMsgId, -6);
    EXPECT_EQ(result.m_eLimit, PICTURE_LIMIT_SOUND_CHUNKS);
    limits.m_nChunks = 12;
    EXPECT_TRUE(q32ReadWave(kPath, wave, limits).fnIsDone());
    // A file of nothing but chunks is refused without being read to its end.
    chunks.clear();
    for (int i = 0; i < 300000; ++i)
        chunks += fnChunk("junk", "");
    fnPut(fnFile(chunks));
    EXPECT_EQ(q32ReadWave(kPath, wave).m_eLimit, PICTURE_LIMIT_SOUND_CHUNKS);
}

TEST_F(WaveFileTest, AReadThatTakesTooLongIsEnded) {
    std::string samples;
    fnPut(fnLongFile(samples));
    CqWave wave;
    CqWaveLimits limits;
    limits.m_nMilliseconds = 1;
    // Chunks ahead of the samples, enough for more than a millisecond.
    std::string chunks;
    for (int i = 0; i < 60000; ++i)
        chunks += fnChunk("junk", std::string(400, 'x'));
    fnPut(fnFile(chunks + fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("data", samples)));
    const CqWaveFileResult result = q32ReadWave(kPath, wave, limits);
    EXPECT_EQ(result.m_nMsgId, -4);
    EXPECT_EQ(result.m_eLimit, PICTURE_LIMIT_SOUND_TIME);
    EXPECT_EQ(wave.fnGetBuffer(), nullptr);
}

TEST_F(WaveFileTest, AReadAbortedAnywhereLeavesTheSound) {
    std::string samples;
    fnPut(fnLongFile(samples));
    for (std::size_t call = 1; call <= 5; ++call) {
        Listener listener(call);
        fnExpectUnread(0, &listener);
        EXPECT_EQ(listener.m_Percents.size(), call) << "nothing is reported after it";
    }
}

TEST_F(WaveFileTest, EachFailedReadLeavesTheSound) {
    std::string samples;
    fnPut(fnLongFile(samples));
    CqWave wave;
    auto& stream = *m_World->m_pFiles->m_pStream;
    const std::uint64_t before = stream.m_Read.fnGetCount();
    ASSERT_TRUE(q32ReadWave(kPath, wave).fnIsDone());
    const std::uint64_t reads = stream.m_Read.fnGetCount() - before;
    ASSERT_GT(reads, 4u);
    for (std::uint64_t nth = 1; nth <= reads; ++nth) {
        stream.m_Read.fnFail(nth);
        Listener listener;
        fnExpectUnread(-4, &listener);
        EXPECT_TRUE(listener.m_Percents.empty() || listener.m_Percents.back() < 100) << nth;
    }
}

TEST_F(WaveFileTest, AFileTruncatedInItsSamplesLeavesTheSound) {
    std::string samples;
    const std::string file = fnLongFile(samples);
    for (const std::size_t missing : {1u, 300'000u, 999'999u}) {
        fnPut(file.substr(0, file.size() - missing));
        Listener listener;
        fnExpectUnread(-6, &listener);
        EXPECT_TRUE(listener.m_Percents.empty()) << "its length tells it";
    }
}

TEST_F(WaveFileTest, ExhaustedMemoryIsReported) {
    fnPut(fnFile(fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("data", "abc")));
    std::size_t notified = 0;
    fnFailEachAllocation([&](CqAllocationFailure& failure) {
        CqWave fresh;
        const CqWaveFileResult result = q32ReadWave(kPath, fresh);
        failure.fnEnd();
        EXPECT_EQ(result.fnIsDone(), fresh.fnGetBuffer() != nullptr);
        // Some failures are recovered: the block goes to a scratch disk.
        EXPECT_TRUE(result.fnIsDone() || failure.fnHappened());
        notified += result.fnIsDone() ? 0 : 1;
    });
    EXPECT_GT(notified, 2u);
    CqWave wave;
    ASSERT_TRUE(q32ReadWave(kPath, wave).fnIsDone());
    q32GetVMPolicy()->fnSetRamLimit(0);
    q32GetVMPolicy()->fnEnableDisk(0, false);
    EXPECT_EQ(q32ReadWave(kPath, wave).m_nMsgId, -1);
    EXPECT_EQ(fnSamples(wave), "abc");
}

TEST_F(WaveFileTest, ASoundIsWrittenInThePlainFormat) {
    CqWave wave(1, 8, 8000, 3, true);
    fnFill(wave, "abc");
    EXPECT_TRUE(q32WriteWave(kPath, wave).fnIsDone());
    EXPECT_EQ(fnGet(), fnFile(fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("data", "abc")));
}

TEST_F(WaveFileTest, AWrittenFileIsAValidResource) {
    CqWave wave(2, 16, 8000, 2, true);
    fnFill(wave, "12345678");
    ASSERT_TRUE(q32WriteWave(kPath, wave).fnIsDone());
    CqHeadlessResources& resources = *m_World->m_pResources;
    ASSERT_TRUE(resources.fnAdd(resources.fnGetHostModule(), "WAVE", WORD{1}, fnGet()));
    EXPECT_EQ(fnSamples(CqWave(1u)), "12345678");
}

TEST_F(WaveFileTest, AWrittenFileReadsBack) {
    Random random(3);
    for (int run = 0; run < 200; ++run) {
        CqWave wave(1 + random() % 8, 8 * (1 + random() % 2), 1 + random(),
                    1 + random() % (run % 20 ? 300 : 60000), false);
        for (std::uint32_t i = 0; i < wave.fnGetBufferSize(); ++i)
            wave.fnGetBuffer()[i] = static_cast<unsigned char>(random());
        ASSERT_TRUE(q32WriteWave(kPath, wave).fnIsDone());
        CqWave back;
        ASSERT_TRUE(q32ReadWave(kPath, back).fnIsDone());
        EXPECT_EQ(fnSamples(back), fnSamples(wave));
        const WAVEFORMATEX a = wave.fnGetFormat();
        const WAVEFORMATEX b = back.fnGetFormat();
        EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
    }
}

TEST_F(WaveFileTest, SoundsThatNoFileCanHoldAreNotWritten) {
    fnPut("what stood there before");
    EXPECT_EQ(q32WriteWave(kPath, CqWave()).m_nMsgId, -11);
    EXPECT_EQ(q32WriteWave(kPath, CqWave(1, 24, 8000, 3, true)).m_nMsgId, -102);
    EXPECT_EQ(q32WriteWave(kPath, CqWave(3, 12, 8000, 3, true)).m_nMsgId, -102);
    EXPECT_EQ(q32WriteWave(kPath, CqWave(1, 8, 0, 3, true)).m_nMsgId, -102);
    EXPECT_EQ(fnGet(), "what stood there before");
}

/// A sound that claims bytes that don't exist.
struct ClaimedWave : CqWave {
    void fnClaim(std::uint32_t size) {
        CString path;
        fnSetBuf(nullptr, CqWave(1, 8, 8000, 1, true).fnGetFormat(), size, kNoFile, kNoMapping,
                 path);
    }
};

TEST_F(WaveFileTest, ASoundTooLongForTheSizeInTheHeaderIsNotWritten) {
    fnPut("what stood there before");
    // The size in the header includes 36 bytes of headers and the padding byte of an odd size.
    for (const std::uint32_t size : {0xFFFFFFDBu, 0xFFFFFFDCu, 0xFFFFFFFFu}) {
        ClaimedWave wave;
        wave.fnClaim(size);
        EXPECT_EQ(q32WriteWave(kPath, wave).m_nMsgId, -102) << size;
    }
    EXPECT_EQ(fnGet(), "what stood there before");
}

TEST_F(WaveFileTest, AFileOpenInAnotherProgramIsReportedAsInUse) {
    const std::string file = fnFile(fnChunk("fmt ", fnFormat(1, 8)) + fnChunk("data", "abc"));
    fnPut(file);
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    {
        const auto held = m_World->m_pFiles->fnOpen(kPath, {true, true, false, true}, cause);
        ASSERT_NE(held, nullptr);
        CqWave wave;
        EXPECT_EQ(q32ReadWave(kPath, wave).m_nMsgId, -7);
        EXPECT_EQ(wave.fnGetBuffer(), nullptr);
    }
    const auto held = m_World->m_pFiles->fnOpen(kPath, {}, cause);
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(q32WriteWave(kPath, CqWave(1, 8, 8000, 3, true)).m_nMsgId, -7);
    EXPECT_EQ(fnGet(), file);
    EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 1u);
}

TEST_F(WaveFileTest, AFailedWriteKeepsTheOldFile) {
    const CqWave wave(1, 8, 8000, 200000, true);
    auto& files = *m_World->m_pFiles;
    for (CqHeadlessCalls* calls :
         {&files.m_Open, &files.m_pStream->m_Write, &files.m_pStream->m_Close, &files.m_Replace}) {
        const std::uint64_t before = calls->fnGetCount();
        ASSERT_TRUE(q32WriteWave(kPath, wave).fnIsDone());
        const std::uint64_t count = calls->fnGetCount() - before;
        for (std::uint64_t nth = 1; nth <= count; ++nth) {
            fnPut("what stood there before");
            calls->fnFail(nth);
            EXPECT_EQ(q32WriteWave(kPath, wave).m_nMsgId, -5);
            EXPECT_EQ(fnGet(), "what stood there before");
            EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 1u);
        }
        calls->fnFailNever();
    }
}

} // namespace
