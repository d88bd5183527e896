#include "platforms/win32/CqWin32Messages_p.h"

#include <utility>

using namespace q32::win32;

namespace {

constexpr DWORD kUsersLanguage = 0x400; ///< neutral, the user's default

} // namespace

CqWin32Messages::CqWin32Messages(std::shared_ptr<const CodePage> codePage)
    : m_pCodePage(std::move(codePage)) {}

int CqWin32Messages::fnShowBox(const char* text, UINT style, const char* caption) {
    const std::wstring shown = m_pCodePage->fnToWideAnyhow(text ? text : "");
    const std::wstring title = m_pCodePage->fnToWideAnyhow(caption ? caption : "");
    const HWND owner = ::GetActiveWindow();
    return ::MessageBoxW(owner, shown.c_str(), title.c_str(),
                         style | (owner ? 0u : static_cast<UINT>(MB_TASKMODAL)));
}

DWORD CqWin32Messages::fnGetLastError() {
    return ::GetLastError();
}

bool CqWin32Messages::fnFormatError(DWORD code, std::string& text) {
    if (code == 0)
        return false;
    struct Text {
        wchar_t* m_pUnits = nullptr;
        ~Text() { ::LocalFree(m_pUnits); }
    } made;
    const DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, code, kUsersLanguage, reinterpret_cast<wchar_t*>(&made.m_pUnits), 0, nullptr);
    if (length == 0)
        return false;
    text = m_pCodePage->fnFromWideAnyhow({made.m_pUnits, length});
    return true;
}
