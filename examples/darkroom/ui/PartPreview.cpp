#include "examples/darkroom/ui/PartPreview.h"

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

} // namespace darkroom
