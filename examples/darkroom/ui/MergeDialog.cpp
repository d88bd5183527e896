#include "examples/darkroom/ui/MergeDialog.h"

#include "examples/darkroom/ui/ColorButton.h"
#include "examples/darkroom/ui/MergePreview.h"
#include "examples/darkroom/ui/PictureView.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QSpinBox>

namespace darkroom {

namespace {
constexpr int kFarthest = 100000;
}

MergeDialog::MergeDialog(CqImage& over, bool hasSelection, PictureView& view, QWidget* parent)
    : QDialog(parent), m_Over(over), m_View(view), m_pRule(new QComboBox),
      m_pKey(new ColorButton(CqColor())), m_pX(new QSpinBox), m_pY(new QSpinBox) {
    setWindowTitle(tr("Merge a Picture"));
    auto* const form = new QFormLayout(this);
    const auto offer = [this](const QString& name, MergeRule rule) {
        m_pRule->addItem(name, static_cast<int>(rule));
    };
    offer(tr("All of it"), MergeRule::ALL);
    offer(tr("All but a key color"), MergeRule::KEY);
    if (hasSelection)
        offer(tr("Inside the selection"), MergeRule::SELECTION);
    if (over.BitCount == 32)
        offer(tr("By its alpha"), MergeRule::ALPHA);
    m_pRule->setObjectName("rule");
    m_pKey->setAccessibleName(tr("Key color"));
    m_pX->setObjectName("x");
    m_pY->setObjectName("y");
    form->addRow(tr("What:"), m_pRule);
    form->addRow(tr("Key color:"), m_pKey);
    for (QSpinBox* box : {m_pX, m_pY}) {
        box->setRange(-kFarthest, kFarthest);
        box->setSuffix(" px");
        connect(box, &QSpinBox::valueChanged, this, &MergeDialog::fnChanged);
    }
    form->addRow(tr("Left:"), m_pX);
    form->addRow(tr("Top:"), m_pY);
    connect(m_pKey, &ColorButton::colorChanged, this, &MergeDialog::fnChanged);
    connect(&view, &CqImageView::visibleChanged, this, &MergeDialog::fnChanged);
    connect(m_pRule, &QComboBox::currentIndexChanged, this, &MergeDialog::fnChanged);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
    m_Soon.setSingleShot(true);
    connect(&m_Soon, &QTimer::timeout, this, &MergeDialog::fnShowPreview);
    fnChanged();
}

MergeDialog::~MergeDialog() {
    fnHideMerge(m_View);
}

MergePlan MergeDialog::fnGetPlan() const {
    return {static_cast<MergeRule>(m_pRule->currentData().toInt()), m_pKey->fnGetColor(),
            m_pX->value(), m_pY->value()};
}

void MergeDialog::fnChanged() {
    m_pKey->setEnabled(fnGetPlan().m_eRule == MergeRule::KEY);
    m_Soon.start(0);
}

void MergeDialog::fnShowPreview() {
    fnShowMerge(m_View, m_Over, fnGetPlan());
}

} // namespace darkroom
