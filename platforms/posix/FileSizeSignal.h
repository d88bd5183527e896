#pragma once

#include <csignal>

namespace q32::posix {

/// Keeps the signal of a crossed file size limit from the process while it stands. A write beyond
/// the limit then fails with EFBIG, like one on a full disk. Not to be nested.
class FileSizeSignal {
public:
    FileSizeSignal();
    ~FileSizeSignal();
    FileSizeSignal(const FileSizeSignal&) = delete;
    FileSizeSignal& operator=(const FileSizeSignal&) = delete;

private:
    sigset_t m_Before;
    bool m_bWasPending = false;
};

} // namespace q32::posix
