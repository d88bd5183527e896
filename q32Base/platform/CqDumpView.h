#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <optional>
#include <string>

class CFont;

/// Events that a dump view reports to the library. After either call the view may have been
/// destroyed.
class Q32_API CqDumpViewEvents {
public:
    /// The user chose an item of the system menu; its check mark is unchanged. Returns false for an
    /// item that isn't the library's.
    virtual bool fnOnSysCommand(UINT id) = 0;
    /// The window is closing: the user closed it, or the back end is shutting down.
    virtual void fnOnClose() = 0;

protected:
    ~CqDumpViewEvents() = default;
};

/// How the window is created.
struct CqDumpViewSetup {
    const char* m_szCaption;     ///< the window's title
    std::optional<RECT> m_Place; ///< in screen coordinates; none: the system's default position
    const char* m_szIdlePrompt;  ///< the status bar's text when nothing else is shown
};

/// An item of the window's system menu.
struct CqDumpMenuItem {
    UINT m_nId = 0;                   ///< a multiple of 16; 0 for a separator
    const char* m_szText = nullptr;   ///< an ampersand precedes the access key
    const char* m_szPrompt = nullptr; ///< status bar text while the item is highlighted
};

/// A save dialog's settings.
struct CqSaveRequest {
    const char* m_szDefaultExtension; ///< appended to a name without one
    UINT m_nFlags;                    ///< OFN_ bits
    const char* m_pszFilter; ///< labels and masks in turn, each ended by a NUL, and a final NUL
    const char* m_szFolder;  ///< initial folder; null: the system's choice
};

/// The dump window as a back end implements it: a small, resizable floating frame with a read-only
/// multi-line text that fills its client area, a status bar and a system menu. It has no owner
/// window. The destructor closes it without an event. Texts are bytes in the code page, with lines
/// ending in CR LF. Called on the thread of the user interface. May throw std::bad_alloc; every
/// other failure is reported by the result.
class Q32_API CqDumpView {
public:
    virtual ~CqDumpView() = default;

    /// Create the text control and the status bar. Return false on failure.
    virtual bool fnCreateText() = 0;
    virtual bool fnCreateStatusBar() = 0;
    /// Sets the text's font, which the platform's screen service created and which outlives the
    /// view. A font that the view can't show is ignored.
    virtual void fnSetFont(const CFont& font) = 0;
    /// Inserts an item at the top of the system menu.
    virtual void fnInsertMenuItem(const CqDumpMenuItem& item) = 0;
    /// Checks or unchecks an item. An unknown id is ignored.
    virtual void fnCheckMenuItem(UINT id, bool checked) = 0;
    /// Sets whether the window stays above all others. It is neither moved nor resized.
    virtual void fnSetOnTop(bool onTop) = 0;
    /// Shows the window, which was created hidden.
    virtual void fnShow() = 0;
    /// The window's rectangle, frame included, in screen coordinates.
    virtual RECT fnGetPlace() const = 0;

    /// Replaces the text: `length` bytes, none of them NUL.
    virtual void fnSetText(const char* text, std::size_t length) = 0;
    /// Appends `length` bytes to the text, none of them NUL, in time that doesn't depend on its
    /// present length. False, with nothing changed, if the back end can't; it then receives the
    /// whole text by `fnSetText`.
    virtual bool fnAppendText(const char* /*text*/, std::size_t /*length*/) { return false; }
    /// The whole text.
    virtual std::string fnGetText() const = 0;

    /// Shows a save dialog owned by this window and waits for it. A name without an extension gets
    /// the default one. False, with `path` unchanged, unless the user confirms a name.
    virtual bool fnAskSaveName(const CqSaveRequest& request, std::string& path) = 0;
};
