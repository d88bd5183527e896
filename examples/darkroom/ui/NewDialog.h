#pragma once

#include "q32Base/image/CqColor.h"

#include <QDialog>

class QSpinBox;

namespace darkroom {

class ColorButton;
class SizeLabel;

/// Asks for the size and colour of a new picture, shows its size in bytes, and refuses sizes that
/// no picture can have.
class NewDialog : public QDialog {
    Q_OBJECT

public:
    explicit NewDialog(QWidget* parent = nullptr);

    unsigned int fnGetWidth() const;
    unsigned int fnGetHeight() const;
    CqColor fnGetColor() const;

private:
    void fnShowBytes();

    QSpinBox* m_pWidth;
    QSpinBox* m_pHeight;
    ColorButton* m_pColor;
    SizeLabel* m_pBytes = nullptr;
};

} // namespace darkroom
