// The dialog in which a tone curve is set by points.
#include "examples/darkroom/ui/CurveEditor.h"
#include "examples/darkroom/ui/CurveView.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

using darkroom::CurvePoint;
using darkroom::CurveView;

namespace {

class DarkroomCurve : public DarkroomWindow {
protected:
    void SetUp() override {
        DarkroomWindow::SetUp();
        ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("curve.png", 120, 90)));
    }
    static CurveView& fnView(QDialog& dialog) {
        auto* const view = dialog.findChild<CurveView*>("curve");
        if (!view)
            qFatal("no curve");
        return *view;
    }
    static QPoint fnAt(const CurveView& view, int x, int y) {
        return view.fnGetPlace({0, x, y}).toPoint();
    }
    static std::vector<CurvePoint> fnPointsOf(const CurveView& view, int channel) {
        std::vector<CurvePoint> points;
        for (const int value : view.fnGetValues())
            if (darkroom::fnUnpackPoint(value).m_nChannel == channel)
                points.push_back(darkroom::fnUnpackPoint(value));
        return points;
    }
    CqColor fnPixel() const {
        return m_pWindow->fnGetDocument().fnGetImage().fnGetPixelColor(30, 20);
    }
};

} // namespace

TEST_F(DarkroomCurve, PointsAreAddedDraggedAndRemovedByTheMouse) {
    fnDo("points", [&](QDialog& dialog) {
        CurveView& view = fnView(dialog);
        ASSERT_EQ(fnPointsOf(view, 0).size(), 2u);
        QTest::mousePress(&view, Qt::LeftButton, {}, fnAt(view, 100, 100));
        EXPECT_EQ(fnPointsOf(view, 0).size(), 3u);
        QTest::mouseMove(&view, fnAt(view, 90, 160));
        QTest::mouseRelease(&view, Qt::LeftButton, {}, fnAt(view, 90, 160));
        QTest::mouseMove(&view, fnAt(view, 10, 10)); // no longer dragged
        EXPECT_NEAR(view.fnGetPoint().m_nX, 90, 1);
        EXPECT_NEAR(view.fnGetPoint().m_nY, 160, 1);
        EXPECT_EQ(dialog.findChild<QSpinBox*>("input")->value(), view.fnGetPoint().m_nX);
        QTest::mouseClick(&view, Qt::LeftButton, {}, fnAt(view, 180, 60));
        ASSERT_EQ(fnPointsOf(view, 0).size(), 4u);
        // A point stops at its neighbour.
        QTest::mousePress(&view, Qt::LeftButton, {}, fnAt(view, 180, 60));
        QTest::mouseMove(&view, fnAt(view, 20, 70));
        EXPECT_EQ(view.fnGetPoint().m_nX, fnPointsOf(view, 0)[1].m_nX + 1);
        QTest::mouseMove(&view, fnAt(view, 190, 210));
        QTest::mouseRelease(&view, Qt::LeftButton, {}, fnAt(view, 190, 210));
        fnKeepPicture(dialog, "curve-points");
        QTest::mouseClick(&view, Qt::RightButton, {}, fnAt(view, 190, 210));
        EXPECT_EQ(fnPointsOf(view, 0).size(), 3u);
        dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Reset)->click();
        EXPECT_EQ(view.fnGetValues(), darkroom::fnMakeStraightCurves());
        dialog.reject();
    });
}

TEST_F(DarkroomCurve, TheKeyboardSetsPointsTooAndTheResultIsThatOfTheCurve) {
    const CqColor before = fnPixel();
    std::vector<int> values;
    fnDo("points", [&](QDialog& dialog) {
        CurveView& view = fnView(dialog);
        QTest::keyClick(&view, Qt::Key_Insert);
        EXPECT_EQ(view.fnGetPoint(), (CurvePoint{0, 127, 127}));
        QTest::keyClick(&view, Qt::Key_Up, Qt::ShiftModifier);
        QTest::keyClick(&view, Qt::Key_Up);
        QTest::keyClick(&view, Qt::Key_Left);
        EXPECT_EQ(view.fnGetPoint(), (CurvePoint{0, 126, 138}));
        QTest::keyClick(&view, Qt::Key_Home);
        QTest::keyClick(&view, Qt::Key_Down);
        EXPECT_EQ(view.fnGetPoint(), (CurvePoint{0, 0, 0})) << "not below the range";
        QTest::keyClick(&view, Qt::Key_Delete);
        QTest::keyClick(&view, Qt::Key_PageDown);
        QTest::keyClick(&view, Qt::Key_Delete);
        EXPECT_EQ(fnPointsOf(view, 0).size(), 2u) << "two points stay";
        QTest::keyClick(&view, Qt::Key_Insert);
        dialog.findChild<QSpinBox*>("output")->setValue(250);
        EXPECT_EQ(view.fnGetPoint().m_nY, 250);
        values = view.fnGetValues();
        fnAccept(dialog);
    });
    const CqToneCurves curves = darkroom::fnMakeFreeCurves(values);
    EXPECT_EQ(fnPixel().m_Red, curves.m_Red[before.m_Red]);
    EXPECT_NE(fnPixel(), before);
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetUndoName(), "Curve by Points");
}

TEST_F(DarkroomCurve, AChannelHasACurveOfItsOwnThatIsPreviewed) {
    const CqColor before = fnPixel();
    fnDo("points", [&](QDialog& dialog) {
        darkroom::PictureView& picture = m_pWindow->fnGetView();
        const QImage shown = picture.viewport()->grab().toImage();
        dialog.findChild<QComboBox*>("channel")->setCurrentIndex(3);
        CurveView& view = fnView(dialog);
        QTest::keyClick(&view, Qt::Key_End);
        QTest::keyClick(&view, Qt::Key_PageUp);
        dialog.findChild<QSpinBox*>("output")->setValue(255);
        EXPECT_EQ(fnPointsOf(view, 3).front(), (CurvePoint{3, 0, 255}));
        EXPECT_TRUE(fnWaitFor([&] { return picture.viewport()->grab().toImage() != shown; }));
        fnKeepPicture(dialog, "curve-blue");
        fnAccept(dialog);
    });
    EXPECT_EQ(fnPixel(), CqColor(before.m_Red, before.m_Green, 255, before.m_Alpha));
}

TEST_F(DarkroomCurve, AGreyPictureHasOneCurve) {
    fnDo("to8");
    fnDo("points", [&](QDialog& dialog) {
        EXPECT_FALSE(dialog.findChild<QComboBox*>("channel")->isEnabled());
        dialog.reject();
    });
}
