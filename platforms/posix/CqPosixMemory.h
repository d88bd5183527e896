#pragma once

#include "q32Base/platform/CqMemoryService.h"

/// Anonymous memory of the system. A range of 2 MiB or more begins on a 2 MiB border and asks for
/// large pages, which makes its first touch several times cheaper (docs/scratch-files.md).
class CqPosixMemory : public CqMemoryService {
public:
    void* fnReserve(std::size_t size) override;
    /// Counted against the system's limit on promised memory, so that a hopeless size fails here.
    bool fnCommit(void* address, std::size_t size) override;
    void fnDecommit(void* address, std::size_t size) override;
    bool fnRelease(void* address, std::size_t size) override;
    /// The machine's memory. Limits of a container or a session are deliberately not mixed in: the
    /// host sets a lower limit outright if it wants one.
    std::uint64_t fnGetPhysicalBytes() override;
};
