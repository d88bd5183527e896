#include "examples/darkroom/model/Document.h"

#include "examples/darkroom/model/Merge.h"
#include "examples/darkroom/model/Pictures.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/messages/Messages.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <utility>

namespace darkroom {

namespace {

constexpr int kNoMemory = -1;
constexpr int kNotSupported = -102;

/// Progress of an edit limited to the selection, in percent, after copying and after editing.
constexpr unsigned int kPartCopied = 10;
constexpr unsigned int kPartEdited = 90;
/// Progress of a selection, in percent, once its mask is made.
constexpr unsigned int kMaskMade = 50;
/// Progress of a pattern fill, in percent, once the pattern is converted.
constexpr unsigned int kPatternConverted = 20;

Outcome fnFail(int message, const std::string& path) {
    Outcome outcome;
    outcome.m_nMsgId = message;
    outcome.m_strPath = path.c_str();
    return outcome;
}

Outcome fnStop() {
    Outcome outcome;
    outcome.m_bAborted = true;
    return outcome;
}

/// Runs `work` and converts its memory failures into an outcome.
template <typename Work>
Outcome fnGuard(Work&& work) {
    Outcome failed; // no path: setting it might allocate again
    failed.m_nMsgId = kNoMemory;
    return q32::fnTryMemoryOr(std::move(failed), std::forward<Work>(work));
}

/// What a selection, and a view, must match.
struct Form {
    explicit Form(const CqImage& image)
        : m_nWidth(image.Width), m_nHeight(image.Height), m_nBits(image.BitCount) {}
    bool operator==(const Form&) const = default;

    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    std::uint32_t m_nBits;
};

/// Restores the picture unless the edit is reported as successful.
class Rollback {
public:
    Rollback(CqImage& image, Snapshot& snapshot) : m_Image(image), m_pSnapshot(&snapshot) {}
    ~Rollback() {
        if (m_pSnapshot)
            m_Image.fnSwapBuf(m_pSnapshot->m_Image);
    }
    Rollback(const Rollback&) = delete;
    Rollback& operator=(const Rollback&) = delete;
    void fnKeep() { m_pSnapshot = nullptr; }

private:
    CqImage& m_Image;
    Snapshot* m_pSnapshot;
};

} // namespace

Document::Document(unsigned int levels, CToolBarCtrl* toolBar) {
    m_Undo.fnCreate(this, levels, toolBar);
}

void Document::SetModifiedFlag(bool modified) {
    m_bModified = modified;
}

void Document::fnTell() const {
    if (m_Changed)
        fnGuard([&] {
            m_Changed();
            return Outcome();
        });
}

void Document::fnReset(std::string path, bool reduced) {
    m_Undo.fnRemoveAll();
    m_strPath = std::move(path);
    m_bReduced = reduced;
    m_nSavedState = m_nState = ++m_nLastState;
    m_bModified = false;
    fnSelectNone();
}

Outcome Document::fnOpen(const std::string& path, CqProgressDisplay* progress) {
    return fnGuard([&] {
        std::string newPath = path;
        PictureProgress pictureProgress(progress);
        Outcome outcome = q32ReadPicture(path.c_str(), m_Image, &pictureProgress);
        if (outcome.fnIsDone())
            fnReset(std::move(newPath), outcome.m_bReduced);
        return outcome;
    });
}

Outcome Document::fnSave(const std::string& path, CqProgressDisplay* progress) {
    return fnGuard([&] {
        const CqPictureFormat* format = q32FindPictureFormat(path.c_str());
        if (!format || !format->m_bCanWrite)
            return fnFail(kNotSupported, path);
        std::string newPath = path;
        PictureProgress pictureProgress(progress);
        Outcome outcome =
            q32WritePicture(path.c_str(), m_Image, format->m_eFormat, {}, &pictureProgress);
        if (outcome.fnIsDone() && fnKeepsAll(path.c_str())) {
            m_strPath = std::move(newPath);
            m_bReduced = false;
            m_nSavedState = m_nState;
            m_bModified = false;
            fnTell();
        }
        return outcome;
    });
}

bool Document::fnKeepsAll(const char* path) const {
    const CqPictureFormat* const format = q32FindPictureFormat(path);
    return format && (format->m_bHasAlpha || m_Image.BitCount != 32);
}

Outcome Document::fnNew(unsigned int width, unsigned int height, const CqColor& color,
                        CqProgressDisplay* progress) {
    return fnGuard([&] {
        CqImage fresh;
        fresh.fnAlloc(width, height, 24, nullptr, 0);
        if (!fnFillPicture(fresh, color, progress))
            return fnStop();
        m_Image.Title = ""; // the last step that may fail
        m_Image.fnSwapBuf(fresh);
        // Nothing of the former picture remains.
        m_Image.DpiX = fresh.DpiX;
        m_Image.DpiY = fresh.DpiY;
        m_Image.fnSetFioPlugin(fresh.fnGetFioPlugin());
        m_Image.fnSetPluginData(nullptr);
        fnReset("", false);
        return Outcome();
    });
}

Outcome Document::fnDo(const char* name, bool moves, const Edit& edit,
                       CqProgressDisplay* progress) {
    Outcome outcome = fnGuard([&] {
        auto snapshot = std::make_unique<Snapshot>();
        snapshot->m_Change = {name, moves, m_nState, m_nLastState + 1};
        SpanProgress copying(progress, 0, kCopyPercent);
        if (!fnCopyPicture(m_Image, snapshot->m_Image, progress ? &copying : nullptr))
            return fnStop();
        SpanProgress editing(progress, kCopyPercent, 100);
        Rollback rollback(m_Image, *snapshot);
        edit(m_Image, progress ? &editing : nullptr);
        if (progress && progress->fnWasAborted())
            return fnStop();
        rollback.fnKeep();
        moves = moves || Form(m_Image) != Form(snapshot->m_Image);
        snapshot->m_Change.m_bMoves = moves;
        m_Undo.fnAddUndoBuf(snapshot.release(), m_nState);
        m_nState = ++m_nLastState;
        m_bModified = true;
        if (moves)
            fnDropSelection();
        return Outcome();
    });
    fnTell();
    return outcome;
}

Outcome Document::fnChange(const char* name, const Edit& edit, CqProgressDisplay* progress) {
    return fnHasImage() ? fnDo(name, false, edit, progress) : fnStop();
}

void Document::fnKeepToSelection(int reach, const Edit& edit, CqProgressDisplay* progress) {
    // Edits a copy of the selection's bounds, extended by the edit's reach, and merges it back
    // through the mask, which is moved to the copy's coordinates meanwhile.
    CRect bound = m_Selection->m_rectBound;
    CRect around = bound;
    if (reach > 0)
        around.InflateRect(reach, reach);
    around.IntersectRect(around, fnGetWhole(m_Image));
    const CPoint corner = reach == kInPlace ? CPoint(0, 0) : around.TopLeft();
    CqImage part;
    SpanProgress copying(progress, 0, kPartCopied);
    if (!fnCutOut(m_Image, around, corner, part, &copying))
        return;
    SpanProgress editing(progress, kPartCopied, kPartEdited);
    edit(part, &editing);
    if (editing.fnWasAborted())
        return;
    SpanProgress merging(progress, kPartEdited, 100);
    bound.OffsetRect(-corner.x, -corner.y);
    const MovedMask moved(*m_Selection, bound.TopLeft());
    const CqMergeParam param(*m_Selection);
    fnForBands(bound, &merging, [&](const CRect& band) {
        m_Image.fnMerge(part, &band, param, corner.x + band.left, corner.y + band.top);
    });
}

Outcome Document::fnChangeSelected(const char* name, int reach, const Edit& edit,
                                   CqProgressDisplay* progress) {
    if (!fnIsLimited())
        return fnChange(name, edit, progress);
    return fnChange(
        name, [&](CqImage&, CqProgressDisplay* bar) { fnKeepToSelection(reach, edit, bar); },
        progress);
}

Outcome Document::fnApply(const Operation& operation, const Values& values,
                          CqProgressDisplay* progress) {
    if (!operation.fnSuits(m_Image))
        return fnStop();
    if (!operation.fnChanges(m_Image, values))
        return {};
    return fnGuard([&] {
        const Edit edit = [&](CqImage& image, CqProgressDisplay* bar) {
            operation.m_pRun(image, values, bar);
        };
        return operation.fnIsLocal()
                   ? fnChangeSelected(operation.m_pszName, operation.m_nReach, edit, progress)
                   : fnDo(operation.m_pszName, true, edit, progress);
    });
}

CRect Document::fnGetEdited() const {
    return fnIsLimited() ? m_Selection->m_rectBound : fnGetWhole(m_Image);
}

Outcome Document::fnFillPattern(CqImage& pattern, const CPoint& corner,
                                CqProgressDisplay* progress) {
    const auto fill = [&](CqImage& image, CqProgressDisplay* bar) {
        SpanProgress converting(bar, 0, kPatternConverted);
        SpanProgress filling(bar, kPatternConverted, 100);
        if (pattern.BitCount == image.BitCount ||
            fnConvertPicture(pattern, image.BitCount, &converting))
            darkroom::fnFillPattern(image, pattern, corner, &filling);
    };
    return fnGuard([&] { return fnChangeSelected("Fill with Pattern", 0, fill, progress); });
}

Outcome Document::fnCrop(CqProgressDisplay* progress) {
    if (!fnIsLimited())
        return fnStop();
    const CRect place = fnGetEdited();
    if (place == fnGetWhole(m_Image))
        return {};
    const auto crop = [&](CqImage& image, CqProgressDisplay* bar) {
        CqImage part;
        if (fnCutOut(image, place, place.TopLeft(), part, bar))
            image.fnSwapBuf(part);
    };
    return fnGuard([&] { return fnDo("Crop to Selection", true, crop, progress); });
}

Outcome Document::fnDraw(std::span<const CqPoint2D> points, const CqColor& color,
                         CqProgressDisplay* progress) {
    const auto draw = [&](CqImage& image, CqProgressDisplay*) { fnDrawPath(image, points, color); };
    return fnGuard([&] {
        return fnChangeSelected(points.size() == 2 ? "Line" : "Curve", kInPlace, draw, progress);
    });
}

void Document::fnTravel(bool back) {
    if (back ? !fnCanUndo() : !fnCanRedo())
        return;
    const Outcome outcome = fnGuard([&] {
        auto current = std::make_unique<Snapshot>();
        ChangeNote& change = current->m_Change = fnPeek(back).m_Change;
        std::uint32_t& left = back ? change.m_nAfter : change.m_nBefore;
        if (std::exchange(left, m_nState) != m_nState)
            change.m_bMoves = true; // from one picture to another
        const bool moves = change.m_bMoves;
        current->m_Image.fnSwapBuf(m_Image);
        unsigned long state = 0;
        CObject* const taken = back ? m_Undo.fnUndo(current.release(), m_nState, &state)
                                    : m_Undo.fnRedo(current.release(), m_nState, &state);
        const std::unique_ptr<Snapshot> reached(static_cast<Snapshot*>(taken));
        m_Image.fnSwapBuf(reached->m_Image);
        m_nState = static_cast<std::uint32_t>(state);
        m_bModified = m_nState != m_nSavedState;
        if (moves)
            fnDropSelection();
        return Outcome();
    });
    if (!outcome.fnIsDone())
        q32ShowMsg(kNoMemory, nullptr, nullptr, nullptr, 0);
    fnTell();
}

bool Document::fnSetLevels(unsigned int levels) {
    const bool changed = m_Undo.fnSetLevels(levels);
    fnTell();
    return changed;
}

Outcome Document::fnSelect(CqMask& mask, Combine how, CqProgressDisplay* progress) {
    if (!fnCanSelect())
        return fnStop();
    Outcome outcome = fnGuard([&] {
        if (!m_Selection)
            m_Selection.emplace();
        return fnCombineMasks(*m_Selection, mask, how, progress) ? Outcome() : fnStop();
    });
    ++m_nSelectionSerial;
    fnTell();
    return outcome;
}

template <typename Make>
Outcome Document::fnSelectMade(Make&& make, Combine how, CqProgressDisplay* progress) {
    if (!fnCanSelect())
        return fnStop();
    return fnGuard([&] {
        CqMask mask;
        SpanProgress making(progress, 0, kMaskMade);
        SpanProgress combining(progress, kMaskMade, 100);
        return make(mask, &making) ? fnSelect(mask, how, &combining) : fnStop();
    });
}

Outcome Document::fnSelectShape(ShapeKind shape, std::span<const CqPoint2D> points, Combine how,
                                CqProgressDisplay* progress) {
    return fnSelectMade(
        [&](CqMask& mask, CqProgressDisplay* bar) {
            return fnMakeShapeMask(fnMakeOutline(shape, points), m_Image.Width, m_Image.Height,
                                   mask, bar);
        },
        how, progress);
}

Outcome Document::fnSelectColor(const CqColor& color, int tolerance, Combine how,
                                CqProgressDisplay* progress) {
    return fnSelectMade(
        [&](CqMask& mask, CqProgressDisplay* bar) {
            return fnMakeColorMask(m_Image, color, tolerance, mask, bar);
        },
        how, progress);
}

void Document::fnSelectNone() {
    fnDropSelection();
    fnTell();
}

void Document::fnDropSelection() {
    m_Selection.reset();
    ++m_nSelectionSerial;
}

} // namespace darkroom
