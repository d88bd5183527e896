#pragma once

#include "platforms/headless/CqHeadlessDumpView.h"
#include "platforms/headless/CqHeadlessWnd.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/CqWindowService.h"
#include "q32Base/platform/Export.h"

#include <memory>
#include <optional>
#include <string>

/// An application object configured by a script.
class Q32_API CqHeadlessApp : public CWinApp {
public:
    bool m_bMDI = false;                        ///< the answer of `IsMDI`
    std::optional<std::string> m_TemplateTitle; ///< none: no document template

    bool IsMDI() const override { return m_bMDI; }
    bool GetTemplateTitle(CString& title) const override;
};

/// The application and its main window, and the dump window. The first two aren't owned, and are
/// initially null.
class Q32_API CqHeadlessWindows final : public CqWindowService {
public:
    /// Set the application and its main window; null for none.
    void fnSetApp(CWinApp* app) { m_pApp = app; }
    void fnSetMainWnd(CWnd* window) { m_pMainWnd = window; }

    /// The script of dump windows.
    const std::shared_ptr<CqHeadlessDumpDesk> m_pDump = std::make_shared<CqHeadlessDumpDesk>();
    /// The dump window; null if there is none.
    CqHeadlessDumpView* fnGetDumpView() const { return CqHeadlessDumpView::fnFind(*m_pDump); }

    CWinApp* fnGetApp() override { return m_pApp; }
    CWnd* fnGetMainWnd() override { return m_pMainWnd; }
    std::unique_ptr<CqDumpView> fnCreateDumpView(const CqDumpViewSetup& setup,
                                                 CqDumpViewEvents& events) override;

private:
    CWinApp* m_pApp = nullptr;
    CWnd* m_pMainWnd = nullptr;
};
