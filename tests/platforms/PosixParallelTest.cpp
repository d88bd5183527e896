// Operations on real threads: the same bytes, with small images, so that the thread sanitizer sees
// each of them.
#include "platforms/posix/posix.h"
#include "q32Base/framework/Parallel_p.h"
#include "tests/operations/ParallelOperations.h"
#include "tests/operations/StepDisplay.h"
#include "tests/platforms/PosixTestTools.h"
#include "tests/support/AnySizeWork.h"
#include "tests/support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <new>
#include <thread>
#include <utility>
#include <vector>

namespace q32::test {
namespace {

constexpr std::uint32_t kConcurrency = 4;

class Numbers final : public CqWorkPieces {
public:
    explicit Numbers(std::function<void(std::uint32_t)> function)
        : m_Function(std::move(function)) {}
    void fnRunPiece(std::uint32_t index, std::uint32_t) noexcept override { m_Function(index); }

private:
    std::function<void(std::uint32_t)> m_Function;
};

/// A work service whose pieces of one index find no memory, whichever thread does them.
class StarvedWork final : public CqWorkService {
public:
    explicit StarvedWork(std::shared_ptr<CqWorkService> threads) : m_pThreads(std::move(threads)) {}

    std::uint32_t fnGetConcurrency() override { return m_pThreads->fnGetConcurrency(); }
    void fnRun(std::uint32_t count, CqWorkPieces& pieces) noexcept override {
        m_nPieces = count;
        Starved starved(*this, pieces);
        m_pThreads->fnRun(count, starved);
    }

    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    std::uint32_t m_nStarved = kNone;
    std::atomic<std::uint32_t> m_nPieces = 0; ///< of the last task
    std::atomic<std::uint32_t> m_nMet = 0;    ///< pieces that needed memory and found none

private:
    class Starved final : public CqWorkPieces {
    public:
        Starved(StarvedWork& work, CqWorkPieces& pieces) : m_Work(work), m_Pieces(pieces) {}
        void fnRunPiece(std::uint32_t index, std::uint32_t worker) noexcept override {
            if (index != m_Work.m_nStarved)
                return m_Pieces.fnRunPiece(index, worker);
            const CqAllocationFailure failure(1, true);
            m_Pieces.fnRunPiece(index, worker);
            m_Work.m_nMet += failure.fnHappened() ? 1 : 0;
        }

    private:
        StarvedWork& m_Work;
        CqWorkPieces& m_Pieces;
    };

    std::shared_ptr<CqWorkService> m_pThreads;
};

class PosixParallelTest : public testing::Test {
protected:
    void SetUp() override {
        CqPosixOptions options;
        options.m_szTempDirectory = m_Folder.fnPath();
        options.m_szConfigDirectory = m_Folder.fnPath("config");
        options.m_nConcurrency = kConcurrency;
        CqPlatform platform = q32PosixPlatform(options);
        ASSERT_TRUE(platform.m_pWork);
        ASSERT_EQ(platform.m_pWork->fnGetConcurrency(), kConcurrency);
        m_pThreads = std::make_shared<StarvedWork>(platform.m_pWork);
        m_pWork = std::make_shared<AnySizeWork>(m_pThreads);
        platform.m_pWork = m_pWork;
        ASSERT_TRUE(q32Attach(platform));
    }
    void TearDown() override { q32Detach(); }

    /// The results of all operations, by one thread.
    std::vector<ParallelResult> fnGetExpected(ParallelCase& images) {
        m_pWork->m_bAlone = true;
        std::vector<ParallelResult> results;
        for (const ParallelOperation& operation : m_Operations)
            results.push_back(images.fnRun(operation, nullptr));
        m_pWork->m_bAlone = false;
        return results;
    }

    void fnExpect(ParallelCase& images, const std::vector<ParallelResult>& expected) const {
        for (std::size_t i = 0; i < m_Operations.size(); ++i) {
            EXPECT_TRUE(images.fnRun(m_Operations[i], nullptr) == expected[i])
                << m_Operations[i].m_pName;
            StepDisplay display;
            EXPECT_TRUE(images.fnRun(m_Operations[i], &display) == expected[i])
                << m_Operations[i].m_pName;
        }
    }

    Folder m_Folder;
    std::shared_ptr<StarvedWork> m_pThreads;
    std::shared_ptr<AnySizeWork> m_pWork;
    const std::vector<ParallelOperation> m_Operations = fnGetParallelOperations();
};

TEST_F(PosixParallelTest, SeveralThreadsMakeTheBytesOfOne) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        ParallelCase images(290, 150, bits, bits == 8);
        fnExpect(images, fnGetExpected(images));
    }
}

TEST_F(PosixParallelTest, SoTheyDoInScratchFiles) {
    q32GetVMPolicy()->fnSetRamLimit(0);
    ParallelCase images(290, 150, 24, false);
    fnExpect(images, fnGetExpected(images));
}

// Both passes of the filter are done band by band.
TEST_F(PosixParallelTest, SoTheyDoInAPictureLargerThanTheCaches) {
    ParallelCase images(1400, 130, 24, false);
    const ParallelOperation resample = {
        "filter", [](CqImage& image, CqImage&, CqMask&, CqProgressDisplay* progress) -> Rows {
            image.fnResample(1450, 260, true, progress);
            return {};
        }};
    m_pWork->m_bAlone = true;
    const ParallelResult expected = images.fnRun(resample, nullptr);
    m_pWork->m_bAlone = false;
    EXPECT_TRUE(images.fnRun(resample, nullptr) == expected);
    StepDisplay display;
    EXPECT_TRUE(images.fnRun(resample, &display) == expected);
}

TEST_F(PosixParallelTest, AnAbortLeavesWhatItLeavesOnOneThread) {
    ParallelCase images(150, 300, 24, false);
    for (const ParallelOperation& operation : m_Operations) {
        StepDisplay all;
        images.fnRun(operation, &all);
        // The first reports, and then a few of the others.
        for (std::size_t stop = 0; stop < all.m_Percents.size(); stop += 1 + stop) {
            m_pWork->m_bAlone = true;
            StepDisplay alone(stop);
            const ParallelResult expected = images.fnRun(operation, &alone);
            m_pWork->m_bAlone = false;
            StepDisplay display(stop);
            EXPECT_TRUE(images.fnRun(operation, &display) == expected)
                << operation.m_pName << ", report " << stop;
            EXPECT_EQ(display.m_Percents, alone.m_Percents) << operation.m_pName;
        }
    }
}

TEST_F(PosixParallelTest, AnAllocationThatFailsInTheCallerLeavesTheImage) {
    ParallelCase images(140, 131, 24, false);
    const auto expected = fnGetExpected(images);
    const Rows before = fnRows(images.m_Image);
    for (std::size_t i = 0; i < m_Operations.size(); ++i) {
        std::unique_ptr<CqImage> image;
        fnFailEachAllocation(
            [&] { image = std::make_unique<CqImage>(images.m_Image); },
            [&](CqAllocationFailure& failure) {
                bool raised = false;
                try {
                    m_Operations[i].m_fnRun(*image, images.m_Other, images.m_Mask, nullptr);
                } catch (CMemoryException* exception) {
                    exception->Delete();
                    raised = true;
                } catch (const std::bad_alloc&) { // of the table's own rows
                    raised = true;
                }
                failure.fnEnd();
                EXPECT_TRUE(fnRows(*image) == (raised ? before : expected[i].m_Pixels))
                    << m_Operations[i].m_pName;
            });
    }
}

TEST_F(PosixParallelTest, AnAllocationThatFailsInAPieceIsTheFailureOfTheCaller) {
    constexpr std::uint32_t kUnits = 40;
    std::vector<std::atomic<int>> done(kUnits);
    const auto run = [&] {
        Parallel(kUnits, 1.0).fnRun([&](std::uint32_t, std::uint32_t first, std::uint32_t end) {
            for (; first < end; ++first) {
                const Bytes scratch(100 + first);
                done[first] += scratch[first] + 1;
            }
        });
    };
    m_pThreads->m_nStarved = StarvedWork::kNone;
    run();
    const std::uint32_t pieces = m_pThreads->m_nPieces;
    ASSERT_GT(pieces, kConcurrency);
    for (std::uint32_t piece = 0; piece < pieces; ++piece) {
        m_pThreads->m_nStarved = piece;
        EXPECT_THROW(run(), std::bad_alloc);
        EXPECT_EQ(m_pThreads->m_nMet, piece + 1);
    }
    m_pThreads->m_nStarved = StarvedWork::kNone;
    for (std::atomic<int>& count : done)
        count = 0;
    run();
    for (const std::atomic<int>& count : done)
        EXPECT_EQ(count, 1);
}

TEST_F(PosixParallelTest, PiecesOfOperationsSurviveWithoutMemory) {
    ParallelCase images(290, 150, 24, false);
    const auto expected = fnGetExpected(images);
    const Rows before = fnRows(images.m_Image);
    std::uint32_t met = 0;
    for (std::size_t i = 0; i < m_Operations.size(); ++i)
        for (m_pThreads->m_nStarved = 0; m_pThreads->m_nStarved < 3; ++m_pThreads->m_nStarved) {
            m_pThreads->m_nMet = 0;
            const ParallelResult result = images.fnRun(m_Operations[i], nullptr);
            EXPECT_EQ(result.m_bRaised, m_pThreads->m_nMet != 0) << m_Operations[i].m_pName;
            EXPECT_TRUE(result.m_bRaised ? result.m_Pixels == before : result == expected[i])
                << m_Operations[i].m_pName;
            met += m_pThreads->m_nMet;
        }
    EXPECT_GT(met, 0u); // pieces that make a bitmap allocate
}

TEST_F(PosixParallelTest, TwoThreadsOfAHostShareThem) {
    ParallelCase first(200, 150, 24, false);
    ParallelCase second(150, 200, 32, false);
    const auto expectedFirst = fnGetExpected(first);
    const auto expectedSecond = fnGetExpected(second);
    std::thread other([&] { fnExpect(second, expectedSecond); });
    fnExpect(first, expectedFirst);
    other.join();
}

TEST_F(PosixParallelTest, APieceMayRunOperations) {
    constexpr std::uint32_t kPieces = 3;
    std::vector<std::unique_ptr<ParallelCase>> images;
    std::vector<std::vector<ParallelResult>> expected;
    for (std::uint32_t i = 0; i < kPieces; ++i) {
        images.push_back(std::make_unique<ParallelCase>(140 + i, 131, 24, false));
        expected.push_back(fnGetExpected(*images.back()));
    }
    Numbers pieces([&](std::uint32_t i) { fnExpect(*images[i], expected[i]); });
    m_pWork->fnRun(kPieces, pieces);
}

TEST_F(PosixParallelTest, PiecesOfAHostReadOneImageAndWriteRowsOfTheirOwn) {
    constexpr std::uint32_t kRows = 10;
    ParallelCase images(200, 150, 24, false);
    CqImage& source = images.m_Image;
    const auto soften = [&](CqImage& target, std::uint32_t y, std::uint32_t end) {
        CqConvMask window(source, 3, static_cast<int>(y) - 1);
        const CqPixelWriter writer(target, PIXEL_STORED);
        Bytes row(source.RowBytes);
        for (; y < end; ++y) {
            window.fnGotoNextLine();
            unsigned char* above;
            unsigned char* here;
            unsigned char* below;
            window.fnGetLine(above, here, below);
            for (std::size_t i = 0; i < row.size(); ++i)
                row[i] = static_cast<unsigned char>((above[i] + 2 * here[i] + below[i]) / 4);
            EXPECT_TRUE(writer.fnWriteRow(0, y, source.Width, row.data()));
        }
    };
    CqImage expected(source.Width, source.Height, 24, nullptr, 0);
    soften(expected, 0, source.Height);
    CqImage result(source.Width, source.Height, 24, nullptr, 0);
    Numbers pieces([&](std::uint32_t i) { soften(result, i * kRows, (i + 1) * kRows); });
    m_pWork->fnRun(source.Height / kRows, pieces);
    EXPECT_EQ(fnRows(result), fnRows(expected));
}

TEST(PosixWork, OneThreadNeedsNoService) {
    CqPosixOptions options;
    options.m_nConcurrency = 1;
    EXPECT_FALSE(q32PosixPlatform(options).m_pWork);
}

TEST(PosixWork, AServiceOfTheHostsStays) {
    CqPosixOptions options;
    options.m_nConcurrency = 3;
    const auto own = std::make_shared<AnySizeWork>(nullptr);
    options.m_Others.m_pWork = own;
    EXPECT_EQ(q32PosixPlatform(options).m_pWork, own);
}

TEST(PosixWork, EachPlatformHasAsManyThreadsAsItSays) {
    CqPosixOptions options;
    for (const std::uint32_t concurrency : {2u, 7u}) {
        options.m_nConcurrency = concurrency;
        EXPECT_EQ(q32PosixPlatform(options).m_pWork->fnGetConcurrency(), concurrency);
    }
    options.m_nConcurrency = 0;
    const unsigned int cores = std::thread::hardware_concurrency();
    const auto work = q32PosixPlatform(options).m_pWork;
    EXPECT_EQ(work ? work->fnGetConcurrency() : 1, cores);
}

} // namespace
} // namespace q32::test
