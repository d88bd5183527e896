#pragma once

#include "q32Base/image/CqColor.h"

#include <QPushButton>

namespace darkroom {

/// Shows a colour, and lets the user choose another one. While its dialog stands, the colour
/// follows what is looked at there; cancelled, it comes back.
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
