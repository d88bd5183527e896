#pragma once

class CWinApp;

/// Replaces the application's name with the title of its main window for the life of one message
/// box, since boxes take their caption from that name. Nothing is swapped without an application
/// object, a main window or a title, or if memory is exhausted. Nested boxes swap again and unwind
/// in order. Not thread-safe.
class CqTitleSwap {
public:
    CqTitleSwap();
    ~CqTitleSwap();
    CqTitleSwap(const CqTitleSwap&) = delete;
    CqTitleSwap& operator=(const CqTitleSwap&) = delete;

    /// The application's present name; null without an application object.
    const char* fnGetCaption() const;

private:
    CWinApp* m_pApp = nullptr;
    const char* m_pszKept = nullptr; ///< the application's own name
    char* m_pszCopy = nullptr;       ///< its replacement; null: not swapped
};
