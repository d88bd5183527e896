#pragma once

#include "platforms/posix/HeldRanges_p.h"
#include "platforms/posix/MemoryLimit_p.h"
#include "q32Base/platform/CqMemoryService.h"

#include <functional>
#include <utility>

/// Anonymous memory of the system. A range of 2 MiB or more is aligned to 2 MiB and requests large
/// pages, which makes its first touch several times cheaper (docs/scratch-files.md). Freed ranges
/// are held back; whatever the system then refuses is requested again without them.
class CqPosixMemory : public CqMemoryService {
public:
    /// @param usableMemory  returns how many bytes the process may use; 0 when unknown. May throw
    ///                      std::bad_alloc, and so does this constructor then.
    /// @param memoryHeld    see `CqPosixOptions::m_MemoryHeld`
    explicit CqPosixMemory(std::uint64_t (*usableMemory)() = q32::posix::fnUsableMemory,
                           std::function<void()> memoryHeld = {},
                           q32::posix::HeldRanges::Time (*now)() = q32::posix::HeldRanges::fnNow)
        : m_fnUsableMemory(usableMemory), m_nUsable(usableMemory()),
          m_fnMemoryHeld(std::move(memoryHeld)), m_Held(now) {}

    void* fnReserve(std::size_t size) override;
    /// The memory counts towards the system's commit limit, so that an excessive size fails here.
    bool fnCommit(void* address, std::size_t size) override;
    void fnDecommit(void* address, std::size_t size) override;
    bool fnRelease(void* address, std::size_t size) override;
    /// The machine's memory. Limits of a container or a session are deliberately not included: a
    /// host that needs a lower limit sets it explicitly.
    std::uint64_t fnGetPhysicalBytes() override;
    /// Half of the memory that the process may use, by its machine and its control groups: as they
    /// are now, or as last read when there is no memory to read them.
    std::uint64_t fnGetBlockLimit() override;

    bool fnHoldBack(void* address, std::size_t size, std::uint64_t limit) override;
    void* fnTakeHeld(std::size_t size) override;
    void fnTrimHeld(std::uint64_t limit) override { m_Held.fnTrim(limit); }
    std::chrono::milliseconds fnReleaseHeld(std::chrono::milliseconds age) override {
        return m_Held.fnRelease(age);
    }
    std::uint64_t fnGetHeldBytes() override { return m_Held.fnGetBytes(); }

private:
    std::uint64_t (*m_fnUsableMemory)();
    std::uint64_t m_nUsable;
    std::function<void()> m_fnMemoryHeld;
    q32::posix::HeldRanges m_Held;
};
