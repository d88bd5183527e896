#include "q32Base/framework/CBitmap.h"

#include "q32Base/platform/CqPlatform.h"

#include <cassert>
#include <new>

bool CBitmap::CreateCompatibleBitmap(CDC* dc, int width, int height) {
    assert(!m_pObject);
    try {
        m_pObject = q32::fnPlatform().m_pScreen->fnCreateCompatibleBitmap(dc, width, height);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return m_pObject != nullptr;
}
