#include "platforms/win32/CqWin32Messages_p.h"
#include "platforms/win32/SystemText_p.h"

#include <utility>

using namespace q32::win32;

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
    const SystemText own(code);
    if (own.fnGet().empty())
        return false;
    text = m_pCodePage->fnFromWideAnyhow(own.fnGet());
    return true;
}
