#include "q32Base/framework/Windows.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

#include <cassert>
#include <utility>

CWnd::~CWnd() {
    fnDestroyChildren();
    fnSetParent(nullptr);
}

void CWnd::fnSetParent(CWnd* parent) {
    if (m_pParent) {
        CWnd** place = &m_pParent->m_pFirstChild;
        while (*place != this) {
            assert(*place); // a window is among its parent's children
            place = &(*place)->m_pNextChild;
        }
        *place = m_pNextChild;
    }
    assert(parent != this);
    m_pParent = parent;
    m_pNextChild = nullptr;
    if (parent)
        m_pNextChild = std::exchange(parent->m_pFirstChild, this);
}

void CWnd::fnDestroyChildren() {
    while (CWnd* child = m_pFirstChild) {
        child->DestroyWindow();
        // A child that wasn't destroyed is detached, or the loop wouldn't end.
        if (child == m_pFirstChild)
            child->fnSetParent(nullptr);
    }
}

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
    q32::fnTryMemory([&] { m_pDC = window->GetDC(); });
}

CClientDC::~CClientDC() {
    if (m_pDC)
        m_pWnd->ReleaseDC(m_pDC);
}
bool CDC::GetClipBox(RECT*) const {
    return false;
}
