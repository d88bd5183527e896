/// @file
/// Device contexts, fonts and bitmaps of the desktop's screen. Private to CqQtScreen.
#pragma once

#include "platforms/posix/CodePage_p.h"
#include "platforms/qt/CqQtCanvas.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/CqScreenService.h"

#include <memory>
#include <QFont>
#include <QImage>
#include <QPointer>
#include <QRegion>
#include <QScreen>

namespace q32::qt {

/// A font sized in device pixels.
class Font final : public CqFontObject {
public:
    explicit Font(const QFont& font) : m_Font(font) {}
    const QFont m_Font;
};

class Bitmap final : public CqBitmapObject {
public:
    explicit Bitmap(QImage pixels) : m_Pixels(std::move(pixels)) {}
    QImage m_Pixels;
};

/// Common properties of all device contexts of one display.
struct Device {
    int m_nBits = 32;
    double m_Scale = 1.0;        ///< device pixels per pixel of Qt
    QPointer<QScreen> m_pScreen; ///< may be unplugged
    std::shared_ptr<const posix::CodePage> m_pCodePage;
};

/// Draws on a canvas, on a bitmap, or, for the whole screen, on nothing.
class CanvasContext final : public CDC {
public:
    /// @param canvas  null for the whole screen
    /// @param over    the canvas lies over a widget, and is hidden until something is drawn
    CanvasContext(const Device& device, CWnd* window, CqQtCanvas* canvas, bool over)
        : m_Device(device), m_pWindow(window), m_pCanvas(canvas), m_bOver(over) {}

    CWnd* fnGetWindow() const { return m_pWindow; }
    CqPaletteObject* fnGetPalette() const { return m_pPalette ? m_pPalette->GetObject() : nullptr; }
    void fnForgetPalette(const CPalette& palette) {
        if (m_pPalette == &palette)
            m_pPalette = nullptr;
    }
    /// The target's pixels, without a scale factor; a null image for none. Valid until the canvas
    /// changes its size.
    QImage fnGetSurface() const;
    /// Marks a part as drawn.
    void fnAddChange(const QRect& part) { m_Changed += part; }
    /// Shows what was drawn on the screen.
    void fnShow();

    int GetDeviceCaps(int index) const override;
    CPalette* SelectPalette(CPalette* palette, bool background) override;
    UINT RealizePalette() override { return 0; }
    std::unique_ptr<CDC> CreateCompatibleDC() override;
    CFont* SelectObject(CFont* font) override;
    CBitmap* SelectObject(CBitmap* bitmap) override;
    bool GetTextMetrics(TEXTMETRICA* metrics) const override;
    bool GetTextExtentPoint32(const char* text, int count, SIZE* size) const override;
    int DrawText(const char* text, int count, RECT* rect, UINT format) override;
    int SetBkMode(int mode) override;
    bool FillRect(const RECT& rect, int systemColor) override;
    bool InvertRect(const RECT& rect) override;
    bool BitBlt(int x, int y, int width, int height, CDC* source, int sourceX, int sourceY,
                DWORD rop) override;
    bool GetClipBox(RECT* box) const override;

private:
    QFont fnGetFont() const;
    QString fnToText(const char* text, int count) const;

    Device m_Device;
    CWnd* m_pWindow;
    QPointer<CqQtCanvas> m_pCanvas;
    bool m_bOver;
    bool m_bMemory = false;
    CPalette* m_pPalette = nullptr;
    CFont* m_pFont = nullptr;
    CBitmap* m_pBitmap = nullptr;
    int m_nBkMode = OPAQUE;
    QRegion m_Changed;
};

/// Qt's default font, in device pixels of a screen of that scale.
QFont fnGetStandardFont(double scale);

} // namespace q32::qt
