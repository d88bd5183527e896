// What a screen reader finds in the darkroom's windows.
#include "examples/darkroom/ui/MergeDialog.h"
#include "examples/darkroom/ui/NewDialog.h"
#include "examples/darkroom/ui/ParameterDialog.h"
#include "examples/darkroom/ui/PatternDialog.h"
#include "examples/darkroom/ui/PreferencesDialog.h"
#include "examples/darkroom/ui/SaveOptionsDialog.h"
#include "tests/darkroom/DarkroomWorld.h"

#include <optional>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <string>
#include <vector>

namespace {

QString fnNameOf(QWidget& widget) {
    QAccessibleInterface* const reader = QAccessible::queryAccessibleInterface(&widget);
    return reader ? reader->text(QAccessible::Name) : QString();
}

/// Every widget that takes the keyboard focus has a name. A spin box's own line edit counts as the
/// spin box.
void fnExpectNames(const QWidget& window) {
    int count = 0;
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        const bool part = qobject_cast<QLineEdit*>(widget) &&
                          qobject_cast<QAbstractSpinBox*>(widget->parentWidget());
        if (widget->focusPolicy() == Qt::NoFocus || part)
            continue;
        ++count;
        EXPECT_FALSE(fnNameOf(*widget).isEmpty())
            << widget->metaObject()->className() << ' ' << widget->objectName().toStdString()
            << " in " << window.windowTitle().toStdString();
    }
    EXPECT_GT(count, 0);
}

class DarkroomAccessibility : public DarkroomWindow {
protected:
    darkroom::PictureView& fnView() const { return m_pWindow->fnGetView(); }
    darkroom::ParameterDialog fnParameterDialog(const darkroom::Operation& operation) const {
        return {operation, operation.fnGetStart(m_pWindow->fnGetDocument().fnGetImage()), fnView()};
    }
};

} // namespace

TEST_F(DarkroomAccessibility, EveryDialogNamesItsParts) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("named.png", 60, 40)));
    for (const darkroom::Operation& operation : darkroom::fnGetOperations())
        if (!operation.m_Parameters.empty()) // otherwise there is no dialog
            fnExpectNames(fnParameterDialog(operation));
    fnExpectNames(fnParameterDialog(darkroom::fnGetFillOperation()));
    fnExpectNames(darkroom::PreferencesDialog(5));
    fnExpectNames(darkroom::NewDialog());
    fnExpectNames(darkroom::SaveOptionsDialog({}, std::nullopt));
    CqImage over;
    over.fnAlloc(10, 10, 32, nullptr, 0);
    fnExpectNames(darkroom::MergeDialog(over, CPoint(0, 0), true, fnView()));
    fnExpectNames(darkroom::PatternDialog(over, fnView()));
}

TEST_F(DarkroomAccessibility, TheWindowNamesItsParts) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("named.png", 60, 40)));
    fnExpectNames(*m_pWindow);
    EXPECT_EQ(fnNameOf(fnView()), "Picture");
    EXPECT_EQ(fnNameOf(*m_pWindow->findChild<QProgressBar*>()), "Progress");
}

TEST_F(DarkroomAccessibility, ALabelLeadsToItsSpinBox) {
    const darkroom::ParameterDialog dialog =
        fnParameterDialog(*darkroom::fnFindOperation("brightness"));
    std::vector<std::string> led;
    for (const QLabel* label : dialog.findChildren<QLabel*>())
        if (const QWidget* const number = label->buddy()) {
            EXPECT_EQ(label->text(), number->objectName());
            led.push_back(number->objectName().toStdString());
        }
    EXPECT_EQ(led, (std::vector<std::string>{"Brightness", "Contrast"}));
}
