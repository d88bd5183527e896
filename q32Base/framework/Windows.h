/// @file
/// The window classes that the library's signatures name, as interfaces: back ends implement them.
#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CPalette.h"
#include "q32Base/framework/CString.h"
#include "q32Base/framework/Values.h"

#include <memory>

class CBitmap;
class CFont;

/// A device context: something to draw on. Nothing here raises anything.
class Q32_API CDC : public CObject {
public:
    /// HORZRES, VERTRES, BITSPIXEL, LOGPIXELSX, LOGPIXELSY; 0 for anything else.
    virtual int GetDeviceCaps(int index) const = 0;
    /// Selects a palette, or none for null, and returns the one that was selected before, null for
    /// none. The palette isn't owned and must outlive its selection.
    virtual CPalette* SelectPalette(CPalette* palette, bool background) = 0;
    /// Maps the selected palette to the screen. Returns the entries that changed on the screen.
    virtual UINT RealizePalette() = 0;

    // Painting. A device context that doesn't paint keeps these: they do nothing and fail. What
    // lies outside the drawing area isn't painted; a rectangle that is empty or turned paints
    // nothing. Text is that of the locale's code page; a count of -1 means up to the end mark.

    /// A device context that draws on the bitmap that it has selected, and on nothing without one.
    /// It suits this one's device. Null on failure, memory included. Its selections must be
    /// restored before it goes.
    virtual std::unique_ptr<CDC> CreateCompatibleDC();
    /// Select a font, or a bitmap into a device context of CreateCompatibleDC; null selects what
    /// was there at the start. Return what was selected before, null for that. Neither is owned,
    /// and each must outlive its selection.
    virtual CFont* SelectObject(CFont* font);
    virtual CBitmap* SelectObject(CBitmap* bitmap);

    /// Sizes of the selected font. False, and `metrics` stays, on failure.
    virtual bool GetTextMetrics(TEXTMETRICA* metrics) const;
    /// Size of a text in one line. False, and `size` stays, on failure.
    virtual bool GetTextExtentPoint32(const char* text, int count, SIZE* size) const;
    /// Writes one line of text into a rectangle, which cuts it off.
    /// @param format  DT_SINGLELINE with DT_CENTER and DT_VCENTER, or with DT_CALCRECT, which
    /// writes nothing and moves the rectangle's right and bottom to what the text takes
    /// @return the text's height; 0 on failure, with `rect` as it was
    virtual int DrawText(const char* text, int count, RECT* rect, UINT format);
    /// TRANSPARENT or OPAQUE: whether text fills its cells. Returns what was in force; 0 on
    /// failure.
    virtual int SetBkMode(int mode);

    /// Fills a rectangle with a system colour, by its COLOR_ number.
    virtual bool FillRect(const RECT& rect, int systemColor);
    /// Turns every bit of the pixels.
    virtual bool InvertRect(const RECT& rect);
    /// Copies pixels of another device context of the same device. `rop` is SRCCOPY.
    virtual bool BitBlt(int x, int y, int width, int height, CDC* source, int sourceX, int sourceY,
                        DWORD rop);
};

/// A window. It may be the child of another one; its object and that window end independently of
/// each other. The objects of children aren't owned.
class Q32_API CWnd : public CObject {
public:
    CWnd() = default;
    /// Destroys the windows of the children first.
    ~CWnd() override;

    /// A device context of the client area, by the platform in force; null on failure. Goes back
    /// with `ReleaseDC`, which never throws.
    CDC* GetDC();
    void ReleaseDC(CDC* dc) noexcept;

    virtual CRect GetClientRect() const = 0;
    /// WM_ERASEBKGND has the CDC* to erase on as its wParam.
    virtual LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) = 0;
    /// Asks for a repaint of a part of the client area, or of all of it for null.
    virtual void InvalidateRect(const RECT* rect, bool erase) = 0;
    /// Whether the window still exists.
    virtual bool IsWindow() const = 0;
    /// The bar that a frame window shows its messages on; null when it has none, and for any other
    /// window.
    virtual CWnd* GetMessageBar() { return nullptr; }
    /// The window that this one is a child of; null for none.
    CWnd* GetParent() const { return m_pParent; }
    /// A child's number in its parent.
    virtual int GetDlgCtrlID() const { return 0; }
    /// Ends the window; the object stays. False for a window that code doesn't end.
    virtual bool DestroyWindow() { return false; }

protected:
    /// Makes this window a child of another one, or of none for null.
    void fnSetParent(CWnd* parent);
    /// For a window that ends before its object does: destroys the windows of its children. They
    /// are no children of this one from then on.
    void fnDestroyChildren();

private:
    CWnd* m_pParent = nullptr;
    CWnd* m_pFirstChild = nullptr;
    CWnd* m_pNextChild = nullptr; ///< of the same parent
};

/// A control that shows how far something has come. It understands PBM_SETRANGE and PBM_SETPOS.
class Q32_API CProgressCtrl : public CWnd {};

/// A toolbar. It understands TB_ENABLEBUTTON, which names a button by its command.
class Q32_API CToolBarCtrl : public CWnd {};

/// A device context of a window's client area for this object's life, by the platform in force. It
/// has none where it can't be had, for lack of memory too.
class Q32_API CClientDC {
public:
    explicit CClientDC(CWnd* window);
    ~CClientDC();
    CClientDC(const CClientDC&) = delete;
    CClientDC& operator=(const CClientDC&) = delete;

    CDC* GetDC() const { return m_pDC; } ///< may be null
    explicit operator bool() const { return m_pDC != nullptr; }
    CDC* operator->() const { return m_pDC; }

private:
    CWnd* m_pWnd;
    CDC* m_pDC = nullptr;
};

/// The host's application object.
class Q32_API CWinApp : public CObject {
public:
    /// Caption of message boxes. Points to a block from `malloc`, or to a constant that nobody
    /// frees.
    const char* m_pszAppName = nullptr;

    /// Whether the main window holds several documents' windows. Its title is then the host's
    /// string 128.
    virtual bool IsMDI() const { return false; }
    /// Window title of the first document template; false when there is no template.
    virtual bool GetTemplateTitle(CString&) const { return false; }
};
