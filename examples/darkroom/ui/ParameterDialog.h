#pragma once

#include "examples/darkroom/model/Operation.h"
#include "examples/darkroom/ui/Preview.h"
#include "examples/darkroom/ui/PreviewDialog.h"

#include <functional>
#include <span>
#include <vector>

namespace darkroom {

class CurveEditor;
class SizeLabel;

/// Asks for the values of any operation, as declared in its table, and previews their effect while
/// they change. Width and height can be kept in proportion. A result too large for a picture can't
/// be chosen.
class ParameterDialog : public PreviewDialog {
    Q_OBJECT

public:
    /// @param start  the initial values, restored by Reset
    ParameterDialog(const Operation& operation, const Values& start, PictureView& view,
                    QWidget* parent = nullptr);

    Values fnGetValues() const;

private:
    /// @param values  from the parameter's own one on
    void fnAdd(const Parameter& parameter, std::span<const int> values);
    void fnAddNumber(const Parameter& parameter, int value);
    void fnAddSwitch(const Parameter& parameter, int value);
    void fnAddColor(const Parameter& parameter, int value);
    void fnAddCurve(const Values& points);
    /// The scale in percent and whether width and height, the first two numbers, stay in
    /// proportion.
    void fnAddLock(int startWidth, int startHeight);
    void fnOnValue();
    void fnShowPreview() override;
    void fnHidePreview() override;

    const Operation& m_Operation;
    std::vector<std::function<int()>> m_Readers; ///< one for each value but those of a curve
    std::vector<std::function<void()>> m_Resetters;
    std::vector<QSpinBox*> m_Numbers;
    CurveEditor* m_pCurve = nullptr; ///< null unless the operation has a curve
    Preview m_Preview;
    SizeLabel* m_pBytes = nullptr; ///< null unless the operation changes the size
    bool m_bFollows = false;       ///< a number is being set from the other one
};

} // namespace darkroom
