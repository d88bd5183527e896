/// @file
/// A host's windows and controls for the library's window classes. Each object represents a window
/// of the system, which it doesn't own and which may be destroyed first: then calls do nothing. For
/// the thread of the user interface only.
#pragma once

#include "q32Base/framework/CCmdUI.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/CqWindowService.h"
#include "q32Base/platform/Export.h"

#include <exception>
#include <memory>
#include <string>
#include <utility>

namespace q32::win32 {
class CodePage;
class Failures;
} // namespace q32::win32

/// The system's window behind a window.
class Q32_API CqWin32Place {
public:
    /// Null counts as a window that is destroyed.
    explicit CqWin32Place(HWND window) : m_Window(window) {}
    virtual ~CqWin32Place() = default;

    /// Null once it is destroyed.
    HWND fnGetHandle() const { return m_Window && ::IsWindow(m_Window) ? m_Window : nullptr; }

protected:
    /// The client area, from (0, 0); empty once the window is destroyed.
    CRect fnGetClient() const;
    /// Passes a message on to the window, but handles WM_ERASEBKGND.
    LRESULT fnSend(UINT message, WPARAM wParam, LPARAM lParam) const;
    /// Requests a repaint of a part, or of everything for null.
    void fnInvalidate(const RECT* rect, bool erase) const;

private:
    HWND m_Window;
};

/// A window of class `Base`. It handles the messages that its system window handles, but
/// WM_ERASEBKGND, which fills the client area with the button face.
template <typename Base>
class CqWin32WndOf : public Base, public CqWin32Place {
public:
    /// @copydoc CqWin32Place::CqWin32Place
    explicit CqWin32WndOf(HWND window) : CqWin32Place(window) {}

    /// The window in which a frame shows its messages, not owned; initially null.
    void fnSetMessageBar(CWnd* bar) { m_pMessageBar = bar; }

    /// @copydoc CWnd::GetClientRect
    CRect GetClientRect() const override { return fnGetClient(); }
    /// Passes a message on to the window, but handles WM_ERASEBKGND.
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override {
        return fnSend(message, wParam, lParam);
    }
    /// @copydoc CWnd::InvalidateRect
    void InvalidateRect(const RECT* rect, bool erase) override { fnInvalidate(rect, erase); }
    /// @copydoc CWnd::IsWindow
    bool IsWindow() const override { return fnGetHandle() != nullptr; }
    /// The window set by `fnSetMessageBar`.
    CWnd* GetMessageBar() override { return m_pMessageBar; }
    /// @copydoc CWnd::GetDlgCtrlID
    int GetDlgCtrlID() const override { return ::GetDlgCtrlID(fnGetHandle()); }
    /// Destroys the system's window. False for one of another thread, and if it is gone.
    bool DestroyWindow() override { return ::DestroyWindow(fnGetHandle()) != 0; }

private:
    CWnd* m_pMessageBar = nullptr;
};

/// Any window: a main window, a status bar, a control, a view.
using CqWin32Wnd = CqWin32WndOf<CWnd>;

/// A toolbar of the system.
using CqWin32ToolBar = CqWin32WndOf<CToolBarCtrl>;

/// A progress bar of the system. A change is painted at once, even while no messages are handled.
class Q32_API CqWin32ProgressCtrl final : public CqWin32WndOf<CProgressCtrl> {
public:
    /// Null counts as a bar that is destroyed.
    explicit CqWin32ProgressCtrl(HWND bar) : CqWin32WndOf(bar) {}
    /// Passes a message on to the bar, and paints the change.
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
};

/// A menu item whose state is being updated, for example on WM_INITMENUPOPUP.
class Q32_API CqWin32CmdUI final : public CCmdUI {
public:
    /// Identifies an item of a menu by its command for one update.
    CqWin32CmdUI(UINT command, HMENU menu) : m_Menu(menu) { m_nID = command; }
    void Enable(bool on) override;

private:
    HMENU m_Menu;
};

/// The application, whose name is the caption of message boxes.
class Q32_API CqWin32App : public CWinApp {
public:
    /// An application of this name.
    /// @param name  in the code page
    explicit CqWin32App(std::string name) : m_szName(std::move(name)) {
        m_pszAppName = m_szName.c_str();
    }

private:
    const std::string m_szName;
};

/// The application and the main window, both set by the host and not owned, and the dump window.
class Q32_API CqWin32Windows final : public CqWindowService {
public:
    /// Made by `q32Win32Windows`.
    CqWin32Windows();
    ~CqWin32Windows() override;

    /// Set the application and its main window; null for none.
    void fnSetApp(CWinApp* app) { m_pApp = app; }
    void fnSetMainWnd(CWnd* window) { m_pMainWnd = window; }
    /// The code page of texts; set by the platform.
    void fnSetCodePage(std::shared_ptr<const q32::win32::CodePage> codePage);

    /// What functions of the host have thrown while the dump window or a mixer handled a message,
    /// and removes it: the first one, or null for none. No exception passes the system's frames, so
    /// a host looks after it has dispatched a message. One that is never taken is dropped.
    std::exception_ptr fnTakeFailure();
    /// Where those wait; shared with the platform.
    const std::shared_ptr<q32::win32::Failures>& fnGetFailures() const { return m_pFailures; }

    CWinApp* fnGetApp() override { return m_pApp; }
    CWnd* fnGetMainWnd() override { return m_pMainWnd; }
    std::unique_ptr<CqDumpView> fnCreateDumpView(const CqDumpViewSetup& setup,
                                                 CqDumpViewEvents& events) override;

private:
    CWinApp* m_pApp = nullptr;
    CWnd* m_pMainWnd = nullptr;
    std::shared_ptr<const q32::win32::CodePage> m_pCodePage;
    std::shared_ptr<q32::win32::Failures> m_pFailures;
};
