#pragma once

#include "examples/darkroom/ui/PreviewDialog.h"
#include "q32Base/framework/Values.h"

class CqImage;
class QSpinBox;

namespace darkroom {

/// Asks where the tiles of a pattern begin, and previews in the view how they fill the selection,
/// or all of the picture if there is none.
class PatternDialog : public PreviewDialog {
    Q_OBJECT

public:
    /// Reads the pattern throughout the dialog's lifetime.
    PatternDialog(CqImage& pattern, PictureView& view, QWidget* parent = nullptr);
    ~PatternDialog() override;

    /// A corner of a tile, relative to the corner of the filled rectangle.
    CPoint fnGetCorner() const;

private:
    void fnShowPreview() override;
    void fnHidePreview() override;

    CqImage& m_Pattern;
    QSpinBox* m_pX;
    QSpinBox* m_pY;
};

} // namespace darkroom
