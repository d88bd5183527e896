#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> theOutstanding{0};
thread_local std::size_t theCount = 0;
thread_local std::size_t theCountdown = 0; ///< 0: none is pending
thread_local bool theRestFails = false;
thread_local bool theHappened = false;

/// What a CqBlockWatch has recorded. Plain arrays: it runs inside operator new.
struct Watched {
    static constexpr std::size_t kMax = 64;
    bool running;
    std::size_t sizes[kMax];
    std::size_t sizeCount;
    void* held[kMax];
    std::size_t heldCount;
    std::size_t taken;
    std::size_t mostHeld;
    std::size_t largestOther;
};
thread_local Watched theWatched = {};

void fnWatchTaken(void* block, std::size_t size) {
    Watched& seen = theWatched;
    const std::size_t* const end = seen.sizes + seen.sizeCount;
    if (!seen.running)
        return;
    if (std::find<const std::size_t*>(seen.sizes, end, size) == end) {
        seen.largestOther = std::max(seen.largestOther, size);
        return;
    }
    ++seen.taken;
    if (seen.heldCount == Watched::kMax)
        std::abort();
    seen.held[seen.heldCount++] = block;
    seen.mostHeld = std::max(seen.mostHeld, seen.heldCount);
}

void fnWatchGiven(void* block) {
    Watched& seen = theWatched;
    void** const end = seen.held + seen.heldCount;
    void** const place = std::find(seen.held, end, block);
    if (place != end)
        *place = seen.held[--seen.heldCount];
}

bool fnMustFail() {
    ++theCount;
    const bool now = theCountdown > 0 && --theCountdown == 0;
    const bool fails = now || (theHappened && theRestFails);
    theHappened = theHappened || fails;
    return fails;
}

#ifdef _WIN32
// The system's aligned blocks have a function of their own to free them: all blocks are such ones.
void* fnAllocate(std::size_t size, std::size_t alignment) noexcept {
    return ::_aligned_malloc(size, std::max(alignment, alignof(std::max_align_t)));
}
void fnFree(void* block) noexcept {
    ::_aligned_free(block);
}
#else
void* fnAllocate(std::size_t size, std::size_t alignment) noexcept {
    return alignment <= alignof(std::max_align_t)
               ? std::malloc(size)
               : std::aligned_alloc(alignment, (size + alignment - 1) & ~(alignment - 1));
}
void fnFree(void* block) noexcept {
    std::free(block);
}
#endif

void* fnTake(std::size_t size, std::size_t alignment) noexcept {
    if (fnMustFail())
        return nullptr;
    size = std::max<std::size_t>(size, 1);
    void* block = fnAllocate(size, alignment);
    if (block) {
        ++theOutstanding;
        fnWatchTaken(block, size);
    }
    return block;
}

void* fnTakeOrThrow(std::size_t size, std::size_t alignment) {
    void* block = fnTake(size, alignment);
    if (!block)
        throw std::bad_alloc();
    return block;
}

void fnGive(void* block) noexcept {
    if (!block)
        return;
    --theOutstanding;
    fnWatchGiven(block);
    fnFree(block);
}

} // namespace

CqAllocationFailure::CqAllocationFailure(std::size_t nth, bool all) {
    theCountdown = nth;
    theRestFails = all;
    theHappened = false;
}

CqAllocationFailure::~CqAllocationFailure() {
    fnEnd();
}

bool CqAllocationFailure::fnHappened() const {
    return theHappened;
}

void CqAllocationFailure::fnEnd() {
    theCountdown = 0;
    theRestFails = false;
}

std::size_t CqAllocationFailure::fnOutstanding() {
    return theOutstanding;
}

std::size_t CqAllocationFailure::fnCount() {
    return theCount;
}

CqBlockWatch::CqBlockWatch(std::initializer_list<std::size_t> sizes) {
    theWatched = {};
    if (sizes.size() > Watched::kMax)
        std::abort();
    std::copy(sizes.begin(), sizes.end(), theWatched.sizes);
    theWatched.sizeCount = sizes.size();
    theWatched.running = true;
}

CqBlockWatch::~CqBlockWatch() {
    theWatched = {};
}

std::size_t CqBlockWatch::fnTaken() {
    return theWatched.taken;
}

std::size_t CqBlockWatch::fnMostHeld() {
    return theWatched.mostHeld;
}

std::size_t CqBlockWatch::fnLargestOther() {
    return theWatched.largestOther;
}

// NOLINTBEGIN(misc-new-delete-overloads): all standard forms are defined here
void* operator new(std::size_t size) {
    return fnTakeOrThrow(size, 1);
}
void* operator new[](std::size_t size) {
    return fnTakeOrThrow(size, 1);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return fnTake(size, 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return fnTake(size, 1);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return fnTakeOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return fnTakeOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return fnTake(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return fnTake(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* block) noexcept {
    fnGive(block);
}
void operator delete[](void* block) noexcept {
    fnGive(block);
}
void operator delete(void* block, std::size_t) noexcept {
    fnGive(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    fnGive(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    fnGive(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    fnGive(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    fnGive(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    fnGive(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    fnGive(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    fnGive(block);
}
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    fnGive(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    fnGive(block);
}
// NOLINTEND(misc-new-delete-overloads)
