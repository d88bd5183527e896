#include "examples/darkroom/ui/ParameterDialog.h"

#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/ui/ColorButton.h"
#include "examples/darkroom/ui/PictureView.h"
#include "examples/darkroom/ui/Placement.h"
#include "examples/darkroom/ui/SizeLabel.h"
#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <utility>

namespace darkroom {

namespace {

constexpr int kSliderWidth = 240;
constexpr int kBoxWidth = 80;
/// The nearest integer to a length that may exceed the range of a spin box.
int fnToLength(double length) {
    constexpr double kMax = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(std::round(length), 1.0, kMax));
}

/// Larger ranges get no slider.
constexpr int kSliderRange = 1000;

} // namespace

ParameterDialog::ParameterDialog(const Operation& operation, const Values& start, PictureView& view,
                                 QWidget* parent)
    : PreviewDialog(tr(operation.m_pszName), view, parent), m_Operation(operation),
      m_Preview(view.fnGetDocument(), view, operation) {
    for (std::size_t i = 0; i < start.size(); ++i)
        fnAdd(operation.m_Parameters[i], start[i]);
    if (operation.m_ePreview == PreviewKind::SIZE)
        fnAddLock(static_cast<double>(start[1]) / start[0]);
    QDialogButtonBox& buttons = fnAddFoot(QDialogButtonBox::Reset);
    if (!operation.fnIsLocal()) {
        m_pBytes = new SizeLabel(*buttons.button(QDialogButtonBox::Ok));
        fnGetForm().addRow(tr("Memory"), m_pBytes);
    }
    connect(buttons.button(QDialogButtonBox::Reset), &QPushButton::clicked, this, [this] {
        for (const auto& reset : m_Resetters)
            reset();
    });
    connect(&view, &CqImageView::visibleChanged, this, [this] { m_Preview.fnForget(); });
    fnOnValue();
}

Values ParameterDialog::fnGetValues() const {
    Values values;
    for (const auto& read : m_Readers)
        values.push_back(read());
    return values;
}

void ParameterDialog::fnAdd(const Parameter& parameter, int value) {
    switch (parameter.m_eKind) {
    case ParameterKind::NUMBER:
        return fnAddNumber(parameter, value);
    case ParameterKind::SWITCH:
        return fnAddSwitch(parameter, value);
    case ParameterKind::COLOR:
        return fnAddColor(parameter, value);
    }
}

void ParameterDialog::fnAddNumber(const Parameter& parameter, int value) {
    auto* const row = new QHBoxLayout;
    auto* const label = new QLabel(tr(parameter.m_pszName));
    auto* const box = new QSpinBox;
    box->setAccessibleName(label->text());
    label->setBuddy(box);
    box->setRange(parameter.m_nLow, parameter.m_nHigh);
    box->setSuffix(QString::fromUtf8(parameter.m_pszUnit));
    box->setValue(value);
    box->setObjectName(parameter.m_pszName);
    box->setMinimumWidth(kBoxWidth); // so that all sliders have the same length
    if (parameter.m_nHigh - parameter.m_nLow <= kSliderRange) {
        auto* const slider = new QSlider(Qt::Horizontal);
        slider->setRange(parameter.m_nLow, parameter.m_nHigh);
        slider->setValue(value);
        slider->setMinimumWidth(kSliderWidth);
        slider->setAccessibleName(label->text());
        connect(slider, &QSlider::valueChanged, box, &QSpinBox::setValue);
        connect(box, &QSpinBox::valueChanged, slider, &QSlider::setValue);
        row->addWidget(slider, 1);
    }
    row->addWidget(box);
    fnGetForm().addRow(label, row);
    connect(box, &QSpinBox::valueChanged, this, &ParameterDialog::fnOnValue);
    m_Numbers.push_back(box);
    m_Readers.emplace_back([box] { return box->value(); });
    m_Resetters.emplace_back([box, value] { box->setValue(value); });
}

void ParameterDialog::fnAddSwitch(const Parameter& parameter, int value) {
    auto* const box = new QCheckBox(tr(parameter.m_pszName));
    box->setObjectName(parameter.m_pszName);
    box->setChecked(value != 0);
    fnGetForm().addRow(QString(), box);
    connect(box, &QCheckBox::toggled, this, &ParameterDialog::fnOnValue);
    m_Readers.emplace_back([box] { return box->isChecked() ? 1 : 0; });
    m_Resetters.emplace_back([box, value] { box->setChecked(value != 0); });
}

void ParameterDialog::fnAddColor(const Parameter& parameter, int value) {
    auto* const button = new ColorButton(CqColor(static_cast<unsigned long>(value)));
    button->setObjectName(parameter.m_pszName);
    button->setAccessibleName(tr(parameter.m_pszName));
    fnGetForm().addRow(tr(parameter.m_pszName), button);
    connect(button, &ColorButton::colorChanged, this, &ParameterDialog::fnOnValue);
    const auto read = [button] {
        return static_cast<int>(static_cast<unsigned long>(button->fnGetColor()));
    };
    m_Readers.emplace_back(read);
    m_Resetters.emplace_back(
        [button, value] { button->fnSetColor(CqColor(static_cast<unsigned long>(value))); });
}

void ParameterDialog::fnAddLock(double ratio) {
    auto* const lock = new QCheckBox(tr("&Keep proportions"));
    lock->setObjectName("proportions");
    lock->setChecked(true);
    fnGetForm().addRow(QString(), lock);
    QSpinBox* const width = m_Numbers[0];
    QSpinBox* const height = m_Numbers[1];
    const auto follow = [this, lock](QSpinBox* box, double factor) {
        return [this, lock, box, factor](int value) {
            // The dependent value must not drive the other one in turn: it is rounded.
            if (!lock->isChecked() || std::exchange(m_bFollows, true))
                return;
            box->setValue(fnToLength(value * factor));
            m_bFollows = false;
        };
    };
    connect(width, &QSpinBox::valueChanged, this, follow(height, ratio));
    connect(height, &QSpinBox::valueChanged, this, follow(width, 1 / ratio));
    // While they are linked, neither may leave the range in which the other can follow.
    const auto limit = [width, height, ratio, mostWidth = width->maximum(),
                        mostHeight = height->maximum()](bool on) {
        width->setMaximum(on ? std::min(mostWidth, fnToLength(mostHeight / ratio)) : mostWidth);
        height->setMaximum(on ? std::min(mostHeight, fnToLength(mostWidth * ratio)) : mostHeight);
    };
    connect(lock, &QCheckBox::toggled, this, [=, this](bool on) {
        limit(on);
        if (on) {
            m_bFollows = true;
            height->setValue(fnToLength(width->value() * ratio));
            m_bFollows = false;
        }
    });
    limit(true);
}

void ParameterDialog::fnOnValue() {
    if (m_pBytes)
        q32::fnTryMemory([&] {
            const CqImage& image = fnGetView().fnGetDocument().fnGetImage();
            m_pBytes->fnTell(fnFindPlacement(m_Operation, image, fnGetValues()).m_Size,
                             image.BitCount);
        });
    fnChanged();
}

void ParameterDialog::fnShowPreview() {
    m_Preview.fnShow(fnGetValues());
}

void ParameterDialog::fnHidePreview() {
    m_Preview.fnHide();
}

} // namespace darkroom
