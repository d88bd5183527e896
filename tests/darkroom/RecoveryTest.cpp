// What is left of unsaved changes when the program is killed.
#include "examples/darkroom/ui/Recovery.h"

#include "examples/darkroom/model/FileExtras.h"
#include "examples/darkroom/ui/FailureText.h"
#include "examples/darkroom/ui/RecoveryFolders.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTest>

namespace {

class DarkroomRecovery : public DarkroomWindow {
protected:
    darkroom::Document& fnDocument() const { return m_pWindow->fnGetDocument(); }
    /// On the scratch disk.
    QString fnFolder(const QString& file = {}) const {
        return darkroom::fnFindRecoveryFolders(fnPath("recovery")).front() + '/' + file;
    }
    QStringList fnList() const { return QDir(fnFolder()).entryList(QDir::Files, QDir::Name); }
    /// Keeps a copy, and waits until it is written.
    void fnKeep() const {
        m_pWindow->fnKeepCopy();
        EXPECT_TRUE(fnWaitFor([&] { return !m_pWindow->fnIsKeepingCopy(); }));
        QCoreApplication::processEvents();
    }
    void fnClick(const QPointF& place) const {
        darkroom::PictureView& view = m_pWindow->fnGetView();
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.fnToView(place).toPoint());
    }
    /// Leaves a copy and its name, as a program does that is killed.
    void fnLeave(const char* stem, unsigned int width) const {
        QDir().mkpath(fnFolder());
        const QString path = fnFolder(stem);
        CqImage image;
        fnFillNoise(image, width, 40, 24, width);
        const QByteArray file = QFile::encodeName(path + ".tif");
        ASSERT_TRUE(q32WritePicture(file.constData(), image, PICTURE_TIFF).fnIsDone());
        QFile name(path + ".name");
        ASSERT_TRUE(name.open(QIODevice::WriteOnly));
        name.write("/pictures/holiday.jpg");
        QFile lock(path + ".lock");
        ASSERT_TRUE(lock.open(QIODevice::WriteOnly));
        lock.write("999999999\nkilled\n\n\n\n"); // no such process
    }
};

} // namespace

TEST_F(DarkroomRecovery, UnsavedChangesAreCopiedAndTheCopyGoesWhenTheyAreSaved) {
    const QString path = fnMakePicture("kept.png", 60, 40);
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    fnKeep();
    EXPECT_TRUE(fnList().isEmpty()) << "nothing has changed";
    fnDo("left");
    fnKeep();
    const QStringList files = fnList();
    ASSERT_EQ(files.size(), 4) << files.join(' ').toStdString();
    CqImage copy;
    const QString tiff = fnFolder(files.filter(".tif").value(0));
    ASSERT_TRUE(q32ReadPicture(QFile::encodeName(tiff).constData(), copy).fnIsDone());
    EXPECT_EQ(fnBytesOf(copy), fnBytesOf(fnDocument().fnGetImage()));
    EXPECT_TRUE(m_pWindow->isWindowModified()) << "the picture itself isn't saved";
    fnDo("save");
    EXPECT_TRUE(fnList().isEmpty());
}

#ifndef Q_OS_WIN // where profile folders have rights of their own
TEST_F(DarkroomRecovery, CopiesAreForTheirUserAlone) {
    QDir().mkpath(fnFolder());
    QFile::setPermissions(fnFolder(), QFile::Permissions(0x7755));
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("kept.png", 60, 40)));
    for (int i = 0; i < 2; ++i) { // a new copy, then in place of it
        fnDo("left");
        fnKeep();
        constexpr auto kOthers = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                 QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
        EXPECT_FALSE(QFile::permissions(fnFolder()) & kOthers);
        ASSERT_EQ(fnList().size(), 4);
        for (const QString& file : fnList())
            EXPECT_FALSE(QFile::permissions(fnFolder(file)) & kOthers) << file.toStdString();
    }
}
#endif

TEST_F(DarkroomRecovery, WhatAKilledProgramLeftIsOfferedOpenedUnsavedAndThenGone) {
    fnLeave("one", 70);
    fnInDialog([&](QDialog& dialog) {
        auto* const box = qobject_cast<QMessageBox*>(&dialog);
        EXPECT_TRUE(box->text().contains("holiday.jpg"));
        fnKeepPicture(dialog, "recovery");
        box->button(QMessageBox::Open)->click();
    });
    m_pWindow->fnOfferRecovery();
    ASSERT_EQ(fnDocument().fnGetImage().Width, 70u);
    EXPECT_TRUE(m_pWindow->isWindowModified());
    EXPECT_TRUE(fnDocument().fnGetPath().empty()) << "the original isn't replaced unasked";
    EXPECT_FALSE(fnList().filter(".tif").isEmpty()) << "until it is saved";
    ASSERT_TRUE(m_pWindow->fnSaveAs(fnPath("rescued.png")));
    EXPECT_TRUE(fnList().isEmpty());
}

TEST_F(DarkroomRecovery, WhatTheFileSaidAboutThePictureIsRecoveredToo) {
    CqImage image;
    fnFillNoise(image, 60, 40, 24, 1);
    CqPictureMetadata metadata;
    const std::string camera("MM\0*\0\0\0\x08\0\0\0\0\0\0", 14);
    metadata.m_Exif.assign(camera.begin(), camera.end());
    metadata.m_Xmp.assign(300, 'x');
    metadata.m_Iptc.assign(8, 'i');
    const QString path = fnPath("camera.jpg");
    ASSERT_TRUE(q32WritePicture(QFile::encodeName(path).constData(), image, metadata, PICTURE_JPEG)
                    .fnIsDone());
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    const CqPictureMetadata read = fnDocument().fnGetMetadata();
    ASSERT_FALSE(read.m_Exif.empty() || read.m_Xmp.empty() || read.m_Iptc.empty());
    fnDo("left");
    fnKeep();
    for (const char* suffix : {".tif", ".name", ".metadata"}) {
        const QString file = fnList().filter(suffix).value(0);
        ASSERT_TRUE(QFile::copy(fnFolder(file), fnFolder(QString("a") + suffix))) << suffix;
    }
    fnDo("save");
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("plain.png", 20, 10)));
    ASSERT_TRUE(fnDocument().fnGetMetadata().m_Exif.empty());
    fnAnswer(QMessageBox::Open);
    m_pWindow->fnOfferRecovery();
    ASSERT_EQ(fnDocument().fnGetImage().Width, 40u) << "rotated";
    EXPECT_EQ(fnDocument().fnGetMetadata().m_Exif, read.m_Exif);
    EXPECT_EQ(fnDocument().fnGetMetadata().m_Xmp, read.m_Xmp);
    EXPECT_EQ(fnDocument().fnGetMetadata().m_Iptc, read.m_Iptc);
    ASSERT_TRUE(m_pWindow->fnSaveAs(fnPath("rescued.jpg")));
    EXPECT_TRUE(fnList().isEmpty()) << fnList().join(' ').toStdString();
}

TEST_F(DarkroomRecovery, DamagedMetadataLeavesThatOfThePictureItself) {
    darkroom::Recovery other([this] { return QStringList(fnFolder()); }, [] {});
    fnLeave("one", 70);
    QFile metadata(fnFolder("one.metadata"));
    ASSERT_TRUE(metadata.open(QIODevice::WriteOnly));
    const QByteArray whole(40, '\0'); // four empty blocks, and nothing else
    ASSERT_TRUE(other.fnAdopt());
    for (int count = 0; count <= 41; ++count) {
        metadata.resize(0);
        metadata.seek(0);
        metadata.write((whole + 'x').first(count));
        metadata.flush();
        EXPECT_EQ(other.fnGetFacts().has_value(), count == 40) << count;
    }
    metadata.resize(0);
    metadata.seek(0);
    metadata.write(QByteArray(8, '\xFF') + whole);
    metadata.flush();
    EXPECT_FALSE(other.fnGetFacts().has_value()) << "a length beyond the file";
}

TEST_F(DarkroomRecovery, WhatIsDiscardedIsGoneAndWhatIsCancelledStays) {
    fnLeave("one", 70);
    fnAnswer(QMessageBox::Cancel);
    m_pWindow->fnOfferRecovery();
    EXPECT_FALSE(fnDocument().fnHasImage());
    EXPECT_FALSE(fnList().filter(".tif").isEmpty());
    fnAnswer(QMessageBox::Discard);
    m_pWindow->fnOfferRecovery();
    EXPECT_TRUE(fnList().filter(".tif").isEmpty());
    m_pWindow->fnOfferRecovery(); // asks nothing
}

TEST_F(DarkroomRecovery, TheCopyOfAProgramThatRunsIsLeftAlone) {
    darkroom::Recovery other([this] { return QStringList(fnFolder()); }, [] {});
    darkroom::Document document(1);
    ASSERT_TRUE(document.fnNew(20, 10, CqColor(), nullptr).fnIsDone());
    document.fnMarkUnsaved();
    EXPECT_TRUE(other.fnIsNeeded(document));
    ASSERT_TRUE(other.fnKeep(document, nullptr).fnIsDone());
    ASSERT_TRUE(other.fnFinish().fnIsDone());
    EXPECT_FALSE(other.fnIsNeeded(document));
    m_pWindow->fnOfferRecovery(); // asks nothing
    EXPECT_EQ(fnList().filter(".tif").size(), 1);
    other.fnDrop();
    EXPECT_TRUE(fnList().isEmpty());
}

TEST_F(DarkroomRecovery, WithoutAnyFolderTheCauseIsSaidOnceInTheStatusBarAlone) {
    for (const QString& folder : darkroom::fnFindRecoveryFolders(fnPath("recovery"))) {
        QFile blocking(folder);
        ASSERT_TRUE(blocking.open(QIODevice::WriteOnly)); // a file in the folder's place
    }
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("kept.png", 60, 40)));
    fnDo("left");
    fnKeep();
    const QString text = m_pWindow->statusBar()->currentMessage();
    EXPECT_TRUE(text.contains("No copy") && text.contains("recovery") &&
                text.contains("can't be written"))
        << text.toStdString();
    EXPECT_TRUE(fnTakeBoxes().empty());
    EXPECT_TRUE(m_pWindow->isWindowModified());
    m_pWindow->statusBar()->clearMessage();
    fnKeep();
    EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().isEmpty()) << "known already";
}

TEST_F(DarkroomRecovery, NoCopyTakesTheRoomThatEditingNeeds) {
    CqVMPolicy& policy = *q32GetVMPolicy();
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("kept.png", 400, 300)));
    const std::uint64_t picture = policy.fnGetRamBytes();
    policy.fnEnableDisk(0, false);
    policy.fnSetRamLimit(5 * picture);
    fnDo("left"); // what it saves leaves room for three
    fnKeep();
    EXPECT_TRUE(fnList().isEmpty());
    EXPECT_FALSE(QDir(fnPath("recovery")).exists());
    const QString text = m_pWindow->statusBar()->currentMessage();
    EXPECT_TRUE(text.contains("No copy") && text.contains("too little room")) << text.toStdString();
    policy.fnSetRamLimit(6 * picture + 1000);
    fnKeep();
    const auto count = [&] { return QDir(fnPath("recovery")).entryList(QDir::Files).size(); };
    EXPECT_EQ(count(), 4) << "without a scratch disk beside the settings";
    policy.fnEnableDisk(0, true);
    fnDo("save");
    EXPECT_EQ(count(), 0);
    const std::uint64_t needed = darkroom::Recovery::fnCountNeeded(fnDocument().fnGetImage());
    darkroom::Outcome outcome;
    outcome.m_nMsgId = MESSAGE_CANNOT_SAVE;
    outcome.m_strPath = QFile::encodeName(m_Folder.path()).constData();
    EXPECT_TRUE(darkroom::fnDescribeUnkept(outcome, needed).contains("can't be written"));
    EXPECT_TRUE(darkroom::fnDescribeUnkept(outcome, UINT64_MAX).contains("left"));
}

TEST_F(DarkroomRecovery, ACopyThatIsWrittenWhileThePictureIsSavedGoesToo) {
    fnDocument().fnNew(3400, 3300, CqColor(1, 2, 3, 255), nullptr);
    ASSERT_TRUE(m_pWindow->fnSaveAs(fnPath("large.bmp")));
    for (int i = 0; i < 2; ++i) {
        fnDo("half");
        m_pWindow->fnKeepCopy();
        fnDo("save");
        ASSERT_TRUE(fnWaitFor([&] { return !m_pWindow->fnIsKeepingCopy(); }));
        QCoreApplication::processEvents();
        EXPECT_TRUE(fnList().isEmpty()) << fnList().join(' ').toStdString();
    }
}

TEST_F(DarkroomRecovery, AnUnfinishedCurveGoesOnAfterACopy) {
    for (const unsigned int width : {300u, 4000u}) { // without and with progress
        fnDocument().fnNew(width, 3000, CqColor(1, 2, 3, 255), nullptr);
        fnDocument().fnMarkUnsaved();
        QCoreApplication::processEvents();
        fnDo("toolCurve");
        const std::size_t steps = fnDocument().fnListSteps().size();
        for (const QPointF place : {QPointF(20, 20), QPointF(90, 80)})
            fnClick(place);
        fnKeep();
        EXPECT_EQ(fnList().size(), 4) << "the copy is kept";
        EXPECT_EQ(m_pWindow->fnGetView().fnGetTool(), darkroom::Tool::CURVE);
        for (const QPointF place : {QPointF(150, 400), QPointF(200, 900)})
            fnClick(place);
        EXPECT_EQ(fnDocument().fnListSteps().size(), steps + 1) << width;
    }
}

TEST_F(DarkroomRecovery, NoCopyIsTakenWhileAMenuIsOpen) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("kept.png", 60, 40)));
    fnDo("left");
    auto* const menu = m_pWindow->menuBar()->actions().front()->menu();
    menu->popup(m_pWindow->mapToGlobal(QPoint(5, 20)));
    ASSERT_TRUE(fnWaitFor([] { return QApplication::activePopupWidget() != nullptr; }));
    fnKeep();
    EXPECT_TRUE(menu->isVisible());
    EXPECT_TRUE(fnList().isEmpty());
    menu->close();
    fnKeep();
    EXPECT_EQ(fnList().size(), 4);
}

TEST_F(DarkroomRecovery, AFolderThatMayBeSomebodyElsesIsNotUsed) {
    QDir().mkpath(fnPath("trap"));
    const QString folder = darkroom::fnFindRecoveryFolders(fnPath("recovery")).front();
    if (!QFile::link(fnPath("trap"), folder))
        GTEST_FAIL();
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("kept.png", 60, 40)));
    fnDo("left");
    fnKeep();
    EXPECT_TRUE(QDir(fnPath("trap")).isEmpty());
    EXPECT_EQ(QDir(fnPath("recovery")).entryList(QDir::Files).size(), 4) << "beside the settings";
}

TEST_F(DarkroomRecovery, WhatIsCancelledHidesNoOtherAndTheRecoveredKeepsItsName) {
    fnLeave("one", 70);
    fnLeave("two", 80);
    darkroom::Recovery recovery([this] { return QStringList(fnFolder()); }, [] {});
    ASSERT_TRUE(recovery.fnAdopt());
    const unsigned int second = recovery.fnGetPath().endsWith("one.tif") ? 80 : 70;
    recovery.fnRelease();
    fnInDialog([&](QDialog& dialog) {
        fnAnswer(QMessageBox::Open);
        qobject_cast<QMessageBox*>(&dialog)->button(QMessageBox::Cancel)->click();
    });
    m_pWindow->fnOfferRecovery();
    EXPECT_EQ(fnDocument().fnGetImage().Width, second);
    EXPECT_EQ(fnList().filter(".tif").size(), 2);
    EXPECT_TRUE(m_pWindow->windowTitle().contains("holiday.jpg (recovered)"))
        << m_pWindow->windowTitle().toStdString();
    fnDo("saveAs", [&](QDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QLineEdit*>("fileNameEdit")->text(), "holiday.jpg");
        dialog.reject();
    });
    fnDocument().SetModifiedFlag(false);
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("plain.png", 20, 10)));
    EXPECT_FALSE(m_pWindow->windowTitle().contains("recovered"));
}

TEST_F(DarkroomRecovery, WhatTheOriginalHoldsBesidesThePictureIsStillAskedAbout) {
    darkroom::FileFacts facts;
    facts.m_bReduced = true;
    facts.m_nExtras = darkroom::EXTRA_PAGES;
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("pages.png", 60, 40)));
    fnDocument().fnSetFileFacts(facts);
    fnDo("left");
    fnKeep();
    for (const char* suffix : {".tif", ".name", ".metadata"})
        ASSERT_TRUE(QFile::copy(fnFolder(fnList().filter(suffix).value(0)),
                                fnFolder(QString("a") + suffix)));
    fnDocument().SetModifiedFlag(false);
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("plain.png", 20, 10)));
    fnAnswer(QMessageBox::Open);
    m_pWindow->fnOfferRecovery();
    ASSERT_EQ(fnDocument().fnGetImage().Width, 40u);
    EXPECT_TRUE(fnDocument().fnIsReduced());
    EXPECT_EQ(fnDocument().fnGetExtras(), darkroom::EXTRA_PAGES);
    EXPECT_FALSE(fnDocument().fnIsPartial());
}

TEST_F(DarkroomRecovery, APictureNamedAtTheStartIsOpenedAfterAQuestion) {
    const QString path = fnMakePicture("named.png", 20, 10);
    fnLeave("one", 70);
    fnAnswer(QMessageBox::Open);
    m_pWindow->fnStart(path);
    ASSERT_EQ(fnDocument().fnGetImage().Width, 70u);
    fnAnswer(QMessageBox::Discard);
    EXPECT_TRUE(fnWaitFor([&] { return fnDocument().fnGetImage().Width == 20; }));
    EXPECT_TRUE(fnList().isEmpty());
    fnRestart();
    m_pWindow->fnStart(path); // nothing to recover, and nothing to ask
    EXPECT_EQ(fnDocument().fnGetImage().Width, 20u);
}
