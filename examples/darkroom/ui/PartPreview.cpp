#include "examples/darkroom/ui/PartPreview.h"

#include "examples/darkroom/model/PixelBlend.h"
#include "q32Base/pixels/PixelConversion.h"

namespace darkroom {

SelectionReader::SelectionReader(Document& document) {
    if (!document.fnHasSelection())
        return;
    m_Bound = document.fnGetSelection().m_rectBound;
    m_Mask.emplace(document.fnGetSelection());
}

unsigned int SelectionReader::fnGetWeight(int x, int y) {
    if (!m_Mask || !m_Bound.PtInRect(CPoint(x, y)))
        return 0;
    return static_cast<unsigned int>(qRed(m_Mask->fnRead(x - m_Bound.left, y - m_Bound.top)));
}

QRgb fnBlendSeen(QRgb over, QRgb below, unsigned int weight, bool covers, unsigned int bits) {
    const auto split = [](QRgb pixel) {
        return BlendPixel{pixel >> 24, pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF};
    };
    BlendPixel above = split(over);
    if (bits == 8)
        above[1] = above[2] = above[3] = q32::fnGreyOf(above[1], above[2], above[3]);
    const BlendPixel made = fnBlendPixel(above, split(below), weight, covers, bits == 32);
    return made[0] << 24 | made[1] << 16 | made[2] << 8 | made[3];
}

} // namespace darkroom
