/// @file
/// The device contexts of the headless screen. Private to CqHeadlessScreen.
#pragma once

#include "platforms/headless/CqHeadlessFont.h"
#include "platforms/headless/CqHeadlessPaintCalls.h"
#include "platforms/headless/FrameBuffer.h"
#include "q32Base/framework/Windows.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace q32::headless {

/// A bitmap of the headless screen: raw pixels, as stored by the screen, rows from the top.
class Bitmap final : public CqBitmapObject {
public:
    Bitmap(int width, int height)
        : m_nWidth(width), m_nHeight(height),
          m_Pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {}

    const int m_nWidth;
    const int m_nHeight;
    std::vector<std::uint32_t> m_Pixels;
};

/// A device context of a window's client area, of the whole screen, or of a bitmap.
class FrameContext final : public CDC {
public:
    /// @param window  null for the whole screen
    FrameContext(FrameBuffer& frame, CqHeadlessPaintCalls& calls, CWnd* window, bool memory)
        : m_Frame(frame), m_Calls(calls), m_pWindow(window), m_bMemory(memory) {}
    ~FrameContext() override;

    void fnForgetPalette(const CPalette& palette) {
        if (m_pPalette == &palette)
            m_pPalette = nullptr;
    }

    CWnd* fnGetWindow() const { return m_pWindow; }
    CqPaletteObject* fnGetPalette() const { return m_pPalette ? m_pPalette->GetObject() : nullptr; }
    /// The drawing area on the screen. Windows of other classes are at the top left.
    CRect fnGetArea() const;

    int GetDeviceCaps(int index) const override;
    CPalette* SelectPalette(CPalette* palette, bool background) override;
    UINT RealizePalette() override;
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
    /// The target's pixels: those inside `m_Clip`, in the drawing area's coordinates.
    struct Surface {
        std::uint32_t* m_pPixels = nullptr;
        std::ptrdiff_t m_nStride = 0; ///< pixels between rows
        CRect m_Clip;
        std::ptrdiff_t m_nOrigin = 0; ///< of the drawing area; may lie outside the pixels

        std::uint32_t& fnAt(int x, int y) const { return m_pPixels[m_nOrigin + y * m_nStride + x]; }
    };

    Surface fnGetSurface() const;
    const CqHeadlessFont& fnGetFont() const;
    std::uint32_t fnToRaw(std::uint32_t color) const;
    template <typename Change>
    void fnChange(const RECT& rect, Change change) const;

    FrameBuffer& m_Frame;
    CqHeadlessPaintCalls& m_Calls;
    CWnd* m_pWindow;
    bool m_bMemory;
    CPalette* m_pPalette = nullptr;
    bool m_bBackground = false;
    CFont* m_pFont = nullptr;
    CBitmap* m_pBitmap = nullptr;
    int m_nBkMode = OPAQUE;
};

} // namespace q32::headless
