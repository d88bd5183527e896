#pragma once

#include "q32Base/platform/CqWorkService.h"
#include "q32Base/platform/Export.h"

#include <atomic>
#include <chrono>
#include <cstdint>

/// The order in which pieces are done.
enum class CQ_WORK_ORDER {
    FORWARD,
    REVERSED,
    SCRAMBLED ///< pseudo-random, from a seed
};

/// A work service that does all pieces on the thread of the caller, in a scripted order, with
/// changing worker numbers. Its concurrency is 1 at first, so that nothing is divided. Set it up
/// while nothing runs.
class Q32_API CqHeadlessWork final : public CqWorkService {
public:
    void fnSetConcurrency(std::uint32_t concurrency) { m_nConcurrency = concurrency; }
    /// Each task is done in another order of the kind, if it is scrambled.
    void fnSetOrder(CQ_WORK_ORDER order, std::uint32_t seed = 1);
    /// 0 at first, so that small work is divided, too.
    void fnSetOverhead(std::chrono::nanoseconds overhead) { m_Overhead = overhead; }

    /// Tasks and pieces so far.
    std::uint64_t fnGetTasks() const { return m_nTasks; }
    std::uint64_t fnGetPieces() const { return m_nPieces; }

    std::uint32_t fnGetConcurrency() override { return m_nConcurrency; }
    void fnRun(std::uint32_t count, CqWorkPieces& pieces) noexcept override;
    std::chrono::nanoseconds fnGetOverhead() override { return m_Overhead; }

private:
    std::uint32_t m_nConcurrency = 1;
    CQ_WORK_ORDER m_eOrder = CQ_WORK_ORDER::FORWARD;
    std::chrono::nanoseconds m_Overhead{0};
    std::atomic<std::uint32_t> m_nSeed = 1;
    std::atomic<std::uint64_t> m_nTasks = 0;
    std::atomic<std::uint64_t> m_nPieces = 0;
};
