#pragma once

#include "q32Base/framework/CArray.h"
#include "q32Base/framework/CCmdUI.h"
#include "q32Base/framework/CDocument.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/Export.h"

#include <cstdint>

/// Two bounded stacks of snapshots of one document, for undo and redo. The content of a snapshot is
/// up to the host; each has a 32-bit tag. The manager owns the snapshots in its stacks, and deletes
/// them through CObject's destructor. It keeps the document's modified flag consistent with the
/// history, and the Undo and Redo buttons and menu items up to date.
///
/// Before a change, call `fnAddUndoBuf` with a snapshot of the present state. To undo, if
/// `fnCanUndo`, pass a snapshot of the present state to `fnUndo` and restore the one that it
/// returns. Redo is the mirror image. A new change deliberately leaves the redo stack as it is:
/// call `fnRemoveAll`, or don't offer redo after a change.
///
/// Use on the thread of the document's user interface. Call `fnCreate` first.
class Q32_API CqUndoMngr {
public:
    /// Without a document, and with a capacity of 0, until `fnCreate`.
    CqUndoMngr() = default;
    ~CqUndoMngr();
    CqUndoMngr(const CqUndoMngr&) = delete;
    CqUndoMngr& operator=(const CqUndoMngr&) = delete;

    /// Sets the document and toolbar to keep up to date and the capacity of each stack. Either may
    /// be null; neither is owned, and both must outlive the manager, but the toolbar's window need
    /// not. The buttons of the toolbar are disabled even on failure.
    /// @return false, after message -1, if memory is exhausted; the capacity is then unchanged
    bool fnCreate(CDocument* pDocument, unsigned int nLevels, CToolBarCtrl* pToolBar);

    /// Deletes all snapshots and, if the toolbar's window still exists, disables its buttons. The
    /// document's flag is unchanged.
    void fnRemoveAll();

    /// Takes ownership of a snapshot as the newest to undo; a full stack deletes its oldest. With a
    /// capacity of 0 the snapshot itself is deleted.
    /// @param pBuf   may be null
    /// @param nData  the tag, truncated to 32 bits
    void fnAddUndoBuf(CObject* pBuf, unsigned long nData);

    /// Move one step back or forward. There must be one: check `fnCanUndo` or `fnCanRedo` first.
    /// @param pCurrent  snapshot of the present state, which the opposite stack then owns; if full,
    ///                  that deletes its oldest
    /// @param nData     its tag
    /// @param pData     receives the tag of the snapshot returned; may be null
    /// @return the snapshot to restore, owned by the caller
    CObject* fnUndo(CObject* pCurrent, unsigned long nData, unsigned long* pData);
    CObject* fnRedo(CObject* pCurrent, unsigned long nData, unsigned long* pData);

    /// The newest snapshot of the undo stack (true) or the redo stack (false), which must not be
    /// empty. Still owned by the manager.
    CObject* fnPeekLastBuf(bool bUndo) const;

    /// Whether there is a step to undo.
    bool fnCanUndo() const { return m_nUndoCount > 0; }
    /// Whether there is a step to redo.
    bool fnCanRedo() const { return m_nRedoCount > 0; }
    /// Capacity of each stack; 0 before `fnCreate`.
    unsigned int fnGetLevelNumber() const { return m_nLevels; }

    /// Changes the capacity. A stack that holds more deliberately keeps its oldest snapshots,
    /// unlike a full stack that takes one more; to keep others, undo as far as required first.
    /// @return false, after message -1, if memory is exhausted; nothing has changed then. Reducing
    ///         the levels allocates nothing.
    bool fnChangeLevel(unsigned int nLevels);

    /// Enables or disables the item of ID_EDIT_UNDO or ID_EDIT_REDO; any other is ignored.
    void fnUpdateMenu(CCmdUI* pCmdUI);

protected:
    /// Resizes the arrays to a capacity, without storing it in `m_nLevels`. Fails as
    /// `fnChangeLevel` does.
    bool fnCreateArray(unsigned int nLevels);
    /// Makes space for one more entry: a full stack deletes its oldest. The capacity must not be 0.
    void fnCheckArraySpace(CObArray& bufs, CDWordArray& data, unsigned int& nCount);

    std::uint32_t m_nLevels = 0;    ///< capacity of each stack
    std::uint32_t m_nUndoCount = 0; ///< snapshots in the undo stack
    std::uint32_t m_nRedoCount = 0; ///< snapshots in the redo stack

    // All arrays are of the capacity's size, oldest entry first. Entries at and above the count
    // are null or stale.

    CObArray m_UndoBufs;                ///< snapshots to undo
    CObArray m_RedoBufs;                ///< snapshots to redo
    CDWordArray m_UndoData;             ///< tags of those to undo
    CDWordArray m_RedoData;             ///< tags of those to redo
    CDocument* m_pDocument = nullptr;   ///< kept up to date; not owned; null: none
    CToolBarCtrl* m_pToolBar = nullptr; ///< kept up to date; not owned; null: none
    bool m_bDocModified = false; ///< the document's flag when the undo stack last became non-empty

private:
    bool fnTracksDocument() const { return m_pDocument && m_nLevels >= 2; }
    Q32_LOCAL void fnEnableButton(UINT command, bool on);
    Q32_LOCAL void fnPush(CObArray& bufs, CDWordArray& data, std::uint32_t& nCount, CObject* pBuf,
                          unsigned long nData);
    Q32_LOCAL static CObject* fnPop(CObArray& bufs, const CDWordArray& data, std::uint32_t& nCount,
                                    unsigned long* pData);
};
