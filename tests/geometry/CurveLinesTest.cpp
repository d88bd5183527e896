#include "q32Base/geometry/CqCubicBezier2D.h"
#include "tests/geometry/CurveTestTools.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>

namespace {

constexpr double kUntouched = 77.0;

CqCubicBezier2D fnCurve(const Points& p) {
    return {p[0], p[1], p[2], p[3], 1.0};
}

TEST(CqCubicBezier2DAndLines, CrossAsTheFlatPartsDo) {
    CqRandom random(40);
    int total = 0;
    for (int i = 0; i < 3000; ++i) {
        const Points p = fnRandomPoints(random, 4);
        const CqLine2D line(random.fnPoint(-100, 100), random.fnPoint(-100, 100));
        const auto expected = fnPlainCrossings(p, line);
        double t[3] = {kUntouched, kUntouched, kUntouched};
        const int count = fnCurve(p).fnIntersectLine(line, t[0], t[1], t[2]);
        ASSERT_EQ(static_cast<std::size_t>(count), expected.size());
        EXPECT_BITS(t[0], count < 1 ? kUntouched : expected[0]);
        EXPECT_BITS(t[1], count < 2 ? kUntouched : expected[1]);
        EXPECT_BITS(t[2], count < 3 ? kUntouched : expected.back());
        total += count;
    }
    EXPECT_GT(total, 500);
}

TEST(CqCubicBezier2DAndLines, CrossAtPointsOfTheCurve) {
    CqRandom random(41);
    int total = 0;
    for (int i = 0; i < 1000; ++i) {
        Points p(4);
        for (CqPoint2D& point : p)
            point = random.fnPoint(-100, 100);
        const CqLine2D line(random.fnPoint(-300, 0), random.fnPoint(0, 300));
        double t[3] = {kUntouched, kUntouched, kUntouched};
        const int count = fnCurve(p).fnIntersectLine(line, t[0], t[1], t[2]);
        for (int h = 0; h < std::min(count, 3); ++h) {
            // Parameters are those of chords, so the curve's parameter may differ slightly.
            double nearest = kMaxDouble;
            for (int s = -500; s <= 500; ++s) {
                const CqPoint2D on = fnPlainValue(p, t[h] + s * 0.0001);
                double foot;
                CqPoint2D there;
                line.fnFindNearestPoint(on, foot, &there);
                nearest = std::min(nearest, on.fnFindDistance(there));
            }
            EXPECT_LT(nearest, 0.55) << i;
            ++total;
        }
    }
    EXPECT_GT(total, 300);
}

TEST(CqCubicBezier2DAndLines, CrossAtTheChordsParameterWhenTheCurveIsFlat) {
    // Parameters are uneven along this curve, but even along its chord.
    const Points p = {{0, 0}, {0.0, 0.4}, {1.0, 0.4}, {100, 0}};
    double t[3] = {kUntouched, kUntouched, kUntouched};
    EXPECT_EQ(fnCurve(p).fnIntersectLine({{25, -9}, {25, 9}}, t[0], t[1], t[2]), 1);
    EXPECT_BITS(t[0], 0.25);
    EXPECT_BITS(t[1], kUntouched);
    EXPECT_EQ(fnCurve(p).fnIntersectLine({{25, 1}, {25, 9}}, t[0], t[1], t[2]), 0);
}

TEST(CqCubicBezier2DAndLines, CrossTwiceOnAJoint) {
    const Points arch = {{0, 0}, {0, 80}, {80, 80}, {80, 0}};
    double t[3] = {kUntouched, kUntouched, kUntouched};
    EXPECT_EQ(fnCurve(arch).fnIntersectLine({{40, 0}, {40, 90}}, t[0], t[1], t[2]), 2);
    EXPECT_BITS(t[0], 0.5);
    EXPECT_BITS(t[1], 0.5);
    EXPECT_BITS(t[2], kUntouched);
}

TEST(CqCubicBezier2DAndLines, CrossMoreOftenThanThereAreSlots) {
    // Through the start, and through the joints at a half and at the last part.
    const Points wave = {{0, 0}, {100, 200}, {200, -200}, {300, 0}};
    double t[3] = {kUntouched, kUntouched, kUntouched};
    const auto expected = fnPlainCrossings(wave, {{-10, 0}, {310, 0}});
    EXPECT_EQ(expected.size(), 4u);
    EXPECT_EQ(fnCurve(wave).fnIntersectLine({{-10, 0}, {310, 0}}, t[0], t[1], t[2]), 4);
    EXPECT_BITS(t[0], 0.0);
    EXPECT_BITS(t[1], 0.5);
    EXPECT_BITS(t[2], 1.0); // holds the last crossing
}

TEST(CqCubicBezier2DAndLines, CrossOnceWhenTheCurveEndsWhereItStarts) {
    double t[3] = {kUntouched, kUntouched, kUntouched};
    const Points loop = {{0, 0}, {900, 900}, {-900, 900}, {0, 0}};
    EXPECT_EQ(fnCurve(loop).fnIntersectLine({{-50, 100}, {50, 100}}, t[0], t[1], t[2]), 0);
    EXPECT_BITS(t[0], kUntouched);
}

TEST(CqCubicBezier2DAndLines, DoNotCrossWhenMemoryRunsOut) {
    const CqCubicBezier2D arch = fnCurve({{0, 0}, {0, 80}, {80, 80}, {80, 0}});
    const CqLine2D line({-10, 20}, {90, 20});
    const std::size_t before = CqAllocationFailure::fnOutstanding();
    double t[3] = {kUntouched, kUntouched, kUntouched};
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const int count = arch.fnIntersectLine(line, t[0], t[1], t[2]);
        failure.fnEnd();
        EXPECT_EQ(count, failure.fnHappened() ? 0 : 2);
        if (failure.fnHappened()) {
            EXPECT_BITS(t[0], kUntouched);
        }
        EXPECT_EQ(CqAllocationFailure::fnOutstanding(), before);
    });
    EXPECT_GE(failures, 1u);
}

} // namespace
