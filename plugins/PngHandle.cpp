#include "plugins/PngHandle_p.h"
#include "q32Base/framework/CheckedSize_p.h"

#include <cstddef>
#include <new>

namespace q32 {

namespace {

/// Ahead of each block for libpng: its size. Of the size of the strictest alignment.
struct alignas(std::max_align_t) BlockHead {
    std::size_t m_nBytes;
};

} // namespace

void fnPngError(png_structp png, png_const_charp) {
    std::longjmp(static_cast<PngState*>(png_get_error_ptr(png))->m_Jump, 1);
}

void fnPngWarning(png_structp, png_const_charp) {}

png_voidp fnPngAlloc(png_structp png, png_alloc_size_t size) {
    PngState& state = *static_cast<PngState*>(png_get_mem_ptr(png));
    const auto total = (CheckedSize(size) + sizeof(BlockHead)).fnGet();
    const bool granted = total && *total <= state.m_nFree;
    void* block = granted ? ::operator new(*total, std::nothrow) : nullptr;
    if (!block) {
        state.m_bNoMemory = true;
        state.m_eLimit = granted ? PICTURE_LIMIT_NONE : PICTURE_LIMIT_CODEC;
        return nullptr;
    }
    state.m_nFree -= *total;
    return new (block) BlockHead{*total} + 1;
}

void fnPngFree(png_structp png, png_voidp block) {
    if (!block)
        return;
    BlockHead* head = static_cast<BlockHead*>(block) - 1;
    static_cast<PngState*>(png_get_mem_ptr(png))->m_nFree += head->m_nBytes;
    ::operator delete(head);
}

} // namespace q32
