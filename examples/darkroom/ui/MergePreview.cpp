#include "examples/darkroom/ui/MergePreview.h"

#include "examples/darkroom/ui/PartPreview.h"
#include "q32Base/framework/Memory.h"

namespace darkroom {

namespace {

/// The weight that a rule gives a pixel of the second picture, apart from its alpha.
class Cover {
public:
    Cover(const MergePlan& plan, Document& document)
        : m_eRule(plan.m_eRule),
          m_nKey(qRgb(plan.m_Key.m_Red, plan.m_Key.m_Green, plan.m_Key.m_Blue)),
          m_Selection(document) {}

    unsigned int fnGetWeight(QRgb over, int x, int y) {
        switch (m_eRule) {
        case MergeRule::KEY:
            return (over | 0xFF000000u) != m_nKey ? 255 : 0;
        case MergeRule::SELECTION:
            return m_Selection.fnGetWeight(x, y);
        case MergeRule::ALL:
        case MergeRule::ALPHA:
            break;
        }
        return 255;
    }

private:
    MergeRule m_eRule;
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
        Cover cover(plan, view.fnGetDocument());
        const bool covers = plan.m_eRule == MergeRule::ALPHA;
        fnShowPart(view, place, [&](int x, int y) {
            const QRgb pixel = above.fnRead(x - plan.m_nX, y - plan.m_nY);
            return fnBlendSeen(pixel, below.fnRead(x, y), cover.fnGetWeight(pixel, x, y), covers,
                               view.fnGetImage()->BitCount);
        });
    });
}

void fnHideMerge(PictureView& view) {
    view.fnHidePreview();
    view.fnShowFrame(CRect(0, 0, 0, 0));
}

} // namespace darkroom
