#pragma once

#include "q32Base/framework/ScreenObject.h"
#include "q32Base/platform/CqScreenService.h"

/// A screen palette, or none. Owns the screen's object.
class Q32_API CPalette : public q32::ScreenObject<CqPaletteObject> {
public:
    /// No palette.
    CPalette() = default;
    ~CPalette() override { DeleteObject(); }

    /// Creates a palette; there must be none yet. False on failure, including exhausted memory.
    bool CreatePalette(const LOGPALETTE* palette);
    /// Deletes the palette; device contexts that have it selected deselect it. False if there was
    /// none.
    bool DeleteObject();
    /// Number of entries; 0 without a palette.
    WORD GetEntryCount() const;
    /// Copies up to `count` entries from `first` on; returns the number copied.
    UINT GetPaletteEntries(UINT first, UINT count, PALETTEENTRY* entries) const;
    /// Replaces up to `count` entries from `first` on; returns the number replaced.
    UINT SetPaletteEntries(UINT first, UINT count, const PALETTEENTRY* entries);
};
