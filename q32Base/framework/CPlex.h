#pragma once

#include "q32Base/platform/Export.h"

#include <cstddef>

/// A chain of raw blocks that containers cut their nodes from.
struct Q32_API CPlex {
    alignas(std::max_align_t) CPlex* pNext; ///< null at the end

    void* data() { return this + 1; }

    /// Makes a block of `count` times `size` bytes and puts it at the head of the chain. Raises the
    /// memory exception; the chain is then as it was.
    static CPlex* Create(CPlex*& head, std::size_t count, std::size_t size);
    /// Frees this block and all that follow.
    void FreeDataChain();
};
