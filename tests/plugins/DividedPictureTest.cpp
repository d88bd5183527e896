// Pictures are read and written to the same pixels, bytes, reports and failures, however the work
// is divided among threads.

#include "q32Base/q32Base.h"
#include "tests/plugins/DividedPictures.h"
#include "tests/plugins/TiffAllocations.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Division {
    std::uint32_t m_nConcurrency;
    CQ_WORK_ORDER m_eOrder;
};

constexpr Division kDivisions[] = {{2, CQ_WORK_ORDER::FORWARD},
                                   {2, CQ_WORK_ORDER::REVERSED},
                                   {3, CQ_WORK_ORDER::SCRAMBLED},
                                   {16, CQ_WORK_ORDER::SCRAMBLED}};

/// All that a read yields.
struct Outcome {
    int m_nMsgId = 0;
    bool m_bAborted = false;
    bool m_bPartial = false;
    PICTURE_LIMIT m_eLimit = PICTURE_LIMIT_NONE;
    unsigned int m_nParts = 0;
    Bytes m_Pixels;
    std::vector<unsigned int> m_Percents;

    bool operator==(const Outcome&) const = default;
};

/// A service whose thread goes on with the open pieces while it is in a report, as one may that has
/// to wait there.
class WorkWithinReports final : public CqWorkService, public CqPictureProgress {
public:
    std::uint32_t fnGetConcurrency() override { return 2; }
    std::chrono::nanoseconds fnGetOverhead() override { return {}; }
    void fnRun(std::uint32_t count, CqWorkPieces& pieces) noexcept override {
        m_pPieces = &pieces;
        m_nNext = 0;
        m_nCount = count;
        while (m_nNext < m_nCount)
            pieces.fnRunPiece(m_nNext++, 0);
    }
    void fnOnProgress(unsigned int percent, bool&) override {
        m_Percents.push_back(percent);
        for (; m_nNext < m_nCount; ++m_nWithin)
            m_pPieces->fnRunPiece(m_nNext++, 1);
    }

    std::vector<unsigned int> m_Percents;
    unsigned int m_nWithin = 0; ///< pieces done in a report

private:
    CqWorkPieces* m_pPieces = nullptr;
    std::uint32_t m_nNext = 0;
    std::uint32_t m_nCount = 0;
};

class DividedPicture : public PictureTest {
protected:
    void fnDivide(const Division& division) {
        m_World->m_pWork->fnSetConcurrency(division.m_nConcurrency);
        m_World->m_pWork->fnSetOrder(division.m_eOrder);
    }
    void fnWorkAlone() { m_World->m_pWork->fnSetConcurrency(1); }

    Outcome fnReadFile(const CqPictureLimits& limits = {}, std::size_t abortAt = 0) {
        CqImage image;
        RecordedProgress progress;
        progress.m_nAbortAt = abortAt;
        const CqPictureResult result = q32ReadPicture(kPath, image, limits, &progress);
        EXPECT_EQ(result.fnIsDone(), image.TileMap != nullptr);
        return {result.m_nMsgId,    result.m_bAborted, result.m_bPartial,
                result.m_eLimit,    result.m_nParts,   image.TileMap ? fnPixelsOf(image) : Bytes(),
                progress.m_Percents};
    }

    /// Reads the file alone and divided.
    void fnExpectSame(const CqPictureLimits& limits = {}, std::size_t abortAt = 0) {
        fnWorkAlone();
        const Outcome expected = fnReadFile(limits, abortAt);
        for (const Division& division : kDivisions) {
            fnDivide(division);
            const Outcome outcome = fnReadFile(limits, abortAt);
            ASSERT_EQ(outcome.m_nMsgId, expected.m_nMsgId);
            ASSERT_EQ(outcome.m_Percents, expected.m_Percents);
            ASSERT_TRUE(outcome == expected) << division.m_nConcurrency;
        }
    }

    const std::vector<DividedFile> m_Files = fnMakeDividedFiles();
};

TEST_F(DividedPicture, NumberAndOrderOfPiecesChangeNeitherPixelsNorReports) {
    for (const DividedFile& file : m_Files) {
        SCOPED_TRACE(file.m_strName);
        fnPut(file.m_Bytes);
        ASSERT_EQ(fnReadFile().m_nMsgId, 0);
        for (const bool dither : {false, true}) {
            CqPictureLimits limits;
            limits.m_bDither = dither;
            ASSERT_NO_FATAL_FAILURE(fnExpectSame(limits));
        }
    }
}

TEST_F(DividedPicture, EachKindOfFileIsDividedThatCanBe) {
    fnDivide({3, CQ_WORK_ORDER::FORWARD});
    for (const DividedFile& file : m_Files) {
        fnPut(file.m_Bytes);
        const std::uint64_t before = m_World->m_pWork->fnGetTasks();
        ASSERT_TRUE(fnRead().fnIsDone()) << file.m_strName;
        EXPECT_EQ(m_World->m_pWork->fnGetTasks() == before, file.m_bAlone) << file.m_strName;
    }
}

TEST_F(DividedPicture, PiecesMayBeDoneWithinAReport) {
    const auto work = std::make_shared<WorkWithinReports>();
    std::vector<Outcome> expected;
    for (const DividedFile& file : m_Files) {
        fnPut(file.m_Bytes);
        expected.push_back(fnReadFile());
    }
    CqPlatform platform = m_World->fnPlatform();
    platform.m_pWork = work;
    q32Detach();
    ASSERT_TRUE(q32Attach(platform));
    for (std::size_t i = 0; i < m_Files.size(); ++i) {
        fnPut(m_Files[i].m_Bytes);
        CqImage image;
        work->m_Percents.clear();
        ASSERT_TRUE(q32ReadPicture(kPath, image, work.get()).fnIsDone());
        ASSERT_EQ(work->m_Percents, expected[i].m_Percents) << m_Files[i].m_strName;
        ASSERT_EQ(fnPixelsOf(image), expected[i].m_Pixels) << m_Files[i].m_strName;
    }
    EXPECT_GT(work->m_nWithin, m_Files.size());
}

TEST_F(DividedPicture, SmallPicturesAreLeftToOneThread) {
    m_World->m_pWork->fnSetOverhead(std::chrono::microseconds(30));
    fnDivide({3, CQ_WORK_ORDER::FORWARD});
    for (const DividedFile& file : m_Files) {
        fnPut(file.m_Bytes);
        ASSERT_TRUE(fnRead().fnIsDone()) << file.m_strName;
    }
    const auto image = fnMakeNoise(90, 80, 24, 1);
    for (const DividedWrite& write : fnGetDividedWrites())
        ASSERT_TRUE(fnWrite(*image, write.m_eFormat).fnIsDone());
    EXPECT_EQ(m_World->m_pWork->fnGetTasks(), 0u);
}

TEST_F(DividedPicture, AnAbortAtAnyReportIsTheLastReport) {
    for (const DividedFile& file : m_Files) {
        SCOPED_TRACE(file.m_strName);
        fnPut(file.m_Bytes);
        fnWorkAlone();
        const std::size_t reports = fnReadFile().m_Percents.size();
        for (std::size_t at = 1; at <= reports; at += 1 + at / 3)
            ASSERT_NO_FATAL_FAILURE(fnExpectSame({}, at));
    }
}

TEST_F(DividedPicture, ADamagedFileIsReadOrRefusedTheSame) {
    const char* const more = std::getenv("Q32_DAMAGE_ROUNDS");
    const int rounds = more ? std::atoi(more) : 24;
    std::mt19937 random(31);
    for (const DividedFile& file : m_Files) {
        SCOPED_TRACE(file.m_strName);
        CqPictureLimits limits;
        for (int round = 0; round < rounds; ++round) {
            Bytes changed = file.m_Bytes;
            const std::size_t at = changed.size() / 8 + random() % (changed.size() * 7 / 8);
            if (round % 3 == 0)
                changed.resize(at);
            else
                changed[at] = static_cast<std::uint8_t>(random());
            limits.m_bPartial = round % 2 != 0;
            SCOPED_TRACE(round);
            fnPut(changed);
            ASSERT_NO_FATAL_FAILURE(fnExpectSame(limits));
        }
    }
}

TEST_F(DividedPicture, EachLimitOfMemoryIsKeptAsByOneThread) {
    for (const DividedFile& file : m_Files) {
        SCOPED_TRACE(file.m_strName);
        fnPut(file.m_Bytes);
        for (std::uint64_t most = 64; most < 4000000; most += most / 2) {
            CqPictureLimits limits;
            limits.m_nCodecBytes = most;
            SCOPED_TRACE(most);
            ASSERT_NO_FATAL_FAILURE(fnExpectSame(limits));
        }
    }
}

TEST_F(DividedPicture, ReportsOfLongFilesComeInTheSamePlaces) {
    // More than one block of the file without a row.
    const auto image = fnMakeNoise(300, 500, 24, 1);
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP}) {
        fnWorkAlone();
        ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
        ASSERT_NO_FATAL_FAILURE(fnExpectSame());
    }
}

TEST_F(DividedPicture, AFailedAllocationLeavesTheImage) {
    for (const DividedFile& file : m_Files) {
        if (file.m_strName.find("strips of 8") == std::string::npos &&
            file.m_strName.find("tiles") == std::string::npos &&
            file.m_strName.find("colour") == std::string::npos && file.m_strName != "JPEG of 4")
            continue;
        SCOPED_TRACE(file.m_strName);
        fnPut(file.m_Bytes);
        fnWorkAlone();
        const Bytes expected = fnReadFile().m_Pixels;
        fnDivide({3, CQ_WORK_ORDER::REVERSED});
        CqImage target(3, 2, 8, nullptr, 0);
        fnFailEachAllocation([&](CqAllocationFailure& failure) {
            const CqTileMap* map = target.TileMap;
            const CqPictureResult result = q32ReadPicture(kPath, target);
            failure.fnEnd();
            if (result.fnIsDone()) {
                ASSERT_EQ(fnPixelsOf(target), expected);
            } else {
                ASSERT_EQ(result.m_nMsgId, -1);
                ASSERT_EQ(target.TileMap, map);
            }
        });
    }
}

TEST_F(DividedPicture, ABlockThatLibtiffIsRefusedMakesNoOtherPicture) {
    for (const DividedFile& file : m_Files) {
        // libtiff itself doesn't survive it with JPEG inside.
        if (file.m_strName.find("TIFF 7") == 0 ||
            (file.m_strName.find("strips of 3") == std::string::npos &&
             file.m_strName.find("tiles") == std::string::npos))
            continue;
        SCOPED_TRACE(file.m_strName);
        fnPut(file.m_Bytes);
        fnWorkAlone();
        const Bytes expected = fnReadFile().m_Pixels;
        fnDivide({3, CQ_WORK_ORDER::SCRAMBLED});
        for (std::size_t nth = 1;; ++nth) {
            CqImage image;
            const TiffAllocations blocks(nth);
            const CqPictureResult result = q32ReadPicture(kPath, image);
            if (!blocks.fnHappened())
                break;
            if (result.fnIsDone())
                ASSERT_EQ(fnPixelsOf(image), expected) << nth;
            else
                ASSERT_TRUE(result.m_nMsgId == -1 || result.m_nMsgId == -6) << result.m_nMsgId;
        }
    }
}

TEST_F(DividedPicture, EachFailingFileCallEndsTheReadOrTheWrite) {
    const auto image = fnMakeNoise(200, 160, 24, 1);
    auto& stream = *m_World->m_pFiles->m_pStream;
    fnDivide({3, CQ_WORK_ORDER::SCRAMBLED});
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP}) {
        const auto failEach = [&](CqHeadlessCalls& calls, int message, const auto& run) {
            const std::uint64_t before = calls.fnGetCount();
            ASSERT_EQ(run(), 0);
            const std::uint64_t count = calls.fnGetCount() - before;
            for (std::uint64_t nth = 1; nth <= count; ++nth) {
                calls.fnFail(nth);
                ASSERT_EQ(run(), message) << format;
            }
            calls.fnFailNever();
        };
        for (CqHeadlessCalls* calls : {&stream.m_Write, &stream.m_Seek, &stream.m_Close})
            failEach(*calls, -5, [&] { return fnWrite(*image, format).m_nMsgId; });
        ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
        for (CqHeadlessCalls* calls : {&stream.m_Read, &stream.m_Seek})
            failEach(*calls, -4, [&] { return fnRead().m_nMsgId; });
    }
}

TEST_F(DividedPicture, WrittenFilesAreTheSameByteForByte) {
    for (const DividedWrite& write : fnGetDividedWrites())
        for (const auto& [width, height] : {std::pair{1u, 1u}, {45u, 38u}, {700u, 301u}}) {
            SCOPED_TRACE(testing::Message() << write.m_eFormat << ", " << write.m_eCompression
                                            << ", " << write.m_nBits << " bits, " << width);
            const auto image = fnMakeNoise(width, height, write.m_nBits, 5);
            image->Title = "title";
            CqPictureOptions options;
            options.m_eTiffCompression = write.m_eCompression;
            options.m_nPngEffort = 1;
            fnWorkAlone();
            RecordedProgress shown;
            ASSERT_TRUE(fnWrite(*image, write.m_eFormat, options, &shown).fnIsDone());
            const std::string expected = fnGet();
            for (const Division& division : kDivisions) {
                fnDivide(division);
                const std::uint64_t before = m_World->m_pWork->fnGetTasks();
                RecordedProgress progress;
                ASSERT_TRUE(fnWrite(*image, write.m_eFormat, options, &progress).fnIsDone());
                ASSERT_TRUE(fnGet() == expected) << division.m_nConcurrency;
                ASSERT_EQ(progress.m_Percents, shown.m_Percents);
                const bool packed =
                    write.m_eFormat == PICTURE_TIFF && write.m_eCompression != PICTURE_UNCOMPRESSED;
                const bool divided =
                    packed ? height > 100 : write.m_eFormat == PICTURE_JPEG && height > 1;
                ASSERT_EQ(m_World->m_pWork->fnGetTasks() > before, divided);
            }
        }
}

TEST_F(DividedPicture, AnAbortOfAWriteKeepsTheOldFile) {
    const auto image = fnMakeNoise(300, 25, 24, 1); // a TIFF of several strips is written by rows
    const auto large = fnMakeNoise(400, 120, 24, 1);
    for (const DividedWrite& write : fnGetDividedWrites()) {
        CqPictureOptions options;
        options.m_eTiffCompression = write.m_eCompression;
        options.m_nPngEffort = 1;
        for (CqImage* each : {image.get(), large.get()}) {
            if (write.m_nBits != 24)
                continue;
            for (std::size_t at = 1; at <= each->Height; at += 1 + at / 4) {
                fnPut("before");
                fnDivide({3, CQ_WORK_ORDER::SCRAMBLED});
                RecordedProgress progress;
                progress.m_nAbortAt = at;
                const CqPictureResult result = fnWrite(*each, write.m_eFormat, options, &progress);
                ASSERT_TRUE(result.m_bAborted);
                ASSERT_EQ(progress.m_Percents.size(), at);
                ASSERT_TRUE(fnGet() == "before");
                ASSERT_EQ(m_World->m_pDisks->fnGetFiles().size(), 1u);
            }
        }
    }
}

TEST_F(DividedPicture, AFailureOfAWriteKeepsTheOldFile) {
    const auto image = fnMakeNoise(400, 120, 24, 1);
    fnDivide({3, CQ_WORK_ORDER::SCRAMBLED});
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP}) {
        fnPut("before");
        fnFailEachAllocation([&](CqAllocationFailure& failure) {
            const CqPictureResult result = fnWrite(*image, format);
            const bool failed = failure.fnHappened();
            failure.fnEnd();
            if (failed) {
                ASSERT_TRUE(result.m_nMsgId == -1 || result.m_nMsgId == -5) << format;
                ASSERT_TRUE(fnGet() == "before");
            }
        });
    }
    for (std::size_t nth = 1;; ++nth) {
        fnPut("before");
        const TiffAllocations blocks(nth);
        const CqPictureResult result = fnWrite(*image, PICTURE_TIFF);
        if (!blocks.fnHappened())
            break;
        ASSERT_EQ(fnGet() == "before", !result.fnIsDone());
    }
}

} // namespace
