#include "platforms/win32/Density_p.h"
#include "platforms/win32/DeviceContext_p.h"
#include "q32Base/framework/CBitmap.h"
#include "q32Base/framework/CFont.h"
#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>

namespace q32::win32 {

namespace {

HPALETTE fnGetHandle(const CPalette* palette) {
    const auto* own = palette ? dynamic_cast<const CqWin32Palette*>(palette->GetObject()) : nullptr;
    return own ? own->fnGetHandle() : static_cast<HPALETTE>(::GetStockObject(DEFAULT_PALETTE));
}

HGDIOBJ fnGetHandle(const CFont* font) {
    const auto* own = font ? dynamic_cast<const Font*>(font->GetObject()) : nullptr;
    return own ? own->fnGetHandle() : ::GetStockObject(SYSTEM_FONT);
}

/// The bitmap of a device context without one.
HBITMAP fnGetNoBitmap() {
    static const HBITMAP none = [] {
        const HDC dc = ::CreateCompatibleDC(nullptr);
        const auto initial = static_cast<HBITMAP>(::GetCurrentObject(dc, OBJ_BITMAP));
        ::DeleteDC(dc);
        return initial;
    }();
    return none;
}

const Bitmap* fnGetBitmap(const CBitmap* bitmap) {
    return bitmap ? dynamic_cast<const Bitmap*>(bitmap->GetObject()) : nullptr;
}

std::mutex theListLock; ///< guards the list of device contexts

} // namespace

int fnGetDepth(HDC dc) {
    return ::GetDeviceCaps(dc, BITSPIXEL) * ::GetDeviceCaps(dc, PLANES);
}

DeviceContext* DeviceContext::theFirst = nullptr;

DeviceContext::DeviceContext(HDC dc, END end, std::shared_ptr<const CodePage> codePage,
                             CWnd* window, HWND handle, int bits)
    : m_DC(dc), m_nEnd(end), m_pCodePage(std::move(codePage)), m_pWindow(window), m_Handle(handle),
      m_nBits(bits != 0 ? bits : fnGetDepth(dc)) {
    ::SaveDC(m_DC);
    const std::scoped_lock lock(theListLock);
    m_pNext = theFirst;
    if (m_pNext)
        m_pNext->m_pPrevious = this;
    theFirst = this;
}

DeviceContext::~DeviceContext() {
    {
        const std::scoped_lock lock(theListLock);
        (m_pPrevious ? m_pPrevious->m_pNext : theFirst) = m_pNext;
        if (m_pNext)
            m_pNext->m_pPrevious = m_pPrevious;
    }
    if (m_nEnd == END::RELEASE && !fnIsOpen())
        return; // the system has taken it back with the window
    ::RestoreDC(m_DC, -1);
    if (m_nEnd == END::RELEASE)
        ::ReleaseDC(m_Handle, m_DC);
    else if (m_nEnd == END::DESTROY)
        ::DeleteDC(m_DC);
}

HDC DeviceContext::fnGetTarget() const {
    const bool isThere = m_nEnd == END::DESTROY ? fnGetBitmap(m_pBitmap) != nullptr : fnIsOpen();
    return isThere ? m_DC : nullptr;
}

const CqWin32Palette* DeviceContext::fnGetPalette() const {
    return m_pPalette ? dynamic_cast<const CqWin32Palette*>(m_pPalette->GetObject()) : nullptr;
}

void DeviceContext::fnForgetPalette(const CPalette& palette) noexcept {
    const std::scoped_lock lock(theListLock);
    for (DeviceContext* each = theFirst; each; each = each->m_pNext)
        if (each->m_pPalette == &palette)
            each->SelectPalette(nullptr, true);
}

int DeviceContext::GetDeviceCaps(int index) const {
    switch (index) {
    case BITSPIXEL:
        return m_nBits;
    case LOGPIXELSX:
    case LOGPIXELSY: // of a window's own monitor, which the system's doesn't say
        if (fnIsOpen() && m_Handle)
            return fnGetDensity(m_Handle);
        [[fallthrough]];
    case HORZRES:
    case VERTRES:
        return ::GetDeviceCaps(m_DC, index);
    default:
        return 0;
    }
}

CPalette* DeviceContext::SelectPalette(CPalette* palette, bool background) {
    ::SelectPalette(m_DC, fnGetHandle(palette), background);
    return std::exchange(m_pPalette, palette);
}

UINT DeviceContext::RealizePalette() {
    if (!fnGetPalette() || (::GetDeviceCaps(m_DC, RASTERCAPS) & RC_PALETTE) == 0)
        return 0;
    const UINT changed = ::RealizePalette(m_DC);
    return changed == GDI_ERROR ? 0 : changed;
}

std::unique_ptr<CDC> DeviceContext::CreateCompatibleDC() {
    const HDC dc = ::CreateCompatibleDC(m_DC);
    if (!dc)
        return nullptr;
    std::unique_ptr<CDC> made(
        new (std::nothrow) DeviceContext(dc, END::DESTROY, m_pCodePage, nullptr, nullptr, m_nBits));
    if (!made)
        ::DeleteDC(dc);
    return made;
}

CFont* DeviceContext::SelectObject(CFont* font) {
    ::SelectObject(m_DC, fnGetHandle(font));
    return std::exchange(m_pFont, font);
}

CBitmap* DeviceContext::SelectObject(CBitmap* bitmap) {
    if (m_nEnd != END::DESTROY)
        return nullptr;
    const Bitmap* own = fnGetBitmap(bitmap);
    ::SelectObject(m_DC, own ? own->fnGetHandle() : fnGetNoBitmap());
    return std::exchange(m_pBitmap, bitmap);
}

std::wstring DeviceContext::fnToWide(const char* text, int count) const {
    const std::size_t length = count < 0 ? std::strlen(text) : static_cast<std::size_t>(count);
    return m_pCodePage->fnToWideAnyhow({text, length});
}

bool DeviceContext::fnMeasure(const std::wstring& text, SIZE& size) const {
    return ::GetTextExtentPoint32W(m_DC, text.data(), static_cast<int>(text.size()), &size);
}

bool DeviceContext::GetTextMetrics(TEXTMETRICA* metrics) const {
    return ::GetTextMetricsA(m_DC, metrics);
}

bool DeviceContext::GetTextExtentPoint32(const char* text, int count, SIZE* size) const {
    return fnTryMemory([&] {
        SIZE own{};
        // The system measures no height of no text.
        const std::wstring wide = fnToWide(text, count);
        if (!fnMeasure(wide.empty() ? L" " : wide, own))
            return false;
        *size = {wide.empty() ? 0 : own.cx, own.cy};
        return true;
    });
}

int DeviceContext::DrawText(const char* text, int count, RECT* rect, UINT format) {
    SIZE size{};
    if ((format & DT_SINGLELINE) == 0 || !GetTextExtentPoint32(text, count, &size))
        return 0;
    if (format & DT_CALCRECT) {
        const CRect fitting(POINT{rect->left, rect->top}, size);
        *rect = fitting;
        return size.cy;
    }
    RECT part;
    if (!fnClip(*rect, part))
        return size.cy;
    const CRect place(*rect);
    CPoint corner = place.TopLeft();
    if (format & DT_CENTER)
        corner.Offset(fnWrapSub(place.Width(), size.cx) / 2, 0);
    if (format & DT_VCENTER)
        corner.Offset(0, fnWrapSub(place.Height(), size.cy) / 2);
    return fnTryMemoryOr(0, [&] {
        const std::wstring wide = fnToWide(text, count);
        const bool isDrawn = ::ExtTextOutW(m_DC, corner.x, corner.y, ETO_CLIPPED, &part,
                                           wide.data(), static_cast<UINT>(wide.size()), nullptr);
        return isDrawn ? static_cast<int>(size.cy) : 0;
    });
}

int DeviceContext::SetBkMode(int mode) {
    return ::SetBkMode(m_DC, mode);
}

bool DeviceContext::fnClip(const RECT& rect, RECT& part) const {
    RECT box;
    return GetClipBox(&box) && ::IntersectRect(&part, &rect, &box);
}

bool DeviceContext::FillRect(const RECT& rect, int systemColor) {
    RECT part;
    if (!fnClip(rect, part))
        return true;
    // A brush would be dithered on a screen of 256 colours; the background of a text has one.
    const COLORREF before = ::SetBkColor(m_DC, ::GetSysColor(systemColor));
    const bool done = ::ExtTextOutW(m_DC, 0, 0, ETO_OPAQUE, &part, L"", 0, nullptr);
    ::SetBkColor(m_DC, before);
    return done;
}

bool DeviceContext::InvertRect(const RECT& rect) {
    RECT part;
    return !fnClip(rect, part) || ::InvertRect(m_DC, &part);
}

bool DeviceContext::BitBlt(int x, int y, int width, int height, CDC* source, int sourceX,
                           int sourceY, DWORD rop) {
    const auto* from = dynamic_cast<const DeviceContext*>(source);
    if (!from || from == this || rop != SRCCOPY)
        return false;
    RECT there;
    RECT here;
    // What the source has, on this device.
    const bool hasPixels = from->GetClipBox(&there);
    const CPoint shift(fnWrapSub(x, sourceX), fnWrapSub(y, sourceY));
    if (!hasPixels || width <= 0 || height <= 0 ||
        !fnClip(CRect(CPoint(x, y), CSize(width, height)), here))
        return true;
    CRect part(there);
    part.OffsetRect(shift.x, shift.y);
    if (!part.IntersectRect(part, here))
        return true;
    return ::BitBlt(m_DC, part.left, part.top, part.Width(), part.Height(), from->m_DC,
                    fnWrapSub(part.left, shift.x), fnWrapSub(part.top, shift.y), rop);
}

bool DeviceContext::GetClipBox(RECT* box) const {
    if (!fnGetTarget())
        return false;
    if (const Bitmap* bitmap = fnGetBitmap(m_pBitmap)) {
        *box = {0, 0, bitmap->m_Size.cx, bitmap->m_Size.cy};
        return true;
    }
    RECT own;
    if (::GetClipBox(m_DC, &own) == ERROR)
        return false;
    *box = own;
    return true;
}

} // namespace q32::win32
