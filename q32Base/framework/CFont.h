#pragma once

#include "q32Base/framework/ScreenObject.h"
#include "q32Base/platform/CqScreenService.h"

/// A screen font, or none. Owns the screen's object.
class Q32_API CFont : public q32::ScreenObject<CqFontObject> {
public:
    /// Creates the font that best matches `font`; there must be none yet. False on failure,
    /// including exhausted memory.
    bool CreateFontIndirect(const LOGFONTA* font);
    /// The same with the font configured for icon titles.
    bool CreateIconTitleFont();
};
