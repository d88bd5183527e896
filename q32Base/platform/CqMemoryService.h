#pragma once

#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>

/// The limit of memory that has none: all bits set.
inline constexpr std::uint64_t kNoMemoryLimit = ~std::uint64_t{0};

/// Address space and memory in whole ranges, for the library's large blocks.
/// Called on every thread of the host that makes or frees images, one call at a time. Nothing here
/// throws.
class Q32_API CqMemoryService {
public:
    virtual ~CqMemoryService() = default;

    /// Reserves `size` bytes of address space, page-aligned. Null on failure, and for a size of 0.
    virtual void* fnReserve(std::size_t size) = 0;

    /// Commits an entire reserved range: zeroed, readable and writable. False on failure; the range
    /// then stays reserved.
    virtual bool fnCommit(void* address, std::size_t size) = 0;

    /// Releases the memory of a committed range; the address space stays reserved.
    virtual void fnDecommit(void* address, std::size_t size) = 0;

    /// Releases a reserved range. False, without effect, for a null address.
    virtual bool fnRelease(void* address, std::size_t size) = 0;

    /// Physical memory of the machine in bytes.
    virtual std::uint64_t fnGetPhysicalBytes() = 0;

    /// How many bytes the library's blocks may hold together where the host sets no limit of its
    /// own. `kNoMemoryLimit`, which is the default: as many as the memory policy's settings allow.
    virtual std::uint64_t fnGetBlockLimit() { return kNoMemoryLimit; }
};
