#pragma once

#include <QSpinBox>

namespace darkroom {

/// A number box for values with decimals that are stored as integers, for example in hundredths.
/// Both the point and the comma separate decimals.
class DecimalBox : public QSpinBox {
    Q_OBJECT

public:
    /// @param scale  a power of ten: values are this many times what is shown
    explicit DecimalBox(int scale, QWidget* parent = nullptr);

protected:
    QString textFromValue(int value) const override;
    int valueFromText(const QString& text) const override;
    QValidator::State validate(QString& text, int& position) const override;

private:
    /// The number in a text, without prefix and suffix.
    double fnRead(const QString& text, bool* known) const;

    const int m_nScale;
};

} // namespace darkroom
