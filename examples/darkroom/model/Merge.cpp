#include "examples/darkroom/model/Merge.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Shapes.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <optional>

namespace darkroom {

namespace {

/// The part of `over` that falls on the picture, in its own coordinates. The library doesn't clip
/// at the target's left and top.
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

bool fnMergePicture(CqImage& image, CqImage& over, const MergePlan& plan, CqMask* selection,
                    CqProgressDisplay* progress) {
    constexpr unsigned int kMasked = 20; // progress in percent after each step
    constexpr unsigned int kConverted = 50;
    CqMask alpha;
    CqMask* mask = plan.m_eRule == MergeRule::SELECTION ? selection : nullptr;
    CRect maskPlace; // a mask is in the source's coordinates
    if (mask && mask->m_rectBound.IsRectEmpty())
        return true;
    if (mask) {
        maskPlace = mask->m_rectBound;
        maskPlace.OffsetRect(-plan.m_nX, -plan.m_nY);
    }
    if (plan.m_eRule == MergeRule::ALPHA && over.BitCount == 32) {
        SpanProgress masking(progress, 0, kMasked);
        if (!fnMakeAlphaMask(over, kOpaqueFrom, alpha, &masking))
            return false;
        mask = &alpha;
    }
    SpanProgress converting(progress, kMasked, kConverted);
    if (over.BitCount != 24 && !fnConvertPicture(over, 24, &converting))
        return false;
    const CqMergeParam param =
        mask ? CqMergeParam(*mask) : CqMergeParam(static_cast<unsigned long>(plan.m_Key));
    SpanProgress merging(progress, kConverted, 100);
    return fnForBands(fnFindPart(image, over, plan), &merging, [&](const CRect& band) {
        const int x = plan.m_nX + band.left;
        const int y = plan.m_nY + band.top;
        if (!mask && plan.m_eRule != MergeRule::KEY)
            return image.fnCopyBlock(over, &band, x, y);
        // The part to be merged is cut out first, so that no rule is applied to pixels outside.
        CqImage part;
        part.fnAlloc(static_cast<unsigned int>(band.Width()),
                     static_cast<unsigned int>(band.Height()), 24, nullptr, 0);
        part.fnCopyBlock(over, &band, 0, 0);
        std::optional<MovedMask> moved;
        if (mask)
            moved.emplace(*mask, CPoint(maskPlace.left - band.left, maskPlace.top - band.top));
        image.fnMerge(part, nullptr, param, x, y);
    });
}

} // namespace darkroom
