/// @file
/// Gamma switched off for one draw.
#pragma once

#include "q32Base/display/CqDisplayProperty.h"

namespace q32 {

/// Switches gamma off, if asked to, and back to what it was at its own end.
class GammaPause {
public:
    GammaPause(CqDisplayProperty& display, bool pause)
        : m_Display(display), m_bEnabled(display.fnIsGammaEnabled()), m_bEndsHere(pause) {
        if (pause)
            m_Display.fnEnableGamma(false);
    }
    ~GammaPause() {
        if (m_bEndsHere)
            m_Display.fnEnableGamma(m_bEnabled);
    }
    GammaPause(const GammaPause&) = delete;
    GammaPause& operator=(const GammaPause&) = delete;

    /// Leaves gamma off beyond the draw: what a draw of an image of one tile does, deliberately. A
    /// host that wants gamma again calls `fnEnableGamma`.
    void fnLeaveOff() { m_bEndsHere = false; }

private:
    CqDisplayProperty& m_Display;
    bool m_bEnabled;
    bool m_bEndsHere;
};

} // namespace q32
