#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace q32 {

/// Repeats `call` for as long as a signal interrupts it, and returns its result.
template <typename Call>
auto fnRetry(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

/// Owns a file descriptor. Destruction preserves errno, so that the cause of a failed operation
/// survives cleanup.
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
    /// Gives up ownership.
    int fnRelease() { return std::exchange(m_nFd, -1); }

    /// Closes now. False, with errno, when data could not be written. An interrupted close counts
    /// as closed: repeating it could close a descriptor of another thread.
    bool fnClose() {
        const int fd = std::exchange(m_nFd, -1);
        return fd < 0 || ::close(fd) == 0 || errno == EINTR;
    }

private:
    int m_nFd = -1;
};

} // namespace q32
