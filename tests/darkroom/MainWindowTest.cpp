// Operates the darkroom's window as a user would.
#include "examples/darkroom/ui/MainWindow.h"

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <functional>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDropEvent>
#include <QFile>
#include <QLineEdit>
#include <QMimeData>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QSettings>
#include <QSpinBox>
#include <QStatusBar>
#include <QTest>
#include <QToolBar>
#include <QUrl>
#include <QWheelEvent>
#include <QWindow>
#include <utility>
#include <vector>

using darkroom::Document;
using darkroom::fnFindOperation;

TEST_F(DarkroomWindow, OpensEditsUndoesAbortsSavesAndReopens) {
    // Large enough that the rotation is still running when the key is polled.
    const QString source = fnMakePicture("source.bmp", 3000, 2200);
    const QString target = fnPath("result.tif");

    fnInDialog([&](QDialog& dialog) { fnType(dialog, source); });
    fnDo("open");
    ASSERT_TRUE(m_pWindow->fnGetDocument().fnHasImage());
    EXPECT_TRUE(m_pWindow->windowTitle().startsWith("source.bmp"));
    EXPECT_FALSE(m_pWindow->isWindowModified());

    fnInDialog([&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("Brightness")->setValue(30);
        dialog.findChild<QSpinBox*>("Contrast")->setValue(-10);
        fnAccept(dialog);
    });
    fnDo("brightness");
    EXPECT_TRUE(m_pWindow->isWindowModified());
    fnDo("right");
    fnDo("sharpen", [&](QDialog& dialog) { fnAccept(dialog); });
    EXPECT_TRUE(fnAction("undo").text().contains("Sharpen"));
    fnPress(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(fnAction("undo").text().contains("Rotate Right"));
    EXPECT_TRUE(fnAction("redo").text().contains("Sharpen"));

    // A rotation aborted by Esc leaves everything unchanged.
    const Bytes before = fnBytesOf(m_pWindow->fnGetDocument().fnGetImage());
    int looks = 0;
    m_OnLook = [&] {
        if (++looks == 5)
            fnHoldKey(Qt::Key_Escape, VK_ESCAPE);
    };
    fnDo("rotate", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("Angle, clockwise")->setValue(33 * darkroom::kDegree);
        fnAccept(dialog);
    });
    m_OnLook = {};
    fnReleaseKey(Qt::Key_Escape);
    EXPECT_EQ(looks, 5) << "the look that sees the key is the last";
    EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().contains("stopped"));
    EXPECT_EQ(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), before);
    EXPECT_TRUE(fnAction("redo").text().contains("Sharpen")) << "the history is the same";
    EXPECT_TRUE(fnAction("rotate").isEnabled());

    fnPress(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    fnDo("saveAs", [&](QDialog& dialog) {
        fnAcceptNext();
        fnType(dialog, target);
    });
    EXPECT_FALSE(m_pWindow->isWindowModified());
    ASSERT_TRUE(m_pWindow->fnOpen(target));

    CqImage expected;
    ASSERT_TRUE(q32ReadPicture(QFile::encodeName(source).constData(), expected).fnIsDone());
    expected.fnBrightContrast(30, -10, false, nullptr);
    expected.fnRotate(90, CqColor(), nullptr, false, nullptr);
    fnFindOperation("sharpen")->m_pRun(expected, darkroom::Values{50}, nullptr);
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetImage().Width, 2200u);
    EXPECT_EQ(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), fnBytesOf(expected));
    fnKeepPicture(*m_pWindow, "darkroom");
}

TEST_F(DarkroomWindow, ADialogPreviewsItsEffectOnTheVisiblePartAndTakesItBack) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("preview.png", 640, 480)));
    darkroom::PictureView& view = m_pWindow->fnGetView();
    view.fnSetAveraging(false); // previews show the nearest pixels
    for (const double zoom : {1.0, 0.5, 3.0}) {
        view.fnSetZoom(zoom);
        QCoreApplication::processEvents(); // scroll bars appear and disappear
        const auto look = [&] { return view.viewport()->grab().toImage(); };
        const QImage before = look();
        QImage shown;
        fnDo("threshold", [&](QDialog& dialog) {
            ASSERT_TRUE(fnWaitFor([&] { return look() != before; }));
            const QImage first = look();
            dialog.findChild<QSpinBox*>("Level")->setValue(90);
            ASSERT_TRUE(fnWaitFor([&] { return look() != first; }));
            shown = look();
            dialog.findChild<QCheckBox*>("preview")->setChecked(false);
            EXPECT_TRUE(look() == before) << zoom;
            fnAccept(dialog);
        });
        EXPECT_TRUE(look() == shown) << "as it was promised, at " << zoom;
        fnDo("undo");
        EXPECT_TRUE(look() == before) << zoom;
    }
}

TEST_F(DarkroomWindow, APictureLargerThanItsShareOfMemoryIsEditedOnTheScratchDisk) {
    const QString path = fnMakePicture("large.bmp", 1500, 1000);
    q32GetVMPolicy()->fnSetRamLimit(1'000'000);
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    Document& document = m_pWindow->fnGetDocument();
    EXPECT_FALSE(document.fnGetImage().fnGetScratchPath().IsEmpty());
    const Bytes before = fnBytesOf(document.fnGetImage());
    fnDo("left");
    fnDo("brightness", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("Contrast")->setValue(20);
        fnAccept(dialog);
    });
    EXPECT_GE(q32GetVMPolicy()->fnGetDiskUsage(0).m_nFiles, 3u) << "the picture and two snapshots";
    fnDo("undo");
    fnDo("undo");
    EXPECT_EQ(fnBytesOf(document.fnGetImage()), before);
}

TEST_F(DarkroomWindow, WheelAndKeysZoomAndTheMouseMovesThePicture) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("zoom.bmp", 2000, 1500)));
    darkroom::PictureView& view = m_pWindow->fnGetView();
    EXPECT_TRUE(view.fnIsFit());
    const double fit = view.fnGetZoom();
    EXPECT_LT(fit, 1.0);
    fnPress(Qt::Key_1, Qt::ControlModifier);
    EXPECT_EQ(view.fnGetZoom(), 1.0);
    fnPress(Qt::Key_Minus, Qt::ControlModifier);
    EXPECT_LT(view.fnGetZoom(), 1.0);
    fnPress(Qt::Key_Equal, Qt::ControlModifier);
    EXPECT_EQ(view.fnGetZoom(), 1.0) << "plus without the Shift key";
    fnPress(Qt::Key_Plus, Qt::ControlModifier);
    EXPECT_GT(view.fnGetZoom(), 1.0);
    fnPress(Qt::Key_0, Qt::ControlModifier);
    EXPECT_EQ(view.fnGetZoom(), fit);
    const QPoint place = view.viewport()->rect().center() + QPoint(60, 40);
    fnDo("zoomOne"); // a picture that fits is centred
    const QPointF kept = view.fnToImage(place);
    const auto wheel = [&](int angle) {
        QWheelEvent turn(place, view.viewport()->mapToGlobal(place), {}, {0, angle}, Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(view.viewport(), &turn);
    };
    for (int i = 0; i < 4; ++i)
        wheel(120);
    EXPECT_GT(view.fnGetZoom(), 1.0);
    EXPECT_NEAR(view.fnToImage(place).x(), kept.x(), 2.0) << "what is under the cursor stays";
    EXPECT_NEAR(view.fnToImage(place).y(), kept.y(), 2.0);
    fnDo("zoomOne");
    view.fnCenterOn(QPointF(1000, 750));
    const QPointF before = view.fnToImage(place);
    fnDrag(place, place - QPoint(30, 20));
    // The picture is placed at integer screen pixels.
    const QPointF moved = view.fnToImage(place) - before;
    const QPointF expected = QPointF(30, 20) * view.devicePixelRatioF();
    EXPECT_NEAR(moved.x(), expected.x(), 0.5);
    EXPECT_NEAR(moved.y(), expected.y(), 0.5);
}

TEST_F(DarkroomWindow, TheViewIsRedrawnOnlyForAnotherPicture) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("reduced.bmp", 2400, 1600)));
    darkroom::PictureView& view = m_pWindow->fnGetView();
    view.fnSetZoom(0.1);
    const auto settle = [&] {
        QCoreApplication::processEvents();
        ASSERT_TRUE(fnWaitFor([&] { return !view.fnIsRefining() && view.fnDrawNow() == 0; }));
    };
    const std::vector<CqPoint2D> corners = {{100, 80}, {900, 700}};
    const std::pair<const char*, std::function<void()>> keeps[] = {
        {"select",
         [&] {
             EXPECT_TRUE(m_pWindow->fnGetDocument()
                             .fnSelectShape(darkroom::ShapeKind::ELLIPSE, corners,
                                            Document::Combine::REPLACE, nullptr)
                             .fnIsDone());
         }},
        {"none", [&] { fnAction("selectNone").trigger(); }},
        {"save", [&] { EXPECT_TRUE(m_pWindow->fnSaveAs(fnPath("saved.bmp"))); }},
        {"preferences",
         [&] {
             fnInDialog([&](QDialog& dialog) {
                 dialog.findChild<QSpinBox*>("levels")->setValue(7);
                 fnAccept(dialog);
             });
             fnAction("preferences").trigger();
         }},
    };
    for (const auto& [name, work] : keeps) {
        settle();
        work();
        EXPECT_EQ(view.fnDrawNow(), 0) << name;
        EXPECT_FALSE(view.fnIsRefining()) << name;
    }
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"turn", [&] { fnAction("half").trigger(); }},
        {"undo", [&] { fnAction("undo").trigger(); }},
        {"redo", [&] { fnAction("redo").trigger(); }},
        {"open", [&] { EXPECT_TRUE(m_pWindow->fnOpen(fnPath("saved.bmp"))); }},
        {"gamma",
         [&] {
             fnInDialog([&](QDialog& dialog) {
                 dialog.findChild<QCheckBox*>("gammaOn")->setChecked(true);
                 dialog.findChild<QSpinBox*>("gamma")->setValue(300);
                 fnAccept(dialog);
             });
             fnAction("preferences").trigger();
         }},
    };
    for (const auto& [name, work] : changes) {
        view.fnSetZoom(0.1);
        settle();
        work();
        EXPECT_GE(view.fnDrawNow(), 240 * 160) << name;
    }
}

TEST_F(DarkroomWindow, ImpossibleUndoLevelsInTheSettingsAreIgnored) {
    for (const auto& [text, levels] :
         {std::pair("abc", 10u), std::pair("-5", 10u), std::pair("99999999999", 100u),
          std::pair("4294967303", 100u), std::pair("101", 100u), std::pair("0", 0u),
          std::pair("7", 7u)}) {
        {
            QSettings settings(fnPath("darkroom.ini"), QSettings::IniFormat);
            settings.setValue("levels", text);
        }
        fnRestart();
        EXPECT_EQ(m_pWindow->fnGetDocument().fnGetLevels(), levels) << text;
    }
}

TEST_F(DarkroomWindow, ACancelledDialogChangesNothing) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("cancel.png", 300, 200)));
    fnDo("hue", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("Hue")->setValue(90);
        dialog.reject();
    });
    EXPECT_FALSE(fnAction("undo").isEnabled());
    EXPECT_FALSE(m_pWindow->isWindowModified());
}

TEST_F(DarkroomWindow, TheDumpWindowReportsThePicture) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("dumped.png", 300, 200)));
    fnDo("dump");
    const QWidget* dump = nullptr;
    for (const QWidget* window : QApplication::topLevelWidgets())
        for (const QPlainTextEdit* text : window->findChildren<QPlainTextEdit*>())
            if (text->toPlainText().contains("Picture: 300 x 200 pixels of 24 bits"))
                dump = window;
    ASSERT_TRUE(dump);
    EXPECT_TRUE(dump->isVisible());
    q32DestroyDumpWnd();
}

TEST_F(DarkroomWindow, AboutShowsTheVersionOfTheLibrary) {
    QString text;
    fnDo("about", [&](QDialog& dialog) {
        if (const auto* const box = qobject_cast<QMessageBox*>(&dialog))
            text = box->text();
        dialog.reject();
    });
    EXPECT_TRUE(text.contains("q32Base "));
}
