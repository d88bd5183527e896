#pragma once

#include "q32Base/platform/Records.h"

#include <utility>

namespace q32::win32 {

/// Owns a handle of the system. Destruction preserves the thread's last error, so that the cause of
/// a failed operation survives cleanup.
class Handle {
public:
    Handle() = default;
    /// @param handle  null and INVALID_HANDLE_VALUE are none
    explicit Handle(HANDLE handle) : m_Handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    Handle(Handle&& other) noexcept : m_Handle(std::exchange(other.m_Handle, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(m_Handle, other.m_Handle);
        return *this;
    }
    ~Handle() {
        const DWORD cause = ::GetLastError();
        fnClose();
        ::SetLastError(cause);
    }

    explicit operator bool() const { return m_Handle != nullptr; }
    HANDLE fnGet() const { return m_Handle; }

    /// Gives up ownership.
    HANDLE fnRelease() { return std::exchange(m_Handle, nullptr); }

    /// Closes now. False, with the last error, on failure.
    bool fnClose() {
        const HANDLE handle = std::exchange(m_Handle, nullptr);
        return !handle || ::CloseHandle(handle);
    }

private:
    HANDLE m_Handle = nullptr;
};

} // namespace q32::win32
