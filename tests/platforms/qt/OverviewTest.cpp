#include "platforms/qt/Overview_p.h"
#include "tests/platforms/qt/ImageViewWorld.h"
#include "tests/support/FailingAllocator.h"

#include <array>

using q32::qt::Overview;

namespace {

class ImageOverview : public ImageView {
protected:
    /// Mean of up to four colours, rounded.
    struct Mean {
        int m_nCount = 0;
        std::array<int, 3> m_Sums{};
        void fnAdd(QRgb color) {
            ++m_nCount;
            m_Sums[0] += qRed(color);
            m_Sums[1] += qGreen(color);
            m_Sums[2] += qBlue(color);
        }
        QRgb fnGet() const {
            const int half = m_nCount / 2;
            return qRgb((m_Sums[0] + half) / m_nCount, (m_Sums[1] + half) / m_nCount,
                        (m_Sums[2] + half) / m_nCount);
        }
    };

    /// The rule for a reduced pixel: at a quarter, the mean of the image's pixels; at smaller
    /// sizes, of four pixels of the next larger one. Pixels outside the image don't count.
    QRgb fnReduced(int x, int y, unsigned shift) const {
        const int step = shift == 2 ? 1 : 1 << (shift - 1);
        const int size = 1 << shift;
        Mean mean;
        for (int down = y * size; down < (y + 1) * size; down += step)
            for (int across = x * size; across < (x + 1) * size; across += step)
                if (across < static_cast<int>(m_pImage->Width) &&
                    down < static_cast<int>(m_pImage->Height))
                    mean.fnAdd(step == 1 ? fnColorAt(across, down)
                                         : fnReduced(across / step, down / step, shift - 1));
        return mean.fnGet();
    }

    /// Checks the canvas against the rule, once all copies are made.
    void fnCheckReduced(unsigned shift) {
        fnSettle();
        const QImage& pixels = fnPixels();
        const double zoom = m_pView->fnGetZoom();
        const QPoint origin = (m_pView->fnToImage(QPointF(0, 0)) * zoom).toPoint();
        int wrong = 0;
        for (int y = 0; y < pixels.height(); y += 3)
            for (int x = 0; x < pixels.width(); x += 3) {
                const double atX = std::floor((x + origin.x() + 0.5) / zoom);
                const double atY = std::floor((y + origin.y() + 0.5) / zoom);
                if (atX < 0 || atY < 0 || atX >= m_pImage->Width || atY >= m_pImage->Height)
                    continue;
                const QRgb expected = fnReduced(static_cast<int>(atX) >> shift,
                                                static_cast<int>(atY) >> shift, shift);
                wrong += pixels.pixel(x, y) != expected ? 1 : 0;
            }
        EXPECT_EQ(wrong, 0) << "zoom " << zoom;
    }
};

TEST_F(ImageOverview, SmallZoomsShowTheMeanAtEveryDepth) {
    for (const unsigned bits : {4u, 8u, 16u, 24u, 32u}) {
        SCOPED_TRACE(bits);
        ASSERT_NO_FATAL_FAILURE(fnMake(1301, 907, bits, QSize(200, 150)));
        m_pView->fnSetZoom(0.25);
        fnCheckReduced(2);
        m_pView->fnSetZoom(0.13);
        fnCheckReduced(2);
        m_pView->fnSetZoom(0.125);
        fnCheckReduced(3);
        m_pView->fnSetZoom(1.0 / 256);
        fnCheckReduced(7);
    }
}

TEST_F(ImageOverview, UntilItIsMadeEverySecondPixelIsShown) {
    ASSERT_NO_FATAL_FAILURE(fnMake(4000, 3000, 24, QSize(200, 150)));
    m_pView->fnSetZoom(0.125);
    m_pView->fnImageChanged();
    const QImage& pixels = fnPixels();
    EXPECT_TRUE(m_pView->fnIsRefining());
    const QPoint origin = (m_pView->fnToImage(QPointF(0, 0)) * 0.125).toPoint();
    // Cells are 16 pixels of the canvas; pairs begin with them.
    const int left = 16 - origin.x() % 16;
    const int top = 16 - origin.y() % 16;
    for (int y = top; y < top + 64; ++y)
        for (int x = left; x < left + 64; ++x) {
            const int fromX = (x - (x - left) % 2 + origin.x()) * 8 + 4;
            const int fromY = (y - (y - top) % 2 + origin.y()) * 8 + 4;
            ASSERT_EQ(pixels.pixel(x, y), fnColorAt(fromX, fromY)) << x << ',' << y;
        }
    fnCheckReduced(3);
    EXPECT_FALSE(m_pView->fnIsRefining());
}

TEST_F(ImageOverview, ChangedPixelsAreNeverShownFromAnOldCopy) {
    ASSERT_NO_FATAL_FAILURE(fnMake(2000, 1600, 24));
    m_pView->fnSetZoom(0.25);
    fnSettle();
    const CRect part(301, 403, 777, 500);
    m_pImage->fnFill(CqColor(), &part, false);
    m_pView->fnImageChanged(part);
    const QImage& pixels = fnPixels();
    const QPointF middle = m_pView->fnToView(QPointF(500, 450)) * fnCanvas().devicePixelRatioF();
    EXPECT_EQ(pixels.pixel(middle.toPoint()), qRgb(0, 0, 0));
    fnCheckReduced(2);
    // The same for an invisible part that becomes visible later.
    m_pView->fnCenterOn(QPointF(0, 0));
    fnSettle();
    const CRect far(1700, 1400, 1990, 1590);
    m_pImage->fnFill(CqColor(), &far, false);
    m_pView->fnImageChanged(far);
    m_pView->fnCenterOn(QPointF(2000, 1600));
    fnCheckReduced(2);
    m_pImage->fnFill(CqColor(), nullptr, false);
    m_pView->fnImageChanged();
    fnCheckReduced(2);
}

TEST_F(ImageOverview, ScrollingMakesTheNewlyVisiblePart) {
    ASSERT_NO_FATAL_FAILURE(fnMake(5000, 4000, 8, QSize(150, 120)));
    m_pView->fnSetZoom(0.2);
    m_pView->fnCenterOn(QPointF(0, 0));
    fnSettle();
    m_pView->horizontalScrollBar()->setValue(m_pView->horizontalScrollBar()->value() + 37);
    m_pView->verticalScrollBar()->setValue(m_pView->verticalScrollBar()->value() + 23);
    fnCheckReduced(2);
}

TEST_F(ImageOverview, WithoutMemoryTheImageItselfIsShown) {
    ASSERT_NO_FATAL_FAILURE(fnMake(300, 200, 24));
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        Overview overview;
        try {
            overview.fnReset(m_pImage.get());
            overview.fnMake(*m_pImage, 1, 1);
        } catch (const std::bad_alloc&) {
            failure.fnEnd();
            if (overview.fnGetShift(0.25) != 0) {
                EXPECT_EQ(overview.fnFind(1, 1, 2), nullptr);
            }
        }
    });
    EXPECT_EQ(failures, 2u);
}

TEST_F(ImageOverview, ItsMemoryIsBounded) {
    Overview overview;
    CqImage image;
    EXPECT_EQ(overview.fnGetShift(0.01), 0u);
    image.Width = 20000; // only the size matters here
    image.Height = 15000;
    overview.fnReset(&image);
    EXPECT_EQ(overview.fnGetShift(0.26), 0u);
    EXPECT_EQ(overview.fnGetShift(0.25), 2u);
    EXPECT_EQ(overview.fnGetShift(1.0 / 15), 3u);
    EXPECT_EQ(overview.fnGetShift(1.0 / 256), 7u);
    // 469 x 469 cells don't fit with 1365 pixels each, nor with 341, but with 85 they do.
    image.Width = 60000;
    image.Height = 60000;
    overview.fnReset(&image);
    EXPECT_EQ(overview.fnGetShift(0.125), 0u);
    EXPECT_EQ(overview.fnGetShift(1.0 / 16), 4u);
    image.Width = 400000;
    overview.fnReset(&image);
    EXPECT_EQ(overview.fnGetShift(1.0 / 256), 0u);
    image.Width = 0;
    image.Height = 0;
}

} // namespace
