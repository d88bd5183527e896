#pragma once

#include "q32Base/platform/Export.h"

#include <cstddef>

/// A chain of raw blocks from which containers allocate their nodes.
struct Q32_API CPlex {
    alignas(std::max_align_t) CPlex* pNext; ///< null at the end

    /// The bytes of the block, after its header.
    void* data() { return this + 1; }

    /// Allocates a block of `count` times `size` bytes and inserts it at the head of the chain. If
    /// memory is exhausted, raises the memory exception; the chain is then unchanged.
    static CPlex* Create(CPlex*& head, std::size_t count, std::size_t size);
    /// Frees this block and all that follow.
    void FreeDataChain();
};
