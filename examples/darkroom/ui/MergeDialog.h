#pragma once

#include "examples/darkroom/model/Merge.h"

#include <QDialog>
#include <QTimer>

class QComboBox;
class QSpinBox;

namespace darkroom {

class ColorButton;
class PictureView;

/// Asks where and by which rule a second picture is laid over the first one, and shows in the view
/// what becomes of it.
class MergeDialog : public QDialog {
    Q_OBJECT

public:
    /// The second picture is read for as long as this lives.
    MergeDialog(CqImage& over, bool hasSelection, PictureView& view, QWidget* parent = nullptr);
    ~MergeDialog() override;

    MergePlan fnGetPlan() const;

private:
    void fnChanged();
    void fnShowPreview();

    CqImage& m_Over;
    PictureView& m_View;
    QComboBox* m_pRule;
    ColorButton* m_pKey;
    QSpinBox* m_pX;
    QSpinBox* m_pY;
    QTimer m_Soon; ///< so that a number that moves fast doesn't wait for pictures
};

} // namespace darkroom
