#pragma once

#include "q32Base/image/CqColor.h"

#include <QPushButton>

namespace darkroom {

/// Shows a colour and lets the user choose another one. While its dialog is open, the colour
/// follows the one highlighted there; cancelling restores it.
class ColorButton : public QPushButton {
    Q_OBJECT

public:
    explicit ColorButton(const CqColor& color, QWidget* parent = nullptr);

    CqColor fnGetColor() const { return m_Color; }
    void fnSetColor(const CqColor& color);

Q_SIGNALS:
    void colorChanged();

private:
    void fnAsk();

    CqColor m_Color;
};

} // namespace darkroom
