#include "q32Base/framework/CPalette.h"

#include "q32Base/platform/CqPlatform.h"

#include <algorithm>

bool CPalette::CreatePalette(const LOGPALETTE* palette) {
    return fnCreate([palette] { return q32::fnPlatform().m_pScreen->fnCreatePalette(*palette); });
}

bool CPalette::DeleteObject() {
    if (HasHandle() && q32::fnHasPlatform())
        q32::fnPlatform().m_pScreen->fnPaletteGone(*this);
    return ScreenObject::DeleteObject();
}

WORD CPalette::GetEntryCount() const {
    return HasHandle() ? static_cast<WORD>(GetObject()->fnGetEntries().size()) : WORD{0};
}

UINT CPalette::GetPaletteEntries(UINT first, UINT count, PALETTEENTRY* entries) const {
    if (first >= GetEntryCount())
        return 0;
    const auto& all = GetObject()->fnGetEntries();
    const UINT taken = std::min(count, static_cast<UINT>(all.size()) - first);
    std::copy_n(all.begin() + first, taken, entries);
    return taken;
}

UINT CPalette::SetPaletteEntries(UINT first, UINT count, const PALETTEENTRY* entries) {
    return HasHandle() ? GetObject()->fnSetEntries(first, count, entries) : 0;
}
