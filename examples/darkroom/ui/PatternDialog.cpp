#include "examples/darkroom/ui/PatternDialog.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/ui/PartPreview.h"
#include "q32Base/framework/Memory.h"

#include <QSpinBox>

namespace darkroom {

PatternDialog::PatternDialog(CqImage& pattern, PictureView& view, QWidget* parent)
    : PreviewDialog(tr("Fill with Pattern"), view, parent), m_Pattern(pattern),
      m_pX(fnAddPixels(tr("Left:"), "x", 0, static_cast<int>(pattern.Width) - 1)),
      m_pY(fnAddPixels(tr("Top:"), "y", 0, static_cast<int>(pattern.Height) - 1)) {
    for (QSpinBox* box : {m_pX, m_pY})
        box->setWrapping(true); // moving the tiles by one full tile changes nothing
    fnAddFoot();
    fnChanged();
}

PatternDialog::~PatternDialog() {
    fnGetView().fnHidePreview();
}

CPoint PatternDialog::fnGetCorner() const {
    return {m_pX->value(), m_pY->value()};
}

void PatternDialog::fnShowPreview() {
    PictureView& view = fnGetView();
    view.fnHidePreview();
    q32::fnTryMemory([&] {
        Document& document = view.fnGetDocument();
        const bool selected = document.fnHasSelection();
        const CRect edited = document.fnGetEdited();
        SelectionReader selection(document);
        PixelProbe tile(m_Pattern);
        PixelProbe below(document.fnGetImage());
        const auto width = static_cast<LONG>(m_Pattern.Width);
        const auto height = static_cast<LONG>(m_Pattern.Height);
        const CPoint corner(edited.left + fnGetCorner().x, edited.top + fnGetCorner().y);
        fnShowPart(view, edited, [&](int x, int y) {
            const unsigned int weight = selected ? selection.fnGetWeight(x, y) : 255;
            const QRgb pixel =
                tile.fnRead(fnModulo(x - corner.x, width), fnModulo(y - corner.y, height));
            return fnBlendSeen(pixel, below.fnRead(x, y), weight, false,
                               document.fnGetImage().BitCount);
        });
    });
}

void PatternDialog::fnHidePreview() {
    fnGetView().fnHidePreview();
}

} // namespace darkroom
