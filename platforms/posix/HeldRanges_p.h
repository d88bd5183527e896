#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace q32::posix {

/// Ranges of memory that were freed and keep their pages for the next request. The system has leave
/// to take the pages when it is short of memory; a page that it took is a zero page again. Any
/// function may be called on any thread; none throws or allocates.
class HeldRanges {
public:
    using Time = std::chrono::steady_clock::time_point;
    static Time fnNow() { return std::chrono::steady_clock::now(); }

    explicit HeldRanges(Time (*now)() = fnNow) : m_fnNow(now) {}
    ~HeldRanges() { fnTrim(0); }
    HeldRanges(const HeldRanges&) = delete;
    HeldRanges& operator=(const HeldRanges&) = delete;

    /// Takes over a readable and writable range of entire pages. False, without effect: it is too
    /// small, or larger than `limit`, or the system can't take pages of such a range.
    bool fnAdd(void* begin, std::size_t bytes, std::uint64_t limit) noexcept;
    /// The smallest range of `bytes` or little more, which is cut to that; null if there is none.
    /// Its contents are arbitrary.
    void* fnTake(std::size_t bytes) noexcept;
    /// Unmaps the oldest ranges until at most `limit` bytes are left. Returns whether there was
    /// any.
    bool fnTrim(std::uint64_t limit) noexcept;
    /// Unmaps the ranges of `age` or more. Returns the time until the next one has it; 0 if none is
    /// left.
    std::chrono::milliseconds fnRelease(std::chrono::milliseconds age) noexcept;
    std::uint64_t fnGetBytes() const noexcept;

private:
    struct Range {
        char* m_pBegin;
        std::size_t m_nBytes;
        Time m_Since;
    };

    // With the lock held.
    void fnForget(std::size_t index) noexcept;
    void fnUnmapOldest() noexcept;
    bool fnTrimTo(std::uint64_t limit) noexcept;
    void fnUnmapAged(std::chrono::milliseconds age) noexcept;

    static constexpr std::size_t kMaxRanges = 64;

    Time (*m_fnNow)();
    mutable std::mutex m_Lock;
    std::array<Range, kMaxRanges> m_Ranges{}; ///< the oldest first
    std::size_t m_nRanges = 0;
    std::uint64_t m_nBytes = 0;
};

} // namespace q32::posix
