#include "q32Base/framework/Windows.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

CDC* CWnd::GetDC() {
    return q32::fnGuardMemory([&] { return q32::fnPlatform().m_pScreen->fnGetDC(this); });
}

void CWnd::ReleaseDC(CDC* dc) noexcept {
    q32::fnPlatform().m_pScreen->fnReleaseDC(this, dc);
}

std::unique_ptr<CDC> CDC::CreateCompatibleDC() {
    return nullptr;
}
CFont* CDC::SelectObject(CFont*) {
    return nullptr;
}
CBitmap* CDC::SelectObject(CBitmap*) {
    return nullptr;
}
bool CDC::GetTextMetrics(TEXTMETRICA*) const {
    return false;
}
bool CDC::GetTextExtentPoint32(const char*, int, SIZE*) const {
    return false;
}
int CDC::DrawText(const char*, int, RECT*, UINT) {
    return 0;
}
int CDC::SetBkMode(int) {
    return 0;
}
bool CDC::FillRect(const RECT&, int) {
    return false;
}
bool CDC::InvertRect(const RECT&) {
    return false;
}
bool CDC::BitBlt(int, int, int, int, CDC*, int, int, DWORD) {
    return false;
}

CClientDC::CClientDC(CWnd* window) : m_pWnd(window) {
    try {
        m_pDC = window->GetDC();
    } catch (CMemoryException* failure) {
        failure->Delete();
    }
}

CClientDC::~CClientDC() {
    if (m_pDC)
        m_pWnd->ReleaseDC(m_pDC);
}
