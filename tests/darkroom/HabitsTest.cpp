// What users of other editors expect.
#include "examples/darkroom/ui/SelectionHandles.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <QAbstractButton>
#include <QDialogButtonBox>
#include <QFile>
#include <QMap>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QScrollBar>
#include <QSlider>
#include <QSpinBox>
#include <QStatusBar>
#include <QTest>

namespace {

class DarkroomHabits : public DarkroomWindow {
protected:
    darkroom::PictureView& fnView() const { return m_pWindow->fnGetView(); }
    darkroom::Document& fnDocument() const { return m_pWindow->fnGetDocument(); }
    void fnOpenAt(unsigned int width, unsigned int height, double zoom) const {
        ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("habits.png", width, height)));
        fnView().fnSetZoom(zoom);
        QCoreApplication::processEvents();
    }
    QPoint fnAt(double x, double y) const { return fnView().fnToView({x, y}).toPoint(); }
    CRect fnGetBound() const {
        return fnDocument().fnHasSelection() ? fnDocument().fnGetSelection().m_rectBound
                                             : CRect(0, 0, 0, 0);
    }
    static QSpinBox& fnBox(QDialog& dialog, const char* name) {
        auto* const box = dialog.findChild<QSpinBox*>(name);
        if (!box)
            qFatal("no box %s", name);
        return *box;
    }
    QString fnTakeBox() {
        const std::vector<std::string> boxes = fnTakeBoxes();
        EXPECT_EQ(boxes.size(), 1u);
        return boxes.empty() ? QString() : QString::fromStdString(boxes[0]);
    }
    /// A JPEG file with camera data.
    QString fnMakePhoto(const QString& name) const {
        QString path = fnMakePicture(name, 60, 40);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadWrite));
        QByteArray bytes = file.readAll();
        bytes.insert(2, QByteArray("\xFF\xE1\x00\x0A"
                                   "Exif\x00\x00MM",
                                   12));
        file.seek(0);
        file.write(bytes);
        return path;
    }
};

} // namespace

TEST_F(DarkroomHabits, AnAngleWithDecimalsCanBeTypedAtOnce) {
    fnOpenAt(300, 200, 1);
    fnDo("rotate", [&](QDialog& dialog) {
        QSpinBox& angle = fnBox(dialog, "Angle, clockwise");
        QApplication::setActiveWindow(&dialog);
        EXPECT_TRUE(fnWaitFor([&] { return angle.hasFocus(); }));
        fnKeepPicture(dialog, "rotate-typed");
        QTest::keyClicks(QApplication::focusWidget(), "0.7");
        EXPECT_EQ(angle.value(), 70);
        QTest::keyClick(&angle, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(&angle, "-12,25");
        EXPECT_EQ(angle.value(), -1225) << "either sign separates decimals";
        EXPECT_TRUE(angle.text().startsWith("-12.25") || angle.text().startsWith("-12,25"));
        angle.setValue(4500);
        EXPECT_TRUE(angle.text().startsWith("45°")) << angle.text().toStdString();
        angle.setValue(70);
        fnAccept(dialog);
    });
    CqImage expected;
    fnFillNoise(expected, 300, 200, 24, 300);
    expected.fnRotate(359.3, CqColor(255, 255, 255, 255), nullptr, true, nullptr);
    EXPECT_TRUE(fnBytesOf(fnDocument().fnGetImage()) == fnBytesOf(expected));
}

TEST_F(DarkroomHabits, TheFirstValueOfEachDialogHasTheFocusAndIsSelected) {
    fnOpenAt(60, 40, 1);
    for (const auto& [id, name] :
         {std::pair("resize", "Width"), std::pair("brightness", "Brightness"),
          std::pair("threshold", "Level"), std::pair("new", "width"),
          std::pair("selectNumbers", "left")})
        fnDo(id, [&, id = id, name = name](QDialog& dialog) {
            QSpinBox& box = fnBox(dialog, name);
            QApplication::setActiveWindow(&dialog);
            EXPECT_TRUE(fnWaitFor([&] { return box.hasFocus(); })) << id;
            QTest::keyClicks(&box, "17");
            EXPECT_EQ(box.value(), 17) << id;
            fnKeepPicture(dialog, QString("dialog-") + id);
            dialog.reject();
        });
}

TEST_F(DarkroomHabits, TheSliderOfGammaHasOneInItsMiddle) {
    fnOpenAt(60, 40, 1);
    fnDo("levels", [&](QDialog& dialog) {
        QSpinBox& gamma = fnBox(dialog, "Gamma");
        QSlider* slider = nullptr;
        for (auto* const one : dialog.findChildren<QSlider*>())
            if (one->accessibleName() == "Gamma")
                slider = one;
        ASSERT_TRUE(slider);
        EXPECT_EQ(slider->value() * 2, slider->maximum());
        slider->setValue(slider->maximum() * 3 / 4);
        EXPECT_EQ(gamma.value(), 316) << "the root of ten";
        slider->setValue(0);
        EXPECT_EQ(gamma.value(), 10);
        slider->setValue(slider->maximum());
        EXPECT_EQ(gamma.value(), 1000);
        for (int value = 10; value <= 1000; ++value) {
            gamma.setValue(value);
            ASSERT_EQ(gamma.value(), value) << "the slider doesn't round what is typed";
        }
        dialog.reject();
    });
}

TEST_F(DarkroomHabits, ResizingInPercentSetsBothSides) {
    fnOpenAt(300, 200, 1);
    fnDo("resize", [&](QDialog& dialog) {
        fnBox(dialog, "percent").setValue(5050);
        EXPECT_EQ(fnBox(dialog, "Width").value(), 152);
        EXPECT_EQ(fnBox(dialog, "Height").value(), 101);
        fnBox(dialog, "Width").setValue(600);
        EXPECT_EQ(fnBox(dialog, "percent").value(), 20000);
        EXPECT_EQ(fnBox(dialog, "Height").value(), 400);
        dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Reset)->click();
        EXPECT_EQ(fnBox(dialog, "percent").value(), 10000);
        EXPECT_EQ(fnBox(dialog, "Height").value(), 200);
        dialog.reject();
    });
}

TEST_F(DarkroomHabits, ALineAlongTheHorizonStraightensThePicture) {
    fnOpenAt(600, 400, 1);
    const auto expect = [&](const QPoint& from, const QPoint& to, double degrees) {
        fnInDialog([&](QDialog& dialog) {
            EXPECT_NEAR(fnBox(dialog, "Angle, clockwise").value() / 100.0, degrees, 0.4);
            fnKeepPicture(*m_pWindow, "straighten");
            dialog.reject();
        });
        fnDrag(from, to);
    };
    fnDo("toolStraighten");
    expect(fnAt(100, 100), fnAt(500, 120), -2.86);
    expect(fnAt(500, 120), fnAt(100, 100), -2.86);
    expect(fnAt(100, 200), fnAt(500, 160), 5.71);
    expect(fnAt(200, 50), fnAt(220, 350), 3.81);
}

TEST_F(DarkroomHabits, RedoIsNotOfferedAfterANewChange) {
    fnOpenAt(60, 40, 1);
    fnDo("left");
    fnDo("undo");
    EXPECT_TRUE(fnAction("redo").isEnabled());
    fnDo("half");
    EXPECT_FALSE(fnAction("redo").isEnabled());
    EXPECT_EQ(fnAction("redo").text(), "&Redo");
}

TEST_F(DarkroomHabits, ALineRedrawsOnlyWhatItTouches) {
    fnOpenAt(2000, 1500, 1);
    fnView().fnCenterOn({0, 0});
    fnView().fnDrawNow();
    fnDo("toolLine");
    fnDocument().fnDraw(std::vector<CqPoint2D>{{20.5, 30.5}, {60.5, 30.5}}, CqColor(255, 0, 0, 255),
                        nullptr);
    const double scale = fnView().devicePixelRatioF();
    EXPECT_LE(fnView().fnDrawNow(), 132 * 132) << "one tile, at zoom " << 1 / scale;
    const QPoint pixel = (fnView().fnToView({40.2, 30.2}) * scale).toPoint();
    EXPECT_EQ(fnView().viewport()->grab().toImage().pixelColor(pixel), QColor(255, 0, 0));
    fnDo("undo");
    EXPECT_NE(fnView().viewport()->grab().toImage().pixelColor(pixel), QColor(255, 0, 0));
}

TEST_F(DarkroomHabits, TheSpaceBarPansWithAnyTool) {
    fnOpenAt(2000, 1500, 2);
    fnView().fnCenterOn({1000, 700});
    fnDo("toolRectangle");
    const int before = fnView().horizontalScrollBar()->value();
    QTest::keyPress(&fnView(), Qt::Key_Space);
    EXPECT_EQ(fnView().viewport()->cursor().shape(), Qt::OpenHandCursor);
    fnDrag({300, 200}, {250, 180});
    QTest::keyRelease(&fnView(), Qt::Key_Space);
    EXPECT_EQ(fnView().horizontalScrollBar()->value(),
              before + qRound(50 * fnView().devicePixelRatioF()));
    EXPECT_FALSE(fnDocument().fnHasSelection());
    EXPECT_EQ(fnView().viewport()->cursor().shape(), Qt::CrossCursor);
    fnDrag({100, 100}, {200, 180});
    EXPECT_TRUE(fnDocument().fnHasSelection());
}

TEST_F(DarkroomHabits, ASelectionIsMadeChangedAndUndoneFromTheMenu) {
    fnOpenAt(300, 200, 1);
    fnDo("selectAll");
    EXPECT_EQ(fnGetBound(), CRect(0, 0, 300, 200));
    EXPECT_EQ(fnAction("undo").text(), "&Undo Selection");
    fnDo("selectNumbers", [&](QDialog& dialog) {
        fnBox(dialog, "left").setValue(20);
        fnBox(dialog, "top").setValue(30);
        fnBox(dialog, "width").setValue(100);
        fnBox(dialog, "height").setValue(50);
        fnKeepPicture(*m_pWindow, "select-numbers");
        fnAccept(dialog);
    });
    EXPECT_EQ(fnGetBound(), CRect(20, 30, 120, 80));
    fnDo("selectInverse");
    EXPECT_EQ(fnGetBound(), CRect(0, 0, 300, 200));
    EXPECT_EQ(*fnDocument().fnGetSelection().fnGetPixelAddr(60, 50), 0);
    fnDo("undo");
    EXPECT_EQ(fnGetBound(), CRect(20, 30, 120, 80));
    fnDo("selectNone");
    fnDo("undo");
    EXPECT_EQ(fnGetBound(), CRect(20, 30, 120, 80));
    fnDo("left");
    EXPECT_TRUE(fnAction("undo").text().contains("Rotate Left"));
    fnDo("undo");
    EXPECT_FALSE(fnAction("undo").isEnabled());
}

TEST_F(DarkroomHabits, ASelectionIsDraggedByItsMiddleAndItsSides) {
    fnOpenAt(400, 300, 1);
    ASSERT_TRUE(fnSelect(fnDocument(), CRect(100, 80, 220, 180)).fnIsDone());
    fnDo("toolAdjust");
    fnKeepPicture(*m_pWindow, "adjust");
    fnDrag(fnAt(160, 130), fnAt(190, 110));
    CRect bound = fnGetBound();
    EXPECT_EQ(bound.Size(), CSize(120, 100));
    EXPECT_NEAR(bound.left, 130, 1);
    EXPECT_NEAR(bound.top, 60, 1);
    fnDrag(fnAt(bound.right, 110), fnAt(bound.right + 40, 110));
    EXPECT_NEAR(fnGetBound().right, bound.right + 40, 1);
    EXPECT_EQ(fnGetBound().left, bound.left);
    fnDrag(fnAt(5, 5), fnAt(50, 50));
    EXPECT_EQ(fnGetBound().left, bound.left) << "beside it nothing is grabbed";
    fnDo("undo");
    EXPECT_EQ(fnGetBound(), bound);
}

TEST_F(DarkroomHabits, AGrabbedRectangleNeverBecomesEmpty) {
    const CRect place(10, 10, 50, 40);
    const QRectF frame(10, 10, 40, 30);
    const auto drag = [&](const QPointF& press, const QPoint& by) {
        return darkroom::fnDragSides(place, darkroom::fnGrab(frame, press), by);
    };
    EXPECT_EQ(drag({30, 25}, {5, -3}), CRect(15, 7, 55, 37));
    EXPECT_EQ(drag({11, 25}, {5, 99}), CRect(15, 10, 50, 40));
    EXPECT_EQ(drag({52, 41}, {5, 7}), CRect(10, 10, 55, 47));
    EXPECT_EQ(drag({11, 25}, {500, 0}), CRect(49, 10, 50, 40));
    EXPECT_EQ(drag({50, 25}, {-500, 0}), CRect(10, 10, 11, 40));
    EXPECT_EQ(drag({30, 41}, {0, -500}), CRect(10, 10, 50, 11));
    EXPECT_FALSE(darkroom::fnGrab(frame, {80, 25}).fnIsAny());
    EXPECT_TRUE(darkroom::fnGrab(QRectF(10, 10, 3, 3), {11.5, 11.5}).m_bRight) << "small: moved";
}

TEST_F(DarkroomHabits, TheStartWindowFitsTheScreen) {
    darkroom::HostSetup setup;
    setup.m_strSettings = fnPath("none.ini");
    const darkroom::MainWindow fresh(setup);
    const QSize room = fresh.screen()->availableSize();
    EXPECT_LE(fresh.width(), room.width());
    EXPECT_LE(fresh.height(), room.height());
}

TEST_F(DarkroomHabits, SavingNamesWhatThisFileWouldLose) {
    const QString path = fnMakePhoto("photo.jpg");
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    fnDo("left");
    fnDo("save"); // camera data are kept
    EXPECT_FALSE(m_pWindow->isWindowModified());
    EXPECT_EQ(fnDocument().fnGetMetadata().m_Exif.size(), 2u);
    // What the document can't keep is named before the file is replaced.
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    QByteArray bytes = file.readAll();
    bytes.insert(2, QByteArray("\xFF\xE2\x00\x06MPF\0", 8));
    file.seek(0);
    file.write(bytes);
    file.close();
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().contains("pages"));
    fnDo("left");
    fnInDialog([&](QDialog& dialog) {
        auto* const box = qobject_cast<QMessageBox*>(&dialog);
        ASSERT_TRUE(box);
        EXPECT_TRUE(box->text().contains("photo.jpg"));
        EXPECT_TRUE(box->text().contains("pages"));
        EXPECT_FALSE(box->text().contains("EXIF"));
        fnKeepPicture(dialog, "losses");
        dialog.reject();
    });
    fnDo("save");
    // A format without metadata, under another name, where nothing is replaced.
    const QString other = fnPath("other.bmp");
    fnDo("saveAs", [&](QDialog& dialog) {
        fnInDialog([&](QDialog& question) {
            EXPECT_TRUE(qobject_cast<QMessageBox*>(&question)->text().contains("EXIF"));
            question.reject();
        });
        fnType(dialog, other);
    });
    EXPECT_FALSE(QFile::exists(other));
    fnDo("saveAs", [&](QDialog& dialog) {
        fnAnswer(QMessageBox::Save);
        fnType(dialog, other);
    });
    EXPECT_TRUE(QFile::exists(other));
    EXPECT_FALSE(m_pWindow->isWindowModified());
    fnDo("left");
    fnDo("save"); // the new file has nothing more to lose
    EXPECT_FALSE(m_pWindow->isWindowModified());
}

TEST_F(DarkroomHabits, NoLetterNamesTwoEntriesOfAMenu) {
    fnOpenAt(60, 40, 1);
    const auto expect = [](const QString& menu, const QList<QAction*>& actions) {
        QMap<QChar, QString> found;
        for (const QAction* action : actions) {
            const qsizetype at = action->text().indexOf('&');
            if (at < 0)
                continue;
            QString& other = found[action->text().at(at + 1).toLower()];
            EXPECT_TRUE(other.isEmpty()) << menu.toStdString() << ": " << other.toStdString()
                                         << " and " << action->text().toStdString();
            other = action->text();
        }
    };
    expect("menu bar", m_pWindow->menuBar()->actions());
    for (const QAction* menu : m_pWindow->menuBar()->actions())
        expect(menu->text(), menu->menu()->actions());
}

TEST_F(DarkroomHabits, AFailureNamesTheFileAndTheCause) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("good.png", 60, 40)));
    QFile text(fnPath("letter.png"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("Dear reader");
    text.close();
    QFile whole(fnMakePicture("half.png", 60, 40));
    ASSERT_TRUE(whole.resize(whole.size() / 2));
    QFile empty(fnPath("empty.png"));
    ASSERT_TRUE(empty.open(QIODevice::WriteOnly));
    const std::tuple<QString, const char*, const char*> openings[] = {
        {fnPath("nothing.png"), "nothing.png", "does not exist"},
        {m_Folder.path(), "", "is a folder"},
        {text.fileName(), "letter.png", "JPEG (.jpg"},
        {whole.fileName(), "half.png", "damaged or incomplete"},
        {empty.fileName(), "empty.png", "is empty"},
    };
    for (const auto& [path, name, cause] : openings) {
        EXPECT_FALSE(m_pWindow->fnOpen(path));
        const QString box = fnTakeBox();
        EXPECT_TRUE(box.contains(name) && box.contains(cause)) << box.toStdString();
    }
    const std::pair<QString, const char*> savings[] = {
        {fnPath("no such folder/a.png"), "no such folder"},
        {fnPath("a.unknown"), "PNG (.png)"},
        {fnPath("bare"), "PNG (.png)"},
    };
    for (const auto& [path, cause] : savings) {
        EXPECT_FALSE(m_pWindow->fnSaveAs(path));
        const QString box = fnTakeBox();
        EXPECT_TRUE(box.contains(cause)) << box.toStdString();
    }
}

TEST_F(DarkroomHabits, AFullMemoryIsNamedAndTheHistoryMakesRoomFirst) {
    fnOpenAt(400, 300, 1);
    CqVMPolicy& policy = *q32GetVMPolicy();
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i)
        policy.fnEnableDisk(i, false);
    policy.fnSetRamLimit(policy.fnGetRamBytes() * 5 / 2);
    fnDo("to32"); // two pictures at once, and the step
    EXPECT_EQ(fnDocument().fnGetImage().BitCount, 24u) << "too little even so";
    QString box = fnTakeBox();
    EXPECT_TRUE(box.contains("Memory: ") && box.contains("KiB") && box.contains("in use"))
        << box.toStdString();
    EXPECT_TRUE(box.contains("No scratch disk")) << box.toStdString();
    fnDo("half");
    fnDo("half");
    EXPECT_TRUE(fnTakeBoxes().empty());
    EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().contains("one step"))
        << m_pWindow->statusBar()->currentMessage().toStdString();
    policy.fnEnableDisk(0, true);
    policy.fnSetRamLimit(0);
    fnDo("half");
    EXPECT_TRUE(fnTakeBoxes().empty()) << "the disk has room";
}

TEST_F(DarkroomHabits, ThePictureIsZoomedAndPannedWhileADialogPreviews) {
    fnOpenAt(2000, 1500, 1);
    fnDo("toolLine");
    fnDo("brightness", [&](QDialog& dialog) {
        const QImage before = fnView().viewport()->grab().toImage();
        fnBox(dialog, "Brightness").setValue(60);
        EXPECT_TRUE(fnWaitFor([&] { return fnView().viewport()->grab().toImage() != before; }));
        for (const char* id : {"undo", "left", "open", "toolRectangle", "selectAll"})
            EXPECT_FALSE(fnAction(id).isEnabled()) << id;
        EXPECT_FALSE(m_pWindow->close());
        fnAction("zoomIn").trigger();
        EXPECT_EQ(fnView().fnGetZoom(), 1.5);
        const int place = fnView().horizontalScrollBar()->value();
        // As the window system does it, which would keep events from a blocked window.
        QWindow* const window = m_pWindow->windowHandle();
        const QPoint from = fnView().viewport()->mapTo(m_pWindow.get(), QPoint(300, 200));
        QTest::mousePress(window, Qt::LeftButton, {}, from);
        QTest::mouseMove(window, from - QPoint(20, 0));
        QTest::mouseMove(window, from - QPoint(40, 0));
        QTest::mouseRelease(window, Qt::LeftButton, {}, from - QPoint(40, 0));
        EXPECT_GT(fnView().horizontalScrollBar()->value(), place) << "panned";
        fnKeepPicture(*m_pWindow, "preview-zoomed");
        dialog.reject();
    });
    EXPECT_EQ(fnView().fnGetTool(), darkroom::Tool::LINE);
    EXPECT_TRUE(fnAction("toolRectangle").isEnabled());
    EXPECT_FALSE(fnDocument().fnCanUndo());
}
