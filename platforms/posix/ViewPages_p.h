#pragma once

#include <array>
#include <cstddef>

namespace q32::posix {

/// Pages a mapped file in and out ahead of and behind a walk, for files larger than memory.
///
/// The next parts are read ahead. Finished parts are written to disk at once, in long pieces, and
/// dropped from memory a little later, when written: so memory never fills up with dirty pages, and
/// what the walk still needs stays. Nothing is dropped that could be lost: a page written to again
/// in between stays, and after a failed write-out, all pages do.
class ViewPages {
public:
    /// @param file     a descriptor that must outlive this object
    /// @param behind   how many bytes may be in the process of being written
    ViewPages(int file, char* view, std::size_t size, std::size_t behind);

    // `begin` and `end` are offsets in the view, clipped to it. errno is preserved.

    // Consecutive parts are left to the system's own read-ahead and large pages. Others are paged
    // in as small pages, since a large one would hold far more than is used.
    void fnReadNext(std::size_t begin, std::size_t end) noexcept;
    void fnWriteNext(std::size_t begin, std::size_t end) noexcept;

    void fnDone(std::size_t begin, std::size_t end) noexcept;

private:
    struct Range {
        std::size_t m_nBegin;
        std::size_t m_nEnd;
        std::size_t fnGetSize() const { return m_nEnd - m_nBegin; }
    };
    static constexpr std::size_t kMaxRanges = 1024;

    Range fnPages(std::size_t begin, std::size_t end) const;
    void fnBringIn(std::size_t& next, std::size_t begin, std::size_t end);
    void fnSendOut(const Range& range);
    void fnSync(const Range& range, unsigned flags);
    void fnDropOldest();

    int m_nFile;
    char* m_pView;
    std::size_t m_nSize;
    std::size_t m_nBehind;
    std::size_t m_nNextRead = 0;         ///< end of the last part to be read
    std::size_t m_nNextWrite = 0;        ///< end of the last part to be written
    Range m_Run = {0, 0};                ///< finished and contiguous, not yet being written
    std::array<Range, kMaxRanges> m_Out; ///< being written, as a ring
    std::size_t m_nFirstOut = 0;
    std::size_t m_nOut = 0;
    std::size_t m_nBytesOut = 0;
    bool m_bFailed = false; ///< a write failed: nothing more is dropped
};

} // namespace q32::posix
