/// @file
/// A host's windows and controls for the library's window classes. Each object represents a widget
/// or action of Qt, which it doesn't own and which may be deleted first: then the window no longer
/// exists, and calls do nothing. For the GUI thread only.
#pragma once

#include "platforms/qt/CqQtCanvas.h"
#include "q32Base/framework/CCmdUI.h"
#include "q32Base/framework/CDocument.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/CqWindowService.h"
#include "q32Base/platform/Export.h"

#include <map>
#include <memory>
#include <QAction>
#include <QPointer>
#include <QProgressBar>
#include <QStatusBar>
#include <QToolBar>
#include <QWidget>
#include <string>
#include <utility>

namespace q32::posix {
class CodePage;
}

/// The widget behind a window.
class Q32_API CqQtPlace {
public:
    /// Null counts as a widget that is deleted.
    explicit CqQtPlace(QWidget* widget) : m_pWidget(widget) {}
    virtual ~CqQtPlace() = default;

    /// Null once it is deleted.
    QWidget* fnGetWidget() const { return m_pWidget; }
    /// The canvas for drawing: the widget itself or its viewport, if that is a canvas, else a
    /// canvas over the widget, hidden until something is drawn. The widget must exist.
    CqQtCanvas* fnGetCanvas() const;
    /// Whether `canvas` is the one over the widget.
    bool fnIsOver(const CqQtCanvas* canvas) const { return canvas && m_pOver == canvas; }

protected:
    /// The client area in device pixels.
    CRect fnGetClient() const;
    /// Handles WM_ERASEBKGND; any other message is ignored and returns 0.
    LRESULT fnSend(UINT message, WPARAM wParam) const;
    /// Requests a repaint of a part in device pixels, or of everything for null.
    void fnInvalidate(const RECT* rect) const;

private:
    Q32_LOCAL CqQtCanvas* fnFindCanvas() const;

    QPointer<QWidget> m_pWidget;
    mutable QPointer<CqQtCanvas> m_pOver;
};

/// A window of class `Base`. WM_ERASEBKGND fills it with the button face; invalidating it also
/// removes what was drawn on the canvas over a widget.
template <typename Base>
class CqQtWndOf : public Base, public CqQtPlace {
public:
    /// @copydoc CqQtPlace::CqQtPlace
    explicit CqQtWndOf(QWidget* widget) : CqQtPlace(widget) {}

    /// The window in which a frame shows its messages, not owned; initially null.
    void fnSetMessageBar(CWnd* bar) { m_pMessageBar = bar; }

    /// @copydoc CWnd::GetClientRect
    CRect GetClientRect() const override { return fnGetClient(); }
    /// Handles WM_ERASEBKGND; any other message is ignored and returns 0.
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM /*lParam*/) override {
        return fnSend(message, wParam);
    }
    /// @copydoc CWnd::InvalidateRect
    void InvalidateRect(const RECT* rect, bool /*erase*/) override { fnInvalidate(rect); }
    /// @copydoc CWnd::IsWindow
    bool IsWindow() const override { return fnGetWidget() != nullptr; }
    /// The window set by `fnSetMessageBar`.
    CWnd* GetMessageBar() override { return m_pMessageBar; }

private:
    CWnd* m_pMessageBar = nullptr;
};

/// Any widget: a main window, a status bar with the progress bar, a canvas, an image view.
using CqQtWnd = CqQtWndOf<CWnd>;

/// A progress bar. A change is painted at once, even while no events are handled.
class Q32_API CqQtProgressCtrl final : public CqQtWndOf<CProgressCtrl> {
public:
    /// Null counts as a bar that is deleted.
    explicit CqQtProgressCtrl(QProgressBar* bar) : CqQtWndOf(bar) {}
    /// Handles PBM_SETRANGE and PBM_SETPOS too, which return 0.
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
};

/// A toolbar whose buttons are actions, so that their menu items change with them.
class Q32_API CqQtToolBar final : public CqQtWndOf<CToolBarCtrl> {
public:
    /// Null counts as a toolbar that is deleted. It has no commands yet.
    explicit CqQtToolBar(QToolBar* bar) : CqQtWndOf(bar) {}

    /// Assigns a command to an action, which isn't owned.
    void fnAdd(UINT command, QAction* action) { m_Actions[command] = action; }
    /// TB_ENABLEBUTTON returns 1 for a known command.
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    std::map<UINT, QPointer<QAction>> m_Actions;
};

/// An action whose state is being updated, for example that of a menu about to be shown.
class Q32_API CqQtCmdUI final : public CCmdUI {
public:
    /// Identifies an action by its command for one update.
    CqQtCmdUI(UINT command, QAction* action) : m_pAction(action) { m_nID = command; }
    void Enable(bool on) override;

private:
    QPointer<QAction> m_pAction;
};

/// A document whose modified flag is the window's `windowModified`, shown in titles with "[*]".
class Q32_API CqQtDocument final : public CDocument {
public:
    /// `window` usually is the main window.
    explicit CqQtDocument(QWidget* window) : m_pWindow(window) {}
    int IsModified() override { return m_pWindow && m_pWindow->isWindowModified() ? 1 : 0; }
    void SetModifiedFlag(bool modified) override;

private:
    QPointer<QWidget> m_pWindow;
};

/// The application, whose name is the caption of message boxes.
class Q32_API CqQtApp : public CWinApp {
public:
    /// An application of this name.
    /// @param name  in the code page
    explicit CqQtApp(std::string name) : m_szName(std::move(name)) {
        m_pszAppName = m_szName.c_str();
    }

private:
    const std::string m_szName;
};

/// The application and the main window, both set by the host and not owned, and the dump window.
class Q32_API CqQtWindows final : public CqWindowService {
public:
    /// Made by `q32QtWindows`.
    CqQtWindows();
    ~CqQtWindows() override;

    /// Set the application and its main window; null for none.
    void fnSetApp(CWinApp* app) { m_pApp = app; }
    void fnSetMainWnd(CWnd* window) { m_pMainWnd = window; }
    /// The code page of texts; set by the platform.
    void fnSetCodePage(std::shared_ptr<const q32::posix::CodePage> codePage);

    CWinApp* fnGetApp() override { return m_pApp; }
    CWnd* fnGetMainWnd() override { return m_pMainWnd; }
    /// @copydoc CqWindowService::fnCreateDumpView
    ///
    /// Null also without an application object.
    std::unique_ptr<CqDumpView> fnCreateDumpView(const CqDumpViewSetup& setup,
                                                 CqDumpViewEvents& events) override;

private:
    CWinApp* m_pApp = nullptr;
    CWnd* m_pMainWnd = nullptr;
    std::shared_ptr<const q32::posix::CodePage> m_pCodePage;
};
