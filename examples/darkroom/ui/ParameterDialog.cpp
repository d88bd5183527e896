#include "examples/darkroom/ui/ParameterDialog.h"

#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/ui/ColorButton.h"
#include "examples/darkroom/ui/CurveEditor.h"
#include "examples/darkroom/ui/DecimalBox.h"
#include "examples/darkroom/ui/HistogramView.h"
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
#include <QSignalBlocker>
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
constexpr int kSliderPage = 10;
constexpr int kPercent = 100; ///< scale of percentages
constexpr int kMaxPercent = 10'000;

/// A slider that moves with a number.
QSlider* fnMakeSlider(const Parameter& parameter, QSpinBox& box) {
    auto* const slider = new QSlider(Qt::Horizontal);
    slider->setMinimumWidth(kSliderWidth);
    slider->setAccessibleName(box.accessibleName());
    if (!parameter.m_bRatio) {
        slider->setSingleStep(parameter.m_nScale);
        slider->setPageStep(kSliderPage * parameter.m_nScale);
        slider->setRange(parameter.m_nLow, parameter.m_nHigh);
        slider->setValue(box.value());
        QObject::connect(slider, &QSlider::valueChanged, &box, &QSpinBox::setValue);
        QObject::connect(&box, &QSpinBox::valueChanged, slider, &QSlider::setValue);
        return slider;
    }
    const double low = parameter.m_nLow;
    const double ratio = parameter.m_nHigh / low;
    const auto show = [=](int value) {
        const QSignalBlocker blocker(slider); // several numbers share a place
        slider->setValue(
            static_cast<int>(std::lround(kSliderRange * std::log(value / low) / std::log(ratio))));
    };
    slider->setRange(0, kSliderRange);
    slider->setSingleStep(kSliderPage);
    slider->setPageStep(kSliderPage * kSliderPage);
    show(box.value());
    QObject::connect(slider, &QSlider::valueChanged, &box, [=, &box](int place) {
        box.setValue(static_cast<int>(
            std::lround(low * std::pow(ratio, static_cast<double>(place) / kSliderRange))));
    });
    QObject::connect(&box, &QSpinBox::valueChanged, slider, show);
    return slider;
}

} // namespace

ParameterDialog::ParameterDialog(const Operation& operation, const Values& start, PictureView& view,
                                 QWidget* parent)
    : PreviewDialog(tr(operation.m_pszName), view, parent), m_Operation(operation),
      m_Preview(view.fnGetDocument(), view, operation) {
    if (operation.m_bHistogram)
        fnGetForm().addRow(new HistogramView(view.fnGetDocument()));
    for (std::size_t i = 0; i < operation.m_Parameters.size(); ++i)
        fnAdd(operation.m_Parameters[i], std::span(start).subspan(i));
    if (operation.m_ePreview == PreviewKind::SIZE)
        fnAddLock(start[0], start[1]);
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
    if (m_pCurve) {
        const Values points = m_pCurve->fnGetValues();
        values.insert(values.end(), points.begin(), points.end());
    }
    return values;
}

void ParameterDialog::fnAdd(const Parameter& parameter, std::span<const int> values) {
    switch (parameter.m_eKind) {
    case ParameterKind::NUMBER:
        return fnAddNumber(parameter, values.front());
    case ParameterKind::SWITCH:
        return fnAddSwitch(parameter, values.front());
    case ParameterKind::COLOR:
        return fnAddColor(parameter, values.front());
    case ParameterKind::CURVE:
        return fnAddCurve(Values(values.begin(), values.end()));
    }
}

void ParameterDialog::fnAddNumber(const Parameter& parameter, int value) {
    auto* const row = new QHBoxLayout;
    auto* const label = new QLabel(tr(parameter.m_pszName));
    QSpinBox* const box =
        parameter.m_nScale == 1 ? new QSpinBox : new DecimalBox(parameter.m_nScale);
    box->setAccessibleName(label->text());
    label->setBuddy(box);
    box->setRange(parameter.m_nLow, parameter.m_nHigh);
    box->setSuffix(QString::fromUtf8(parameter.m_pszUnit));
    box->setSingleStep(std::max(1, parameter.m_nScale / 10));
    box->setValue(value);
    box->setObjectName(parameter.m_pszName);
    box->setMinimumWidth(kBoxWidth); // so that all sliders have the same length
    if ((parameter.m_nHigh - parameter.m_nLow) / parameter.m_nScale <= kSliderRange)
        row->addWidget(fnMakeSlider(parameter, *box), 1);
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

void ParameterDialog::fnAddCurve(const Values& points) {
    m_pCurve = new CurveEditor(fnGetView().fnGetDocument());
    m_pCurve->fnSetValues(points);
    fnGetForm().addRow(m_pCurve);
    connect(m_pCurve, &CurveEditor::changed, this, &ParameterDialog::fnOnValue);
    m_Resetters.emplace_back([this, points] { m_pCurve->fnSetValues(points); });
}

void ParameterDialog::fnAddLock(int startWidth, int startHeight) {
    auto* const lock = new QCheckBox(tr("&Keep proportions"));
    lock->setObjectName("proportions");
    lock->setChecked(true);
    auto* const percent = new DecimalBox(kPercent);
    percent->setObjectName("percent");
    percent->setRange(1, kMaxPercent * kPercent);
    percent->setSuffix(tr(" %"));
    percent->setValue(100 * kPercent);
    percent->setSingleStep(kPercent);
    fnGetForm().addRow(tr("&Scale"), percent);
    fnGetForm().addRow(QString(), lock);
    QSpinBox* const width = m_Numbers[0];
    QSpinBox* const height = m_Numbers[1];
    const double ratio = static_cast<double>(startHeight) / startWidth;
    // Dependent values must not drive the others in turn: they are rounded.
    const auto follow = [this](auto set) {
        return [this, set](int value) {
            if (std::exchange(m_bFollows, true))
                return;
            set(value);
            m_bFollows = false;
        };
    };
    const auto show = [=] {
        percent->setValue(
            static_cast<int>(std::lround(100.0 * kPercent * width->value() / startWidth)));
    };
    connect(percent, &QSpinBox::valueChanged, this, follow([=](int value) {
                const double factor = value / (100.0 * kPercent);
                width->setValue(fnToLength(startWidth * factor));
                height->setValue(fnToLength(startHeight * factor));
            }));
    connect(width, &QSpinBox::valueChanged, this, follow([=](int value) {
                if (lock->isChecked())
                    height->setValue(fnToLength(value * ratio));
                show();
            }));
    connect(height, &QSpinBox::valueChanged, this, follow([=](int value) {
                if (lock->isChecked())
                    width->setValue(fnToLength(value / ratio));
                show();
            }));
    // While they are linked, neither may leave the range in which the other can follow.
    const auto limit = [width, height, ratio, mostWidth = width->maximum(),
                        mostHeight = height->maximum()](bool on) {
        width->setMaximum(on ? std::min(mostWidth, fnToLength(mostHeight / ratio)) : mostWidth);
        height->setMaximum(on ? std::min(mostHeight, fnToLength(mostWidth * ratio)) : mostHeight);
    };
    const auto link = follow([=](int on) {
        limit(on != 0);
        if (on != 0)
            height->setValue(fnToLength(width->value() * ratio));
        show();
    });
    connect(lock, &QCheckBox::toggled, this, [link](bool on) { link(on ? 1 : 0); });
    limit(true);
    m_Resetters.emplace_back([percent] { percent->setValue(100 * kPercent); });
}

void ParameterDialog::fnOnValue() {
    if (m_pBytes)
        q32::fnTryMemory([&] {
            const CqImage& image = fnGetView().fnGetDocument().fnGetImage();
            m_pBytes->fnShow(fnFindPlacement(m_Operation, image, fnGetValues()).m_Size,
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
