// Means between the zooms 1/4 and 1, and the checkerboard behind transparent pixels.
#include "platforms/qt/AreaSampler_p.h"
#include "platforms/qt/Checkerboard_p.h"
#include "tests/platforms/qt/ImageViewWorld.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <QElapsedTimer>

namespace {

class ImageMeans : public ImageView {
protected:
    QPoint fnGetOrigin() const {
        return (m_pView->fnToImage(QPointF(0, 0)) * m_pView->fnGetZoom()).toPoint();
    }
    /// The mean of the area of the image under a pixel of the canvas, in floating point.
    std::array<double, 3> fnMean(int x, int y) const {
        const double zoom = m_pView->fnGetZoom();
        const double left = x / zoom;
        const double top = y / zoom;
        const double right = std::min<double>((x + 1) / zoom, m_pImage->Width);
        const double bottom = std::min<double>((y + 1) / zoom, m_pImage->Height);
        std::array<double, 3> sums{};
        for (int row = static_cast<int>(top); row < bottom; ++row)
            for (int column = static_cast<int>(left); column < right; ++column) {
                const double area =
                    (std::min<double>(column + 1, right) - std::max<double>(column, left)) *
                    (std::min<double>(row + 1, bottom) - std::max<double>(row, top));
                const QRgb color = fnColorAt(column, row);
                sums[0] += area * qRed(color);
                sums[1] += area * qGreen(color);
                sums[2] += area * qBlue(color);
            }
        for (double& sum : sums)
            sum /= (right - left) * (bottom - top);
        return sums;
    }
    /// The largest distance of the canvas from the means.
    double fnFindError(int step) {
        const QImage& pixels = fnPixels();
        const QPoint origin = fnGetOrigin();
        double worst = 0;
        for (int y = 0; y < pixels.height(); y += step)
            for (int x = 0; x < pixels.width(); x += step) {
                const QPoint place = QPoint(x, y) + origin;
                const double zoom = m_pView->fnGetZoom();
                if (place.x() < 0 || place.y() < 0 || (place.x() + 0.5) / zoom >= m_pImage->Width ||
                    (place.y() + 0.5) / zoom >= m_pImage->Height)
                    continue;
                const std::array<double, 3> mean = fnMean(place.x(), place.y());
                const QRgb shown = pixels.pixel(x, y);
                worst =
                    std::max({worst, std::abs(qRed(shown) - mean[0]),
                              std::abs(qGreen(shown) - mean[1]), std::abs(qBlue(shown) - mean[2])});
            }
        return worst;
    }
};

} // namespace

TEST_F(ImageMeans, EachPixelIsTheMeanOfTheAreaThatItCoversAtEveryDepth) {
    for (const unsigned bits : {4u, 8u, 16u, 24u, 32u}) {
        ASSERT_NO_FATAL_FAILURE(fnMake(1301, 907, bits, QSize(220, 150)));
        m_pView->fnSetZoom(0.66);
        fnSettle();
        EXPECT_GT(fnFindError(3), 40) << "not yet switched on";
        m_pView->fnSetAveraging(true);
        for (const double zoom : {0.99, 0.66, 0.5, 0.37, 0.26}) {
            m_pView->fnSetZoom(zoom);
            m_pView->fnCenterOn({1280, 890});
            fnSettle();
            EXPECT_LT(fnFindError(3), zoom == 0.5 ? 0.501 : 2.5) << bits << " bits at " << zoom;
        }
    }
}

TEST_F(ImageMeans, ALargeViewIsRefinedInIdleTimeToTheSamePixels) {
    ASSERT_NO_FATAL_FAILURE(fnMake(6000, 4500, 24, QSize(1500, 1100)));
    m_pView->fnSetAveraging(true);
    m_pView->fnSetZoom(0.26);
    QElapsedTimer timer;
    timer.start();
    m_pView->fnDrawNow();
    EXPECT_LT(timer.elapsed(), 200) << "what takes longer comes later";
    for (int step = 0; step < 5; ++step) {
        m_pView->horizontalScrollBar()->setValue(m_pView->horizontalScrollBar()->value() + 13);
        m_pView->verticalScrollBar()->setValue(m_pView->verticalScrollBar()->value() + 7);
        QCoreApplication::processEvents();
    }
    fnSettle();
    QImage whole(fnPixels().size(), QImage::Format_RGB32);
    whole.fill(m_pView->palette().color(QPalette::Mid));
    const q32::qt::SamplePlace place{fnGetOrigin(), m_pView->fnGetZoom()};
    q32::qt::fnSampleMeans(*m_pImage, place, whole.rect(), whole);
    EXPECT_TRUE(whole == fnPixels());
}

TEST_F(ImageMeans, ALargeViewIsOfOneKindAtEveryInstant) {
    ASSERT_NO_FATAL_FAILURE(fnMake(6000, 4500, 24, QSize(1500, 1100)));
    m_pView->fnSetAveraging(true);
    m_pView->fnSetZoom(0.26);
    fnSettle(); // scroll bars change the view's size
    m_pView->fnImageChanged();
    m_pView->fnDrawNow();
    QImage nearest;
    QImage means;
    QPoint origin;
    // The window is larger than the screen, so a window manager may resize it at any time.
    const auto expect = [&] {
        if (nearest.size() == fnPixels().size() && origin == fnGetOrigin())
            return;
        origin = fnGetOrigin();
        nearest = QImage(fnPixels().size(), QImage::Format_RGB32);
        nearest.fill(m_pView->palette().color(QPalette::Mid));
        means = nearest.copy();
        const q32::qt::SamplePlace place{origin, m_pView->fnGetZoom()};
        q32::qt::fnSampleTiles(*m_pImage, nullptr, place, nearest.rect(), nearest);
        q32::qt::fnSampleMeans(*m_pImage, place, means.rect(), means);
    };
    expect();
    ASSERT_FALSE(nearest == means);
    do {
        expect();
        ASSERT_TRUE(fnPixels() == nearest || fnPixels() == means);
        QCoreApplication::processEvents();
    } while (m_pView->fnIsRefining());
    fnSettle();
    expect();
    EXPECT_TRUE(fnPixels() == means);
}

TEST_F(ImageMeans, ColoursAreConvertedAfterSamplingAtEveryZoom) {
    ASSERT_NO_FATAL_FAILURE(fnMake(1301, 907, 24, QSize(220, 150)));
    m_pView->fnSetAveraging(true);
    for (const double zoom : {0.1, 0.5, 1.0, 3.0}) {
        m_pView->fnSetColors({});
        m_pView->fnSetZoom(zoom);
        fnSettle();
        QImage expected = fnPixels().copy();
        const QPoint origin = fnGetOrigin();
        for (int y = 0; y < expected.height(); ++y)
            for (int x = 0; x < expected.width(); ++x) {
                const QPoint at = QPoint(x, y) + origin;
                const QRgb was = expected.pixel(x, y);
                if (at.x() >= 0 && at.y() >= 0 && (at.x() + 0.5) / zoom < m_pImage->Width &&
                    (at.y() + 0.5) / zoom < m_pImage->Height)
                    expected.setPixel(x, y, qRgb(qBlue(was), qGreen(was), 255 - qRed(was)));
            }
        m_pView->fnSetColors([](QRgb* row, int count) {
            for (int i = 0; i < count; ++i)
                row[i] = qRgb(qBlue(row[i]), qGreen(row[i]), 255 - qRed(row[i]));
        });
        fnSettle();
        EXPECT_TRUE(fnPixels() == expected) << zoom;
        QRgb one = qRgb(10, 20, 30);
        m_pView->fnConvertColors(&one, 1);
        EXPECT_EQ(one, qRgb(30, 20, 245));
    }
}

TEST_F(ImageMeans, AChangedPartIsShownAsMeans) {
    ASSERT_NO_FATAL_FAILURE(fnMake(700, 500, 24));
    m_pView->fnSetAveraging(true);
    m_pView->fnSetZoom(0.6);
    fnSettle();
    const CRect part(100, 120, 161, 133);
    m_pImage->fnFill(CqColor(1, 200, 3, 255), &part, false);
    m_pView->fnImageChanged(part);
    EXPECT_LE(m_pView->fnDrawNow(), 42 * 14) << "and nothing else";
    fnSettle();
    EXPECT_LT(fnFindError(1), 2.5);
}

TEST_F(ImageMeans, AFlatPictureIsVisibleAtAnyZoom) {
    ASSERT_NO_FATAL_FAILURE(fnMake(30000, 3, 24));
    m_pImage->fnFill(CqColor(200, 10, 20, 255), nullptr, false);
    m_pView->fnSetAveraging(true);
    m_pView->fnSetFit(true);
    fnSettle();
    const QImage& pixels = fnPixels();
    int red = 0;
    for (int x = 0; x < pixels.width(); ++x)
        red += pixels.pixel(x, pixels.height() / 2) == qRgb(200, 10, 20) ||
               pixels.pixel(x, (pixels.height() - 1) / 2) == qRgb(200, 10, 20);
    EXPECT_GE(red, pixels.width() - 2);
}

TEST_F(ImageMeans, TransparentPixelsShowACheckerboard) {
    ASSERT_NO_FATAL_FAILURE(fnMake(300, 200, 32));
    m_pView->fnSetZoom(1);
    fnSettle();
    const QImage before = fnPixels().copy();
    m_pView->fnSetTransparency(true);
    fnSettle();
    const QImage& pixels = fnPixels();
    const QPoint origin = fnGetOrigin();
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 300; ++x) {
            const QPoint at = QPoint(x, y) - origin;
            if (!pixels.rect().contains(at))
                continue;
            const int alpha = *m_pImage->fnGetPixelAddr(x, y);
            const QRgb color = fnColorAt(x, y);
            const int board = (x / 8 + y / 8) % 2 == 0 ? 255 : 204;
            const auto blend = [&](int channel) {
                return (channel * alpha + board * (255 - alpha) + 127) / 255;
            };
            ASSERT_EQ(pixels.pixel(at),
                      qRgb(blend(qRed(color)), blend(qGreen(color)), blend(qBlue(color))))
                << x << ", " << y << " alpha " << alpha;
        }
    m_pView->fnSetTransparency(false);
    fnSettle();
    EXPECT_TRUE(fnPixels() == before);
}

TEST_F(ImageMeans, HiddenColorsDoNotShineThroughAtSmallZooms) {
    ASSERT_NO_FATAL_FAILURE(fnMake(1200, 900, 32));
    // Every second pixel is an opaque red; the others are a hidden green.
    CqImageLine line;
    for (unsigned y = 0; y < m_pImage->Height; ++y) {
        m_pImage->fnAccessLine(y, &line, false);
        for (unsigned x = 0; x < m_pImage->Width; ++x) {
            const bool red = (x + y) % 2 == 0;
            const unsigned char bytes[] = {static_cast<unsigned char>(red ? 255 : 0),
                                           static_cast<unsigned char>(red ? 200 : 0),
                                           static_cast<unsigned char>(red ? 0 : 255), 0};
            std::copy_n(bytes, 4, line.LineBuffer + 4 * x);
        }
    }
    line.fnUnAssociate();
    m_pView->fnSetTransparency(true);
    m_pView->fnSetAveraging(true);
    for (const double zoom : {0.5, 0.25, 0.125}) {
        m_pView->fnSetZoom(zoom);
        fnSettle();
        const QRgb shown = fnPixels().pixel(fnPixels().rect().center());
        const int board = qBlue(shown); // half of it
        EXPECT_TRUE(std::abs(board - 128) <= 1 || std::abs(board - 102) <= 1) << zoom;
        EXPECT_NEAR(qGreen(shown), board, 1) << zoom;
        EXPECT_NEAR(qRed(shown), board + 100, 1) << zoom;
    }
}
