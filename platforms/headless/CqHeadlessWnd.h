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
    virtual const CRect& fnGetPlace() const = 0;
};

/// A window of the headless world: a client area at a position on the screen, and a record of the
/// messages and invalidations that it receives. `Base` is the window class.
template <typename Base>
class CqHeadlessWndOf : public Base, public CqHeadlessPlace {
public:
    struct Message {
        UINT m_nMessage;
        WPARAM m_wParam;
        LPARAM m_lParam;
        bool operator==(const Message&) const = default;
    };
    struct Invalidation {
        std::optional<RECT> m_Rect; ///< none: the whole client area
        bool m_bErase;
    };

    /// @param client  the client area in screen coordinates
    explicit CqHeadlessWndOf(const RECT& client) : m_Client(client) {}

    /// Moves the client area; the screen's pixels are unchanged.
    void fnMove(const RECT& client) { m_Client = client; }
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
    const std::vector<Message>& fnGetMessages() const { return m_Messages; }
    void fnClearMessages() { m_Messages.clear(); }
    const std::vector<Invalidation>& fnGetInvalidations() const { return m_Invalidations; }

    CRect GetClientRect() const override { return {0, 0, m_Client.Width(), m_Client.Height()}; }
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override {
        fnKeep(m_Messages, {message, wParam, lParam});
        return m_nAnswer;
    }
    void InvalidateRect(const RECT* rect, bool erase) override {
        fnKeep(m_Invalidations, {rect ? std::optional<RECT>(*rect) : std::nullopt, erase});
    }
    bool IsWindow() const override { return m_bExists; }
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

using CqHeadlessWnd = CqHeadlessWndOf<CWnd>;
/// A progress bar, whose state can be read from its messages.
using CqHeadlessProgressCtrl = CqHeadlessWndOf<CProgressCtrl>;

/// A status bar, which fills its client area with the button face on WM_ERASEBKGND.
class Q32_API CqHeadlessStatusBar : public CqHeadlessWnd {
public:
    using CqHeadlessWnd::CqHeadlessWnd;
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
};
