#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "platforms/headless/CqHeadlessFont.h"
#include "platforms/headless/CqHeadlessPicture.h"
#include "q32Base/framework/Values.h"
#include "q32Base/platform/CqDumpView.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// A save dialog as it was shown.
struct CqHeadlessSaveDialog {
    std::string m_szDefaultExtension;                           ///< appended to a name without one
    UINT m_nFlags = 0;                                          ///< OFN_ bits
    std::vector<std::pair<std::string, std::string>> m_Filters; ///< label and mask
    std::optional<std::string> m_Folder; ///< initial folder; none: the system's choice
    std::optional<std::string> m_Answer; ///< none: cancelled
};

class CqHeadlessDumpView;

/// The script of dump views, and what can be read of them after their end. Shared by them and the
/// window service.
struct Q32_API CqHeadlessDumpDesk {
    CqHeadlessCalls m_Create;          ///< of the frame
    CqHeadlessCalls m_CreateText;      ///< of the text control
    CqHeadlessCalls m_CreateStatusBar; ///< of the status bar
    CqHeadlessCalls m_SetText;         ///< a failed call throws std::bad_alloc and changes nothing
    CqHeadlessCalls m_AppendText;      ///< likewise, of text behind what is shown
    bool m_bAppends = true;            ///< whether views can append
    std::uint64_t m_nTextBytes = 0;    ///< total bytes of text passed to views

    /// Answers the next save dialog without an answer: with a name, or none to cancel. A name
    /// without an extension gets the default one. Dialogs without an answer are cancelled.
    void fnAnswerSave(std::optional<std::string> name) { m_Answers.push_back(std::move(name)); }
    /// The save dialogs so far, in order.
    const std::vector<CqHeadlessSaveDialog>& fnGetSaveDialogs() const { return m_SaveDialogs; }
    /// Called while a save dialog is open, before it is answered.
    std::function<void(const CqHeadlessSaveDialog&)> m_OnSaveDialog;

private:
    friend CqHeadlessDumpView;
    std::deque<std::optional<std::string>> m_Answers;
    std::vector<CqHeadlessSaveDialog> m_SaveDialogs;
    std::vector<CqHeadlessDumpView*> m_Views; ///< existing ones, oldest first
};

/// The dump window of the headless world: a frame with a title row, a text in cells of one size,
/// and a status row. Scripts read and operate it through this class.
class Q32_API CqHeadlessDumpView final : public CqDumpView {
public:
    static constexpr int kCellWidth = 6;   ///< of caption, status bar and menu, in pixels
    static constexpr int kCellHeight = 11; ///< likewise

    /// An item of the system menu.
    struct MenuItem {
        UINT m_nId = 0;          ///< 0: a separator
        std::string m_szText;    ///< an ampersand precedes the access key
        std::string m_szPrompt;  ///< status bar text while it is highlighted
        bool m_bChecked = false; ///< whether it has a check mark

        bool operator==(const MenuItem&) const = default;
    };

    /// Made by the window service, hidden. `events` must outlive it.
    CqHeadlessDumpView(const CqDumpViewSetup& setup, CqDumpViewEvents& events,
                       std::shared_ptr<CqHeadlessDumpDesk> desk);
    ~CqHeadlessDumpView() override;

    /// The newest existing view; null if there is none.
    static CqHeadlessDumpView* fnFind(const CqHeadlessDumpDesk& desk);

    // Appearance.

    /// The window's title.
    const std::string& fnGetCaption() const { return m_szCaption; }
    /// Whether the library has shown it.
    bool fnIsShown() const { return m_bShown; }
    /// Whether it stays above all other windows; initially false.
    bool fnIsOnTop() const { return m_bOnTop; }
    /// The font of the text; initially with the cells of the caption.
    const CqHeadlessFont& fnGetFont() const { return m_Font; }
    /// The items added to the system menu by the library, from the top.
    const std::vector<MenuItem>& fnGetMenu() const { return m_Menu; }
    /// The prompt of the highlighted item, else the idle prompt; empty without a status bar.
    std::string fnGetStatusText() const;
    /// The window as rows of text: the caption, the visible text, the status bar. Each row has as
    /// many cells of its font as fit the window's width. A byte is a cell; one without a glyph is a
    /// blank. Empty while the window isn't shown.
    std::vector<std::string> fnGetCells() const;
    /// The same in pixels, with the system menu open while an item is highlighted: a star marks a
    /// checked item, a line underlines its access key.
    CqHeadlessPicture fnGetPicture() const;

    // User input.

    /// Moves and resizes the window, in screen coordinates; a negative size counts as 0.
    void fnMove(const RECT& place);
    /// Scrolls a row and a column of the text to the first cell.
    void fnScroll(std::size_t row, std::size_t column);
    /// Highlights an item of the system menu; 0 for none.
    void fnHighlight(UINT id) { m_nHighlighted = id; }
    /// Chooses an item of the system menu. False if the library doesn't handle it. The view may be
    /// gone afterwards.
    bool fnChoose(UINT id);
    /// Closes the window. The view is gone afterwards, unless it still has a dialog open.
    void fnClose() { m_Events.fnOnClose(); }

    // Called by the library.

    bool fnCreateText() override { return m_pDesk->m_CreateText.fnPass(); }
    bool fnCreateStatusBar() override;
    /// @copydoc CqDumpView::fnSetFont
    ///
    /// Fonts of other screens are ignored.
    void fnSetFont(const CFont& font) override;
    void fnInsertMenuItem(const CqDumpMenuItem& item) override;
    void fnCheckMenuItem(UINT id, bool checked) override;
    void fnSetOnTop(bool onTop) override { m_bOnTop = onTop; }
    void fnShow() override { m_bShown = true; }
    RECT fnGetPlace() const override { return m_Place; }
    /// @copydoc CqDumpView::fnSetText
    ///
    /// Keeps the scroll position, as far as the new text allows.
    void fnSetText(const char* text, std::size_t length) override;
    bool fnAppendText(const char* text, std::size_t length) override;
    std::string fnGetText() const override { return m_szText; }
    bool fnAskSaveName(const CqSaveRequest& request, std::string& path) override;

private:
    Q32_LOCAL std::string fnGetRow(std::size_t row, std::size_t columns) const;

    CqDumpViewEvents& m_Events;
    const std::shared_ptr<CqHeadlessDumpDesk> m_pDesk;
    const std::string m_szCaption;
    const std::string m_szIdlePrompt;
    CRect m_Place;
    CqHeadlessFont m_Font{kCellHeight};
    bool m_bStatusBar = false;
    bool m_bShown = false;
    bool m_bOnTop = false;
    std::vector<MenuItem> m_Menu;
    UINT m_nHighlighted = 0;
    std::string m_szText;
    std::vector<std::size_t> m_Rows = {0}; ///< offsets of the rows in the text
    std::size_t m_nTopRow = 0;
    std::size_t m_nLeftColumn = 0;
};
