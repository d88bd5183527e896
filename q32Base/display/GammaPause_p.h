/// @file
/// Switches gamma off for one draw.
#pragma once

#include "q32Base/display/CqDisplayProperty.h"

namespace q32 {

/// Switches gamma off if `pause` is set, and restores it on destruction.
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

    /// Leaves gamma off after the draw, as drawing an image of one tile does, deliberately. A host
    /// restores gamma with `fnEnableGamma`.
    void fnLeaveOff() { m_bEndsHere = false; }

private:
    CqDisplayProperty& m_Display;
    bool m_bEnabled;
    bool m_bEndsHere;
};

} // namespace q32
