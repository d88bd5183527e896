#pragma once

#include "platforms/win32/GdiObject_p.h"
#include "q32Base/platform/CqScreenService.h"

#include <utility>
#include <vector>

/// A palette of the system, and a copy of its entries.
class CqWin32Palette final : public CqPaletteObject {
public:
    CqWin32Palette(std::vector<PALETTEENTRY> entries, q32::win32::GdiObject<HPALETTE> palette)
        : CqPaletteObject(std::move(entries)), m_Palette(std::move(palette)) {}

    HPALETTE fnGetHandle() const { return m_Palette.fnGet(); }

    UINT fnSetEntries(UINT first, UINT count, const PALETTEENTRY* entries) override {
        const UINT replaced = CqPaletteObject::fnSetEntries(first, count, entries);
        if (replaced > 0)
            ::SetPaletteEntries(m_Palette.fnGet(), first, replaced, entries);
        return replaced;
    }

private:
    q32::win32::GdiObject<HPALETTE> m_Palette;
};
