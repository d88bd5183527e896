/// @file
/// Windows of the headless world.
#pragma once

#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/Export.h"

#include <optional>
#include <vector>

/// The position of a headless window's client area on the screen.
class Q32_API CqHeadlessPlace {
public:
    virtual ~CqHeadlessPlace() = default;
    /// The client area in screen coordinates.
    virtual const CRect& fnGetPlace() const = 0;
};

/// A window of the headless world: a client area at a position on the screen, and a record of the
/// messages and invalidations that it receives. `Base` is the window class.
template <typename Base>
class CqHeadlessWndOf : public Base, public CqHeadlessPlace {
public:
    /// A message as the window received it.
    struct Message {
        UINT m_nMessage; ///< a WM_, PBM_ or TB_ number
        WPARAM m_wParam; ///< its first argument
        LPARAM m_lParam; ///< its second argument

        bool operator==(const Message&) const = default;
    };
    /// A request to repaint.
    struct Invalidation {
        std::optional<RECT> m_Rect; ///< none: the whole client area
        bool m_bErase;              ///< whether the background is to be erased first
    };

    /// A window at a place on the screen.
    /// @param client  the client area in screen coordinates
    explicit CqHeadlessWndOf(const RECT& client) : m_Client(client) {}

    /// Moves the client area; the screen's pixels are unchanged.
    void fnMove(const RECT& client) { m_Client = client; }
    /// @copydoc CqHeadlessPlace::fnGetPlace
    const CRect& fnGetPlace() const override { return m_Client; }
    /// Destroys the window, from the library's view, and its child windows.
    void fnDestroy() {
        m_bExists = false;
        Base::fnDestroyChildren();
    }
    /// Sets the answer to later messages; initially 0.
    void fnSetAnswer(LRESULT answer) { m_nAnswer = answer; }
    /// Sets the message bar of a frame window, not owned; initially null.
    void fnSetMessageBar(CWnd* bar) { m_pMessageBar = bar; }
    /// The messages so far, or since they were last cleared.
    const std::vector<Message>& fnGetMessages() const { return m_Messages; }
    /// Forgets the messages; invalidations stay.
    void fnClearMessages() { m_Messages.clear(); }
    /// The invalidations so far.
    const std::vector<Invalidation>& fnGetInvalidations() const { return m_Invalidations; }

    /// @copydoc CWnd::GetClientRect
    CRect GetClientRect() const override { return {0, 0, m_Client.Width(), m_Client.Height()}; }
    /// Records a message and returns the answer that was set.
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override {
        fnKeep(m_Messages, {message, wParam, lParam});
        return m_nAnswer;
    }
    /// Records the request.
    void InvalidateRect(const RECT* rect, bool erase) override {
        fnKeep(m_Invalidations, {rect ? std::optional<RECT>(*rect) : std::nullopt, erase});
    }
    /// False once it is destroyed.
    bool IsWindow() const override { return m_bExists; }
    /// The window set by `fnSetMessageBar`.
    CWnd* GetMessageBar() override { return m_pMessageBar; }

private:
    /// Windows don't throw; when memory is exhausted, the record is lost.
    template <typename Record>
    static void fnKeep(std::vector<Record>& records, const Record& record) {
        q32::fnTryMemory([&] { records.push_back(record); });
    }

    CRect m_Client;
    bool m_bExists = true;
    LRESULT m_nAnswer = 0;
    CWnd* m_pMessageBar = nullptr;
    std::vector<Message> m_Messages;
    std::vector<Invalidation> m_Invalidations;
};

/// Any window: a main window, a view.
using CqHeadlessWnd = CqHeadlessWndOf<CWnd>;
/// A progress bar, whose state can be read from its messages.
using CqHeadlessProgressCtrl = CqHeadlessWndOf<CProgressCtrl>;

/// A status bar, which fills its client area with the button face on WM_ERASEBKGND.
class Q32_API CqHeadlessStatusBar : public CqHeadlessWnd {
public:
    using CqHeadlessWnd::CqHeadlessWnd;
    /// Fills the client area for WM_ERASEBKGND. Records any message and returns the answer that was
    /// set.
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
};
