// What the tests' own person at the dialogs does when nothing goes as it should.
#include "tests/darkroom/DialogDriver.h"

#include "tests/platforms/qt/QtTestTools.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <QPushButton>

using std::chrono::milliseconds;

TEST(DialogDriver, ADialogThatIsClosedByItsUseIsAllRight) {
    DialogDriver driver;
    int used = 0;
    driver.fnUse([&](QDialog& dialog) {
        ++used;
        dialog.accept();
    });
    QDialog dialog;
    EXPECT_EQ(dialog.exec(), QDialog::Accepted);
    EXPECT_EQ(used, 1);
    driver.fnEnd();
}

TEST(DialogDriver, ADialogThatIsLeftOpenFailsAndIsClosed) {
    DialogDriver driver;
    QDialog dialog;
    dialog.setWindowTitle("Left");
    driver.fnUse([](QDialog&) {}); // as a use that has met a failed assertion
    int result = QDialog::Accepted;
    EXPECT_NONFATAL_FAILURE(result = dialog.exec(), "a dialog is left open: Left");
    EXPECT_EQ(result, QDialog::Rejected);
    driver.fnEnd();
}

TEST(DialogDriver, ADialogThatNobodyUsesFailsAndIsClosed) {
    DialogDriver driver(milliseconds(50));
    QDialog dialog;
    dialog.setWindowTitle("Strange");
    int result = QDialog::Accepted;
    EXPECT_NONFATAL_FAILURE(result = dialog.exec(), "a dialog that nobody uses: Strange");
    EXPECT_EQ(result, QDialog::Rejected);
}

TEST(DialogDriver, ADialogThatIsUsedMayTakeItsTime) {
    DialogDriver driver(milliseconds(50));
    QDialog dialog;
    driver.fnUse([](QDialog& used) {
        QElapsedTimer timer;
        timer.start();
        EXPECT_TRUE(fnWaitFor([&] { return timer.hasExpired(200); }));
        EXPECT_TRUE(used.isVisible());
        used.accept();
    });
    EXPECT_EQ(dialog.exec(), QDialog::Accepted);
}

TEST(DialogDriver, AnExpectedDialogInsideOfAnotherIsUsedAfterIt) {
    DialogDriver driver;
    QDialog outer;
    QString order;
    driver.fnUse([&](QDialog& dialog) {
        order += dialog.windowTitle();
        driver.fnUse([&](QDialog& nested) { // not for the outer one, which is in use
            order += nested.windowTitle();
            nested.accept();
        });
        QDialog inner(&dialog);
        inner.setWindowTitle("inner");
        EXPECT_EQ(inner.exec(), QDialog::Accepted);
        dialog.accept();
    });
    outer.setWindowTitle("outer ");
    EXPECT_EQ(outer.exec(), QDialog::Accepted);
    EXPECT_EQ(order, "outer inner");
}

TEST(DialogDriver, AUseThatNoDialogHasComeForFailsAtTheEnd) {
    DialogDriver driver;
    driver.fnUse([](QDialog& dialog) { dialog.reject(); });
    EXPECT_NONFATAL_FAILURE(driver.fnEnd(), "has not come");
    driver.fnEnd(); // once
}
