#include "tests/support/FailingCalls_p.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>

using namespace q32::test;

// Of the sanitizers, where they are in force, and of the C library.
extern "C" {
[[gnu::weak]] void* __interceptor_malloc(std::size_t);
[[gnu::weak]] void* __interceptor_calloc(std::size_t, std::size_t);
[[gnu::weak]] void* __interceptor_realloc(void*, std::size_t);
[[gnu::weak]] void* __interceptor_memalign(std::size_t, std::size_t);
[[gnu::weak]] void __interceptor_free(void*);
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace {

constinit std::atomic<std::size_t> theBlocks = 0;
constinit std::atomic<std::int64_t> theMapped = 0;

void* fnGiveOut(void* block) {
    if (block)
        theBlocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the headers have reserved names
Q32_VISIBLE void* malloc(std::size_t size) noexcept {
    if (Call(CALL_malloc).fnFails())
        return nullptr;
    return fnGiveOut(__interceptor_malloc ? __interceptor_malloc(size) : __libc_malloc(size));
}
Q32_VISIBLE void* calloc(std::size_t count, std::size_t size) noexcept {
    if (Call(CALL_calloc).fnFails())
        return nullptr;
    return fnGiveOut(__interceptor_calloc ? __interceptor_calloc(count, size)
                                          : __libc_calloc(count, size));
}
Q32_VISIBLE void* realloc(void* block, std::size_t size) noexcept {
    if (Call(CALL_realloc).fnFails())
        return nullptr;
    void* const moved =
        __interceptor_realloc ? __interceptor_realloc(block, size) : __libc_realloc(block, size);
    if (!block)
        return fnGiveOut(moved);
    if (!moved && size == 0)
        theBlocks.fetch_sub(1, std::memory_order_relaxed);
    return moved;
}
Q32_VISIBLE void* memalign(std::size_t alignment, std::size_t size) noexcept {
    if (Call(CALL_malloc).fnFails())
        return nullptr;
    return fnGiveOut(__interceptor_memalign ? __interceptor_memalign(alignment, size)
                                            : __libc_memalign(alignment, size));
}
Q32_VISIBLE void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return memalign(alignment, size);
}
Q32_VISIBLE int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    const int cause = errno;
    void* const made = memalign(alignment, size);
    errno = cause;
    if (!made)
        return ENOMEM;
    *block = made;
    return 0;
}
Q32_VISIBLE void free(void* block) noexcept {
    if (!block)
        return;
    theBlocks.fetch_sub(1, std::memory_order_relaxed);
    __interceptor_free ? __interceptor_free(block) : __libc_free(block);
}

Q32_VISIBLE void* mmap(void* where, std::size_t size, int access, int flags, int file,
                       off_t offset) noexcept {
    Q32_REAL(mmap);
    const Call call(CALL_mmap);
    if (call.fnFails())
        return MAP_FAILED;
    void* const made = real(where, size, access, flags, file, offset);
    if (made != MAP_FAILED && (flags & MAP_FIXED) == 0)
        theMapped += static_cast<std::int64_t>(size);
    return made;
}
Q32_VISIBLE int munmap(void* where, std::size_t size) noexcept {
    Q32_REAL(munmap);
    const Call call(CALL_munmap);
    if (call.fnFails() || real(where, size) != 0)
        return -1;
    theMapped -= static_cast<std::int64_t>(size);
    return 0;
}
Q32_VISIBLE int mprotect(void* where, std::size_t size, int access) noexcept {
    Q32_CALL(-1, mprotect, where, size, access);
}
Q32_VISIBLE int madvise(void* where, std::size_t size, int advice) noexcept {
    Q32_CALL(-1, madvise, where, size, advice);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

namespace q32::test {

std::size_t fnCountBlocks() {
    return theBlocks;
}

std::int64_t fnCountMapped() {
    return theMapped;
}

} // namespace q32::test
