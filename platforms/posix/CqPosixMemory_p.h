#pragma once

#include "q32Base/platform/CqMemoryService.h"

/// Anonymous memory of the system. A range of 2 MiB or more is aligned to 2 MiB and requests large
/// pages, which makes its first touch several times cheaper (docs/scratch-files.md).
class CqPosixMemory : public CqMemoryService {
public:
    void* fnReserve(std::size_t size) override;
    /// The memory counts towards the system's commit limit, so that an excessive size fails here.
    bool fnCommit(void* address, std::size_t size) override;
    void fnDecommit(void* address, std::size_t size) override;
    bool fnRelease(void* address, std::size_t size) override;
    /// The machine's memory. Limits of a container or a session are deliberately not included: a
    /// host that needs a lower limit sets it explicitly.
    std::uint64_t fnGetPhysicalBytes() override;
};
