/// @file
/// An image of random bytes, and a view of it in a window.
#pragma once

#include "platforms/headless/headless.h"
#include "platforms/qt/CqImageView.h"
#include "platforms/qt/CqQtCanvas.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/module/Module.h"
#include "tests/platforms/qt/QtTestTools.h"
#include "tests/support/Random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <QScrollBar>

/// Base of the view's tests, attached to the headless platform.
class ImageView : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(q32Attach(q32HeadlessPlatform())); }
    void TearDown() override {
        m_pView.reset();
        m_pImage.reset();
        q32Detach();
    }

    /// Makes an image of random bytes, and a view of it in a window of that size.
    void fnMake(unsigned width, unsigned height, unsigned bits, QSize size = QSize(400, 300)) {
        m_pView.reset();
        m_pImage = std::make_unique<CqImage>(width, height, bits, nullptr, 0);
        Random random(width + height + bits);
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
        fnWaitFor([&] { return m_pView->fnDrawNow() == 0 && !m_pView->fnIsRefining(); });
    }

    /// Colour of an image's pixel, decoded from its bytes.
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

    /// Checks the canvas against the rule: pixel (x, y) shows the image's pixel under its centre.
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

    /// Counts the paints of its overlay; may run out of memory there.
    class View : public CqImageView {
    public:
        int m_nOver = 0;
        bool m_bShortOfMemory = false;

    protected:
        void fnPaintOver(QPainter&, const QRegion&) override {
            ++m_nOver;
            if (m_bShortOfMemory)
                throw std::bad_alloc();
        }
    };

    std::unique_ptr<CqImage> m_pImage;
    std::unique_ptr<View> m_pView;
};
