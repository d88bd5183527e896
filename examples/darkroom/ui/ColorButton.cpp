#include "examples/darkroom/ui/ColorButton.h"

#include <QColor>
#include <QColorDialog>
#include <QIcon>
#include <QPixmap>

namespace darkroom {

ColorButton::ColorButton(const CqColor& color, QWidget* parent) : QPushButton(parent) {
    fnSetColor(color);
    connect(this, &QPushButton::clicked, this, &ColorButton::fnAsk);
}

void ColorButton::fnSetColor(const CqColor& color) {
    m_Color = color;
    const QColor shown(color.m_Red, color.m_Green, color.m_Blue);
    QPixmap swatch(iconSize() * devicePixelRatioF());
    swatch.setDevicePixelRatio(devicePixelRatioF());
    swatch.fill(shown);
    setIcon(QIcon(swatch));
    setText(shown.name());
    setAccessibleDescription(shown.name()); // a name may stand before the text
    Q_EMIT colorChanged();
}

void ColorButton::fnAsk() {
    const QColor chosen =
        QColorDialog::getColor(QColor(m_Color.m_Red, m_Color.m_Green, m_Color.m_Blue), this);
    if (chosen.isValid())
        fnSetColor(CqColor(static_cast<unsigned char>(chosen.red()),
                           static_cast<unsigned char>(chosen.green()),
                           static_cast<unsigned char>(chosen.blue()), 255));
}

} // namespace darkroom
