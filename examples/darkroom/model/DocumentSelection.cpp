// The selection of a document.
#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/model/Progress.h"
#include "q32Base/operations/MaskEdit.h"

#include <utility>

namespace darkroom {

namespace {

/// Progress of a selection, in percent, once its mask is made.
constexpr unsigned int kMaskMade = 50;
/// Selections that can be undone.
constexpr std::size_t kMaxFormer = 20;

} // namespace

template <typename Make>
Outcome Document::fnReplaceSelection(Make&& make, CqProgressDisplay* progress) {
    if (!fnCanSelect())
        return fnStop();
    Outcome outcome = fnWithRoom([&] {
        m_Former.reserve(kMaxFormer + 1);
        auto made = std::make_unique<CqMask>();
        if (!make(*made, progress))
            return fnStop();
        fnKeepFormer();
        m_Selection = std::move(made);
        return Outcome();
    });
    ++m_nSelectionSerial;
    fnNotify();
    return outcome;
}

template <typename Make>
Outcome Document::fnCombine(Make&& make, Combine how, CqProgressDisplay* progress) {
    const auto combine = [&](CqMask& made, CqProgressDisplay* bar) {
        CqMask none;
        CqMask mask;
        SpanProgress making(bar, 0, kMaskMade);
        SpanProgress combining(bar, kMaskMade, 100);
        return make(mask, &making) &&
               fnCombineMasks(fnHasSelection() ? *m_Selection : none, mask, how, made, &combining);
    };
    return fnReplaceSelection(combine, progress);
}

Outcome Document::fnSelect(CqMask& mask, Combine how, CqProgressDisplay* progress) {
    const auto combine = [&](CqMask& made, CqProgressDisplay* bar) {
        CqMask none;
        return fnCombineMasks(fnHasSelection() ? *m_Selection : none, mask, how, made, bar);
    };
    return fnReplaceSelection(combine, progress);
}

Outcome Document::fnSelectShape(ShapeKind shape, std::span<const CqPoint2D> points, Combine how,
                                CqProgressDisplay* progress, bool smooth) {
    return fnCombine(
        [&](CqMask& mask, CqProgressDisplay* bar) {
            return fnMakeShapeMask(fnMakeOutline(shape, points), m_Image.Width, m_Image.Height,
                                   mask, bar, smooth);
        },
        how, progress);
}

Outcome Document::fnSelectColor(const CqColor& color, int tolerance, Combine how,
                                CqProgressDisplay* progress) {
    return fnCombine(
        [&](CqMask& mask, CqProgressDisplay* bar) {
            return fnMakeColorMask(m_Image, color, tolerance, mask, bar);
        },
        how, progress);
}

Outcome Document::fnSelectAll(CqProgressDisplay* progress) {
    return fnReplaceSelection(
        [&](CqMask& made, CqProgressDisplay* bar) {
            CqMask none;
            return fnInvertMask(none, m_Image.Width, m_Image.Height, made, bar);
        },
        progress);
}

Outcome Document::fnInvertSelection(CqProgressDisplay* progress) {
    return fnReplaceSelection(
        [&](CqMask& made, CqProgressDisplay* bar) {
            CqMask none;
            return fnInvertMask(fnHasSelection() ? *m_Selection : none, m_Image.Width,
                                m_Image.Height, made, bar);
        },
        progress);
}

Outcome Document::fnFeather(double sigma, CqProgressDisplay* progress) {
    if (!fnHasSelection())
        return fnStop();
    return fnReplaceSelection(
        [&](CqMask& made, CqProgressDisplay* bar) {
            CqMask none;
            SpanProgress copying(bar, 0, kMaskMade);
            SpanProgress blurring(bar, kMaskMade, 100);
            return fnCombineMasks(none, *m_Selection, Combine::REPLACE, made, &copying) &&
                   q32FeatherMask(made, sigma, fnGetWhole(m_Image), &blurring);
        },
        progress);
}

Outcome Document::fnPlaceSelection(const CRect& place, CqProgressDisplay* progress) {
    return fnReplaceSelection(
        [&](CqMask& made, CqProgressDisplay* bar) {
            if (fnHasSelection())
                return fnPlaceMask(*m_Selection, place, m_Image.Width, m_Image.Height, made, bar);
            const CqPoint2D corners[] = {
                {static_cast<double>(place.left), static_cast<double>(place.top)},
                {static_cast<double>(place.right), static_cast<double>(place.bottom)}};
            return fnMakeShapeMask(fnMakeOutline(ShapeKind::RECTANGLE, corners), m_Image.Width,
                                   m_Image.Height, made, bar);
        },
        progress);
}

Outcome Document::fnCountHistogram(CqProgressDisplay* progress) {
    if (!fnHasImage())
        return fnStop();
    return fnGuard([&] {
        auto counted = std::make_unique<Counted>();
        counted->m_nState = m_nState;
        counted->m_nSelectionSerial = m_nSelectionSerial;
        const CqMask* const mask = fnHasSelection() ? m_Selection.get() : nullptr;
        if (!q32CountHistogram(m_Image, nullptr, mask, counted->m_Histogram, progress))
            return fnStop();
        m_Counted = std::move(counted);
        return Outcome();
    });
}

const CqHistogram* Document::fnGetHistogram() const {
    return m_Counted && m_Counted->m_nState == m_nState &&
                   m_Counted->m_nSelectionSerial == m_nSelectionSerial
               ? &m_Counted->m_Histogram
               : nullptr;
}

void Document::fnSelectNone() {
    if (fnHasSelection() && q32::fnTryMemory([&] { m_Former.reserve(kMaxFormer + 1); }))
        fnKeepFormer();
    m_Selection.reset();
    ++m_nSelectionSerial;
    fnNotify();
}

void Document::fnKeepFormer() noexcept {
    m_Former.push_back(std::move(m_Selection));
    if (m_Former.size() > kMaxFormer)
        m_Former.erase(m_Former.begin());
    m_Later.clear();
}

void Document::fnTravelSelection(Selections& from, Selections& to) {
    if (from.empty())
        return;
    const bool moved = q32::fnTryMemory([&] {
        to.push_back(nullptr);
        to.back() = std::exchange(m_Selection, std::move(from.back()));
        from.pop_back();
    });
    if (!moved)
        q32ShowMsg(MESSAGE_NO_MEMORY, nullptr, nullptr, nullptr, 0);
    ++m_nSelectionSerial;
    fnNotify();
}

void Document::fnForgetSelections() noexcept {
    m_Former.clear();
    m_Later.clear();
}

void Document::fnDropSelection() noexcept {
    fnForgetSelections();
    m_Selection.reset();
    ++m_nSelectionSerial;
}

} // namespace darkroom
