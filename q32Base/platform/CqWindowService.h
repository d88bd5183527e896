#pragma once

#include "q32Base/platform/Export.h"

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
};
