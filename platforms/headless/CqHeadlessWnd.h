#pragma once

#include "q32Base/framework/Windows.h"
#include "q32Base/platform/Export.h"

#include <new>
#include <optional>
#include <vector>

/// Where a headless window's client area lies on the screen.
class Q32_API CqHeadlessPlace {
public:
    virtual ~CqHeadlessPlace() = default;
    virtual const CRect& fnGetPlace() const = 0;
};

/// A window of the headless world: a client area at a place on the screen, and a record of what it
/// was told. `Base` is the kind of window.
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

    /// Moves the client area; what stands on the screen stays there.
    void fnMove(const RECT& client) { m_Client = client; }
    const CRect& fnGetPlace() const override { return m_Client; }
    /// The window ceases to exist for the library, and its children's windows with it.
    void fnDestroy() {
        m_bExists = false;
        Base::fnDestroyChildren();
    }
    /// The answer to later messages; at first 0.
    void fnSetAnswer(LRESULT answer) { m_nAnswer = answer; }
    /// The bar of a frame window, not owned; at first none.
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
    /// No window raises a failure of memory; a record that there is no room for is lost.
    template <typename Record>
    static void fnKeep(std::vector<Record>& records, const Record& record) {
        try {
            records.push_back(record);
        } catch (const std::bad_alloc&) {
        }
    }

    CRect m_Client;
    bool m_bExists = true;
    LRESULT m_nAnswer = 0;
    CWnd* m_pMessageBar = nullptr;
    std::vector<Message> m_Messages;
    std::vector<Invalidation> m_Invalidations;
};

using CqHeadlessWnd = CqHeadlessWndOf<CWnd>;
/// What it is told can be read in its messages.
using CqHeadlessProgressCtrl = CqHeadlessWndOf<CProgressCtrl>;

/// A status bar: it fills its client area with the button face when it is told to erase it.
class Q32_API CqHeadlessStatusBar : public CqHeadlessWnd {
public:
    using CqHeadlessWnd::CqHeadlessWnd;
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
};
