#include "q32Base/geometry/CqQuadBezier2D.h"

#include "tests/geometry/CurveTestTools.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr double kUntouched = 77.0;

CqQuadBezier2D fnCurve(const Points& p, double thickness = 1.0) {
    return {p[0], p[1], p[2], thickness};
}

const CqQuadBezier2D kArch(CqPoint2D(0, 0), CqPoint2D(1, 2), CqPoint2D(2, 0), 1.5);

void fnExpectCurve(const CqQuadBezier2D& curve, const Points& p, double thickness) {
    double x[3];
    double y[3];
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_BITS(curve.m_Points[i], p[i]);
        x[i] = p[i].m_X;
        y[i] = p[i].m_Y;
    }
    EXPECT_BITS(curve.fnGetThickness(), thickness);
    CqRect2D box = curve.fnGetBoundRect();
    EXPECT_BITS(box.fnTopLeft(),
                CqPoint2D(*std::min_element(x, x + 3), *std::min_element(y, y + 3)));
    EXPECT_BITS(box.fnBottomRight(),
                CqPoint2D(*std::max_element(x, x + 3), *std::max_element(y, y + 3)));
}

TEST(CqQuadBezier2D, IsConstructedWithItsBoundingBox) {
    EXPECT_EQ(offsetof(CqQuadBezier2D, m_Thickness), 48u);
    EXPECT_EQ(offsetof(CqQuadBezier2D, m_BoundRect), 56u);
    fnExpectCurve(CqQuadBezier2D(), {{0, 0}, {0, 0}, {0, 0}}, 0.0);
    fnExpectCurve(kArch, {{0, 0}, {1, 2}, {2, 0}}, 1.5);
    fnExpectCurve(CqQuadBezier2D(CPoint(5, -1), CPoint(-7, 3), CPoint(2, 9), 4.0),
                  {{5, -1}, {-7, 3}, {2, 9}}, 4.0);
    CqQuadBezier2D curve;
    curve = kArch;
    curve.fnSetThickness(9.0);
    fnExpectCurve(curve, {{0, 0}, {1, 2}, {2, 0}}, 9.0);
}

TEST(CqQuadBezier2D, ComputesItsPoints) {
    EXPECT_BITS(kArch.fnComputeValue(0.5), CqPoint2D(1, 1));
    EXPECT_BITS(kArch.fnComputeValue(0.5e-10), CqPoint2D(0, 0));
    EXPECT_BITS(kArch.fnComputeValue(-3), CqPoint2D(0, 0));
    EXPECT_BITS(kArch.fnComputeValue(0.99999999995), CqPoint2D(2, 0));
    EXPECT_BITS(kArch.fnComputeValue(7), CqPoint2D(2, 0));
    CqRandom random(20);
    for (int i = 0; i < 2000; ++i) {
        const Points p = fnRandomPoints(random, 3);
        const double t = random.fnBetween(-0.2, 1.2);
        EXPECT_BITS(fnCurve(p).fnComputeValue(t), fnPlainValue(p, t));
    }
}

TEST(CqQuadBezier2D, HalvesItself) {
    CqRandom random(21);
    for (int i = 0; i < 1000; ++i) {
        const Points p = fnRandomPoints(random, 3);
        Points l;
        Points r;
        fnPlainHalve(p, l, r);
        const CqQuadBezier2D curve = fnCurve(p, i);
        CqQuadBezier2D left;
        CqQuadBezier2D right;
        curve.fnBinarySubdivide(left, right);
        fnExpectCurve(left, l, i);
        fnExpectCurve(right, r, i);
        CqQuadBezier2D self = curve;
        self.fnBinarySubdivide(self, right);
        fnExpectCurve(self, l, i);
        fnExpectCurve(right, r, i);
        self = curve;
        self.fnBinarySubdivide(left, self);
        fnExpectCurve(left, l, i);
        fnExpectCurve(self, r, i);
    }
}

TEST(CqQuadBezier2D, SplitsByRepeatedInterpolation) {
    CqRandom random(22);
    for (int i = 0; i < 1000; ++i) {
        const Points p = fnRandomPoints(random, 3);
        const double t = random.fnBetween(0, 1);
        const CqPoint2D a = p[0] + (p[1] - p[0]) * t;
        const CqPoint2D b = p[1] + (p[2] - p[1]) * t;
        const CqPoint2D m = a + (b - a) * t;
        CqQuadBezier2D left;
        CqQuadBezier2D right = fnCurve(p, 3.0);
        right.fnSubdivide(t, left, right);
        fnExpectCurve(left, {p[0], a, m}, 3.0);
        fnExpectCurve(right, {m, b, p[2]}, 3.0);
        // The halves join on the curve.
        EXPECT_NEAR(m.fnFindDistance(fnPlainValue(p, t)), 0.0, 1e-11);
    }
}

TEST(CqQuadBezier2D, ClampsTheSplitToItsEnds) {
    CqQuadBezier2D left;
    CqQuadBezier2D right;
    kArch.fnSubdivide(2, left, right);
    fnExpectCurve(left, {{0, 0}, {1, 2}, {2, 0}}, 1.5);
    fnExpectCurve(right, {{2, 0}, {2, 0}, {2, 0}}, 1.5);
    kArch.fnSubdivide(-1, left, right);
    fnExpectCurve(left, {{0, 0}, {0, 0}, {0, 0}}, 1.5);
    fnExpectCurve(right, {{0, 0}, {1, 2}, {2, 0}}, 1.5);
}

TEST(CqQuadBezier2D, Reverses) {
    CqQuadBezier2D curve = kArch;
    curve.fnReverse();
    fnExpectCurve(curve, {{2, 0}, {1, 2}, {0, 0}}, 1.5);
}

struct Crossings {
    int m_nCount;
    double m_Other[2] = {kUntouched, kUntouched};
    double m_T[2] = {kUntouched, kUntouched};
};

Crossings fnAtX(const CqQuadBezier2D& c, double x) {
    Crossings r{};
    r.m_nCount = c.fnIntersectX(x, r.m_Other[0], r.m_T[0], r.m_Other[1], r.m_T[1]);
    return r;
}
Crossings fnAtY(const CqQuadBezier2D& c, double y) {
    Crossings r{};
    r.m_nCount = c.fnIntersectY(y, r.m_Other[0], r.m_T[0], r.m_Other[1], r.m_T[1]);
    return r;
}

TEST(CqQuadBezier2D, ReportsCrossingsInTheOrderOfTheFormula) {
    Crossings hits = fnAtY(kArch, 0.5);
    EXPECT_EQ(hits.m_nCount, 2);
    EXPECT_NEAR(hits.m_T[0], 0.1464466094, 1e-10);
    EXPECT_NEAR(hits.m_T[1], 0.8535533906, 1e-10);
    hits = fnAtY(fnCurve({{0, 2}, {1, 0}, {2, 2}}), 1.5);
    EXPECT_EQ(hits.m_nCount, 2);
    EXPECT_NEAR(hits.m_T[0], 0.8535533906, 1e-10);
    EXPECT_NEAR(hits.m_T[1], 0.1464466094, 1e-10);
    EXPECT_NEAR(hits.m_Other[0], 1.7071067812, 1e-10);
}

TEST(CqQuadBezier2D, HasNoCrossingWhereItOnlyTouches) {
    const Crossings hits = fnAtY(kArch, 1);
    EXPECT_EQ(hits.m_nCount, 0);
    EXPECT_BITS(hits.m_T[0], kUntouched);
    EXPECT_BITS(hits.m_Other[0], kUntouched);
}

TEST(CqQuadBezier2D, HasOnlyTheCrossingAtItsEndWhenItEndsOnTheLine) {
    Crossings hits = fnAtX(kArch, 0);
    EXPECT_EQ(hits.m_nCount, 1);
    EXPECT_BITS(hits.m_T[0], 0.0);
    EXPECT_BITS(hits.m_Other[0], 0.0);
    hits = fnAtY(kArch, 0.9e-10); // the start, although the end is there as well
    EXPECT_EQ(hits.m_nCount, 1);
    EXPECT_BITS(hits.m_T[0], 0.0);
    hits = fnAtX(kArch, 2);
    EXPECT_EQ(hits.m_nCount, 1);
    EXPECT_BITS(hits.m_T[0], 1.0);
    EXPECT_BITS(hits.m_T[1], kUntouched);
}

TEST(CqQuadBezier2D, HasNoCrossingWhenItLiesAlongTheLine) {
    EXPECT_EQ(fnAtX(fnCurve({{5, 0}, {5, 3}, {5, 9}}), 5).m_nCount, 0);
    EXPECT_EQ(fnAtY(fnCurve({{0, 5}, {3, 5}, {9, 5}}), 5).m_nCount, 0);
}

TEST(CqQuadBezier2D, CrossesOnceWhenItIsStraightInOneCoordinate) {
    const CqQuadBezier2D curve = fnCurve({{0, 0}, {5, 3}, {10, -4}});
    const Crossings hits = fnAtX(curve, 4);
    EXPECT_EQ(hits.m_nCount, 1);
    EXPECT_BITS(hits.m_T[0], 0.4);
    EXPECT_BITS(hits.m_Other[0], curve.fnComputeValue(0.4).m_Y);
    EXPECT_EQ(fnAtX(curve, -1).m_nCount, 0);
    EXPECT_EQ(fnAtX(curve, 11).m_nCount, 0);
    // Just beyond an end, but within the tolerance in t: the end itself.
    const Crossings start = fnAtX(curve, 2e-10);
    EXPECT_EQ(start.m_nCount, 1);
    EXPECT_BITS(start.m_T[0], 0.0);
    EXPECT_BITS(start.m_Other[0], 0.0);
    const Crossings end = fnAtX(curve, 10 + 2e-10);
    EXPECT_EQ(end.m_nCount, 1);
    EXPECT_BITS(end.m_T[0], 1.0);
    EXPECT_BITS(end.m_Other[0], -4.0);
}

TEST(CqQuadBezier2D, CrossesAsThePlainFormulaDoes) {
    CqRandom random(23);
    int total = 0;
    for (int i = 0; i < 5000; ++i) {
        const Points p = fnRandomPoints(random, 3);
        const double x = random.fnBetween(-100, 100);
        const double x0 = p[0].m_X;
        const double x1 = p[1].m_X;
        const double x2 = p[2].m_X;
        Crossings expected{};
        const double a0 = x0 - x;
        const double a2 = (x0 - (x1 + x1)) + x2;
        const double a1 = (x1 - x0) + (x1 - x0);
        const double disc = a1 * a1 - a0 * a2 * 4.0;
        if (!(std::fabs(x0 - x1) < 1e-10 && std::fabs(x0 - x2) < 1e-10) && std::fabs(a2) >= 1e-10 &&
            disc >= 1e-10) {
            const double r = std::sqrt(disc);
            for (const double root : {(r - a1) / (a2 + a2), (-a1 - r) / (a2 + a2)})
                if (root > 1e-10 && root < 0.9999999999) {
                    expected.m_T[expected.m_nCount] = root;
                    expected.m_Other[expected.m_nCount++] = fnPlainValue(p, root).m_Y;
                }
        }
        const Crossings hits = fnAtX(fnCurve(p), x);
        ASSERT_EQ(hits.m_nCount, expected.m_nCount);
        total += hits.m_nCount;
        for (int h = 0; h < 2; ++h) {
            EXPECT_BITS(hits.m_T[h], expected.m_T[h]);
            EXPECT_BITS(hits.m_Other[h], expected.m_Other[h]);
        }
        for (int h = 0; h < hits.m_nCount; ++h)
            EXPECT_NEAR(fnPlainValue(p, hits.m_T[h]).m_X, x, 1e-6);
        // With the axes exchanged.
        const Crossings turned =
            fnAtY(fnCurve({{p[0].m_Y, p[0].m_X}, {p[1].m_Y, p[1].m_X}, {p[2].m_Y, p[2].m_X}}), x);
        ASSERT_EQ(turned.m_nCount, hits.m_nCount);
        EXPECT_BITS(turned.m_T[0], hits.m_T[0]);
        EXPECT_BITS(turned.m_Other[1], hits.m_Other[1]);
    }
    EXPECT_GT(total, 1000);
}

TEST(CqQuadBezier2D, CrossesALineAsItsFlatPartsDo) {
    CqRandom random(24);
    int total = 0;
    for (int i = 0; i < 2000; ++i) {
        const Points p = fnRandomPoints(random, 3);
        const CqLine2D line(random.fnPoint(-100, 100), random.fnPoint(-100, 100));
        const auto expected = fnPlainCrossings(p, line);
        double t1 = kUntouched;
        double t2 = kUntouched;
        const int count = fnCurve(p).fnIntersectLine(line, t1, t2);
        ASSERT_EQ(static_cast<std::size_t>(count), expected.size());
        EXPECT_BITS(t1, expected.empty() ? kUntouched : expected.front());
        EXPECT_BITS(t2, expected.size() < 2 ? kUntouched : expected.back());
        total += count;
    }
    EXPECT_GT(total, 300);
}

TEST(CqQuadBezier2D, CrossesALineAtPointsOfTheCurve) {
    CqRandom random(25);
    int total = 0;
    for (int i = 0; i < 200; ++i) {
        const Points p = {random.fnPoint(-100, 100), random.fnPoint(-100, 100),
                          random.fnPoint(-100, 100)};
        const CqLine2D line(random.fnPoint(-300, 0), random.fnPoint(0, 300));
        double t[2] = {kUntouched, kUntouched};
        const int count = fnCurve(p).fnIntersectLine(line, t[0], t[1]);
        for (int h = 0; h < std::min(count, 2); ++h) {
            // Parameters are those of chords, so the curve's parameter lies within the same part.
            double from = 0.0;
            double to = 1.0;
            fnPlainFlatten(p, 0.5, [&](const Points&, double low, double high) {
                if (low <= t[h] && t[h] <= high) {
                    from = low;
                    to = high;
                }
            });
            double nearest = kMaxDouble;
            for (int s = 0; s <= 5000; ++s) {
                const CqPoint2D on = fnPlainValue(p, from + (to - from) * s / 5000);
                double foot;
                CqPoint2D there;
                line.fnFindNearestPoint(on, foot, &there);
                nearest = std::min(nearest, on.fnFindDistance(there));
            }
            EXPECT_LT(nearest, 0.55) << i;
            ++total;
        }
    }
    EXPECT_GT(total, 50);
}

TEST(CqQuadBezier2D, ReportsACrossingOnAJointTwice) {
    // The joint of the halves is the top, (50, 50).
    const CqQuadBezier2D arch = fnCurve({{0, 0}, {50, 100}, {100, 0}});
    double t1 = kUntouched;
    double t2 = kUntouched;
    EXPECT_EQ(arch.fnIntersectLine({{50, 0}, {50, 90}}, t1, t2), 2);
    EXPECT_BITS(t1, 0.5);
    EXPECT_BITS(t2, 0.5);
}

TEST(CqQuadBezier2D, CountsMoreCrossingsThanItHasSlotsFor) {
    // A line through three joints, each counted twice, of a curve that lies on one line.
    const CqQuadBezier2D back = fnCurve({{0, 0}, {200, 0}, {0, 100}});
    double t1 = kUntouched;
    double t2 = kUntouched;
    const CqPoint2D quarter = back.fnComputeValue(0.25);
    const CqPoint2D later = back.fnComputeValue(0.75);
    const int count = back.fnIntersectLine({quarter, later}, t1, t2);
    EXPECT_EQ(count, 4);
    EXPECT_BITS(t1, 0.25);
    EXPECT_BITS(t2, 0.75); // holds the last crossing
}

TEST(CqQuadBezier2D, IsOneChordWhenItEndsWhereItStarts) {
    const CqQuadBezier2D loop = fnCurve({{10, 10}, {500, 500}, {10, 10}});
    double t1 = kUntouched;
    double t2 = kUntouched;
    EXPECT_EQ(loop.fnIntersectLine({{100, 0}, {100, 900}}, t1, t2), 0);
    EXPECT_BITS(t1, kUntouched);
}

TEST(CqQuadBezier2D, HasNoCrossingsWhenMemoryRunsOut) {
    const CqQuadBezier2D arch = fnCurve({{0, 0}, {50, 100}, {100, 0}});
    const std::size_t before = CqAllocationFailure::fnOutstanding();
    double t1 = kUntouched;
    double t2 = kUntouched;
    CqAllocationFailure failure(1);
    EXPECT_EQ(arch.fnIntersectLine({{0, 30}, {100, 30}}, t1, t2), 0);
    failure.fnEnd();
    EXPECT_TRUE(failure.fnHappened());
    EXPECT_BITS(t1, kUntouched);
    EXPECT_BITS(t2, kUntouched);
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), before);
    EXPECT_EQ(arch.fnIntersectLine({{0, 30}, {100, 30}}, t1, t2), 2);
}

} // namespace
