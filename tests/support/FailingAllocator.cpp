#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> theOutstanding{0};
thread_local std::size_t theCount = 0;
thread_local std::size_t theCountdown = 0; ///< 0: no order, or it has been carried out
thread_local bool theRestFails = false;
thread_local bool theHappened = false;

bool fnMustFail() {
    ++theCount;
    const bool now = theCountdown > 0 && --theCountdown == 0;
    const bool fails = now || (theHappened && theRestFails);
    theHappened = theHappened || fails;
    return fails;
}

void* fnTake(std::size_t size, std::size_t alignment) noexcept {
    if (fnMustFail())
        return nullptr;
    size = std::max<std::size_t>(size, 1);
    void* block = alignment <= alignof(std::max_align_t)
                      ? std::malloc(size)
                      : std::aligned_alloc(alignment, (size + alignment - 1) & ~(alignment - 1));
    if (block)
        ++theOutstanding;
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
    std::free(block);
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

// NOLINTBEGIN(misc-new-delete-overloads): all forms of the standard stand here
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
