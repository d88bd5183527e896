// Drives the darkroom's window as a person would.
#include "examples/darkroom/ui/MainWindow.h"

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

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
#include <QSpinBox>
#include <QStatusBar>
#include <QTest>
#include <QToolBar>
#include <QUrl>
#include <QWheelEvent>
#include <QWindow>
#include <utility>

using darkroom::Document;
using darkroom::fnFindOperation;

namespace {

/// What a tool draws, by the left button.
void fnDrag(QWidget& view, const QPoint& from, const QPoint& to) {
    QTest::mousePress(&view, Qt::LeftButton, {}, from);
    QTest::mouseMove(&view, (from + to) / 2);
    QTest::mouseMove(&view, to);
    QTest::mouseRelease(&view, Qt::LeftButton, {}, to);
}

} // namespace

TEST_F(DarkroomWindow, OpensEditsUndoesStopsSavesAndReopens) {
    // Large enough that the rotation is under way when the key is seen.
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
    EXPECT_TRUE(fnAction("undo").text().contains("Turn Right"));
    EXPECT_TRUE(fnAction("redo").text().contains("Sharpen"));

    // A rotation that Esc ends leaves all as it was.
    const Bytes before = fnBytesOf(m_pWindow->fnGetDocument().fnGetImage());
    int looks = 0;
    m_OnLook = [&] {
        if (++looks == 5)
            fnPostKey(Qt::Key_Escape);
    };
    fnDo("rotate", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("Angle, clockwise")->setValue(33);
        fnAccept(dialog);
    });
    m_OnLook = {};
    EXPECT_GT(looks, 5);
    EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().contains("stopped"));
    EXPECT_EQ(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), before);
    EXPECT_TRUE(fnAction("redo").text().contains("Sharpen")) << "the history is the same";
    EXPECT_TRUE(fnAction("rotate").isEnabled());

    fnPress(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    fnDo("saveAs", [&](QDialog& dialog) { fnType(dialog, target); });
    EXPECT_FALSE(m_pWindow->isWindowModified());
    ASSERT_TRUE(m_pWindow->fnOpen(target));

    CqImage wanted;
    ASSERT_TRUE(q32ReadPicture(QFile::encodeName(source).constData(), wanted).fnIsDone());
    wanted.fnBrightContrast(30, -10, false, nullptr);
    wanted.fnRotate(90, CqColor(), nullptr, false, nullptr);
    fnFindOperation("sharpen")->m_pRun(wanted, darkroom::Values{50}, nullptr);
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetImage().Width, 2200u);
    EXPECT_EQ(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), fnBytesOf(wanted));
    fnKeepPicture(*m_pWindow, "darkroom");
}

TEST_F(DarkroomWindow, NothingCanBeStartedWhileAnOperationRuns) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("busy.png", 400, 300)));
    bool looked = false;
    m_OnLook = [&] {
        if (std::exchange(looked, true))
            return;
        fnKeepPicture(*m_pWindow, "busy");
        EXPECT_TRUE(m_pWindow->fnIsBusy());
        for (const darkroom::Operation& operation : darkroom::fnGetOperations())
            EXPECT_FALSE(fnAction(operation.m_pszId).isEnabled()) << operation.m_pszId;
        for (const char* id : {"open", "new", "save", "undo", "redo", "preferences", "merge"})
            EXPECT_FALSE(fnAction(id).isEnabled()) << id;
        EXPECT_FALSE(m_pWindow->fnOpen(fnPath("busy.png"))) << "not from outside either";
        EXPECT_FALSE(m_pWindow->close());
    };
    fnDo("half");
    m_OnLook = {};
    EXPECT_TRUE(looked);
    EXPECT_TRUE(fnAction("half").isEnabled());
    EXPECT_TRUE(fnAction("undo").isEnabled());
}

TEST_F(DarkroomWindow, ADialogShowsItsEffectOnWhatIsInSightAndTakesItBack) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("preview.png", 640, 480)));
    darkroom::PictureView& view = m_pWindow->fnGetView();
    for (const double zoom : {1.0, 0.5, 3.0}) {
        view.fnSetZoom(zoom);
        QCoreApplication::processEvents(); // scroll bars come and go
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

TEST_F(DarkroomWindow, ClicksDuringAnOperationComeAfterIt) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("clicked.bmp", 2000, 1500)));
    QWidget* const button =
        m_pWindow->findChild<QToolBar*>("editBar")->widgetForAction(&fnAction("zoomOne"));
    const QPointF place = button->mapTo(m_pWindow.get(), button->rect().center());
    ASSERT_NE(m_pWindow->fnGetView().fnGetZoom(), 1.0);
    bool clicked = false;
    m_OnLook = [&] {
        if (std::exchange(clicked, true)) {
            EXPECT_NE(m_pWindow->fnGetView().fnGetZoom(), 1.0) << "not yet";
            return;
        }
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease})
            QCoreApplication::postEvent(
                m_pWindow->windowHandle(),
                new QMouseEvent(type, place, m_pWindow->mapToGlobal(place), Qt::LeftButton,
                                type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                                Qt::NoModifier));
    };
    fnDo("sharpen", [&](QDialog& dialog) { fnAccept(dialog); });
    m_OnLook = {};
    EXPECT_TRUE(clicked);
    EXPECT_TRUE(fnWaitFor([&] { return m_pWindow->fnGetView().fnGetZoom() == 1.0; }));
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
    fnPress(Qt::Key_0, Qt::ControlModifier);
    EXPECT_EQ(view.fnGetZoom(), fit);
    const QPoint place = view.viewport()->rect().center() + QPoint(60, 40);
    const QPointF kept = view.fnToImage(place);
    const auto wheel = [&](int angle) {
        QWheelEvent turn(place, view.viewport()->mapToGlobal(place), {}, {0, angle}, Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(view.viewport(), &turn);
    };
    for (int i = 0; i < 4; ++i)
        wheel(120);
    EXPECT_GT(view.fnGetZoom(), fit);
    EXPECT_NEAR(view.fnToImage(place).x(), kept.x(), 2.0) << "what is under the cursor stays";
    EXPECT_NEAR(view.fnToImage(place).y(), kept.y(), 2.0);
    fnDo("zoomOne");
    view.fnCenterOn(QPointF(1000, 750));
    const QPointF before = view.fnToImage(place);
    fnDrag(*view.viewport(), place, place - QPoint(30, 20));
    const double scale = view.devicePixelRatioF();
    EXPECT_EQ(view.fnToImage(place) - before, QPointF(30, 20) * scale);
}

TEST_F(DarkroomWindow, ANewPictureHasTheSizeAndColorThatTheDialogAsks) {
    fnDo("new", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("width")->setValue(321);
        dialog.findChild<QSpinBox*>("height")->setValue(654);
        fnKeepPicture(dialog, "new");
        fnAccept(dialog);
    });
    CqImage& image = m_pWindow->fnGetDocument().fnGetImage();
    EXPECT_EQ(image.Width, 321u);
    EXPECT_EQ(image.Height, 654u);
    EXPECT_EQ(fnBytesOf(image), Bytes(321 * 654 * 3, 255));
    EXPECT_TRUE(m_pWindow->windowTitle().startsWith("Untitled"));
    fnDo("new", [](QDialog& dialog) { dialog.reject(); });
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetImage().Width, 321u);
}

TEST_F(DarkroomWindow, ADialogThatIsCancelledChangesNothing) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("cancel.png", 300, 200)));
    fnDo("hue", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("Hue")->setValue(90);
        dialog.reject();
    });
    EXPECT_FALSE(fnAction("undo").isEnabled());
    EXPECT_FALSE(m_pWindow->isWindowModified());
}

TEST_F(DarkroomWindow, AFileThatIsDroppedIsOpened) {
    const QString path = fnMakePicture("dropped.png", 300, 200);
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path)});
    QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(m_pWindow.get(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(50, 50), Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(m_pWindow.get(), &drop);
    EXPECT_TRUE(m_pWindow->windowTitle().startsWith("dropped.png"));
}

TEST_F(DarkroomWindow, RecentFilesAreKeptAndOpenedAgain) {
    const QString first = fnMakePicture("first.png", 300, 200);
    ASSERT_TRUE(m_pWindow->fnOpen(first));
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("second.png", 200, 300)));
    fnRestart();
    QAction* recent = nullptr;
    for (QAction* action : m_pWindow->findChildren<QAction*>())
        if (action->text() == "first.png")
            recent = action;
    ASSERT_TRUE(recent);
    recent->trigger();
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetImage().Width, 300u);
}

TEST_F(DarkroomWindow, ToolsSelectAndDrawInThePicture) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("tools.png", 300, 200)));
    darkroom::PictureView& view = m_pWindow->fnGetView();
    view.fnSetZoom(1);
    const auto at = [&](int x, int y) { return view.fnToView(QPointF(x, y)).toPoint(); };
    // On a scaled display the cursor can't reach each pixel.
    const auto colorAt = [&](const QPoint& place) {
        const QPointF pixel = view.fnToImage(place);
        return m_pWindow->fnGetDocument().fnGetImage().fnGetPixelColor(static_cast<int>(pixel.x()),
                                                                       static_cast<int>(pixel.y()));
    };
    fnDo("toolRectangle");
    fnDrag(*view.viewport(), at(20, 30), at(120, 130));
    ASSERT_TRUE(m_pWindow->fnGetDocument().fnHasSelection());
    const CRect bound = m_pWindow->fnGetDocument().fnGetSelection().m_rectBound;
    EXPECT_NEAR(bound.left, 20, 1);
    EXPECT_NEAR(bound.bottom, 130, 1);
    fnDo("selectNone");
    EXPECT_FALSE(m_pWindow->fnGetDocument().fnHasSelection());
    fnDo("toolLine");
    fnDrag(*view.viewport(), at(10, 10), at(200, 150));
    EXPECT_EQ(colorAt(at(10, 10)), CqColor(255, 0, 0, 255));
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetUndoName(), "Line");
    fnDo("toolCurve");
    for (const QPoint& place : {at(30, 180), at(30, 20), at(250, 20), at(250, 180)})
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, place);
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetUndoName(), "Curve");
    EXPECT_EQ(colorAt(at(250, 180)), CqColor(255, 0, 0, 255));
}

TEST_F(DarkroomWindow, ASecondPictureIsMergedWhereTheDialogSays) {
    const QString over = fnMakePicture("over.png", 60, 50);
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("under.png", 300, 200)));
    CqImage wanted;
    CqImage laid;
    q32ReadPicture(QFile::encodeName(fnPath("under.png")).constData(), wanted);
    q32ReadPicture(QFile::encodeName(over).constData(), laid);
    wanted.fnCopyBlock(laid, nullptr, 40, 70);
    fnInDialog([&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("x")->setValue(40);
        dialog.findChild<QSpinBox*>("y")->setValue(70);
        fnAccept(dialog);
    });
    m_pWindow->fnMerge(over);
    EXPECT_EQ(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), fnBytesOf(wanted));
}

TEST_F(DarkroomWindow, PreferencesAreInForceAndOutliveTheProgram) {
    fnDo("preferences", [&](QDialog& dialog) {
        dialog.findChild<QLineEdit*>("disk2")->setText(m_Folder.path());
        dialog.findChild<QCheckBox*>("diskOn2")->setChecked(true);
        dialog.findChild<QCheckBox*>("shareOn")->setChecked(true);
        dialog.findChild<QSpinBox*>("share")->setValue(37);
        dialog.findChild<QSpinBox*>("levels")->setValue(3);
        dialog.findChild<QSpinBox*>("gamma")->setValue(220);
        dialog.findChild<QCheckBox*>("dither")->setChecked(false);
        fnAccept(dialog);
    });
    for (const bool again : {false, true}) {
        if (again)
            fnRestart();
        EXPECT_TRUE(q32GetVMPolicy()->fnIsDiskEnabled(1)) << again;
        EXPECT_EQ(q32GetVMPolicy()->fnGetDisk(1),
                  CString(QFile::encodeName(m_Folder.path() + '\\')));
        EXPECT_EQ(q32GetVMPolicy()->fnGetMemUsage(), 37u) << again;
        EXPECT_EQ(q32GetDisplayProperty()->fnGetGammaValue(), 220u) << again;
        EXPECT_FALSE(q32GetDisplayProperty()->fnIsHiColorDitherEnabled()) << again;
        EXPECT_EQ(m_pWindow->fnGetDocument().fnGetLevels(), 3u) << again;
    }
}

TEST_F(DarkroomWindow, TheDumpWindowTellsOfThePicture) {
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
