#pragma once

#include "platforms/posix/MemoryLimit_p.h"
#include "q32Base/platform/CqMemoryService.h"

/// Anonymous memory of the system. A range of 2 MiB or more is aligned to 2 MiB and requests large
/// pages, which makes its first touch several times cheaper (docs/scratch-files.md).
class CqPosixMemory : public CqMemoryService {
public:
    /// @param usableMemory  returns how many bytes the process may use; 0 when unknown. May throw
    ///                      std::bad_alloc, and so does this constructor then.
    explicit CqPosixMemory(std::uint64_t (*usableMemory)() = q32::posix::fnUsableMemory)
        : m_fnUsableMemory(usableMemory), m_nUsable(usableMemory()) {}

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

private:
    std::uint64_t (*m_fnUsableMemory)();
    std::uint64_t m_nUsable;
};
