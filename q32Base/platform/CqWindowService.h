#pragma once

#include "q32Base/platform/CqDumpView.h"
#include "q32Base/platform/Export.h"

#include <memory>

class CWinApp;
class CWnd;

/// The host's application and main window, as far as the library looks at them.
/// Called on the thread of the user interface.
class Q32_API CqWindowService {
public:
    virtual ~CqWindowService() = default;

    /// The application object; null when there is none (yet).
    virtual CWinApp* fnGetApp() = 0;
    /// The main window of the current thread; null when there is none.
    virtual CWnd* fnGetMainWnd() = 0;

    /// Makes the frame of the dump window, not yet shown and without its parts. The numbers of its
    /// place may be any; a size below 0 counts as 0.
    /// @param events  outlives the view
    /// @return null on failure, and where there is no such window. May throw std::bad_alloc.
    virtual std::unique_ptr<CqDumpView> fnCreateDumpView(const CqDumpViewSetup& setup,
                                                         CqDumpViewEvents& events);
};
