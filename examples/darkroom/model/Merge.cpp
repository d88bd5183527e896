#include "examples/darkroom/model/Merge.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Shapes.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/operations/Blend.h"
#include "q32Base/operations/MaskEdit.h"

#include <algorithm>
#include <utility>

namespace darkroom {

namespace {

/// The part of `over` that falls on the picture, in its own coordinates.
CRect fnFindPart(const CqImage& image, const CqImage& over, const MergePlan& plan) {
    const auto span = [](unsigned int length, unsigned int room, int place) {
        const int first = std::max(0, -place);
        const std::int64_t end = std::min<std::int64_t>(length, std::int64_t{room} - place);
        return std::pair(first, static_cast<int>(std::max<std::int64_t>(end, first)));
    };
    const auto [left, right] = span(over.Width, image.Width, plan.m_nX);
    const auto [top, bottom] = span(over.Height, image.Height, plan.m_nY);
    return {left, top, right, bottom};
}

} // namespace

CRect fnFindMerged(const CqImage& image, const CqImage& over, const MergePlan& plan) {
    CRect part = fnFindPart(image, over, plan);
    part.OffsetRect(plan.m_nX, plan.m_nY);
    return part;
}

bool fnMergePicture(CqImage& image, const CqImage& over, const MergePlan& plan,
                    const CqMask* selection, CqProgressDisplay* progress) {
    constexpr unsigned int kMasked = 40; // progress in percent
    CqMask keyed;
    CqBlendParam param;
    param.m_eMode = plan.m_eRule == MergeRule::ALPHA ? BLEND_OVER : BLEND_REPLACE;
    if (plan.m_eRule == MergeRule::SELECTION && selection) {
        if (selection->m_rectBound.IsRectEmpty())
            return true;
        param.m_pMask = selection;
    }
    if (plan.m_eRule == MergeRule::KEY) {
        SpanProgress masking(progress, 0, kMasked);
        if (!fnMakeColorMask(over, plan.m_Key, 0, keyed, &masking))
            return false;
        q32InvertMask(keyed, fnGetWhole(over));
        keyed.fnSetPos(CPoint(plan.m_nX, plan.m_nY));
        param.m_pMask = &keyed;
    }
    SpanProgress blending(progress, param.m_pMask == &keyed ? kMasked : 0, 100);
    return q32Blend(over, nullptr, image, plan.m_nX, plan.m_nY, param, &blending);
}

} // namespace darkroom
