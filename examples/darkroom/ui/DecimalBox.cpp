#include "examples/darkroom/ui/DecimalBox.h"

#include <algorithm>
#include <cmath>
#include <QLocale>

namespace darkroom {

DecimalBox::DecimalBox(int scale, QWidget* parent) : QSpinBox(parent), m_nScale(scale) {}

QString DecimalBox::textFromValue(int value) const {
    QLocale locale = this->locale();
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    const double shown = static_cast<double>(value) / m_nScale;
    // As many decimals as the value needs.
    for (int decimals = 0, unit = m_nScale;; ++decimals, unit /= 10)
        if (value % std::max(unit, 1) == 0 || unit <= 1)
            return locale.toString(shown, 'f', decimals);
}

double DecimalBox::fnRead(const QString& text, bool* known) const {
    QString number = text;
    if (number.startsWith(prefix()))
        number.remove(0, prefix().size());
    if (number.endsWith(suffix()))
        number.chop(suffix().size());
    number = number.trimmed().replace(',', '.').replace(locale().decimalPoint(), ".");
    return QLocale::c().toDouble(number, known);
}

int DecimalBox::valueFromText(const QString& text) const {
    const double shown = std::clamp(fnRead(text, nullptr) * m_nScale, -1e9, 1e9);
    return static_cast<int>(std::lround(shown));
}

QValidator::State DecimalBox::validate(QString& text, int&) const {
    bool known = false;
    const double number = fnRead(text, &known) * m_nScale;
    if (known)
        return number >= minimum() && number <= maximum() ? QValidator::Acceptable
                                                          : QValidator::Intermediate;
    // The beginning of a number.
    const bool begins = std::all_of(text.begin(), text.end(), [&](QChar c) {
        return c.isDigit() || c == '-' || c == '+' || c == '.' || c == ',' || c.isSpace() ||
               suffix().contains(c) || prefix().contains(c);
    });
    return begins ? QValidator::Intermediate : QValidator::Invalid;
}

} // namespace darkroom
