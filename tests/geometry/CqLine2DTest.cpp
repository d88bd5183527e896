#include "q32Base/geometry/CqLine2D.h"

#include "tests/geometry/GeometryTestTools.h"

#include <cstddef>

namespace {

constexpr double kUntouched = 77.0;

CqLine2D fnLine(double x0, double y0, double x1, double y1) {
    return {CqPoint2D(x0, y0), CqPoint2D(x1, y1)};
}

TEST(CqLine2D, StoresItsStartBeforeItsEnd) {
    EXPECT_EQ(offsetof(CqLine2D, m_Start), 0u);
    EXPECT_EQ(offsetof(CqLine2D, m_End), 16u);
    const CqLine2D none;
    EXPECT_BITS(none.m_Start, CqPoint2D(0.0, 0.0));
    EXPECT_BITS(none.m_End, CqPoint2D(0.0, 0.0));
}

TEST(CqLine2D, HasALengthAndPointsBeyondItsEnds) {
    const CqLine2D line = fnLine(1, 2, 4, 6);
    EXPECT_BITS(line.fnFindLength(), 5.0);
    EXPECT_BITS(line.fnComputePointOnLine(0.0), CqPoint2D(1, 2));
    EXPECT_BITS(line.fnComputePointOnLine(1.0), CqPoint2D(4, 6));
    EXPECT_BITS(line.fnComputePointOnLine(2.0), CqPoint2D(7, 10));
    EXPECT_BITS(line.fnComputePointOnLine(-1.0), CqPoint2D(-2, -2));
    const double t = 0.3;
    EXPECT_BITS(line.fnComputePointOnLine(t),
                CqPoint2D(1 * (1.0 - t) + 4 * t, 2 * (1.0 - t) + 6 * t));
}

TEST(CqLine2D, TakesOnlyItsEndsAsPointsOnIt) {
    const CqLine2D line = fnLine(0, 0, 10, 4);
    double t = kUntouched;
    EXPECT_FALSE(line.fnIntersectPoint({5, 2}, t));
    EXPECT_BITS(t, kUntouched);
    EXPECT_FALSE(line.fnIntersectPoint({20, 8}, t));
    EXPECT_FALSE(line.fnIntersectPoint({3, 3}, t));
    EXPECT_BITS(t, kUntouched);
    EXPECT_TRUE(line.fnIntersectPoint({10, 4}, t));
    EXPECT_BITS(t, 1.0);
    EXPECT_TRUE(line.fnIntersectPoint({0.9e-10, -0.9e-10}, t));
    EXPECT_BITS(t, 0.0);
    EXPECT_TRUE(line.fnIntersectPoint({10 + 0.5e-10, 4.0}, t));
    EXPECT_BITS(t, 1.0);
}

TEST(CqLine2D, TakesTheStartFirstWhenBothEndsAreTheSame) {
    double t = kUntouched;
    EXPECT_TRUE(fnLine(3, 3, 3, 3).fnIntersectPoint({3, 3}, t));
    EXPECT_BITS(t, 0.0);
}

TEST(CqLine2D, DividesTheStepsWhenRoundingMakesThemEqualVectors) {
    // The point differs from the end by one unit in the last place, 1.2e-7, but the steps from the
    // distant start round to the same vector.
    const double away = -1e17;
    const double end = 1e9;
    const double point = std::nextafter(end, 2e9);
    ASSERT_EQ(end - away, point - away);
    double t = kUntouched;
    EXPECT_TRUE(fnLine(away, 0, end, 0).fnIntersectPoint({point, 0.0}, t));
    EXPECT_BITS(t, 1.0);
    t = kUntouched;
    EXPECT_TRUE(fnLine(0, away, 0, end).fnIntersectPoint({0.0, point}, t));
    EXPECT_BITS(t, 1.0);
}

TEST(CqLine2D, FindsTheFootOfThePerpendicular) {
    const CqLine2D line = fnLine(0, 0, 10, 0);
    double t = kUntouched;
    CqPoint2D nearest;
    EXPECT_TRUE(line.fnFindNearestPoint({4, 7}, t, &nearest));
    EXPECT_BITS(t, 0.4);
    EXPECT_BITS(nearest, CqPoint2D(4, 0));
    EXPECT_FALSE(line.fnFindNearestPoint({12, 3}, t, &nearest));
    EXPECT_BITS(t, 1.2);
    EXPECT_BITS(nearest, CqPoint2D(12, 0));
    EXPECT_FALSE(line.fnFindNearestPoint({-5, 3}, t, nullptr));
    EXPECT_BITS(t, -0.5);
    EXPECT_TRUE(line.fnFindNearestPoint({10 + 0.5e-9, 3.0}, t, nullptr));
    EXPECT_FALSE(line.fnFindNearestPoint({10 + 2e-9, 3.0}, t, nullptr));
}

TEST(CqLine2D, TakesAFootOnASegmentOfNoLengthAsAHitWithNotANumber) {
    double t = kUntouched;
    CqPoint2D nearest;
    EXPECT_TRUE(fnLine(3, 3, 3, 3).fnFindNearestPoint({5, 5}, t, &nearest));
    EXPECT_TRUE(std::isnan(t));
    EXPECT_BITS(nearest, CqPoint2D(kNaN, kNaN));
}

TEST(CqLine2D, FindsTheCrossingWithAnotherSegment) {
    double t = kUntouched;
    CqPoint2D hit;
    EXPECT_TRUE(fnLine(0, 0, 2, 2).fnIntersectLine(fnLine(0, 2, 2, 0), t, &hit));
    EXPECT_BITS(t, 0.5);
    EXPECT_BITS(hit, CqPoint2D(1, 1));
    EXPECT_TRUE(fnLine(0, 0, 2, 2).fnIntersectLine(fnLine(0, 2, 2, 0), t, nullptr));
}

TEST(CqLine2D, LeavesItsOutputsWithoutACrossing) {
    double t = kUntouched;
    CqPoint2D hit(7, 7);
    EXPECT_FALSE(fnLine(0, 0, 1, 1).fnIntersectLine(fnLine(3, 0, 3, 9), t, &hit));
    EXPECT_FALSE(fnLine(3, 0, 3, 9).fnIntersectLine(fnLine(0, 0, 1, 1), t, &hit));
    EXPECT_BITS(t, kUntouched);
    EXPECT_BITS(hit, CqPoint2D(7, 7));
}

TEST(CqLine2D, CountsSegmentsThatTouchAtAnEnd) {
    double t = kUntouched;
    EXPECT_TRUE(fnLine(0, 0, 4, 0).fnIntersectLine(fnLine(4, 0, 4, 4), t, nullptr));
    EXPECT_BITS(t, 1.0);
    EXPECT_TRUE(fnLine(4, 0, 0, 0).fnIntersectLine(fnLine(4, 0, 4, 4), t, nullptr));
    EXPECT_BITS(t, 0.0);
    // A gap below the tolerance is allowed, and t isn't clamped.
    EXPECT_TRUE(
        fnLine(0, 0, 1, 0).fnIntersectLine(fnLine(1 + 0.5e-10, -1, 1 + 0.5e-10, 1), t, nullptr));
    EXPECT_GT(t, 1.0);
    EXPECT_FALSE(
        fnLine(0, 0, 1, 0).fnIntersectLine(fnLine(1 + 2e-10, -1, 1 + 2e-10, 1), t, nullptr));
}

TEST(CqLine2D, DoesNotCrossAParallelSegment) {
    double t = kUntouched;
    EXPECT_FALSE(fnLine(0, 0, 5, 5).fnIntersectLine(fnLine(1, 0, 6, 5), t, nullptr));
    EXPECT_FALSE(fnLine(0, 0, 5, 5).fnIntersectLine(fnLine(6, 5, 1, 0), t, nullptr));
    EXPECT_BITS(t, kUntouched);
}

TEST(CqLine2D, CrossesASegmentOnTheSameLineWithNotANumber) {
    double t = kUntouched;
    EXPECT_TRUE(fnLine(0, 0, 5, 5).fnIntersectLine(fnLine(0, 0, 5, 5), t, nullptr));
    EXPECT_TRUE(std::isnan(t));
    t = kUntouched;
    EXPECT_TRUE(fnLine(0, 0, 1, 0).fnIntersectLine(fnLine(50, 0, 60, 0), t, nullptr)); // disjoint
    EXPECT_TRUE(std::isnan(t));
}

TEST(CqLine2D, CrossesInTheDocumentedOrderOfOperations) {
    CqRandom random(9);
    int hits = 0;
    for (int i = 0; i < 5000; ++i) {
        const CqLine2D one(random.fnPoint(-9, 9), random.fnPoint(-9, 9));
        const CqLine2D two(random.fnPoint(-9, 9), random.fnPoint(-9, 9));
        const double ax = one.m_End.m_X - one.m_Start.m_X;
        const double ay = one.m_End.m_Y - one.m_Start.m_Y;
        const double bx = two.m_Start.m_X - two.m_End.m_X;
        const double by = two.m_Start.m_Y - two.m_End.m_Y;
        const double cx = one.m_Start.m_X - two.m_Start.m_X;
        const double cy = one.m_Start.m_Y - two.m_Start.m_Y;
        const double k = 1.0 / (bx * ay - by * ax);
        const double s = (cx * by - cy * bx) * k;
        const double u = (cy * ax - cx * ay) * k;
        const bool crosses = s > -1e-10 && s < 1.0000000001 && u > -1e-10 && u < 1.0000000001;
        double t = kUntouched;
        CqPoint2D hit;
        ASSERT_EQ(one.fnIntersectLine(two, t, &hit), crosses);
        if (!crosses)
            continue;
        ++hits;
        EXPECT_BITS(t, s);
        EXPECT_BITS(hit, CqPoint2D(one.m_Start.m_X + ax * s, one.m_Start.m_Y + ay * s));
        // The crossing lies on both.
        double foot;
        CqPoint2D nearest;
        EXPECT_TRUE(two.fnFindNearestPoint(hit, foot, &nearest));
        EXPECT_LT(hit.fnFindDistance(nearest), 1e-9);
    }
    EXPECT_GT(hits, 500);
}

TEST(CqLine2D, EndsForAnyNumbers) {
    CqRandom random(10);
    for (int i = 0; i < 20000; ++i) {
        const CqLine2D one({random.fnAnything(), random.fnAnything()},
                           {random.fnAnything(), random.fnAnything()});
        const CqLine2D two({random.fnAnything(), random.fnAnything()},
                           {random.fnAnything(), random.fnAnything()});
        double t = kUntouched;
        CqPoint2D hit;
        // A hit has a parameter inside the segment, or not a number.
        if (one.fnIntersectLine(two, t, &hit)) {
            EXPECT_TRUE(std::isnan(t) || (t > -1e-10 && t < 1.0000000001)) << t;
        } else {
            EXPECT_BITS(t, kUntouched);
        }
    }
}

} // namespace
