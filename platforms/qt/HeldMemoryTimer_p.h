#pragma once

#include "q32Base/platform/CqMemoryService.h"

#include <atomic>
#include <chrono>
#include <memory>

namespace q32::qt {

/// Releases memory held back once it has a certain age, by a timer in the application's thread.
/// Without an application object nothing happens.
class HeldMemoryTimer : public std::enable_shared_from_this<HeldMemoryTimer> {
public:
    explicit HeldMemoryTimer(std::chrono::milliseconds age = kHeldMemoryAge) : m_Age(age) {}

    /// Sets the service, which isn't kept alive. Before the first start.
    void fnWatch(const std::shared_ptr<CqMemoryService>& memory) { m_pMemory = memory; }
    /// Starts the timer unless it runs already. From any thread, as long as the application lives.
    /// Throws std::bad_alloc.
    void fnStart();

private:
    void fnRunAfter(std::chrono::milliseconds time, const std::shared_ptr<void>& running);
    void fnRelease(const std::shared_ptr<void>& running);

    std::chrono::milliseconds m_Age;
    std::weak_ptr<CqMemoryService> m_pMemory;
    std::atomic<bool> m_bRuns = false;
};

} // namespace q32::qt
