#pragma once

#include <cstdint>
#include <memory>

namespace q32::posix {

/// Threads of oneTBB. It wakes them within microseconds, shares them among all callers, and with
/// other parts of the process that use it.
///
/// Its source alone is compiled without the thread sanitizer, which can't follow a library that was
/// built without it; what it calls establishes the order of memory accesses by itself.
class WorkThreads {
public:
    /// @param concurrency  0: the number of cores that this process may use
    explicit WorkThreads(std::uint32_t concurrency);
    ~WorkThreads();
    WorkThreads(const WorkThreads&) = delete;
    WorkThreads& operator=(const WorkThreads&) = delete;

    std::uint32_t fnGetConcurrency() const { return m_nConcurrency; }

    /// Calls `work(context, worker)` for each worker below `count`, the first on this thread, the
    /// others there or on other threads. Returns when all calls have ended; some aren't made if
    /// memory is exhausted. Beyond 64 callers at once, a further one waits until one of them has
    /// ended, or until another thread has made all of its calls.
    void fnRun(std::uint32_t count, void (*work)(void* context, std::uint32_t worker),
               void* context) noexcept;

private:
    struct Arena;
    std::uint32_t m_nConcurrency;
    std::unique_ptr<Arena> m_pArena;
};

} // namespace q32::posix
