#pragma once

#include "q32Base/framework/ScreenObject.h"
#include "q32Base/platform/CqScreenService.h"

/// A palette of the screen, or none. Owns the object that it stands for.
class Q32_API CPalette : public q32::ScreenObject<CqPaletteObject> {
public:
    CPalette() = default;
    ~CPalette() override { DeleteObject(); }

    /// Makes a palette by the platform in force; this object must stand for none. False on failure,
    /// memory included.
    bool CreatePalette(const LOGPALETTE* palette);
    /// Deletes the palette; device contexts that have it selected let go of it. False when there
    /// was none.
    bool DeleteObject();
    /// Entries of the palette, as a 16-bit count; 0 without a palette.
    WORD GetEntryCount() const;
    /// Copies entries out, as far as there are; returns how many.
    UINT GetPaletteEntries(UINT first, UINT count, PALETTEENTRY* entries) const;
    /// Replaces entries, as far as there are; returns how many.
    UINT SetPaletteEntries(UINT first, UINT count, const PALETTEENTRY* entries);
};
