#include "platforms/posix/CqPosixWork_p.h"

#ifdef Q32_WORK_THREADS
#include "platforms/posix/WorkThreads_p.h"

#include <algorithm>
#include <atomic>
#include <chrono>

namespace q32::posix {
namespace {

/// Orders what a caller has written before a task and what other threads read in it. The threads'
/// library does so, too, but the thread sanitizer doesn't see that.
constinit std::atomic<std::uint64_t> g_nTasks = 0;

/// One task: each thread that takes part does the next piece until there are no more.
class Task {
public:
    Task(std::uint32_t count, CqWorkPieces& pieces) : m_nCount(count), m_Pieces(pieces) {
        g_nTasks.fetch_add(1, std::memory_order_release);
    }

    static void fnWork(void* task, std::uint32_t worker) {
        (void)g_nTasks.load(std::memory_order_acquire);
        static_cast<Task*>(task)->fnWork(worker);
    }

    void fnWork(std::uint32_t worker) {
        std::uint32_t index;
        while ((index = m_nNext.fetch_add(1, std::memory_order_relaxed)) < m_nCount)
            m_Pieces.fnRunPiece(index, worker);
        m_nEnded.fetch_add(1, std::memory_order_release);
    }

    /// Makes what the others have written visible to this thread.
    void fnJoin() const { (void)m_nEnded.load(std::memory_order_acquire); }

private:
    std::atomic<std::uint32_t> m_nNext = 0;
    std::atomic<std::uint32_t> m_nEnded = 0;
    std::uint32_t m_nCount;
    CqWorkPieces& m_Pieces;
};

} // namespace
} // namespace q32::posix

namespace {

using namespace q32::posix;

class CqPosixWork final : public CqWorkService {
public:
    explicit CqPosixWork(std::uint32_t concurrency) : m_Threads(concurrency) {}

    /// Measured (bench/WorkBench): where sleeping threads have to be woken, a task takes half of
    /// its work and 50 microseconds, on two threads; so those of four times this are divided.
    std::chrono::nanoseconds fnGetOverhead() override { return std::chrono::microseconds(30); }

    std::uint32_t fnGetConcurrency() override { return m_Threads.fnGetConcurrency(); }

    void fnRun(std::uint32_t count, CqWorkPieces& pieces) noexcept override {
        Task task(count, pieces);
        m_Threads.fnRun(std::min(count, fnGetConcurrency()), Task::fnWork, &task);
        task.fnJoin();
        task.fnWork(0); // what is left if memory was exhausted
    }

private:
    WorkThreads m_Threads;
};

} // namespace

std::shared_ptr<CqWorkService> q32::posix::fnMakeWork(std::uint32_t concurrency) {
    if (concurrency == 1)
        return nullptr;
    auto work = std::make_shared<CqPosixWork>(concurrency);
    return work->fnGetConcurrency() > 1 ? work : nullptr;
}
#else
std::shared_ptr<CqWorkService> q32::posix::fnMakeWork(std::uint32_t) {
    return nullptr;
}
#endif
