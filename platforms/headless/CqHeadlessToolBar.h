#pragma once

#include "platforms/headless/CqHeadlessWnd.h"
#include "q32Base/platform/Export.h"

#include <map>

/// A toolbar. Its buttons, identified by their commands, are initially enabled. Its messages are
/// recorded even after its window is destroyed.
class Q32_API CqHeadlessToolBar final : public CqHeadlessWndOf<CToolBarCtrl> {
public:
    /// With all buttons enabled, and an empty client area.
    CqHeadlessToolBar() : CqHeadlessWndOf(CRect()) {}

    /// The state of a button; true for a command that was never disabled.
    bool fnIsEnabled(UINT command) const;

    /// TB_ENABLEBUTTON returns 1; any other message is ignored and returns 0, as do all once the
    /// window is destroyed.
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    std::map<UINT, bool> m_Enabled;
};
