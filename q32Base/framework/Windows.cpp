#include "q32Base/framework/Windows.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

CDC* CWnd::GetDC() {
    return q32::fnGuardMemory([&] { return q32::fnPlatform().m_pScreen->fnGetDC(this); });
}

void CWnd::ReleaseDC(CDC* dc) {
    q32::fnGuardMemory([&] { q32::fnPlatform().m_pScreen->fnReleaseDC(this, dc); });
}
