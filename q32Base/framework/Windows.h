/// @file
/// The window classes that the library's signatures name, as interfaces: back ends implement them.
#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CPalette.h"
#include "q32Base/framework/CString.h"
#include "q32Base/framework/Values.h"

/// A device context: something to draw on.
class Q32_API CDC : public CObject {
public:
    /// HORZRES, VERTRES, BITSPIXEL, LOGPIXELSX, LOGPIXELSY; 0 for anything else.
    virtual int GetDeviceCaps(int index) const = 0;
    /// Selects a palette, or none for null, and returns the one that was selected before, null for
    /// none. The palette isn't owned and must outlive its selection.
    virtual CPalette* SelectPalette(CPalette* palette, bool background) = 0;
    /// Maps the selected palette to the screen. Returns the entries that changed on the screen.
    virtual UINT RealizePalette() = 0;
};

/// A window.
class Q32_API CWnd : public CObject {
public:
    /// A device context of the client area, by the platform in force; null on failure. Goes back
    /// with `ReleaseDC`.
    CDC* GetDC();
    void ReleaseDC(CDC* dc);

    virtual CRect GetClientRect() const = 0;
    virtual LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) = 0;
    /// Asks for a repaint of a part of the client area, or of all of it for null.
    virtual void InvalidateRect(const RECT* rect, bool erase) = 0;
    /// Whether the window still exists.
    virtual bool IsWindow() const = 0;
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
