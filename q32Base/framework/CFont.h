#pragma once

#include "q32Base/framework/ScreenObject.h"
#include "q32Base/platform/CqScreenService.h"

/// A font of the screen, or none. Owns the object that it stands for.
class Q32_API CFont : public q32::ScreenObject<CqFontObject> {
public:
    /// Makes a font by the platform in force; this object must stand for none. False on failure,
    /// memory included.
    bool CreateFontIndirect(const LOGFONTA* font);
    /// The same with the font that the user has chosen for titles of icons.
    bool CreateIconTitleFont();
};
