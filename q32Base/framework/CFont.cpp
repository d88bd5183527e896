#include "q32Base/framework/CFont.h"

#include "q32Base/platform/CqPlatform.h"

#include <cassert>
#include <new>

bool CFont::CreateFontIndirect(const LOGFONTA* font) {
    assert(!m_pObject);
    try {
        m_pObject = q32::fnPlatform().m_pScreen->fnCreateFont(*font);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return m_pObject != nullptr;
}

bool CFont::CreateIconTitleFont() {
    LOGFONTA font{};
    try {
        if (!q32::fnPlatform().m_pScreen->fnGetIconTitleFont(font))
            return false;
    } catch (const std::bad_alloc&) {
        return false;
    }
    return CreateFontIndirect(&font);
}
