// What is left of unsaved changes when the program is killed.
#include "examples/darkroom/ui/Recovery.h"

#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QStatusBar>

namespace {

class DarkroomRecovery : public DarkroomWindow {
protected:
    darkroom::Document& fnDocument() const { return m_pWindow->fnGetDocument(); }
    QStringList fnList() const {
        return QDir(fnPath("recovery")).entryList(QDir::Files, QDir::Name);
    }
    /// Leaves a copy and its name, as a program does that is killed.
    void fnLeave(const char* stem, unsigned int width) const {
        QDir().mkpath(fnPath("recovery"));
        const QString path = fnPath(QString("recovery/") + stem);
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
    m_pWindow->fnKeepCopy();
    EXPECT_TRUE(fnList().isEmpty()) << "nothing has changed";
    fnDo("left");
    m_pWindow->fnKeepCopy();
    const QStringList files = fnList();
    ASSERT_EQ(files.size(), 4) << files.join(' ').toStdString();
    CqImage copy;
    const QString tiff = fnPath("recovery/" + files.filter(".tif").value(0));
    ASSERT_TRUE(q32ReadPicture(QFile::encodeName(tiff).constData(), copy).fnIsDone());
    EXPECT_EQ(fnBytesOf(copy), fnBytesOf(fnDocument().fnGetImage()));
    EXPECT_TRUE(m_pWindow->isWindowModified()) << "the picture itself isn't saved";
    fnDo("save");
    EXPECT_TRUE(fnList().isEmpty());
}

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
    m_pWindow->fnKeepCopy();
    for (const char* suffix : {".tif", ".name", ".metadata"}) {
        const QString file = fnList().filter(suffix).value(0);
        ASSERT_TRUE(QFile::copy(fnPath("recovery/" + file), fnPath(QString("recovery/a") + suffix)))
            << suffix;
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
    darkroom::Recovery other(fnPath("recovery"));
    fnLeave("one", 70);
    QFile metadata(fnPath("recovery/one.metadata"));
    ASSERT_TRUE(metadata.open(QIODevice::WriteOnly));
    const QByteArray whole(32, '\0'); // four empty blocks
    ASSERT_TRUE(other.fnAdopt());
    for (int count = 0; count <= 33; ++count) {
        metadata.resize(0);
        metadata.seek(0);
        metadata.write((whole + 'x').first(count));
        metadata.flush();
        EXPECT_EQ(other.fnGetMetadata().has_value(), count == 32) << count;
    }
    metadata.resize(0);
    metadata.seek(0);
    metadata.write(QByteArray(8, '\xFF') + whole);
    metadata.flush();
    EXPECT_FALSE(other.fnGetMetadata().has_value()) << "a length beyond the file";
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
    darkroom::Recovery other(fnPath("recovery"));
    darkroom::Document document(1);
    ASSERT_TRUE(document.fnNew(20, 10, CqColor(), nullptr).fnIsDone());
    document.fnMarkUnsaved();
    EXPECT_TRUE(other.fnIsNeeded(document));
    ASSERT_TRUE(other.fnKeep(document, nullptr).fnIsDone());
    EXPECT_FALSE(other.fnIsNeeded(document));
    m_pWindow->fnOfferRecovery(); // asks nothing
    EXPECT_EQ(fnList().filter(".tif").size(), 1);
    other.fnDrop();
    EXPECT_TRUE(fnList().isEmpty());
}

TEST_F(DarkroomRecovery, AFolderThatCantBeWrittenIsReportedInTheStatusBarAlone) {
    QFile blocking(fnPath("recovery"));
    ASSERT_TRUE(blocking.open(QIODevice::WriteOnly)); // a file in the folder's place
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("kept.png", 60, 40)));
    fnDo("left");
    m_pWindow->fnKeepCopy();
    EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().contains("No copy"));
    EXPECT_TRUE(fnTakeBoxes().empty());
    EXPECT_TRUE(m_pWindow->isWindowModified());
}
