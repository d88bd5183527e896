#include "platforms/win32/CqWin32View.h"

#include "platforms/win32/win32.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>

namespace {

constexpr wchar_t kViewClass[] = L"q32View";
/// Pixels of the image along one side of the view, above or below 1.
constexpr int fnGetUp(int scale) {
    return scale > 0 ? scale : 1;
}
constexpr int fnGetDown(int scale) {
    return scale > 0 ? 1 : -scale;
}

/// A coordinate of the image scaled from one scale to another.
LONG fnRescale(LONG value, int from, int to) {
    const auto image = static_cast<std::int64_t>(value) * fnGetDown(from) * fnGetUp(to);
    return static_cast<LONG>(image / (std::int64_t{fnGetUp(from)} * fnGetDown(to)));
}

LONG fnLimit(LONG value, LONG view, LONG whole) {
    return std::clamp<LONG>(value, 0, std::max<LONG>(0, whole - view));
}

} // namespace

HWND CqWin32View::fnCreate(HWND parent, const RECT& place, int id) {
    WNDCLASSW kind{};
    kind.lpfnWndProc = fnDispatch;
    kind.hInstance = ::GetModuleHandleW(nullptr);
    kind.hCursor = ::LoadCursor(nullptr, IDC_ARROW);
    kind.lpszClassName = kViewClass;
    ::RegisterClassW(&kind); // fails if it is there already
    const CRect frame(place);
    return ::CreateWindowExW(0, kViewClass, L"", WS_CHILD | WS_VISIBLE | WS_HSCROLL | WS_VSCROLL,
                             frame.left, frame.top, frame.Width(), frame.Height(), parent,
                             reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), // NOLINT
                             kind.hInstance, nullptr);
}

CqWin32View::CqWin32View(HWND parent, const RECT& place, int id)
    : CqWin32Place(fnCreate(parent, place, id)) {
    if (const HWND window = fnGetHandle())
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    fnUpdateScrollBars();
}

CqWin32View::~CqWin32View() {
    if (const HWND window = fnGetHandle()) {
        ::SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        ::DestroyWindow(window);
    }
}

LRESULT CALLBACK CqWin32View::fnDispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* view = reinterpret_cast<CqWin32View*>( // NOLINT(performance-no-int-to-ptr)
        ::GetWindowLongPtrW(window, GWLP_USERDATA));
    return view ? view->fnHandle(message, wParam, lParam)
                : ::DefWindowProcW(window, message, wParam, lParam);
}

CSize CqWin32View::fnGetScaledSize(int scale) const {
    if (!m_pImage)
        return {0, 0};
    const auto scaled = [&](unsigned int size) {
        const std::uint64_t up = std::uint64_t{size} * static_cast<unsigned>(fnGetUp(scale));
        return static_cast<LONG>(
            std::min<std::uint64_t>(up / static_cast<unsigned>(fnGetDown(scale)), INT32_MAX / 2));
    };
    return {scaled(m_pImage->Width), scaled(m_pImage->Height)};
}

void CqWin32View::fnSetImage(CqImage* image) {
    m_pImage = image;
    m_Origin = CPoint(0, 0);
    fnUpdateImage(nullptr);
}

void CqWin32View::fnUpdateImage(const RECT* part) {
    fnUpdateScrollBars();
    fnScrollTo(m_Origin); // no further than the image reaches
    if (!part) {
        fnInvalidate(nullptr, false);
        return;
    }
    const int up = fnGetUp(m_nScale);
    const int down = fnGetDown(m_nScale);
    CRect area(part->left * up / down, part->top * up / down, part->right * up / down + 1,
               part->bottom * up / down + 1);
    area.OffsetRect(-m_Origin.x, -m_Origin.y);
    fnInvalidate(&area, false);
}

void CqWin32View::fnSetScale(int scale, const POINT& about) {
    scale = std::clamp(scale, -kMaxScale, kMaxScale);
    if (scale > -2 && scale < 1)
        scale = scale < 0 ? -2 : 1;
    if (scale == m_nScale)
        return;
    const CPoint origin(fnRescale(m_Origin.x + about.x, m_nScale, scale) - about.x,
                        fnRescale(m_Origin.y + about.y, m_nScale, scale) - about.y);
    m_nScale = scale;
    fnUpdateScrollBars();
    fnInvalidate(nullptr, false);
    fnScrollTo(origin);
    if (m_OnMoved)
        m_OnMoved();
}

void CqWin32View::fnFit() {
    const CRect client = fnGetClient();
    int scale = 1;
    for (; scale > -kMaxScale; scale = scale == 1 ? -2 : scale - 1) {
        const CSize size = fnGetScaledSize(scale);
        if (size.cx <= client.Width() && size.cy <= client.Height())
            break;
    }
    fnSetScale(scale, CPoint(0, 0));
    fnScrollTo(CPoint(0, 0));
}

void CqWin32View::fnScrollTo(const POINT& origin) {
    const CRect client = fnGetClient();
    const CSize size = fnGetScaledSize(m_nScale);
    const CPoint limited(fnLimit(origin.x, client.Width(), size.cx),
                         fnLimit(origin.y, client.Height(), size.cy));
    const CPoint moved(m_Origin.x - limited.x, m_Origin.y - limited.y);
    if (moved.x == 0 && moved.y == 0)
        return;
    m_Origin = limited;
    // What is visible before and after moves; the system asks for the rest.
    ::ScrollWindowEx(fnGetHandle(), moved.x, moved.y, nullptr, nullptr, nullptr, nullptr,
                     SW_INVALIDATE);
    fnUpdateScrollBars();
    if (m_OnMoved)
        m_OnMoved();
}

CPoint CqWin32View::fnToImage(const POINT& point) const {
    return {fnRescale(m_Origin.x + point.x, m_nScale, 1),
            fnRescale(m_Origin.y + point.y, m_nScale, 1)};
}

void CqWin32View::fnUpdateScrollBars() {
    const HWND window = fnGetHandle();
    const CRect client = fnGetClient();
    const CSize size = fnGetScaledSize(m_nScale);
    const auto set = [window](int bar, LONG whole, LONG page, LONG position) {
        SCROLLINFO info{};
        info.cbSize = sizeof info;
        info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
        info.nMax = std::max<LONG>(0, whole - 1);
        info.nPage = static_cast<UINT>(page);
        info.nPos = position;
        ::SetScrollInfo(window, bar, &info, TRUE);
    };
    set(SB_HORZ, size.cx, client.Width(), m_Origin.x);
    set(SB_VERT, size.cy, client.Height(), m_Origin.y);
}

void CqWin32View::fnPaintPart(HDC dc, CDC& output, const CRect& part) {
    CRect picture(CPoint(-m_Origin.x, -m_Origin.y), fnGetScaledSize(m_nScale));
    if (picture.IntersectRect(picture, part)) {
        const CPoint from(m_Origin.x + picture.left, m_Origin.y + picture.top);
        m_pImage->fnDrawInit(
            static_cast<unsigned>(std::max(fnGetUp(m_nScale), fnGetDown(m_nScale))), m_nScale < 0,
            picture, from, this);
        m_pImage->fnDraw(&output, picture, from.x, from.y, false, m_bBackground);
        ::ExcludeClipRect(dc, picture.left, picture.top, picture.right, picture.bottom);
    }
    ::FillRect(dc, &part, ::GetSysColorBrush(COLOR_APPWORKSPACE));
    ::SelectClipRgn(dc, nullptr);
}

void CqWin32View::fnPaint() {
    const HWND window = fnGetHandle();
    // The update region is gone once painting begins.
    const HRGN stale = ::CreateRectRgn(0, 0, 0, 0);
    ::GetUpdateRgn(window, stale, FALSE);
    std::vector<unsigned char> block(::GetRegionData(stale, 0, nullptr));
    auto* const region = reinterpret_cast<RGNDATA*>(block.data());
    const DWORD size =
        ::GetRegionData(stale, static_cast<DWORD>(block.size()), block.empty() ? nullptr : region);
    ::DeleteObject(stale);
    PAINTSTRUCT paint;
    const HDC dc = ::BeginPaint(window, &paint);
    // A failure shows as a part that stays as it was: a paint message is no place for a box.
    q32::fnTryMemory([&] {
        const std::unique_ptr<CDC> output = q32Win32DC(dc);
        const auto* rects = reinterpret_cast<const RECT*>(region->Buffer);
        for (DWORD i = 0; output && size > 0 && i < region->rdh.nCount; ++i)
            fnPaintPart(dc, *output, CRect(rects[i]));
    });
    ::EndPaint(window, &paint);
}

bool CqWin32View::fnOnFrameMessage(UINT message, WPARAM wParam, LRESULT& result) {
    const HWND window = fnGetHandle();
    if (!window)
        return false;
    switch (message) {
    case WM_QUERYNEWPALETTE: // the frame becomes active: its palette comes first
        m_bBackground = false;
        break;
    case WM_PALETTECHANGED:
        // Drawing changes the palette, too: that isn't answered by drawing again.
        if (reinterpret_cast<HWND>(wParam) == window || // NOLINT(performance-no-int-to-ptr)
            ::IsChild(::GetAncestor(window, GA_ROOT),
                      reinterpret_cast<HWND>(wParam))) // NOLINT(performance-no-int-to-ptr)
            return false;
        m_bBackground = ::GetForegroundWindow() != ::GetAncestor(window, GA_ROOT);
        break;
    case WM_DISPLAYCHANGE:
        q32::fnTryMemory([] { q32GetDisplayProperty()->fnUpdate(); });
        break;
    default:
        return false;
    }
    fnInvalidate(nullptr, false);
    result = TRUE;
    return true;
}
