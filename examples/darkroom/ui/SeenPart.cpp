#include "examples/darkroom/ui/SeenPart.h"

namespace darkroom {

namespace {

/// Gathers the samples that lie in a range; tells how many stand before them.
/// @param sample  tells the picture's place for one of the screen; never falling
template <typename Sample>
int fnGather(int room, LONG first, LONG end, std::vector<int>& samples, Sample&& sample) {
    int before = 0;
    for (int at = 0; at < room; ++at) {
        const int place = sample(at);
        if (place < first)
            ++before;
        else if (place < end)
            samples.push_back(place);
    }
    return before;
}

} // namespace

SelectionReader::SelectionReader(Document& document) {
    if (!document.fnHasSelection())
        return;
    m_Bound = document.fnGetSelection().m_rectBound;
    m_Mask.emplace(document.fnGetSelection());
}

bool SelectionReader::fnHas(int x, int y) {
    return m_Mask && m_Bound.PtInRect(CPoint(x, y)) &&
           qRed(m_Mask->fnRead(x - m_Bound.left, y - m_Bound.top)) != 0;
}

SeenPart::SeenPart(const PictureView& view, const CRect& part) {
    const QSize room = view.fnGetPixelSize();
    const int left = fnGather(room.width(), part.left, part.right, m_Columns, [&](int x) {
        return view.fnGetSample({x, 0}).x();
    });
    const int top = fnGather(room.height(), part.top, part.bottom, m_Rows, [&](int y) {
        return view.fnGetSample({0, y}).y();
    });
    m_Corner = {left, top};
}

} // namespace darkroom
