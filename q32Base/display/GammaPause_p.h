/// @file
/// Switches gamma off for one draw.
#pragma once

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Memory.h"

namespace q32 {

/// Switches gamma off if `pause` is set, and restores it on destruction. If memory runs out then,
/// the user is shown a message, and the next draw tries again, silently.
class GammaPause {
public:
    GammaPause(CqDisplayProperty& display, bool pause) : m_Display(display), m_bEndsHere(pause) {
        if (display.m_bGammaOwed && fnTryMemory([&] { display.fnSwitchGammaOn(); }))
            display.m_bGammaOwed = false;
        m_bEnabled = display.fnIsGammaEnabled();
        if (pause && m_bEnabled)
            display.fnEnableGamma(false);
    }
    ~GammaPause() {
        if (!m_bEndsHere)
            return;
        const bool owed = m_Display.m_bGammaOwed;
        const bool restored = m_Display.fnEnableGamma(m_bEnabled);
        m_Display.m_bGammaOwed = m_bEnabled ? !restored : owed;
    }
    GammaPause(const GammaPause&) = delete;
    GammaPause& operator=(const GammaPause&) = delete;

    /// Leaves gamma off after the draw, as drawing an image of one tile does, deliberately. A host
    /// restores gamma with `fnEnableGamma`.
    void fnLeaveOff() { m_bEndsHere = false; }

private:
    CqDisplayProperty& m_Display;
    bool m_bEnabled = false;
    bool m_bEndsHere;
};

} // namespace q32
