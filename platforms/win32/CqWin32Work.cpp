#include "platforms/win32/CqWin32Work_p.h"
#include "q32Base/platform/Records.h"

#include <algorithm>
#include <atomic>
#include <bit>

namespace q32::win32 {
namespace {

constexpr std::uint32_t kMaxConcurrency = 1024;

/// One task: each thread that takes part does the next piece until there are no more.
class PooledTask {
public:
    PooledTask(std::uint32_t count, CqWorkPieces& pieces) : m_nCount(count), m_Pieces(pieces) {}

    void fnWork(std::uint32_t worker) {
        std::uint32_t index;
        while ((index = m_nNext.fetch_add(1, std::memory_order_relaxed)) < m_nCount)
            m_Pieces.fnRunPiece(index, worker);
        m_nEnded.fetch_add(1, std::memory_order_release);
    }

    /// What a thread of the pool does. It is requested once for each worker but the caller, 0.
    static void CALLBACK fnHelp(PTP_CALLBACK_INSTANCE, void* context, PTP_WORK) {
        auto& task = *static_cast<PooledTask*>(context);
        task.fnWork(task.m_nHelpers.fetch_add(1, std::memory_order_relaxed) + 1);
    }

    /// Makes what the others have written visible to this thread.
    void fnJoin() const { (void)m_nEnded.load(std::memory_order_acquire); }

private:
    std::atomic<std::uint32_t> m_nNext = 0;
    std::atomic<std::uint32_t> m_nHelpers = 0;
    std::atomic<std::uint32_t> m_nEnded = 0;
    const std::uint32_t m_nCount;
    CqWorkPieces& m_Pieces;
};

} // namespace
} // namespace q32::win32

namespace {

using namespace q32::win32;

class CqWin32Work final : public CqWorkService {
public:
    explicit CqWin32Work(std::uint32_t concurrency) : m_nConcurrency(concurrency) {}

    std::uint32_t fnGetConcurrency() override { return m_nConcurrency; }

    void fnRun(std::uint32_t count, CqWorkPieces& pieces) noexcept override {
        PooledTask task(count, pieces);
        const std::uint32_t workers = std::min(count, m_nConcurrency);
        // Null if memory is exhausted: the caller then works alone.
        const PTP_WORK help =
            workers > 1 ? ::CreateThreadpoolWork(PooledTask::fnHelp, &task, nullptr) : nullptr;
        for (std::uint32_t worker = 1; help && worker < workers; ++worker)
            ::SubmitThreadpoolWork(help);
        task.fnWork(0);
        if (!help)
            return;
        // Nothing is left to do: requests that no thread has taken up are withdrawn, so that the
        // end of a task never waits for a free thread.
        ::WaitForThreadpoolWorkCallbacks(help, TRUE);
        ::CloseThreadpoolWork(help);
        task.fnJoin();
    }

private:
    const std::uint32_t m_nConcurrency;
};

std::uint32_t fnCountCores() {
    DWORD_PTR process = 0;
    DWORD_PTR system = 0;
    if (::GetProcessAffinityMask(::GetCurrentProcess(), &process, &system) && process != 0)
        return static_cast<std::uint32_t>(std::popcount(process));
    // The process has threads in several groups of processors.
    return std::max<std::uint32_t>(1, ::GetActiveProcessorCount(ALL_PROCESSOR_GROUPS));
}

} // namespace

std::shared_ptr<CqWorkService> q32::win32::fnMakeWork(std::uint32_t concurrency) {
    const std::uint32_t threads =
        std::min(concurrency != 0 ? concurrency : fnCountCores(), kMaxConcurrency);
    return threads > 1 ? std::make_shared<CqWin32Work>(threads) : nullptr;
}
