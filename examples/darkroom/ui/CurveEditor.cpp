#include "examples/darkroom/ui/CurveEditor.h"

#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/ui/CurveView.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

namespace darkroom {

CurveEditor::CurveEditor(Document& document, QWidget* parent)
    : QWidget(parent), m_pView(new CurveView(document)), m_pChannel(new QComboBox),
      m_pInput(fnMakeBox(tr("Input"), "input")), m_pOutput(fnMakeBox(tr("Output"), "output")) {
    m_pView->setObjectName("curve");
    m_pChannel->setObjectName("channel");
    m_pChannel->setAccessibleName(tr("Channel"));
    m_pChannel->addItems({tr("All channels"), tr("Red"), tr("Green"), tr("Blue")});
    m_pChannel->setEnabled(document.fnGetImage().BitCount > 8);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(m_pChannel);
    layout->addWidget(m_pView, 1);
    auto* const row = new QHBoxLayout;
    layout->addLayout(row);
    for (QSpinBox* box : {m_pInput, m_pOutput}) {
        auto* const label = new QLabel(box->accessibleName());
        label->setBuddy(box);
        row->addWidget(label);
        row->addWidget(box);
        connect(box, &QSpinBox::valueChanged, this,
                [this] { m_pView->fnMovePoint(m_pInput->value(), m_pOutput->value()); });
    }
    row->addStretch();
    connect(m_pView, &CurveView::changed, this, &CurveEditor::fnShowPoint);
    connect(m_pChannel, &QComboBox::currentIndexChanged, this,
            [this](int index) { m_pView->fnShowChannel(static_cast<CurveChannel>(index)); });
    fnShowPoint();
}

QSpinBox* CurveEditor::fnMakeBox(const QString& name, const char* id) {
    constexpr int kTop = 255;
    auto* const box = new QSpinBox;
    box->setObjectName(id);
    box->setAccessibleName(name);
    box->setRange(0, kTop);
    box->setKeyboardTracking(false); // a number that is being typed may be out of the point's range
    return box;
}

/// The place that the view allows, where the numbers ask for another one.
void CurveEditor::fnShowPoint() {
    {
        const QSignalBlocker input(m_pInput);
        const QSignalBlocker output(m_pOutput);
        m_pInput->setValue(m_pView->fnGetPoint().m_nX);
        m_pOutput->setValue(m_pView->fnGetPoint().m_nY);
    }
    Q_EMIT changed();
}

std::vector<int> CurveEditor::fnGetValues() const {
    return m_pView->fnGetValues();
}

void CurveEditor::fnSetValues(const std::vector<int>& values) {
    m_pView->fnSetValues(values);
}

} // namespace darkroom
