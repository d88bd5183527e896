#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace q32::posix {

/// Calls `call` again for as long as a signal interrupts it, and gives what it gave.
template <typename Call>
auto fnRetry(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

/// Owns a file descriptor. Closing it leaves errno as it was, so that a failed operation's cause
/// survives its cleaning up.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : m_nFd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_nFd(std::exchange(other.m_nFd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_nFd, other.m_nFd);
        return *this;
    }
    ~Descriptor() {
        const int cause = errno;
        fnClose();
        errno = cause;
    }

    explicit operator bool() const { return m_nFd >= 0; }
    int fnGet() const { return m_nFd; }

    /// Closes now. False, with errno, when something could not be written. An interrupted close has
    /// closed all the same: trying again could hit a descriptor of another thread.
    bool fnClose() {
        const int fd = std::exchange(m_nFd, -1);
        return fd < 0 || ::close(fd) == 0 || errno == EINTR;
    }

private:
    int m_nFd = -1;
};

} // namespace q32::posix
