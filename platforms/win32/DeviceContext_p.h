/// @file
/// The device contexts of the Windows screen, and what is selected into them.
#pragma once

#include "platforms/win32/CodePage_p.h"
#include "platforms/win32/CqWin32Palette_p.h"
#include "platforms/win32/GdiObject_p.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/CqScreenService.h"

#include <memory>
#include <string>
#include <utility>

namespace q32::win32 {

class Font final : public CqFontObject {
public:
    explicit Font(GdiObject<HFONT> font) : m_Font(std::move(font)) {}
    HFONT fnGetHandle() const { return m_Font.fnGet(); }

private:
    GdiObject<HFONT> m_Font;
};

/// A bitmap in the format of the screen.
class Bitmap final : public CqBitmapObject {
public:
    Bitmap(GdiObject<HBITMAP> bitmap, SIZE size) : m_Size(size), m_Bitmap(std::move(bitmap)) {}
    HBITMAP fnGetHandle() const { return m_Bitmap.fnGet(); }

    const SIZE m_Size;

private:
    GdiObject<HBITMAP> m_Bitmap;
};

/// Colours of a device in bits per pixel.
int fnGetDepth(HDC dc);

/// A device context of a window's client area, of the whole screen, of a bitmap, or of the host.
class DeviceContext final : public CDC {
public:
    /// What happens to the system's device context in the end, when its selections are restored.
    enum class END { RELEASE, DESTROY, KEEP };

    /// @param window  whose client area, not owned; null for others
    /// @param handle  of that window
    /// @param bits    depth to report; 0 for that of the device
    DeviceContext(HDC dc, END end, std::shared_ptr<const CodePage> codePage, CWnd* window = nullptr,
                  HWND handle = nullptr, int bits = 0);
    ~DeviceContext() override;
    DeviceContext(const DeviceContext&) = delete;
    DeviceContext& operator=(const DeviceContext&) = delete;

    CWnd* fnGetWindow() const { return m_pWindow; }
    /// Null while there is nothing to draw on: the window is gone, or no bitmap is selected.
    HDC fnGetTarget() const;
    /// The selected palette; null for none.
    const CqWin32Palette* fnGetPalette() const;
    /// Where a palette that is about to go is selected, selects none. Only for the thread that
    /// draws on those device contexts.
    static void fnForgetPalette(const CPalette& palette) noexcept;

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
    bool fnIsOpen() const { return !m_Handle || ::IsWindow(m_Handle); }
    std::wstring fnToWide(const char* text, int count) const;
    bool fnMeasure(const std::wstring& text, SIZE& size) const;
    /// The part of a rectangle that can be drawn on; false if that is nothing.
    bool fnClip(const RECT& rect, RECT& part) const;

    static DeviceContext* theFirst; ///< of all there are

    DeviceContext* m_pNext = nullptr;
    DeviceContext* m_pPrevious = nullptr;
    HDC m_DC;
    END m_nEnd;
    std::shared_ptr<const CodePage> m_pCodePage;
    CWnd* m_pWindow;
    HWND m_Handle;
    int m_nBits;
    CPalette* m_pPalette = nullptr;
    CFont* m_pFont = nullptr;
    CBitmap* m_pBitmap = nullptr;
};

} // namespace q32::win32
