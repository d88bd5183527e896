// Masks of strokes, compared with a plain reading of their rule.
#include "q32Base/operations/Stroke.h"

#include "tests/operations/PlainImage.h"
#include "tests/operations/StepDisplay.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/Sanitizers.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace q32::test {
namespace {

using Points = std::vector<CqPoint2D>;

/// Whether a place is at most `reach` from the line between two points.
bool fnPlainReach(const CqPoint2D& a, const CqPoint2D& b, double x, double y, double reach) {
    const double dx = b.m_X - a.m_X;
    const double dy = b.m_Y - a.m_Y;
    const double square = dx * dx + dy * dy;
    double t = 0;
    if (square > 0)
        t = std::min(std::max(((x - a.m_X) * dx + (y - a.m_Y) * dy) / square, 0.0), 1.0);
    const double ex = (x - a.m_X) - t * dx;
    const double ey = (y - a.m_Y) - t * dy;
    return ex * ex + ey * ey <= reach * reach;
}

int fnPlainWeight(const Points& points, double width, LONG x, LONG y) {
    int count = 0;
    for (int row = 0; row < 16; ++row)
        for (int column = 0; column < 16; ++column) {
            const double px = x - 0.5 + (column + 0.5) / 16;
            const double py = y - 0.5 + (row + 0.5) / 16;
            bool covered = fnPlainReach(points.front(), points.front(), px, py, width / 2);
            for (std::size_t i = 0; i + 1 < points.size() && !covered; ++i)
                covered = fnPlainReach(points[i], points[i + 1], px, py, width / 2);
            count += covered ? 1 : 0;
        }
    return (count * 255 + 128) / 256;
}

class StrokeTest : public AttachedTest {
protected:
    Random m_Random{117};

    double fnPlace(double low, double high) {
        return low + (high - low) * (static_cast<double>(m_Random() % 100000) / 100000);
    }
    /// Expects the mask to hold the plain weights wherever there are any in the area.
    static void fnCheck(const Points& points, double width, const CRect& area) {
        CqMask mask;
        const bool made = q32MakeStrokeMask(points, width, area, mask, nullptr);
        const Rows rows = made ? fnRows(mask) : Rows();
        const CRect bound = made ? mask.m_rectBound : CRect(0, 0, 0, 0);
        for (LONG y = area.top; y < area.bottom; ++y)
            for (LONG x = area.left; x < area.right; ++x) {
                const bool inside = bound.PtInRect(CPoint(x, y));
                const int weight = inside ? rows[static_cast<std::size_t>(y - bound.top)]
                                                [static_cast<std::size_t>(x - bound.left)]
                                          : 0;
                ASSERT_EQ(weight, fnPlainWeight(points, width, x, y))
                    << x << ' ' << y << " of width " << width;
            }
    }
};

TEST_F(StrokeTest, FollowsItsRuleForAnyPath) {
    for (int round = 0; round < fnRandomCases(30); ++round) {
        Points points;
        for (unsigned i = 0; i < 1 + m_Random() % 5; ++i)
            points.emplace_back(fnPlace(-8, 38), fnPlace(-8, 28));
        const double width = fnPlace(0.05, m_Random() % 2 ? 2 : 15);
        ASSERT_NO_FATAL_FAILURE(fnCheck(points, width, CRect(0, 0, 30, 20)));
    }
}

TEST_F(StrokeTest, FollowsItsRuleWhereEdgesMeetTheCentresOfSquares) {
    const CRect area(-3, -2, 14, 12);
    for (const double width : {0.0625, 0.125, 1.0, 2.0, 3.0625, 6.25}) {
        ASSERT_NO_FATAL_FAILURE(fnCheck({{2, 3}, {9, 3}}, width, area));
        ASSERT_NO_FATAL_FAILURE(fnCheck({{2.03125, 8.03125}, {2.03125, 1.03125}}, width, area));
        ASSERT_NO_FATAL_FAILURE(fnCheck({{0, 0}, {8, 8}, {8, 8}}, width, area));
        ASSERT_NO_FATAL_FAILURE(fnCheck({{4, 4}}, width, area));
        ASSERT_NO_FATAL_FAILURE(fnCheck({{1.0, 4.0}, {12.0, 4.0000001}}, width, area));
    }
}

TEST_F(StrokeTest, AWholePixelHasFullWeightAndAHalfOneHalf) {
    CqMask mask;
    ASSERT_TRUE(
        q32MakeStrokeMask(Points{{-10, 4}, {30, 4}}, 1, CRect(0, 0, 20, 20), mask, nullptr));
    const auto weight = [&](LONG y) {
        return fnRows(mask)[static_cast<std::size_t>(y - mask.m_rectBound.top)][7];
    };
    EXPECT_EQ(weight(4), 255);
    ASSERT_TRUE(q32MakeStrokeMask(Points{{-10.0, 4.5}, {30.0, 4.5}}, 1, CRect(0, 0, 20, 20), mask,
                                  nullptr));
    EXPECT_EQ(weight(4), 128);
    EXPECT_EQ(weight(5), 128);
}

TEST_F(StrokeTest, ALongStrokeIsTheSameInPieces) {
    const Points points = {{-1e6, -7e5}, {1e6, 7.00013e5}, {40.0, 1e9}};
    CqMask whole;
    const CRect area(0, 0, 64, 48);
    ASSERT_TRUE(q32MakeStrokeMask(points, 5.5, area, whole, nullptr));
    const Rows all = fnRows(whole);
    for (LONG y = 0; y < 48; y += 16)
        for (LONG x = 0; x < 64; x += 16) {
            CqMask part;
            if (!q32MakeStrokeMask(points, 5.5, CRect(x, y, x + 16, y + 16), part, nullptr))
                continue;
            const Rows rows = fnRows(part);
            for (LONG row = 0; row < part.m_rectBound.Height(); ++row)
                for (LONG column = 0; column < part.m_rectBound.Width(); ++column)
                    ASSERT_EQ(rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)],
                              all[static_cast<std::size_t>(part.m_rectBound.top + row -
                                                           whole.m_rectBound.top)]
                                 [static_cast<std::size_t>(part.m_rectBound.left + column -
                                                           whole.m_rectBound.left)]);
        }
}

TEST_F(StrokeTest, WhatIsNoStrokeAndAnAbortLeaveTheMaskUnchanged) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    constexpr double kEndless = std::numeric_limits<double>::infinity();
    const CRect area(0, 0, 30, 30);
    const Points line = {{3, 4}, {20, 11}};
    CqMask mask(20, 20);
    fnSetAll(mask, 7);
    const auto expectRefused = [&](const Points& points, double width, const CRect& place) {
        EXPECT_FALSE(q32MakeStrokeMask(points, width, place, mask, nullptr));
    };
    expectRefused({}, 2, area);
    for (const double width : {0.0, -1.0, kNone, kEndless, 2147483648.0})
        expectRefused(line, width, area);
    for (const double place : {kNone, kEndless, -kEndless, 2147483648.0, -2147483648.0}) {
        expectRefused({{3.0, 4.0}, {place, 5.0}}, 2, area);
        expectRefused({{3.0, 4.0}, {5.0, place}}, 2, area);
    }
    expectRefused(line, 2, CRect(5, 5, 5, 9));
    expectRefused(line, 2, CRect(40, 0, 50, 30));
    for (const std::size_t stop : {0u, 3u}) {
        StepDisplay display(stop);
        EXPECT_FALSE(q32MakeStrokeMask(line, 2, area, mask, &display));
        EXPECT_EQ(display.m_Percents.size(), stop + 1);
    }
    EXPECT_TRUE(mask.m_rectBound == CRect(0, 0, 20, 20));
    EXPECT_EQ(fnRows(mask), Rows(20, Bytes(20, 7)));
    StepDisplay display;
    ASSERT_TRUE(q32MakeStrokeMask(line, 2, area, mask, &display));
    EXPECT_EQ(display.m_Percents, fnRun(static_cast<unsigned int>(mask.m_rectBound.Height())));
}

TEST_F(StrokeTest, TheLargestPlacesAreWithinBounds) {
    constexpr double kMax = 1 << 30;
    CqMask mask;
    ASSERT_TRUE(q32MakeStrokeMask(Points{{-kMax, -kMax}, {kMax, kMax}}, kMax, CRect(-5, -5, 5, 5),
                                  mask, nullptr));
    EXPECT_EQ(fnRows(mask), Rows(10, Bytes(10, 255)));
}

} // namespace
} // namespace q32::test
