#pragma once

#include "q32Base/platform/Records.h"

#include <string_view>

namespace q32::win32 {

/// The system's text for an error code, in the user's language.
class SystemText {
public:
    explicit SystemText(DWORD code)
        : m_nLength(::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                                         FORMAT_MESSAGE_IGNORE_INSERTS,
                                     nullptr, code, kUsersLanguage,
                                     reinterpret_cast<wchar_t*>(&m_pUnits), 0, nullptr)) {}
    ~SystemText() { ::LocalFree(m_pUnits); }
    SystemText(const SystemText&) = delete;
    SystemText& operator=(const SystemText&) = delete;

    /// Empty if there is none.
    std::wstring_view fnGet() const { return {m_pUnits, m_nLength}; }

private:
    static constexpr DWORD kUsersLanguage = 0x400; ///< neutral, the user's default

    wchar_t* m_pUnits = nullptr;
    DWORD m_nLength;
};

} // namespace q32::win32
