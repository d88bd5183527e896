#include "platforms/win32/CqWin32View.h"
#include "platforms/win32/Density_p.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr UINT kDpiChanged = 0x02E3; ///< WM_DPICHANGED_AFTERPARENT
constexpr int kStandardDpi = 96;
constexpr int kLine = 32; ///< pixels that an arrow scrolls, at the standard density

/// The next scale in a direction: …, -2, 1, 2, …
int fnStep(int scale, int direction) {
    if (scale == 1 && direction < 0)
        return -2;
    return scale == -2 && direction > 0 ? 1 : scale + direction;
}

CPoint fnToPoint(LPARAM lParam) {
    return {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
}

LONG fnGetLine(HWND window) {
    return kLine * q32::win32::fnGetDensity(window) / kStandardDpi;
}

} // namespace

LRESULT CqWin32View::fnHandle(UINT message, WPARAM wParam, LPARAM lParam) {
    const HWND window = fnGetHandle();
    switch (message) {
    case WM_PAINT:
        fnPaint();
        return 0;
    case WM_ERASEBKGND:
        return 1; // painting covers everything
    case WM_SIZE:
        fnUpdateScrollBars();
        fnScrollTo(m_Origin);
        return 0;
    case kDpiChanged:
        fnUpdateScrollBars();
        fnInvalidate(nullptr, false);
        return 0;
    case WM_HSCROLL:
        fnOnScrollBar(SB_HORZ, LOWORD(wParam));
        return 0;
    case WM_VSCROLL:
        fnOnScrollBar(SB_VERT, LOWORD(wParam));
        return 0;
    case WM_GETDLGCODE:
        return DLGC_WANTARROWS;
    default:
        return fnOnInput(message, wParam, lParam)
                   ? 0
                   : ::DefWindowProcW(window, message, wParam, lParam);
    }
}

bool CqWin32View::fnOnInput(UINT message, WPARAM wParam, LPARAM lParam) {
    const HWND window = fnGetHandle();
    switch (message) {
    case WM_LBUTTONDOWN:
        ::SetFocus(window);
        ::SetCapture(window);
        m_bDragging = true;
        m_DragPoint = fnToPoint(lParam);
        return true;
    case WM_MOUSEMOVE:
        if (m_bDragging) {
            const CPoint now = fnToPoint(lParam);
            fnScrollTo(
                CPoint(m_Origin.x + m_DragPoint.x - now.x, m_Origin.y + m_DragPoint.y - now.y));
            m_DragPoint = now;
        }
        return true;
    case WM_LBUTTONUP:
        ::ReleaseCapture();
        return true;
    case WM_CAPTURECHANGED:
        m_bDragging = false;
        return true;
    case WM_MOUSEWHEEL: {
        POINT about = fnToPoint(lParam); // of the screen
        ::ScreenToClient(window, &about);
        m_nWheel += static_cast<short>(HIWORD(wParam));
        for (; std::abs(m_nWheel) >= WHEEL_DELTA;
             m_nWheel -= m_nWheel > 0 ? WHEEL_DELTA : -WHEEL_DELTA)
            fnSetScale(fnStep(m_nScale, m_nWheel > 0 ? 1 : -1), about);
        return true;
    }
    case WM_KEYDOWN:
        fnOnKey(wParam);
        return true;
    default:
        return false;
    }
}

void CqWin32View::fnOnKey(WPARAM key) {
    const CPoint center(fnGetClient().Width() / 2, fnGetClient().Height() / 2);
    switch (key) {
    case VK_ADD:
    case VK_OEM_PLUS:
        fnSetScale(fnStep(m_nScale, 1), center);
        break;
    case VK_SUBTRACT:
    case VK_OEM_MINUS:
        fnSetScale(fnStep(m_nScale, -1), center);
        break;
    case VK_LEFT:
        fnOnScrollBar(SB_HORZ, SB_LINELEFT);
        break;
    case VK_RIGHT:
        fnOnScrollBar(SB_HORZ, SB_LINERIGHT);
        break;
    case VK_UP:
        fnOnScrollBar(SB_VERT, SB_LINEUP);
        break;
    case VK_DOWN:
        fnOnScrollBar(SB_VERT, SB_LINEDOWN);
        break;
    case VK_PRIOR:
        fnOnScrollBar(SB_VERT, SB_PAGEUP);
        break;
    case VK_NEXT:
        fnOnScrollBar(SB_VERT, SB_PAGEDOWN);
        break;
    default:
        break;
    }
}

void CqWin32View::fnOnScrollBar(int bar, WORD what) {
    const HWND window = fnGetHandle();
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_ALL;
    ::GetScrollInfo(window, bar, &info);
    LONG position = info.nPos;
    switch (what) { // left and right have the same numbers
    case SB_LINEUP:
        position -= fnGetLine(window);
        break;
    case SB_LINEDOWN:
        position += fnGetLine(window);
        break;
    case SB_PAGEUP:
        position -= static_cast<LONG>(info.nPage);
        break;
    case SB_PAGEDOWN:
        position += static_cast<LONG>(info.nPage);
        break;
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION:
        position = info.nTrackPos;
        break;
    case SB_TOP:
        position = 0;
        break;
    case SB_BOTTOM:
        position = info.nMax;
        break;
    default:
        return;
    }
    fnScrollTo(bar == SB_HORZ ? CPoint(position, m_Origin.y) : CPoint(m_Origin.x, position));
}
