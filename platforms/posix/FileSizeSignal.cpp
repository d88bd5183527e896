#include "platforms/posix/FileSizeSignal_p.h"

#include <cerrno>
#include <ctime>

namespace q32::posix {

namespace {

sigset_t fnSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGXFSZ);
    return signals;
}

bool fnIsPending() {
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    return sigismember(&pending, SIGXFSZ) == 1;
}

} // namespace

FileSizeSignal::FileSizeSignal() : m_bWasPending(fnIsPending()) {
    const sigset_t signals = fnSignals();
    pthread_sigmask(SIG_BLOCK, &signals, &m_Before);
}

FileSizeSignal::~FileSizeSignal() {
    const int cause = errno;
    // A signal raised meanwhile is consumed; one that was already pending is left for the host.
    if (!m_bWasPending && fnIsPending()) {
        const sigset_t signals = fnSignals();
        const timespec now{};
        sigtimedwait(&signals, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &m_Before, nullptr);
    errno = cause;
}

} // namespace q32::posix
