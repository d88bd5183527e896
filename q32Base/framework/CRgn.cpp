#include "q32Base/framework/CRgn.h"

#include "q32Base/platform/CqPlatform.h"

bool CRgn::CreateRectRgnIndirect(const RECT& rect) {
    return fnCreate([&] { return q32::fnPlatform().m_pScreen->fnCreateRectRegion(rect); });
}

bool CRgn::CombineRgn(const CRgn& a, const CRgn& b, int mode) {
    if (!HasHandle() || !a.HasHandle() || !b.HasHandle())
        return false;
    return q32::fnTryMemory(
        [&] { return GetObject()->fnCombine(*a.GetObject(), *b.GetObject(), mode); });
}

std::vector<RECT> CRgn::GetRects() const {
    return q32::fnGuardMemory(
        [&] { return HasHandle() ? GetObject()->fnGetRects() : std::vector<RECT>(); });
}
