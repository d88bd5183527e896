// Quality and compression of saved pictures.
#include "examples/darkroom/ui/SaveOptionsDialog.h"
#include "plugins/WebFormats.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>

namespace {

class DarkroomSaveOptions : public DarkroomWindow {
protected:
    void SetUp() override {
        DarkroomWindow::SetUp();
        // Rows that repeat, so that levels of compression differ in size.
        CqImage image;
        image.fnAlloc(200, 150, 24, nullptr, 0);
        CqImageLine line;
        for (unsigned int y = 0; y < 150; ++y) {
            image.fnAccessLine(y, &line, false);
            for (unsigned int i = 0; i < line.RowBytes; ++i)
                line.LineBuffer[i] = static_cast<unsigned char>((i * i + y % 7) % 251);
        }
        line.fnUnAssociate();
        const QString path = fnPath("start.bmp");
        ASSERT_TRUE(
            q32WritePicture(QFile::encodeName(path).constData(), image, PICTURE_BMP).fnIsDone());
        ASSERT_TRUE(m_pWindow->fnOpen(path));
    }
    /// Saves by the menu; returns the bytes of the file.
    QByteArray fnSave(const char* name, const std::function<void(QDialog&)>& choose) {
        const QString path = fnPath(name);
        fnDo("saveAs", [&](QDialog& dialog) {
            fnInDialog(choose);
            fnType(dialog, path);
        });
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    static void fnSetNumber(QDialog& dialog, const char* name, int value) {
        auto* const box = dialog.findChild<QSpinBox*>(name);
        ASSERT_TRUE(box);
        box->setValue(value);
        fnAccept(dialog);
    }
    Bytes fnReadBack(const char* name) const {
        CqImage image;
        EXPECT_TRUE(q32ReadPicture(QFile::encodeName(fnPath(name)).constData(), image).fnIsDone());
        return fnBytesOf(image);
    }
    Bytes fnGetPicture() const { return fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()); }
};

} // namespace

TEST_F(DarkroomSaveOptions, TheQualityOfAJpegIsAskedWhereItIsNamedAndRemembered) {
    const QByteArray fine = fnSave("fine.jpg", [](QDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QSpinBox*>("quality")->value(), 90);
        EXPECT_FALSE(dialog.findChild<QSpinBox*>("pngCompression")) << "not of this format";
        fnKeepPicture(dialog, "save-jpeg");
        fnAccept(dialog);
    });
    const QByteArray rough =
        fnSave("rough.jpg", [](QDialog& dialog) { fnSetNumber(dialog, "quality", 10); });
    EXPECT_LT(rough.size(), fine.size() / 2);
    fnDo("flipVertical");
    fnDo("save"); // not asked again
    EXPECT_LT(QFile(fnPath("rough.jpg")).size(), fine.size() / 2);
    fnRestart();
    ASSERT_TRUE(m_pWindow->fnOpen(fnPath("start.bmp")));
    fnSave("again.jpg", [](QDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QSpinBox*>("quality")->value(), 10);
        dialog.reject();
    });
    EXPECT_FALSE(QFile::exists(fnPath("again.jpg"))) << "cancelled";
}

TEST_F(DarkroomSaveOptions, TheCompressionOfAPngChangesItsSizeAndNotThePicture) {
    const Bytes picture = fnGetPicture();
    const QByteArray plain = fnSave("plain.png", [](QDialog& dialog) {
        fnKeepPicture(dialog, "save-png");
        fnSetNumber(dialog, "pngCompression", 0);
    });
    const QByteArray packed =
        fnSave("packed.png", [](QDialog& dialog) { fnSetNumber(dialog, "pngCompression", 9); });
    EXPECT_GT(plain.size(), 200 * 150 * 3);
    EXPECT_LT(packed.size(), plain.size() / 2);
    EXPECT_EQ(fnReadBack("plain.png"), picture);
    EXPECT_EQ(fnReadBack("packed.png"), picture);
}

TEST_F(DarkroomSaveOptions, ATiffIsCompressedAsChosen) {
    const Bytes picture = fnGetPicture();
    qsizetype sizes[3] = {};
    for (int i = 0; i < 3; ++i) {
        const QByteArray name = "choice" + QByteArray::number(i) + ".tif";
        sizes[i] = fnSave(name.constData(), [&](QDialog& dialog) {
                       auto* const box = dialog.findChild<QComboBox*>("tiffCompression");
                       ASSERT_EQ(box->count(), 3);
                       box->setCurrentIndex(i);
                       if (i == 1)
                           fnKeepPicture(dialog, "save-tiff");
                       fnAccept(dialog);
                   }).size();
        EXPECT_EQ(fnReadBack(name.constData()), picture);
    }
    EXPECT_GT(sizes[2], 200 * 150 * 3) << "not compressed";
    EXPECT_LT(sizes[0], sizes[2]);
    EXPECT_LT(sizes[1], sizes[2]);
    EXPECT_NE(sizes[0], sizes[1]);
}

TEST_F(DarkroomSaveOptions, TheMenuAsksForAllFormatsAndWrongSettingsAreIgnored) {
    fnDo("saveOptions", [&](QDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QSpinBox*>("pngCompression")->value(), 6);
        dialog.findChild<QComboBox*>("tiffCompression")->setCurrentIndex(2);
        fnKeepPicture(dialog, "save-options");
        fnSetNumber(dialog, "quality", 33);
    });
    QSettings settings(fnPath("own.ini"), QSettings::IniFormat);
    CqPictureOptions options;
    options.m_nQuality = 33;
    options.m_eTiffCompression = PICTURE_DEFLATE;
    darkroom::fnKeepSaveOptions(settings, options);
    EXPECT_EQ(darkroom::fnReadSaveOptions(settings).m_nQuality, 33u);
    EXPECT_EQ(darkroom::fnReadSaveOptions(settings).m_eTiffCompression, PICTURE_DEFLATE);
    settings.setValue("quality", 0);
    settings.setValue("pngCompression", "much");
    settings.setValue("tiffCompression", 3);
    EXPECT_EQ(darkroom::fnReadSaveOptions(settings).m_nQuality, 90u);
    EXPECT_EQ(darkroom::fnReadSaveOptions(settings).m_nPngEffort, 6u);
    EXPECT_EQ(darkroom::fnReadSaveOptions(settings).m_eTiffCompression, PICTURE_LZW);
}

#ifdef DARKROOM_WEB_FORMATS

TEST_F(DarkroomSaveOptions, AWebpIsSavedWithItsQualityAndOpened) {
    ASSERT_TRUE(q32AddWebFormats());
    const Bytes picture = fnGetPicture();
    const QByteArray exact =
        fnSave("exact.webp", [](QDialog& dialog) { fnSetNumber(dialog, "quality", 100); });
    EXPECT_TRUE(exact.startsWith("RIFF"));
    EXPECT_FALSE(m_pWindow->isWindowModified());
    ASSERT_TRUE(m_pWindow->fnOpen(fnPath("exact.webp")));
    EXPECT_EQ(fnGetPicture(), picture);
    const QByteArray fine =
        fnSave("fine.webp", [](QDialog& dialog) { fnSetNumber(dialog, "quality", 90); });
    const QByteArray rough =
        fnSave("rough.webp", [](QDialog& dialog) { fnSetNumber(dialog, "quality", 5); });
    EXPECT_LT(rough.size(), fine.size());
}

#endif
