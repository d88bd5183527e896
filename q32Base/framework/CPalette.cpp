#include "q32Base/framework/CPalette.h"

#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cassert>
#include <new>

bool CPalette::CreatePalette(const LOGPALETTE* palette) {
    assert(!m_pObject);
    try {
        m_pObject = q32::fnPlatform().m_pScreen->fnCreatePalette(*palette);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return m_pObject != nullptr;
}

bool CPalette::DeleteObject() {
    if (!HasHandle())
        return false;
    if (q32::fnHasPlatform())
        q32::fnPlatform().m_pScreen->fnPaletteGone(*this);
    m_pObject.reset();
    return true;
}

WORD CPalette::GetEntryCount() const {
    return m_pObject ? static_cast<WORD>(m_pObject->fnGetEntries().size()) : WORD{0};
}

UINT CPalette::GetPaletteEntries(UINT first, UINT count, PALETTEENTRY* entries) const {
    if (first >= GetEntryCount())
        return 0;
    const auto& all = m_pObject->fnGetEntries();
    const UINT taken = std::min(count, static_cast<UINT>(all.size()) - first);
    std::copy_n(all.begin() + first, taken, entries);
    return taken;
}

UINT CPalette::SetPaletteEntries(UINT first, UINT count, const PALETTEENTRY* entries) {
    return m_pObject ? m_pObject->fnSetEntries(first, count, entries) : 0;
}
