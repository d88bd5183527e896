#include "platforms/win32/win32.h"
#include "tests/operations/ParallelOperations.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <utility>
#include <vector>

namespace q32::test {
namespace {

/// The threads of the back end, for work of any size, or none.
class EvenSmallWork final : public CqWorkService {
public:
    explicit EvenSmallWork(std::shared_ptr<CqWorkService> threads)
        : m_pThreads(std::move(threads)) {}

    std::uint32_t fnGetConcurrency() override {
        return m_bAlone ? 1 : m_pThreads->fnGetConcurrency();
    }
    void fnRun(std::uint32_t count, CqWorkPieces& pieces) noexcept override {
        m_pThreads->fnRun(count, pieces);
    }
    std::chrono::nanoseconds fnGetOverhead() override { return {}; }

    bool m_bAlone = false;

private:
    std::shared_ptr<CqWorkService> m_pThreads;
};

CqPlatform fnWithThreads(std::uint32_t concurrency) {
    CqWin32Options options;
    options.m_nConcurrency = concurrency;
    return q32Win32Platform(q32Win32Windows(), options);
}

TEST(Win32Work, SeveralThreadsMakeTheBytesOfOne) {
    CqPlatform platform = fnWithThreads(4);
    const auto work = std::make_shared<EvenSmallWork>(platform.m_pWork);
    platform.m_pWork = work;
    ASSERT_TRUE(q32Attach(platform));
    for (const unsigned int bits : {8u, 24u}) {
        ParallelCase images(290, 150, bits, bits == 8);
        for (const ParallelOperation& operation : fnGetParallelOperations()) {
            work->m_bAlone = true;
            const ParallelResult expected = images.fnRun(operation, nullptr);
            work->m_bAlone = false;
            EXPECT_TRUE(images.fnRun(operation, nullptr) == expected) << operation.m_pName;
        }
    }
    q32Detach();
    q32SetMessageService(nullptr);
}

TEST(Win32Work, OneThreadNeedsNoService) {
    EXPECT_FALSE(fnWithThreads(1).m_pWork);
}

TEST(Win32Work, EachPlatformHasAsManyThreadsAsItSays) {
    for (const std::uint32_t concurrency : {2u, 7u})
        EXPECT_EQ(fnWithThreads(concurrency).m_pWork->fnGetConcurrency(), concurrency);
    SYSTEM_INFO system;
    ::GetSystemInfo(&system);
    const auto work = fnWithThreads(0).m_pWork;
    EXPECT_EQ(work ? work->fnGetConcurrency() : 1, system.dwNumberOfProcessors);
}

} // namespace
} // namespace q32::test
