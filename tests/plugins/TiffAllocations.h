/// @file
/// Makes allocations by libtiff fail on demand, and counts them. The functions through which
/// libtiff allocates are defined in TiffAllocations.cpp, ahead of its own.
#pragma once

#include <cstddef>

/// During its lifetime, the `nth` block that libtiff allocates on this thread is refused (1 is the
/// next one; 0 for none). What is allocated meanwhile doesn't count as leaked: libtiff loses blocks
/// when it is refused others. Objects don't nest.
class TiffAllocations {
public:
    explicit TiffAllocations(std::size_t nth = 0);
    ~TiffAllocations();
    TiffAllocations(const TiffAllocations&) = delete;
    TiffAllocations& operator=(const TiffAllocations&) = delete;

    /// Whether a block was refused.
    bool fnHappened() const;
    /// Bytes requested since the start of this object.
    std::size_t fnGetBytes() const;
};
