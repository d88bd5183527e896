#pragma once

class CWinApp;

/// Gives the host's application the name that stands in the title bar of its main window, for the
/// life of one message box: boxes take their caption from the application's name. Nothing is
/// swapped without an application object, without a main window, without a title, or when memory
/// runs out. Boxes shown from within a box swap again and unwind in order. Not guarded against
/// threads.
class CqTitleSwap {
public:
    CqTitleSwap();
    ~CqTitleSwap();
    CqTitleSwap(const CqTitleSwap&) = delete;
    CqTitleSwap& operator=(const CqTitleSwap&) = delete;

    /// The application's name as it is now; null without an application object.
    const char* fnGetCaption() const;

private:
    CWinApp* m_pApp = nullptr;
    const char* m_pszKept = nullptr; ///< the application's own name
    char* m_pszCopy = nullptr;       ///< what was put in its place; null: nothing was
};
