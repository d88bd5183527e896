#include "examples/darkroom/ui/SelectionDialog.h"

#include "examples/darkroom/ui/Focus.h"
#include "examples/darkroom/ui/PictureView.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QSpinBox>

namespace darkroom {

SelectionDialog::SelectionDialog(PictureView& view, QWidget* parent)
    : QDialog(parent), m_View(view) {
    setWindowTitle(tr("Select by Numbers"));
    Document& document = view.fnGetDocument();
    const CRect start = document.fnGetEdited();
    const auto width = static_cast<int>(document.fnGetImage().Width);
    const auto height = static_cast<int>(document.fnGetImage().Height);
    auto* const form = new QFormLayout(this);
    const auto add = [&](const QString& label, const char* name, int low, int high, int value) {
        auto* const box = new QSpinBox;
        box->setObjectName(name);
        box->setRange(low, high);
        box->setSuffix(tr(" px"));
        box->setValue(value);
        form->addRow(label, box);
        connect(box, &QSpinBox::valueChanged, this, [this] { m_View.fnShowFrame(fnGetPlace()); });
        return box;
    };
    m_pLeft = add(tr("&Left:"), "left", 0, width - 1, start.left);
    m_pTop = add(tr("&Top:"), "top", 0, height - 1, start.top);
    m_pWidth = add(tr("&Width:"), "width", 1, width, start.Width());
    m_pHeight = add(tr("&Height:"), "height", 1, height, start.Height());
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
    m_View.fnShowFrame(fnGetPlace());
    fnFocusFirst(*this);
}

SelectionDialog::~SelectionDialog() {
    m_View.fnShowFrame(CRect(0, 0, 0, 0));
}

CRect SelectionDialog::fnGetPlace() const {
    return {m_pLeft->value(), m_pTop->value(), m_pLeft->value() + m_pWidth->value(),
            m_pTop->value() + m_pHeight->value()};
}

} // namespace darkroom
