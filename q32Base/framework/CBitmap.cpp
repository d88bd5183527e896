#include "q32Base/framework/CBitmap.h"

#include "q32Base/platform/CqPlatform.h"

bool CBitmap::CreateCompatibleBitmap(CDC* dc, int width, int height) {
    return fnCreate(
        [=] { return q32::fnPlatform().m_pScreen->fnCreateCompatibleBitmap(dc, width, height); });
}
