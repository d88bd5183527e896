#pragma once

#include <QAbstractSpinBox>
#include <QDialog>

namespace darkroom {

/// Gives the focus to the first value of a dialog, selected, so that a number can be typed at once.
inline void fnFocusFirst(QDialog& dialog) {
    auto* const box = dialog.findChild<QAbstractSpinBox*>();
    if (!box)
        return;
    box->setFocus(Qt::TabFocusReason);
    box->selectAll();
}

} // namespace darkroom
