#include "q32Base/display/CqDisplayProperty.h"
#include "tests/platforms/qt/ImageViewWorld.h"
#include "tests/support/FailingAllocator.h"

namespace {

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

TEST_F(ImageView, WithoutAnImageShowsAnEmptyBackground) {
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

TEST_F(ImageView, ScrollingDrawsOnlyTheNewlyVisibleStrip) {
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
    Random random(7);
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

TEST_F(ImageView, AChangedPartIsRedrawnAndNothingElse) {
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
    m_pView->fnImageChanged(CRect(0, 0, 1, 1)); // not visible
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

TEST_F(ImageView, AnImageThatWasMadeSmallerIsNotReadBeyondItsEnd) {
    ASSERT_NO_FATAL_FAILURE(fnMake(3000, 2000, 24));
    for (const double zoom : {2.0, 0.2}) {
        m_pView->fnSetZoom(zoom);
        m_pView->fnCenterOn(QPointF(2900, 1900));
        fnSettle();
        // The view isn't notified yet, but is painted all the same.
        m_pImage->fnAlloc(40, 30, 8, nullptr, 0);
        m_pView->resize(m_pView->size() + QSize(30, 30));
        m_pView->fnDrawNow();
        m_pView->fnImageChanged();
        EXPECT_EQ(m_pView->fnGetVisible(), CRect(0, 0, 40, 30));
        m_pImage->fnAlloc(3000, 2000, 24, nullptr, 0);
        m_pView->fnImageChanged();
    }
}

TEST_F(ImageView, TinyImagesFillTheViewAtTheHighestZoom) {
    for (const unsigned bits : {4u, 8u, 24u}) {
        ASSERT_NO_FATAL_FAILURE(fnMake(1, 1, bits, QSize(50, 40)));
        fnCheckAll();
        m_pView->fnSetZoom(CqImageView::kMaxZoom);
        fnCheckAll();
        m_pView->fnSetZoom(CqImageView::kMinZoom);
        fnCheckAll();
    }
}

TEST_F(ImageView, TheFarEndOfAWideImageIsReachedAtTheHighestZoom) {
    ASSERT_NO_FATAL_FAILURE(fnMake(60000, 3, 24, QSize(200, 200)));
    m_pView->fnSetZoom(CqImageView::kMaxZoom);
    QScrollBar& bar = *m_pView->horizontalScrollBar();
    bar.setValue(bar.maximum());
    EXPECT_EQ(m_pView->fnGetVisible().right, 60000);
    EXPECT_EQ(bar.maximum() + fnCanvas().fnGetPixelSize().width(), 60000 * 64);
    fnCheckAll();
}

TEST_F(ImageView, TheHighestZoomIsReducedWhereScrollBarsWouldNotReach) {
    ASSERT_NO_FATAL_FAILURE(fnMake(40000000, 1, 4, QSize(200, 100)));
    m_pView->fnSetZoom(CqImageView::kMaxZoom);
    EXPECT_LT(m_pView->fnGetZoom(), 27.0);
    EXPECT_GT(m_pView->fnGetZoom(), 26.0);
    m_pView->horizontalScrollBar()->setValue(m_pView->horizontalScrollBar()->maximum());
    EXPECT_EQ(m_pView->fnGetVisible().right, 40000000);
    fnCheckAll();
}

TEST_F(ImageView, WhatFailsForLackOfMemoryIsDrawnLater) {
    ASSERT_NO_FATAL_FAILURE(fnMake(900, 700, 24));
    m_pView->fnSetZoom(1.0);
    const std::size_t failures = fnFailEachAllocation([&] { m_pView->fnImageChanged(); },
                                                      [&](CqAllocationFailure& failure) {
                                                          try {
                                                              m_pView->fnDrawNow();
                                                          } catch (const std::bad_alloc&) {
                                                              failure.fnEnd();
                                                              EXPECT_GT(m_pView->fnDrawNow(), 0);
                                                          }
                                                          failure.fnEnd();
                                                          fnCheckAll();
                                                      });
    EXPECT_GT(failures, 0u);
}

TEST_F(ImageView, APaintEventLetsNoFailureThrough) {
    ASSERT_NO_FATAL_FAILURE(fnMake(900, 700, 24));
    m_pView->m_bShortOfMemory = true;
    m_pView->m_nOver = 0;
    m_pView->viewport()->repaint();
    EXPECT_EQ(m_pView->m_nOver, 1);
}

TEST_F(ImageView, WhatIsPaintedInPartsIsWhatIsPaintedAsAWhole) {
    ASSERT_NO_FATAL_FAILURE(fnMake(700, 500, 24, QSize(211, 157)));
    m_pView->fnSetZoom(1.0);
    QImage parts(fnPixels().size(), QImage::Format_RGB32);
    parts.setDevicePixelRatio(fnCanvas().devicePixelRatioF());
    Random random(3);
    const auto below = [&](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    fnCanvas().render(&parts, QPoint(), QRegion(fnCanvas().rect()));
    for (int i = 0; i < 50; ++i) {
        const QRect part(below(200), below(150), 1 + below(60), 1 + below(40));
        fnCanvas().render(&parts, part.topLeft(), QRegion(part & fnCanvas().rect()));
    }
    parts.setDevicePixelRatio(1);
    QImage whole = fnPixels();
    whole.setDevicePixelRatio(1);
    // The last column and row may be covered only in part.
    const QRect sure = whole.rect().adjusted(0, 0, -1, -1);
    EXPECT_EQ(parts.copy(sure), whole.copy(sure));
}

TEST_F(ImageView, IsDrawnAtEachZoomAndInBothPalettes) {
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
    for (const double zoom : {0.1, 0.25, 1.0, 1.5, 4.0}) {
        m_pView->fnSetZoom(zoom);
        fnSettle();
        fnKeepPicture(*m_pView, "image-view-" + QString::number(zoom * 100));
    }
    fnInBothPalettes([&](const QString& name) {
        m_pView->setFrameShape(QFrame::StyledPanel);
        m_pView->fnSetZoom(0.5);
        fnSettle();
        fnKeepPicture(*m_pView, "image-view-framed" + name);
        EXPECT_EQ(fnPixels().pixel(0, 0), m_pView->palette().color(QPalette::Mid).rgb());
    });
}

} // namespace
