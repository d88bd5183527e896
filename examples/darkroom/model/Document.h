#pragma once

#include "examples/darkroom/model/History.h"
#include "examples/darkroom/model/Masks.h"
#include "examples/darkroom/model/Operation.h"
#include "examples/darkroom/model/Shapes.h"
#include "plugins/PictureFile.h"
#include "q32Base/framework/CDocument.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqMask.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

class CqProgressDisplay;

namespace darkroom {

/// The outcome of an edit, in the result codes of the picture files, so that one function reports
/// both to the user.
using Outcome = CqPictureResult;

/// What the history knows about a change.
struct ChangeNote {
    std::string m_strName;
    bool m_bMoves = false; ///< pixels move, so a selection would cover different ones
    // The states before and after it. A redoable change survives new changes, so it may be redone
    // on a picture other than the one it was made on.
    std::uint32_t m_nBefore = 0;
    std::uint32_t m_nAfter = 0;
};

/// A state of the picture that was left, and the change that led away from it.
class Snapshot : public CObject {
public:
    CqImage m_Image;
    ChangeNote m_Change;
};

/// A picture with its path, history and selection. Knows nothing about windows. Every edit either
/// succeeds and can be undone, or leaves the picture unchanged: aborted or out of memory. Nothing
/// throws except the constructor and edits of the caller that fail for a reason other than memory.
///
/// Snapshots are complete pictures. Their pixels are allocated as the memory policy decides, so a
/// history may be larger than memory; moving through it copies nothing.
class Document : public CDocument {
public:
    /// @param levels   number of steps that can be undone
    /// @param toolBar  updated by the undo manager; may be null, must otherwise outlive this
    explicit Document(unsigned int levels, CToolBarCtrl* toolBar = nullptr);

    bool fnHasImage() const { return m_Image.TileMap != nullptr; }
    CqImage& fnGetImage() { return m_Image; }
    const CqImage& fnGetImage() const { return m_Image; }
    /// Empty for a picture that has never been saved.
    const std::string& fnGetPath() const { return m_strPath; }

    /// The file at that path holds more than the picture read from it, so saving to this path would
    /// lose something.
    bool fnIsReduced() const { return m_bReduced; }
    /// A number that changes with the picture's pixels, size or depth; returning to an earlier
    /// state restores that state's number.
    std::uint32_t fnGetState() const { return m_nState; }

    /// Called after the picture, the selection, the history or the modified mark has changed. If
    /// the listener runs out of memory, it misses that change.
    void fnSetListener(std::function<void()> changed) { m_Changed = std::move(changed); }

    // Files. `progress` may be null.

    Outcome fnOpen(const std::string& path, CqProgressDisplay* progress);
    /// The extension selects the format; -102 if it names none that can be written. A format that
    /// can't hold everything saves a copy: path and modified mark stay unchanged.
    Outcome fnSave(const std::string& path, CqProgressDisplay* progress);
    /// Whether the format of a path preserves all of the picture, including its alpha.
    bool fnKeepsAll(const char* path) const;
    /// A single-colour picture of 24 bits.
    Outcome fnNew(unsigned int width, unsigned int height, const CqColor& color,
                  CqProgressDisplay* progress);

    // Edits.

    using Edit = std::function<void(CqImage& image, CqProgressDisplay* progress)>;

    /// Runs an operation, limited to the selection if there is one and the operation is local.
    /// Values that change nothing succeed at once and record no change. An operation that doesn't
    /// suit the picture ends like an aborted one.
    Outcome fnApply(const Operation& operation, const Values& values, CqProgressDisplay* progress);
    /// Runs any change that leaves pixels in place or changes the picture's size or depth, recorded
    /// in the history under a name.
    Outcome fnChange(const char* name, const Edit& edit, CqProgressDisplay* progress);
    /// The rectangle that edits change: around the selection, or the entire picture if there is
    /// none.
    CRect fnGetEdited() const;
    /// Tiles a picture over the selection, or over the entire picture if there is none. The picture
    /// has 24 or 32 bits; the pattern is converted to its depth.
    /// @param corner  of a tile, relative to the corner of `fnGetEdited`
    Outcome fnFillPattern(CqImage& pattern, const CPoint& corner, CqProgressDisplay* progress);
    /// Removes everything outside the selection's rectangle. Without a selection it ends like an
    /// aborted edit; if the selection reaches all edges, nothing changes.
    Outcome fnCrop(CqProgressDisplay* progress);
    /// Draws a line through two points or a curve through four, as fnDrawPath does, limited to the
    /// selection if there is one.
    Outcome fnDraw(std::span<const CqPoint2D> points, const CqColor& color,
                   CqProgressDisplay* progress);

    // History.

    bool fnCanUndo() const { return m_Undo.fnCanUndo(); }
    bool fnCanRedo() const { return m_Undo.fnCanRedo(); }
    /// Name of the change that would be undone or redone; there must be one.
    const std::string& fnGetUndoName() const { return fnPeek(true).m_Change.m_strName; }
    const std::string& fnGetRedoName() const { return fnPeek(false).m_Change.m_strName; }
    void fnUndo() { fnTravel(true); }
    void fnRedo() { fnTravel(false); }
    /// Has the undo manager set the state of a menu item.
    void fnUpdateMenu(CCmdUI& item) { m_Undo.fnUpdateMenu(&item); }
    unsigned int fnGetLevels() const { return m_Undo.fnGetLevelNumber(); }
    /// Reducing the number keeps the newest steps. False, after the library's message, when memory
    /// is exhausted.
    bool fnSetLevels(unsigned int levels);

    // Selection: a mask of 0 and 255 in the picture's coordinates. Any change that moves pixels or
    // alters the size or depth removes it. At depths where edits can't be limited to a selection
    // there is none: making one ends like an aborted edit.

    bool fnHasSelection() const { return m_Selection && !m_Selection->m_rectBound.IsRectEmpty(); }
    /// There must be one.
    CqMask& fnGetSelection() { return *m_Selection; }
    /// A number that changes with the selection.
    std::uint32_t fnGetSelectionSerial() const { return m_nSelectionSerial; }
    /// Edits can be limited to a selection at this depth.
    bool fnCanSelect() const { return fnHasImage() && m_Image.BitCount == 24; }
    using Combine = darkroom::Combine;
    /// Combines a mask of 0 and 255 with the selection; an empty rectangle means no pixels.
    Outcome fnSelect(CqMask& mask, Combine how, CqProgressDisplay* progress);
    /// By a shape's points, or by a colour and a tolerance per channel. A shape that covers no
    /// pixel selects nothing.
    Outcome fnSelectShape(ShapeKind shape, std::span<const CqPoint2D> points, Combine how,
                          CqProgressDisplay* progress);
    Outcome fnSelectColor(const CqColor& color, int tolerance, Combine how,
                          CqProgressDisplay* progress);
    void fnSelectNone();

    // CDocument.
    int IsModified() override { return m_bModified ? 1 : 0; }
    void SetModifiedFlag(bool modified) override;

private:
    const Snapshot& fnPeek(bool undo) const {
        return *static_cast<const Snapshot*>(m_Undo.fnPeekLastBuf(undo));
    }
    void fnTravel(bool back);
    void fnReset(std::string path, bool reduced);
    void fnTell() const;
    static constexpr int kInPlace = -1;
    /// Any change.
    /// @param moves  pixels move
    Outcome fnDo(const char* name, bool moves, const Edit& edit, CqProgressDisplay* progress);
    /// A change to the selection, or to the entire picture if there is none.
    /// @param reach  pixels around each pixel that the edit reads; kInPlace: none, but the edit
    /// depends on the picture's coordinates
    Outcome fnChangeSelected(const char* name, int reach, const Edit& edit,
                             CqProgressDisplay* progress);
    /// @param make  makes the mask: bool(CqMask&, CqProgressDisplay*)
    template <typename Make>
    Outcome fnSelectMade(Make&& make, Combine how, CqProgressDisplay* progress);
    void fnDropSelection();
    bool fnIsLimited() const { return fnHasSelection() && fnCanSelect(); }
    void fnKeepToSelection(int reach, const Edit& edit, CqProgressDisplay* progress);

    CqImage m_Image;
    std::optional<CqMask> m_Selection; ///< even an empty mask may fail to be allocated
    std::uint32_t m_nSelectionSerial = 0;
    std::string m_strPath;
    bool m_bReduced = false;
    bool m_bModified = false;
    // States are numbered. Snapshots carry the number as their tag, so the modified mark is right
    // wherever in the history the picture was saved.
    std::uint32_t m_nState = 0;
    std::uint32_t m_nLastState = 0;
    std::uint32_t m_nSavedState = 0;
    std::function<void()> m_Changed;
    History m_Undo; ///< last, so that it is destroyed first: it may access this document
};

} // namespace darkroom
