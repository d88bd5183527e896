#include "examples/darkroom/ui/ColorButton.h"

#include <QColor>
#include <QColorDialog>
#include <QIcon>
#include <QPixmap>

namespace darkroom {

namespace {

QColor fnToQt(const CqColor& color) {
    return {color.m_Red, color.m_Green, color.m_Blue};
}

CqColor fnFromQt(const QColor& color) {
    return {static_cast<unsigned char>(color.red()), static_cast<unsigned char>(color.green()),
            static_cast<unsigned char>(color.blue()), 255};
}

} // namespace

ColorButton::ColorButton(const CqColor& color, QWidget* parent) : QPushButton(parent) {
    fnSetColor(color);
    connect(this, &QPushButton::clicked, this, &ColorButton::fnAsk);
}

void ColorButton::fnSetColor(const CqColor& color) {
    m_Color = color;
    const QColor shown = fnToQt(color);
    QPixmap swatch(iconSize() * devicePixelRatioF());
    swatch.setDevicePixelRatio(devicePixelRatioF());
    swatch.fill(shown);
    setIcon(QIcon(swatch));
    setText(shown.name());
    setAccessibleDescription(shown.name()); // a label may name the button
    Q_EMIT colorChanged();
}

void ColorButton::fnAsk() {
    const CqColor before = m_Color;
    QColorDialog dialog(fnToQt(before), this);
    // Listeners receive each colour that the user highlights.
    connect(&dialog, &QColorDialog::currentColorChanged, this,
            [this](const QColor& color) { fnSetColor(fnFromQt(color)); });
    const bool chosen = dialog.exec() == QDialog::Accepted;
    fnSetColor(chosen ? fnFromQt(dialog.selectedColor()) : before);
}

} // namespace darkroom
