#pragma once

#include <QWidget>
#include <vector>

class QComboBox;
class QSpinBox;

namespace darkroom {

class CurveView;
class Document;

/// Tone curves with their channel and the numbers of the selected point.
class CurveEditor : public QWidget {
    Q_OBJECT

public:
    /// For a grey picture there is one curve.
    explicit CurveEditor(Document& document, QWidget* parent = nullptr);

    std::vector<int> fnGetValues() const;
    void fnSetValues(const std::vector<int>& values);

Q_SIGNALS:
    void changed();

private:
    QSpinBox* fnMakeBox(const QString& name, const char* id);
    void fnShowPoint();

    CurveView* m_pView;
    QComboBox* m_pChannel;
    QSpinBox* m_pInput;
    QSpinBox* m_pOutput;
};

} // namespace darkroom
