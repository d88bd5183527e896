#include "platforms/headless/headless.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/framework/Parallel_p.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numeric>
#include <vector>

namespace q32 {
namespace {

class ParallelTest : public testing::Test {
protected:
    void SetUp() override {
        fnSetPlatform(m_World->fnPlatform());
        m_Work.fnSetConcurrency(4);
        m_Work.fnSetOrder(CQ_WORK_ORDER::SCRAMBLED);
    }
    void TearDown() override { fnClearPlatform(); }

    /// How often each unit was done by `parallel.fnRun`.
    std::vector<int> fnCountUnits(const Parallel& parallel) {
        std::vector<int> done(parallel.fnGetUnits());
        parallel.fnRun([&](std::uint32_t worker, std::uint32_t first, std::uint32_t end) {
            EXPECT_LT(worker, parallel.fnGetWorkers());
            for (; first < end; ++first)
                ++done[first];
        });
        return done;
    }

    std::shared_ptr<CqHeadlessWorld> m_World = q32HeadlessWorld();
    CqHeadlessWork& m_Work = *m_World->m_pWork;
};

TEST_F(ParallelTest, EachUnitIsDoneOnce) {
    for (const CQ_WORK_ORDER order :
         {CQ_WORK_ORDER::FORWARD, CQ_WORK_ORDER::REVERSED, CQ_WORK_ORDER::SCRAMBLED})
        for (std::uint32_t units = 0; units < 200; ++units) {
            m_Work.fnSetOrder(order);
            EXPECT_EQ(fnCountUnits(Parallel(units, 1.0)), std::vector<int>(units, 1));
        }
}

TEST_F(ParallelTest, TheCallerWorksAloneWithoutAService) {
    CqPlatform platform = m_World->fnPlatform();
    platform.m_pWork = nullptr;
    fnSetPlatform(platform);
    EXPECT_TRUE(platform.fnIsComplete());
    EXPECT_EQ(Parallel(1000, 1e9).fnGetWorkers(), 1u);
    fnClearPlatform();
    EXPECT_EQ(Parallel(1000, 1e9).fnGetWorkers(), 1u);
}

TEST_F(ParallelTest, TheCallerDoesAllInOneCallIfAlone) {
    m_Work.fnSetConcurrency(1);
    int calls = 0;
    Parallel(1000, 1e9).fnRun([&](std::uint32_t worker, std::uint32_t first, std::uint32_t end) {
        EXPECT_EQ(worker, 0u);
        EXPECT_EQ(first, 0u);
        EXPECT_EQ(end, 1000u);
        ++calls;
    });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(m_Work.fnGetTasks(), 0u);
}

TEST_F(ParallelTest, WorkThatTakesLessThanAFewOverheadsIsNotDivided) {
    m_Work.fnSetOverhead(std::chrono::microseconds(20));
    EXPECT_EQ(Parallel(1000, 79.0).fnGetWorkers(), 1u);
    EXPECT_EQ(Parallel(1000, 81.0).fnGetWorkers(), 4u);
    EXPECT_EQ(Parallel(1, 1e9).fnGetWorkers(), 1u);
    EXPECT_EQ(Parallel(3, 1e9).fnGetWorkers(), 3u);
}

TEST_F(ParallelTest, PiecesTakeAtLeastHalfAnOverhead) {
    m_Work.fnSetOverhead(std::chrono::microseconds(20));
    EXPECT_EQ(fnCountUnits(Parallel(1000, 100.0)), std::vector<int>(1000, 1));
    EXPECT_EQ(m_Work.fnGetPieces(), 10u);
}

TEST_F(ParallelTest, ABatchTakesFourMillisecondsAndOneThreadHasNone) {
    m_Work.fnSetOverhead(std::chrono::microseconds(20));
    EXPECT_EQ(Parallel(1000000, 1000.0).fnGetBatch(), 16000u); // by 4 threads
    EXPECT_EQ(Parallel(1000000, 1000.0, 500).fnGetBatch(), 500u);
    m_Work.fnSetConcurrency(1);
    EXPECT_EQ(Parallel(1000000, 1000.0).fnGetBatch(), 1u);
}

TEST_F(ParallelTest, ABatchOfLongUnitsHasOnlyAsManyForEachThreadAsFitInItsTime) {
    m_Work.fnSetOverhead(std::chrono::microseconds(20));
    EXPECT_EQ(Parallel(1000, 1.9e6).fnGetBatch(), 8u);
    EXPECT_EQ(Parallel(1000, 2.1e6).fnGetBatch(), 4u);
    EXPECT_EQ(Parallel(1000, 50e6).fnGetBatch(), 4u);
    EXPECT_EQ(Parallel(3, 50e6).fnGetBatch(), 3u);
}

TEST_F(ParallelTest, UnitsAreReportedInOrderAfterTheyAreDone) {
    for (const std::uint32_t concurrency : {1u, 4u}) {
        m_Work.fnSetConcurrency(concurrency);
        const Parallel parallel(100, 1.0);
        std::vector<int> done(100);
        std::vector<std::uint32_t> reports;
        EXPECT_TRUE(parallel.fnRunReported(
            [&](std::uint32_t, std::uint32_t first, std::uint32_t end) {
                for (; first < end; ++first)
                    ++done[first];
            },
            [&](std::uint32_t unit) {
                EXPECT_EQ(done[unit], 1);
                reports.push_back(unit);
                return false;
            },
            [](std::uint32_t, std::uint32_t) { ADD_FAILURE(); }));
        std::vector<std::uint32_t> all(100);
        std::iota(all.begin(), all.end(), 0u);
        EXPECT_EQ(reports, all);
    }
}

TEST_F(ParallelTest, AnAbortUndoesTheUnitsThatAreDoneBeyondIt) {
    for (const bool throws : {false, true})
        for (std::uint32_t stop = 0; stop < 50; ++stop) {
            std::vector<int> done(50);
            const auto run = [&] {
                return Parallel(50, 1.0).fnRunReported(
                    [&](std::uint32_t, std::uint32_t first, std::uint32_t end) {
                        for (; first < end; ++first)
                            ++done[first];
                    },
                    [&](std::uint32_t unit) {
                        if (throws && unit == stop)
                            throw 1;
                        return unit == stop;
                    },
                    [&](std::uint32_t first, std::uint32_t end) {
                        for (; first < end; ++first)
                            --done[first];
                    });
            };
            if (throws)
                EXPECT_THROW(run(), int);
            else
                EXPECT_FALSE(run());
            std::vector<int> expected(50);
            std::fill_n(expected.begin(), stop + 1, 1);
            EXPECT_EQ(done, expected);
        }
}

TEST_F(ParallelTest, AnnouncedUnitsAreDoneUpToAnAbortAndNoFurther) {
    for (const std::uint32_t concurrency : {1u, 4u})
        for (const bool throws : {false, true})
            for (std::uint32_t stop = 0; stop <= 50; ++stop) {
                m_Work.fnSetConcurrency(concurrency);
                std::vector<int> done(50);
                std::vector<std::uint32_t> calls;
                const auto run = [&] {
                    return Parallel(50, 1.0).fnRunAnnounced(
                        [&](std::uint32_t, std::uint32_t first, std::uint32_t end) {
                            for (; first < end; ++first)
                                ++done[first];
                        },
                        [&](std::uint32_t unit) {
                            calls.push_back(unit);
                            if (throws && unit == stop)
                                throw 1;
                            return unit == stop;
                        });
                };
                if (throws && stop < 50)
                    EXPECT_THROW(run(), int);
                else
                    EXPECT_EQ(run(), stop == 50);
                const std::uint32_t units = std::min(stop + 1, 50u);
                std::vector<int> expected(50);
                std::fill_n(expected.begin(), units, 1);
                EXPECT_EQ(done, expected);
                std::vector<std::uint32_t> all(units);
                std::iota(all.begin(), all.end(), 0u);
                EXPECT_EQ(calls, all);
            }
}

TEST_F(ParallelTest, TheFirstFailureIsThrownWhateverTheOrder) {
    for (const CQ_WORK_ORDER order :
         {CQ_WORK_ORDER::FORWARD, CQ_WORK_ORDER::REVERSED, CQ_WORK_ORDER::SCRAMBLED}) {
        m_Work.fnSetOrder(order);
        std::uint32_t thrown = 0;
        try {
            Parallel(32, 1.0).fnRun([](std::uint32_t, std::uint32_t first, std::uint32_t end) {
                for (; first < end; ++first)
                    if (first >= 5)
                        throw first;
            });
        } catch (std::uint32_t unit) {
            thrown = unit;
        }
        EXPECT_EQ(thrown, 5u);
    }
}

TEST_F(ParallelTest, TheMemoryExceptionOfAPieceIsThatOfTheCaller) {
    try {
        Parallel(32, 1.0).fnRun([](std::uint32_t, std::uint32_t first, std::uint32_t) {
            if (first > 3)
                AfxThrowMemoryException();
        });
        ADD_FAILURE();
    } catch (CMemoryException* failure) {
        failure->Delete();
    }
}

TEST_F(ParallelTest, EachWorkerHasItsOwnStateAndBytes) {
    const Parallel parallel(100, 1.0);
    ASSERT_EQ(parallel.fnGetWorkers(), 4u);
    PerWorker<std::vector<int>> states(parallel, std::size_t{3});
    const WorkerBytes bytes(parallel, 10);
    for (std::uint32_t i = 0; i < 4; ++i) {
        states[i].push_back(static_cast<int>(i));
        std::fill_n(bytes[i], 10, static_cast<unsigned char>(i));
    }
    for (std::uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(states[i].back(), static_cast<int>(i));
        EXPECT_EQ(bytes[i][9], i);
    }
    int count = 0;
    states.fnForEach([&](const std::vector<int>& state) {
        EXPECT_EQ(state.size(), 4u);
        ++count;
    });
    EXPECT_EQ(count, 4);
}

} // namespace
} // namespace q32
