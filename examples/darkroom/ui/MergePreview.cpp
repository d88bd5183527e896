#include "examples/darkroom/ui/MergePreview.h"

#include "examples/darkroom/ui/Guard.h"
#include "examples/darkroom/ui/PictureView.h"
#include "examples/darkroom/ui/PixelReader.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace darkroom {

namespace {

/// Whether a pixel of the second picture covers the first one's by a rule.
class Cover {
public:
    Cover(const MergePlan& plan, Document& document, bool hasAlpha)
        : m_eRule(plan.m_eRule), m_bAlpha(hasAlpha),
          m_nKey(qRgb(plan.m_Key.m_Red, plan.m_Key.m_Green, plan.m_Key.m_Blue)) {
        if (m_eRule != MergeRule::SELECTION || !document.fnHasSelection())
            return;
        m_Bound = document.fnGetSelection().m_rectBound;
        m_Mask.emplace(document.fnGetSelection());
    }

    bool fnCovers(QRgb over, const QPoint& place) {
        switch (m_eRule) {
        case MergeRule::ALL:
            break;
        case MergeRule::KEY:
            return (over | 0xFF000000u) != m_nKey;
        case MergeRule::SELECTION:
            return m_Mask && m_Bound.PtInRect(CPoint(place.x(), place.y())) &&
                   qRed(m_Mask->fnRead(place.x() - m_Bound.left, place.y() - m_Bound.top)) != 0;
        case MergeRule::ALPHA:
            return !m_bAlpha || qAlpha(over) >= kOpaqueFrom;
        }
        return true;
    }

private:
    MergeRule m_eRule;
    bool m_bAlpha;
    CRect m_Bound;
    QRgb m_nKey;
    std::optional<PixelReader> m_Mask;
};

/// The pixels of the screen that show a part of the picture, which shows them all in a row.
QRect fnFindSeen(const PictureView& view, const CRect& part) {
    const QSize room = view.fnGetPixelSize();
    const auto count = [](int length, auto sample, LONG limit) {
        int at = 0;
        while (at < length && sample(at) < limit)
            ++at;
        return at;
    };
    const auto column = [&](int x) { return view.fnGetSample({x, 0}).x(); };
    const auto row = [&](int y) { return view.fnGetSample({0, y}).y(); };
    return {QPoint(count(room.width(), column, part.left), count(room.height(), row, part.top)),
            QPoint(count(room.width(), column, part.right) - 1,
                   count(room.height(), row, part.bottom) - 1)};
}

} // namespace

void fnShowMerge(PictureView& view, CqImage& over, const MergePlan& plan) {
    const CRect place(CPoint(plan.m_nX, plan.m_nY),
                      CSize(static_cast<int>(over.Width), static_cast<int>(over.Height)));
    view.fnShowFrame(place);
    view.fnHidePreview();
    fnTry([&] {
        CRect part;
        if (!part.IntersectRect(place, view.fnGetVisible()))
            return;
        const QRect seen = fnFindSeen(view, part);
        PixelReader above(over);
        PixelReader below(*view.fnGetImage());
        Cover cover(plan, view.fnGetDocument(), over.BitCount == 32);
        std::vector<int> columns;
        for (int x = seen.left(); x <= seen.right(); ++x)
            columns.push_back(view.fnGetSample({x, 0}).x());
        std::vector<int> rows;
        for (int y = seen.top(); y <= seen.bottom(); ++y)
            rows.push_back(view.fnGetSample({0, y}).y());
        const QImage merged = fnMakeScreenImage(seen.size(), [&](int x, int y) {
            const QPoint at(columns[static_cast<std::size_t>(x)],
                            rows[static_cast<std::size_t>(y)]);
            const QRgb pixel = above.fnRead(at.x() - plan.m_nX, at.y() - plan.m_nY);
            return cover.fnCovers(pixel, at) ? pixel : below.fnRead(at.x(), at.y());
        });
        view.fnShowPreview(merged, seen.topLeft(), false);
    });
}

void fnHideMerge(PictureView& view) {
    view.fnHidePreview();
    view.fnShowFrame(CRect(0, 0, 0, 0));
}

} // namespace darkroom
