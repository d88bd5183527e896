/// @file What a window of Windows shows.
#pragma once

#include "q32Base/platform/Records.h"
#include "tests/support/Await.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace q32::test {

/// Pixels of a device context from its top left, 0x00RRGGBB.
inline std::vector<std::uint32_t> fnCapture(HDC from, int width, int height) {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = -height;
    header.biPlanes = 1;
    header.biBitCount = 32;
    void* bits = nullptr;
    const HDC dc = ::CreateCompatibleDC(from);
    const HBITMAP bitmap = ::CreateDIBSection(from, reinterpret_cast<const BITMAPINFO*>(&header),
                                              DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ initial = ::SelectObject(dc, bitmap);
    ::BitBlt(dc, 0, 0, width, height, from, 0, 0, SRCCOPY);
    ::GdiFlush();
    const auto* pixels = static_cast<const std::uint32_t*>(bits);
    std::vector<std::uint32_t> copy(pixels, pixels + static_cast<std::size_t>(width) *
                                                         static_cast<std::size_t>(height));
    for (std::uint32_t& pixel : copy)
        pixel &= 0xFFFFFF;
    ::SelectObject(dc, initial);
    ::DeleteObject(bitmap);
    ::DeleteDC(dc);
    return copy;
}

/// What the screen shows in a window's client area.
inline std::vector<std::uint32_t> fnCapture(HWND window) {
    RECT client;
    ::GetClientRect(window, &client);
    const HDC dc = ::GetDC(window);
    std::vector<std::uint32_t> pixels = fnCapture(dc, client.right, client.bottom);
    ::ReleaseDC(window, dc);
    return pixels;
}

/// Whether what is drawn in a window is there; it is left black at its top left.
inline bool fnIsDrawable(HWND window) {
    const HDC dc = ::GetDC(window);
    ::SetPixel(dc, 0, 0, RGB(255, 255, 255));
    const bool isThere = ::GetPixel(dc, 0, 0) == RGB(255, 255, 255);
    ::SetPixel(dc, 0, 0, 0);
    ::ReleaseDC(window, dc);
    return isThere;
}

/// Makes a visible window without a frame, whose pixels change only by drawing.
inline HWND fnMakePlainWindow(const RECT& place, HWND parent = nullptr) {
    WNDCLASSW kind{};
    kind.lpfnWndProc = [](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
        if (message == WM_ERASEBKGND)
            return 1;
        return ::DefWindowProcW(window, message, wParam, lParam);
    };
    kind.hInstance = ::GetModuleHandleW(nullptr);
    kind.lpszClassName = L"q32PlainWindow";
    ::RegisterClassW(&kind);
    const HWND window = ::CreateWindowExW(
        0, kind.lpszClassName, L"plain", (parent ? WS_CHILD : WS_POPUP) | WS_VISIBLE, place.left,
        place.top, place.right - place.left, place.bottom - place.top, parent, nullptr,
        kind.hInstance, nullptr);
    ::UpdateWindow(window);
    // The X server shows it a little later; what is drawn until then is lost.
    if (!parent)
        fnAwait([window] { return fnIsDrawable(window); });
    return window;
}

} // namespace q32::test
