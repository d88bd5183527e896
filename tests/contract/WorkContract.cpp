#include "tests/contract/ContractBackEnd.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

namespace {

/// Pieces that are given as a function.
class Pieces final : public CqWorkPieces {
public:
    using Function = std::function<void(std::uint32_t index, std::uint32_t worker)>;

    explicit Pieces(Function function) : m_Function(std::move(function)) {}
    void fnRunPiece(std::uint32_t index, std::uint32_t worker) noexcept override {
        m_Function(index, worker);
    }

private:
    Function m_Function;
};

class WorkContract : public ContractTest {
protected:
    CqWorkService& m_Work = *m_World.m_Platform.m_pWork;

    /// Runs a task whose pieces write plain memory. Whether each was done once.
    bool fnRunsEachOnce(std::uint32_t count) {
        std::vector<int> done(count);
        Pieces pieces([&](std::uint32_t index, std::uint32_t) { ++done[index]; });
        m_Work.fnRun(count, pieces);
        return std::all_of(done.begin(), done.end(), [](int times) { return times == 1; });
    }
};

TEST_P(WorkContract, SeveralThreadsTakePartAndTheOverheadIsNotNegative) {
    EXPECT_GT(m_Work.fnGetConcurrency(), 1u);
    EXPECT_GE(m_Work.fnGetOverhead().count(), 0);
}

TEST_P(WorkContract, EachPieceIsDoneOnceBeforeTheCallReturns) {
    for (const std::uint32_t count : {1u, 2u, 3u, 16u, 17u, 1000u, 100000u})
        EXPECT_TRUE(fnRunsEachOnce(count)) << count;
}

TEST_P(WorkContract, NoPiecesAreATaskToo) {
    EXPECT_TRUE(fnRunsEachOnce(0));
}

TEST_P(WorkContract, PiecesAtTheSameTimeHaveDifferentWorkersBelowBothLimits) {
    for (const std::uint32_t count : {1u, 2u, 500u}) {
        const std::uint32_t workers = std::min(count, m_Work.fnGetConcurrency());
        std::vector<std::atomic<int>> busy(workers);
        std::atomic<int> wrong = 0;
        Pieces pieces([&](std::uint32_t, std::uint32_t worker) {
            if (worker >= workers) {
                ++wrong;
                return;
            }
            wrong += busy[worker].exchange(1);
            std::this_thread::yield();
            busy[worker] = 0;
        });
        m_Work.fnRun(count, pieces);
        EXPECT_EQ(wrong, 0) << count;
    }
}

TEST_P(WorkContract, APieceMayRunATaskOfItsOwn) {
    std::atomic<int> done = 0;
    Pieces inner([&](std::uint32_t, std::uint32_t) { ++done; });
    Pieces outer([&](std::uint32_t, std::uint32_t) { m_Work.fnRun(10, inner); });
    m_Work.fnRun(20, outer);
    EXPECT_EQ(done, 200);
}

TEST_P(WorkContract, SeveralCallersShareTheThreads) {
    std::vector<std::thread> callers;
    std::atomic<int> right = 0;
    for (int i = 0; i < 4; ++i)
        callers.emplace_back([&] {
            for (std::uint32_t round = 0; round < 20; ++round)
                right += fnRunsEachOnce(50 + round) ? 1 : 0;
        });
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(right, 80);
}

TEST_P(WorkContract, ATaskSeesWhatTheLastOneWrote) {
    constexpr std::uint32_t kPieces = 64;
    constexpr int kRounds = 200;
    std::vector<int> from(kPieces);
    std::vector<int> to(kPieces);
    Pieces pieces(
        [&](std::uint32_t index, std::uint32_t) { to[index] = from[kPieces - 1 - index] + 1; });
    for (int round = 0; round < kRounds; ++round) {
        m_Work.fnRun(kPieces, pieces);
        from.swap(to);
    }
    EXPECT_EQ(from, std::vector<int>(kPieces, kRounds));
}

} // namespace

Q32_CONTRACT(WorkContract, WORK);
