// Zoom and user input in a view.
#include "tests/platforms/qt/ImageViewWorld.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <vector>

namespace {

TEST_F(ImageView, ZoomKeepsThePixelUnderTheCursor) {
    ASSERT_NO_FATAL_FAILURE(fnMake(3000, 2500, 24));
    m_pView->fnSetZoom(1.0);
    m_pView->fnCenterOn(QPointF(1500, 1250));
    const QPointF cursor(123, 211);
    for (const double zoom : {2.0, 0.9, 5.0, 1.0, 0.7}) {
        const QPointF before = m_pView->fnToImage(cursor);
        m_pView->fnSetZoom(zoom, cursor);
        const QPointF after = m_pView->fnToImage(cursor);
        // Rounding to integer positions may lose half a screen pixel.
        EXPECT_NEAR(before.x(), after.x(), 0.51 / zoom) << zoom;
        EXPECT_NEAR(before.y(), after.y(), 0.51 / zoom) << zoom;
    }
}

TEST_F(ImageView, PositionsConvertThereAndBack) {
    ASSERT_NO_FATAL_FAILURE(fnMake(3000, 100, 24));
    for (const double zoom : {1.0, 0.25, 6.0}) {
        m_pView->fnSetZoom(zoom);
        const QPointF there = m_pView->fnToImage(QPointF(17.5, 42.25));
        const QPointF back = m_pView->fnToView(there);
        EXPECT_NEAR(back.x(), 17.5, 1e-6);
        EXPECT_NEAR(back.y(), 42.25, 1e-6);
    }
}

TEST_F(ImageView, StepsUseRoundZooms) {
    ASSERT_NO_FATAL_FAILURE(fnMake(100, 100, 24));
    m_pView->fnSetZoom(1.0);
    std::vector<double> zooms;
    for (int i = 0; i < 6; ++i) {
        m_pView->fnStepZoom(1);
        zooms.push_back(m_pView->fnGetZoom());
    }
    EXPECT_EQ(zooms, (std::vector<double>{1.5, 2, 3, 4, 8, 16}));
    m_pView->fnSetZoom(1.0);
    zooms.clear();
    for (int i = 0; i < 4; ++i) {
        m_pView->fnStepZoom(-1);
        zooms.push_back(m_pView->fnGetZoom());
    }
    EXPECT_EQ(zooms, (std::vector<double>{2.0 / 3, 0.5, 0.25, 0.125}));
    m_pView->fnSetZoom(5.0);
    m_pView->fnStepZoom(-1);
    EXPECT_EQ(m_pView->fnGetZoom(), 4.0);
    m_pView->fnSetZoom(0.3);
    m_pView->fnStepZoom(1);
    EXPECT_EQ(m_pView->fnGetZoom(), 0.5);
    m_pView->fnStepZoom(1000);
    EXPECT_EQ(m_pView->fnGetZoom(), CqImageView::kMaxZoom);
    m_pView->fnStepZoom(-1000);
    EXPECT_EQ(m_pView->fnGetZoom(), CqImageView::kMinZoom);
    m_pView->fnSetZoom(std::nan(""));
    EXPECT_EQ(m_pView->fnGetZoom(), 1.0);
}

TEST_F(ImageView, FitShowsAllAndFollowsTheWindow) {
    ASSERT_NO_FATAL_FAILURE(fnMake(2000, 500, 24));
    EXPECT_EQ(m_pView->fnGetVisible(), CRect(0, 0, 2000, 500));
    EXPECT_FALSE(m_pView->horizontalScrollBar()->isVisible());
    const double before = m_pView->fnGetZoom();
    m_pView->resize(600, 300);
    EXPECT_TRUE(fnWaitFor([&] { return m_pView->fnGetZoom() > before; }));
    EXPECT_EQ(m_pView->fnGetVisible(), CRect(0, 0, 2000, 500));
    m_pView->fnStepZoom(1);
    EXPECT_FALSE(m_pView->fnIsFit());
}

void fnSendWheel(CqImageView& view, QPointF at, int delta, Qt::KeyboardModifiers modifiers) {
    QWheelEvent event(at, view.viewport()->mapToGlobal(at), QPoint(), QPoint(0, delta),
                      Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view.viewport(), &event);
}

TEST_F(ImageView, TheWheelZoomsAtTheCursorAndScrollsWithShift) {
    ASSERT_NO_FATAL_FAILURE(fnMake(3000, 3000, 24));
    m_pView->fnSetZoom(1.0);
    m_pView->fnCenterOn(QPointF(1500, 1500));
    const QPointF before = m_pView->fnToImage(QPointF(40, 50));
    fnSendWheel(*m_pView, QPointF(40, 50), 120, Qt::NoModifier);
    EXPECT_EQ(m_pView->fnGetZoom(), 1.5);
    EXPECT_NEAR(m_pView->fnToImage(QPointF(40, 50)).x(), before.x(), 0.5);
    // The small steps of a high-resolution wheel add up.
    fnSendWheel(*m_pView, QPointF(40, 50), -60, Qt::NoModifier);
    EXPECT_EQ(m_pView->fnGetZoom(), 1.5);
    fnSendWheel(*m_pView, QPointF(40, 50), -60, Qt::NoModifier);
    EXPECT_EQ(m_pView->fnGetZoom(), 1.0);
    const int scrolled = m_pView->verticalScrollBar()->value();
    fnSendWheel(*m_pView, QPointF(40, 50), -120, Qt::ShiftModifier);
    EXPECT_EQ(m_pView->fnGetZoom(), 1.0);
    EXPECT_GT(m_pView->verticalScrollBar()->value(), scrolled);
}

void fnSendMouse(CqImageView& view, QEvent::Type type, QPointF at, Qt::MouseButton button,
                 Qt::MouseButtons buttons) {
    QMouseEvent event(type, at, view.viewport()->mapToGlobal(at), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(view.viewport(), &event);
}

TEST_F(ImageView, AButtonDragsThePictureWithTheCursor) {
    ASSERT_NO_FATAL_FAILURE(fnMake(2000, 2000, 24));
    m_pView->fnSetZoom(1.0);
    m_pView->fnCenterOn(QPointF(1000, 1000));
    const auto drag = [&](Qt::MouseButton button) {
        const QPointF grabbed = m_pView->fnToImage(QPointF(100, 100));
        fnSendMouse(*m_pView, QEvent::MouseButtonPress, {100, 100}, button, button);
        fnSendMouse(*m_pView, QEvent::MouseMove, {130, 90}, Qt::NoButton, button);
        fnSendMouse(*m_pView, QEvent::MouseMove, {160, 80}, Qt::NoButton, button);
        fnSendMouse(*m_pView, QEvent::MouseButtonRelease, {160, 80}, button, Qt::NoButton);
        fnSendMouse(*m_pView, QEvent::MouseMove, {300, 200}, Qt::NoButton, Qt::NoButton);
        return m_pView->fnToImage(QPointF(160, 80)) - grabbed;
    };
    EXPECT_EQ(drag(Qt::MiddleButton), QPointF());
    EXPECT_EQ(drag(Qt::LeftButton), QPointF());
    m_pView->fnSetPanning(false);
    EXPECT_EQ(drag(Qt::LeftButton), QPointF(60, -20) * fnCanvas().devicePixelRatioF());
}

TEST_F(ImageView, ADragReleasedElsewhereEndsWithTheNextMove) {
    ASSERT_NO_FATAL_FAILURE(fnMake(2000, 2000, 24));
    m_pView->fnSetZoom(1.0);
    m_pView->fnCenterOn(QPointF(1000, 1000));
    m_pView->viewport()->setCursor(Qt::CrossCursor);
    fnSendMouse(*m_pView, QEvent::MouseButtonPress, {100, 100}, Qt::LeftButton, Qt::LeftButton);
    fnSendMouse(*m_pView, QEvent::MouseMove, {130, 90}, Qt::NoButton, Qt::LeftButton);
    EXPECT_EQ(m_pView->viewport()->cursor().shape(), Qt::ClosedHandCursor);
    const QPointF there = m_pView->fnToImage({});
    for (const QPointF at : {QPointF(10, 10), QPointF(200, 50)})
        fnSendMouse(*m_pView, QEvent::MouseMove, at, Qt::NoButton, Qt::NoButton);
    EXPECT_EQ(m_pView->fnToImage({}), there);
    EXPECT_EQ(m_pView->viewport()->cursor().shape(), Qt::CrossCursor);
}

TEST_F(ImageView, TheSecondOfTwoQuickPressesDragsAsWell) {
    ASSERT_NO_FATAL_FAILURE(fnMake(2000, 2000, 24));
    m_pView->fnSetZoom(1.0);
    m_pView->fnCenterOn(QPointF(1000, 1000));
    const QPointF grabbed = m_pView->fnToImage(QPointF(100, 100));
    fnSendMouse(*m_pView, QEvent::MouseButtonDblClick, {100, 100}, Qt::LeftButton, Qt::LeftButton);
    fnSendMouse(*m_pView, QEvent::MouseMove, {160, 80}, Qt::NoButton, Qt::LeftButton);
    EXPECT_EQ(m_pView->fnToImage(QPointF(160, 80)), grabbed);
}

TEST_F(ImageView, KeysZoom) {
    ASSERT_NO_FATAL_FAILURE(fnMake(2000, 2000, 24));
    const auto press = [&](int key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(m_pView.get(), &event);
    };
    press(Qt::Key_1);
    EXPECT_EQ(m_pView->fnGetZoom(), 1.0);
    press(Qt::Key_Plus);
    EXPECT_EQ(m_pView->fnGetZoom(), 1.5);
    press(Qt::Key_Minus);
    EXPECT_EQ(m_pView->fnGetZoom(), 1.0);
    press(Qt::Key_0);
    EXPECT_TRUE(m_pView->fnIsFit());
    EXPECT_LT(m_pView->fnGetZoom(), 1.0);
}

TEST_F(ImageView, ReportsTheCursorPositionAndTheVisiblePart) {
    ASSERT_NO_FATAL_FAILURE(fnMake(2000, 2000, 24));
    m_pView->fnSetZoom(1.0);
    QPointF at;
    int moves = 0;
    double zoom = 0;
    QObject::connect(m_pView.get(), &CqImageView::pointed, [&](const QPointF& p) { at = p; });
    QObject::connect(m_pView.get(), &CqImageView::visibleChanged, [&] { ++moves; });
    QObject::connect(m_pView.get(), &CqImageView::zoomChanged, [&](double z) { zoom = z; });
    fnSendMouse(*m_pView, QEvent::MouseMove, {30, 40}, Qt::NoButton, Qt::NoButton);
    EXPECT_EQ(at, m_pView->fnToImage(QPointF(30, 40)));
    EXPECT_EQ(moves, 0);
    m_pView->verticalScrollBar()->setValue(m_pView->verticalScrollBar()->value() + 3);
    EXPECT_EQ(moves, 1);
    m_pView->fnSetZoom(2.0);
    EXPECT_EQ(zoom, 2.0);
    EXPECT_GT(moves, 1);
}

} // namespace
