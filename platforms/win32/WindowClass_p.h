#pragma once

#include "q32Base/platform/Records.h"

namespace q32::win32 {

/// The module that holds this back end: a DLL of its own, or the program.
HINSTANCE fnGetOwnModule();

/// A class of windows whose procedure is in this module. The system doesn't remove it with the
/// module, so it is registered only as long as somebody has a window of it. From any thread.
class WindowClass {
public:
    constexpr WindowClass(const wchar_t* name, WNDPROC procedure)
        : m_szName(name), m_pProcedure(procedure) {}

    /// Creates a window, as CreateWindowExW does. If that isn't null, `fnLeave` follows when the
    /// window is gone.
    HWND fnCreate(DWORD extended, const wchar_t* title, DWORD style, const RECT& place, HWND parent,
                  HMENU menu = nullptr);
    void fnLeave();

private:
    void fnJoin();

    const wchar_t* m_szName;
    WNDPROC m_pProcedure;
    int m_nUsers = 0;
};

} // namespace q32::win32
