#pragma once

#include "examples/darkroom/model/Operation.h"
#include "examples/darkroom/ui/Preview.h"

#include <functional>
#include <QDialog>
#include <QTimer>
#include <vector>

class QCheckBox;
class QFormLayout;
class QSpinBox;
class QVBoxLayout;

namespace darkroom {

/// Asks for the values of any operation, as its table tells them, and shows their effect on the
/// picture while they change. A width and a height can be kept in proportion.
class ParameterDialog : public QDialog {
    Q_OBJECT

public:
    ParameterDialog(const Operation& operation, Document& document, PictureView& view,
                    QWidget* parent = nullptr);

    Values fnGetValues() const;

private:
    void fnAdd(const Parameter& parameter, int value, QFormLayout& form);
    void fnAddNumber(const Parameter& parameter, int value, QFormLayout& form);
    void fnAddSwitch(const Parameter& parameter, int value, QFormLayout& form);
    void fnAddColor(const Parameter& parameter, int value, QFormLayout& form);
    /// @param ratio  the picture's height to its width
    void fnAddLock(QVBoxLayout& layout, double ratio);
    void fnChanged();
    void fnShowPreview();

    std::vector<std::function<int()>> m_Readers; ///< one for each value
    std::vector<std::function<void()>> m_Resetters;
    std::vector<QSpinBox*> m_Numbers;
    Preview m_Preview;
    QCheckBox* m_pShow = nullptr;
    bool m_bFollows = false; ///< a number is set by the other one
    QTimer m_Soon;           ///< so that a slider that moves fast doesn't wait for pictures
};

} // namespace darkroom
