#include "examples/darkroom/ui/MergeDialog.h"

#include "examples/darkroom/ui/ColorButton.h"
#include "examples/darkroom/ui/MergePreview.h"
#include "examples/darkroom/ui/PictureView.h"

#include <QComboBox>
#include <QFormLayout>
#include <QSpinBox>

namespace darkroom {

namespace {
constexpr int kFarthest = 1'000'000;
}

MergeDialog::MergeDialog(CqImage& over, const CPoint& place, bool hasSelection, PictureView& view,
                         QWidget* parent)
    : PreviewDialog(tr("Merge a Picture"), view, parent), m_Over(over), m_pRule(new QComboBox),
      m_pKey(new ColorButton(CqColor())) {
    const auto offer = [this](const QString& name, MergeRule rule) {
        m_pRule->addItem(name, static_cast<int>(rule));
    };
    offer(tr("All of it"), MergeRule::ALL);
    offer(tr("All but a key color"), MergeRule::KEY);
    if (hasSelection)
        offer(tr("Inside the selection"), MergeRule::SELECTION);
    if (over.BitCount == 32)
        offer(tr("By its alpha"), MergeRule::ALPHA);
    // The last rule; a second picture that isn't a rectangle is meant to be laid by its shape.
    if (over.BitCount == 32)
        m_pRule->setCurrentIndex(m_pRule->count() - 1);
    m_pRule->setObjectName("rule");
    m_pKey->setObjectName("key");
    m_pKey->setAccessibleName(tr("Key color"));
    fnGetForm().addRow(tr("What:"), m_pRule);
    fnGetForm().addRow(tr("Key color:"), m_pKey);
    m_pX = fnAddPixels(tr("Left:"), "x", -kFarthest, kFarthest);
    m_pY = fnAddPixels(tr("Top:"), "y", -kFarthest, kFarthest);
    m_pX->setValue(static_cast<int>(place.x));
    m_pY->setValue(static_cast<int>(place.y));
    connect(m_pKey, &ColorButton::colorChanged, this, &MergeDialog::fnChanged);
    connect(m_pRule, &QComboBox::currentIndexChanged, this, &MergeDialog::fnOnRule);
    fnAddFoot();
    fnOnRule();
}

MergeDialog::~MergeDialog() {
    fnHideMerge(fnGetView());
}

MergePlan MergeDialog::fnGetPlan() const {
    return {static_cast<MergeRule>(m_pRule->currentData().toInt()), m_pKey->fnGetColor(),
            m_pX->value(), m_pY->value()};
}

void MergeDialog::fnOnRule() {
    m_pKey->setEnabled(fnGetPlan().m_eRule == MergeRule::KEY);
    fnChanged();
}

void MergeDialog::fnShowPreview() {
    fnShowMerge(fnGetView(), m_Over, fnGetPlan());
}

void MergeDialog::fnHidePreview() {
    fnHideMerge(fnGetView());
}

} // namespace darkroom
