#include "platforms/win32/WindowClass_p.h"

#include <mutex>

namespace q32::win32 {

namespace {

std::mutex theLock; ///< of all classes; not held while a window procedure runs

} // namespace

HINSTANCE fnGetOwnModule() {
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                             GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<const wchar_t*>(&fnGetOwnModule), &module);
    return module;
}

void WindowClass::fnJoin() {
    const std::scoped_lock lock(theLock);
    if (m_nUsers++ > 0)
        return;
    WNDCLASSW kind{};
    kind.lpfnWndProc = m_pProcedure;
    kind.hInstance = fnGetOwnModule();
    kind.hCursor = ::LoadCursor(nullptr, IDC_ARROW);
    kind.lpszClassName = m_szName;
    ::RegisterClassW(&kind);
}

void WindowClass::fnLeave() {
    const std::scoped_lock lock(theLock);
    if (--m_nUsers == 0)
        ::UnregisterClassW(m_szName, fnGetOwnModule());
}

HWND WindowClass::fnCreate(DWORD extended, const wchar_t* title, DWORD style, const RECT& place,
                           HWND parent, HMENU menu) {
    fnJoin();
    const HWND window = ::CreateWindowExW(extended, m_szName, title, style, place.left, place.top,
                                          place.right - place.left, place.bottom - place.top,
                                          parent, menu, fnGetOwnModule(), nullptr);
    if (!window)
        fnLeave();
    return window;
}

} // namespace q32::win32
