// What the darkroom's window does, and refuses, while a task is running.
#include "examples/darkroom/ui/HistogramView.h"
#include "examples/darkroom/ui/SoundPanel.h"
#include "plugins/WaveFile.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <new>
#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QMenu>
#include <QMouseEvent>
#include <QProgressBar>
#include <QSpinBox>
#include <QStatusBar>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QUrl>
#include <QWindow>
#include <utility>

namespace {

/// Counts how often a widget is painted.
class PaintCounter : public QObject {
public:
    bool eventFilter(QObject* object, QEvent* event) override {
        m_nPaints += event->type() == QEvent::Paint;
        return QObject::eventFilter(object, event);
    }
    int m_nPaints = 0;
};

class DarkroomBusy : public DarkroomWindow {
protected:
    Bytes fnBytes() { return fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()); }

    /// Presses Esc at the given keyboard poll of the task that follows; it must get that far.
    void fnStopAt(int look, const std::function<void()>& work) {
        int looks = 0;
        m_OnLook = [&] {
            if (++looks == look)
                fnHoldKey(Qt::Key_Escape, VK_ESCAPE);
        };
        work();
        m_OnLook = {};
        fnReleaseKey(Qt::Key_Escape);
        EXPECT_GE(looks, look);
        EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().contains("stopped"));
        EXPECT_TRUE(fnTakeBoxes().empty()) << "who stops it knows";
        fnExpectReady();
    }

    void fnExpectReady() {
        EXPECT_FALSE(m_pWindow->fnIsBusy());
        EXPECT_TRUE(fnAction("open").isEnabled());
        EXPECT_FALSE(m_pWindow->findChild<QProgressBar*>()->isVisible());
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    }

    /// A file with some seconds of silence.
    /// @param frames  of 4 bytes
    QString fnMakeSound(const QString& name, unsigned long frames) const {
        QString path = fnPath(name);
        const CqWave wave(2, 16, 48000, frames, true);
        EXPECT_TRUE(q32WriteWave(QFile::encodeName(path).constData(), wave).fnIsDone());
        return path;
    }

    static void fnUseNoMemory() {
        q32GetVMPolicy()->fnSetRamLimit(0);
        for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i)
            q32GetVMPolicy()->fnEnableDisk(i, false);
    }
};

} // namespace

TEST_F(DarkroomBusy, NothingCanBeStartedWhileAnOperationRuns) {
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

TEST_F(DarkroomBusy, ClicksDuringAnOperationComeAfterIt) {
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

TEST_F(DarkroomBusy, TheWindowIsPaintedAfterADialogAndBeforeTheWork) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("painted.bmp", 400, 300)));
    PaintCounter counter;
    m_pWindow->fnGetView().viewport()->installEventFilter(&counter);
    int paints = -1;
    m_OnLook = [&] {
        if (paints < 0)
            paints = counter.m_nPaints;
    };
    fnDo("soften", [&](QDialog& dialog) {
        fnAccept(dialog);
        counter.m_nPaints = 0;
    });
    m_OnLook = {};
    EXPECT_GT(paints, 0);
}

TEST_F(DarkroomBusy, WorkThatThrowsEndsWithTheMemoryMessageAndAWorkingWindow) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("thrown.bmp", 40, 30)));
    const std::function<void()> failures[] = {
        [] { AfxThrowMemoryException(); },
        [] { throw std::bad_alloc(); },
        [] { throw new CArchiveException(CArchiveException::endOfFile); },
    };
    for (const auto& fail : failures) {
        EXPECT_FALSE(m_pWindow->fnRun("Failing", [&](CqProgressDisplay*) {
            EXPECT_TRUE(m_pWindow->fnIsBusy());
            EXPECT_NE(QApplication::overrideCursor(), nullptr);
            fail();
            return darkroom::Outcome();
        }));
        fnExpectReady();
        const std::vector<std::string> boxes = fnTakeBoxes();
        ASSERT_EQ(boxes.size(), 1u);
        EXPECT_NE(boxes[0].find("emory"), std::string::npos) << boxes[0];
    }
    fnDo("left");
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetImage().Width, 30u);
}

TEST_F(DarkroomBusy, EscWhileAPictureIsOpenedKeepsTheFormerOne) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("former.bmp", 40, 30)));
    const QString large = fnMakePicture("large.png", 1500, 1200);
    fnStopAt(3, [&] { EXPECT_FALSE(m_pWindow->fnOpen(large)); });
    EXPECT_TRUE(m_pWindow->windowTitle().startsWith("former.bmp"));
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetImage().Width, 40u);
}

TEST_F(DarkroomBusy, EscWhileAPictureIsSavedLeavesTheExistingFile) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("saved.png", 1500, 1200)));
    const QString standing = fnMakePicture("standing.png", 20, 10);
    const QString fresh = fnPath("fresh.png");
    fnDo("left");
    for (const QString& path : {standing, fresh})
        fnStopAt(3, [&] { EXPECT_FALSE(m_pWindow->fnSaveAs(path)); });
    EXPECT_TRUE(m_pWindow->isWindowModified());
    EXPECT_FALSE(QFile::exists(fresh));
    CqImage image;
    ASSERT_TRUE(q32ReadPicture(QFile::encodeName(standing).constData(), image).fnIsDone());
    EXPECT_EQ(image.Width, 20u);
}

TEST_F(DarkroomBusy, EscWhileAPictureIsMergedLeavesEverythingUnchanged) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("under.bmp", 2000, 1500)));
    const QString over = fnMakePicture("over.bmp", 1000, 900);
    const Bytes before = fnBytes();
    // Once while the second picture is read, once while it is laid over the first.
    fnStopAt(3, [&] { m_pWindow->fnMerge(over); });
    fnInDialog([&](QDialog& dialog) {
        int looks = 0;
        m_OnLook = [this, looks]() mutable {
            if (++looks == 3)
                fnHoldKey(Qt::Key_Escape, VK_ESCAPE);
        };
        fnAccept(dialog);
    });
    m_pWindow->fnMerge(over);
    m_OnLook = {};
    fnReleaseKey(Qt::Key_Escape);
    EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().contains("Merge: stopped"));
    fnExpectReady();
    EXPECT_EQ(fnBytes(), before);
    EXPECT_FALSE(m_pWindow->isWindowModified());
}

TEST_F(DarkroomBusy, EscWhileAPictureIsPastedKeepsTheFormerOne) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("pasted.bmp", 2000, 1500)));
    fnDo("copy");
    fnDo("left");
    const Bytes before = fnBytes();
    fnStopAt(2, [&] { fnDo("paste"); });
    EXPECT_EQ(fnBytes(), before);
    QImage other(2000, 1500, QImage::Format_RGB32);
    other.fill(Qt::red);
    QGuiApplication::clipboard()->setImage(other);
    fnStopAt(2, [&] { fnDo("paste"); });
    EXPECT_EQ(fnBytes(), before);
}

TEST_F(DarkroomBusy, EscWhileALargeStepIsUndoneLeavesEverythingUnchanged) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("undone.bmp", 4000, 3100)));
    darkroom::Document& document = m_pWindow->fnGetDocument();
    ASSERT_TRUE(fnSelect(document, CRect(0, 0, 4000, 3000)).fnIsDone());
    ASSERT_TRUE(
        document.fnApply(*darkroom::fnFindOperation("brightness"), {9, 0}, nullptr).fnIsDone());
    const Bytes before = fnBytes();
    fnStopAt(3, [&] { fnDo("undo"); });
    EXPECT_TRUE(fnBytes() == before);
    EXPECT_TRUE(document.fnCanUndo());
    EXPECT_FALSE(document.fnCanRedo());
    fnDo("undo");
    EXPECT_TRUE(document.fnCanRedo());
    EXPECT_TRUE(fnBytes() != before);
}

TEST_F(DarkroomBusy, EscWhileALargePictureIsCountedOpensNoDialogAndCountsOnlyOnce) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("counted.bmp", 4000, 3000)));
    for (const char* id : {"levels", "curve", "points"})
        fnStopAt(2, [&] { fnDo(id); });
    for (int round = 0; round < 2; ++round) {
        int looks = 0;
        m_OnLook = [&] { ++looks; };
        fnDo("levels", [&](QDialog& dialog) {
            auto* const view = dialog.findChild<darkroom::HistogramView*>();
            ASSERT_TRUE(view);
            EXPECT_EQ(view->fnGetHistogram().m_nPixels, 12'000'000u);
            dialog.reject();
        });
        m_OnLook = {};
        EXPECT_EQ(looks == 0, round == 1);
    }
    ASSERT_TRUE(fnSelect(m_pWindow->fnGetDocument(), CRect(0, 0, 100, 100)).fnIsDone());
    fnDo("levels", [&](QDialog& dialog) {
        EXPECT_EQ(dialog.findChild<darkroom::HistogramView*>()->fnGetHistogram().m_nPixels, 10'000u)
            << "counted again";
        dialog.reject();
    });
}

TEST_F(DarkroomBusy, EscWhileAPictureIsCroppedLeavesEverythingUnchanged) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("cropped.bmp", 2000, 1500)));
    const std::vector<CqPoint2D> corners = {{10, 20}, {1900, 1450}};
    ASSERT_TRUE(m_pWindow->fnGetDocument()
                    .fnSelectShape(darkroom::ShapeKind::RECTANGLE, corners,
                                   darkroom::Document::Combine::REPLACE, nullptr)
                    .fnIsDone());
    const Bytes before = fnBytes();
    fnStopAt(3, [&] { fnDo("crop"); });
    EXPECT_EQ(fnBytes(), before);
    EXPECT_TRUE(m_pWindow->fnGetDocument().fnHasSelection());
    EXPECT_FALSE(m_pWindow->isWindowModified());
}

TEST_F(DarkroomBusy, EscWhileASoundIsLoadedKeepsTheFormerOnePlaying) {
    auto* const panel = m_pWindow->findChild<darkroom::SoundPanel*>("soundPanel");
    ASSERT_TRUE(panel->fnLoad(fnMakeSound("former.wav", 5000)));
    panel->findChild<QToolButton*>("soundPlay")->click();
    const QString large = fnMakeSound("large.wav", 500'000);
    fnStopAt(4, [&] { EXPECT_FALSE(panel->fnLoad(large)); });
    EXPECT_EQ(panel->fnGetWave().fnGetFrameCount(), 5000u);
    EXPECT_EQ(panel->fnGetWave().fnGetState(), WAVE_PLAYING);
    EXPECT_FALSE(panel->fnLoad(fnPath("missing.wav")));
    EXPECT_EQ(fnTakeBoxes().size(), 1u);
    EXPECT_EQ(panel->fnGetWave().fnGetFrameCount(), 5000u);
    EXPECT_EQ(panel->fnGetWave().fnGetState(), WAVE_PLAYING);
    ASSERT_TRUE(panel->fnLoad(large));
    EXPECT_EQ(panel->fnGetWave().fnGetFrameCount(), 500'000u);
    EXPECT_EQ(panel->fnGetWave().fnGetState(), WAVE_STOPPED) << "the new one waits for its start";
}

TEST_F(DarkroomBusy, ASoundIsLoadedWithProgressAndNothingElseIsStartedMeanwhile) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("busy.png", 60, 40)));
    auto* const panel = m_pWindow->findChild<darkroom::SoundPanel*>("soundPanel");
    const QString sound = fnMakeSound("sound.wav", 500'000);
    fnDo("sound");
    std::vector<int> shown;
    m_OnLook = [&] {
        auto* const gauge = m_pWindow->findChild<QProgressBar*>();
        EXPECT_TRUE(gauge->isVisible());
        shown.push_back(gauge->value());
        EXPECT_TRUE(m_pWindow->fnIsBusy());
        EXPECT_FALSE(panel->findChild<QToolButton*>("soundOpen")->isEnabled());
        EXPECT_FALSE(panel->fnLoad(sound)) << "not from outside either";
        EXPECT_FALSE(fnAction("left").isEnabled());
        EXPECT_FALSE(m_pWindow->fnOpen(fnPath("busy.png")));
        EXPECT_FALSE(m_pWindow->close());
    };
    EXPECT_TRUE(panel->fnLoad(sound));
    m_OnLook = {};
    // What was shown before each poll: eight blocks of 256 KiB, of 2,000,000 bytes.
    EXPECT_EQ(shown, (std::vector<int>{0, 0, 13, 26, 39, 52, 65, 78, 91}));
    EXPECT_TRUE(panel->findChild<QToolButton*>("soundOpen")->isEnabled());
    fnExpectReady();
    // No sound can be loaded while a task runs on a picture.
    bool refused = false;
    m_OnLook = [&] { refused = !panel->fnLoad(sound); };
    fnDo("left");
    m_OnLook = {};
    EXPECT_TRUE(refused);
}

TEST_F(DarkroomBusy, WithoutMemoryEverythingStaysUnchangedAndTheUserIsInformed) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("held.bmp", 60, 40)));
    const QString other = fnMakePicture("other.bmp", 30, 20);
    const Bytes before = fnBytes();
    fnUseNoMemory();
    const std::function<void()> starts[] = {
        [&] { EXPECT_FALSE(m_pWindow->fnOpen(other)); },
        [&] { fnDo("left"); },
        [&] { fnDo("soften", [&](QDialog& dialog) { fnAccept(dialog); }); },
        [&] { fnDo("fill", [&](QDialog& dialog) { fnAccept(dialog); }); },
        [&] { m_pWindow->fnMerge(other); },
        [&] { m_pWindow->fnFillPattern(other); },
        [&] { fnDo("new", [&](QDialog& dialog) { fnAccept(dialog); }); },
    };
    for (const auto& start : starts) {
        start();
        const std::vector<std::string> boxes = fnTakeBoxes();
        ASSERT_EQ(boxes.size(), 1u);
        EXPECT_NE(boxes[0].find("emory"), std::string::npos) << boxes[0];
        fnExpectReady();
        EXPECT_EQ(fnBytes(), before);
        EXPECT_FALSE(m_pWindow->isWindowModified());
        EXPECT_FALSE(fnAction("undo").isEnabled());
    }
    EXPECT_TRUE(m_pWindow->windowTitle().startsWith("held.bmp"));
}

TEST_F(DarkroomBusy, ShortcutsRecentFilesAndDropsStartNothingDuringWork) {
    const QString other = fnMakePicture("other.bmp", 70, 50);
    ASSERT_TRUE(m_pWindow->fnOpen(other));
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("working.bmp", 2000, 1500)));
    QAction* recent = nullptr;
    for (QAction* action : m_pWindow->findChildren<QAction*>())
        if (action->text() == "other.bmp")
            recent = action;
    ASSERT_TRUE(recent);
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(other)});
    int looks = 0;
    m_OnLook = [&] {
        if (++looks != 2)
            return;
        fnPostKey(Qt::Key_R, Qt::ControlModifier); // rotates, through a dialog
        fnPostKey(Qt::Key_Z, Qt::ControlModifier);
        recent->trigger();
        EXPECT_FALSE(fnDrop(data)->isAccepted());
        fnAction("left").trigger();
    };
    fnDo("sharpen", [&](QDialog& dialog) { fnAccept(dialog); });
    m_OnLook = {};
    ASSERT_GT(looks, 2);
    // Everything already queued is handled before this.
    bool all = false;
    QTimer::singleShot(0, m_pWindow.get(), [&] { all = true; });
    ASSERT_TRUE(fnWaitFor([&] { return all; }));
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_TRUE(m_pWindow->windowTitle().startsWith("working.bmp"));
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetUndoName(), "Sharpen");
    fnExpectReady();
}

TEST_F(DarkroomBusy, AFileDroppedJustBeforeWorkIsOpenedAfterIt) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("working.bmp", 400, 300)));
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(fnMakePicture("dropped.bmp", 70, 50))});
    EXPECT_TRUE(fnDrop(data)->isAccepted());
    fnAction("left").trigger();
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetUndoName(), "Rotate Left")
        << "not in the middle of it";
    fnAnswer(QMessageBox::Discard);
    EXPECT_TRUE(fnWaitFor([&] { return m_pWindow->windowTitle().startsWith("dropped.bmp"); }));
}
