// What saving would lose, and how the darkroom asks first.
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <cstring>
#include <QAbstractButton>
#include <QFile>
#include <QFileDialog>
#include <QStatusBar>

namespace {

class DarkroomSaving : public DarkroomWindow {
protected:
    static QByteArray fnRead(const QString& path) {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    /// A TIFF of two pages. The second directory, a copy of the first one, has the same pixels.
    QString fnMakePages(const QString& name) const {
        QString path = fnMakePicture(name, 60, 40);
        QByteArray bytes = fnRead(path);
        std::uint32_t first = 0;
        std::memcpy(&first, bytes.constData() + 4, 4);
        std::uint16_t entries = 0;
        std::memcpy(&entries, bytes.constData() + first, 2);
        const int length = 2 + 12 * entries + 4;
        if (bytes.size() % 2 != 0)
            bytes.append('\0');
        const auto second = static_cast<std::uint32_t>(bytes.size());
        bytes.append(bytes.mid(static_cast<int>(first), length));
        std::memcpy(bytes.data() + first + length - 4, &second, 4);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return path;
    }

    QString fnMakeAlpha(const QString& name) const {
        CqImage image;
        fnFillNoise(image, 60, 40, 32, 5);
        QString path = fnPath(name);
        EXPECT_TRUE(
            q32WritePicture(QFile::encodeName(path).constData(), image, PICTURE_PNG).fnIsDone());
        return path;
    }

    /// Answers the next question by a word on its button.
    void fnAnswerBy(const char* word, const std::function<void(QDialog&)>& next = {}) {
        fnInDialog([=, this](QDialog& dialog) {
            auto* const box = qobject_cast<QMessageBox*>(&dialog);
            ASSERT_TRUE(box) << "no question";
            for (QAbstractButton* button : box->buttons())
                if (button->text().remove('&').startsWith(word)) {
                    button->click();
                    if (next)
                        fnInDialog(next);
                    return;
                }
            ADD_FAILURE() << "no button " << word;
            box->reject();
        });
    }
};

} // namespace

TEST_F(DarkroomSaving, AFileThatHoldsMoreThanThePictureIsNotReplacedUnasked) {
    const QString path = fnMakePages("pages.tif");
    const QByteArray before = fnRead(path);
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    EXPECT_TRUE(m_pWindow->fnGetDocument().fnIsReduced());
    fnDo("left");
    fnInDialog([&](QDialog& dialog) {
        fnKeepPicture(dialog, "replace");
        dialog.reject();
    });
    fnDo("save");
    EXPECT_EQ(fnRead(path), before);
    EXPECT_TRUE(m_pWindow->isWindowModified());

    const QString other = fnPath("one page.tif");
    fnAnswerBy("Save As", [&](QDialog& dialog) {
        fnAcceptNext();
        fnType(dialog, other);
    });
    fnDo("save");
    EXPECT_EQ(fnRead(path), before);
    EXPECT_TRUE(m_pWindow->windowTitle().startsWith("one page.tif"));
    EXPECT_FALSE(m_pWindow->isWindowModified());
    EXPECT_FALSE(m_pWindow->fnGetDocument().fnIsReduced());

    fnDo("left");
    fnDo("save"); // this file is the picture's own
    EXPECT_FALSE(m_pWindow->isWindowModified());
}

TEST_F(DarkroomSaving, AFileThatHoldsMoreIsReplacedOnConfirmation) {
    const QString path = fnMakePages("pages.tif");
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    fnDo("left");
    fnAnswerBy("Replace");
    fnDo("save");
    EXPECT_FALSE(m_pWindow->isWindowModified());
    CqImage image;
    const CqPictureResult result = q32ReadPicture(QFile::encodeName(path).constData(), image);
    EXPECT_TRUE(result.fnIsDone());
    EXPECT_FALSE(result.m_bReduced);
    EXPECT_EQ(image.Width, 40u);
    fnDo("left");
    fnDo("save"); // nothing left to lose
    EXPECT_FALSE(m_pWindow->isWindowModified());
}

TEST_F(DarkroomSaving, ClosingDoesNotReplaceItUnaskedEither) {
    const QString path = fnMakePages("pages.tif");
    const QByteArray before = fnRead(path);
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    fnDo("left");
    fnAnswerBy("Save", [&](QDialog& dialog) { dialog.reject(); });
    EXPECT_FALSE(m_pWindow->close());
    EXPECT_TRUE(m_pWindow->isVisible());
    EXPECT_TRUE(m_pWindow->isWindowModified());
    EXPECT_EQ(fnRead(path), before);
}

TEST_F(DarkroomSaving, AlphaIsNotLostUnasked) {
    const QString path = fnMakeAlpha("alpha.png");
    const QString copy = fnPath("copy.jpg");
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    EXPECT_FALSE(m_pWindow->fnGetDocument().fnIsReduced()) << "all of it is in the picture";
    fnDo("left");
    const auto saveAs = [&](const char* answer, const std::function<void(QDialog&)>& next) {
        fnDo("saveAs", [&](QDialog& dialog) {
            fnAnswerBy(answer, next);
            fnType(dialog, copy);
        });
    };
    saveAs("Cancel", {});
    EXPECT_FALSE(QFile::exists(copy));
    saveAs("Save", [](QDialog& options) { fnAccept(options); });
    EXPECT_TRUE(QFile::exists(copy));
    EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().contains("copy"));
    EXPECT_TRUE(m_pWindow->windowTitle().startsWith("alpha.png"));
    EXPECT_TRUE(m_pWindow->isWindowModified()) << "no file has the picture as it is";
    fnDo("save");
    EXPECT_FALSE(m_pWindow->isWindowModified());
    CqImage image;
    ASSERT_TRUE(q32ReadPicture(QFile::encodeName(path).constData(), image).fnIsDone());
    EXPECT_EQ(fnBytesOf(image), fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()));
}

TEST_F(DarkroomSaving, APictureThatNoLongerFitsItsFormatGetsAnotherName) {
    const QString path = fnMakePicture("photo.jpg", 60, 40);
    const QByteArray before = fnRead(path);
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    fnDo("to32");
    bool asked = false;
    fnDo("save", [&](QDialog& dialog) {
        asked = qobject_cast<QFileDialog*>(&dialog) != nullptr;
        fnAcceptNext();
        fnType(dialog, fnPath("photo.png"));
    });
    EXPECT_TRUE(asked);
    EXPECT_EQ(fnRead(path), before);
    EXPECT_TRUE(m_pWindow->windowTitle().startsWith("photo.png"));
    EXPECT_FALSE(m_pWindow->isWindowModified());
}
