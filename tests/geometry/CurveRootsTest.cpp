#include "q32Base/geometry/CurveRoots_p.h"
#include "tests/geometry/GeometryTestTools.h"

#include <vector>

namespace {

/// The closed form, implemented separately.
std::vector<double> fnExpectedRoots(double a, double b, double c) {
    const double pi = 4.0 * std::atan(1.0);
    const double third = 0.3333333333333333;
    const auto cubeRoot = [&](double v) {
        return v >= 0 ? std::pow(v, third) : -std::pow(-v, third);
    };
    const double q = ((a * a * a) * 0.07407407407407407 - (a * b) * third + c) * 0.5;
    const double p = (b - (a * a) * third) * third;
    const double p3 = p * p * p;
    const double d = p3 + q * q;
    std::vector<double> roots;
    if (std::fabs(d) < 1e-10 && std::fabs(q) < 1e-10)
        return {std::fabs(a / 3) < 1e-10 ? 0.0 : a * -0.3333333333333333};
    if (std::fabs(d) < 1e-10) {
        const double w = q <= 0 ? std::pow(-q, third) : -std::pow(q, third);
        roots = {2 * w, -w};
    } else if (d < 0) {
        const double phi = std::acos(-(q / std::sqrt(-p3))) * third;
        const double s = std::sqrt(-p);
        roots = {2 * std::cos(phi) * s, -2.0 * std::cos(phi + pi * third) * s,
                 -2.0 * std::cos(phi - pi * third) * s};
    } else {
        const double r = std::sqrt(d);
        roots = {cubeRoot(r - q) + cubeRoot(-q - r)};
    }
    for (double& root : roots) {
        root = (root * 3.0 - a) * third;
        if (std::fabs(root) < 1e-10)
            root = 0.0;
    }
    return roots;
}

void fnExpectRoots(double a, double b, double c) {
    double roots[3] = {77, 78, 79};
    const auto expected = fnExpectedRoots(a, b, c);
    const int count = q32::fnSolveCubic(a, b, c, roots);
    ASSERT_EQ(static_cast<std::size_t>(count), expected.size()) << a << " " << b << " " << c;
    for (int i = 0; i < 3; ++i)
        EXPECT_BITS(roots[i], i < count ? expected[static_cast<std::size_t>(i)] : 77.0 + i);
}

TEST(CurveRoots, FindsThreeRootsInTheOrderOfTheCosineForm) {
    double roots[3];
    // (x - 1)(x - 2)(x - 4), falling: the leading coefficient is positive.
    ASSERT_EQ(q32::fnSolveCubic(-7, 14, -8, roots), 3);
    EXPECT_NEAR(roots[0], 4.0, 1e-12);
    EXPECT_NEAR(roots[1], 2.0, 1e-12);
    EXPECT_NEAR(roots[2], 1.0, 1e-12);
}

TEST(CurveRoots, FindsOneRoot) {
    double roots[3] = {0, 78, 79};
    ASSERT_EQ(q32::fnSolveCubic(0, 0, -8, roots), 1);
    EXPECT_NEAR(roots[0], 2.0, 1e-15);
    EXPECT_BITS(roots[1], 78.0);
    ASSERT_EQ(q32::fnSolveCubic(0, 0, 8, roots), 1);
    EXPECT_NEAR(roots[0], -2.0, 1e-15);
}

TEST(CurveRoots, FindsADoubleRootAsTheSecondOfTwo) {
    double roots[3] = {0, 0, 79};
    ASSERT_EQ(q32::fnSolveCubic(-4, 5, -2, roots), 2); // (x - 1)^2 (x - 2)
    EXPECT_NEAR(roots[0], 2.0, 1e-7);
    EXPECT_NEAR(roots[1], 1.0, 1e-7);
    EXPECT_BITS(roots[2], 79.0);
    ASSERT_EQ(q32::fnSolveCubic(4, 5, 2, roots), 2); // mirrored, with q above 0
    EXPECT_NEAR(roots[0], -2.0, 1e-7);
    EXPECT_NEAR(roots[1], -1.0, 1e-7);
}

TEST(CurveRoots, CountsATripleRootOnce) {
    double roots[3] = {0, 78, 79};
    ASSERT_EQ(q32::fnSolveCubic(-6, 12, -8, roots), 1); // (x - 2)^3
    EXPECT_BITS(roots[0], -6 * -0.3333333333333333);
    EXPECT_BITS(roots[1], 78.0);
    ASSERT_EQ(q32::fnSolveCubic(0, 0, 0, roots), 1);
    EXPECT_BITS(roots[0], 0.0); // not minus zero
}

TEST(CurveRoots, SetsRootsNearZeroToZero) {
    double roots[3];
    ASSERT_EQ(q32::fnSolveCubic(-3, 2, 0, roots), 3); // x (x - 1) (x - 2)
    EXPECT_BITS(roots[2], 0.0);
}

TEST(CurveRoots, FollowsTheClosedFormBitForBit) {
    CqRandom random(15);
    for (int i = 0; i < 20000; ++i)
        fnExpectRoots(random.fnBetween(-9, 9), random.fnBetween(-9, 9), random.fnBetween(-9, 9));
    for (int i = 0; i < 5000; ++i) {
        // Integer roots, some of them double or triple.
        const double x = random.fnInt(-3, 3);
        const double y = random.fnInt(-3, 3);
        const double z = random.fnInt(-3, 3);
        fnExpectRoots(-(x + y + z), x * y + y * z + z * x, -(x * y * z));
    }
    for (int i = 0; i < 5000; ++i)
        fnExpectRoots(random.fnAnySize(), random.fnAnySize(), random.fnAnySize());
}

TEST(CurveRoots, OmitsOnlyRootsClearOfTheCurve) {
    CqRandom random(17);
    int left = 0;
    for (int i = 0; i < 40000; ++i) {
        double p[4];
        for (double& number : p)
            number = i % 8 == 0   ? random.fnAnySize()
                     : i % 8 == 1 ? random.fnInt(-6, 6)
                                  : random.fnBetween(-1000, 1000);
        if (i % 8 == 2) // almost of degree two: distant roots
            p[3] = p[0] - 3.0 * p[1] + 3.0 * p[2] + random.fnBetween(-1e-7, 1e-7);
        const double a0 = p[0] - (i % 8 == 1 ? random.fnInt(-6, 6) : random.fnBetween(-1000, 1000));
        const double a3 = p[3] + (3.0 * p[1] - p[0] - 3.0 * p[2]);
        if (!(std::fabs(a3) >= 1e-10))
            continue;
        const double a2 = 3.0 * p[0] - 6.0 * p[1] + 3.0 * p[2];
        const double a1 = 3.0 * p[1] - 3.0 * p[0];
        double all[3];
        const int count = q32::fnSolveCubic(a2 / a3, a1 / a3, a0 / a3, all);
        double found[3] = {77, 78, 79};
        const int kept = q32::fnFindRoots(p, a0, found);
        int next = 0;
        for (int k = 0; k < count; ++k) {
            if (next < kept && fnSameBits(all[k], found[next])) {
                ++next;
                continue;
            }
            EXPECT_TRUE(all[k] < -1e-9 || all[k] > 1.0 + 1e-9) << i << ": " << all[k];
            ++left;
        }
        ASSERT_EQ(next, kept) << i;
        for (int k = kept; k < 3; ++k)
            EXPECT_BITS(found[k], 77.0 + k);
    }
    EXPECT_GT(left, 10000);
}

TEST(CurveRoots, EndsForAnyNumbers) {
    CqRandom random(16);
    for (int i = 0; i < 20000; ++i) {
        double roots[3];
        const int count =
            q32::fnSolveCubic(random.fnAnything(), random.fnAnything(), random.fnAnything(), roots);
        EXPECT_GE(count, 1);
        EXPECT_LE(count, 3);
    }
}

TEST(CurveRoots, ACurveThatIsAPointMeetsNoLine) {
    double roots[3] = {77, 78, 79};
    EXPECT_EQ(q32::fnFindRoots({5.0, 5.0, 5.0}, 2.0, roots), 0);
    EXPECT_EQ(q32::fnFindRoots({5.0, 5.0, 5.0, 5.0}, 2.0, roots), 0);
    EXPECT_BITS(roots[0], 77.0);
}

} // namespace
