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

/// How an edit ended: by the numbers of the picture files, so that one function tells them all to
/// the user.
using Outcome = CqPictureResult;

/// What the history knows of a change.
struct ChangeNote {
    std::string m_strName;
    bool m_bMoves = false; ///< pixels do not stay where they are: a selection would lie on others
    // The states between which it leads. What can be redone outlives new changes, so that it may
    // be done again on another picture than the one that it was made for.
    std::uint32_t m_nBefore = 0;
    std::uint32_t m_nAfter = 0;
};

/// A state of the picture that was left, and the change that it was left by.
class Snapshot : public CObject {
public:
    CqImage m_Image;
    ChangeNote m_Change;
};

/// A picture with its path, its history and its selection. Knows nothing of windows. Every edit
/// either happens whole and can be undone, or leaves the picture as it was: aborted, or out of
/// memory. Nothing here throws but the constructor, unless an edit of the caller's own does so for
/// another want than of memory.
///
/// Snapshots are whole pictures. They take their pixels where the memory policy wants them, so that
/// a history may be larger than memory; moving through it copies nothing.
class Document : public CDocument {
public:
    /// @param levels   steps that can be undone
    /// @param toolBar  kept in step by the undo manager; may be null, else outlives this
    explicit Document(unsigned int levels, CToolBarCtrl* toolBar = nullptr);

    bool fnHasImage() const { return m_Image.TileMap != nullptr; }
    CqImage& fnGetImage() { return m_Image; }
    const CqImage& fnGetImage() const { return m_Image; }
    /// Empty for a picture that was never saved.
    const std::string& fnGetPath() const { return m_strPath; }

    /// The file of that path holds more than the picture that was read from it, so that saving
    /// under this path would lose something.
    bool fnIsReduced() const { return m_bReduced; }
    /// A number that changes with the picture's pixels, size or depth; back at an earlier state it
    /// is that state's.
    std::uint32_t fnGetState() const { return m_nState; }

    /// Called after the picture, the selection, the history or the modified mark has changed. When
    /// it fails for want of memory, it has missed that change.
    void fnSetListener(std::function<void()> changed) { m_Changed = std::move(changed); }

    // Files. `progress` may be null.

    Outcome fnOpen(const std::string& path, CqProgressDisplay* progress);
    /// The format is told by the extension; -102 when it tells none that can be written. One that
    /// doesn't keep all of the picture takes a copy: path and modified mark stay then.
    Outcome fnSave(const std::string& path, CqProgressDisplay* progress);
    /// Whether the format of a path keeps all of the picture, its alpha too.
    bool fnKeepsAll(const char* path) const;
    /// A picture of one colour with 24 bits.
    Outcome fnNew(unsigned int width, unsigned int height, const CqColor& color,
                  CqProgressDisplay* progress);

    // Edits.

    using Edit = std::function<void(CqImage& image, CqProgressDisplay* progress)>;

    /// Does an operation, on the selection alone if there is one and the operation is local. With
    /// values that change nothing it is done at once, and no change. One that doesn't suit the
    /// picture is refused, like one that was stopped.
    Outcome fnApply(const Operation& operation, const Values& values, CqProgressDisplay* progress);
    /// Does any change to the picture that leaves pixels in place or changes its size or depth,
    /// under a name for the history.
    Outcome fnChange(const char* name, const Edit& edit, CqProgressDisplay* progress);
    /// The rectangle that holds what edits change: about the selection, or all of the picture
    /// without one.
    CRect fnGetEdited() const;
    /// Tiles a picture over the selection, or over all of the picture without one, which has 24 or
    /// 32 bits; the pattern takes on the same depth.
    /// @param corner  of a tile, counted from the corner of `fnGetEdited`
    Outcome fnFillPattern(CqImage& pattern, const CPoint& corner, CqProgressDisplay* progress);
    /// Cuts off all that lies outside of the selection's rectangle. Without a selection it is
    /// refused, like one that was stopped; with one that reaches to all edges it is no change.
    Outcome fnCrop(CqProgressDisplay* progress);
    /// Draws a line through two points or a curve by four, as fnDrawPath does, inside the selection
    /// alone if there is one.
    Outcome fnDraw(std::span<const CqPoint2D> points, const CqColor& color,
                   CqProgressDisplay* progress);

    // History.

    bool fnCanUndo() const { return m_Undo.fnCanUndo(); }
    bool fnCanRedo() const { return m_Undo.fnCanRedo(); }
    /// Name of the change that would be undone or done again; there must be one.
    const std::string& fnGetUndoName() const { return fnPeek(true).m_Change.m_strName; }
    const std::string& fnGetRedoName() const { return fnPeek(false).m_Change.m_strName; }
    void fnUndo() { fnTravel(true); }
    void fnRedo() { fnTravel(false); }
    /// Has the undo manager tell a menu item how it has to look.
    void fnUpdateMenu(CCmdUI& item) { m_Undo.fnUpdateMenu(&item); }
    unsigned int fnGetLevels() const { return m_Undo.fnGetLevelNumber(); }
    /// Fewer levels keep the newest steps. False, after the library's message, when memory ran out.
    bool fnSetLevels(unsigned int levels);

    // Selection: a mask of 0 and 255 in the picture's coordinates. It goes with any change that
    // moves pixels or gives the picture another size or depth. At depths that edits can't be kept
    // to a selection at, there is none: making one is refused, like one that was stopped.

    bool fnHasSelection() const { return m_Selection && !m_Selection->m_rectBound.IsRectEmpty(); }
    /// There must be one.
    CqMask& fnGetSelection() { return *m_Selection; }
    /// A number that changes with the selection.
    std::uint32_t fnGetSelectionSerial() const { return m_nSelectionSerial; }
    /// Edits can be kept to a selection at this depth.
    bool fnCanSelect() const { return fnHasImage() && m_Image.BitCount == 24; }
    using Combine = darkroom::Combine;
    /// Takes a mask of 0 and 255 into the selection; one with an empty rectangle is nothing.
    Outcome fnSelect(CqMask& mask, Combine how, CqProgressDisplay* progress);
    /// By a shape's points, or by a colour and how far each channel may differ. A shape that covers
    /// no pixel selects nothing.
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
    /// @param moves  pixels don't stay where they are
    Outcome fnDo(const char* name, bool moves, const Edit& edit, CqProgressDisplay* progress);
    /// A change of the selection, or of all the picture without one.
    /// @param reach  pixels about each pixel that the edit looks at; kInPlace: none, but it works
    /// by
    ///               the picture's coordinates
    Outcome fnChangeSelected(const char* name, int reach, const Edit& edit,
                             CqProgressDisplay* progress);
    /// @param make  makes the mask: bool(CqMask&, CqProgressDisplay*)
    template <typename Make>
    Outcome fnSelectMade(Make&& make, Combine how, CqProgressDisplay* progress);
    void fnDropSelection();
    bool fnIsLimited() const { return fnHasSelection() && fnCanSelect(); }
    void fnKeepToSelection(int reach, const Edit& edit, CqProgressDisplay* progress);

    CqImage m_Image;
    std::optional<CqMask> m_Selection; ///< even to make an empty mask may fail
    std::uint32_t m_nSelectionSerial = 0;
    std::string m_strPath;
    bool m_bReduced = false;
    bool m_bModified = false;
    // States are numbered. The number goes with the snapshots as their tag, so that the modified
    // mark is right wherever in the history the picture was saved.
    std::uint32_t m_nState = 0;
    std::uint32_t m_nLastState = 0;
    std::uint32_t m_nSavedState = 0;
    std::function<void()> m_Changed;
    History m_Undo; ///< last, so that it goes first: it may look at this document
};

} // namespace darkroom
