// What one does every day: copy and paste, pick colours, go back in the history, see true colours.
#include "examples/darkroom/ui/FailureText.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <QClipboard>
#include <QColorSpace>
#include <QComboBox>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QInputDialog>
#include <QLabel>
#include <QListWidget>
#include <QScrollBar>
#include <QSpinBox>
#include <QStatusBar>
#include <QTest>
#include <utility>
#include <vector>
#ifdef DARKROOM_LCMS
#include <lcms2.h>
#endif

namespace {

class DarkroomEveryday : public DarkroomWindow {
protected:
    darkroom::PictureView& fnView() const { return m_pWindow->fnGetView(); }
    darkroom::Document& fnDocument() const { return m_pWindow->fnGetDocument(); }
    QPoint fnAt(double x, double y) const { return fnView().fnToView({x, y}).toPoint(); }
    void fnOpenAt(unsigned int width, unsigned int height) const {
        ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("everyday.png", width, height)));
        fnView().fnSetZoom(1);
        QCoreApplication::processEvents();
    }
    /// What the view shows of a pixel of the picture.
    QColor fnSeen(double x, double y) const {
        fnView().viewport()->repaint();
        const QImage look = fnView().viewport()->grab().toImage();
        const QPointF place = fnView().fnToView({x, y}) * look.devicePixelRatio();
        return look.pixelColor(static_cast<int>(place.x()), static_cast<int>(place.y()));
    }
};

#ifdef DARKROOM_LCMS
/// A profile whose red is the blue of sRGB, and the other way round.
std::vector<unsigned char> fnMakeSwapped() {
    const cmsCIExyY white = {0.3127, 0.3290, 1.0};
    const cmsCIExyYTRIPLE primaries = {
        {0.1500, 0.0600, 1.0}, {0.3000, 0.6000, 1.0}, {0.6400, 0.3300, 1.0}};
    cmsToneCurve* const curve = cmsBuildGamma(nullptr, 2.2);
    cmsToneCurve* const curves[] = {curve, curve, curve};
    cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::vector<unsigned char> bytes(size);
    EXPECT_TRUE(cmsSaveProfileToMem(profile, bytes.data(), &size));
    cmsCloseProfile(profile);
    cmsFreeToneCurve(curve);
    return bytes;
}
#endif

} // namespace

#ifdef DARKROOM_LCMS
TEST_F(DarkroomEveryday, APictureIsShownThroughItsProfileWhichIsKept) {
    CqImage image;
    image.fnAlloc(100, 80, 24, nullptr, 0);
    image.fnFill(CqColor(220, 20, 20, 255), nullptr, false);
    CqPictureMetadata metadata;
    metadata.m_Profile = fnMakeSwapped();
    const QString path = fnPath("profile.jpg");
    const QByteArray file = QFile::encodeName(path);
    ASSERT_TRUE(q32WritePicture(file.constData(), image, metadata, PICTURE_JPEG).fnIsDone());
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    EXPECT_GT(fnSeen(50, 40).blue(), 180);
    EXPECT_LT(fnSeen(50, 40).red(), 90);
    EXPECT_GT(fnDocument().fnGetImage().fnGetPixelColor(50, 40).m_Red, 180) << "not its pixels";
    fnDo("levels", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("White")->setValue(240);
        EXPECT_TRUE(fnWaitFor([&] { return fnSeen(50, 40).blue() > 225; })) << "the preview too";
        fnKeepPicture(dialog, "levels");
        fnAccept(dialog);
    });
    fnDo("left");
    fnDo("save");
    EXPECT_FALSE(m_pWindow->isWindowModified());
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    EXPECT_EQ(fnDocument().fnGetMetadata().m_Profile, metadata.m_Profile);
    fnOpenAt(60, 40);
    const CqColor pixel = fnDocument().fnGetImage().fnGetPixelColor(30, 20);
    const QColor seen = fnSeen(30.5, 20.5);
    EXPECT_EQ(QColor(pixel.m_Red, pixel.m_Green, pixel.m_Blue), seen) << "without one it is sRGB";
}
#endif

TEST_F(DarkroomEveryday, ASelectionIsCopiedCutAndPastedAsNewAndInto) {
    fnOpenAt(120, 90);
    ASSERT_TRUE(fnSelect(fnDocument(), CRect(10, 20, 50, 40)).fnIsDone());
    const CqColor first = fnDocument().fnGetImage().fnGetPixelColor(10, 20);
    fnDo("copy");
    const QImage shared = QGuiApplication::clipboard()->image();
    ASSERT_EQ(shared.size(), QSize(40, 20)) << "other programs get it too";
    EXPECT_EQ(qRed(shared.pixel(0, 0)), first.m_Red);
    fnDo("cut");
    EXPECT_EQ(fnDocument().fnGetImage().fnGetPixelColor(10, 20).m_Green, 255) << "white";
    EXPECT_EQ(fnDocument().fnGetUndoName(), "Cut");
    fnDo("selectNone");
    fnDo("paste", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("x")->setValue(70);
        dialog.findChild<QSpinBox*>("y")->setValue(60);
        fnAccept(dialog);
    });
    EXPECT_EQ(fnDocument().fnGetImage().fnGetPixelColor(70, 60).m_Red, first.m_Red);
    fnDocument().SetModifiedFlag(false);
    fnDo("pasteNew");
    EXPECT_EQ(fnDocument().fnGetImage().Width, 40u);
    EXPECT_TRUE(m_pWindow->isWindowModified());
    EXPECT_TRUE(fnDocument().fnGetPath().empty());
    EXPECT_EQ(fnDocument().fnGetImage().fnGetPixelColor(0, 0).m_Red, first.m_Red);
}

TEST_F(DarkroomEveryday, AShapeIsPastedAsAShapeWhereItCameFromOrInSight) {
    fnOpenAt(3000, 2000);
    fnView().fnCenterOn({400, 300});
    const std::vector<CqPoint2D> corners = {{200, 220}, {300, 280}};
    ASSERT_TRUE(fnDocument()
                    .fnSelectShape(darkroom::ShapeKind::ELLIPSE, corners,
                                   darkroom::Document::Combine::REPLACE, nullptr)
                    .fnIsDone());
    fnDo("copy");
    fnDo("selectNone");
    ASSERT_TRUE(
        fnDocument().fnApply(darkroom::fnGetFillOperation(), {0x00FF00}, nullptr).fnIsDone());
    const auto paste = [&](const CPoint& expected) {
        fnDo("paste", [&](QDialog& dialog) {
            EXPECT_EQ(dialog.findChild<QComboBox*>("rule")->currentText(), "By its alpha");
            EXPECT_EQ(dialog.findChild<QSpinBox*>("x")->value(), expected.x);
            EXPECT_EQ(dialog.findChild<QSpinBox*>("y")->value(), expected.y);
            fnAccept(dialog);
        });
    };
    const auto isGreen = [&](int x, int y) {
        const CqColor color = fnDocument().fnGetImage().fnGetPixelColor(x, y);
        return color.m_Red == 0 && color.m_Green == 255 && color.m_Blue == 0;
    };
    paste(CPoint(200, 220));
    EXPECT_TRUE(isGreen(202, 222)) << "a corner isn't part of the shape";
    EXPECT_FALSE(isGreen(250, 250));
    fnView().fnCenterOn({2000, 1500});
    QCoreApplication::processEvents();
    const CRect seen = fnView().fnGetVisible();
    const CPoint middle((seen.left + seen.right - 100) / 2, (seen.top + seen.bottom - 60) / 2);
    paste(middle);
    EXPECT_TRUE(isGreen(middle.x + 2, middle.y + 2));
    EXPECT_FALSE(isGreen(middle.x + 50, middle.y + 30));
    // A clip that is larger than what is seen stays inside the picture, and a rectangle is one.
    QImage other(2950, 1990, QImage::Format_RGB32);
    other.fill(Qt::red);
    QGuiApplication::clipboard()->setImage(other);
    fnView().fnCenterOn({3000, 2000});
    fnDo("paste", [&](QDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QComboBox*>("rule")->currentText(), "All of it");
        EXPECT_EQ(dialog.findChild<QSpinBox*>("x")->value(), 50);
        EXPECT_EQ(dialog.findChild<QSpinBox*>("y")->value(), 10);
        dialog.reject();
    });
}

TEST_F(DarkroomEveryday, AVeryLargeCopyStaysInTheProgram) {
    ASSERT_TRUE(fnDocument().fnNew(4200, 4000, CqColor(9, 8, 7, 255), nullptr).fnIsDone());
    fnDocument().SetModifiedFlag(false);
    QCoreApplication::processEvents();
    fnDo("copy");
    EXPECT_TRUE(QGuiApplication::clipboard()->image().isNull()) << "16.8 million pixels";
    fnDo("pasteNew");
    EXPECT_EQ(fnDocument().fnGetImage().Width, 4200u);
    EXPECT_EQ(fnDocument().fnGetImage().fnGetPixelColor(4000, 3999).m_Red, 9);
    EXPECT_TRUE(m_pWindow->isWindowModified());
}

#ifdef DARKROOM_LCMS
TEST_F(DarkroomEveryday, ACopyKeepsTheProfileOfItsColours) {
    const std::vector<unsigned char> profile = fnMakeSwapped();
    darkroom::FileFacts facts;
    facts.m_Metadata.m_Profile = profile;
    fnOpenAt(60, 40);
    fnDocument().fnSetFileFacts(facts);
    fnDo("copy");
    const QImage shared = QGuiApplication::clipboard()->image();
    EXPECT_TRUE(shared.colorSpace().isValid()) << "other programs get it too";
    EXPECT_NE(shared.colorSpace(), QColorSpace(QColorSpace::SRgb));
    fnDo("pasteNew");
    EXPECT_EQ(fnDocument().fnGetMetadata().m_Profile, profile);
    fnDocument().SetModifiedFlag(false);
    QImage other(30, 20, QImage::Format_RGB32);
    other.fill(Qt::red);
    other.setColorSpace(shared.colorSpace());
    QGuiApplication::clipboard()->setImage(other);
    fnDo("pasteNew");
    const std::vector<unsigned char> taken = fnDocument().fnGetMetadata().m_Profile;
    EXPECT_FALSE(taken.empty()) << "from them too";
    // A profile of grey would lie about the colours that a shape is converted to.
    CqImage grey;
    fnFillNoise(grey, 60, 40, 8, 1, q32GreyRamp);
    const QByteArray file = QFile::encodeName(fnPath("grey.png"));
    ASSERT_TRUE(q32WritePicture(file.constData(), grey, PICTURE_PNG).fnIsDone());
    fnDocument().SetModifiedFlag(false);
    ASSERT_TRUE(m_pWindow->fnOpen(fnPath("grey.png")));
    fnDocument().fnSetFileFacts(facts);
    const std::vector<CqPoint2D> corners = {{10, 10}, {30, 30}};
    ASSERT_TRUE(fnDocument()
                    .fnSelectShape(darkroom::ShapeKind::ELLIPSE, corners,
                                   darkroom::Document::Combine::REPLACE, nullptr)
                    .fnIsDone());
    fnDo("copy");
    fnDo("pasteNew");
    EXPECT_EQ(fnDocument().fnGetImage().BitCount, 32u);
    EXPECT_TRUE(fnDocument().fnGetMetadata().m_Profile.empty());
}
#endif

TEST_F(DarkroomEveryday, APictureOfAnotherProgramIsPastedAndTextIsNot) {
    fnOpenAt(60, 40);
    QImage other(30, 20, QImage::Format_ARGB32);
    other.fill(qRgba(10, 20, 30, 128));
    QGuiApplication::clipboard()->setImage(other);
    fnDo("pasteNew");
    EXPECT_EQ(fnDocument().fnGetImage().BitCount, 32u);
    const CqColor pixel = fnDocument().fnGetImage().fnGetPixelColor(5, 5);
    EXPECT_EQ(pixel.m_Alpha, 128);
    EXPECT_EQ(pixel.m_Blue, 30);
    fnDocument().SetModifiedFlag(false);
    QGuiApplication::clipboard()->setText("no picture");
    fnDo("pasteNew");
    EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().contains("no picture"));
    EXPECT_EQ(fnDocument().fnGetImage().Width, 30u);
}

TEST_F(DarkroomEveryday, AClickInTheHistoryGoesBackAndForward) {
    fnOpenAt(60, 40);
    const Bytes before = fnBytesOf(fnDocument().fnGetImage());
    for (const char* id : {"flipHorizontal", "left", "grey"})
        fnDo(id);
    const Bytes after = fnBytesOf(fnDocument().fnGetImage());
    fnDo("historyPanel");
    auto* const list = m_pWindow->findChild<QListWidget*>("history");
    ASSERT_EQ(list->count(), 4);
    EXPECT_EQ(list->currentRow(), 3);
    fnKeepPicture(*m_pWindow, "history");
    const auto click = [&](int row) {
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualItemRect(list->item(row)).center());
        return fnWaitFor([&] { return list->currentRow() == row; });
    };
    QCoreApplication::processEvents();
    EXPECT_TRUE(click(0));
    EXPECT_TRUE(fnWaitFor([&] { return fnDocument().fnCountDone() == 0; }));
    EXPECT_EQ(fnBytesOf(fnDocument().fnGetImage()), before);
    EXPECT_TRUE(click(3));
    EXPECT_TRUE(fnWaitFor([&] { return fnDocument().fnCountDone() == 3; }));
    EXPECT_EQ(fnBytesOf(fnDocument().fnGetImage()), after);
}

TEST_F(DarkroomEveryday, TheEyedropperTakesOverAColourForTheTools) {
    fnOpenAt(60, 40);
    const CqColor picked = fnDocument().fnGetImage().fnGetPixelColor(20, 10);
    fnView().fnSetZoom(4); // so that rounding to whole pixels of the view stays inside the pixel
    QCoreApplication::processEvents();
    fnDo("toolEyedropper");
    QTest::mouseClick(fnView().viewport(), Qt::LeftButton, {}, fnAt(20.5, 10.5));
    fnDo("fill", [&](QDialog& dialog) { fnAccept(dialog); });
    const CqColor filled = fnDocument().fnGetImage().fnGetPixelColor(50, 30);
    EXPECT_EQ(filled.m_Red, picked.m_Red);
    EXPECT_EQ(filled.m_Green, picked.m_Green);
    EXPECT_EQ(filled.m_Blue, picked.m_Blue);
}

TEST_F(DarkroomEveryday, ASelectionIsFeatheredByTheRadiusThatIsTyped) {
    fnOpenAt(120, 90);
    ASSERT_TRUE(fnSelect(fnDocument(), CRect(40, 30, 80, 60)).fnIsDone());
    fnDo("feather", [&](QDialog& dialog) {
        qobject_cast<QInputDialog*>(&dialog)->setDoubleValue(2);
        fnKeepPicture(dialog, "feather");
        fnAccept(dialog);
    });
    QCoreApplication::processEvents();
    fnKeepPicture(*m_pWindow, "feathered");
    EXPECT_LT(fnDocument().fnGetSelection().m_rectBound.left, 40);
    EXPECT_GE(fnDocument().fnGetSelection().m_rectBound.left, 30);
}

TEST_F(DarkroomEveryday, ADamagedFileIsShownAsFarAsItGoesThroughTheMenu) {
    QFile half(fnMakePicture("half.png", 60, 400));
    ASSERT_TRUE(half.resize(half.size() / 2));
    EXPECT_FALSE(m_pWindow->fnOpen(half.fileName()));
    EXPECT_EQ(fnTakeBoxes().size(), 1u);
    fnDo("openDamaged", [&](QDialog& dialog) { fnType(dialog, half.fileName()); });
    EXPECT_EQ(fnDocument().fnGetImage().Height, 400u);
    EXPECT_TRUE(m_pWindow->statusBar()->currentMessage().contains("damaged"));
    fnDo("left");
    fnInDialog([&](QDialog& dialog) {
        EXPECT_TRUE(qobject_cast<QMessageBox*>(&dialog)->text().contains("damaged"));
        dialog.reject();
    });
    fnDo("save");
    EXPECT_TRUE(m_pWindow->isWindowModified());
}

TEST_F(DarkroomEveryday, OpenDamagedIsOfferedOnlyWhereItShowsSomething) {
    const auto describe = [&](const QString& path) {
        EXPECT_FALSE(m_pWindow->fnOpen(path));
        const std::vector<std::string> boxes = fnTakeBoxes();
        return boxes.size() == 1 ? QString::fromStdString(boxes[0]) : QString("no box");
    };
    const auto cut = [&](const char* name, qint64 keep) {
        const QString path = fnMakePicture(name, 60, 400);
        QFile file(path);
        EXPECT_TRUE(file.resize(keep < 0 ? file.size() / 2 : keep));
        return path;
    };
    EXPECT_TRUE(describe(cut("half.png", -1)).contains("Open Damaged"));
    EXPECT_TRUE(describe(cut("half.jpg", -1)).contains("Open Damaged"));
    for (const QString& path : {cut("half.tif", -1), cut("half.bmp", -1), cut("head.png", 20)}) {
        const QString text = describe(path);
        EXPECT_TRUE(text.contains("damaged")) << text.toStdString();
        EXPECT_FALSE(text.contains("Open Damaged")) << text.toStdString();
    }
}

TEST_F(DarkroomEveryday, AWriteProtectedFileIsNamedAsTheCause) {
    const QString path = fnMakePicture("fixed.png", 60, 40);
    ASSERT_TRUE(QFile::setPermissions(path, QFile::ReadOwner));
    darkroom::Outcome outcome;
    outcome.m_nMsgId = MESSAGE_CANNOT_SAVE;
    outcome.m_strPath = QFile::encodeName(path).constData();
    const QString text = darkroom::fnDescribeFailure(outcome, 100);
    EXPECT_TRUE(text.contains("fixed.png") && text.contains("write-protected"))
        << text.toStdString();
}

TEST_F(DarkroomEveryday, AFileThatAnotherProgramHasChangedIsNotReplacedUnasked) {
    const QString path = fnMakePicture("shared.png", 60, 40);
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    fnDo("left");
    fnDo("save"); // asks nothing
    EXPECT_FALSE(m_pWindow->isWindowModified());
    fnDo("left");
    fnMakePicture("shared.png", 90, 40);
    fnInDialog([&](QDialog& dialog) {
        auto* const box = qobject_cast<QMessageBox*>(&dialog);
        ASSERT_TRUE(box);
        EXPECT_TRUE(box->text().contains("another program")) << box->text().toStdString();
        dialog.reject();
    });
    fnDo("save");
    EXPECT_TRUE(m_pWindow->isWindowModified());
    EXPECT_EQ(QImage(path).width(), 90);
    ASSERT_TRUE(QFile::remove(path));
    fnDo("save"); // nothing to lose there
    EXPECT_FALSE(m_pWindow->isWindowModified());
    EXPECT_EQ(QImage(path).width(), 60);
}

TEST_F(DarkroomEveryday, ALimitOfDecodersHasASentenceOfItsOwn) {
    darkroom::Outcome outcome;
    outcome.m_strPath = "C:\\large.tif";
    for (const auto& [limit, message] :
         {std::pair(PICTURE_LIMIT_PIXELS, -1), std::pair(PICTURE_LIMIT_STORAGE, -1),
          std::pair(PICTURE_LIMIT_EXPANSION, -6), std::pair(PICTURE_LIMIT_CODEC, -1),
          std::pair(PICTURE_LIMIT_SCANS, -6), std::pair(PICTURE_LIMIT_TIME, -4)}) {
        outcome.m_eLimit = limit;
        outcome.m_nMsgId = message;
        const QString text = darkroom::fnDescribeFailure(outcome);
        EXPECT_TRUE(text.contains("large.tif"));
        EXPECT_TRUE(text.contains(QString::fromLatin1(q32GetPictureLimitText(limit))));
    }
}

TEST_F(DarkroomEveryday, AFileOfTooManyScansIsRefusedWithTheLimitsSentence) {
    CqImage image;
    image.fnAlloc(8, 8, 24, nullptr, 0);
    const QString path = fnPath("scans.jpg");
    ASSERT_TRUE(
        q32WritePicture(QFile::encodeName(path).constData(), image, PICTURE_JPEG).fnIsDone());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    QByteArray bytes = file.readAll();
    bytes.replace(QByteArray("\xFF\xC0"), QByteArray("\xFF\xC2")); // progressive
    bytes.chop(2);
    bytes.append(QByteArray("\xFF\xDA\x00\x02", 4).repeated(300));
    file.seek(0);
    file.write(bytes);
    file.close();
    EXPECT_FALSE(m_pWindow->fnOpen(path));
    const std::vector<std::string> boxes = fnTakeBoxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_NE(boxes[0].find(q32GetPictureLimitText(PICTURE_LIMIT_SCANS)), std::string::npos)
        << boxes[0];
}
