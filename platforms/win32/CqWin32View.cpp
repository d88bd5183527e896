#include "platforms/win32/CqWin32View.h"

#include "platforms/win32/Failures_p.h"
#include "platforms/win32/GdiObject_p.h"
#include "platforms/win32/win32.h"
#include "platforms/win32/WindowClass_p.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

using namespace q32::win32;

namespace {

/// Pixels of the image along one side of the view, above or below 1.
constexpr int fnGetUp(int scale) {
    return scale > 0 ? scale : 1;
}
constexpr int fnGetDown(int scale) {
    return scale > 0 ? 1 : -scale;
}

/// The nearest coordinate that leaves room for a sum with another one.
LONG fnToCoordinate(std::int64_t value) {
    constexpr std::int64_t kMax = INT32_MAX / 2;
    return static_cast<LONG>(std::clamp(value, -kMax, kMax));
}

/// A coordinate of the image scaled from one scale to another.
LONG fnRescale(std::int64_t value, int from, int to) {
    const std::int64_t image = value * fnGetDown(from) * fnGetUp(to);
    return fnToCoordinate(image / (std::int64_t{fnGetUp(from)} * fnGetDown(to)));
}

LONG fnLimit(LONG value, LONG view, LONG whole) {
    return std::clamp<LONG>(value, 0, std::max<LONG>(0, whole - view));
}

/// The rectangles of a window's update region; none if memory is exhausted.
std::vector<RECT> fnGetStale(HWND window) {
    const GdiObject<HRGN> stale(::CreateRectRgn(0, 0, 0, 0));
    std::vector<RECT> rects;
    if (::GetUpdateRgn(window, stale.fnGet(), FALSE) == ERROR)
        return rects;
    q32::fnTryMemory([&] {
        const DWORD size = ::GetRegionData(stale.fnGet(), 0, nullptr);
        std::vector<unsigned char> block(size);
        auto* const region = reinterpret_cast<RGNDATA*>(block.data());
        if (size == 0 || ::GetRegionData(stale.fnGet(), size, region) != size)
            return;
        const auto* const first = reinterpret_cast<const RECT*>(region->Buffer);
        rects.assign(first, first + region->rdh.nCount);
    });
    return rects;
}

/// The answer to WM_PAINT, which ends in any case: without it, the system asks again and again.
class Painting {
public:
    explicit Painting(HWND window) : m_Window(window) { ::BeginPaint(window, &m_Paint); }
    ~Painting() { ::EndPaint(m_Window, &m_Paint); }
    Painting(const Painting&) = delete;
    Painting& operator=(const Painting&) = delete;

    HDC fnGetDC() const { return m_Paint.hdc; }
    const RECT& fnGetBox() const { return m_Paint.rcPaint; }

private:
    HWND m_Window;
    PAINTSTRUCT m_Paint{};
};

} // namespace

WindowClass& CqWin32View::fnGetClass() {
    static constinit WindowClass viewClass(L"q32View", fnDispatch);
    return viewClass;
}

CqWin32View::CqWin32View(HWND parent, const RECT& place, int id)
    : CqWin32Place(fnGetClass().fnCreate(
          0, L"", WS_CHILD | WS_VISIBLE | WS_HSCROLL | WS_VSCROLL, place, parent,
          reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)))) { // NOLINT(performance-no-int-to-ptr)
    if (const HWND window = fnGetHandle()) {
        m_bHasClass = true;
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    fnUpdateScrollBars();
}

CqWin32View::~CqWin32View() {
    if (const HWND window = fnGetHandle()) {
        ::SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        ::DestroyWindow(window);
    }
    if (m_bHasClass)
        fnGetClass().fnLeave();
    fnDropFailure(m_pFailure);
}

LRESULT CALLBACK CqWin32View::fnDispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* view = reinterpret_cast<CqWin32View*>( // NOLINT(performance-no-int-to-ptr)
        ::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!view)
        return ::DefWindowProcW(window, message, wParam, lParam);
    try {
        return view->fnHandle(message, wParam, lParam);
    } catch (...) { // no exception may pass the system's frames
        fnKeepFailure(view->m_pFailure);
        return 0;
    }
}

std::exception_ptr CqWin32View::fnTakeFailure() {
    return std::exchange(m_pFailure, nullptr);
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
    const CRect area(fnToView(part->left, m_Origin.x), fnToView(part->top, m_Origin.y),
                     fnToView(part->right, m_Origin.x) + 1, fnToView(part->bottom, m_Origin.y) + 1);
    fnInvalidate(&area, false);
}

LONG CqWin32View::fnToView(LONG value, LONG origin) const {
    const std::int64_t scaled = std::int64_t{value} * fnGetUp(m_nScale) / fnGetDown(m_nScale);
    return fnToCoordinate(scaled - origin);
}

void CqWin32View::fnSetScale(int scale, const POINT& about) {
    scale = std::clamp(scale, -kMaxScale, kMaxScale);
    if (scale > -2 && scale < 1)
        scale = scale < 0 ? -2 : 1;
    if (scale == m_nScale)
        return;
    const CPoint image = fnScalePoint(about, scale);
    const CPoint origin(image.x - about.x, image.y - about.y);
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
    return fnScalePoint(point, 1);
}

CPoint CqWin32View::fnScalePoint(const POINT& point, int scale) const {
    return {fnRescale(std::int64_t{m_Origin.x} + point.x, m_nScale, scale),
            fnRescale(std::int64_t{m_Origin.y} + point.y, m_nScale, scale)};
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
    // The update region is gone once painting begins. Without a list of it, its box is drawn.
    const std::vector<RECT> stale = fnGetStale(window);
    const Painting painting(window);
    const std::span<const RECT> parts =
        stale.empty() ? std::span(&painting.fnGetBox(), 1) : std::span<const RECT>(stale);
    // A failure shows as a part that stays as it was: a paint message is no place for a box.
    q32::fnTryMemory([&] {
        const std::unique_ptr<CDC> output = q32Win32DC(painting.fnGetDC());
        for (const RECT& part : parts)
            if (output)
                fnPaintPart(painting.fnGetDC(), *output, CRect(part));
    });
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
    case WM_DPICHANGED:
        q32::fnTryMemory([] { q32GetDisplayProperty()->fnUpdate(); });
        break;
    default:
        return false;
    }
    fnInvalidate(nullptr, false);
    if (message == WM_DPICHANGED)
        return false; // the frame has a new rectangle to take
    result = TRUE;
    return true;
}
