#pragma once

#include "q32Base/platform/Export.h"

#include <chrono>
#include <cstddef>
#include <cstdint>

/// The limit of memory that has none: all bits set.
inline constexpr std::uint64_t kNoMemoryLimit = ~std::uint64_t{0};

/// How old memory held back may become. A host that releases it by a timer of this length holds
/// none after 10 seconds without work.
inline constexpr std::chrono::milliseconds kHeldMemoryAge{8000};

/// Address space and memory in whole ranges, for the library's large blocks.
/// Called on every thread of the host that makes or frees images, one call at a time. Nothing here
/// throws.
///
/// A service may hold back freed ranges, to hand them out again without page faults. A service that
/// doesn't inherits the last five functions. With one that does, `fnTrimHeld`, `fnReleaseHeld` and
/// `fnGetHeldBytes` may be called on any thread at any time.
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

    /// Takes over an entire committed range to hold it back, if no more than `limit` bytes are held
    /// then; the oldest ranges are released to make space. False, without effect: the caller
    /// decommits and releases the range. The system may take the contents at any time.
    virtual bool fnHoldBack(void* /*address*/, std::size_t /*size*/, std::uint64_t /*limit*/) {
        return false;
    }

    /// A committed range for `size` bytes from those held back, as `fnReserve` and `fnCommit` give
    /// it except for its contents, which are arbitrary. Null if none fits.
    virtual void* fnTakeHeld(std::size_t /*size*/) { return nullptr; }

    /// Releases the oldest ranges held back until at most `limit` bytes are left.
    virtual void fnTrimHeld(std::uint64_t /*limit*/) {}

    /// Releases the ranges that have been held back for `age` or longer. Returns how long it takes
    /// until the next one has that age, above 0; or 0 if nothing is held back any more.
    virtual std::chrono::milliseconds fnReleaseHeld(std::chrono::milliseconds /*age*/) {
        return {};
    }

    /// Bytes held back at present.
    virtual std::uint64_t fnGetHeldBytes() { return 0; }
};
