#include "q32Base/geometry/CqCubicBezier2D.h"

#include "tests/geometry/CurveTestTools.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr double kUntouched = 77.0;

CqCubicBezier2D fnCurve(const Points& p, double thickness = 1.0) {
    return {p[0], p[1], p[2], p[3], thickness};
}

const Points kWave = {{0, 0}, {1, 3}, {2, -3}, {3, 0}};

void fnExpectCurve(const CqCubicBezier2D& curve, const Points& p, double thickness) {
    double x[4];
    double y[4];
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_BITS(curve.m_Points[i], p[i]);
        x[i] = p[i].m_X;
        y[i] = p[i].m_Y;
    }
    EXPECT_BITS(curve.fnGetThickness(), thickness);
    CqRect2D box = curve.fnGetBoundRect();
    EXPECT_BITS(box.fnTopLeft(),
                CqPoint2D(*std::min_element(x, x + 4), *std::min_element(y, y + 4)));
    EXPECT_BITS(box.fnBottomRight(),
                CqPoint2D(*std::max_element(x, x + 4), *std::max_element(y, y + 4)));
}

TEST(CqCubicBezier2D, IsConstructedWithItsBoundingBox) {
    EXPECT_EQ(offsetof(CqCubicBezier2D, m_Thickness), 64u);
    EXPECT_EQ(offsetof(CqCubicBezier2D, m_BoundRect), 72u);
    fnExpectCurve(CqCubicBezier2D(), {{0, 0}, {0, 0}, {0, 0}, {0, 0}}, 0.0);
    fnExpectCurve(fnCurve(kWave, 2.5), kWave, 2.5);
    fnExpectCurve(CqCubicBezier2D(CPoint(5, -1), CPoint(-7, 3), CPoint(2, 9), CPoint(4, 4), 4.0),
                  {{5, -1}, {-7, 3}, {2, 9}, {4, 4}}, 4.0);
    CqCubicBezier2D curve;
    curve = fnCurve(kWave, 2.5);
    curve.fnSetThickness(9.0);
    fnExpectCurve(curve, kWave, 9.0);
}

TEST(CqCubicBezier2D, ComputesItsPoints) {
    EXPECT_BITS(fnCurve({{0, 0}, {0, 8}, {8, 8}, {8, 0}}).fnComputeValue(0.5), CqPoint2D(4, 6));
    const CqCubicBezier2D wave = fnCurve({{1, 2}, {1, 3}, {2, -3}, {3, 5}});
    for (const double t : {0.5e-10, -3.0, 0.0})
        EXPECT_BITS(wave.fnComputeValue(t), CqPoint2D(1, 2));
    for (const double t : {0.99999999995, 7.0, 1.0})
        EXPECT_BITS(wave.fnComputeValue(t), CqPoint2D(3, 5));
    CqRandom random(30);
    for (int i = 0; i < 2000; ++i) {
        const Points p = fnRandomPoints(random, 4);
        const double t = random.fnBetween(-0.2, 1.2);
        EXPECT_BITS(fnCurve(p).fnComputeValue(t), fnPlainValue(p, t));
    }
}

TEST(CqCubicBezier2D, ComputesItsDerivatives) {
    CqRandom random(31);
    for (int i = 0; i < 2000; ++i) {
        const Points p = fnRandomPoints(random, 4);
        const double t = random.fnBetween(0, 1);
        const double u = 1.0 - t;
        const CqCubicBezier2D curve = fnCurve(p);
        Points q(3);
        for (std::size_t k = 0; k < 3; ++k)
            q[k] = (p[k + 1] - p[k]) * 3.0;
        const CqPoint2D r0 = (q[1] - q[0]) * 2.0;
        const CqPoint2D r1 = (q[2] - q[1]) * 2.0;
        EXPECT_BITS(curve.fnDerivative1(t), (q[0] * u + q[1] * t) * u + (q[1] * u + q[2] * t) * t);
        EXPECT_BITS(curve.fnDerivative2(t), r0 * u + r1 * t);
        for (const double start : {0.0, -5.0, 0.9e-10}) {
            EXPECT_BITS(curve.fnDerivative1(start), (p[1] - p[0]) * 3.0);
            EXPECT_BITS(curve.fnDerivative2(start), (p[2] - p[1] * 2.0 + p[0]) * 6.0);
        }
        for (const double end : {1.0, 5.0, 0.99999999995}) {
            EXPECT_BITS(curve.fnDerivative1(end), (p[3] - p[2]) * 3.0);
            EXPECT_BITS(curve.fnDerivative2(end), (p[3] - p[2] * 2.0 + p[1]) * 6.0);
        }
    }
}

TEST(CqCubicBezier2D, HasNoDirectionWhereItsFirstPointsCoincide) {
    EXPECT_BITS(fnCurve({{4, 4}, {4, 4}, {6, 6}, {9, 9}}).fnDerivative1(0), CqPoint2D(0.0, 0.0));
}

TEST(CqCubicBezier2D, HasTheBernsteinValuesOfZeroNearZeroOnly) {
    for (const double t : {0.0, 0.9e-10, -0.9e-10}) {
        EXPECT_BITS(CqCubicBezier2D::fnBernstein0(t), 1.0);
        EXPECT_BITS(CqCubicBezier2D::fnBernstein1(t), 0.0);
        EXPECT_BITS(CqCubicBezier2D::fnBernstein2(t), 0.0);
        EXPECT_BITS(CqCubicBezier2D::fnBernstein3(t), 0.0);
    }
    for (const double t : {1e-10, 0.3, 1.0 - 1e-12, 1.0, 1.7, -2.0}) {
        const double u = 1.0 - t;
        EXPECT_BITS(CqCubicBezier2D::fnBernstein0(t), u * u * u);
        EXPECT_BITS(CqCubicBezier2D::fnBernstein1(t), u * u * t * 3.0);
        EXPECT_BITS(CqCubicBezier2D::fnBernstein2(t), u * t * t * 3.0);
        EXPECT_BITS(CqCubicBezier2D::fnBernstein3(t), t * t * t);
    }
}

TEST(CqCubicBezier2D, HalvesItself) {
    CqRandom random(32);
    for (int i = 0; i < 1000; ++i) {
        const Points p = fnRandomPoints(random, 4);
        Points l;
        Points r;
        fnPlainHalve(p, l, r);
        const CqCubicBezier2D curve = fnCurve(p, i);
        CqCubicBezier2D left;
        CqCubicBezier2D right;
        curve.fnBinarySubdivide(left, right);
        fnExpectCurve(left, l, i);
        fnExpectCurve(right, r, i);
        EXPECT_NEAR(l[3].fnFindDistance(fnPlainValue(p, 0.5)), 0.0, 1e-12);
        CqCubicBezier2D self = curve;
        self.fnBinarySubdivide(self, right);
        fnExpectCurve(self, l, i);
        fnExpectCurve(right, r, i);
        self = curve;
        self.fnBinarySubdivide(left, self);
        fnExpectCurve(left, l, i);
        fnExpectCurve(self, r, i);
    }
}

TEST(CqCubicBezier2D, SplitsByTheClosedPolynomialForm) {
    CqRandom random(33);
    for (int i = 0; i < 1000; ++i) {
        const Points p = fnRandomPoints(random, 4);
        const double t = random.fnBetween(0, 1);
        const double u = 1.0 - t;
        Points q(7);
        for (double CqPoint2D::*axis : {&CqPoint2D::m_X, &CqPoint2D::m_Y}) {
            const double a = p[0].*axis;
            const double b = p[1].*axis;
            const double c = p[2].*axis;
            const double d = p[3].*axis;
            q[0].*axis = a;
            q[1].*axis = a * u + b * t;
            q[2].*axis = a * u * u + 2 * b * t * u + c * t * t;
            q[3].*axis = a * u * u * u + 3 * b * t * u * u + 3 * c * t * t * u + d * t * t * t;
            q[4].*axis = b * u * u + 2 * c * t * u + d * t * t;
            q[5].*axis = c * u + d * t;
            q[6].*axis = d;
        }
        CqCubicBezier2D left;
        CqCubicBezier2D right = fnCurve(p, 3.0);
        right.fnSubdivide(t, left, right);
        fnExpectCurve(left, {q[0], q[1], q[2], q[3]}, 3.0);
        fnExpectCurve(right, {q[3], q[4], q[5], q[6]}, 3.0);
        // Each half runs along the curve.
        const double s = random.fnBetween(0, 1);
        EXPECT_NEAR(left.fnComputeValue(s).fnFindDistance(fnPlainValue(p, t * s)), 0, 1e-7);
        EXPECT_NEAR(right.fnComputeValue(s).fnFindDistance(fnPlainValue(p, t + u * s)), 0, 1e-7);
    }
}

TEST(CqCubicBezier2D, ClampsTheSplitToItsEnds) {
    CqCubicBezier2D left;
    CqCubicBezier2D right;
    for (const double t : {0.0, -1.0}) {
        fnCurve(kWave).fnSubdivide(t, left, right);
        fnExpectCurve(left, {kWave[0], kWave[0], kWave[0], kWave[0]}, 1.0);
        fnExpectCurve(right, kWave, 1.0);
    }
    fnCurve(kWave).fnSubdivide(4.0, left, right);
    fnExpectCurve(left, kWave, 1.0);
    fnExpectCurve(right, {kWave[3], kWave[3], kWave[3], kWave[3]}, 1.0);
}

TEST(CqCubicBezier2D, Reverses) {
    CqCubicBezier2D curve = fnCurve({{1, 2}, {3, 4}, {5, 6}, {7, 8}}, 2.0);
    curve.fnReverse();
    fnExpectCurve(curve, {{7, 8}, {5, 6}, {3, 4}, {1, 2}}, 2.0);
}

TEST(CqCubicBezier2D, EstimatesAQuarterOfItsLength) {
    EXPECT_BITS(fnCurve({{0, 0}, {1, 0}, {2, 0}, {3, 0}}).fnFindLength(), 0.75);
    EXPECT_BITS(CqCubicBezier2D().fnFindLength(), 0.0);
}

double fnPlainLength(const Points& p, int depth) {
    Points half[2];
    fnPlainHalve(p, half[0], half[1]);
    if (depth < 2)
        return (fnPlainLength(half[0], depth + 1) + fnPlainLength(half[1], depth + 1)) * 0.5;
    double polygon = 0.0;
    for (const Points& h : half)
        for (std::size_t i = 0; i < 3; ++i)
            polygon += h[i].fnFindDistance(h[i + 1]);
    const double chord =
        half[0][0].fnFindDistance(half[0][3]) + half[1][0].fnFindDistance(half[1][3]);
    return (polygon + chord) * 0.5;
}

TEST(CqCubicBezier2D, AveragesTheLengthsOfItsQuarters) {
    CqRandom random(34);
    for (int i = 0; i < 1000; ++i) {
        const Points p = fnRandomPoints(random, 4);
        const double length = fnCurve(p).fnFindLength();
        EXPECT_BITS(length, fnPlainLength(p, 0));
        double walked = 0.0;
        for (int s = 0; s < 1000; ++s)
            walked += fnPlainValue(p, s / 1000.0).fnFindDistance(fnPlainValue(p, (s + 1) / 1000.0));
        EXPECT_NEAR(length * 4.0, walked, walked * 0.05 + 1e-10);
    }
}

struct Crossings {
    int m_nCount;
    double m_Other[3] = {kUntouched, kUntouched, kUntouched};
    double m_T[3] = {kUntouched, kUntouched, kUntouched};
};

Crossings fnAtX(const Points& p, double x) {
    Crossings r{};
    r.m_nCount = fnCurve(p).fnIntersectX(x, r.m_Other[0], r.m_T[0], r.m_Other[1], r.m_T[1],
                                         r.m_Other[2], r.m_T[2]);
    return r;
}
Crossings fnAtY(const Points& p, double y) {
    Crossings r{};
    r.m_nCount = fnCurve(p).fnIntersectY(y, r.m_Other[0], r.m_T[0], r.m_Other[1], r.m_T[1],
                                         r.m_Other[2], r.m_T[2]);
    return r;
}

TEST(CqCubicBezier2D, HasNoCrossingWhenItLiesAlongTheLine) {
    const Crossings hits = fnAtX({{5, 0}, {5, 3}, {5, -9}, {5, 9}}, 5);
    EXPECT_EQ(hits.m_nCount, 0);
    EXPECT_BITS(hits.m_T[0], kUntouched);
}

TEST(CqCubicBezier2D, HasOnlyTheCrossingAtItsEndWhenItEndsOnTheLine) {
    Crossings hits = fnAtY({{0, 2}, {1, 9}, {2, -9}, {3, 4}}, 2);
    EXPECT_EQ(hits.m_nCount, 1); // it returns to 2, but that isn't searched for
    EXPECT_BITS(hits.m_T[0], 0.0);
    EXPECT_BITS(hits.m_Other[0], 0.0);
    EXPECT_BITS(hits.m_T[1], kUntouched);
    hits = fnAtY({{0, 2}, {1, 9}, {2, -9}, {3, 4}}, 4 + 0.5e-10);
    EXPECT_EQ(hits.m_nCount, 1);
    EXPECT_BITS(hits.m_T[0], 1.0);
    EXPECT_BITS(hits.m_Other[0], 3.0);
}

TEST(CqCubicBezier2D, ReportsThreeCrossingsInTheOrderOfTheSolver) {
    // y = 22 t^3 - 33 t^2 + 12 t is 1/2 at t = 1/2, and once on either side.
    const Crossings hits = fnAtY({{0, 0}, {1, 4}, {2, -3}, {3, 1}}, 0.5);
    ASSERT_EQ(hits.m_nCount, 3);
    EXPECT_GT(hits.m_T[0], hits.m_T[1]); // falling
    EXPECT_GT(hits.m_T[1], hits.m_T[2]);
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(fnPlainValue({{0, 0}, {1, 4}, {2, -3}, {3, 1}}, hits.m_T[i]).m_Y, 0.5, 1e-12);
}

TEST(CqCubicBezier2D, HasNoCrossingWhereACurveOfDegreeTwoOnlyTouches) {
    // y = 3 t (1 - t) as a cubic; its top is 3/4.
    const Points arch = {{0, 0}, {1, 1}, {2, 1}, {3, 0}};
    EXPECT_EQ(fnAtY(arch, 0.75).m_nCount, 0);
    const Crossings below = fnAtY(arch, 0.6);
    EXPECT_EQ(below.m_nCount, 2);
    EXPECT_LT(below.m_T[0], below.m_T[1]);
    EXPECT_EQ(fnAtY(arch, 0.8).m_nCount, 0);
}

TEST(CqCubicBezier2D, CountsADoubleRootOfDegreeThree) {
    // y = 192 (t - 1/4)^2 (t - 3/4): touches 0 at 1/4, crosses it at 3/4.
    const Crossings hits = fnAtY({{0, -9}, {1, 19}, {2, -33}, {3, 27}}, 0);
    ASSERT_EQ(hits.m_nCount, 2);
    EXPECT_NEAR(hits.m_T[0], 0.75, 1e-9); // the single root comes first
    EXPECT_NEAR(hits.m_T[1], 0.25, 1e-9);
    EXPECT_BITS(hits.m_T[2], kUntouched);
    const Points exact = {{0, -2}, {1, 2}, {2, -2}, {3, 2}}; // 16 t^3 - 24 t^2 + 12 t - 2: triple
    const Crossings triple = fnAtY(exact, 0);
    ASSERT_EQ(triple.m_nCount, 1);
    EXPECT_NEAR(triple.m_T[0], 0.5, 1e-15);
    // 2 t^3 - 3 t^2 + 1 has 1 twice and -1/2; only the end on the line is reported.
    EXPECT_EQ(fnAtY({{0, 1}, {1, 1}, {2, 0}, {3, 0}}, 0).m_nCount, 1);
}

TEST(CqCubicBezier2D, CrossesOnceWhenItIsStraightInOneCoordinate) {
    const Points p = {{0, 0}, {4, 8}, {8, -8}, {12, 3}};
    const Crossings hits = fnAtX(p, 3);
    EXPECT_EQ(hits.m_nCount, 1);
    EXPECT_BITS(hits.m_T[0], 0.25);
    EXPECT_BITS(hits.m_Other[0], fnPlainValue(p, 0.25).m_Y);
    EXPECT_EQ(fnAtX(p, -1).m_nCount, 0);
    EXPECT_EQ(fnAtX(p, 13).m_nCount, 0);
    EXPECT_BITS(fnAtX(p, -5e-10).m_T[0], 0.0);
    EXPECT_BITS(fnAtX(p, 12 + 5e-10).m_T[0], 1.0);
    EXPECT_BITS(fnAtX(p, 12 + 5e-10).m_Other[0], 3.0);
}

/// Crossings by a separate implementation.
Crossings fnPlainAtX(const Points& p, double x) {
    Crossings r{};
    const double x0 = p[0].m_X;
    const double x1 = p[1].m_X;
    const double x2 = p[2].m_X;
    const double x3 = p[3].m_X;
    const auto tell = [&](double t, double y) {
        r.m_Other[r.m_nCount] = y;
        r.m_T[r.m_nCount++] = t;
    };
    if (std::fabs(x0 - x1) < 1e-10 && std::fabs(x0 - x2) < 1e-10 && std::fabs(x0 - x3) < 1e-10)
        return r;
    const double a0 = x0 - x;
    if (std::fabs(a0) < 1e-10) {
        tell(0.0, p[0].m_Y);
        return r;
    }
    if (std::fabs(x3 - x) < 1e-10) {
        tell(1.0, p[3].m_Y);
        return r;
    }
    const double a3 = x3 + (3 * x1 - x0 - 3 * x2);
    const double a2 = 3 * x0 - 6 * x1 + 3 * x2;
    const double a1 = 3 * x1 - 3 * x0;
    std::vector<double> roots;
    if (std::fabs(a3) >= 1e-10) {
        const double a = a2 / a3;
        const double b = a1 / a3;
        const double c = a0 / a3;
        const double third = 0.3333333333333333;
        const auto cube = [&](double v) {
            return v >= 0 ? std::pow(v, third) : -std::pow(-v, third);
        };
        const double q = (a * a * a * 0.07407407407407407 - a * b * third + c) * 0.5;
        const double pp = (b - a * a * third) * third;
        const double p3 = pp * pp * pp;
        const double d = p3 + q * q;
        if (std::fabs(d) < 1e-10 && std::fabs(q) < 1e-10) {
            roots = {a * -0.3333333333333333};
        } else {
            if (std::fabs(d) < 1e-10) {
                roots = {2 * cube(-q), -cube(-q)};
            } else if (d < 0) {
                const double phi = std::acos(-(q / std::sqrt(-p3))) * third;
                const double s = std::sqrt(-pp);
                roots = {2 * std::cos(phi) * s, -2.0 * std::cos(phi + GEOM_PI * third) * s,
                         -2.0 * std::cos(phi - GEOM_PI * third) * s};
            } else {
                roots = {cube(std::sqrt(d) - q) + cube(-q - std::sqrt(d))};
            }
            for (double& root : roots)
                root = (root * 3.0 - a) * third;
        }
        for (double& root : roots)
            root = std::fabs(root) < 1e-10 ? 0.0 : root;
    } else if (std::fabs(a2) >= 1e-10) {
        const double disc = a1 * a1 - a0 * a2 * 4.0;
        if (disc < 1e-10)
            return r;
        roots = {(std::sqrt(disc) - a1) / (a2 + a2), (-a1 - std::sqrt(disc)) / (a2 + a2)};
    } else if (std::fabs(a1) >= 1e-10) {
        roots = {-(a0 / a1)};
    }
    for (const double root : roots) {
        const double y = fnPlainValue(p, root).m_Y;
        if (std::fabs(root) < 1e-10)
            tell(0.0, y);
        else if (std::fabs(root - 1.0) < 1e-10)
            tell(1.0, y);
        else if (root > 1e-10 && root < 0.9999999999)
            tell(root, y);
    }
    return r;
}

TEST(CqCubicBezier2D, CrossesAsThePlainFormulaDoes) {
    CqRandom random(35);
    int total = 0;
    for (int i = 0; i < 20000; ++i) {
        Points p = fnRandomPoints(random, 4);
        if (i % 4 == 0) // integers, which yield lower degrees and double roots
            for (CqPoint2D& point : p)
                point = CqPoint2D(random.fnInt(-4, 4), random.fnInt(-4, 4));
        const double x = i % 4 == 0 ? random.fnInt(-4, 4) * 0.5 : random.fnBetween(-100, 100);
        const Crossings expected = fnPlainAtX(p, x);
        const Crossings hits = fnAtX(p, x);
        ASSERT_EQ(hits.m_nCount, expected.m_nCount);
        for (int h = 0; h < 3; ++h) {
            EXPECT_BITS(hits.m_T[h], expected.m_T[h]);
            EXPECT_BITS(hits.m_Other[h], expected.m_Other[h]);
        }
        total += hits.m_nCount;
        Points turned = p;
        for (CqPoint2D& point : turned)
            std::swap(point.m_X, point.m_Y);
        const Crossings atY = fnAtY(turned, x);
        ASSERT_EQ(atY.m_nCount, hits.m_nCount);
        for (int h = 0; h < 3; ++h) {
            EXPECT_BITS(atY.m_T[h], hits.m_T[h]);
            EXPECT_BITS(atY.m_Other[h], hits.m_Other[h]);
        }
    }
    EXPECT_GT(total, 5000);
}

TEST(CqCubicBezier2D, CrossesAtPointsOfTheCurve) {
    CqRandom random(36);
    for (int i = 0; i < 5000; ++i) {
        Points p(4);
        for (CqPoint2D& point : p)
            point = random.fnPoint(-100, 100);
        const double x = random.fnBetween(-100, 100);
        const Crossings hits = fnAtX(p, x);
        for (int h = 0; h < hits.m_nCount; ++h) {
            const CqPoint2D found = fnPlainValue(p, hits.m_T[h]);
            EXPECT_NEAR(found.m_X, x, 1e-3) << i; // the closed form loses digits near double roots
            EXPECT_BITS(found.m_Y, hits.m_Other[h]);
        }
    }
}

} // namespace
