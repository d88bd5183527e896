#include "platforms/win32/Path_p.h"
#include "platforms/win32/SaveDialog_p.h"
#include "platforms/win32/SystemText_p.h"

// clang-format off
#include <windows.h>
#include <commdlg.h>
#include <cderr.h>
// clang-format on

namespace q32::win32 {

namespace {

/// Labels and masks in turn, each ended by a NUL, and a final NUL.
std::wstring fnConvertFilter(const CodePage& codePage, const char* filter) {
    std::wstring wide;
    while (filter && *filter) {
        const std::string_view part = filter;
        wide += codePage.fnToWideAnyhow(part);
        wide += L'\0';
        filter += part.size() + 1;
    }
    wide += L'\0';
    return wide;
}

void fnShowCause(HWND owner, const std::wstring& what, DWORD error) {
    const SystemText cause(error);
    const std::wstring text = what + std::wstring(cause.fnGet());
    wchar_t caption[64] = {};
    ::GetWindowTextW(owner, caption, 64);
    ::MessageBoxW(owner, text.c_str(), caption, MB_OK | MB_ICONEXCLAMATION);
}

bool fnIsMemory(DWORD failure) {
    return failure == CDERR_MEMALLOCFAILURE || failure == CDERR_MEMLOCKFAILURE;
}

} // namespace

bool fnAskSaveName(HWND owner, const CodePage& codePage, const CqSaveRequest& request,
                   std::string& path) {
    const std::wstring filter = fnConvertFilter(codePage, request.m_pszFilter);
    const std::wstring extension =
        codePage.fnToWideAnyhow(request.m_szDefaultExtension ? request.m_szDefaultExtension : "");
    const std::wstring folder =
        codePage.fnToWideAnyhow(request.m_szFolder ? request.m_szFolder : "");
    std::wstring name(kMaxPathUnits, L'\0');
    OPENFILENAMEW dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = owner;
    dialog.lpstrFilter = filter.c_str();
    dialog.lpstrFile = name.data();
    dialog.nMaxFile = static_cast<DWORD>(name.size());
    dialog.lpstrInitialDir = request.m_szFolder ? folder.c_str() : nullptr;
    dialog.lpstrDefExt = extension.c_str();
    dialog.Flags = request.m_nFlags | OFN_NOCHANGEDIR;
    while (::GetSaveFileNameW(&dialog)) {
        const std::wstring chosen = name.c_str();
        if (codePage.fnFromWide(chosen, path))
            return true;
        fnShowCause(owner, chosen + L"\n\n", ERROR_NO_UNICODE_TRANSLATION);
        if (!::IsWindow(owner))
            return false;
    }
    // 0 if the user cancelled it; otherwise nobody has seen a dialog.
    const DWORD failure = ::CommDlgExtendedError();
    if (failure != 0)
        fnShowCause(owner, {},
                    fnIsMemory(failure) ? ERROR_NOT_ENOUGH_MEMORY : ERROR_CAN_NOT_COMPLETE);
    return false;
}

} // namespace q32::win32
