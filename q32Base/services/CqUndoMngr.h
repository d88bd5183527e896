#pragma once

#include "q32Base/framework/CArray.h"
#include "q32Base/framework/CCmdUI.h"
#include "q32Base/framework/CDocument.h"
#include "q32Base/framework/Windows.h"

#include <cstdint>

/// Two bounded stacks of snapshots for one document: what can be undone and what can be redone.
/// What a snapshot holds is the host's business; a 32-bit tag goes with each. The manager owns the
/// snapshots in its stacks, and deletes them through CObject's destructor. It keeps the document's
/// modified flag true to the history, and the Undo and Redo buttons and menu items in step.
///
/// Before a change: `fnAddUndoBuf` with a snapshot of the state before it. To undo: if `fnCanUndo`,
/// a snapshot of the present state goes to `fnUndo`, and what comes back is the state to restore.
/// Redo is the mirror image. A new change leaves what can be redone in place, deliberately.
///
/// All on the thread of the document's user interface. `fnCreate` comes first.
class Q32_API CqUndoMngr {
public:
    CqUndoMngr() = default;
    ~CqUndoMngr();
    CqUndoMngr(const CqUndoMngr&) = delete;
    CqUndoMngr& operator=(const CqUndoMngr&) = delete;

    /// Sets the document and toolbar to keep in step and the capacity of each stack. Either may be
    /// null; neither is owned, and both must outlive the manager, but the toolbar's window need
    /// not. The buttons of the toolbar are disabled whatever comes of it.
    /// @return false, after message -1, when memory ran out; the capacity is then as it was
    bool fnCreate(CDocument* pDocument, unsigned int nLevels, CToolBarCtrl* pToolBar);

    /// Deletes all snapshots and, if the toolbar's window still exists, disables its buttons. The
    /// document's flag stays.
    void fnRemoveAll();

    /// Takes a snapshot over as the newest to undo; a full stack deletes its oldest. With a
    /// capacity of 0 the snapshot itself is deleted.
    /// @param pBuf   may be null
    /// @param nData  the tag; its low 32 bits count
    void fnAddUndoBuf(CObject* pBuf, unsigned long nData);

    /// Moves one step back or forth. There must be one: ask `fnCanUndo` or `fnCanRedo` first.
    /// @param pCurrent  snapshot of the present state, taken over by the opposite stack, which
    ///                  deletes its oldest when it is full
    /// @param nData     its tag
    /// @param pData     receives the tag of the snapshot returned; may be null
    /// @return the snapshot to restore, which passes to the caller
    CObject* fnUndo(CObject* pCurrent, unsigned long nData, unsigned long* pData);
    CObject* fnRedo(CObject* pCurrent, unsigned long nData, unsigned long* pData);

    /// The newest snapshot of the undo stack (true) or the redo stack (false), which must not be
    /// empty. The manager keeps it.
    CObject* fnPeekLastBuf(bool bUndo) const;

    bool fnCanUndo() const { return m_nUndoCount > 0; }
    bool fnCanRedo() const { return m_nRedoCount > 0; }
    unsigned int fnGetLevelNumber() const { return m_nLevels; }

    /// Changes the capacity. A stack that holds more keeps its oldest snapshots, deliberately,
    /// whereas a full stack that takes one more keeps its newest.
    /// @return false, after message -1, when memory ran out; all is then as it was. Fewer levels
    ///         need none.
    bool fnChangeLevel(unsigned int nLevels);

    /// Enables or disables the item of ID_EDIT_UNDO or ID_EDIT_REDO; any other is left alone.
    void fnUpdateMenu(CCmdUI* pCmdUI);

protected:
    /// Fits the arrays to a capacity, without taking it over into `m_nLevels`. Fails as
    /// `fnChangeLevel` does.
    bool fnCreateArray(unsigned int nLevels);
    /// Makes room for one more entry: a full stack deletes its oldest. There must be a capacity.
    void fnCheckArraySpace(CObArray& bufs, CDWordArray& data, unsigned int& nCount);

    std::uint32_t m_nLevels = 0; ///< capacity of each stack
    std::uint32_t m_nUndoCount = 0;
    std::uint32_t m_nRedoCount = 0;
    // All arrays are of the capacity's size, oldest entry first. Entries at and above the count
    // are null or stale.
    CObArray m_UndoBufs;
    CObArray m_RedoBufs;
    CDWordArray m_UndoData;
    CDWordArray m_RedoData;
    CDocument* m_pDocument = nullptr;
    CToolBarCtrl* m_pToolBar = nullptr;
    bool m_bDocModified = false; ///< the document's flag when the undo stack last left empty

private:
    bool fnTracksDocument() const { return m_pDocument && m_nLevels >= 2; }
    void fnEnableButton(UINT command, bool on);
    void fnPush(CObArray& bufs, CDWordArray& data, std::uint32_t& nCount, CObject* pBuf,
                unsigned long nData);
    static CObject* fnPop(CObArray& bufs, const CDWordArray& data, std::uint32_t& nCount,
                          unsigned long* pData);
};
