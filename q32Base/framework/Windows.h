/// @file
/// Interfaces of the window classes that the library uses; back ends implement them.
#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CPalette.h"
#include "q32Base/framework/CString.h"
#include "q32Base/framework/Values.h"

#include <memory>

class CBitmap;
class CFont;

/// A device context: a drawing surface. Nothing here throws.
class Q32_API CDC : public CObject {
public:
    /// HORZRES, VERTRES, BITSPIXEL, LOGPIXELSX, LOGPIXELSY; 0 for anything else.
    virtual int GetDeviceCaps(int index) const = 0;
    /// Selects a palette, or none for null, and returns the previous one, null for none. The
    /// palette isn't owned and must outlive its selection.
    virtual CPalette* SelectPalette(CPalette* palette, bool background) = 0;
    /// Maps the selected palette to the screen. Returns the number of entries that changed on the
    /// screen.
    virtual UINT RealizePalette() = 0;

    // Painting. A device context that doesn't paint keeps these defaults, which fail without
    // effect. Output is clipped to the drawing area; an empty or inverted rectangle paints nothing.
    // Text is in the locale's code page; a count of -1 means up to the NUL. Coordinates are pixels.

    /// A device context for the same device that draws on the bitmap selected into it, and on
    /// nothing without one. Null on failure, including exhausted memory. Its selections must be
    /// restored before it is destroyed.
    virtual std::unique_ptr<CDC> CreateCompatibleDC();
    /// Select a font, or a bitmap into a device context of CreateCompatibleDC; null selects the
    /// initial object. Return the previous object, null for the initial one. Neither is owned, and
    /// each must outlive its selection.
    virtual CFont* SelectObject(CFont* font);
    virtual CBitmap* SelectObject(CBitmap* bitmap);

    /// Metrics of the selected font. False, with `metrics` unchanged, on failure.
    virtual bool GetTextMetrics(TEXTMETRICA* metrics) const;
    /// Size of a single line of text. False, with `size` unchanged, on failure.
    virtual bool GetTextExtentPoint32(const char* text, int count, SIZE* size) const;
    /// Draws one line of text, clipped to a rectangle.
    /// @param format  DT_SINGLELINE with DT_CENTER and DT_VCENTER, or with DT_CALCRECT, which draws
    /// nothing and sets the rectangle's right and bottom to fit the text
    /// @return the text's height; 0 on failure, with `rect` unchanged
    virtual int DrawText(const char* text, int count, RECT* rect, UINT format);
    /// Sets TRANSPARENT or OPAQUE: whether text fills its background. Returns the previous mode; 0
    /// on failure.
    virtual int SetBkMode(int mode);

    /// Fills a rectangle with a system colour, given by its COLOR_ number.
    virtual bool FillRect(const RECT& rect, int systemColor);
    /// Inverts every bit of the pixels.
    virtual bool InvertRect(const RECT& rect);
    /// Copies pixels from another device context of the same device. `rop` is SRCCOPY.
    virtual bool BitBlt(int x, int y, int width, int height, CDC* source, int sourceX, int sourceY,
                        DWORD rop);

    /// The area that drawing can reach at present. False, with `box` unchanged, for a device
    /// context that doesn't know it.
    virtual bool GetClipBox(RECT* box) const;
};

/// A window. It may be the child of another one; either may be destroyed first. Child objects
/// aren't owned.
class Q32_API CWnd : public CObject {
public:
    /// Without a parent.
    CWnd() = default;
    /// Destroys the windows of the children first.
    ~CWnd() override;

    /// A device context of the client area, by the platform in force; null on failure. Release it
    /// by `ReleaseDC`. Raises the memory exception.
    CDC* GetDC();
    /// Releases a device context of `GetDC`. Never throws.
    void ReleaseDC(CDC* dc) noexcept;

    /// The client area in its own coordinates: (0, 0) to its size in pixels.
    virtual CRect GetClientRect() const = 0;
    /// Handles a message. The wParam of WM_ERASEBKGND is the CDC* to erase on.
    virtual LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) = 0;
    /// Requests a repaint of a part of the client area, or of all of it for null.
    virtual void InvalidateRect(const RECT* rect, bool erase) = 0;
    /// Whether the window still exists.
    virtual bool IsWindow() const = 0;
    /// The status bar on which a frame window shows messages; null if it has none, and for any
    /// other window.
    virtual CWnd* GetMessageBar() { return nullptr; }
    /// The parent window; null for none.
    CWnd* GetParent() const { return m_pParent; }
    /// A child's id in its parent.
    virtual int GetDlgCtrlID() const { return 0; }
    /// Destroys the window, but not the object. False for a window that code can't destroy.
    virtual bool DestroyWindow() { return false; }

protected:
    /// Makes this window a child of another one, or of none for null.
    void fnSetParent(CWnd* parent);
    /// Destroys the windows of the children and detaches them. For a window that is destroyed
    /// before its object.
    void fnDestroyChildren();

private:
    CWnd* m_pParent = nullptr;
    CWnd* m_pFirstChild = nullptr;
    CWnd* m_pNextChild = nullptr; ///< of the same parent
};

/// A progress bar. It handles PBM_SETRANGE and PBM_SETPOS.
class Q32_API CProgressCtrl : public CWnd {};

/// A toolbar. It handles TB_ENABLEBUTTON, which identifies a button by its command id.
class Q32_API CToolBarCtrl : public CWnd {};

/// Holds a device context of a window's client area for this object's life. It has none if that is
/// unavailable or memory is exhausted.
class Q32_API CClientDC {
public:
    /// Takes the device context of `window`, which must outlive this object. Never throws.
    explicit CClientDC(CWnd* window);
    ~CClientDC();
    CClientDC(const CClientDC&) = delete;
    CClientDC& operator=(const CClientDC&) = delete;

    /// The device context; null if there is none. Owned by this object.
    CDC* GetDC() const { return m_pDC; }
    /// Whether there is a device context; `->` needs one.
    explicit operator bool() const { return m_pDC != nullptr; }
    /// The same as `GetDC`; not to be called without a device context.
    CDC* operator->() const { return m_pDC; }

private:
    CWnd* m_pWnd;
    CDC* m_pDC = nullptr;
};

/// The host's application object.
class Q32_API CWinApp : public CObject {
public:
    /// Caption of message boxes. Points to a block from `malloc`, or to a constant, which is never
    /// freed.
    const char* m_pszAppName = nullptr;

    /// Whether the main window holds the windows of several documents. Its title is then the host's
    /// string 128.
    virtual bool IsMDI() const { return false; }
    /// Stores the window title of the first document template in `title`; false if there is no
    /// template.
    virtual bool GetTemplateTitle(CString& /*title*/) const { return false; }
};
