#include "platforms/qt/CanvasContext_p.h"
#include "platforms/qt/Text_p.h"
#include "platforms/qt/TileSampler_p.h"
#include "q32Base/framework/CBitmap.h"
#include "q32Base/framework/CFont.h"
#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <QApplication>
#include <QFontInfo>
#include <QFontMetrics>
#include <QPainter>
#include <QPalette>
#include <utility>

namespace q32::qt {

namespace {

QRect fnToRect(const RECT& rect, const QRect& within) {
    CRect shared;
    shared.IntersectRect(rect, RECT{within.left(), within.top(), within.left() + within.width(),
                                    within.top() + within.height()});
    return {shared.left, shared.top, shared.Width(), shared.Height()};
}

} // namespace

QFont fnGetStandardFont(double scale) {
    QFont font = QApplication::font();
    font.setPixelSize(
        std::max(1, static_cast<int>(std::lround(QFontInfo(font).pixelSize() * scale))));
    return font;
}

QImage CanvasContext::fnGetSurface() const {
    QImage* pixels = nullptr;
    if (m_bMemory) {
        auto* bitmap = m_pBitmap ? dynamic_cast<Bitmap*>(m_pBitmap->GetObject()) : nullptr;
        pixels = bitmap ? &bitmap->m_Pixels : nullptr;
    } else if (m_pCanvas) {
        pixels = &m_pCanvas->fnGetPixels();
    }
    // The same memory, but without a scale factor.
    return pixels ? QImage(pixels->bits(), pixels->width(), pixels->height(),
                           pixels->bytesPerLine(), pixels->format())
                  : QImage();
}

bool CanvasContext::GetClipBox(RECT* box) const {
    const QImage surface = fnGetSurface();
    if (surface.isNull())
        return false;
    *box = {0, 0, surface.width(), surface.height()};
    return true;
}

void CanvasContext::fnShow() {
    const QRegion changed = std::exchange(m_Changed, QRegion());
    if (!m_pCanvas || changed.isEmpty())
        return;
    if (m_bOver)
        m_pCanvas->show();
    m_pCanvas->fnShowPixels(changed);
}

int CanvasContext::GetDeviceCaps(int index) const {
    const QScreen* screen = m_Device.m_pScreen;
    if (!screen)
        return 0;
    const auto scaled = [this](double value) {
        return static_cast<int>(std::lround(value * m_Device.m_Scale));
    };
    switch (index) {
    case HORZRES:
        return scaled(screen->geometry().width());
    case VERTRES:
        return scaled(screen->geometry().height());
    case BITSPIXEL:
        return m_Device.m_nBits;
    case LOGPIXELSX:
        return scaled(screen->logicalDotsPerInchX());
    case LOGPIXELSY:
        return scaled(screen->logicalDotsPerInchY());
    default:
        return 0;
    }
}

CPalette* CanvasContext::SelectPalette(CPalette* palette, bool) {
    return std::exchange(m_pPalette, palette);
}

std::unique_ptr<CDC> CanvasContext::CreateCompatibleDC() {
    std::unique_ptr<CanvasContext> dc(new (std::nothrow)
                                          CanvasContext(m_Device, nullptr, nullptr, false));
    if (dc)
        dc->m_bMemory = true;
    return dc;
}

CFont* CanvasContext::SelectObject(CFont* font) {
    return std::exchange(m_pFont, font);
}

CBitmap* CanvasContext::SelectObject(CBitmap* bitmap) {
    return m_bMemory ? std::exchange(m_pBitmap, bitmap) : nullptr;
}

QFont CanvasContext::fnGetFont() const {
    const auto* font = m_pFont ? dynamic_cast<const Font*>(m_pFont->GetObject()) : nullptr;
    return font ? font->m_Font : fnGetStandardFont(m_Device.m_Scale);
}

QString CanvasContext::fnToText(const char* text, int count) const {
    const std::size_t length = count < 0 ? std::strlen(text) : static_cast<std::size_t>(count);
    return qt::fnToText(*m_Device.m_pCodePage, {text, length});
}

bool CanvasContext::GetTextMetrics(TEXTMETRICA* metrics) const {
    return fnTryMemoryOr(false, [&] {
        const QFont font = fnGetFont();
        const QFontMetrics sizes(font);
        *metrics = TEXTMETRICA{};
        metrics->tmHeight = sizes.ascent() + sizes.descent();
        metrics->tmAscent = sizes.ascent();
        metrics->tmDescent = sizes.descent();
        metrics->tmInternalLeading = std::max(0, metrics->tmHeight - font.pixelSize());
        metrics->tmExternalLeading = std::max(0, sizes.leading());
        metrics->tmAveCharWidth = sizes.averageCharWidth();
        metrics->tmMaxCharWidth = sizes.maxWidth();
        metrics->tmWeight = font.weight();
        metrics->tmDigitizedAspectX = GetDeviceCaps(LOGPIXELSX);
        metrics->tmDigitizedAspectY = GetDeviceCaps(LOGPIXELSY);
        metrics->tmFirstChar = ' ';
        metrics->tmLastChar = 0xFF;
        metrics->tmDefaultChar = '?';
        metrics->tmBreakChar = ' ';
        metrics->tmItalic = font.italic() ? 1 : 0;
        metrics->tmUnderlined = font.underline() ? 1 : 0;
        metrics->tmStruckOut = font.strikeOut() ? 1 : 0;
        return true;
    });
}

bool CanvasContext::GetTextExtentPoint32(const char* text, int count, SIZE* size) const {
    return fnTryMemoryOr(false, [&] {
        const QFontMetrics sizes(fnGetFont());
        *size =
            SIZE{sizes.horizontalAdvance(fnToText(text, count)), sizes.ascent() + sizes.descent()};
        return true;
    });
}

int CanvasContext::DrawText(const char* text, int count, RECT* rect, UINT format) {
    if (!(format & DT_SINGLELINE))
        return 0;
    return fnTryMemoryOr(0, [&] {
        const QFont font = fnGetFont();
        const QFontMetrics sizes(font);
        const QString line = fnToText(text, count);
        const CSize size(sizes.horizontalAdvance(line), sizes.ascent() + sizes.descent());
        if (format & DT_CALCRECT) {
            *rect = CRect(POINT{rect->left, rect->top}, size);
            return static_cast<int>(size.cy);
        }
        QImage surface = fnGetSurface();
        if (surface.isNull())
            return 0;
        const QRect place = fnToRect(*rect, surface.rect());
        CPoint corner(rect->left, rect->top);
        if (format & DT_CENTER)
            corner.Offset(fnWrapSub(CRect(*rect).Width(), size.cx) / 2, 0);
        if (format & DT_VCENTER)
            corner.Offset(0, fnWrapSub(CRect(*rect).Height(), size.cy) / 2);
        QPainter painter(&surface);
        painter.setClipRect(place);
        painter.setFont(font);
        const QPalette colors = QApplication::palette();
        if (m_nBkMode == OPAQUE)
            painter.fillRect(QRect(corner.x, corner.y, size.cx, size.cy),
                             colors.color(QPalette::Base));
        painter.setPen(colors.color(m_nBkMode == OPAQUE ? QPalette::Text : QPalette::ButtonText));
        painter.drawText(corner.x, corner.y + sizes.ascent(), line);
        fnAddChange(place);
        return static_cast<int>(size.cy);
    });
}

int CanvasContext::SetBkMode(int mode) {
    return std::exchange(m_nBkMode, mode);
}

bool CanvasContext::FillRect(const RECT& rect, int systemColor) {
    return fnTryMemoryOr(false, [&] {
        QImage surface = fnGetSurface();
        if (surface.isNull())
            return false;
        const QRect part = fnToRect(rect, surface.rect());
        const QPalette colors = QApplication::palette();
        fnFillCanvas(
            surface, part,
            colors.color(systemColor == COLOR_BTNFACE ? QPalette::Button : QPalette::WindowText)
                .rgb());
        fnAddChange(part);
        return true;
    });
}

bool CanvasContext::InvertRect(const RECT& rect) {
    return fnTryMemoryOr(false, [&] {
        QImage surface = fnGetSurface();
        if (surface.isNull())
            return false;
        const QRect part = fnToRect(rect, surface.rect());
        for (int y = part.top(); y <= part.bottom(); ++y) {
            auto* row = reinterpret_cast<QRgb*>(surface.scanLine(y));
            for (int x = part.left(); x <= part.right(); ++x)
                row[x] ^= 0x00FFFFFFu;
        }
        fnAddChange(part);
        return true;
    });
}

bool CanvasContext::BitBlt(int x, int y, int width, int height, CDC* source, int sourceX,
                           int sourceY, DWORD rop) {
    const auto* from = dynamic_cast<const CanvasContext*>(source);
    if (!from || from == this || rop != SRCCOPY)
        return false;
    return fnTryMemoryOr(false, [&] {
        QImage target = fnGetSurface();
        const QImage pixels = from->fnGetSurface();
        if (target.isNull() || pixels.isNull())
            return false;
        const CRect place(CPoint(x, y), CSize(width, height));
        // The rectangle of the whole source in the target's coordinates.
        const QRect there(fnWrapSub(x, sourceX), fnWrapSub(y, sourceY), pixels.width(),
                          pixels.height());
        const QRect part = fnToRect(place, target.rect() & there);
        for (int row = part.top(); row <= part.bottom(); ++row)
            std::memcpy(target.scanLine(row) + 4 * static_cast<std::ptrdiff_t>(part.left()),
                        pixels.constScanLine(row - there.top()) +
                            4 * static_cast<std::ptrdiff_t>(part.left() - there.left()),
                        4 * static_cast<std::size_t>(part.width()));
        fnAddChange(part);
        return true;
    });
}

} // namespace q32::qt
