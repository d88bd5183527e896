#include "examples/darkroom/ui/SeenPart.h"

namespace darkroom {

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

SeenPart::SeenPart(const PictureView& view, const CRect& part)
    : m_Columns(fnMakeAxis(view.fnGetPixelSize().width(), part.left, part.right,
                           [&](int x) {
                               return view.fnGetSample({x, 0}).x();
                           })),
      m_Rows(fnMakeAxis(view.fnGetPixelSize().height(), part.top, part.bottom, [&](int y) {
          return view.fnGetSample({0, y}).y();
      })) {}

} // namespace darkroom
