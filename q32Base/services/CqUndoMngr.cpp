#include "q32Base/services/CqUndoMngr.h"

#include "q32Base/messages/ReportMemory.h"

#include <cassert>
#include <climits>

namespace {

/// Deletes the snapshots from index `first` on.
void fnDeleteFrom(std::uint32_t first, CObArray& bufs, std::uint32_t& count) {
    for (std::uint32_t i = first; i < count; ++i) {
        delete bufs[static_cast<int>(i)];
        bufs[static_cast<int>(i)] = nullptr;
    }
    count = first < count ? first : count;
}

} // namespace

CqUndoMngr::~CqUndoMngr() {
    fnRemoveAll();
}

bool CqUndoMngr::fnCreate(CDocument* pDocument, unsigned int nLevels, CToolBarCtrl* pToolBar) {
    m_pDocument = pDocument;
    m_pToolBar = pToolBar;
    const bool created = fnChangeLevel(nLevels);
    fnEnableButton(ID_EDIT_UNDO, false);
    fnEnableButton(ID_EDIT_REDO, false);
    return created;
}

bool CqUndoMngr::fnChangeLevel(unsigned int nLevels) {
    if (!fnCreateArray(nLevels))
        return false;
    m_nLevels = nLevels;
    return true;
}

bool CqUndoMngr::fnCreateArray(unsigned int nLevels) {
    if (nLevels == m_nLevels)
        return true;
    fnDeleteFrom(nLevels, m_UndoBufs, m_nUndoCount);
    fnDeleteFrom(nLevels, m_RedoBufs, m_nRedoCount);
    return q32::fnReportMemory([&] {
        if (nLevels > INT_MAX)
            AfxThrowMemoryException();
        const int size = static_cast<int>(nLevels);
        m_UndoBufs.SetSize(size, -1);
        m_RedoBufs.SetSize(size, -1);
        m_UndoData.SetSize(size, -1);
        m_RedoData.SetSize(size, -1);
    });
}

void CqUndoMngr::fnCheckArraySpace(CObArray& bufs, CDWordArray& data, unsigned int& nCount) {
    assert(m_nLevels > 0);
    if (nCount != m_nLevels)
        return;
    delete bufs[0];
    --nCount;
    for (int i = 0; i < static_cast<int>(nCount); ++i) {
        bufs[i] = bufs[i + 1];
        data[i] = data[i + 1];
    }
}

void CqUndoMngr::fnPush(CObArray& bufs, CDWordArray& data, std::uint32_t& nCount, CObject* pBuf,
                        unsigned long nData) {
    fnCheckArraySpace(bufs, data, nCount);
    assert(nCount < m_nLevels);
    const int top = static_cast<int>(nCount++);
    bufs[top] = pBuf;
    data[top] = static_cast<std::uint32_t>(nData);
}

CObject* CqUndoMngr::fnPop(CObArray& bufs, const CDWordArray& data, std::uint32_t& nCount,
                           unsigned long* pData) {
    assert(nCount > 0);
    const int top = static_cast<int>(--nCount);
    CObject* taken = bufs[top];
    bufs[top] = nullptr;
    if (pData)
        *pData = data[top];
    return taken;
}

void CqUndoMngr::fnAddUndoBuf(CObject* pBuf, unsigned long nData) {
    if (m_nLevels == 0) {
        delete pBuf;
        return;
    }
    if (m_nUndoCount == 0 && fnTracksDocument())
        m_bDocModified = m_pDocument->IsModified() == 1;
    fnPush(m_UndoBufs, m_UndoData, m_nUndoCount, pBuf, nData);
    fnEnableButton(ID_EDIT_UNDO, true);
}

CObject* CqUndoMngr::fnUndo(CObject* pCurrent, unsigned long nData, unsigned long* pData) {
    fnPush(m_RedoBufs, m_RedoData, m_nRedoCount, pCurrent, nData);
    CObject* taken = fnPop(m_UndoBufs, m_UndoData, m_nUndoCount, pData);
    if (m_nUndoCount == 0 && fnTracksDocument())
        m_pDocument->SetModifiedFlag(m_bDocModified);
    fnEnableButton(ID_EDIT_UNDO, fnCanUndo());
    fnEnableButton(ID_EDIT_REDO, true);
    return taken;
}

CObject* CqUndoMngr::fnRedo(CObject* pCurrent, unsigned long nData, unsigned long* pData) {
    if (m_nUndoCount == 0 && fnTracksDocument())
        m_pDocument->SetModifiedFlag(true);
    fnPush(m_UndoBufs, m_UndoData, m_nUndoCount, pCurrent, nData);
    CObject* taken = fnPop(m_RedoBufs, m_RedoData, m_nRedoCount, pData);
    fnEnableButton(ID_EDIT_UNDO, true);
    fnEnableButton(ID_EDIT_REDO, fnCanRedo());
    return taken;
}

CObject* CqUndoMngr::fnPeekLastBuf(bool bUndo) const {
    const std::uint32_t count = bUndo ? m_nUndoCount : m_nRedoCount;
    assert(count > 0);
    return (bUndo ? m_UndoBufs : m_RedoBufs)[static_cast<int>(count) - 1];
}

void CqUndoMngr::fnRemoveAll() {
    if (m_nLevels == 0)
        return;
    fnDeleteFrom(0, m_UndoBufs, m_nUndoCount);
    fnDeleteFrom(0, m_RedoBufs, m_nRedoCount);
    // Also called by the destructor, when the toolbar's window may be gone.
    if (m_pToolBar && m_pToolBar->IsWindow()) {
        fnEnableButton(ID_EDIT_UNDO, false);
        fnEnableButton(ID_EDIT_REDO, false);
    }
}

void CqUndoMngr::fnUpdateMenu(CCmdUI* pCmdUI) {
    if (pCmdUI->m_nID == ID_EDIT_UNDO)
        pCmdUI->Enable(fnCanUndo());
    else if (pCmdUI->m_nID == ID_EDIT_REDO)
        pCmdUI->Enable(fnCanRedo());
}

void CqUndoMngr::fnEnableButton(UINT command, bool on) {
    if (m_pToolBar)
        m_pToolBar->SendMessage(TB_ENABLEBUTTON, command, on ? 1 : 0);
}
