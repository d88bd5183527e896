#include "examples/darkroom/ui/MergePreview.h"

#include "examples/darkroom/ui/PartPreview.h"
#include "q32Base/framework/Memory.h"

namespace darkroom {

namespace {

/// Whether a rule lets a pixel of the second picture cover the first one's.
class Cover {
public:
    Cover(const MergePlan& plan, Document& document, bool hasAlpha)
        : m_eRule(plan.m_eRule), m_bAlpha(hasAlpha),
          m_nKey(qRgb(plan.m_Key.m_Red, plan.m_Key.m_Green, plan.m_Key.m_Blue)),
          m_Selection(document) {}

    bool fnCovers(QRgb over, int x, int y) {
        switch (m_eRule) {
        case MergeRule::ALL:
            break;
        case MergeRule::KEY:
            return (over | 0xFF000000u) != m_nKey;
        case MergeRule::SELECTION:
            return m_Selection.fnHas(x, y);
        case MergeRule::ALPHA:
            return !m_bAlpha || qAlpha(over) >= kOpaqueFrom;
        }
        return true;
    }

private:
    MergeRule m_eRule;
    bool m_bAlpha;
    QRgb m_nKey;
    SelectionReader m_Selection;
};

} // namespace

void fnShowMerge(PictureView& view, CqImage& over, const MergePlan& plan) {
    const CRect place(CPoint(plan.m_nX, plan.m_nY),
                      CSize(static_cast<int>(over.Width), static_cast<int>(over.Height)));
    view.fnShowFrame(place);
    view.fnHidePreview();
    q32::fnTryMemory([&] {
        PixelProbe above(over);
        PixelProbe below(*view.fnGetImage());
        Cover cover(plan, view.fnGetDocument(), over.BitCount == 32);
        fnShowPart(view, place, [&](int x, int y) {
            const QRgb pixel = above.fnRead(x - plan.m_nX, y - plan.m_nY);
            return cover.fnCovers(pixel, x, y) ? pixel : below.fnRead(x, y);
        });
    });
}

void fnHideMerge(PictureView& view) {
    view.fnHidePreview();
    view.fnShowFrame(CRect(0, 0, 0, 0));
}

} // namespace darkroom
