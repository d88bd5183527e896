// Fills: the dialogs preview exactly what becomes of the picture.
#include "examples/darkroom/ui/ColorButton.h"
#include "tests/darkroom/DarkroomPromise.h"
#include "tests/darkroom/PictureTools.h"

#include <QColorDialog>
#include <QFile>
#include <QTest>

using darkroom::ShapeKind;

namespace {

class DarkroomFills : public DarkroomPromise {
protected:
    static darkroom::ColorButton& fnButton(QDialog& dialog) {
        auto* const button = dialog.findChild<darkroom::ColorButton*>("Color");
        if (!button)
            qFatal("no color");
        return *button;
    }
    static void fnSetColor(QDialog& dialog) {
        fnButton(dialog).fnSetColor(CqColor(10, 200, 30, 255));
    }
    static void fnSetCorner(QDialog& dialog) {
        fnSet(dialog, "x", 5);
        fnSet(dialog, "y", 16);
    }

    /// A picture of noise at a depth; at 8 bits it has a palette of colours.
    QString fnMakeDepth(const QString& name, unsigned int width, unsigned int height,
                        unsigned int bits) const {
        std::vector<RGBQUAD> palette(256);
        for (unsigned int i = 0; i < 256; ++i)
            palette[i] = {static_cast<BYTE>(i * 7), static_cast<BYTE>(255 - i),
                          static_cast<BYTE>(i * 31), 0};
        CqImage image;
        fnFillNoise(image, width, height, bits, bits, bits == 8 ? palette.data() : nullptr);
        QString path = fnPath(name);
        // Only this format keeps 16 bits.
        EXPECT_TRUE(q32WritePicture(QFile::encodeName(path).constData(), image,
                                    bits == 16 ? PICTURE_BMP : PICTURE_PNG)
                        .fnIsDone());
        return path;
    }

    /// Runs `test` at several zooms, with and without a selection.
    void fnForEachView(const std::function<void()>& test) const {
        for (const double zoom : {1.0, 0.5, 3.0})
            for (const bool selected : {false, true}) {
                SCOPED_TRACE(testing::Message() << zoom << (selected ? " selected" : ""));
                fnZoomTo(zoom);
                fnView().fnCenterOn({260, 170});
                m_pWindow->fnGetDocument().fnSelectNone();
                if (selected)
                    fnSelect(ShapeKind::ELLIPSE, {100, 80}, {431, 300});
                QCoreApplication::processEvents();
                test();
            }
    }
};

} // namespace

TEST_F(DarkroomFills, AColorIsShownWhereItWillFill) {
    fnOpenAt(640, 480, 1);
    const Bytes before = fnBytesOf(m_pWindow->fnGetDocument().fnGetImage());
    fnForEachView([&] {
        const Promise promise = fnPromise("fill", &DarkroomFills::fnSetColor);
        EXPECT_TRUE(promise.m_Shown == promise.m_Done);
        EXPECT_NE(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), before);
        EXPECT_TRUE(fnAction("undo").text().contains("Fill with Color"));
        fnDo("undo");
        EXPECT_TRUE(fnLook() == promise.m_Before);
        EXPECT_EQ(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), before);
    });
}

TEST_F(DarkroomFills, ACancelledColorIsTakenBack) {
    fnOpenAt(640, 480, 1);
    const Bytes before = fnBytesOf(m_pWindow->fnGetDocument().fnGetImage());
    fnForEachView([&] { fnExpectTakenBack([&] { fnDo("fill"); }, &DarkroomFills::fnSetColor); });
    EXPECT_EQ(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), before);
}

TEST_F(DarkroomFills, APatternIsShownWhereItsTilesWillBe) {
    fnOpenAt(640, 480, 1);
    const Bytes before = fnBytesOf(m_pWindow->fnGetDocument().fnGetImage());
    const QString path = fnMakePicture("pattern.png", 23, 17);
    fnForEachView([&] {
        const Promise promise =
            fnPromise([&] { m_pWindow->fnFillPattern(path); }, &DarkroomFills::fnSetCorner);
        EXPECT_TRUE(promise.m_Shown == promise.m_Done);
        EXPECT_NE(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), before);
        fnDo("undo");
        EXPECT_TRUE(fnLook() == promise.m_Before);
        EXPECT_EQ(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), before);
    });
}

TEST_F(DarkroomFills, ACancelledPatternIsTakenBack) {
    fnOpenAt(640, 480, 1);
    const Bytes before = fnBytesOf(m_pWindow->fnGetDocument().fnGetImage());
    const QString path = fnMakePicture("pattern.png", 23, 17);
    fnForEachView([&] {
        fnExpectTakenBack([&] { m_pWindow->fnFillPattern(path); }, &DarkroomFills::fnSetCorner);
    });
    EXPECT_EQ(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), before);
}

TEST_F(DarkroomFills, PatternsOfAllDepthsAreShownAtTheDepthOfThePicture) {
    for (const unsigned int picture : {24u, 32u}) {
        ASSERT_TRUE(m_pWindow->fnOpen(fnMakeDepth("filled.png", 300, 200, picture)));
        for (const unsigned int bits : {8u, 16u, 24u, 32u}) {
            const QString path = fnMakeDepth("pattern", 40, 30, bits);
            fnZoomTo(1);
            const Promise promise =
                fnPromise([&] { m_pWindow->fnFillPattern(path); }, &DarkroomFills::fnSetCorner);
            EXPECT_TRUE(promise.m_Shown == promise.m_Done) << bits << " on " << picture;
            fnDo("undo");
        }
        m_pWindow->fnGetDocument().SetModifiedFlag(false);
    }
}

TEST_F(DarkroomFills, APatternLargerThanThePictureIsShownToo) {
    fnOpenAt(120, 90, 3);
    const QString path = fnMakePicture("pattern.png", 200, 150);
    const Promise promise = fnPromise([&] { m_pWindow->fnFillPattern(path); },
                                      [](QDialog& dialog) {
                                          fnSet(dialog, "x", 199);
                                          fnSet(dialog, "y", 100);
                                      });
    EXPECT_TRUE(promise.m_Shown == promise.m_Done);
}

TEST_F(DarkroomFills, AFillFollowsTheHighlightedColor) {
    fnOpenAt(640, 480, 1);
    const auto middle = [&] {
        const QImage shown = fnLook();
        return shown.pixelColor(shown.width() / 2, shown.height() / 2);
    };
    const auto lookAt = [&](QDialog& dialog, const QColor& color, bool accept) {
        fnInDialog([&, color, accept](QDialog& inner) {
            auto* const colors = qobject_cast<QColorDialog*>(&inner);
            ASSERT_TRUE(colors);
            colors->setCurrentColor(color);
            EXPECT_TRUE(fnWaitFor([&] { return middle() == color; }))
                << "before the color is chosen";
            accept ? colors->accept() : colors->reject();
        });
        QTest::mouseClick(&fnButton(dialog), Qt::LeftButton);
    };
    fnDo("fill", [&](QDialog& dialog) {
        EXPECT_TRUE(fnWaitFor([&] { return middle() == QColor(255, 0, 0); })) << "the tools' own";
        lookAt(dialog, QColor(1, 99, 200), false);
        EXPECT_EQ(fnButton(dialog).fnGetColor(), CqColor(255, 0, 0, 255));
        EXPECT_TRUE(fnWaitFor([&] { return middle() == QColor(255, 0, 0); }));
        lookAt(dialog, QColor(1, 99, 200), true);
        EXPECT_EQ(fnButton(dialog).fnGetColor(), CqColor(1, 99, 200, 255));
        fnAccept(dialog);
    });
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetImage().fnGetPixelColor(0, 0),
              CqColor(1, 99, 200, 255));
    // It becomes the tools' colour, unless the fill is cancelled.
    fnDo("fill", [&](QDialog& dialog) {
        EXPECT_EQ(fnButton(dialog).fnGetColor(), CqColor(1, 99, 200, 255));
        fnSetColor(dialog);
        dialog.reject();
    });
    fnDo("fill", [&](QDialog& dialog) {
        EXPECT_EQ(fnButton(dialog).fnGetColor(), CqColor(1, 99, 200, 255));
        dialog.reject();
    });
}

TEST_F(DarkroomFills, APatternsCornerWrapsAroundItsTile) {
    fnOpenAt(120, 90, 1);
    fnInDialog([&](QDialog& dialog) {
        auto* const x = dialog.findChild<QSpinBox*>("x");
        x->stepDown();
        EXPECT_EQ(x->value(), 22);
        x->stepUp();
        EXPECT_EQ(x->value(), 0);
        EXPECT_EQ(dialog.findChild<QSpinBox*>("y")->maximum(), 16);
        dialog.reject();
    });
    m_pWindow->fnFillPattern(fnMakePicture("pattern.png", 23, 17));
}

TEST_F(DarkroomFills, AMergeCanBeSetUpWithoutItsPreview) {
    fnOpenAt(300, 200, 1);
    const QString path = fnMakePicture("over.png", 60, 50);
    fnExpectTakenBack([&] { m_pWindow->fnMerge(path); },
                      [](QDialog& dialog) { fnSet(dialog, "x", 30); });
}
