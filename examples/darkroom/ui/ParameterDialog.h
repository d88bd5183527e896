#pragma once

#include "examples/darkroom/model/Operation.h"
#include "examples/darkroom/ui/Preview.h"
#include "examples/darkroom/ui/PreviewDialog.h"

#include <functional>
#include <vector>

namespace darkroom {

class SizeLabel;

/// Asks for the values of any operation, as its table tells them, and shows their effect on the
/// picture while they change. A width and a height can be kept in proportion. A result that is too
/// large for a picture can't be asked for.
class ParameterDialog : public PreviewDialog {
    Q_OBJECT

public:
    /// @param start  the values that it begins with, and goes back to when it is reset
    ParameterDialog(const Operation& operation, const Values& start, PictureView& view,
                    QWidget* parent = nullptr);

    Values fnGetValues() const;

private:
    void fnAdd(const Parameter& parameter, int value);
    void fnAddNumber(const Parameter& parameter, int value);
    void fnAddSwitch(const Parameter& parameter, int value);
    void fnAddColor(const Parameter& parameter, int value);
    /// @param ratio  the picture's height to its width
    void fnAddLock(double ratio);
    void fnOnValue();
    void fnShowPreview() override;
    void fnHidePreview() override;

    const Operation& m_Operation;
    std::vector<std::function<int()>> m_Readers; ///< one for each value
    std::vector<std::function<void()>> m_Resetters;
    std::vector<QSpinBox*> m_Numbers;
    Preview m_Preview;
    SizeLabel* m_pBytes = nullptr; ///< where the operation gives another size
    bool m_bFollows = false;       ///< a number is set by the other one
};

} // namespace darkroom
