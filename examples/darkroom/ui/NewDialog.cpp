#include "examples/darkroom/ui/NewDialog.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/ui/ColorButton.h"
#include "examples/darkroom/ui/Focus.h"
#include "examples/darkroom/ui/SizeLabel.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QSpinBox>

namespace darkroom {

namespace {
constexpr unsigned int kBits = 24;
constexpr int kMaxPixels = 60000;
constexpr int kStartWidth = 1024;
constexpr int kStartHeight = 768;
} // namespace

NewDialog::NewDialog(QWidget* parent)
    : QDialog(parent), m_pWidth(new QSpinBox), m_pHeight(new QSpinBox),
      m_pColor(new ColorButton(CqColor(255, 255, 255, 255))) {
    setWindowTitle(tr("New Picture"));
    auto* const form = new QFormLayout(this);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    m_pBytes = new SizeLabel(*buttons->button(QDialogButtonBox::Ok));
    for (QSpinBox* box : {m_pWidth, m_pHeight}) {
        box->setRange(1, kMaxPixels);
        box->setSuffix(tr(" px"));
        connect(box, &QSpinBox::valueChanged, this, &NewDialog::fnShowBytes);
    }
    m_pWidth->setObjectName("width");
    m_pHeight->setObjectName("height");
    m_pColor->setAccessibleName(tr("Color"));
    m_pWidth->setValue(kStartWidth);
    m_pHeight->setValue(kStartHeight);
    form->addRow(tr("&Width:"), m_pWidth);
    form->addRow(tr("&Height:"), m_pHeight);
    form->addRow(tr("&Color:"), m_pColor);
    form->addRow(tr("Memory:"), m_pBytes);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
    fnFocusFirst(*this);
}

void NewDialog::fnShowBytes() {
    m_pBytes->fnShow({m_pWidth->value(), m_pHeight->value()}, kBits);
}

unsigned int NewDialog::fnGetWidth() const {
    return static_cast<unsigned int>(m_pWidth->value());
}

unsigned int NewDialog::fnGetHeight() const {
    return static_cast<unsigned int>(m_pHeight->value());
}

CqColor NewDialog::fnGetColor() const {
    return m_pColor->fnGetColor();
}

} // namespace darkroom
