#pragma once

#include "examples/darkroom/model/Merge.h"

#include <QDialog>

class QComboBox;
class QSpinBox;

namespace darkroom {

class ColorButton;
class PictureView;

/// Asks where and by which rule a second picture is laid over the first one, and outlines its place
/// in the view.
class MergeDialog : public QDialog {
    Q_OBJECT

public:
    MergeDialog(const CqImage& over, bool hasSelection, PictureView& view,
                QWidget* parent = nullptr);
    ~MergeDialog() override;

    MergePlan fnGetPlan() const;

private:
    void fnChanged();

    CSize m_Size;
    PictureView& m_View;
    QComboBox* m_pRule;
    ColorButton* m_pKey;
    QSpinBox* m_pX;
    QSpinBox* m_pY;
};

} // namespace darkroom
