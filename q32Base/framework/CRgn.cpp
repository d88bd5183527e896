#include "q32Base/framework/CRgn.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

#include <cassert>
#include <new>

bool CRgn::CreateRectRgnIndirect(const RECT& rect) {
    assert(!m_pObject);
    try {
        m_pObject = q32::fnPlatform().m_pScreen->fnCreateRectRegion(rect);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return m_pObject != nullptr;
}

bool CRgn::DeleteObject() {
    const bool had = HasHandle();
    m_pObject.reset();
    return had;
}

bool CRgn::CombineRgn(const CRgn& a, const CRgn& b, int mode) {
    if (!m_pObject || !a.m_pObject || !b.m_pObject)
        return false;
    try {
        return m_pObject->fnCombine(*a.m_pObject, *b.m_pObject, mode);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

std::vector<RECT> CRgn::GetRects() const {
    return q32::fnGuardMemory(
        [&] { return m_pObject ? m_pObject->fnGetRects() : std::vector<RECT>(); });
}
