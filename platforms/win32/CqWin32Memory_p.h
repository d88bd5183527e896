#pragma once

#include "q32Base/platform/CqMemoryService.h"

/// Virtual memory of the system.
class CqWin32Memory : public CqMemoryService {
public:
    void* fnReserve(std::size_t size) override;
    /// The memory counts towards the system's commit limit, so that an excessive size fails here.
    bool fnCommit(void* address, std::size_t size) override;
    void fnDecommit(void* address, std::size_t size) override;
    bool fnRelease(void* address, std::size_t size) override;
    std::uint64_t fnGetPhysicalBytes() override;
    /// Half of the machine's memory; no limit if the system doesn't know its size.
    std::uint64_t fnGetBlockLimit() override;
};
