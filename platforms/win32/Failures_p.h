/// @file
/// What the host's functions throw while the system calls the library. No exception may pass the
/// system's frames: the first one waits until the host asks for it.
#pragma once

#include <exception>
#include <utility>

namespace q32::win32 {

/// Frees a failure that won't be handled; null for none.
void fnDropFailure(const std::exception_ptr& failure);

/// From within a handler: keeps what was thrown in `first`, or frees it if that holds one already.
void fnKeepFailure(std::exception_ptr& first);

/// A kept failure.
class Failures {
public:
    Failures() = default;
    ~Failures() { fnDropFailure(m_pFirst); }
    Failures(const Failures&) = delete;
    Failures& operator=(const Failures&) = delete;

    /// Runs `work` and keeps what it throws.
    template <typename Work>
    void fnGuard(Work work) noexcept {
        try {
            work();
        } catch (...) { // anything that a host throws
            fnKeepFailure(m_pFirst);
        }
    }
    /// Removes it; null for none.
    std::exception_ptr fnTake() { return std::exchange(m_pFirst, nullptr); }

private:
    std::exception_ptr m_pFirst;
};

} // namespace q32::win32
