#include "platforms/posix/ViewPages_p.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace q32::posix {
namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;
constexpr std::size_t kRunBytes = 2 * kLargePage; ///< written by one request

class KeepErrno {
public:
    KeepErrno() = default;
    ~KeepErrno() { errno = m_nCause; }
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;

private:
    int m_nCause = errno;
};

} // namespace

ViewPages::ViewPages(int file, char* view, std::size_t size, std::size_t behind)
    : m_nFile(file), m_pView(view), m_nSize(size), m_nBehind(behind) {}

/// The pages that contain the bytes, clipped to the view.
ViewPages::Range ViewPages::fnPages(std::size_t begin, std::size_t end) const {
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    end = std::min(end, m_nSize);
    begin = std::min(begin, end);
    return {begin / page * page, begin == end ? begin / page * page : end};
}

void ViewPages::fnReadNext(std::size_t begin, std::size_t end) noexcept {
    fnBringIn(m_nNextRead, begin, end);
}

void ViewPages::fnWriteNext(std::size_t begin, std::size_t end) noexcept {
    fnBringIn(m_nNextWrite, begin, end);
}

void ViewPages::fnBringIn(std::size_t& next, std::size_t begin, std::size_t end) {
    const KeepErrno keep;
    const bool follows = begin == next;
    next = end;
    const Range range = fnPages(begin, end);
    if (!follows && range.fnGetSize() != 0)
        ::madvise(m_pView + range.m_nBegin, range.fnGetSize(), MADV_WILLNEED);
}

void ViewPages::fnDone(std::size_t begin, std::size_t end) noexcept {
    const KeepErrno keep;
    const Range range = fnPages(begin, end);
    if (range.fnGetSize() == 0 || m_bFailed)
        return;
    const bool joins =
        range.m_nBegin <= m_Run.m_nEnd && m_Run.m_nBegin <= range.m_nBegin && m_Run.m_nEnd != 0;
    if (!joins) {
        fnSendOut(m_Run);
        m_Run = range;
    } else {
        m_Run.m_nEnd = std::max(m_Run.m_nEnd, range.m_nEnd);
    }
    if (m_Run.fnGetSize() >= kRunBytes) {
        // A large page is written when all of it is finished.
        const std::size_t whole =
            m_Run.m_nEnd == m_nSize ? m_nSize : m_Run.m_nEnd / kLargePage * kLargePage;
        fnSendOut({m_Run.m_nBegin, whole});
        m_Run.m_nBegin = whole;
    }
}

void ViewPages::fnSendOut(const Range& range) {
    if (range.fnGetSize() == 0)
        return;
    fnSync(range, SYNC_FILE_RANGE_WRITE);
    while (!m_bFailed && m_nOut != 0 &&
           (m_nOut == kMaxRanges || m_nBytesOut + range.fnGetSize() > m_nBehind))
        fnDropOldest();
    if (m_bFailed)
        return;
    assert(range.m_nEnd <= m_nSize && m_nOut < kMaxRanges);
    m_Out[(m_nFirstOut + m_nOut) % kMaxRanges] = range;
    ++m_nOut;
    m_nBytesOut += range.fnGetSize();
}

/// A page whose write failed may count as clean, though memory has its only good copy. The kernel
/// reports that once, for the whole file: from then on no range is safe to drop.
void ViewPages::fnSync(const Range& range, unsigned flags) {
    if (::sync_file_range(m_nFile, static_cast<off_t>(range.m_nBegin),
                          static_cast<off_t>(range.fnGetSize()), flags) != 0)
        m_bFailed = true;
}

void ViewPages::fnDropOldest() {
    assert(m_nOut != 0);
    const Range range = m_Out[m_nFirstOut];
    assert(range.fnGetSize() <= m_nBytesOut);
    m_nFirstOut = (m_nFirstOut + 1) % kMaxRanges;
    --m_nOut;
    m_nBytesOut -= range.fnGetSize();
    fnSync(range, SYNC_FILE_RANGE_WAIT_BEFORE);
    if (m_bFailed)
        return;
    // Unmapped first: the page cache keeps pages that are mapped.
    ::madvise(m_pView + range.m_nBegin, range.fnGetSize(), MADV_DONTNEED);
    ::posix_fadvise(m_nFile, static_cast<off_t>(range.m_nBegin),
                    static_cast<off_t>(range.fnGetSize()), POSIX_FADV_DONTNEED);
}

} // namespace q32::posix
