#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <optional>
#include <string>

class CFont;

/// What a dump view tells the library. After either call the view may be gone.
class Q32_API CqDumpViewEvents {
public:
    /// The user chose an item of the system menu, which stays checked as it was. False for one that
    /// isn't the library's.
    virtual bool fnOnSysCommand(UINT id) = 0;
    /// The window goes: the user closes it, or the back end ends.
    virtual void fnOnClose() = 0;

protected:
    ~CqDumpViewEvents() = default;
};

/// How the window is made.
struct CqDumpViewSetup {
    const char* m_szCaption;
    std::optional<RECT> m_Place; ///< in screen coordinates; none: wherever windows begin
    const char* m_szIdlePrompt;  ///< what the status bar shows when there is nothing else to say
};

/// An item of the window's system menu.
struct CqDumpMenuItem {
    UINT m_nId = 0;                   ///< a multiple of 16; 0 for a separator
    const char* m_szText = nullptr;   ///< an ampersand stands ahead of the key that chooses it
    const char* m_szPrompt = nullptr; ///< for the status bar, while the item is highlighted
};

/// A save dialog's settings.
struct CqSaveRequest {
    const char* m_szDefaultExtension; ///< for a name that is given without one
    UINT m_nFlags;                    ///< OFN_ bits
    const char* m_pszFilter; ///< labels and masks in turn, each ended by a zero, and one more
    const char* m_szFolder;  ///< where it starts; null: the system's choice
};

/// The dump window as a back end has it: a small floating frame that can be resized, with a
/// read-only text of several lines that fills its client area, a status bar, and a system menu. It
/// belongs to no other window. Its end, with no event, is the destructor. Texts are bytes in the
/// code page, with lines that end in CR LF. Called on the thread of the user interface. May throw
/// std::bad_alloc; all else is told by the result.
class Q32_API CqDumpView {
public:
    virtual ~CqDumpView() = default;

    /// Makes the text, and the status bar. False on failure.
    virtual bool fnCreateText() = 0;
    virtual bool fnCreateStatusBar() = 0;
    /// Shows the text in a font of the platform's screen, which outlives the view. One that the
    /// view can't show is passed over.
    virtual void fnSetFont(const CFont& font) = 0;
    /// Puts an item at the top of the system menu.
    virtual void fnInsertMenuItem(const CqDumpMenuItem& item) = 0;
    /// Checks an item or unchecks it. Nothing happens for an id that no item has.
    virtual void fnCheckMenuItem(UINT id, bool checked) = 0;
    /// Keeps the window above all others, or no longer. It is neither moved nor sized.
    virtual void fnSetOnTop(bool onTop) = 0;
    virtual void fnShow() = 0;
    /// The whole window in screen coordinates.
    virtual RECT fnGetPlace() const = 0;

    /// Replaces the text. No zero is in it.
    virtual void fnSetText(const char* text, std::size_t length) = 0;
    /// Adds to the text, in time that doesn't grow with what is there. False, with nothing changed,
    /// where the back end can't; it is given the whole text then.
    virtual bool fnAppendText(const char*, std::size_t) { return false; }
    virtual std::string fnGetText() const = 0;

    /// Asks the user for a file's name, with this window as the owner, and waits. A name without an
    /// extension gets the default one. False, and `path` stays, when it was not confirmed.
    virtual bool fnAskSaveName(const CqSaveRequest& request, std::string& path) = 0;
};
