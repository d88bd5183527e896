#include "q32Base/geometry/CqPoint2D.h"

#include "q32Base/geometry/CqMatrix2D.h"
#include "q32Base/geometry/CqPoint3D.h"
#include "tests/geometry/GeometryTestTools.h"

#include <climits>
#include <cstddef>

namespace {

TEST(GeometryTolerance, HasTheDocumentedValues) {
    EXPECT_BITS(GEOM_EPSILON, 1e-10);
    EXPECT_BITS(GEOM_PARAM_LOW, -1e-10);
    EXPECT_BITS(GEOM_PARAM_HIGH, 1.0000000001);
    EXPECT_BITS(GEOM_PARAM_ALMOST_ONE, 0.9999999999);
    EXPECT_BITS(GEOM_PI, 4.0 * std::atan(1.0));
    EXPECT_BITS(GEOM_PI, 3.141592653589793);
}

TEST(GeometryTolerance, TreatsNumbersExactlyTheToleranceApartAsNeitherEqualNorUnequal) {
    EXPECT_FALSE(q32::fnIsSame(1e-10, 0.0));
    EXPECT_FALSE(q32::fnIsDifferent(1e-10, 0.0));
    EXPECT_FALSE(q32::fnIsZero(1e-10));
    EXPECT_TRUE(q32::fnIsZero(std::nextafter(1e-10, 0.0)));
    EXPECT_TRUE(q32::fnIsDifferent(std::nextafter(1e-10, 1.0), 0.0));
}

TEST(GeometryTolerance, RefusesOnlyOrderedParametersOutsideOfASegment) {
    EXPECT_FALSE(q32::fnIsOnSegment(GEOM_PARAM_LOW));
    EXPECT_TRUE(q32::fnIsOnSegment(std::nextafter(GEOM_PARAM_LOW, 0.0)));
    EXPECT_FALSE(q32::fnIsOnSegment(GEOM_PARAM_HIGH));
    EXPECT_TRUE(q32::fnIsOnSegment(std::nextafter(GEOM_PARAM_HIGH, 0.0)));
    EXPECT_FALSE(q32::fnIsOnSegment(kInf));
    EXPECT_FALSE(q32::fnIsOnSegment(-kInf));
    EXPECT_TRUE(q32::fnIsOnSegment(kNaN));
}

TEST(CqPoint2D, StoresXBeforeY) {
    EXPECT_EQ(offsetof(CqPoint2D, m_X), 0u);
    EXPECT_EQ(offsetof(CqPoint2D, m_Y), 8u);
}

TEST(CqPoint2D, IsMadeOfIntegersDoublesAndPlatformPoints) {
    EXPECT_BITS(CqPoint2D(), CqPoint2D(0.0, 0.0));
    EXPECT_BITS(CqPoint2D(3, -4), CqPoint2D(3.0, -4.0));
    EXPECT_BITS(CqPoint2D(CPoint(INT_MIN, INT_MAX)), CqPoint2D(-2147483648.0, 2147483647.0));
    CqPoint2D point;
    point = CPoint(7, 8);
    EXPECT_BITS(point, CqPoint2D(7.0, 8.0));
}

TEST(CqPoint2D, TruncatesIntoPlatformPoints) {
    EXPECT_EQ(static_cast<CPoint>(CqPoint2D(1.9, -1.9)), CPoint(1, -1));
    EXPECT_EQ(static_cast<CPoint>(CqPoint2D(-0.99, 0.99)), CPoint(0, 0));
    EXPECT_EQ(static_cast<CPoint>(CqPoint2D(2147483646.9, -2147483647.9)),
              CPoint(2147483646, -2147483647));
}

TEST(CqPoint2D, ClampsToTheRangeOfPlatformPoints) {
    EXPECT_EQ(static_cast<CPoint>(CqPoint2D(1e300, -kInf)), CPoint(INT_MAX, INT_MIN));
    EXPECT_EQ(static_cast<CPoint>(CqPoint2D(2147483648.0, -2147483649.0)),
              CPoint(INT_MAX, INT_MIN));
    EXPECT_EQ(static_cast<CPoint>(CqPoint2D(kNaN, kInf)), CPoint(0, INT_MAX));
}

TEST(CqPoint2D, CalculatesPerCoordinate) {
    CqRandom random(1);
    for (int i = 0; i < 1000; ++i) {
        const CqPoint2D a(random.fnAnySize(), random.fnBetween(-9.0, 9.0));
        const CqPoint2D b(random.fnBetween(-9.0, 9.0), random.fnAnySize());
        const double s = random.fnBetween(-9.0, 9.0);
        const CqPoint2D sum(a.m_X + b.m_X, a.m_Y + b.m_Y);
        const CqPoint2D difference(a.m_X - b.m_X, a.m_Y - b.m_Y);
        const CqPoint2D product(a.m_X * s, a.m_Y * s);
        EXPECT_BITS(a + b, sum);
        EXPECT_BITS(a - b, difference);
        EXPECT_BITS(a * s, product);
        CqPoint2D p = a;
        p.fnAdd(b);
        EXPECT_BITS(p, sum);
        p = a;
        p += b;
        EXPECT_BITS(p, sum);
        p = a;
        p.fnSubtract(b);
        EXPECT_BITS(p, difference);
        p = a;
        p -= b;
        EXPECT_BITS(p, difference);
        p = a;
        p.fnScale(s);
        EXPECT_BITS(p, product);
        p = a;
        p *= s;
        EXPECT_BITS(p, product);
        const double dx = a.m_X - b.m_X;
        const double dy = a.m_Y - b.m_Y;
        EXPECT_BITS(a.fnSquaredDistance(b), dx * dx + dy * dy);
        EXPECT_BITS(a.fnFindDistance(b), std::sqrt(dx * dx + dy * dy));
    }
}

TEST(CqPoint2D, DividesByTheReciprocal) {
    CqPoint2D point(10.0, 6.0);
    point /= 4.0;
    EXPECT_BITS(point, CqPoint2D(2.5, 1.5));
    // 5 * (1 / 49) is the double below 5 / 49.
    const double reciprocal = 1.0 / 49.0;
    ASSERT_NE(49.0 * reciprocal, 1.0);
    EXPECT_BITS(CqPoint2D(49.0, 5.0) / 49.0, CqPoint2D(49.0 * reciprocal, 5.0 * reciprocal));
    point = CqPoint2D(49.0, 5.0);
    point /= 49.0;
    EXPECT_BITS(point, CqPoint2D(49.0 * reciprocal, 5.0 * reciprocal));
}

TEST(CqPoint2D, DoesNotGuardADivisionByZero) {
    EXPECT_BITS(CqPoint2D(1.0, 0.0) / 0.0, CqPoint2D(kInf, kNaN));
}

TEST(CqPoint2D, ComparesEachCoordinateWithinTheTolerance) {
    const CqPoint2D point(1, 2);
    EXPECT_TRUE(point == CqPoint2D(1.0 + 0.5e-10, 2.0 - 0.5e-10));
    EXPECT_FALSE(point != CqPoint2D(1.0 + 0.5e-10, 2.0 - 0.5e-10));
    EXPECT_FALSE(point == CqPoint2D(1.0 + 2e-10, 2.0 - 2e-10));
    EXPECT_TRUE(point != CqPoint2D(1.0 + 2e-10, 2.0 - 2e-10));
    EXPECT_FALSE(point == CqPoint2D(1.0, 2.0 + 2e-10));
    EXPECT_TRUE(point != CqPoint2D(1.0, 2.0 + 2e-10));
    // Both coordinates within the tolerance, though the distance isn't.
    EXPECT_TRUE(CqPoint2D() == CqPoint2D(0.9e-10, 0.9e-10));
}

TEST(CqPoint2D, IsNeitherEqualNorUnequalAtExactlyTheTolerance) {
    EXPECT_FALSE(CqPoint2D() == CqPoint2D(1e-10, 0.0));
    EXPECT_FALSE(CqPoint2D() != CqPoint2D(1e-10, 0.0));
    EXPECT_FALSE(CqPoint2D() == CqPoint2D(0.0, -1e-10));
    EXPECT_FALSE(CqPoint2D() != CqPoint2D(0.0, -1e-10));
}

TEST(CqPoint2D, IsNeitherEqualNorUnequalToNotANumber) {
    EXPECT_FALSE(CqPoint2D(kNaN, 0.0) == CqPoint2D(kNaN, 0.0));
    EXPECT_FALSE(CqPoint2D(kNaN, 0.0) != CqPoint2D(kNaN, 0.0));
}

TEST(CqPoint2D, FindsTheDirectionOfAStep) {
    const CqPoint2D from(5, 5);
    EXPECT_BITS(from.fnComputeAngle(from, false), 0.0);
    EXPECT_BITS(from.fnComputeAngle(from, true), 0.0);
    EXPECT_BITS(CqPoint2D(5, 9).fnComputeAngle(from, false), 90.0);
    EXPECT_BITS(CqPoint2D(5, 9).fnComputeAngle(from, true), GEOM_PI / 2.0);
    EXPECT_BITS(CqPoint2D(5, 1).fnComputeAngle(from, false), -90.0);
    EXPECT_BITS(CqPoint2D(5, 1).fnComputeAngle(from, true), -GEOM_PI / 2.0);
    EXPECT_BITS(CqPoint2D(9, 5).fnComputeAngle(from, false), 0.0);
    EXPECT_BITS(CqPoint2D(1, 5).fnComputeAngle(from, false), 180.0);
    EXPECT_BITS(CqPoint2D(6, 6).fnComputeAngle(from, false), 45.0);
    EXPECT_BITS(CqPoint2D(6, 4).fnComputeAngle(from, true), -GEOM_PI / 4.0);
}

TEST(CqPoint2D, TakesAStepOfAlmostNoWidthAsVertical) {
    const double least = 0.9e-10;
    EXPECT_BITS(CqPoint2D(least, 1e-9).fnComputeAngle(CqPoint2D(), false), 90.0);
    EXPECT_BITS(CqPoint2D(-least, -1e-9).fnComputeAngle(CqPoint2D(), false), -90.0);
    // Exactly at the tolerance it is no longer vertical.
    EXPECT_BITS(CqPoint2D(1e-10, 1e-10).fnComputeAngle(CqPoint2D(), false), 45.0);
    // No width, and a height neither equal nor unequal to zero: upward.
    EXPECT_BITS(CqPoint2D(0.0, 1e-10).fnComputeAngle(CqPoint2D(), false), 90.0);
    EXPECT_BITS(CqPoint2D(0.0, -1e-10).fnComputeAngle(CqPoint2D(), false), -90.0);
}

TEST(CqPoint2D, ConvertsRadiansToDegreesByMultiplyingFirst) {
    CqRandom random(2);
    for (int i = 0; i < 1000; ++i) {
        const CqPoint2D a = random.fnPoint(-50.0, 50.0);
        const CqPoint2D b = random.fnPoint(-50.0, 50.0);
        const double radians = std::atan2(a.m_Y - b.m_Y, a.m_X - b.m_X);
        EXPECT_BITS(a.fnComputeAngle(b, true), radians);
        EXPECT_BITS(a.fnComputeAngle(b, false), radians * 180.0 / (4.0 * std::atan(1.0)));
    }
}

TEST(CqPoint2D, TransformsWithTheOldCoordinates) {
    CqPoint2D point(3.0, 5.0);
    // x' = 2x + 7y + 11, y' = 13x + 17y + 19
    point.fnTransform(CqMatrix2D(2.0, 17.0, 13.0, 7.0, 11.0, 19.0));
    EXPECT_BITS(point, CqPoint2D(52.0, 143.0));
}

TEST(CqPoint2D, AddsTheTranslationBeforeTheShear) {
    CqRandom random(3);
    for (int i = 0; i < 1000; ++i) {
        const CqPoint2D p = random.fnPoint(-5.0, 5.0);
        const CqMatrix2D m(random.fnBetween(-3, 3), random.fnBetween(-3, 3),
                           random.fnBetween(-3, 3), random.fnBetween(-3, 3),
                           random.fnBetween(-3, 3), random.fnBetween(-3, 3));
        CqPoint2D moved = p;
        moved.fnTransform(m);
        const double x = (m.m_ScaleX * p.m_X + m.m_TransX) + p.m_Y * m.m_ShearX;
        const double y = (m.m_ScaleY * p.m_Y + m.m_TransY) + m.m_ShearY * p.m_X;
        EXPECT_BITS(moved, CqPoint2D(x, y));
    }
}

TEST(CqPoint2D, SkipsAShearOfExactlyZero) {
    CqPoint2D point(kInf, 2.0);
    point.fnTransform(CqMatrix2D(1.0, 1.0, 0.0, 0.0, 0.0, 0.0));
    EXPECT_BITS(point, CqPoint2D(kInf, 2.0)); // 0 x infinity would be not a number
    // Any other shear is applied, however small.
    point = CqPoint2D(1e20, 1e20);
    point.fnTransform(CqMatrix2D(0.0, 0.0, 1e-20, 1e-20, 0.0, 0.0));
    EXPECT_BITS(point, CqPoint2D(1.0, 1.0));
}

TEST(CqPoint3D, ComparesExactly) {
    EXPECT_FALSE(CqPoint3D(1, 2, 3) == CqPoint3D(1 + 1e-15, 2.0, 3.0));
    EXPECT_TRUE(CqPoint3D(1, 2, 3) != CqPoint3D(1 + 1e-15, 2.0, 3.0));
    EXPECT_TRUE(CqPoint3D(1, 2, 3) == CqPoint3D(1.0, 2.0, 3.0));
    EXPECT_FALSE(CqPoint3D(1, 2, 3) != CqPoint3D(1.0, 2.0, 3.0));
    EXPECT_FALSE(CqPoint3D(1, 2, 3) == CqPoint3D(1, 2, 4));
    EXPECT_FALSE(CqPoint3D(1, 2, 3) == CqPoint3D(1, 1, 3));
    EXPECT_TRUE(CqPoint3D(kNaN, 0.0, 0.0) != CqPoint3D(kNaN, 0.0, 0.0));
}

TEST(CqPoint3D, CalculatesPerCoordinate) {
    const CqPoint3D a(1.0, 2.0, 3.0);
    const CqPoint3D b(10, 20, 40);
    EXPECT_EQ(a + b, CqPoint3D(11, 22, 43));
    EXPECT_EQ(b - a, CqPoint3D(9, 18, 37));
    EXPECT_EQ(a * 2.0, CqPoint3D(2, 4, 6));
    EXPECT_EQ(b / 49.0, b * (1.0 / 49.0));
    CqPoint3D p;
    EXPECT_EQ(p, CqPoint3D(0, 0, 0));
    p += b;
    p.fnAdd(a);
    EXPECT_EQ(p, CqPoint3D(11, 22, 43));
    p -= a;
    p.fnSubtract(a);
    EXPECT_EQ(p, CqPoint3D(9, 18, 37));
    p *= 2.0;
    p.fnScale(0.5);
    EXPECT_EQ(p, CqPoint3D(9, 18, 37));
    p = b;
    p /= 49.0;
    EXPECT_EQ(p, CqPoint3D(10.0 * (1.0 / 49.0), 20.0 * (1.0 / 49.0), 40.0 * (1.0 / 49.0)));
    EXPECT_BITS(CqPoint3D(2, 3, 6).fnFindDistance(CqPoint3D()), 7.0);
    EXPECT_BITS(CqPoint3D().fnFindDistance(CqPoint3D(2, 3, 6)), 7.0);
    EXPECT_EQ(offsetof(CqPoint3D, m_Z), 16u);
}

} // namespace
