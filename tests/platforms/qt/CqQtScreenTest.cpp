#include "platforms/qt/CqImageView.h"
#include "platforms/qt/CqQtCanvas.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/CRgn.h"
#include "q32Base/image/CqImage.h"
#include "tests/platforms/qt/QtTestTools.h"
#include "tests/platforms/qt/QtWorld.h"

#include <cstring>
#include <QGuiApplication>
#include <QScreen>
#include <random>
#include <vector>

namespace {

struct Dib {
    BITMAPINFOHEADER m_Header{};
    std::uint8_t m_Table[1024] = {};
};

class QtScreen : public QtWorld {
protected:
    void SetUp() override {
        QtWorld::SetUp();
        m_Canvas.resize(60, 40);
        ASSERT_TRUE(fnShow(m_Canvas));
    }
    CqScreenService& fnScreen() { return *m_Platform.m_pScreen; }

    CqQtCanvas m_Canvas;
    CqQtWnd m_Wnd{&m_Canvas};
};

TEST_F(QtScreen, MetricsAreThoseOfTheScreen) {
    const QScreen& screen = *QGuiApplication::primaryScreen();
    const CqDisplayProperty& display = *q32GetDisplayProperty();
    const qreal scale = screen.devicePixelRatio();
    EXPECT_EQ(display.fnGetDisplaySize().cx, qRound(screen.geometry().width() * scale));
    EXPECT_EQ(display.fnGetDisplaySize().cy, qRound(screen.geometry().height() * scale));
    EXPECT_EQ(display.fnGetDPI().cx, qRound(screen.logicalDotsPerInchX() * scale));
    EXPECT_EQ(display.fnGetColorDepth(), 32u);
    EXPECT_FALSE(display.fnIsHiColorDisplay());
    EXPECT_TRUE(q32QtCanPaint());
}

TEST_F(QtScreen, AWindowsClientAreaIsInScreenPixels) {
    const CRect client = m_Wnd.GetClientRect();
    EXPECT_EQ(client.Width(), m_Canvas.fnGetPixelSize().width());
    EXPECT_EQ(client.Height(), m_Canvas.fnGetPixelSize().height());
}

TEST_F(QtScreen, RowsOfEveryDepthLandBottomUpAtTheirPosition) {
    std::mt19937 random(5);
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        SCOPED_TRACE(bits);
        constexpr int kWidth = 21;
        constexpr int kHeight = 13;
        const std::size_t stride = (static_cast<std::size_t>(kWidth * bits) + 31) / 32 * 4;
        Dib dib;
        dib.m_Header.biSize = 40;
        dib.m_Header.biWidth = kWidth;
        dib.m_Header.biHeight = kHeight;
        dib.m_Header.biPlanes = 1;
        dib.m_Header.biBitCount = static_cast<WORD>(bits);
        for (std::uint8_t& byte : dib.m_Table)
            byte = static_cast<std::uint8_t>(random());
        std::vector<std::uint8_t> rows(stride * kHeight);
        for (std::uint8_t& byte : rows)
            byte = static_cast<std::uint8_t>(random());
        m_Canvas.fnGetPixels().fill(0xFF010203u);
        CDC* dc = m_Wnd.GetDC();
        ASSERT_NE(dc, nullptr);
        EXPECT_EQ(fnScreen().fnSetDIBitsToDevice(dc, 45, -4, kWidth, kHeight, 0, 0, 0, kHeight,
                                                 rows.data(), &dib.m_Header, DIB_RGB_COLORS),
                  kHeight);
        m_Wnd.ReleaseDC(dc);
        const QImage& pixels = m_Canvas.fnGetPixels();
        for (int y = 0; y < pixels.height(); ++y)
            for (int x = 0; x < pixels.width(); ++x) {
                QRgb expected = 0xFF010203u;
                if (x >= 45 && x < 45 + kWidth && y < kHeight - 4) {
                    const int column = x - 45;
                    const std::uint8_t* row =
                        rows.data() + stride * static_cast<std::size_t>(kHeight - 1 - (y + 4));
                    const auto table = [&](int i) {
                        const std::uint8_t* entry = dib.m_Table + 4 * i;
                        return qRgb(entry[2], entry[1], entry[0]);
                    };
                    const auto wide = [](int v) { return v * 8 + v / 4; };
                    const int value = bits == 16 ? row[2 * column] + 256 * row[2 * column + 1] : 0;
                    expected =
                        bits == 1 ? table(row[column / 8] >> (7 - column % 8) & 1)
                        : bits == 4
                            ? table(column % 2 ? row[column / 2] % 16 : row[column / 2] / 16)
                        : bits == 8 ? table(row[column])
                        : bits == 16
                            ? qRgb(wide(value / 1024 % 32), wide(value / 32 % 32), wide(value % 32))
                            : qRgb(row[column * bits / 8 + 2], row[column * bits / 8 + 1],
                                   row[column * bits / 8]);
                }
                ASSERT_EQ(pixels.pixel(x, y), expected) << x << ',' << y;
            }
    }
}

TEST_F(QtScreen, WhatWasDrawnIsSeenOnceTheDeviceContextIsReleased) {
    CDC* dc = m_Wnd.GetDC();
    ASSERT_NE(dc, nullptr);
    EXPECT_TRUE(dc->FillRect(CRect(5, 5, 15, 15), COLOR_BTNFACE));
    EXPECT_TRUE(dc->InvertRect(CRect(5, 5, 10, 15)));
    m_Wnd.ReleaseDC(dc);
    const QRgb face = m_Canvas.palette().color(QPalette::Button).rgb();
    const QImage seen = m_Canvas.grab().toImage();
    EXPECT_EQ(seen.pixel(12, 10), face);
    EXPECT_EQ(seen.pixel(7, 10), face ^ 0x00FFFFFFu);
}

TEST_F(QtScreen, DrawingOnACanvasThatIsHiddenDoesNotShowIt) {
    m_Canvas.hide();
    CDC* dc = m_Wnd.GetDC();
    ASSERT_NE(dc, nullptr);
    EXPECT_TRUE(dc->FillRect(CRect(0, 0, 10, 10), COLOR_BTNFACE));
    m_Wnd.ReleaseDC(dc);
    EXPECT_FALSE(m_Canvas.isVisible());
    m_Canvas.show();
    const QRgb face = m_Canvas.palette().color(QPalette::Button).rgb();
    EXPECT_EQ(m_Canvas.grab().toImage().pixel(3, 3), face);
}

TEST_F(QtScreen, ATextIsDrawnWithinItsRectangle) {
    CDC* dc = m_Wnd.GetDC();
    ASSERT_NE(dc, nullptr);
    m_Canvas.fnGetPixels().fill(0xFF010203u);
    TEXTMETRICA metrics;
    ASSERT_TRUE(dc->GetTextMetrics(&metrics));
    EXPECT_EQ(metrics.tmHeight, metrics.tmAscent + metrics.tmDescent);
    CRect needed(7, 9, 0, 0);
    EXPECT_EQ(dc->DrawText("100%", -1, &needed, DT_CALCRECT | DT_SINGLELINE), metrics.tmHeight);
    EXPECT_EQ(needed.TopLeft(), CPoint(7, 9));
    EXPECT_EQ(needed.Height(), metrics.tmHeight);
    SIZE extent;
    ASSERT_TRUE(dc->GetTextExtentPoint32("100%", 4, &extent));
    EXPECT_EQ(needed.Width(), extent.cx);
    CRect place(10, 10, 22, 16); // deliberately too small
    dc->SetBkMode(TRANSPARENT);
    EXPECT_GT(dc->DrawText("100%", -1, &place, DT_CENTER | DT_VCENTER | DT_SINGLELINE), 0);
    m_Wnd.ReleaseDC(dc);
    const QImage& pixels = m_Canvas.fnGetPixels();
    int inside = 0;
    for (int y = 0; y < pixels.height(); ++y)
        for (int x = 0; x < pixels.width(); ++x) {
            const bool changed = pixels.pixel(x, y) != 0xFF010203u;
            if (QRect(10, 10, 12, 6).contains(x, y))
                inside += changed ? 1 : 0;
            else
                ASSERT_FALSE(changed) << x << ',' << y;
        }
    EXPECT_GT(inside, 0);
}

TEST_F(QtScreen, IndicesTakeTheirColoursFromTheSelectedPaletteAsTheyAreDrawn) {
    Dib dib;
    dib.m_Header.biSize = 40;
    dib.m_Header.biWidth = 4;
    dib.m_Header.biHeight = 1;
    dib.m_Header.biPlanes = 1;
    dib.m_Header.biBitCount = 8;
    for (int i = 0; i < 256; ++i)
        dib.m_Table[2 * i] = static_cast<std::uint8_t>(i);
    struct {
        LOGPALETTE m_Head{0x300, 3, {{10, 20, 30, 0}}};
        PALETTEENTRY m_Rest[2] = {{40, 50, 60, 0}, {70, 80, 90, 0}};
    } entries;
    CPalette palette;
    ASSERT_TRUE(palette.CreatePalette(&entries.m_Head));
    const std::uint8_t row[4] = {2, 0, 1, 3}; // there is no entry 3
    CDC* dc = m_Wnd.GetDC();
    EXPECT_EQ(dc->SelectPalette(&palette, false), nullptr);
    EXPECT_EQ(fnScreen().fnSetDIBitsToDevice(dc, 0, 0, 4, 1, 0, 0, 0, 1, row, &dib.m_Header,
                                             DIB_PAL_COLORS),
              1);
    const PALETTEENTRY other{1, 1, 1, 0};
    palette.SetPaletteEntries(0, 1, &other); // pixels already drawn keep their colours
    palette.DeleteObject();
    EXPECT_EQ(dc->SelectPalette(nullptr, false), nullptr);
    m_Wnd.ReleaseDC(dc);
    const QImage& pixels = m_Canvas.fnGetPixels();
    EXPECT_EQ(pixels.pixel(0, 0), qRgb(70, 80, 90));
    EXPECT_EQ(pixels.pixel(1, 0), qRgb(10, 20, 30));
    EXPECT_EQ(pixels.pixel(2, 0), qRgb(40, 50, 60));
    EXPECT_EQ(pixels.pixel(3, 0), qRgb(0, 0, 0));
}

TEST_F(QtScreen, WhatCannotBeDrawnIsRefused) {
    Dib dib;
    const std::uint8_t row[4] = {};
    EXPECT_EQ(fnScreen().fnSetDIBitsToDevice(nullptr, 0, 0, 1, 1, 0, 0, 0, 1, row, &dib.m_Header,
                                             DIB_RGB_COLORS),
              0);
    CDC* dc = m_Wnd.GetDC();
    EXPECT_EQ(fnScreen().fnSetDIBitsToDevice(dc, 0, 0, 1, 1, 0, 0, 0, 1, row, &dib.m_Header,
                                             DIB_RGB_COLORS),
              -1);
    EXPECT_EQ(fnScreen().fnSetDIBitsToDevice(dc, 0, 0, 1, 1, 0, 0, 0, 1, row, nullptr, 0), -1);
    m_Wnd.ReleaseDC(dc);
    dib.m_Header = {40, 1, 1, 1, 24, 0, 0, 0, 0, 0, 0};
    CDC* whole = fnScreen().fnGetDC(nullptr);
    ASSERT_NE(whole, nullptr);
    EXPECT_EQ(fnScreen().fnSetDIBitsToDevice(whole, 0, 0, 1, 1, 0, 0, 0, 1, row, &dib.m_Header, 0),
              -1);
    fnScreen().fnReleaseDC(nullptr, whole);
    auto* gone = new QWidget;
    CqQtWnd wnd(gone);
    delete gone;
    EXPECT_FALSE(wnd.IsWindow());
    EXPECT_EQ(wnd.GetDC(), nullptr);
    EXPECT_EQ(wnd.GetClientRect(), CRect());
    wnd.InvalidateRect(nullptr, false);
}

TEST_F(QtScreen, AnImageIsDrawnByTheLibraryOnACanvasAndOnAnImageView) {
    CqImage image(50, 30, 24, nullptr, 0);
    CqColor red;
    red.m_Red = 200;
    image.fnFill(red, nullptr, false);
    image.fnDrawInit(1u, false, CRect(0, 0, 60, 40), CPoint(0, 0), &m_Wnd);
    image.fnFill(red, nullptr, true); // draws each part as it goes
    EXPECT_EQ(m_Canvas.fnGetPixels().pixel(49, 29), qRgb(200, 0, 0));
    EXPECT_NE(m_Canvas.fnGetPixels().pixel(50, 29), qRgb(200, 0, 0));

    CqImageView view;
    view.resize(100, 100);
    ASSERT_TRUE(fnShow(view));
    CqQtWnd wnd(&view);
    image.fnDrawInit(1u, false, wnd.GetClientRect(), CPoint(0, 0), &wnd);
    image.fnFill(red, nullptr, true);
    EXPECT_EQ(qobject_cast<CqQtCanvas*>(view.viewport())->fnGetPixels().pixel(3, 3),
              qRgb(200, 0, 0));
}

TEST_F(QtScreen, AnEightBitScreenIsDrawnThroughThePaletteOf216Colours) {
    q32Detach();
    CqQtOptions options = fnOptions();
    options.m_nBits = 8;
    ASSERT_NO_FATAL_FAILURE(fnAttach(options));
    EXPECT_EQ(q32GetDisplayProperty()->fnGetColorDepth(), 8u);
    CqImage image(20, 20, 24, nullptr, 0);
    CqColor color;
    color.m_Red = 255;
    color.m_Green = 102;
    image.fnFill(color, nullptr, false);
    CDC* dc = m_Wnd.GetDC();
    image.fnDrawInit(1u, false, CRect(0, 0, 20, 20), CPoint(0, 0), &m_Wnd);
    EXPECT_TRUE(image.fnDraw(dc, CRect(0, 0, 20, 20), 0, 0, false, false));
    m_Wnd.ReleaseDC(dc);
    EXPECT_EQ(m_Canvas.fnGetPixels().pixel(1, 1), qRgb(255, 102, 0));
}

TEST_F(QtScreen, RegionsAreCombined) {
    CRgn a;
    CRgn b;
    ASSERT_TRUE(a.CreateRectRgnIndirect(CRect(0, 0, 10, 10)));
    ASSERT_TRUE(b.CreateRectRgnIndirect(CRect(5, 5, 15, 15)));
    ASSERT_TRUE(a.CombineRgn(a, b, RGN_AND));
    ASSERT_EQ(a.GetRects().size(), 1u);
    EXPECT_EQ(CRect(a.GetRects()[0]), CRect(5, 5, 10, 10));
}

} // namespace
