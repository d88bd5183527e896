#include "examples/darkroom/model/Document.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Copy.h"
#include "examples/darkroom/model/Progress.h"
#include "examples/darkroom/model/Room.h"
#include "q32Base/operations/Blend.h"
#include "q32Base/operations/Crop.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <utility>

namespace darkroom {

namespace {

/// Progress of a change, in percent, once its pixels are saved.
constexpr unsigned int kCopyPercent = 20;
/// Progress of an edit limited to the selection, in percent, after copying and after editing.
constexpr unsigned int kPartCopied = 10;
constexpr unsigned int kPartEdited = 90;
/// Progress of a pattern fill, in percent, once the pattern is converted.
constexpr unsigned int kPatternConverted = 20;

/// What a selection must match.
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
    Rollback(CqImage& image, Step& step) : m_Image(image), m_pStep(&step) {}
    ~Rollback() {
        if (m_pStep)
            m_pStep->fnExchange(m_Image, nullptr);
    }
    Rollback(const Rollback&) = delete;
    Rollback& operator=(const Rollback&) = delete;
    void fnKeep() { m_pStep = nullptr; }

private:
    CqImage& m_Image;
    Step* m_pStep;
};

} // namespace

Document::Document(unsigned int levels, CToolBarCtrl* toolBar) {
    m_Undo.fnCreate(this, levels, toolBar);
}

void Document::SetModifiedFlag(bool modified) {
    m_bModified = modified;
}

void Document::fnNotify() const {
    if (m_Changed)
        fnGuard([&] {
            m_Changed();
            return Outcome();
        });
}

void Document::fnReset(std::string path, bool reduced) {
    m_Undo.fnRemoveAll();
    m_strPath = std::move(path);
    m_strFormerPath.clear();
    m_bReduced = reduced;
    m_nOpenedState = m_nSavedState = m_nState = ++m_nLastState;
    m_bModified = false;
    m_Touched.reset();
    fnDropSelection();
    fnNotify();
}

Outcome Document::fnCopy(CqImage& copy, CqProgressDisplay* progress) {
    if (!fnHasImage())
        return fnStop();
    return fnWithRoom([&] {
        CqMask* const mask = fnIsLimited() ? m_Selection.get() : nullptr;
        return fnCopyPart(m_Image, mask, copy, progress) ? Outcome() : fnStop();
    });
}

Outcome Document::fnErase(CqProgressDisplay* progress) {
    if (!fnCanSelect())
        return fnStop();
    const auto erase = [](CqImage& image, CqProgressDisplay* bar) {
        const auto alpha = static_cast<unsigned char>(image.BitCount == 32 ? 0 : 255);
        fnFillPicture(image, CqColor(255, 255, 255, alpha), bar);
    };
    return fnGuard([&] { return fnChangeSelected("Cut", 0, erase, progress); });
}

bool Document::fnDropStep() {
    const std::uint64_t bytes = fnCountBytes(m_Image.Width, m_Image.Height, m_Image.BitCount);
    const auto dropFirst = [](Selections& masks) {
        if (masks.empty())
            return false;
        masks.erase(masks.begin());
        return true;
    };
    const bool dropped = q32::fnTryMemory([&] { return fnIsRoomShort(bytes); }) &&
                         (m_Undo.fnDropLastRedo() || dropFirst(m_Later) || dropFirst(m_Former) ||
                          m_Undo.fnDropOldestUndo());
    m_nDropped += dropped ? 1 : 0;
    return dropped;
}

Outcome Document::fnDo(const Change& change, const Edit& edit, CqProgressDisplay* progress) {
    Outcome outcome = fnWithRoom([&] { return fnTry(change, edit, progress); });
    fnNotify();
    return outcome;
}

Outcome Document::fnTry(const Change& change, const Edit& edit, CqProgressDisplay* progress) {
    auto step = std::make_unique<Step>(change.m_pszName, change.m_bMoves);
    SpanProgress copying(progress, 0, kCopyPercent);
    if (!step->fnSave(m_Image, change.m_Tiles, progress ? &copying : nullptr))
        return fnStop();
    const Form before(m_Image);
    SpanProgress editing(progress, kCopyPercent, 100);
    Rollback rollback(m_Image, *step);
    edit(m_Image, progress ? &editing : nullptr);
    if (progress && progress->fnWasAborted())
        return fnStop();
    if (change.m_bClips && fnIsLimited())
        step->fnRestoreUnselected(m_Image, *m_Selection);
    rollback.fnKeep();
    step->fnSetMoves(change.m_bMoves || Form(m_Image) != before);
    const std::uint32_t left = std::exchange(m_nState, m_nLastState + 1);
    ++m_nLastState;
    m_bModified = true;
    fnNoteStep(*step, left);
    m_Undo.fnForgetRedo();
    m_Undo.fnAddUndoBuf(step.release(), left);
    return {};
}

void Document::fnNoteStep(const Step& step, std::uint32_t before) noexcept {
    step.fnMoves() ? fnDropSelection() : fnForgetSelections();
    m_Touched.reset();
    if (const Tiles* const tiles = step.fnGetTiles())
        q32::fnTryMemory([&] { m_Touched = Touched{before, m_nState, *tiles}; });
}

std::optional<std::vector<CRect>> Document::fnFindChanges(std::uint32_t state) const {
    std::vector<CRect> parts;
    if (state == m_nState)
        return parts;
    if (!m_Touched || m_Touched->m_nAfter != m_nState || m_Touched->m_nBefore != state)
        return std::nullopt;
    for (const unsigned int tile : m_Touched->m_Tiles)
        parts.push_back(fnGetTileRect(m_Image, tile));
    return parts;
}

Outcome Document::fnChange(const char* name, const CRect& part, const Edit& edit,
                           CqProgressDisplay* progress) {
    if (!fnHasImage())
        return fnStop();
    return fnGuard([&] {
        return fnDo({.m_pszName = name, .m_Tiles = fnFindTiles(m_Image, part)}, edit, progress);
    });
}

void Document::fnKeepToSelection(int reach, const Edit& edit, CqProgressDisplay* progress) {
    // Edits a copy of the selection's bounds, extended by the edit's reach, and blends it back
    // through the mask.
    const CRect bound = m_Selection->m_rectBound;
    CRect around = bound;
    around.InflateRect(reach, reach);
    around.IntersectRect(around, fnGetWhole(m_Image));
    CqImage part;
    SpanProgress copying(progress, 0, kPartCopied);
    if (!q32Crop(m_Image, around, part, &copying))
        return;
    SpanProgress editing(progress, kPartCopied, kPartEdited);
    edit(part, &editing);
    if (editing.fnWasAborted())
        return;
    SpanProgress merging(progress, kPartEdited, 100);
    CRect inside = bound;
    inside.OffsetRect(-around.left, -around.top);
    const CqBlendParam param{.m_pMask = m_Selection.get(), .m_eMode = BLEND_REPLACE};
    q32Blend(part, &inside, m_Image, bound.left, bound.top, param, &merging);
}

Outcome Document::fnChangeSelected(const char* name, int reach, const Edit& edit,
                                   CqProgressDisplay* progress) {
    if (!fnHasImage())
        return fnStop();
    if (!fnIsLimited())
        return fnDo({.m_pszName = name}, edit, progress);
    return fnChange(
        name, m_Selection->m_rectBound,
        [&](CqImage&, CqProgressDisplay* bar) { fnKeepToSelection(reach, edit, bar); }, progress);
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
                   ? fnChangeSelected(operation.m_pszName, operation.fnGetReach(values), edit,
                                      progress)
                   : fnDo({.m_pszName = operation.m_pszName, .m_bMoves = true}, edit, progress);
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
        q32Crop(image, place, image, bar);
    };
    return fnGuard(
        [&] { return fnDo({.m_pszName = "Crop to Selection", .m_bMoves = true}, crop, progress); });
}

Outcome Document::fnDraw(std::span<const CqPoint2D> points, const Pen& pen,
                         CqProgressDisplay* progress) {
    if (!fnHasImage())
        return fnStop();
    const auto draw = [&](CqImage& image, CqProgressDisplay*) { fnDrawPath(image, points, pen); };
    return fnGuard([&] {
        return fnDo({.m_pszName = points.size() == 2 ? "Line" : "Curve",
                     .m_Tiles = fnFindPathTiles(m_Image, points, pen.m_nWidth),
                     .m_bClips = true},
                    draw, progress);
    });
}

std::uint64_t Document::fnGetTravelBytes(bool back) const {
    return (back ? fnCanUndo() : fnCanRedo()) ? fnPeek(back).fnGetExchanged() : 0;
}

Outcome Document::fnTravel(bool back, CqProgressDisplay* progress) {
    if (back ? !fnCanUndo() : !fnCanRedo())
        return fnStop();
    Outcome outcome = fnGuard([&] {
        auto fresh = std::make_unique<Step>();
        // The last that may fail, so that an abort leaves picture and history as they were.
        if (!fnPeek(back).fnExchange(m_Image, progress))
            return fnStop();
        Step& opposite = *fresh;
        unsigned long state = 0;
        CObject* const taken = back ? m_Undo.fnUndo(fresh.release(), m_nState, &state)
                                    : m_Undo.fnRedo(fresh.release(), m_nState, &state);
        const std::unique_ptr<Step> step(static_cast<Step*>(taken));
        const std::uint32_t left = std::exchange(m_nState, static_cast<std::uint32_t>(state));
        m_bModified = m_nState != m_nSavedState;
        fnNoteStep(*step, left);
        opposite.fnTake(*step);
        return Outcome();
    });
    fnNotify();
    return outcome;
}

bool Document::fnSetLevels(unsigned int levels) {
    const bool changed = m_Undo.fnSetLevels(levels);
    fnNotify();
    return changed;
}

} // namespace darkroom
