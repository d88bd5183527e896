#pragma once

#include "q32Base/platform/CqDumpView.h"
#include "q32Base/platform/Export.h"

#include <memory>

class CWinApp;
class CWnd;

/// The host's application and main window, as far as the library uses them. Called on the thread of
/// the user interface.
class Q32_API CqWindowService {
public:
    virtual ~CqWindowService() = default;

    /// The application object; null when there is none (yet).
    virtual CWinApp* fnGetApp() = 0;
    /// The main window of the current thread; null when there is none.
    virtual CWnd* fnGetMainWnd() = 0;

    /// Creates the frame of the dump window, hidden and without its parts. Any coordinates are
    /// valid; a negative size counts as 0.
    /// @param events  receives the view's events; outlives it
    /// @return null on failure, and if the back end has no dump window. May throw std::bad_alloc.
    virtual std::unique_ptr<CqDumpView> fnCreateDumpView(const CqDumpViewSetup& setup,
                                                         CqDumpViewEvents& events);
};
