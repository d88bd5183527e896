// The mouse tools in the darkroom's window.
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"

#include <algorithm>
#include <QCheckBox>
#include <QFile>
#include <QSpinBox>
#include <QTest>

using darkroom::Tool;

namespace {

class DarkroomTools : public DarkroomWindow {
protected:
    darkroom::Document& fnDocument() const { return m_pWindow->fnGetDocument(); }
    QPoint fnAt(int x, int y) const {
        return m_pWindow->fnGetView().fnToView(QPointF(x, y)).toPoint();
    }
    /// Opens a picture at a zoom of 1.
    void fnOpen(const QString& path) {
        ASSERT_TRUE(m_pWindow->fnOpen(path));
        m_pWindow->fnGetView().fnSetZoom(1);
    }
    QString fnMakeDepth(const QString& name, unsigned int bits) const {
        CqImage image;
        fnFillNoise(image, 60, 40, bits, bits);
        const QString path = fnPath(name);
        EXPECT_TRUE(
            q32WritePicture(QFile::encodeName(path).constData(), image, PICTURE_PNG).fnIsDone());
        return path;
    }
    bool fnIsSelected(int x, int y) const {
        CqMask& mask = fnDocument().fnGetSelection();
        const CRect bound = mask.m_rectBound;
        return fnDocument().fnHasSelection() && bound.PtInRect(CPoint(x, y)) &&
               *mask.fnGetPixelAddr(x - bound.left, y - bound.top) != 0;
    }
    void fnExpectTool(Tool tool, const char* id) const {
        EXPECT_EQ(m_pWindow->fnGetView().fnGetTool(), tool);
        EXPECT_TRUE(fnAction(id).isChecked());
    }
};

} // namespace

TEST_F(DarkroomTools, ToolsSelectAndDrawInThePicture) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("tools.png", 300, 200)));
    darkroom::PictureView& view = m_pWindow->fnGetView();
    view.fnSetZoom(1);
    const auto at = [&](int x, int y) { return view.fnToView(QPointF(x, y)).toPoint(); };
    // On a scaled display the cursor can't reach each pixel.
    const auto colorAt = [&](const QPoint& place) {
        const QPointF pixel = view.fnToImage(place);
        return m_pWindow->fnGetDocument().fnGetImage().fnGetPixelColor(static_cast<int>(pixel.x()),
                                                                       static_cast<int>(pixel.y()));
    };
    fnDo("toolRectangle");
    fnDrag(at(20, 30), at(120, 130));
    ASSERT_TRUE(m_pWindow->fnGetDocument().fnHasSelection());
    const CRect bound = m_pWindow->fnGetDocument().fnGetSelection().m_rectBound;
    EXPECT_NEAR(bound.left, 20, 1);
    EXPECT_NEAR(bound.bottom, 130, 1);
    fnDo("selectNone");
    EXPECT_FALSE(m_pWindow->fnGetDocument().fnHasSelection());
    fnDo("toolLine");
    fnDrag(at(10, 10), at(200, 150));
    EXPECT_EQ(colorAt(at(10, 10)), CqColor(255, 0, 0, 255));
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetUndoName(), "Line");
    fnDo("toolCurve");
    for (const QPoint& place : {at(30, 180), at(30, 20), at(250, 20), at(250, 180)})
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, place);
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetUndoName(), "Curve");
    EXPECT_EQ(colorAt(at(250, 180)), CqColor(255, 0, 0, 255));
}

TEST_F(DarkroomTools, LinesAreAsWideAndSmoothAsTheToolBarSays) {
    fnOpen(fnMakePicture("wide.png", 300, 200));
    m_pWindow->fnGetView().fnSetZoom(1);
    m_pWindow->findChild<QSpinBox*>("lineWidth")->setValue(21);
    m_pWindow->findChild<QCheckBox*>("smooth")->setChecked(true);
    fnDo("toolLine");
    fnDrag(fnAt(50, 80), fnAt(200, 80));
    for (const int y : {72, 80, 88})
        EXPECT_EQ(fnDocument().fnGetImage().fnGetPixelColor(120, y), CqColor(255, 0, 0, 255)) << y;
    EXPECT_NE(fnDocument().fnGetImage().fnGetPixelColor(120, 94), CqColor(255, 0, 0, 255));
}

TEST_F(DarkroomTools, EllipsesAndFreehandShapesHaveSmoothEdgesUntilThatIsSwitchedOff) {
    fnOpen(fnMakePicture("edges.png", 300, 200));
    const auto countGrey = [&] {
        const Bytes weights = fnBytesOf(fnDocument().fnGetSelection());
        return std::count_if(weights.begin(), weights.end(),
                             [](unsigned char weight) { return weight > 0 && weight < 255; });
    };
    auto* const box = m_pWindow->findChild<QCheckBox*>("smoothEdgesBox");
    EXPECT_FALSE(box->isVisible()) << "an option of other tools";
    fnDo("toolEllipse");
    EXPECT_TRUE(box->isVisible());
    fnDrag(fnAt(30, 40), fnAt(150, 130));
    EXPECT_GT(countGrey(), 50);
    fnKeepPicture(*m_pWindow, "smooth-edges");
    fnDo("toolFreehand");
    EXPECT_TRUE(box->isVisible());
    QWidget* const view = m_pWindow->fnGetView().viewport();
    QTest::mousePress(view, Qt::LeftButton, {}, fnAt(30, 40));
    for (const QPoint& place : {fnAt(150, 60), fnAt(100, 150), fnAt(40, 140)})
        QTest::mouseMove(view, place);
    QTest::mouseRelease(view, Qt::LeftButton, {}, fnAt(40, 140));
    EXPECT_GT(countGrey(), 50);
    fnDo("toolRectangle");
    fnDrag(fnAt(31, 41), fnAt(150, 130));
    EXPECT_EQ(countGrey(), 0) << "rectangles select whole pixels";
    fnDo("smoothEdges");
    EXPECT_FALSE(box->isChecked());
    fnDo("toolEllipse");
    fnDrag(fnAt(30, 40), fnAt(150, 130));
    EXPECT_EQ(countGrey(), 0);
    fnRestart();
    EXPECT_FALSE(fnAction("smoothEdges").isChecked()) << "remembered";
}

TEST_F(DarkroomTools, AToolThatDoesNotSuitANewPictureGivesWayToMoving) {
    const QString palette = fnMakeDepth("palette.png", 8);
    const QString alpha = fnMakeDepth("alpha.png", 32);
    for (const char* tool : {"toolColor", "toolRectangle", "toolEllipse", "toolFreehand"}) {
        fnOpen(fnMakePicture("color.png", 60, 40));
        fnDo(tool);
        fnOpen(alpha);
        ASSERT_TRUE(fnAction(tool).isChecked()) << "edits can be limited at 32 bits too";
        fnOpen(palette);
        fnExpectTool(Tool::PAN, "toolPan");
        fnDrag(fnAt(10, 10), fnAt(30, 30));
        EXPECT_FALSE(fnDocument().fnHasSelection()) << tool;
    }
    fnOpen(fnMakePicture("color.png", 60, 40));
    fnDo("toolLine");
    fnOpen(alpha);
    fnExpectTool(Tool::LINE, "toolLine");
    fnOpen(palette);
    fnExpectTool(Tool::PAN, "toolPan");
}

TEST_F(DarkroomTools, AToolEndsWhenItsDepthIsUndone) {
    fnOpen(fnMakeDepth("palette.png", 8));
    EXPECT_FALSE(fnAction("toolColor").isEnabled());
    fnDo("to24");
    fnDo("toolColor");
    fnExpectTool(Tool::PICK, "toolColor");
    fnDo("undo");
    fnExpectTool(Tool::PAN, "toolPan");
    QTest::mouseClick(m_pWindow->fnGetView().viewport(), Qt::LeftButton, {}, fnAt(30, 39));
    EXPECT_FALSE(fnDocument().fnHasSelection());
}

TEST_F(DarkroomTools, AToolStaysDuringWork) {
    fnOpen(fnMakePicture("color.png", 60, 40));
    fnDo("toolEllipse");
    fnDo("left");
    fnExpectTool(Tool::ELLIPSE, "toolEllipse");
}

TEST_F(DarkroomTools, ShiftAddsToASelectionAndCtrlSubtractsFromIt) {
    fnOpen(fnMakePicture("combined.png", 300, 200));
    fnDo("toolRectangle");
    fnDrag(fnAt(20, 20), fnAt(100, 100));
    fnDrag(fnAt(140, 20), fnAt(200, 100), Qt::ShiftModifier);
    EXPECT_TRUE(fnIsSelected(50, 50));
    EXPECT_TRUE(fnIsSelected(170, 50));
    EXPECT_FALSE(fnIsSelected(120, 50));
    fnDrag(fnAt(140, 20), fnAt(200, 100), Qt::ControlModifier);
    EXPECT_TRUE(fnIsSelected(50, 50));
    EXPECT_FALSE(fnIsSelected(170, 50));
    fnDrag(fnAt(210, 110), fnAt(250, 150));
    EXPECT_FALSE(fnIsSelected(50, 50)) << "a new selection without a key";
    EXPECT_TRUE(fnIsSelected(230, 130));
}

TEST_F(DarkroomTools, AnEllipseExcludesItsCorners) {
    fnOpen(fnMakePicture("ellipse.png", 300, 200));
    fnDo("toolEllipse");
    fnDrag(fnAt(20, 20), fnAt(220, 160));
    EXPECT_TRUE(fnIsSelected(120, 90));
    EXPECT_TRUE(fnIsSelected(120, 26));
    EXPECT_FALSE(fnIsSelected(28, 28));
    EXPECT_FALSE(fnIsSelected(212, 152));
}

TEST_F(DarkroomTools, AFreehandShapeIsWhatTheCursorEncircled) {
    fnOpen(fnMakePicture("freehand.png", 300, 200));
    fnDo("toolFreehand");
    QWidget* const view = m_pWindow->fnGetView().viewport();
    QTest::mousePress(view, Qt::LeftButton, {}, fnAt(20, 20));
    for (const QPoint& corner : {QPoint(220, 20), QPoint(20, 180)})
        QTest::mouseMove(view, fnAt(corner.x(), corner.y()));
    QTest::mouseRelease(view, Qt::LeftButton, {}, fnAt(20, 180));
    EXPECT_TRUE(fnIsSelected(60, 60));
    EXPECT_FALSE(fnIsSelected(200, 160)) << "beyond the slope";
}

TEST_F(DarkroomTools, AClickSelectsAllOfItsColor) {
    CqImage image;
    image.fnAlloc(300, 200, 24, nullptr, 0);
    CqImageLine line;
    for (unsigned int y = 0; y < image.Height; ++y) {
        image.fnAccessLine(y, &line, false);
        for (int x = 0; x < 300; ++x)
            line.fnSetPixelColor(x,
                                 x / 50 % 2 ? CqColor(200, 40, 40, 255) : CqColor(0, 0, 99, 255));
    }
    line.fnUnAssociate();
    const QString path = fnPath("stripes.png");
    ASSERT_TRUE(
        q32WritePicture(QFile::encodeName(path).constData(), image, PICTURE_PNG).fnIsDone());
    fnOpen(path);
    fnDo("toolColor");
    QWidget* const view = m_pWindow->fnGetView().viewport();
    QTest::mouseClick(view, Qt::LeftButton, {}, fnAt(75, 100));
    EXPECT_TRUE(fnIsSelected(60, 10));
    EXPECT_TRUE(fnIsSelected(160, 190)) << "wherever it is";
    EXPECT_FALSE(fnIsSelected(120, 100));
    m_pWindow->findChild<QSpinBox*>("tolerance")->setValue(255);
    QTest::mouseClick(view, Qt::LeftButton, {}, fnAt(75, 100));
    EXPECT_TRUE(fnIsSelected(120, 100)) << "as far as the tolerance goes";
}
