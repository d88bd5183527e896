#pragma once

#include "examples/darkroom/ui/PreviewDialog.h"
#include "q32Base/framework/Values.h"

class CqImage;
class QSpinBox;

namespace darkroom {

/// Asks where the tiles of a pattern begin, and shows in the view how they fill the selection, or
/// all of the picture without one.
class PatternDialog : public PreviewDialog {
    Q_OBJECT

public:
    /// The pattern is read for as long as this lives.
    PatternDialog(CqImage& pattern, PictureView& view, QWidget* parent = nullptr);
    ~PatternDialog() override;

    /// A corner of a tile, counted from the corner of what is filled.
    CPoint fnGetCorner() const;

private:
    void fnShowPreview() override;
    void fnHidePreview() override;

    CqImage& m_Pattern;
    QSpinBox* m_pX;
    QSpinBox* m_pY;
};

} // namespace darkroom
