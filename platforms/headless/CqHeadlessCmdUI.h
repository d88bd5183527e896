#pragma once

#include "q32Base/framework/CCmdUI.h"

/// A menu item, initially enabled.
class CqHeadlessCmdUI final : public CCmdUI {
public:
    /// An item with that command.
    explicit CqHeadlessCmdUI(UINT command) { m_nID = command; }

    bool m_bEnabled = true; ///< state set by the last call of `Enable`
    unsigned m_nCalls = 0;  ///< number of calls of `Enable`

    void Enable(bool on) override {
        m_bEnabled = on;
        ++m_nCalls;
    }
};
