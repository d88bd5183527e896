#pragma once

#include "examples/darkroom/model/Merge.h"
#include "examples/darkroom/ui/PreviewDialog.h"

class QComboBox;
class QSpinBox;

namespace darkroom {

class ColorButton;

/// Asks where and by which rule to lay a second picture over the first one, and previews the result
/// in the view.
class MergeDialog : public PreviewDialog {
    Q_OBJECT

public:
    /// Reads the second picture throughout the dialog's lifetime. One with alpha is at first laid
    /// by it.
    /// @param place  of its corner at first
    MergeDialog(CqImage& over, const CPoint& place, bool hasSelection, PictureView& view,
                QWidget* parent = nullptr);
    ~MergeDialog() override;

    MergePlan fnGetPlan() const;

private:
    void fnOnRule();
    void fnShowPreview() override;
    void fnHidePreview() override;

    CqImage& m_Over;
    QComboBox* m_pRule;
    ColorButton* m_pKey;
    QSpinBox* m_pX = nullptr;
    QSpinBox* m_pY = nullptr;
};

} // namespace darkroom
