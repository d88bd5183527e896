#include "examples/darkroom/model/Merge.h"

#include "examples/darkroom/model/Shapes.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>

namespace darkroom {

namespace {

/// The part of `over` that lands on the picture, in its own coordinates. The library doesn't cut at
/// the target's left and top.
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

void fnMergePicture(CqImage& image, CqImage& over, const MergePlan& plan, CqMask* selection) {
    CqMask mask;
    if (plan.m_eRule == MergeRule::ALPHA && over.BitCount == 32)
        fnMakeAlphaMask(over, kOpaqueFrom, mask);
    if (over.BitCount != 24)
        over.fnConvert(24, false, nullptr);
    const CRect whole = fnFindPart(image, over, plan);
    if (whole.IsRectEmpty())
        return;
    // What is merged is cut out first, so that no rule meets a part that would fall outside.
    CqImage part;
    part.fnAlloc(static_cast<unsigned int>(whole.Width()),
                 static_cast<unsigned int>(whole.Height()), 24, nullptr, 0);
    part.fnCopyBlock(over, &whole, 0, 0);
    const int x = plan.m_nX + whole.left;
    const int y = plan.m_nY + whole.top;
    if (plan.m_eRule == MergeRule::KEY) {
        image.fnMerge(part, nullptr, CqMergeParam(static_cast<unsigned long>(plan.m_Key)), x, y);
    } else if (plan.m_eRule == MergeRule::SELECTION && selection) {
        // A mask stands in the source's coordinates.
        const CPoint place = selection->m_rectBound.TopLeft();
        selection->fnOffsetPos(-x, -y);
        image.fnMerge(part, nullptr, CqMergeParam(*selection), x, y);
        selection->fnSetPos(place);
    } else if (mask.TileMap) {
        mask.fnSetPos(CPoint(-whole.left, -whole.top));
        image.fnMerge(part, nullptr, CqMergeParam(mask), x, y);
    } else {
        image.fnCopyBlock(part, nullptr, x, y);
    }
}

} // namespace darkroom
