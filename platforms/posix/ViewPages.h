#pragma once

#include <array>
#include <cstddef>

namespace q32::posix {

/// Moves the pages of a mapped file in and out as a walk wants it, for files that memory can't
/// hold.
///
/// What comes next is read ahead. What is done goes out to the disk at once, in long pieces, and
/// leaves memory a little later, when it has got there: so memory never fills up with pages that
/// wait for the disk, and what the walk still needs stays. Nothing is dropped that may be lost by
/// it: a page that is written to again in between stays, and once a write-out has failed, all do.
class ViewPages {
public:
    /// @param file     a descriptor that lives longer than this object
    /// @param behind   how many bytes may be on their way out
    ViewPages(int file, char* view, std::size_t size, std::size_t behind);

    // Parts of the view; what lies outside is cut off. errno is left as it was.

    // Parts that follow each other are left alone: there the system reads ahead by itself, and
    // large pages serve well. Others are brought in as small pages, since a large one would hold
    // far more than is looked at.
    void fnReadNext(std::size_t begin, std::size_t end) noexcept;
    void fnWriteNext(std::size_t begin, std::size_t end) noexcept;

    void fnDone(std::size_t begin, std::size_t end) noexcept;

private:
    struct Range {
        std::size_t begin;
        std::size_t end;
        std::size_t fnSize() const { return end - begin; }
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
    std::size_t m_nNextRead = 0;         ///< where the last part to be read ends
    std::size_t m_nNextWrite = 0;        ///< where the last part to be written ends
    Range m_Run = {0, 0};                ///< done and side by side, not yet sent out
    std::array<Range, kMaxRanges> m_Out; ///< on their way out, as a ring
    std::size_t m_nFirstOut = 0;
    std::size_t m_nOut = 0;
    std::size_t m_nBytesOut = 0;
    bool m_bFailed = false; ///< the disk refused something: nothing more is dropped
};

} // namespace q32::posix
