#pragma once

#include "q32Base/image/CqColor.h"

#include <QDialog>

class QSpinBox;

namespace darkroom {

class ColorButton;

/// Asks for the size and the colour of a new picture.
class NewDialog : public QDialog {
    Q_OBJECT

public:
    explicit NewDialog(QWidget* parent = nullptr);

    unsigned int fnGetWidth() const;
    unsigned int fnGetHeight() const;
    CqColor fnGetColor() const;

private:
    QSpinBox* m_pWidth;
    QSpinBox* m_pHeight;
    ColorButton* m_pColor;
};

} // namespace darkroom
