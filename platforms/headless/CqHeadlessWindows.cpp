#include "platforms/headless/CqHeadlessWindows.h"

LRESULT CqHeadlessStatusBar::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_ERASEBKGND)
        reinterpret_cast<CDC*>(wParam)->FillRect(GetClientRect(), COLOR_BTNFACE);
    return CqHeadlessWnd::SendMessage(message, wParam, lParam);
}

bool CqHeadlessApp::GetTemplateTitle(CString& title) const {
    if (m_TemplateTitle)
        title = m_TemplateTitle->c_str();
    return m_TemplateTitle.has_value();
}

std::unique_ptr<CqDumpView> CqHeadlessWindows::fnCreateDumpView(const CqDumpViewSetup& setup,
                                                                CqDumpViewEvents& events) {
    if (!m_pDump->m_Create.fnPass())
        return nullptr;
    return std::make_unique<CqHeadlessDumpView>(setup, events, m_pDump);
}
