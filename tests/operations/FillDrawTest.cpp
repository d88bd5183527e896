#include "tests/operations/PlainImage.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

namespace q32::test {
namespace {

/// A 300 x 200 image, six tiles from 8 bits on, and a window at (10, 20) of a screen of 32 bits.
class FillDrawTest : public AttachedTest {
protected:
    static constexpr std::uint32_t kRed = 0xFF0000;
    static constexpr std::uint32_t kBlue = 0x0000FF;
    static inline const CqColor kRedColor{255, 0, 0, 255};
    static inline const CqColor kBlueColor{0, 0, 255, 255};

    void SetUp() override {
        AttachedTest::SetUp();
        q32GetDisplayProperty()->fnEnableGamma(false);
        fnMakeImage(24);
    }
    void TearDown() override {
        EXPECT_EQ(m_World->m_pScreen->fnGetOpenDCs(), 0u);
        m_pImage.reset();
        AttachedTest::TearDown();
    }

    /// A blue image; red and blue are its only colours below 16 bits.
    void fnMakeImage(unsigned int bits) {
        static constexpr RGBQUAD kPalette[] = {{255, 0, 0, 0}, {0, 0, 255, 0}};
        m_pImage = bits < 9 ? std::make_unique<CqImage>(300u, 200u, bits, kPalette, 2u)
                            : std::make_unique<CqImage>(300u, 200u, bits, nullptr, 0u);
        m_pImage->fnFill(kBlueColor, nullptr, false);
    }
    /// Changes the screen's depth; no draw produces the raw pixel 0xEE.
    void fnSetScreen(int bits) {
        ASSERT_TRUE(m_World->m_pScreen->fnSetMode({1024, 768, bits, 96, 96}));
        q32GetDisplayProperty()->fnUpdate();
        m_World->m_pScreen->fnClear(0xEE);
        m_World->m_pScreen->fnClearDraws();
    }
    /// Pixels of the client area drawn since then.
    int fnCountDrawn() const {
        int count = 0;
        for (int y = 0; y < 400; ++y)
            for (int x = 0; x < 600; ++x)
                count += m_World->m_pScreen->fnGetRawPixel(10 + x, 20 + y) != 0xEE ? 1 : 0;
        return count;
    }
    /// Pixel of the client area.
    std::uint32_t fnAt(int x, int y) const {
        return m_World->m_pScreen->fnGetPixel(10 + x, 20 + y);
    }
    /// Pixels of a colour in the client area.
    int fnCount(std::uint32_t color) const {
        int count = 0;
        for (int y = 0; y < 400; ++y)
            for (int x = 0; x < 600; ++x)
                count += fnAt(x, y) == color ? 1 : 0;
        return count;
    }
    const std::vector<CqHeadlessDraw>& fnDraws() const { return m_World->m_pScreen->fnGetDraws(); }

    CqHeadlessWnd m_Window{RECT{10, 20, 610, 420}};
    std::unique_ptr<CqImage> m_pImage;
};

TEST_F(FillDrawTest, AFillOfTheWholeImageShowsTileByTile) {
    m_pImage->fnDrawInit(1, false, CRect(0, 0, 300, 200), CPoint(0, 0), &m_Window);
    m_pImage->fnFill(kRedColor, nullptr, true);
    ASSERT_EQ(fnDraws().size(), 6u);
    const CRect tiles[] = {{0, 0, 128, 128},   {128, 0, 256, 128},   {256, 0, 300, 128},
                           {0, 128, 128, 200}, {128, 128, 256, 200}, {256, 128, 300, 200}};
    for (std::size_t i = 0; i < 6; ++i) {
        const CqHeadlessDraw& draw = fnDraws()[i];
        EXPECT_EQ(draw.m_nX, tiles[i].left);
        EXPECT_EQ(draw.m_nY, tiles[i].top);
        EXPECT_EQ(draw.m_nWidth, static_cast<UINT>(tiles[i].Width()));
        EXPECT_EQ(draw.m_nHeight, static_cast<UINT>(tiles[i].Height()));
        EXPECT_EQ(draw.m_pWindow, &m_Window);
    }
    EXPECT_EQ(fnCount(kRed), 300 * 200);
}

/// After each tile, the window shows exactly the tiles so far.
TEST_F(FillDrawTest, TheWindowFillsUpTileByTile) {
    for (std::uint64_t shown = 0; shown <= 6; ++shown) {
        m_World->m_pScreen->fnClear();
        m_pImage->fnDrawInit(1, false, CRect(0, 0, 300, 200), CPoint(0, 0), &m_Window);
        // Later tiles can't be drawn, and the fill continues.
        m_World->m_pScreen->m_SetDIBits.fnFail(shown + 1, CqHeadlessCalls::kForever);
        m_pImage->fnFill(kBlueColor, nullptr, false);
        m_pImage->fnFill(kRedColor, nullptr, true);
        m_World->m_pScreen->m_SetDIBits.fnFailNever();
        const int sizes[] = {128 * 128, 128 * 128, 44 * 128, 128 * 72, 128 * 72, 44 * 72};
        int expected = 0;
        for (std::uint64_t i = 0; i < shown; ++i)
            expected += sizes[i];
        EXPECT_EQ(fnCount(kRed), expected) << shown << " tiles";
        EXPECT_EQ(m_pImage->fnGetPixelColor(299, 199), kRedColor);
    }
}

TEST_F(FillDrawTest, ATileOutsideTheViewIsFilledButNotShown) {
    m_pImage->fnDrawInit(1, false, CRect(0, 0, 40, 50), CPoint(130, 10), &m_Window);
    m_pImage->fnFill(kRedColor, nullptr, true);
    EXPECT_EQ(fnDraws().size(), 1u);
    EXPECT_EQ(fnCount(kRed), 40 * 50);
    EXPECT_EQ(m_pImage->fnGetPixelColor(0, 0), kRedColor);
}

TEST_F(FillDrawTest, AFilledRectangleRedrawsOnlyItself) {
    m_pImage->fnDrawInit(1, false, CRect(5, 7, 305, 207), CPoint(0, 0), &m_Window);
    const CRect rect(120, 100, 150, 140);
    m_pImage->fnFill(kRedColor, &rect, true);
    EXPECT_EQ(fnCount(kRed), 30 * 40);
    EXPECT_EQ(fnCount(kBlue), 0);
    EXPECT_EQ(fnAt(125, 107), kRed);
    EXPECT_EQ(fnAt(154, 146), kRed);
    EXPECT_EQ(fnAt(155, 146), 0u);
}

TEST_F(FillDrawTest, AFilledRectangleIsClippedToTheViewAndMovedWithItsOrigin) {
    m_pImage->fnDrawInit(1, false, CRect(0, 0, 100, 80), CPoint(110, 90), &m_Window);
    const CRect rect(100, 80, 150, 140);
    m_pImage->fnFill(kRedColor, &rect, true);
    EXPECT_EQ(fnCount(kRed), 40 * 50);
    EXPECT_EQ(fnAt(0, 0), kRed);
    EXPECT_EQ(fnAt(39, 49), kRed);
    EXPECT_EQ(fnAt(40, 49), 0u);
}

TEST_F(FillDrawTest, AFilledRectangleOutsideTheViewShowsNothing) {
    m_pImage->fnDrawInit(1, false, CRect(0, 0, 50, 50), CPoint(0, 0), &m_Window);
    const CRect rect(60, 60, 70, 70);
    m_pImage->fnFill(kRedColor, &rect, true);
    EXPECT_TRUE(fnDraws().empty());
    EXPECT_EQ(m_pImage->fnGetPixelColor(60, 60), kRedColor);
}

TEST_F(FillDrawTest, AFilledRectangleGrowsWithAnEnlargedPicture) {
    m_pImage->fnDrawInit(2, false, CRect(0, 0, 600, 400), CPoint(0, 0), &m_Window);
    const CRect rect(10, 20, 30, 25);
    m_pImage->fnFill(kRedColor, &rect, true);
    EXPECT_EQ(fnCount(kRed), 40 * 10);
    EXPECT_EQ(fnAt(20, 40), kRed);
    EXPECT_EQ(fnAt(59, 49), kRed);
}

TEST_F(FillDrawTest, AFilledRectangleShrinksWithAReducedPicture) {
    m_pImage->fnDrawInit(3, true, CRect(0, 0, 100, 66), CPoint(0, 0), &m_Window);
    const CRect rect(10, 20, 31, 35); // to 3, 6, 10, 11
    m_pImage->fnFill(kRedColor, &rect, true);
    EXPECT_EQ(fnCount(kRed) + fnCount(kBlue), 7 * 5);
    EXPECT_EQ(fnAt(9, 10), kRed);
    EXPECT_EQ(fnAt(10, 10), 0u);
}

TEST_F(FillDrawTest, AScaleOf1OrLessShowsTheRectangleUnscaled) {
    m_pImage->fnDrawInit(1.0, CRect(0, 0, 150, 100), &m_Window); // a fit of 0.5
    m_pImage->fnFill(kRedColor, nullptr, false);
    const CRect rect(20, 10, 60, 40);
    m_pImage->fnFill(kRedColor, &rect, true);
    ASSERT_FALSE(fnDraws().empty());
    EXPECT_EQ(fnDraws()[0].m_nX, 20);
    EXPECT_EQ(fnDraws()[0].m_nY, 10);
    EXPECT_EQ(fnDraws()[0].m_nWidth, 40u);
    EXPECT_EQ(fnDraws()[0].m_nHeight, 30u);
}

TEST_F(FillDrawTest, WithoutAWindowTheFillIsKept) {
    const CRect rect(0, 0, 10, 10);
    m_pImage->fnFill(kRedColor, &rect, true);
    m_pImage->fnFill(kRedColor, nullptr, true);
    EXPECT_EQ(m_pImage->fnGetPixelColor(299, 199), kRedColor);
    EXPECT_TRUE(fnDraws().empty());
}

TEST_F(FillDrawTest, WithoutADeviceContextTheFillIsKept) {
    m_pImage->fnDrawInit(1, false, CRect(0, 0, 300, 200), CPoint(0, 0), &m_Window);
    m_World->m_pScreen->m_GetDC.fnFail(1, CqHeadlessCalls::kForever);
    const CRect rect(0, 0, 10, 10);
    m_pImage->fnFill(kRedColor, &rect, true);
    EXPECT_EQ(m_pImage->fnGetPixelColor(9, 9), kRedColor);
    EXPECT_TRUE(fnDraws().empty());
}

TEST_F(FillDrawTest, APictureOfEveryDepthShowsItsFill) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        m_World->m_pScreen->fnClear();
        fnMakeImage(bits);
        m_pImage->fnDrawInit(1, false, CRect(0, 0, 300, 200), CPoint(0, 0), &m_Window);
        m_World->m_pScreen->fnClearDraws();
        m_pImage->fnFill(kRedColor, nullptr, true);
        const std::uint32_t red = bits == 16 ? 0xF80000 : kRed;              // low bits are lost
        EXPECT_EQ(fnDraws().size(), bits == 4 ? 1u : 6u) << bits << " bits"; // one tile, or six
        EXPECT_EQ(fnCount(red), 300 * 200) << bits << " bits";

        m_pImage->fnFill(kBlueColor, nullptr, false);
        m_World->m_pScreen->fnClear();
        const CRect rect(120, 100, 150, 140);
        m_pImage->fnFill(kRedColor, &rect, true);
        EXPECT_EQ(fnCount(red), 30 * 40) << bits << " bits";
        EXPECT_EQ(fnCount(0), 600 * 400 - 30 * 40) << bits << " bits";
        EXPECT_EQ(fnAt(120, 100), red);
        EXPECT_EQ(fnAt(149, 139), red);
    }
}

TEST_F(FillDrawTest, AScreenOf256ColoursShowsFillsOfEveryDepth) {
    fnSetScreen(8);
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        fnMakeImage(bits);
        m_pImage->fnDrawInit(1, false, CRect(0, 0, 300, 200), CPoint(0, 0), &m_Window);
        m_World->m_pScreen->fnClear(0xEE);
        m_World->m_pScreen->fnClearDraws();
        m_pImage->fnFill(kRedColor, nullptr, true);
        EXPECT_EQ(fnDraws().size(), bits == 4 ? 1u : 6u) << bits << " bits";
        EXPECT_EQ(fnCountDrawn(), 300 * 200) << bits << " bits";
        if (bits < 9) {
            EXPECT_EQ(fnCount(kRed), 300 * 200) << bits << " bits"; // by the image's own palette
        }

        m_World->m_pScreen->fnClear(0xEE);
        const CRect rect(120, 100, 150, 140);
        m_pImage->fnFill(kRedColor, &rect, true);
        EXPECT_EQ(fnCountDrawn(), 30 * 40) << bits << " bits";
        EXPECT_NE(m_World->m_pScreen->fnGetRawPixel(10 + 120, 20 + 100), 0xEEu);
        EXPECT_NE(m_World->m_pScreen->fnGetRawPixel(10 + 149, 20 + 139), 0xEEu);
    }
}

TEST_F(FillDrawTest, AFractionalScaleMultipliesAndTruncates) {
    m_pImage->fnDrawInit(1.0, CRect(0, 0, 450, 300), &m_Window); // a fit of 1.5
    const CRect rect(11, 11, 21, 21);                            // from 16.5 to 31.5
    m_pImage->fnFill(kRedColor, &rect, true);
    ASSERT_EQ(fnDraws().size(), 1u);
    EXPECT_EQ(fnDraws()[0].m_nX, 16);
    EXPECT_EQ(fnDraws()[0].m_nY, 16);
    EXPECT_EQ(fnDraws()[0].m_nWidth, 15u);
    EXPECT_EQ(fnDraws()[0].m_nHeight, 15u);
}

/// Whatever allocation of drawing fails, the fill is kept and nothing is thrown.
TEST_F(FillDrawTest, ExhaustedMemoryInDrawingNeverReachesTheFill) {
    const CRect all(0, 0, 300, 200);
    Bytes red;
    for (int i = 0; i < 300; ++i)
        red.insert(red.end(), {255, 0, 0});
    for (const int screen : {32, 8})
        for (const CRect* rect : {&all, static_cast<const CRect*>(nullptr)}) {
            fnSetScreen(screen);
            const std::size_t failures = fnFailEachAllocation(
                [&] {
                    fnMakeImage(24); // without the buffers of an earlier draw
                    m_pImage->fnDrawInit(1, false, all, CPoint(0, 0), &m_Window);
                },
                [&](CqAllocationFailure& failure) {
                    const bool raised =
                        fnRaisesMemoryException([&] { m_pImage->fnFill(kRedColor, rect, true); });
                    failure.fnEnd();
                    EXPECT_FALSE(raised);
                    EXPECT_EQ(fnRows(*m_pImage), Rows(200, red));
                    EXPECT_EQ(m_World->m_pScreen->fnGetOpenDCs(), 0u);
                });
            EXPECT_GE(failures, 3u) << screen; // at least two buffers and a device context
        }
}

} // namespace
} // namespace q32::test
