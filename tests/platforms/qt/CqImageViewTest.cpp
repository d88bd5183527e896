#include "platforms/qt/CqImageView.h"

#include "platforms/headless/headless.h"
#include "platforms/qt/CqQtCanvas.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/frame/Module.h"
#include "q32Base/image/CqImage.h"
#include "tests/platforms/qt/QtTestTools.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>
#include <random>
#include <vector>

namespace {

class ImageView : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(q32Attach(q32HeadlessPlatform())); }
    void TearDown() override {
        m_pView.reset();
        m_pImage.reset();
        q32Detach();
    }

    /// An image of random bytes, and a view of it in a window of that size.
    void fnMake(unsigned width, unsigned height, unsigned bits, QSize size = QSize(400, 300)) {
        m_pImage = std::make_unique<CqImage>(width, height, bits, nullptr, 0);
        std::mt19937 random(width + height + bits);
        CqImageTile tile;
        for (unsigned i = 0; i < m_pImage->TileCount; ++i) {
            m_pImage->fnAccessTile(i, &tile);
            for (std::uint32_t at = 0; at < tile.Size; ++at)
                tile.Pixels[at] = static_cast<unsigned char>(random());
        }
        m_pView = std::make_unique<View>();
        m_pView->setFrameShape(QFrame::NoFrame);
        m_pView->resize(size);
        m_pView->fnSetImage(m_pImage.get());
        ASSERT_TRUE(fnShow(*m_pView));
        fnSettle();
    }

    void fnSettle() {
        fnWaitFor([&] { return m_pView->fnDrawNow() == 0; });
    }

    /// Colour of an image's pixel, by the layout of its bytes.
    QRgb fnColorAt(int x, int y) const {
        CqImageTile tile;
        CPoint at(x, y);
        m_pImage->fnAccessTile(at, &tile);
        const unsigned char* row = tile.Pixels + (y - tile.Top) * static_cast<int>(tile.RowBytes);
        x -= tile.Left;
        RGBQUAD entry{};
        switch (tile.BitCount) {
        case 4:
            m_pImage->fnGetPaletteEntry(row[x / 2] >> (x % 2 ? 0 : 4) & 15u, 1, &entry);
            return qRgb(entry.rgbRed, entry.rgbGreen, entry.rgbBlue);
        case 8:
            m_pImage->fnGetPaletteEntry(row[x], 1, &entry);
            return qRgb(entry.rgbRed, entry.rgbGreen, entry.rgbBlue);
        case 16: {
            const int value = row[2 * x] * 256 + row[2 * x + 1];
            return qRgb(value / 2048 * 8, value / 32 % 64 * 4, value % 32 * 8);
        }
        case 24:
            return qRgb(row[3 * x], row[3 * x + 1], row[3 * x + 2]);
        default:
            return qRgb(row[4 * x + 1], row[4 * x + 2], row[4 * x + 3]);
        }
    }

    CqQtCanvas& fnCanvas() { return *qobject_cast<CqQtCanvas*>(m_pView->viewport()); }
    const QImage& fnPixels() {
        m_pView->fnDrawNow();
        return fnCanvas().fnGetPixels();
    }

    /// Holds the canvas against the rule: pixel (x, y) shows the image's pixel under its middle.
    void fnCheckAll() {
        const QImage& pixels = fnPixels();
        const QPointF corner = m_pView->fnToImage(QPointF(0, 0)) * m_pView->fnGetZoom();
        const QPoint origin = corner.toPoint();
        const QRgb margin = m_pView->palette().color(QPalette::Mid).rgb();
        int wrong = 0;
        for (int y = 0; y < pixels.height(); ++y)
            for (int x = 0; x < pixels.width(); ++x) {
                const double atX = std::floor((x + origin.x() + 0.5) / m_pView->fnGetZoom());
                const double atY = std::floor((y + origin.y() + 0.5) / m_pView->fnGetZoom());
                const bool inside =
                    atX >= 0 && atY >= 0 && atX < m_pImage->Width && atY < m_pImage->Height;
                const QRgb expected =
                    inside ? fnColorAt(static_cast<int>(atX), static_cast<int>(atY)) : margin;
                wrong += pixels.pixel(x, y) != expected ? 1 : 0;
            }
        EXPECT_EQ(wrong, 0) << "zoom " << m_pView->fnGetZoom();
    }

    /// Counts what it was asked to paint over.
    class View : public CqImageView {
    public:
        int m_nOver = 0;

    protected:
        void fnPaintOver(QPainter&, const QRegion&) override { ++m_nOver; }
    };

    std::unique_ptr<CqImage> m_pImage;
    std::unique_ptr<View> m_pView;
};

TEST_F(ImageView, ShowsEveryDepthPixelByPixel) {
    for (const unsigned bits : {4u, 8u, 16u, 24u, 32u}) {
        SCOPED_TRACE(bits);
        ASSERT_NO_FATAL_FAILURE(fnMake(700, 500, bits));
        m_pView->fnSetZoom(1.0);
        fnCheckAll();
        m_pView->fnSetZoom(3.0);
        fnCheckAll();
        m_pView->fnSetZoom(0.37);
        fnCheckAll();
    }
}

TEST_F(ImageView, WhatIsPaintedIsWhatWasDrawn) {
    ASSERT_NO_FATAL_FAILURE(fnMake(700, 500, 24));
    m_pView->fnSetZoom(1.0);
    EXPECT_EQ(m_pView->viewport()->grab().toImage().convertToFormat(QImage::Format_RGB32),
              fnPixels());
    EXPECT_GT(m_pView->m_nOver, 0);
}

TEST_F(ImageView, WithoutAnImageShowsAnEmptyGround) {
    ASSERT_NO_FATAL_FAILURE(fnMake(50, 50, 24));
    m_pView->fnSetImage(nullptr);
    EXPECT_TRUE(m_pView->fnGetVisible().IsRectEmpty());
    const QImage& pixels = fnPixels();
    for (int y = 0; y < pixels.height(); ++y)
        for (int x = 0; x < pixels.width(); ++x)
            ASSERT_EQ(pixels.pixel(x, y), m_pView->palette().color(QPalette::Mid).rgb());
    CqImage blank;
    m_pView->fnSetImage(&blank);
    EXPECT_TRUE(m_pView->fnGetVisible().IsRectEmpty());
    m_pView->fnStepZoom(3);
    m_pView->fnImageChanged(CRect(0, 0, 10, 10));
    EXPECT_EQ(fnPixels().pixel(5, 5), m_pView->palette().color(QPalette::Mid).rgb());
    m_pView->fnSetImage(nullptr);
}

TEST_F(ImageView, ScrollingDrawsTheStripThatComesIntoSight) {
    ASSERT_NO_FATAL_FAILURE(fnMake(2000, 2000, 24));
    m_pView->fnSetZoom(1.0);
    fnSettle();
    const QSize seen = fnCanvas().fnGetPixelSize();
    m_pView->verticalScrollBar()->setValue(m_pView->verticalScrollBar()->value() + 7);
    EXPECT_EQ(m_pView->fnDrawNow(), 7LL * seen.width());
    m_pView->horizontalScrollBar()->setValue(m_pView->horizontalScrollBar()->value() - 5);
    EXPECT_EQ(m_pView->fnDrawNow(), 5LL * seen.height());
    EXPECT_EQ(m_pView->fnDrawNow(), 0);
}

TEST_F(ImageView, AWalkOverThePictureEndsWithTheSamePixelsAsAFreshView) {
    ASSERT_NO_FATAL_FAILURE(fnMake(1500, 1200, 24));
    m_pView->fnSetZoom(1.5);
    std::mt19937 random(7);
    const auto step = [&](int range) {
        return static_cast<int>(random() % static_cast<unsigned>(2 * range + 1)) - range;
    };
    for (int i = 0; i < 60; ++i) {
        QScrollBar& across = *m_pView->horizontalScrollBar();
        QScrollBar& down = *m_pView->verticalScrollBar();
        const int range = i % 7 == 0 ? 900 : 40;
        across.setValue(across.value() + step(range));
        down.setValue(down.value() + step(range));
        if (i % 3 == 0)
            m_pView->fnDrawNow();
        if (i % 10 == 0)
            m_pView->resize(300 + step(80), 250 + step(80));
    }
    fnCheckAll();
}

TEST_F(ImageView, AChangedPartIsDrawnAnewAndNothingElse) {
    ASSERT_NO_FATAL_FAILURE(fnMake(1000, 1000, 24));
    m_pView->fnSetZoom(1.0);
    fnSettle();
    const CRect seen = m_pView->fnGetVisible();
    const CRect part(seen.left + 10, seen.top + 20, seen.left + 40, seen.top + 30);
    m_pImage->fnFill(CqColor(), &part, false);
    m_pView->fnImageChanged(part);
    const long long drawn = m_pView->fnDrawNow();
    EXPECT_GE(drawn, 30 * 10);
    EXPECT_LE(drawn, 33 * 13);
    fnCheckAll();
    m_pView->fnImageChanged(CRect(0, 0, 1, 1)); // out of sight
    EXPECT_EQ(m_pView->fnDrawNow(), 0);
}

TEST_F(ImageView, AnotherSizeOfTheImageIsFollowed) {
    ASSERT_NO_FATAL_FAILURE(fnMake(1000, 1000, 24));
    EXPECT_TRUE(m_pView->fnIsFit());
    EXPECT_LT(m_pView->fnGetZoom(), 1.0);
    m_pImage->fnAlloc(200, 100, 8, nullptr, 0);
    m_pImage->fnFill(CqColor(), nullptr, false);
    m_pView->fnImageChanged();
    EXPECT_EQ(m_pView->fnGetZoom(), 1.0);
    EXPECT_EQ(m_pView->fnGetVisible(), CRect(0, 0, 200, 100));
    fnCheckAll();
}

TEST_F(ImageView, ZoomKeepsThePixelUnderTheCursor) {
    ASSERT_NO_FATAL_FAILURE(fnMake(3000, 2500, 24));
    m_pView->fnSetZoom(1.0);
    m_pView->fnCenterOn(QPointF(1500, 1250));
    const QPointF cursor(123, 211);
    for (const double zoom : {2.0, 0.9, 5.0, 1.0, 0.7}) {
        const QPointF before = m_pView->fnToImage(cursor);
        m_pView->fnSetZoom(zoom, cursor);
        const QPointF after = m_pView->fnToImage(cursor);
        // Half a pixel of the screen may be lost to whole positions.
        EXPECT_NEAR(before.x(), after.x(), 0.51 / zoom) << zoom;
        EXPECT_NEAR(before.y(), after.y(), 0.51 / zoom) << zoom;
    }
}

TEST_F(ImageView, PositionsGoThereAndBack) {
    ASSERT_NO_FATAL_FAILURE(fnMake(3000, 100, 24));
    for (const double zoom : {1.0, 0.25, 6.0}) {
        m_pView->fnSetZoom(zoom);
        const QPointF there = m_pView->fnToImage(QPointF(17.5, 42.25));
        const QPointF back = m_pView->fnToView(there);
        EXPECT_NEAR(back.x(), 17.5, 1e-6);
        EXPECT_NEAR(back.y(), 42.25, 1e-6);
    }
}

TEST_F(ImageView, StepsGoAlongRoundZooms) {
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
    EXPECT_EQ(m_pView->fnGetZoom(), CqImageView::kMostZoom);
    m_pView->fnStepZoom(-1000);
    EXPECT_EQ(m_pView->fnGetZoom(), CqImageView::kLeastZoom);
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

TEST_F(ImageView, GammaIsShown) {
    ASSERT_NO_FATAL_FAILURE(fnMake(1000, 1000, 24));
    m_pView->fnSetZoom(1.0);
    q32GetDisplayProperty()->fnSetGammaValue(240);
    m_pView->fnImageChanged();
    const QImage& pixels = fnPixels();
    const QPointF at = m_pView->fnToImage(QPointF(200, 150) / fnCanvas().devicePixelRatioF());
    const QRgb plain = fnColorAt(static_cast<int>(at.x()), static_cast<int>(at.y()));
    unsigned char bytes[4] = {static_cast<unsigned char>(qBlue(plain)),
                              static_cast<unsigned char>(qGreen(plain)),
                              static_cast<unsigned char>(qRed(plain)), 0};
    q32GetDisplayProperty()->fnGammaCorrect(bytes, 1, 32);
    EXPECT_EQ(pixels.pixel(200, 150), qRgb(bytes[2], bytes[1], bytes[0]));
    EXPECT_NE(pixels.pixel(200, 150), plain);
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
    // A fine wheel's small turns add up.
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

TEST_F(ImageView, TellsWhereTheCursorIsAndWhatIsInSight) {
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

TEST_F(ImageView, LooksGood) {
    ASSERT_NO_FATAL_FAILURE(fnMake(900, 600, 24, QSize(640, 480)));
    CqImageTile tile;
    for (unsigned i = 0; i < m_pImage->TileCount; ++i) {
        m_pImage->fnAccessTile(i, &tile);
        for (int y = 0; y < tile.Height; ++y)
            for (int x = 0; x < tile.Width; ++x) {
                unsigned char* p = tile.Pixels + y * static_cast<int>(tile.RowBytes) + 3 * x;
                p[0] = static_cast<unsigned char>((tile.Left + x) * 255 / 900);
                p[1] = static_cast<unsigned char>((tile.Top + y) * 255 / 600);
                p[2] = static_cast<unsigned char>(
                    ((tile.Left + x) / 50 + (tile.Top + y) / 50) % 2 ? 200 : 60);
            }
    }
    m_pView->fnImageChanged();
    fnCheckAll();
    fnKeepPicture(*m_pView, "image-view-fit");
    m_pView->fnSetZoom(4.0);
    fnKeepPicture(*m_pView, "image-view-400");
}

} // namespace
