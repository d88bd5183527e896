#include "platforms/win32/Density_p.h"
#include "platforms/win32/GdiObject_p.h"

namespace q32::win32 {

int fnGetDensity(HWND window) {
    using GetDpiForWindow = UINT(WINAPI*)(HWND);
    // Only Windows 10 and later have it.
    static const auto ask = reinterpret_cast<GetDpiForWindow>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"user32.dll"), "GetDpiForWindow")));
    if (const UINT density = ask && window ? ask(window) : 0)
        return static_cast<int>(density);
    const ScreenDC screen;
    return ::GetDeviceCaps(screen.fnGet(), LOGPIXELSY);
}

} // namespace q32::win32
