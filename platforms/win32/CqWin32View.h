/// @file
/// A view for hosts that write for Windows: a child window that shows an image.
#pragma once

#include "platforms/win32/CqWin32Windows.h"
#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

#include <exception>
#include <functional>

class CqImage;

namespace q32::win32 {
class WindowClass;
}

/// A child window that shows an image of any size. One pixel of the image is, at scale 1, one pixel
/// of the screen, whatever its density. It scrolls by its scroll bars, by dragging with the left
/// button and by the arrow keys, and zooms by the wheel, about the mouse, and by + and -. Only what
/// is stale is drawn. On a screen of 256 colours its frame passes messages on (fnOnFrameMessage).
///
/// For the thread of the user interface. Destroy it before the library is detached, and before its
/// image.
class Q32_API CqWin32View final : public CWnd, public CqWin32Place {
public:
    /// The greatest magnification: screen pixels per side of a pixel.
    static constexpr int kMaxScale = 16;

    /// Creates the window, empty; fnGetHandle is null if that fails.
    /// @param place  in the parent's client area
    CqWin32View(HWND parent, const RECT& place, int id);
    /// Destroys the window.
    ~CqWin32View() override;
    CqWin32View(const CqWin32View&) = delete;
    CqWin32View& operator=(const CqWin32View&) = delete;

    /// Shows an image, which isn't owned, from its top left corner; null for none.
    void fnSetImage(CqImage* image);
    /// The image shown, or null.
    CqImage* fnGetImage() const { return m_pImage; }
    /// The image has changed: repaints a part of it, in its pixels, or all of it for null. A change
    /// of its size scrolls back as far as needed.
    void fnUpdateImage(const RECT* part);

    /// 1 to 16 enlarges by that factor, -2 to -16 shrinks by 2 to 16. Others are limited.
    int fnGetScale() const { return m_nScale; }
    /// Sets the scale, with the values of `fnGetScale`.
    /// @param about  the point of the client area that keeps its place
    void fnSetScale(int scale, const POINT& about);
    /// The largest scale up to 1 at which the whole image is visible, or else the smallest.
    void fnFit();
    /// The point of the scaled image at the top left of the client area.
    const CPoint& fnGetOrigin() const { return m_Origin; }
    /// Scrolls so that this point of the scaled image comes there, as far as the image reaches.
    void fnScrollTo(const POINT& origin);
    /// The image's pixel at a point of the client area; it may lie outside of the image.
    CPoint fnToImage(const POINT& point) const;

    /// Called after each change of scale or origin; not from within the constructor. What it throws
    /// goes to the caller of the function that moves the view, but not through the window
    /// procedure: see `fnTakeFailure`.
    std::function<void()> m_OnMoved;
    /// What the handling of a message has thrown, and removes it: the first one, or null for none.
    /// No exception passes the system's frames, so a host looks after it has dispatched a message.
    /// One that is never taken is dropped.
    std::exception_ptr fnTakeFailure();

    /// For the window procedure of the frame, a top-level window: WM_QUERYNEWPALETTE,
    /// WM_PALETTECHANGED, WM_DISPLAYCHANGE and WM_DPICHANGED, which no child receives. The last two
    /// make the library read the screen's metrics again; WM_DPICHANGED isn't handled by that, since
    /// the frame has to take its new rectangle.
    /// @return whether the message is handled; `result` is then its result
    bool fnOnFrameMessage(UINT message, WPARAM wParam, LRESULT& result);

    CRect GetClientRect() const override { return fnGetClient(); }
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override {
        return fnSend(message, wParam, lParam);
    }
    void InvalidateRect(const RECT* rect, bool erase) override { fnInvalidate(rect, erase); }
    bool IsWindow() const override { return fnGetHandle() != nullptr; }

private:
    static LRESULT CALLBACK fnDispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    Q32_LOCAL static q32::win32::WindowClass& fnGetClass();

    Q32_LOCAL LRESULT fnHandle(UINT message, WPARAM wParam, LPARAM lParam);
    Q32_LOCAL bool fnOnInput(UINT message, WPARAM wParam, LPARAM lParam);
    Q32_LOCAL void fnOnKey(WPARAM key);
    Q32_LOCAL void fnOnScrollBar(int bar, WORD what);
    Q32_LOCAL void fnPaint();
    Q32_LOCAL void fnPaintPart(HDC dc, CDC& output, const CRect& part);
    Q32_LOCAL void fnUpdateScrollBars();
    Q32_LOCAL CSize fnGetScaledSize(int scale) const;
    /// A coordinate of the image in the client area, or the nearest one that is in range.
    Q32_LOCAL LONG fnToView(LONG value, LONG origin) const;
    /// A point of the client area in the image at a scale.
    Q32_LOCAL CPoint fnScalePoint(const POINT& point, int scale) const;

    CqImage* m_pImage = nullptr;
    int m_nScale = 1;
    CPoint m_Origin;
    bool m_bDragging = false;
    CPoint m_DragPoint;            ///< where the mouse was last
    int m_nWheel = 0;              ///< movement that makes no whole step yet
    bool m_bBackground = false;    ///< another program's palette comes first
    bool m_bHasClass = false;      ///< to be left in the end
    std::exception_ptr m_pFailure; ///< not taken yet
};
