// The view of the darkroom: tools and overlays.
#include "tests/darkroom/DarkroomWorld.h"

#include <QMouseEvent>
#include <QTest>

namespace {

class DarkroomView : public DarkroomWindow {
protected:
    void SetUp() override {
        DarkroomWindow::SetUp();
        fnView().fnSetAveraging(false); // so that pixels can be compared one by one
        ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("view.png", 640, 480)));
        fnView().fnSetZoom(1);
        QCoreApplication::processEvents();
    }
    darkroom::PictureView& fnView() const { return m_pWindow->fnGetView(); }
    QImage fnLook() const { return fnView().viewport()->grab().toImage(); }
    /// Converts a position in the picture to one in the view.
    QPoint fnAt(double x, double y) const { return fnView().fnToView({x, y}).toPoint(); }

    void fnSend(QEvent::Type type, const QPoint& place, Qt::MouseButton button,
                Qt::MouseButtons buttons) const {
        QMouseEvent event(type, QPointF(place), fnView().viewport()->mapToGlobal(QPointF(place)),
                          button, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(fnView().viewport(), &event);
    }
    void fnClick(const QPoint& place) const {
        fnSend(QEvent::MouseButtonPress, place, Qt::LeftButton, Qt::LeftButton);
        fnSend(QEvent::MouseButtonRelease, place, Qt::LeftButton, Qt::NoButton);
    }
    void fnMove(const QPoint& place) const {
        fnSend(QEvent::MouseMove, place, Qt::NoButton, Qt::NoButton);
    }
    /// Whether an overlay covers the picture at a position in the view.
    bool fnIsCovered(const QImage& before, const QPoint& place) const {
        const QPoint pixel = (QPointF(place) * fnView().devicePixelRatioF()).toPoint();
        return fnLook().pixel(pixel) != before.pixel(pixel);
    }
};

} // namespace

TEST_F(DarkroomView, ACurveIsVisibleWhileItIsDrawn) {
    fnView().fnSetTool(darkroom::Tool::CURVE);
    const QImage before = fnLook();
    fnClick(fnAt(100, 100));
    fnMove(fnAt(300, 100));
    EXPECT_TRUE(fnIsCovered(before, fnAt(200, 100))) << "a line to the cursor";
    fnMove(fnAt(100, 300));
    EXPECT_TRUE(fnIsCovered(before, fnAt(100, 200)));
    EXPECT_FALSE(fnIsCovered(before, fnAt(200, 100))) << "it follows";
    fnClick(fnAt(100, 300));
    fnClick(fnAt(400, 300));
    fnMove(fnAt(400, 100));
    // At its midpoint a cubic curve weights its points 1/8, 3/8, 3/8 and 1/8.
    EXPECT_TRUE(fnIsCovered(before, fnAt(250, 250)));
    EXPECT_FALSE(fnIsCovered(before, fnAt(100, 280))) << "not its handles";
    EXPECT_EQ(fnAction("undo").isEnabled(), false);
    fnKeepPicture(*m_pWindow, "curve");
    fnClick(fnAt(400, 100));
    EXPECT_TRUE(fnAction("undo").isEnabled()) << "drawn into the picture";
}

TEST_F(DarkroomView, AnUnfinishedCurveDisappearsWithItsPicture) {
    fnView().fnSetTool(darkroom::Tool::CURVE);
    fnClick(fnAt(100, 100));
    fnClick(fnAt(100, 300));
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("other.png", 640, 480)));
    fnView().fnSetZoom(1);
    QCoreApplication::processEvents();
    const QImage before = fnLook();
    fnMove(fnAt(300, 200));
    EXPECT_TRUE(fnLook() == before);
    fnClick(fnAt(400, 300));
    fnClick(fnAt(400, 100));
    EXPECT_FALSE(fnAction("undo").isEnabled()) << "two points of four";
}

TEST_F(DarkroomView, EscDropsAnUnfinishedCurve) {
    fnView().fnSetTool(darkroom::Tool::CURVE);
    const QImage before = fnLook();
    fnClick(fnAt(100, 100));
    fnMove(fnAt(300, 100));
    EXPECT_FALSE(fnLook() == before);
    QTest::keyClick(&fnView(), Qt::Key_Escape);
    EXPECT_TRUE(fnLook() == before);
}

TEST_F(DarkroomView, AShapeWhoseButtonWasReleasedElsewhereIsDropped) {
    for (const auto tool :
         {darkroom::Tool::RECTANGLE, darkroom::Tool::FREEHAND, darkroom::Tool::LINE}) {
        fnView().fnSetTool(tool);
        const QImage before = fnLook();
        fnSend(QEvent::MouseButtonPress, fnAt(100, 100), Qt::LeftButton, Qt::LeftButton);
        fnSend(QEvent::MouseMove, fnAt(200, 200), Qt::NoButton, Qt::LeftButton);
        EXPECT_FALSE(fnLook() == before);
        fnMove(fnAt(300, 250)); // a dialog received the release
        EXPECT_TRUE(fnLook() == before) << "nothing follows the cursor";
        fnMove(fnAt(310, 260));
        EXPECT_TRUE(fnLook() == before);
        fnSend(QEvent::MouseButtonRelease, fnAt(310, 260), Qt::LeftButton, Qt::NoButton);
        EXPECT_FALSE(m_pWindow->fnGetDocument().fnHasSelection());
        EXPECT_FALSE(fnAction("undo").isEnabled());
    }
}

TEST_F(DarkroomView, APressAfterAReleaseElsewhereBeginsANewShape) {
    fnView().fnSetTool(darkroom::Tool::RECTANGLE);
    fnSend(QEvent::MouseButtonPress, fnAt(100, 100), Qt::LeftButton, Qt::LeftButton);
    fnSend(QEvent::MouseMove, fnAt(200, 200), Qt::NoButton, Qt::LeftButton);
    // A dialog received the release, and was closed by a key.
    fnSend(QEvent::MouseButtonPress, fnAt(300, 250), Qt::LeftButton, Qt::LeftButton);
    fnSend(QEvent::MouseMove, fnAt(340, 280), Qt::NoButton, Qt::LeftButton);
    fnSend(QEvent::MouseButtonRelease, fnAt(340, 280), Qt::LeftButton, Qt::NoButton);
    ASSERT_TRUE(m_pWindow->fnGetDocument().fnHasSelection());
    EXPECT_GE(m_pWindow->fnGetDocument().fnGetSelection().m_rectBound.left, 250);
}

TEST_F(DarkroomView, AToolRegainsItsCursorAfterADrag) {
    for (const auto tool : {darkroom::Tool::RECTANGLE, darkroom::Tool::PAN}) {
        fnView().fnSetTool(tool);
        const Qt::CursorShape shape = fnView().viewport()->cursor().shape();
        EXPECT_EQ(shape, tool == darkroom::Tool::PAN ? Qt::OpenHandCursor : Qt::CrossCursor);
        fnSend(QEvent::MouseButtonPress, fnAt(100, 100), Qt::MiddleButton, Qt::MiddleButton);
        EXPECT_EQ(fnView().viewport()->cursor().shape(), Qt::ClosedHandCursor);
        fnSend(QEvent::MouseButtonRelease, fnAt(100, 100), Qt::MiddleButton, Qt::NoButton);
        EXPECT_EQ(fnView().viewport()->cursor().shape(), shape);
    }
}

TEST_F(DarkroomView, UnselectedPixelsAreShadedAtAnyZoomAndPosition) {
    const std::vector<CqPoint2D> corners = {{100, 80}, {431, 300}};
    ASSERT_TRUE(m_pWindow->fnGetDocument()
                    .fnSelectShape(darkroom::ShapeKind::ELLIPSE, corners,
                                   darkroom::Document::Combine::REPLACE, nullptr)
                    .fnIsDone());
    CqMask& mask = m_pWindow->fnGetDocument().fnGetSelection();
    CqImage& image = m_pWindow->fnGetDocument().fnGetImage();
    for (const double zoom : {1.0, 0.5, 3.0}) {
        fnView().fnSetZoom(zoom);
        fnView().fnCenterOn({420, 290});
        QCoreApplication::processEvents();
        const QImage shown = fnLook();
        int wrong = 0;
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x) {
                const QPoint place = fnView().fnGetSample({x, y});
                if (!QRect(0, 0, 640, 480).contains(place))
                    continue;
                const CRect bound = mask.m_rectBound;
                const bool selected =
                    bound.PtInRect(CPoint(place.x(), place.y())) &&
                    *mask.fnGetPixelAddr(place.x() - bound.left, place.y() - bound.top) != 0;
                const CqColor color = image.fnGetPixelColor(place.x(), place.y());
                const int red = color.m_Red * (selected ? 255 : 255 - 150) / 255;
                wrong += std::abs(qRed(shown.pixel(x, y)) - red) > (selected ? 0 : 1);
            }
        EXPECT_EQ(wrong, 0) << zoom;
    }
}
