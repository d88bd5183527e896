// The gauge compared with a second computation of every pixel.

#include "tests/services/ProgressWorld.h"
#include "tests/support/GoldenPicture.h"

#include <cstdint>
#include <vector>

namespace {

constexpr std::uint32_t kFace = 0xC0C0C0;
constexpr int kCellHeight = 11; // of a character in the standard font
constexpr int kCellWidth = 6;
const std::string kHint = "Press Esc to abort...";

/// A picture in plain colours.
struct Canvas {
    int m_nWidth, m_nHeight;
    std::vector<std::uint32_t> m_Pixels;

    Canvas(int width, int height, std::uint32_t color)
        : m_nWidth(width), m_nHeight(height),
          m_Pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), color) {}
    std::uint32_t* fnAt(int x, int y) {
        const bool inside = x >= 0 && y >= 0 && x < m_nWidth && y < m_nHeight;
        return inside ? m_Pixels.data() + y * m_nWidth + x : nullptr;
    }
    /// Writes text at (x, y), clipped at column `end`.
    void fnWrite(const std::string& text, int x, int y, int begin, int end) {
        const CqHeadlessFont font(kCellHeight);
        for (int column = 0; column < kCellWidth * static_cast<int>(text.size()); ++column)
            for (int row = 0; row < kCellHeight; ++row)
                if (x + column >= begin && x + column < end &&
                    font.fnIsInk(text[static_cast<std::size_t>(column / kCellWidth)],
                                 column % kCellWidth, row))
                    if (std::uint32_t* pixel = fnAt(x + column, y + row))
                        *pixel = 0;
    }
};

/// The gauge on a bar of 300 x 20: at (6, 2), 288 x 15. The figure's cell is 24 + 6 wide, the bar
/// begins at 36 and has 252 columns, the hint begins at 42.
Canvas fnGauge(const std::string& figure, int filled, bool hint) {
    Canvas gauge(288, 15, kFace);
    gauge.fnWrite(figure, (30 - kCellWidth * static_cast<int>(figure.size())) / 2, 2, 0, 30);
    if (hint)
        gauge.fnWrite(kHint, 42, 2, 42, 288);
    for (int y = 0; y < 15; ++y)
        for (int x = 36; x < 36 + filled; ++x)
            if (std::uint32_t* pixel = gauge.fnAt(x, y))
                *pixel ^= 0xFFFFFF;
    return gauge;
}

class ProgressGauge : public ProgressWorld {
protected:
    void fnExpect(Canvas gauge) {
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 300; ++x) {
                const std::uint32_t* inside = gauge.fnAt(x - 6, y - 2);
                ASSERT_EQ(fnScreen().fnGetPixel(10 + x, 440 + y), inside ? *inside : kFace)
                    << "at " << x << ", " << y;
            }
    }
};

} // namespace

TEST_F(ProgressGauge, LiesBetweenMarginsOfSixTwoPixelsHigherThanTextAtBothEnds) {
    const OpenDisplay display;
    EXPECT_EQ(display.m_rcGauge, CRect(6, 2, 294, 17)); // (20 - 11) >> 1 is 4
    EXPECT_EQ(display.m_rcText, CRect(0, 0, 30, 15));
    EXPECT_EQ(display.m_nLastPercent, -1);
}

TEST_F(ProgressGauge, StaysInsideALowBar) {
    m_Bar.fnMove(CRect(0, 0, 300, 12)); // (12 - 11) >> 1 is 0
    EXPECT_EQ(OpenDisplay().m_rcGauge, CRect(6, 0, 294, 12));
    m_Bar.fnMove(CRect(0, 0, 300, 14)); // 1 - 2 to 12 + 2
    EXPECT_EQ(OpenDisplay().m_rcGauge, CRect(6, 0, 294, 14));
    m_Bar.fnMove(CRect(0, 0, 300, 15)); // 2 - 2 to 13 + 2
    EXPECT_EQ(OpenDisplay().m_rcGauge, CRect(6, 0, 294, 15));
    m_Bar.fnMove(CRect(0, 0, 300, 8)); // (8 - 11) >> 1 is -2: -4 to 9 + 2
    EXPECT_EQ(OpenDisplay().m_rcGauge, CRect(6, 0, 294, 8));
}

TEST_F(ProgressGauge, IsMeasuredInTheIconTitleFont) {
    fnScreen().fnSetIconTitleHeight(22);
    m_Bar.fnMove(CRect(0, 0, 300, 40));
    const OpenDisplay display;
    EXPECT_TRUE(display.m_Font.HasHandle());
    EXPECT_EQ(display.m_rcGauge, CRect(6, 7, 294, 33)); // (40 - 22) >> 1 is 9
    EXPECT_EQ(display.m_rcText, CRect(0, 0, 54, 26));
}

TEST_F(ProgressGauge, ShowsFigureHintAndInvertedBar) {
    CqProgressDisplay display;
    bool aborted = true;
    const std::pair<unsigned, int> kSteps[] = {{0, 0},    {1, 2},    {5, 12},   {37, 93},
                                               {50, 126}, {99, 249}, {100, 252}};
    for (const auto& [percent, filled] : kSteps) {
        display.fnDrawStatus(percent, &aborted);
        EXPECT_FALSE(aborted);
        fnExpect(fnGauge(std::to_string(percent) + "%", filled, true));
    }
}

TEST_F(ProgressGauge, HasNoHintWhenEscIsNotPolled) {
    CqProgressDisplay display;
    display.fnDrawStatus(37, nullptr);
    fnExpect(fnGauge("37%", 93, false));
}

TEST_F(ProgressGauge, TreatsMoreThanAHundredPercentAsAHundred) {
    CqProgressDisplay display;
    display.fnDrawStatus(150, nullptr);
    fnExpect(fnGauge("100%", 252, false));
    const auto painted = fnPaint().m_BitBlt.fnGetCount();
    display.fnDrawStatus(100, nullptr);
    EXPECT_EQ(fnPaint().m_BitBlt.fnGetCount(), painted);
}

TEST_F(ProgressGauge, ShowsTheValueAndDrawsPastTheEndWithAWiderRange) {
    CqProgressDisplay display;
    display.fnSetRange(50, 150);
    display.fnDrawStatus(0, nullptr);
    fnExpect(fnGauge("50%", 126, false));
    display.fnDrawStatus(37, nullptr);
    fnExpect(fnGauge("87%", 219, false)); // 252 x 87 / 100
    display.fnDrawStatus(100, nullptr);
    fnExpect(fnGauge("150%", 378, false)); // clipped by the bitmap
}

TEST_F(ProgressGauge, ClipsAWideFigureToItsCellOnBothSides) {
    CqProgressDisplay display;
    display.fnSetRange(0, 1234567);
    display.fnDrawStatus(100, nullptr);
    fnExpect(fnGauge("1234567%", 252, false));
}

TEST_F(ProgressGauge, ReadsTheValueAsASignedNumber) {
    CqProgressDisplay display;
    display.fnSetRange(0xFFFFFFFF, 0xFFFFFFFF);
    display.fnDrawStatus(0, nullptr);
    // 252 x 4294967295 wraps to -252; as an unsigned number, a hundredth of it is 42949670.
    fnExpect(fnGauge("-1%", 252, false));
}

TEST_F(ProgressGauge, WipesTheBarBeforeItsFirstPictureOnly) {
    fnScreen().fnClear(0x00123456);
    CqProgressDisplay display;
    EXPECT_EQ(fnScreen().fnGetPixel(12, 441), 0x123456u); // not drawn yet
    display.fnDrawStatus(0, nullptr);
    fnExpect(fnGauge("0%", 0, false));
    ASSERT_EQ(m_Bar.fnGetMessages().size(), 1u);
    EXPECT_EQ(m_Bar.fnGetMessages()[0].m_nMessage, UINT{WM_ERASEBKGND});
    EXPECT_NE(m_Bar.fnGetMessages()[0].m_wParam, WPARAM{0});
    display.fnDrawStatus(1, nullptr);
    EXPECT_EQ(m_Bar.fnGetMessages().size(), 1u);
    EXPECT_EQ(fnScreen().fnGetPixel(9, 440), 0x123456u); // beside the bar
    EXPECT_EQ(fnScreen().fnGetPixel(310, 459), 0x123456u);
}

TEST_F(ProgressGauge, IsTheSameOnScreensOf8And16And24Bits) {
    for (const int bits : {8, 16, 24}) {
        CqHeadlessMode mode;
        mode.m_nBits = bits;
        ASSERT_TRUE(fnScreen().fnSetMode(mode));
        CqProgressDisplay display;
        bool aborted;
        display.fnDrawStatus(37, &aborted);
        Canvas gauge = fnGauge("37%", 93, true);
        std::uint32_t face = 0, bar = 0;
        for (int y = 0; y < 15; ++y)
            for (int x = 0; x < 288; ++x) {
                const std::uint32_t raw = fnScreen().fnGetRawPixel(16 + x, 442 + y);
                if (x == 0 && y == 0)
                    face = raw;
                const bool barHere = x >= 36 && x < 36 + 93;
                bar = face ^ ((1u << bits) - 1);
                const bool ink = *gauge.fnAt(x, y) == (barHere ? 0xFFFFFFu : 0u);
                const std::uint32_t plain = barHere ? bar : face;
                if (ink)
                    ASSERT_NE(raw, plain) << bits << " bits at " << x << ", " << y;
                else
                    ASSERT_EQ(raw, plain) << bits << " bits at " << x << ", " << y;
            }
        EXPECT_EQ(fnScreen().fnGetPixel(16, 442), bits == 16 ? 0xC6C3C6u : kFace);
    }
}

TEST_F(ProgressGauge, MatchesTheReviewedPictures) {
    ASSERT_TRUE(fnScreen().fnSetMode({300, 20, 32, 96, 96}));
    m_Bar.fnMove(CRect(0, 0, 300, 20));
    bool aborted;
    {
        CqProgressDisplay display;
        for (const unsigned percent : {0u, 37u, 100u}) {
            display.fnDrawStatus(percent, &aborted);
            fnCompareGolden(fnScreen().fnGetPicture(), "gauge_" + std::to_string(percent));
        }
    }
    CqProgressDisplay display;
    display.fnSetRange(50, 150);
    for (const unsigned percent : {0u, 37u, 100u}) {
        display.fnDrawStatus(percent, &aborted);
        fnCompareGolden(fnScreen().fnGetPicture(), "gauge_50to150_" + std::to_string(percent));
    }
}
