#include "examples/darkroom/ui/PreviewDialog.h"

#include "examples/darkroom/ui/Focus.h"
#include "examples/darkroom/ui/PictureView.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QSpinBox>
#include <QVBoxLayout>

namespace darkroom {

PreviewDialog::PreviewDialog(const QString& title, PictureView& view, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowStaysOnTopHint), m_View(view),
      m_pForm(new QFormLayout), m_pShow(new QCheckBox(tr("&Preview"))) {
    setWindowTitle(title);
    setWindowModality(Qt::WindowModal); // without a parent, of no window
    auto* const layout = new QVBoxLayout(this);
    layout->addLayout(m_pForm);
    layout->addWidget(m_pShow);
    m_pShow->setObjectName("preview");
    m_pShow->setChecked(true);
    m_Soon.setSingleShot(true);
    connect(&m_Soon, &QTimer::timeout, this, &PreviewDialog::fnUpdatePreview);
    connect(m_pShow, &QCheckBox::toggled, this, &PreviewDialog::fnUpdatePreview);
    connect(&view, &CqImageView::visibleChanged, this, &PreviewDialog::fnChanged);
}

QSpinBox* PreviewDialog::fnAddPixels(const QString& label, const char* name, int low, int high) {
    auto* const box = new QSpinBox;
    box->setObjectName(name);
    box->setRange(low, high);
    box->setSuffix(tr(" px"));
    m_pForm->addRow(label, box);
    connect(box, &QSpinBox::valueChanged, this, &PreviewDialog::fnChanged);
    return box;
}

QDialogButtonBox& PreviewDialog::fnAddFoot(QDialogButtonBox::StandardButtons more) {
    auto* const buttons =
        new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | more);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout()->addWidget(buttons);
    return *buttons;
}

void PreviewDialog::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    fnFocusFirst(*this);
}

void PreviewDialog::fnUpdatePreview() {
    m_pShow->isChecked() ? fnShowPreview() : fnHidePreview();
}

} // namespace darkroom
