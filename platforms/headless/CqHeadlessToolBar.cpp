#include "platforms/headless/CqHeadlessToolBar.h"

#include <new>

bool CqHeadlessToolBar::fnIsEnabled(UINT command) const {
    const auto found = m_Enabled.find(command);
    return found == m_Enabled.end() || found->second;
}

LRESULT CqHeadlessToolBar::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    CqHeadlessWndOf::SendMessage(message, wParam, lParam);
    if (message != TB_ENABLEBUTTON || !IsWindow())
        return 0;
    try {
        m_Enabled[static_cast<UINT>(wParam)] = (lParam & 0xFFFF) != 0;
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return 1;
}
