#pragma once

#include "examples/darkroom/model/History.h"
#include "examples/darkroom/model/Masks.h"
#include "examples/darkroom/model/Operation.h"
#include "examples/darkroom/model/Outcome.h"
#include "examples/darkroom/model/Shapes.h"
#include "examples/darkroom/model/Step.h"
#include "plugins/PictureFile.h"
#include "q32Base/framework/CDocument.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/operations/Histogram.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

class CqProgressDisplay;

namespace darkroom {

/// What is known about a picture's file besides the pixels.
struct FileFacts {
    CqPictureMetadata m_Metadata;
    std::uint32_t m_nExtras = 0; ///< a set of FileExtra
    bool m_bReduced = false;     ///< it holds more than the picture and the metadata
    bool m_bPartial = false;     ///< only a part of it could be read
};

/// A picture with its path, history and selection. Knows nothing about windows. Every edit either
/// succeeds and can be undone, or leaves the picture unchanged: aborted or out of memory. Nothing
/// throws except the constructor and edits of the caller that fail for a reason other than memory.
///
/// A step of the history holds the tiles that its change touches, or the complete picture. Pixels
/// are allocated as the memory policy decides, so a history may be larger than memory. When memory
/// and scratch disks are full, these are dropped to make room, in this order: steps that can be
/// redone, the last one first; undone selections; the oldest former selections; the oldest steps.
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
    /// Where a recovered picture was before, if that is known; empty for any other.
    const std::string& fnGetFormerPath() const { return m_strFormerPath; }

    /// The file at that path holds more than the picture read from it, so saving to this path would
    /// lose something.
    bool fnIsReduced() const { return m_bReduced; }
    /// What that is, as far as it is known: a set of FileExtra.
    std::uint32_t fnGetExtras() const { return m_bReduced ? m_nExtras : 0; }
    /// What the picture's file said about it. Saving keeps it, as far as the format can.
    const CqPictureMetadata& fnGetMetadata() const { return m_Metadata; }
    FileFacts fnGetFileFacts() const;
    /// Sets them to those of another file, for a picture that lies upright.
    void fnSetFileFacts(FileFacts facts) noexcept;
    /// Only a part of the picture's file could be read.
    bool fnIsPartial() const { return m_bPartial; }
    /// A number that changes with the picture's pixels, size or depth; returning to an earlier
    /// state restores that state's number.
    std::uint32_t fnGetState() const { return m_nState; }

    /// Called after the picture, the selection, the history or the modified mark has changed. If
    /// the listener runs out of memory, it misses that change.
    void fnSetListener(std::function<void()> changed) { m_Changed = std::move(changed); }

    // Files. `progress` may be null.

    /// Opens a picture, and rotates and flips it as its file says it is to be shown.
    /// @param partial  reads a damaged file as far as it goes
    Outcome fnOpen(const std::string& path, CqProgressDisplay* progress, bool partial = false);
    /// The format in which a path would be saved: that of its content for the picture's own path,
    /// otherwise that of the extension. Null if it names none that can be written.
    const CqPictureFormat* fnFindFormat(const char* path) const;
    /// -102 without a format. A format that can't hold everything saves a copy: path and modified
    /// mark stay unchanged.
    Outcome fnSave(const std::string& path, CqProgressDisplay* progress,
                   const CqPictureOptions& options = {});
    /// What a file at a path would lack of the metadata, and the picture's own one doesn't lack
    /// already: a set of FileExtra. May throw std::bad_alloc.
    std::uint32_t fnFindLostMetadata(const char* path) const;
    /// Whether a save to a path preserves all of the picture, including its alpha.
    bool fnKeepsAll(const char* path) const;
    /// A single-colour picture of 24 bits.
    Outcome fnNew(unsigned int width, unsigned int height, const CqColor& color,
                  CqProgressDisplay* progress);
    /// Takes over a picture with storage as a new one that isn't saved.
    Outcome fnTakeNew(CqImage& image);

    /// Runs a task that needs space for pixels, again and again while that is short and there are
    /// steps to drop.
    /// @param work  Outcome(); may raise the memory exception
    template <typename Work>
    Outcome fnWithRoom(Work&& work) {
        Outcome outcome;
        do
            outcome = fnGuard(work);
        while (outcome.m_nMsgId == MESSAGE_NO_MEMORY && outcome.m_eLimit == PICTURE_LIMIT_NONE &&
               fnDropStep());
        return outcome;
    }

    // Edits.

    using Edit = std::function<void(CqImage& image, CqProgressDisplay* progress)>;

    /// Runs an operation, limited to the selection if there is one and the operation is local.
    /// Values that change nothing succeed at once and record no change. An operation that doesn't
    /// suit the picture ends like an aborted one.
    Outcome fnApply(const Operation& operation, const Values& values, CqProgressDisplay* progress);
    /// Runs a change that leaves pixels in place, recorded in the history under a name. The edit
    /// runs again if steps had to be dropped to make room.
    /// @param part  changes only pixels of this rectangle
    Outcome fnChange(const char* name, const CRect& part, const Edit& edit,
                     CqProgressDisplay* progress);
    /// The rectangle that edits change: around the selection, or the entire picture if there is
    /// none.
    CRect fnGetEdited() const;
    /// Tiles a picture over the selection, or over the entire picture if there is none. The picture
    /// has 24 or 32 bits; the pattern is converted to its depth.
    /// @param corner  of a tile, relative to the corner of `fnGetEdited`
    Outcome fnFillPattern(CqImage& pattern, const CPoint& corner, CqProgressDisplay* progress);
    /// Copies the selection, or all of the picture if there is none. What isn't selected of its
    /// rectangle is transparent, so the copy of any but a full rectangle has 32 bits.
    Outcome fnCopy(CqImage& copy, CqProgressDisplay* progress);
    /// Makes the selection, or all of the picture, transparent, or white at depths without alpha.
    Outcome fnErase(CqProgressDisplay* progress);
    /// Removes everything outside the selection's rectangle. Without a selection it ends like an
    /// aborted edit; if the selection reaches all edges, nothing changes.
    Outcome fnCrop(CqProgressDisplay* progress);
    /// Draws a line through two points or a curve through four, as fnDrawPath does, limited to the
    /// selection if there is one.
    Outcome fnDraw(std::span<const CqPoint2D> points, const Pen& pen, CqProgressDisplay* progress);

    /// Counts how often each value occurs in the selection, or in all of the picture.
    Outcome fnCountHistogram(CqProgressDisplay* progress);
    /// What was counted last, if neither picture nor selection have changed since; null otherwise.
    const CqHistogram* fnGetHistogram() const;

    // History.

    bool fnCanUndo() const { return m_Undo.fnCanUndo(); }
    bool fnCanRedo() const { return m_Undo.fnCanRedo(); }
    /// Name of the change that would be undone or redone; there must be one.
    const std::string& fnGetUndoName() const { return fnPeek(true).fnGetName(); }
    const std::string& fnGetRedoName() const { return fnPeek(false).fnGetName(); }
    /// Aborted when there is nothing to undo or redo, or by the user: everything is as before.
    /// `progress` may be null.
    Outcome fnUndo(CqProgressDisplay* progress = nullptr) { return fnTravel(true, progress); }
    Outcome fnRedo(CqProgressDisplay* progress = nullptr) { return fnTravel(false, progress); }
    /// Bytes of pixels that undoing or redoing would copy.
    std::uint64_t fnGetTravelBytes(bool back) const;
    /// The names of all steps, from the oldest, and how many of them have been done.
    std::vector<std::string> fnListSteps() const { return m_Undo.fnListNames(); }
    unsigned int fnCountDone() const { return m_Undo.fnCountDone(); }
    /// Has the undo manager set the state of a menu item.
    void fnUpdateMenu(CCmdUI& item) { m_Undo.fnUpdateMenu(&item); }
    unsigned int fnGetLevels() const { return m_Undo.fnGetLevelNumber(); }
    /// Reducing the number keeps the newest steps. False, after the library's message, when memory
    /// is exhausted.
    bool fnSetLevels(unsigned int levels);
    /// Number of steps dropped to make room since the last call, selections included.
    unsigned int fnTakeDropped() { return std::exchange(m_nDropped, 0); }
    /// The rectangles in which the present state differs from another one; none when that isn't
    /// known: any pixel may differ, or the size and depth. May throw std::bad_alloc.
    std::optional<std::vector<CRect>> fnFindChanges(std::uint32_t state) const;

    // Selection: a mask of weights up to 255 in the picture's coordinates. Any change that moves
    // pixels or alters the size or depth removes it. At depths where edits can't be limited to a
    // selection there is none: making one ends like an aborted edit.

    bool fnHasSelection() const { return m_Selection && !m_Selection->m_rectBound.IsRectEmpty(); }
    /// There must be one.
    CqMask& fnGetSelection() { return *m_Selection; }
    /// A number that changes with the selection.
    std::uint32_t fnGetSelectionSerial() const { return m_nSelectionSerial; }
    /// Edits can be limited to a selection at this depth.
    bool fnCanSelect() const {
        return fnHasImage() &&
               (m_Image.BitCount == 8 ? m_Image.fnIsGrayScale() : m_Image.BitCount >= 24);
    }
    using Combine = darkroom::Combine;
    /// Combines a mask of weights with the selection; an empty rectangle means no pixels.
    Outcome fnSelect(CqMask& mask, Combine how, CqProgressDisplay* progress);
    /// By a shape's points, or by a colour and a tolerance per channel. A shape that covers no
    /// pixel selects nothing.
    /// @param smooth  gives pixels at the edge the share of them that is inside, as fnMakeShapeMask
    Outcome fnSelectShape(ShapeKind shape, std::span<const CqPoint2D> points, Combine how,
                          CqProgressDisplay* progress, bool smooth = false);
    Outcome fnSelectColor(const CqColor& color, int tolerance, Combine how,
                          CqProgressDisplay* progress);
    Outcome fnSelectAll(CqProgressDisplay* progress);
    /// Makes the selection's edge soft: blurs its weights. Without a selection it ends like an
    /// aborted edit.
    /// @param sigma  standard deviation, in pixels
    Outcome fnFeather(double sigma, CqProgressDisplay* progress);
    /// Selects what isn't selected.
    Outcome fnInvertSelection(CqProgressDisplay* progress);
    /// Moves and scales the selection into a rectangle, as fnPlaceMask does; without a selection,
    /// selects the rectangle. An empty rectangle selects nothing.
    Outcome fnPlaceSelection(const CRect& place, CqProgressDisplay* progress);
    void fnSelectNone();

    /// Selections since the last change of the picture can be undone. Those before can't: undoing
    /// that change comes first.
    bool fnCanUndoSelection() const { return !m_Former.empty(); }
    bool fnCanRedoSelection() const { return !m_Later.empty(); }
    void fnUndoSelection() { fnTravelSelection(m_Former, m_Later); }
    void fnRedoSelection() { fnTravelSelection(m_Later, m_Former); }

    // CDocument.
    /// Makes the picture one that has never been saved: nothing of the history is the state of a
    /// file.
    /// @param former  where it is known to have been before
    void fnMarkUnsaved(std::string former = {});
    int IsModified() override { return m_bModified ? 1 : 0; }
    void SetModifiedFlag(bool modified) override;

private:
    /// A change to the picture.
    struct Change {
        const char* m_pszName;
        bool m_bMoves = false;                       ///< pixels move
        std::optional<Tiles> m_Tiles = std::nullopt; ///< that may change; none: all
        bool m_bClips = false; ///< what the edit does outside the selection is taken back
    };
    using Selections = std::vector<std::unique_ptr<CqMask>>; ///< null: nothing selected

    Step& fnPeek(bool undo) const { return *static_cast<Step*>(m_Undo.fnPeekLastBuf(undo)); }
    Outcome fnTravel(bool back, CqProgressDisplay* progress);
    void fnReset(std::string path, bool reduced);
    void fnTakePixels(CqImage& fresh) noexcept;
    void fnNotify() const;
    /// Drops one step or selection of the history if space is short. False otherwise.
    bool fnDropStep();
    Outcome fnDo(const Change& change, const Edit& edit, CqProgressDisplay* progress);
    Outcome fnTry(const Change& change, const Edit& edit, CqProgressDisplay* progress);
    void fnNoteStep(const Step& step, std::uint32_t before) noexcept;
    /// A change to the selection, or to the entire picture if there is none.
    /// @param reach  pixels around each pixel that the edit reads
    Outcome fnChangeSelected(const char* name, int reach, const Edit& edit,
                             CqProgressDisplay* progress);
    bool fnIsLimited() const { return fnHasSelection() && fnCanSelect(); }
    void fnKeepToSelection(int reach, const Edit& edit, CqProgressDisplay* progress);

    // DocumentSelection.cpp
    /// @param make  makes the selection: bool(CqMask& made, CqProgressDisplay*), false when the
    /// user aborted it
    template <typename Make>
    Outcome fnReplaceSelection(Make&& make, CqProgressDisplay* progress);
    /// @param make  makes the mask that is combined with the selection, likewise
    template <typename Make>
    Outcome fnCombine(Make&& make, Combine how, CqProgressDisplay* progress);
    void fnKeepFormer() noexcept;
    void fnTravelSelection(Selections& from, Selections& to);
    void fnForgetSelections() noexcept;
    void fnDropSelection() noexcept;

    CqImage m_Image;
    std::unique_ptr<CqMask> m_Selection; ///< null or empty: none
    Selections m_Former;                 ///< since the last change of the picture, newest last
    Selections m_Later;                  ///< undone ones, next last
    std::uint32_t m_nSelectionSerial = 0;
    std::string m_strPath;
    std::string m_strFormerPath;
    bool m_bReduced = false;
    std::uint32_t m_nExtras = 0;
    CqPictureMetadata m_Metadata;
    bool m_bPartial = false;
    std::uint32_t m_nLostBefore = 0; ///< what the file at the path lacks of the metadata already
    bool m_bModified = false;
    // States are numbered. Steps carry the number as their tag, so the modified mark is right
    // wherever in the history the picture was saved.
    std::uint32_t m_nState = 0;
    std::uint32_t m_nLastState = 0;
    std::uint32_t m_nSavedState = 0;
    std::uint32_t m_nOpenedState = 0;
    /// What the last change touched.
    struct Touched {
        std::uint32_t m_nBefore = 0;
        std::uint32_t m_nAfter = 0;
        Tiles m_Tiles;
    };
    std::optional<Touched> m_Touched;
    struct Counted {
        CqHistogram m_Histogram;
        std::uint32_t m_nState;
        std::uint32_t m_nSelectionSerial;
    };
    std::unique_ptr<Counted> m_Counted;
    unsigned int m_nDropped = 0;
    std::function<void()> m_Changed;
    History m_Undo; ///< last, so that it is destroyed first: it may access this document
};

} // namespace darkroom
