#include "q32Base/framework/Exceptions.h"
#include "q32Base/geometry/BezierFlattening_p.h"
#include "q32Base/geometry/CqCubicBezier2D.h"
#include "q32Base/geometry/CqPolyline2D.h"
#include "q32Base/geometry/CqQuadBezier2D.h"
#include "tests/geometry/CurveTestTools.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <vector>

namespace {

CqCubicBezier2D fnCurve(const Points& p) {
    return {p[0], p[1], p[2], p[3], 1.0};
}

struct Segment {
    CqPoint2D m_Start;
    CqPoint2D m_End;
    double m_dLow;
    double m_dHigh;
};

std::vector<Segment> fnPlainSegments(const Points& p, double tolerance) {
    std::vector<Segment> segments;
    fnPlainFlatten(p, tolerance, [&](const Points& part, double low, double high) {
        segments.push_back({part[0], part.back(), low, high});
    });
    return segments;
}

void fnExpectSegments(const CqPolyline2D& polyline, const std::vector<Segment>& expected) {
    ASSERT_EQ(static_cast<std::size_t>(polyline.fnGetNumberLine()), expected.size());
    for (int i = 0; i < polyline.fnGetNumberLine(); ++i) {
        const Segment& segment = expected[static_cast<std::size_t>(i)];
        EXPECT_BITS(polyline.fnGetVertex(i), segment.m_Start);
        EXPECT_BITS(polyline.fnGetVertex(i + 1), segment.m_End);
        double t0;
        double t1;
        EXPECT_EQ(polyline.fnGetParam(i, t0, t1), 0);
        EXPECT_BITS(t0, segment.m_dLow);
        EXPECT_BITS(t1, segment.m_dHigh);
    }
}

TEST(Tessellation, SubdividesACurveAsThePlainRecursionDoes) {
    CqRandom random(50);
    CqPolyline2D polyline;
    for (int i = 0; i < 2000; ++i) {
        const Points p = fnRandomPoints(random, 4);
        const double tolerance = std::pow(10.0, random.fnBetween(-4, 2));
        fnCurve(p).fnTessellate(polyline, tolerance);
        fnExpectSegments(polyline, fnPlainSegments(p, tolerance));
    }
}

TEST(Tessellation, SubdividesALargeCurveIntoManySegments) {
    const Points p = {{0, 0}, {1e6, 3e6}, {2e6, -3e6}, {3e6, 0.0}};
    CqPolyline2D polyline;
    fnCurve(p).fnTessellate(polyline, 0.01);
    EXPECT_GT(polyline.fnGetNumberLine(), 8000);
    fnExpectSegments(polyline, fnPlainSegments(p, 0.01));
    // Later additions grow the lists by their usual rule.
    const int count = polyline.fnGetNumberLine();
    EXPECT_EQ(polyline.fnAddLine({0, 1}, {0, 2}), count + 1);
}

TEST(Tessellation, GivesOneSegmentAtALargeTolerance) {
    CqPolyline2D polyline;
    polyline.fnAddLine({9, 9}, {8, 8}); // the previous content is replaced
    polyline.fnAddParam(5, 3, 4);
    const Points p = {{0, 0}, {1, 5}, {2, -5}, {3, 0}};
    fnCurve(p).fnTessellate(polyline, 1e6);
    fnExpectSegments(polyline, {{{0, 0}, {3, 0}, 0.0, 1.0}});
}

TEST(Tessellation, GivesOneSegmentOfNoLengthForAClosedCurve) {
    CqPolyline2D polyline;
    fnCurve({{4, 4}, {900, 5}, {-300, 700}, {4, 4}}).fnTessellate(polyline, 0.1);
    fnExpectSegments(polyline, {{{4, 4}, {4, 4}, 0.0, 1.0}});
}

TEST(Tessellation, StaysWithinItsToleranceOfTheCurve) {
    CqRandom random(51);
    CqPolyline2D polyline;
    for (int i = 0; i < 300; ++i) {
        Points p(4);
        for (CqPoint2D& point : p)
            point = random.fnPoint(-100, 100);
        const double tolerance = std::pow(10.0, random.fnBetween(-3, 0));
        fnCurve(p).fnTessellate(polyline, tolerance);
        for (int s = 0; s <= 100; ++s) {
            const CqPoint2D on = fnPlainValue(p, s / 100.0);
            double nearest = kMaxDouble;
            for (int l = 0; l < polyline.fnGetNumberLine(); ++l) {
                const CqLine2D line = polyline.fnGetLine(l);
                double t;
                line.fnFindNearestPoint(on, t, nullptr);
                nearest = std::min(
                    nearest, on.fnFindDistance(line.fnComputePointOnLine(std::clamp(t, 0.0, 1.0))));
            }
            EXPECT_LE(nearest, tolerance * 1.000001) << i << " at " << s;
        }
        // Joints lie on the curve at their recorded parameters.
        for (int l = 0; l < polyline.fnGetNumberLine(); ++l) {
            double t0;
            double t1;
            polyline.fnGetParam(l, t0, t1);
            EXPECT_NEAR(polyline.fnGetVertex(l).fnFindDistance(fnPlainValue(p, t0)), 0, 1e-10);
            // The points between them are near the curve, too.
            const CqPoint2D middle = polyline.fnComputePoint(l, 0.5);
            double nearest = kMaxDouble;
            for (int s = 0; s <= 50; ++s)
                nearest = std::min(nearest,
                                   middle.fnFindDistance(fnPlainValue(p, t0 + (t1 - t0) * s / 50)));
            const double gap = polyline.fnGetLine(l).fnFindLength() / 10;
            EXPECT_LE(nearest, tolerance + gap) << i;
        }
    }
}

/// Records its notifications in order.
class CqNotingPolyline : public CqPolyline2D {
public:
    std::vector<int> m_LinesAtRecords;
    void fnAddParam(int tag, double t0, double t1) override {
        m_LinesAtRecords.push_back(fnGetNumberLine());
        CqPolyline2D::fnAddParam(tag, t0, t1);
    }
};

TEST(Tessellation, NotifiesADerivedPolylineOfEachRecordAfterItsSegment) {
    CqNotingPolyline polyline;
    fnCurve({{0, 0}, {0, 80}, {80, 80}, {80, 0}}).fnTessellate(polyline, 0.1);
    ASSERT_GT(polyline.fnGetNumberLine(), 8);
    for (std::size_t i = 0; i < polyline.m_LinesAtRecords.size(); ++i)
        EXPECT_EQ(polyline.m_LinesAtRecords[i], static_cast<int>(i) + 1);
}

TEST(Tessellation, KeepsThePartialResultWhenMemoryRunsOut) {
    const Points p = {{0, 0}, {0, 800}, {800, 800}, {800, 0}};
    const auto expected = fnPlainSegments(p, 0.001);
    ASSERT_GT(expected.size(), 200u);
    const std::size_t before = CqAllocationFailure::fnOutstanding();
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        CqPolyline2D polyline;
        bool raised = false;
        try {
            fnCurve(p).fnTessellate(polyline, 0.001);
        } catch (CMemoryException* exception) {
            exception->Delete();
            raised = true;
        }
        failure.fnEnd();
        EXPECT_EQ(raised, failure.fnHappened());
        EXPECT_LE(static_cast<std::size_t>(polyline.fnGetNumberLine()), expected.size());
        for (int i = 0; i < polyline.fnGetNumberLine(); ++i)
            EXPECT_BITS(polyline.fnGetVertex(i), expected[static_cast<std::size_t>(i)].m_Start);
    });
    EXPECT_GE(failures, 6u);
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), before);
}

TEST(Flatness, ComparesSquaresWithTheSameResultAsRoots) {
    CqRandom random(52);
    for (int i = 0; i < 20000; ++i) {
        const double value = i % 2 == 0 ? std::fabs(random.fnAnySize()) : random.fnBetween(0, 2);
        const double square = q32::fnSquareOfRoot(value);
        EXPECT_GE(std::sqrt(square), value);
        if (square > 0.0) {
            EXPECT_LT(std::sqrt(std::nextafter(square, 0.0)), value);
        }
    }
    EXPECT_BITS(q32::fnSquareOfRoot(0.5), 0.25);
    EXPECT_BITS(q32::fnSquareOfRoot(0.0), 0.0);
    EXPECT_BITS(q32::fnSquareOfRoot(-3.0), 0.0);
    EXPECT_BITS(q32::fnSquareOfRoot(kInf), kInf);
    EXPECT_TRUE(std::isnan(q32::fnSquareOfRoot(kNaN)));
}

TEST(Flatness, IsReachedStrictlyBelowTheThreshold) {
    const CqPoint2D p[4] = {{0, 0}, {1, 3}, {2, -4}, {5, 0}};
    EXPECT_FALSE(q32::FlatnessTest(p, 4.0)(p));
    EXPECT_TRUE(q32::FlatnessTest(p, std::nextafter(4.0, 5.0))(p));
    // Feet beyond the ends of the chord are treated like any other.
    const CqPoint2D beyond[4] = {{0, 0}, {900.0, 0.25}, {-900, 0}, {1, 0}};
    EXPECT_TRUE(q32::FlatnessTest(beyond, 0.5)(beyond));
    const CqPoint2D quad[3] = {{0, 0}, {1, 3}, {5, 0}};
    EXPECT_FALSE(q32::FlatnessTest(quad, 3.0)(quad));
    EXPECT_TRUE(q32::FlatnessTest(quad, 3.1)(quad));
}

/// The rule of the test, with its divisions.
bool fnIsPlainlyFlat(const CqPoint2D (&p)[4], double threshold) {
    double largest = 0.0;
    for (const CqPoint2D& point : p)
        largest = std::max({largest, std::fabs(point.m_X), std::fabs(point.m_Y)});
    const double rounding = largest * q32::kCurveRounding;
    double distances[2];
    for (int i = 0; i < 2; ++i) {
        double t;
        CqPoint2D foot;
        CqLine2D(p[0], p[3]).fnFindNearestPoint(p[i + 1], t, &foot);
        distances[i] = std::sqrt(p[i + 1].fnSquaredDistance(foot));
    }
    const double larger = distances[1] < distances[0] ? distances[0] : distances[1];
    return !(larger >= (threshold < rounding ? rounding : threshold));
}

TEST(Flatness, IsDecidedByTheComputedDistanceAlsoNextToTheThreshold) {
    CqRandom random(54);
    int flat = 0;
    int bent = 0;
    for (int i = 0; i < 20000; ++i) {
        const double size = std::pow(10.0, random.fnBetween(-40, 40));
        const double at = size * random.fnBetween(0, 100);
        CqPoint2D p[4];
        for (CqPoint2D& point : p)
            point =
                CqPoint2D(at + size * random.fnBetween(-1, 1), at + size * random.fnBetween(-1, 1));
        if (i % 16 == 0)
            p[3] = p[0];
        // The distance itself, the numbers around it, and those around the estimate's margin.
        double t;
        CqPoint2D foot;
        CqLine2D(p[0], p[3]).fnFindNearestPoint(p[1 + i % 2], t, &foot);
        const double distance = std::sqrt(p[1 + i % 2].fnSquaredDistance(foot));
        for (const double factor : {1.0, 1.0 + 1e-15, 1.0 - 1e-15, 1.0 + 1e-9, 1.0 - 1e-9,
                                    1.0 + 2e-6, 1.0 - 2e-6, 1.01, 0.99, 100.0, 1e-9}) {
            const double threshold = distance * factor;
            const bool expected = fnIsPlainlyFlat(p, threshold);
            ASSERT_EQ(q32::FlatnessTest(p, threshold)(p), expected) << i << " by " << factor;
            ++(expected ? flat : bent);
        }
    }
    EXPECT_GT(flat, 10000);
    EXPECT_GT(bent, 10000);
}

/// Statistics of the recursion on one curve.
struct Effort {
    long m_nTests = 0;
    long m_nParts = 0;
    double m_dNarrowest = 1.0;
};

template <int kCount>
Effort fnEffort(const CqPoint2D (&points)[kCount], double tolerance) {
    Effort effort;
    const q32::FlatnessTest isFlat(points, tolerance);
    q32::fnFlatten(
        points,
        [&](const CqPoint2D(&part)[kCount]) {
            ++effort.m_nTests;
            return isFlat(part);
        },
        [&](const CqPoint2D(&)[kCount], double low, double high) {
            ++effort.m_nParts;
            effort.m_dNarrowest = std::min(effort.m_dNarrowest, high - low);
        });
    return effort;
}

constexpr double kDeepest = 1.0 / (1 << q32::kCurveDepth);

TEST(FlatteningEffort, IsBoundedForCurvesOfEverySize) {
    CqRandom random(53);
    for (int i = 0; i < 600; ++i) {
        const double size = std::pow(10.0, i - 300);
        CqPoint2D p[4];
        CqPoint2D q[3];
        const Points shape = fnRandomPoints(random, 4);
        for (int k = 0; k < 4; ++k)
            p[k] = shape[static_cast<std::size_t>(k)] * (size / 100.0);
        std::copy_n(p, 3, q);
        // A proportional tolerance, so that the number of parts is that of a small curve.
        EXPECT_LT(fnEffort(p, size * 1e-6).m_nParts, 1 << 14) << i;
        EXPECT_LT(fnEffort(q, size * 1e-6).m_nParts, 1 << 14) << i;
    }
}

TEST(FlatteningEffort, StopsAtTheRoundingOfHugeCoordinates) {
    for (const double size : {1e17, 1e100}) {
        const double rise = size == 1e17 ? 1e11 : size; // one shallow, one with millions of parts
        const CqPoint2D p[4] = {
            {0.0, 0.1 * rise}, {0.3 * size, 0.9 * rise}, {0.7 * size, -0.8 * rise}, {size, 0.0}};
        const Effort effort = fnEffort(p, 0.5);
        EXPECT_LT(effort.m_nParts, size == 1e17 ? 1 << 17 : 1 << 25);
        EXPECT_EQ(effort.m_nTests, 2 * effort.m_nParts - 1);
        EXPECT_GE(effort.m_dNarrowest, kDeepest);
    }
    // Where squares overflow, distances are not numbers, and everything is flat.
    const CqPoint2D p[4] = {{0, 0}, {3e299, 9e299}, {7e299, -8e299}, {1e300, 1e299}};
    EXPECT_LT(fnEffort(p, 0.5).m_nParts, 100);
}

TEST(FlatteningEffort, StopsAtAToleranceOfZero) {
    // A tolerance below the rounding of the coordinates is raised to that rounding.
    // The curve is shallow, which gives thousands of parts instead of millions.
    const CqPoint2D p[4] = {{0, 0}, {1.0, 1e-6}, {2.0, 1e-6}, {3.0, 0.5e-6}};
    for (const double tolerance : {0.0, -1.0, 1e-300}) {
        const Effort effort = fnEffort(p, tolerance);
        EXPECT_GT(effort.m_nParts, 1 << 10) << tolerance;
        EXPECT_LT(effort.m_nParts, 1 << 17) << tolerance;
        EXPECT_GE(effort.m_dNarrowest, kDeepest);
    }
    EXPECT_EQ(fnEffort(p, kNaN).m_nParts, 1);
    EXPECT_EQ(fnEffort(p, kInf).m_nParts, 1);
}

TEST(FlatteningEffort, IsBoundedForInfinitiesAndNotANumber) {
    CqRandom random(54);
    for (int i = 0; i < 50000; ++i) {
        CqPoint2D p[4];
        CqPoint2D q[3];
        for (CqPoint2D& point : p)
            point = CqPoint2D(random.fnAnything(), random.fnAnything());
        bool finite = true;
        for (int k = 0; k < 3; ++k)
            finite = finite && std::isfinite(p[k].m_X) && std::isfinite(p[k].m_Y);
        if (finite)
            p[1].m_X = kInf;
        std::copy_n(p, 3, q);
        EXPECT_LT(fnEffort(p, 0.5).m_nParts, 1 << 13);
        EXPECT_LT(fnEffort(q, 0.5).m_nParts, 1 << 13);
    }
}

TEST(FlatteningEffort, IsBoundedForOperationsOnSuchCurves) {
    CqRandom random(55);
    CqPolyline2D polyline;
    for (int i = 0; i < 2000; ++i) {
        CqPoint2D p[4];
        for (CqPoint2D& point : p)
            point = i % 2 == 0 ? CqPoint2D(random.fnAnything(), random.fnAnything())
                               : random.fnPoint(-1e300, 1e300);
        if (i % 2 == 0)
            p[random.fnInt(0, 2)].m_Y = i % 4 == 0 ? kInf : kNaN;
        const CqCubicBezier2D cubic(p[0], p[1], p[2], p[3], 1.0);
        cubic.fnTessellate(polyline, 0.1);
        EXPECT_GE(polyline.fnGetNumberLine(), 1);
        EXPECT_LT(polyline.fnGetNumberLine(), 1 << 13);
        const CqLine2D line(p[3], p[1]);
        double t[3];
        EXPECT_LT(cubic.fnIntersectLine(line, t[0], t[1], t[2]), 1 << 13);
        const CqQuadBezier2D quad(p[0], p[1], p[2], 1.0);
        EXPECT_LT(quad.fnIntersectLine(line, t[0], t[1]), 1 << 13);
    }
}

TEST(FlatteningEffort, StopsAtTheLastDepthWhateverTheTest) {
    // On one side only, so that the depth is reached in a few steps.
    const CqPoint2D p[4] = {{0, 0}, {1, 1}, {2, 1}, {3, 0}};
    int parts = 0;
    double narrowest = 1.0;
    q32::fnFlatten(
        p, [](const CqPoint2D(&part)[4]) { return part[0].m_X > 0.0; },
        [&](const CqPoint2D(&)[4], double low, double high) {
            ++parts;
            narrowest = std::min(narrowest, high - low);
        });
    EXPECT_EQ(parts, q32::kCurveDepth + 1);
    EXPECT_BITS(narrowest, kDeepest);
}

TEST(FlatteningEffort, UsesOnlyTheToleranceForCurvesOfOrdinaryCoordinates) {
    // Up to 10^14 the rounding is below half a pixel.
    const double size = 1e8;
    const Points p = {{0, 0}, {0.3 * size, size}, {0.7 * size, -size}, {size, 0.0}};
    const CqPoint2D c[4] = {p[0], p[1], p[2], p[3]};
    EXPECT_EQ(static_cast<std::size_t>(fnEffort(c, 0.5).m_nParts), fnPlainSegments(p, 0.5).size());
    CqPoint2D huge[4];
    for (int i = 0; i < 4; ++i)
        huge[i] = c[i] * 1e6;
    EXPECT_BITS(std::fabs(huge[1].m_Y) * q32::kCurveRounding < 0.5 ? 1.0 : 0.0, 1.0);
}

} // namespace
