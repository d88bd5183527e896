/// @file
/// What a host's frame has for undo and redo, as objects that record what they are told.
#pragma once

#include "platforms/headless/HeadlessWindows.h"
#include "q32Base/framework/CCmdUI.h"
#include "q32Base/framework/CDocument.h"
#include "q32Base/platform/Export.h"

#include <map>
#include <vector>

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

/// A menu item. It is enabled until it is told otherwise.
class Q32_API CqHeadlessCmdUI final : public CCmdUI {
public:
    explicit CqHeadlessCmdUI(UINT command) { m_nID = command; }

    bool m_bEnabled = true;
    unsigned m_nCalls = 0; ///< of `Enable`

    void Enable(bool on) override;
};

/// A document whose modified flag the script sets and reads.
class Q32_API CqHeadlessDocument final : public CDocument {
public:
    int m_nModified = 0;             ///< what `IsModified` answers
    std::vector<bool> m_ModifiedSet; ///< all that `SetModifiedFlag` was told, in order

    int IsModified() override { return m_nModified; }
    void SetModifiedFlag(bool modified) override;
};
