#pragma once

#include "platforms/headless/CqHeadlessWnd.h"
#include "q32Base/platform/Export.h"

#include <map>

/// A toolbar. Its buttons, named by their commands, are enabled until they are told otherwise. Its
/// messages are kept also when its window is gone.
class Q32_API CqHeadlessToolBar final : public CqHeadlessWndOf<CToolBarCtrl> {
public:
    CqHeadlessToolBar() : CqHeadlessWndOf(CRect()) {}

    bool fnIsEnabled(UINT command) const;

    /// TB_ENABLEBUTTON gives 1; any other message is ignored and gives 0, as all do once the
    /// window is gone.
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    std::map<UINT, bool> m_Enabled;
};
