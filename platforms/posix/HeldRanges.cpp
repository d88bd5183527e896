#include "platforms/posix/HeldRanges_p.h"
#include "q32Base/platform/CqMemoryService.h"

#include <algorithm>
#include <cassert>
#include <sys/mman.h>

// gcc defines a macro, clang has a feature.
#if defined(__SANITIZE_ADDRESS__)
#define Q32_POISONS_MEMORY
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define Q32_POISONS_MEMORY
#endif
#endif
#ifdef Q32_POISONS_MEMORY
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(begin, bytes) ((void)(begin), (void)(bytes))
#define ASAN_UNPOISON_MEMORY_REGION(begin, bytes) ((void)(begin), (void)(bytes))
#endif

namespace q32::posix {
namespace {

/// Smaller ranges cost as much to hold back as they save.
constexpr std::size_t kMinBytes = std::size_t{64} << 10;

/// Gives the system leave to take the pages, which stay accessible.
bool fnOfferPages(char* begin, std::size_t bytes) {
#ifdef MADV_FREE
    return ::madvise(begin, bytes, MADV_FREE) == 0;
#else
    return false;
#endif
}

} // namespace

bool HeldRanges::fnAdd(void* begin, std::size_t bytes, std::uint64_t limit) noexcept {
    auto* const range = static_cast<char*>(begin);
    if (bytes < kMinBytes || bytes > limit || !fnOfferPages(range, bytes))
        return false;
    const std::scoped_lock lock(m_Lock);
    fnUnmapAged(kHeldMemoryAge);
    fnTrimTo(limit - bytes);
    if (m_nRanges == kMaxRanges)
        fnUnmapOldest();
    assert(m_nRanges < kMaxRanges && m_nBytes <= limit - bytes);
    ASAN_POISON_MEMORY_REGION(range, bytes); // it was freed
    m_Ranges[m_nRanges++] = {range, bytes, m_fnNow()};
    m_nBytes += bytes;
    return true;
}

void* HeldRanges::fnTake(std::size_t bytes) noexcept {
    const std::scoped_lock lock(m_Lock);
    fnUnmapAged(kHeldMemoryAge);
    std::size_t best = m_nRanges;
    for (std::size_t i = 0; i < m_nRanges; ++i) {
        const std::size_t size = m_Ranges[i].m_nBytes;
        // A much larger one is left for a request of its size.
        if (size >= bytes && size - bytes <= bytes / 4 &&
            (best == m_nRanges || size < m_Ranges[best].m_nBytes))
            best = i;
    }
    if (best == m_nRanges)
        return nullptr;
    const Range range = m_Ranges[best];
    fnForget(best);
    ASAN_UNPOISON_MEMORY_REGION(range.m_pBegin, range.m_nBytes);
    if (range.m_nBytes != bytes)
        ::munmap(range.m_pBegin + bytes, range.m_nBytes - bytes);
    return range.m_pBegin;
}

bool HeldRanges::fnTrim(std::uint64_t limit) noexcept {
    const std::scoped_lock lock(m_Lock);
    return fnTrimTo(limit);
}

std::chrono::milliseconds HeldRanges::fnRelease(std::chrono::milliseconds age) noexcept {
    const std::scoped_lock lock(m_Lock);
    fnUnmapAged(age);
    if (m_nRanges == 0)
        return {};
    const auto left = m_Ranges[0].m_Since + age - m_fnNow();
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(left),
                    std::chrono::milliseconds(1));
}

std::uint64_t HeldRanges::fnGetBytes() const noexcept {
    const std::scoped_lock lock(m_Lock);
    return m_nBytes;
}

void HeldRanges::fnForget(std::size_t index) noexcept {
    assert(index < m_nRanges && m_Ranges[index].m_nBytes <= m_nBytes);
    m_nBytes -= m_Ranges[index].m_nBytes;
    std::move(m_Ranges.begin() + index + 1, m_Ranges.begin() + m_nRanges, m_Ranges.begin() + index);
    --m_nRanges;
}

void HeldRanges::fnUnmapOldest() noexcept {
    const Range oldest = m_Ranges[0];
    fnForget(0);
    ASAN_UNPOISON_MEMORY_REGION(oldest.m_pBegin, oldest.m_nBytes);
    ::munmap(oldest.m_pBegin, oldest.m_nBytes);
}

bool HeldRanges::fnTrimTo(std::uint64_t limit) noexcept {
    const bool any = m_nBytes > limit;
    while (m_nBytes > limit)
        fnUnmapOldest();
    assert((m_nRanges == 0) == (m_nBytes == 0));
    return any;
}

void HeldRanges::fnUnmapAged(std::chrono::milliseconds age) noexcept {
    const Time now = m_fnNow();
    while (m_nRanges != 0 && now - m_Ranges[0].m_Since >= age)
        fnUnmapOldest();
}

} // namespace q32::posix
