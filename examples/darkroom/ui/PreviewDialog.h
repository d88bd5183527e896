#pragma once

#include <QDialog>
#include <QDialogButtonBox>
#include <QTimer>

class QCheckBox;
class QFormLayout;
class QPushButton;
class QSpinBox;

namespace darkroom {

class PictureView;

/// A dialog that shows in the picture what its values do, as they change and as another part of the
/// picture comes into sight, unless the user switches that off. Whoever derives from it fills the
/// form, ends it with the foot, and takes away what is shown when it is destroyed.
class PreviewDialog : public QDialog {
    Q_OBJECT

protected:
    PreviewDialog(const QString& title, PictureView& view, QWidget* parent);

    PictureView& fnGetView() const { return m_View; }
    QFormLayout& fnGetForm() const { return *m_pForm; }
    /// A row of the form with a number of pixels.
    QSpinBox* fnAddPixels(const QString& label, const char* name, int low, int high);
    /// The switch, OK and Cancel, and what else is asked for; the first two buttons work.
    QDialogButtonBox& fnAddFoot(QDialogButtonBox::StandardButtons more = {});

    /// Shows the effect anew, soon.
    void fnChanged() { m_Soon.start(0); }
    virtual void fnShowPreview() = 0;
    virtual void fnHidePreview() = 0;

private:
    void fnUpdatePreview();

    PictureView& m_View;
    QFormLayout* m_pForm;
    QCheckBox* m_pShow;
    QTimer m_Soon; ///< so that a slider that moves fast doesn't wait for pictures
};

} // namespace darkroom
