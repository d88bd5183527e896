#pragma once

#include <csignal>

namespace q32::posix {

/// Blocks the signal of an exceeded file size limit for its lifetime. A write beyond the limit then
/// fails with EFBIG, like one on a full disk. Not to be nested.
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
