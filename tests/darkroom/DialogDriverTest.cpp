// How the dialog driver handles tests that go wrong.
#include "tests/darkroom/DialogDriver.h"

#include "tests/platforms/qt/QtTestTools.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <QPushButton>

using std::chrono::milliseconds;

TEST(DialogDriver, ADialogClosedByItsHandlerPasses) {
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

TEST(DialogDriver, ADialogLeftOpenFailsAndIsClosed) {
    DialogDriver driver;
    QDialog dialog;
    dialog.setWindowTitle("Left");
    driver.fnUse([](QDialog&) {}); // like a handler that stopped at a failed assertion
    int result = QDialog::Accepted;
    EXPECT_NONFATAL_FAILURE(result = dialog.exec(), "a dialog is left open: Left");
    EXPECT_EQ(result, QDialog::Rejected);
    driver.fnEnd();
}

TEST(DialogDriver, ADialogWithoutAHandlerFailsAndIsClosed) {
    DialogDriver driver(milliseconds(50));
    QDialog dialog;
    dialog.setWindowTitle("Strange");
    int result = QDialog::Accepted;
    EXPECT_NONFATAL_FAILURE(result = dialog.exec(), "a dialog that nobody uses: Strange");
    EXPECT_EQ(result, QDialog::Rejected);
}

TEST(DialogDriver, AHandlerMayTakeItsTime) {
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

TEST(DialogDriver, AnExpectedDialogInsideAnotherIsHandledAfterIt) {
    DialogDriver driver;
    QDialog outer;
    QString order;
    driver.fnUse([&](QDialog& dialog) {
        order += dialog.windowTitle();
        driver.fnUse([&](QDialog& nested) { // not for the outer one, which is already being
                                            // operated
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

TEST(DialogDriver, AHandlerWithoutADialogFailsAtTheEnd) {
    DialogDriver driver;
    driver.fnUse([](QDialog& dialog) { dialog.reject(); });
    EXPECT_NONFATAL_FAILURE(driver.fnEnd(), "has not come");
    driver.fnEnd(); // only once
}
