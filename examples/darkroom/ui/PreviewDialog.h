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

/// A dialog that previews in the picture what its values do, whenever they or the visible part
/// change, unless the user disables that. Without a parent it blocks no other window, so that the
/// picture can be scrolled and zoomed meanwhile. A derived class fills the form, ends it with the
/// foot, and removes the preview when it is destroyed.
class PreviewDialog : public QDialog {
    Q_OBJECT

protected:
    PreviewDialog(const QString& title, PictureView& view, QWidget* parent);

    PictureView& fnGetView() const { return m_View; }
    QFormLayout& fnGetForm() const { return *m_pForm; }
    /// A row of the form with a number of pixels.
    QSpinBox* fnAddPixels(const QString& label, const char* name, int low, int high);
    /// The preview check box, OK and Cancel, and any further buttons; OK and Cancel are connected.
    QDialogButtonBox& fnAddFoot(QDialogButtonBox::StandardButtons more = {});

    /// Schedules an update of the preview.
    void fnChanged() { m_Soon.start(0); }
    virtual void fnShowPreview() = 0;
    virtual void fnHidePreview() = 0;
    void showEvent(QShowEvent* event) override;

private:
    void fnUpdatePreview();

    PictureView& m_View;
    QFormLayout* m_pForm;
    QCheckBox* m_pShow;
    QTimer m_Soon; ///< so that a fast slider doesn't wait for previews
};

} // namespace darkroom
