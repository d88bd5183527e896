#include "tests/operations/PlainImage.h"
#include "tests/support/AttachedTest.h"

namespace q32::test {
namespace {

/// A 300 x 200 image of 24 bits, six tiles, and a window at (10, 20) of a screen of 32 bits.
class FillDrawTest : public AttachedTest {
protected:
    static constexpr std::uint32_t kRed = 0xFF0000;
    static constexpr std::uint32_t kBlue = 0x0000FF;
    static inline const CqColor kRedColor{255, 0, 0, 255};
    static inline const CqColor kBlueColor{0, 0, 255, 255};

    void SetUp() override {
        AttachedTest::SetUp();
        q32GetDisplayProperty()->fnEnableGamma(false);
        m_pImage = std::make_unique<CqImage>(300u, 200u, 24u, nullptr, 0u);
        m_pImage->fnFill(kBlueColor, nullptr, false);
    }
    void TearDown() override {
        EXPECT_EQ(m_World->m_pScreen->fnGetOpenDCs(), 0u);
        m_pImage.reset();
        AttachedTest::TearDown();
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

/// After each tile, the window shows the tiles so far and no other.
TEST_F(FillDrawTest, TheWindowIsSeenToFillUpTileByTile) {
    for (std::uint64_t shown = 0; shown <= 6; ++shown) {
        m_World->m_pScreen->fnClear();
        m_pImage->fnDrawInit(1, false, CRect(0, 0, 300, 200), CPoint(0, 0), &m_Window);
        // What follows is not put on the screen, and the fill goes on all the same.
        m_World->m_pScreen->m_SetDIBits.fnFail(shown + 1, CqHeadlessCalls::kForever);
        m_pImage->fnFill(kBlueColor, nullptr, false);
        m_pImage->fnFill(kRedColor, nullptr, true);
        m_World->m_pScreen->m_SetDIBits.fnFailNever();
        const int sizes[] = {128 * 128, 128 * 128, 44 * 128, 128 * 72, 128 * 72, 44 * 72};
        int wanted = 0;
        for (std::uint64_t i = 0; i < shown; ++i)
            wanted += sizes[i];
        EXPECT_EQ(fnCount(kRed), wanted) << shown << " tiles";
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

TEST_F(FillDrawTest, AFilledRectangleShowsItselfAlone) {
    m_pImage->fnDrawInit(1, false, CRect(5, 7, 305, 207), CPoint(0, 0), &m_Window);
    const CRect rect(120, 100, 150, 140);
    m_pImage->fnFill(kRedColor, &rect, true);
    EXPECT_EQ(fnCount(kRed), 30 * 40);
    EXPECT_EQ(fnCount(kBlue), 0);
    EXPECT_EQ(fnAt(125, 107), kRed);
    EXPECT_EQ(fnAt(154, 146), kRed);
    EXPECT_EQ(fnAt(155, 146), 0u);
}

TEST_F(FillDrawTest, AFilledRectangleIsCutToTheViewAndMovedWithItsOrigin) {
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

TEST_F(FillDrawTest, WithoutAWindowTheFillStands) {
    const CRect rect(0, 0, 10, 10);
    m_pImage->fnFill(kRedColor, &rect, true);
    m_pImage->fnFill(kRedColor, nullptr, true);
    EXPECT_EQ(m_pImage->fnGetPixelColor(299, 199), kRedColor);
    EXPECT_TRUE(fnDraws().empty());
}

TEST_F(FillDrawTest, AWindowWithoutADeviceContextLeavesTheFillStanding) {
    m_pImage->fnDrawInit(1, false, CRect(0, 0, 300, 200), CPoint(0, 0), &m_Window);
    m_World->m_pScreen->m_GetDC.fnFail(1, CqHeadlessCalls::kForever);
    const CRect rect(0, 0, 10, 10);
    m_pImage->fnFill(kRedColor, &rect, true);
    EXPECT_EQ(m_pImage->fnGetPixelColor(9, 9), kRedColor);
    EXPECT_TRUE(fnDraws().empty());
}

} // namespace
} // namespace q32::test
