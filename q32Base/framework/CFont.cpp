#include "q32Base/framework/CFont.h"

#include "q32Base/platform/CqPlatform.h"

bool CFont::CreateFontIndirect(const LOGFONTA* font) {
    return fnCreate([font] { return q32::fnPlatform().m_pScreen->fnCreateFont(*font); });
}

bool CFont::CreateIconTitleFont() {
    LOGFONTA font{};
    return q32::fnTryMemory(
               [&] { return q32::fnPlatform().m_pScreen->fnGetIconTitleFont(font); }) &&
           CreateFontIndirect(&font);
}
