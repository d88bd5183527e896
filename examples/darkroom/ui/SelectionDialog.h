#pragma once

#include "q32Base/framework/Values.h"

#include <QDialog>

class QSpinBox;

namespace darkroom {

class PictureView;

/// Asks for a selection's rectangle in numbers, and outlines it in the view. Starts with the
/// selection's, or with all of the picture.
class SelectionDialog : public QDialog {
    Q_OBJECT

public:
    explicit SelectionDialog(PictureView& view, QWidget* parent = nullptr);
    ~SelectionDialog() override;

    CRect fnGetPlace() const;

private:
    PictureView& m_View;
    QSpinBox* m_pLeft;
    QSpinBox* m_pTop;
    QSpinBox* m_pWidth;
    QSpinBox* m_pHeight;
};

} // namespace darkroom
