#include "platforms/headless/CqHeadlessWnd.h"
#include "platforms/headless/FrameContext_p.h"
#include "platforms/headless/FrameRows_p.h"
#include "q32Base/framework/CBitmap.h"
#include "q32Base/framework/CFont.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace q32::headless {

namespace {

constexpr std::uint32_t kTextColor = 0x000000;
constexpr std::uint32_t kBackColor = 0xFFFFFF;
constexpr std::uint32_t kButtonFace = 0xC0C0C0;

std::size_t fnLength(const char* text, int count) {
    return count < 0 ? std::strlen(text) : static_cast<std::size_t>(count);
}

} // namespace

FrameContext::~FrameContext() {
    if (m_pFont || m_pBitmap)
        m_Frame.m_pMisuses->fnAdd("a device context goes with a font or a bitmap selected");
}

CRect FrameContext::fnGetArea() const {
    const CRect screen(0, 0, m_Frame.m_Mode.m_nWidth, m_Frame.m_Mode.m_nHeight);
    if (!m_pWindow)
        return screen;
    const auto* placed = dynamic_cast<const CqHeadlessPlace*>(m_pWindow);
    return placed ? placed->fnGetPlace() : m_pWindow->GetClientRect();
}

int FrameContext::GetDeviceCaps(int index) const {
    const CqHeadlessMode& mode = m_Frame.m_Mode;
    switch (index) {
    case HORZRES:
        return mode.m_nWidth;
    case VERTRES:
        return mode.m_nHeight;
    case BITSPIXEL:
        return mode.m_nBits;
    case LOGPIXELSX:
        return mode.m_nDpiX;
    case LOGPIXELSY:
        return mode.m_nDpiY;
    default:
        return 0;
    }
}

CPalette* FrameContext::SelectPalette(CPalette* palette, bool background) {
    m_bBackground = background;
    return std::exchange(m_pPalette, palette);
}

UINT FrameContext::RealizePalette() {
    auto* palette = dynamic_cast<CqHeadlessPalette*>(fnGetPalette());
    return palette && m_Frame.m_Mode.m_nBits == 8
               ? m_Frame.m_Hardware.fnRealize(*palette, m_bBackground)
               : 0;
}

std::unique_ptr<CDC> FrameContext::CreateCompatibleDC() {
    if (!m_Calls.m_CreateDC.fnPass())
        return nullptr;
    return std::unique_ptr<CDC>(new (std::nothrow) FrameContext(m_Frame, m_Calls, nullptr, true));
}

CFont* FrameContext::SelectObject(CFont* font) {
    return std::exchange(m_pFont, font);
}

CBitmap* FrameContext::SelectObject(CBitmap* bitmap) {
    return m_bMemory ? std::exchange(m_pBitmap, bitmap) : nullptr;
}

FrameContext::Surface FrameContext::fnGetSurface() const {
    if (m_bMemory) {
        auto* bitmap = m_pBitmap ? dynamic_cast<Bitmap*>(m_pBitmap->GetObject()) : nullptr;
        return bitmap ? Surface{bitmap->m_Pixels.data(), bitmap->m_nWidth,
                                CRect(0, 0, bitmap->m_nWidth, bitmap->m_nHeight), 0}
                      : Surface();
    }
    const CRect area = fnGetArea();
    Surface surface;
    surface.m_nStride = m_Frame.m_Mode.m_nWidth;
    if (!surface.m_Clip.IntersectRect(
            area, CRect(0, 0, m_Frame.m_Mode.m_nWidth, m_Frame.m_Mode.m_nHeight)))
        return surface;
    surface.m_Clip.OffsetRect(fnWrapSub(0, area.left), fnWrapSub(0, area.top));
    surface.m_pPixels = m_Frame.m_Pixels.data();
    surface.m_nOrigin = area.top * surface.m_nStride + area.left;
    return surface;
}

bool FrameContext::GetClipBox(RECT* box) const {
    const Surface surface = fnGetSurface();
    if (m_bMemory && !surface.m_pPixels)
        return false;
    *box = surface.m_Clip;
    return true;
}

const CqHeadlessFont& FrameContext::fnGetFont() const {
    static const CqHeadlessFont standard(CqHeadlessFont::kHeight);
    const auto* font =
        m_pFont ? dynamic_cast<const CqHeadlessFont*>(m_pFont->GetObject()) : nullptr;
    return font ? *font : standard;
}

std::uint32_t FrameContext::fnToRaw(std::uint32_t color) const {
    switch (m_Frame.m_Mode.m_nBits) {
    case 8:
        for (std::uint32_t slot = 0; slot < CqHeadlessHardware::kSlots; ++slot)
            if (m_Frame.m_Hardware.fnGetColor(static_cast<BYTE>(slot)) == color)
                return slot;
        return 0;
    case 16:
        return fnTo565(color);
    default:
        return color;
    }
}

template <typename Change>
void FrameContext::fnChange(const RECT& rect, Change change) const {
    const Surface surface = fnGetSurface();
    CRect part;
    part.IntersectRect(rect, surface.m_Clip);
    for (int y = part.top; y < part.bottom; ++y)
        for (int x = part.left; x < part.right; ++x)
            change(x, y, surface.fnAt(x, y));
}

bool FrameContext::GetTextMetrics(TEXTMETRICA* metrics) const {
    if (!m_Calls.m_TextMetrics.fnPass())
        return false;
    *metrics = fnGetFont().fnGetMetrics();
    return true;
}

bool FrameContext::GetTextExtentPoint32(const char* text, int count, SIZE* size) const {
    if (!m_Calls.m_TextExtent.fnPass())
        return false;
    *size = fnGetFont().fnMeasure(fnLength(text, count));
    return true;
}

int FrameContext::DrawText(const char* text, int count, RECT* rect, UINT format) {
    if (!m_Calls.m_DrawText.fnPass() || !(format & DT_SINGLELINE))
        return 0;
    const CqHeadlessFont& font = fnGetFont();
    const std::size_t length = fnLength(text, count);
    const SIZE size = font.fnMeasure(length);
    if (format & DT_CALCRECT) {
        rect->right = fnWrapAdd(rect->left, size.cx);
        rect->bottom = fnWrapAdd(rect->top, size.cy);
        return size.cy;
    }
    const CRect place(*rect);
    CPoint corner = place.TopLeft();
    if (format & DT_CENTER)
        corner.Offset(fnWrapSub(place.Width(), size.cx) / 2, 0);
    if (format & DT_VCENTER)
        corner.Offset(0, fnWrapSub(place.Height(), size.cy) / 2);
    const int cell = length == 0 ? 1 : size.cx / static_cast<int>(length);
    const std::uint32_t ink = fnToRaw(kTextColor);
    const std::uint32_t paper = fnToRaw(kBackColor);
    CRect part;
    part.IntersectRect(place, CRect(corner, size));
    fnChange(part, [&](int x, int y, std::uint32_t& pixel) {
        const int column = x - corner.x;
        if (font.fnIsInk(text[column / cell], column % cell, y - corner.y))
            pixel = ink;
        else if (m_nBkMode == OPAQUE)
            pixel = paper;
    });
    return size.cy;
}

int FrameContext::SetBkMode(int mode) {
    return std::exchange(m_nBkMode, mode);
}

bool FrameContext::FillRect(const RECT& rect, int systemColor) {
    if (!m_Calls.m_FillRect.fnPass())
        return false;
    const std::uint32_t raw = fnToRaw(systemColor == COLOR_BTNFACE ? kButtonFace : kTextColor);
    fnChange(rect, [&](int, int, std::uint32_t& pixel) { pixel = raw; });
    return true;
}

bool FrameContext::InvertRect(const RECT& rect) {
    if (!m_Calls.m_InvertRect.fnPass())
        return false;
    const int bits = std::min(m_Frame.m_Mode.m_nBits, 24);
    const std::uint32_t all = (std::uint32_t{1} << bits) - 1;
    fnChange(rect, [&](int, int, std::uint32_t& pixel) { pixel ^= all; });
    return true;
}

bool FrameContext::BitBlt(int x, int y, int width, int height, CDC* source, int sourceX,
                          int sourceY, DWORD rop) {
    const auto* from = dynamic_cast<const FrameContext*>(source);
    if (!m_Calls.m_BitBlt.fnPass() || !from || rop != SRCCOPY || from == this)
        return false;
    const Surface pixels = from->fnGetSurface();
    fnChange(CRect(CPoint(x, y), CSize(width, height)), [&](int toX, int toY, std::uint32_t& to) {
        CPoint at(fnWrapSub(toX, x), fnWrapSub(toY, y));
        at.Offset(sourceX, sourceY);
        if (pixels.m_Clip.PtInRect(at))
            to = pixels.fnAt(at.x, at.y);
    });
    return true;
}

} // namespace q32::headless
