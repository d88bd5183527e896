#include "platforms/posix/CqPosixMemory_p.h"
#include "q32Base/framework/Memory.h"

#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;

std::size_t fnPageBytes() {
    return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// `size` rounded up to whole pages; 0 on overflow.
std::size_t fnWholePages(std::size_t size) {
    const std::size_t mask = fnPageBytes() - 1;
    return size > SIZE_MAX - mask ? 0 : (size + mask) & ~mask;
}

/// Reserves address space without memory. Not writable, so it doesn't count towards the commit
/// limit.
char* fnMapNothing(void* where, std::size_t bytes, int flags) {
    void* const range = ::mmap(where, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | flags, -1, 0);
    return range == MAP_FAILED ? nullptr : static_cast<char*>(range);
}

/// Reserves a range aligned to large pages: one that is too long, with its ends unmapped again.
char* fnMapAligned(std::size_t bytes) {
    if (bytes > SIZE_MAX - kLargePage)
        return nullptr;
    char* const range = fnMapNothing(nullptr, bytes + kLargePage, 0);
    if (!range)
        return nullptr;
    const std::size_t past = reinterpret_cast<std::uintptr_t>(range) & (kLargePage - 1);
    const std::size_t head = past == 0 ? 0 : kLargePage - past;
    if (head != 0)
        ::munmap(range, head);
    ::munmap(range + head + bytes, kLargePage - head);
    return range + head;
}

} // namespace

void* CqPosixMemory::fnReserve(std::size_t size) {
    const std::size_t bytes = fnWholePages(size);
    if (bytes == 0)
        return nullptr;
    const auto map = [bytes] {
        return bytes < kLargePage ? fnMapNothing(nullptr, bytes, 0) : fnMapAligned(bytes);
    };
    void* const range = map();
    return range || !m_Held.fnTrim(0) ? range : map();
}

bool CqPosixMemory::fnCommit(void* address, std::size_t size) {
    const std::size_t bytes = fnWholePages(size);
    const auto commit = [=] { return ::mprotect(address, bytes, PROT_READ | PROT_WRITE) == 0; };
    if (!commit() && !(m_Held.fnTrim(0) && commit()))
        return false;
    if (bytes >= kLargePage)
        ::madvise(address, bytes, MADV_HUGEPAGE); // advice only: on failure, small pages are used
    return true;
}

void CqPosixMemory::fnDecommit(void* address, std::size_t size) {
    const std::size_t bytes = fnWholePages(size);
    // Mapping a new empty range over it releases the pages and their commit charge in one step.
    if (fnMapNothing(address, bytes, MAP_FIXED))
        return;
    ::madvise(address, bytes, MADV_DONTNEED);
    ::mprotect(address, bytes, PROT_NONE);
}

bool CqPosixMemory::fnRelease(void* address, std::size_t size) {
    return address && ::munmap(address, fnWholePages(size)) == 0;
}

bool CqPosixMemory::fnHoldBack(void* address, std::size_t size, std::uint64_t limit) {
    if (!m_Held.fnAdd(address, fnWholePages(size), limit))
        return false;
    if (m_fnMemoryHeld)
        q32::fnTryMemory(m_fnMemoryHeld);
    return true;
}

void* CqPosixMemory::fnTakeHeld(std::size_t size) {
    return m_Held.fnTake(fnWholePages(size));
}

std::uint64_t CqPosixMemory::fnGetPhysicalBytes() {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    return pages <= 0 ? 0 : static_cast<std::uint64_t>(pages) * fnPageBytes();
}

std::uint64_t CqPosixMemory::fnGetBlockLimit() {
    q32::fnTryMemory([this] { m_nUsable = m_fnUsableMemory(); });
    return m_nUsable == 0 ? kNoMemoryLimit : m_nUsable / 2;
}
