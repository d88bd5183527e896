// Opening, saving and dropping pictures and closing the window.
#include "q32Base/memory/CqVMPolicy.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <csignal>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QUrl>
#include <sys/resource.h>

namespace {

class DarkroomFiles : public DarkroomWindow {
protected:
    bool fnStartsWith(const char* name) const {
        return m_pWindow->windowTitle().startsWith(QString::fromUtf8(name));
    }
    darkroom::Document& fnDocument() const { return m_pWindow->fnGetDocument(); }

    std::unique_ptr<QDropEvent> fnDropFiles(const QStringList& paths) {
        QMimeData data;
        QList<QUrl> urls;
        for (const QString& path : paths)
            urls << QUrl::fromLocalFile(path);
        data.setUrls(urls);
        return fnDrop(data);
    }

    QList<QAction*> fnRecent() const {
        for (const QMenu* menu : m_pWindow->findChildren<QMenu*>())
            if (menu->title() == "Open &Recent")
                return menu->actions();
        return {};
    }

    /// Opens a picture and rotates it, so that it is modified.
    void fnOpenChanged(const char* name) {
        ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture(name, 60, 40)));
        fnDo("left");
        ASSERT_TRUE(m_pWindow->isWindowModified());
    }

    unsigned int fnGetWidthOf(const QString& path) const {
        CqImage image;
        EXPECT_TRUE(q32ReadPicture(QFile::encodeName(path).constData(), image).fnIsDone());
        return image.Width;
    }
};

/// Prevents files written by this process from growing, as on a full disk.
class FullDisk {
public:
    FullDisk() : m_pBefore(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &m_Limit);
        rlimit small = m_Limit;
        small.rlim_cur = 1000;
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &m_Limit);
        std::signal(SIGXFSZ, m_pBefore);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    void (*m_pBefore)(int);
    rlimit m_Limit{};
};

} // namespace

TEST_F(DarkroomFiles, AClosingWindowAsksAboutChanges) {
    fnOpenChanged("closing.bmp");
    fnAnswer(QMessageBox::Cancel);
    EXPECT_FALSE(m_pWindow->close());
    EXPECT_TRUE(m_pWindow->isVisible());
    EXPECT_TRUE(m_pWindow->isWindowModified());

    fnAnswer(QMessageBox::Discard);
    EXPECT_TRUE(m_pWindow->close());
    EXPECT_EQ(fnGetWidthOf(fnPath("closing.bmp")), 60u);

    ASSERT_TRUE(fnShow(*m_pWindow));
    fnAnswer(QMessageBox::Save);
    EXPECT_TRUE(m_pWindow->close());
    EXPECT_EQ(fnGetWidthOf(fnPath("closing.bmp")), 40u);
    EXPECT_FALSE(m_pWindow->isWindowModified());
}

TEST_F(DarkroomFiles, QuitClosesTheWindowAndItsGeometryIsKept) {
    m_pWindow->resize(777, 555);
    fnDo("quit");
    EXPECT_FALSE(m_pWindow->isVisible());
    fnRestart();
    EXPECT_TRUE(QSettings(fnPath("darkroom.ini"), QSettings::IniFormat).contains("geometry"));
}

TEST_F(DarkroomFiles, ChangesThatCannotBeSavedKeepTheWindowOpen) {
    ASSERT_TRUE(QDir(m_Folder.path()).mkdir("gone"));
    fnOpenChanged("gone/kept.bmp");
    ASSERT_TRUE(QDir(fnPath("gone")).removeRecursively());
    fnAnswer(QMessageBox::Save);
    EXPECT_FALSE(m_pWindow->close());
    EXPECT_TRUE(m_pWindow->isVisible());
    EXPECT_TRUE(m_pWindow->isWindowModified());
    EXPECT_EQ(fnTakeBoxes().size(), 1u);
}

TEST_F(DarkroomFiles, OpeningAsksAboutChanges) {
    fnOpenChanged("changed.bmp");
    const QString other = fnMakePicture("other.bmp", 90, 30);
    for (const char* id : {"open", "new"}) {
        fnAnswer(QMessageBox::Cancel);
        fnDo(id);
        EXPECT_TRUE(fnStartsWith("changed.bmp")) << id;
    }
    fnAnswer(QMessageBox::Save, [&] { fnInDialog([&](QDialog& dialog) { dialog.reject(); }); });
    // The click closes the question before another dialog is looked for.
    fnDo("open");
    EXPECT_FALSE(m_pWindow->isWindowModified());
    EXPECT_EQ(fnGetWidthOf(fnPath("changed.bmp")), 40u);
}

TEST_F(DarkroomFiles, ADiscardedPictureGivesWayToTheChosenOne) {
    fnOpenChanged("changed.bmp");
    const QString other = fnMakePicture("other.bmp", 90, 30);
    fnInDialog([&](QDialog& question) {
        auto* const box = qobject_cast<QMessageBox*>(&question);
        ASSERT_TRUE(box);
        box->button(QMessageBox::Discard)->click();
        fnInDialog([&](QDialog& dialog) { fnType(dialog, other); });
    });
    fnDo("open");
    EXPECT_TRUE(fnStartsWith("other.bmp"));
    EXPECT_EQ(fnGetWidthOf(fnPath("changed.bmp")), 60u);
}

TEST_F(DarkroomFiles, ADroppedFileIsOpenedAfterTheDrop) {
    EXPECT_TRUE(fnDropFiles({fnMakePicture("dropped.png", 300, 200)})->isAccepted());
    EXPECT_FALSE(fnDocument().fnHasImage()) << "the other program isn't kept waiting";
    EXPECT_TRUE(fnWaitFor([&] { return fnStartsWith("dropped.png"); }));
}

TEST_F(DarkroomFiles, TheFirstOfSeveralDroppedFilesIsOpened) {
    const QStringList paths{fnMakePicture("one.png", 30, 20), fnMakePicture("two.png", 20, 30)};
    EXPECT_TRUE(fnDropFiles(paths)->isAccepted());
    EXPECT_TRUE(fnWaitFor([&] { return fnStartsWith("one.png"); }));
}

TEST_F(DarkroomFiles, WhatIsNotAFileIsNotAccepted) {
    QMimeData text;
    text.setText("no file");
    EXPECT_FALSE(fnDrop(text)->isAccepted());
    QMimeData remote;
    remote.setUrls({QUrl("https://example.invalid/picture.png")});
    EXPECT_FALSE(fnDrop(remote)->isAccepted());
}

TEST_F(DarkroomFiles, ADropAsksAboutChanges) {
    fnOpenChanged("changed.bmp");
    const QString other = fnMakePicture("other.bmp", 90, 30);
    bool asked = false;
    fnAnswer(QMessageBox::Cancel, [&] { asked = true; });
    fnDropFiles({other});
    EXPECT_TRUE(fnWaitFor([&] { return asked && !QApplication::activeModalWidget(); }));
    EXPECT_TRUE(fnStartsWith("changed.bmp"));
    fnAnswer(QMessageBox::Discard);
    fnDropFiles({other});
    EXPECT_TRUE(fnWaitFor([&] { return fnStartsWith("other.bmp"); }));
}

TEST_F(DarkroomFiles, AFileDroppedJustBeforeADialogIsReported) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("shown.png", 60, 40)));
    EXPECT_TRUE(fnDropFiles({fnMakePicture("dropped.png", 30, 20)})->isAccepted());
    const auto message = [&] { return m_pWindow->statusBar()->currentMessage(); };
    fnDo("hue", [&](QDialog& dialog) {
        EXPECT_TRUE(fnWaitFor([&] { return message().contains("dropped.png"); }));
        dialog.reject();
    });
    EXPECT_TRUE(fnStartsWith("shown.png")) << "the dialog was about this one";
}

TEST_F(DarkroomFiles, AnUnreadableFileLeavesThePictureUnchanged) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("good.png", 60, 40)));
    QFile bad(fnPath("bad.png"));
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write("this is no picture");
    bad.close();
    for (const QString& path : {bad.fileName(), m_Folder.path(), fnPath("nothing.png")}) {
        EXPECT_FALSE(m_pWindow->fnOpen(path));
        EXPECT_EQ(fnTakeBoxes().size(), 1u) << path.toStdString();
        EXPECT_TRUE(fnStartsWith("good.png"));
        EXPECT_EQ(fnDocument().fnGetImage().Width, 60u);
        EXPECT_EQ(fnRecent().size(), 1);
    }
}

TEST_F(DarkroomFiles, APictureThatCannotBeSavedStaysModified) {
    fnOpenChanged("source.bmp");
    ASSERT_TRUE(QFile::exists("/proc/version"));
    for (const QString& path : {fnPath("no such folder/a.png"), QString("/proc/version/a.png"),
                                QString("/proc/a.bmp"), fnPath("a.unknown")}) {
        EXPECT_FALSE(m_pWindow->fnSaveAs(path));
        EXPECT_EQ(fnTakeBoxes().size(), 1u) << path.toStdString();
        EXPECT_TRUE(m_pWindow->isWindowModified());
        EXPECT_TRUE(fnStartsWith("source.bmp"));
        EXPECT_EQ(fnRecent().size(), 1);
    }
}

TEST_F(DarkroomFiles, AFullDiskLeavesTheExistingFile) {
    fnOpenChanged("standing.bmp");
    bool saved = true;
    {
        const FullDisk full;
        saved = m_pWindow->fnSaveAs(fnPath("standing.bmp"));
    }
    EXPECT_FALSE(saved);
    EXPECT_EQ(fnTakeBoxes().size(), 1u);
    EXPECT_TRUE(m_pWindow->isWindowModified());
    EXPECT_EQ(fnGetWidthOf(fnPath("standing.bmp")), 60u);
    EXPECT_TRUE(m_pWindow->fnSaveAs(fnPath("standing.bmp")));
    EXPECT_EQ(fnGetWidthOf(fnPath("standing.bmp")), 40u);
}

TEST_F(DarkroomFiles, ANameWithoutAnExtensionGetsThatOfTheChosenFormat) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("source.bmp", 60, 40)));
    fnDo("saveAs", [&](QDialog& dialog) { fnType(dialog, fnPath("bare")); });
    EXPECT_TRUE(fnStartsWith("bare.bmp")) << "the format that it had";
    fnDo("saveAs", [&](QDialog& dialog) {
        auto* const formats = dialog.findChild<QComboBox*>("fileTypeCombo");
        const int tiff = formats->findText("TIFF", Qt::MatchStartsWith);
        EXPECT_GE(tiff, 1);
        formats->setCurrentIndex(tiff);
        Q_EMIT formats->textActivated(formats->currentText());
        Q_EMIT formats->activated(tiff);
        fnAcceptNext();
        fnType(dialog, fnPath("bare"));
    });
    EXPECT_TRUE(fnStartsWith("bare.tif"));
    EXPECT_TRUE(fnTakeBoxes().empty());
}

TEST_F(DarkroomFiles, ReplacingAFileIsConfirmedForItsFullName) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("source.png", 60, 40)));
    const QString standing = fnMakePicture("standing.png", 20, 20);
    QString question;
    fnDo("saveAs", [&](QDialog& dialog) {
        fnInDialog([&](QDialog& inner) {
            if (auto* const box = qobject_cast<QMessageBox*>(&inner)) {
                question = box->text();
                box->button(QMessageBox::No)->click();
            }
        });
        fnType(dialog, fnPath("standing"));
        dialog.reject();
    });
    EXPECT_TRUE(question.contains("standing.png")) << question.toStdString();
    EXPECT_EQ(fnGetWidthOf(standing), 20u);
    EXPECT_TRUE(fnStartsWith("source.png"));
}

TEST_F(DarkroomFiles, TheLastEightFilesAreKeptNewestFirst) {
    QStringList expected;
    for (const char* name : {"0.bmp", "1.bmp", "2.bmp", "3.bmp", "4.bmp", "5.bmp", "6.bmp", "7.bmp",
                             "8.bmp", "9.bmp", "4.bmp"}) {
        ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture(name, 30, 20)));
        expected.removeAll(name);
        expected.prepend(name);
    }
    fnRestart();
    QStringList shown;
    for (const QAction* action : fnRecent())
        shown << action->text();
    EXPECT_EQ(shown, expected.mid(0, 8));
    fnRecent().back()->trigger();
    EXPECT_TRUE(fnWaitFor([&] { return fnStartsWith("2.bmp"); }));
    EXPECT_EQ(fnRecent().front()->text(), "2.bmp");
    EXPECT_EQ(fnRecent().size(), 8);
}

TEST_F(DarkroomFiles, RecentFilesOfOneNameAreDistinguishedAndSpecialCharactersKept) {
    ASSERT_TRUE(QDir(m_Folder.path()).mkdir("in"));
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("same.bmp", 30, 20)));
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("in/same.bmp", 20, 30)));
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("black & white.bmp", 20, 30)));
    EXPECT_EQ(fnRecent()[0]->text(), "black && white.bmp") << "as menus write it";
    EXPECT_EQ(fnRecent()[1]->text(), "same.bmp in " + fnPath("in"));
    EXPECT_EQ(fnRecent()[2]->text(), "same.bmp in " + m_Folder.path());
}

TEST_F(DarkroomFiles, AVanishedRecentFileIsReportedAndRemoved) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("gone.bmp", 30, 20)));
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("here.bmp", 30, 20)));
    ASSERT_TRUE(QFile::remove(fnPath("gone.bmp")));
    fnRecent()[1]->trigger();
    EXPECT_TRUE(fnWaitFor([&] { return fnRecent().size() == 1; }));
    EXPECT_EQ(fnTakeBoxes().size(), 1u);
    EXPECT_TRUE(fnStartsWith("here.bmp"));
}

TEST_F(DarkroomFiles, NamesOutsideAsciiAreShownAsTheyAre) {
    const QString name = QString::fromUtf8("größe – 画.bmp");
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture(name, 30, 20)));
    EXPECT_TRUE(m_pWindow->windowTitle().startsWith(name));
}

TEST_F(DarkroomFiles, TheCursorPositionDisappearsWithItsPicture) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("first.bmp", 300, 200)));
    QWidget* const view = m_pWindow->fnGetView().viewport();
    const auto tellsColor = [&] {
        for (const QLabel* label : m_pWindow->statusBar()->findChildren<QLabel*>())
            if (label->text().contains(':'))
                return true;
        return false;
    };
    // Not the cursor itself: the window may be larger than the screen that it can move on.
    const QPointF place = view->rect().center();
    QMouseEvent move(QEvent::MouseMove, place, view->mapToGlobal(place), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QApplication::sendEvent(view, &move);
    EXPECT_TRUE(tellsColor());
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("second.bmp", 20, 10)));
    EXPECT_FALSE(tellsColor());
}
