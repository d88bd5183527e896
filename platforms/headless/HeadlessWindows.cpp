#include "platforms/headless/HeadlessWindows.h"

LRESULT CqHeadlessWnd::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    m_Messages.push_back({message, wParam, lParam});
    return m_nAnswer;
}

void CqHeadlessWnd::InvalidateRect(const RECT* rect, bool erase) {
    m_Invalidations.push_back({rect ? std::optional<RECT>(*rect) : std::nullopt, erase});
}

bool CqHeadlessApp::GetTemplateTitle(CString& title) const {
    if (m_TemplateTitle)
        title = m_TemplateTitle->c_str();
    return m_TemplateTitle.has_value();
}
