#include "platforms/headless/CqHeadlessToolBar.h"

#include "q32Base/framework/Memory.h"

bool CqHeadlessToolBar::fnIsEnabled(UINT command) const {
    const auto found = m_Enabled.find(command);
    return found == m_Enabled.end() || found->second;
}

LRESULT CqHeadlessToolBar::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    CqHeadlessWndOf::SendMessage(message, wParam, lParam);
    if (message != TB_ENABLEBUTTON || !IsWindow())
        return 0;
    const bool kept =
        q32::fnTryMemory([&] { m_Enabled[static_cast<UINT>(wParam)] = (lParam & 0xFFFF) != 0; });
    return kept ? 1 : 0;
}
