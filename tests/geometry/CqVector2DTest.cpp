#include "q32Base/geometry/CqVector2D.h"

#include "tests/geometry/GeometryTestTools.h"

namespace {

CqVector2D fnVector(double x, double y) {
    return CqPoint2D(x, y);
}

TEST(CqVector2D, TakesAPointsCoordinates) {
    EXPECT_BITS(CqVector2D(), CqPoint2D(0.0, 0.0));
    EXPECT_BITS(CqVector2D(CqPoint2D(3.0, 4.0)), CqPoint2D(3.0, 4.0));
    EXPECT_BITS(CqVector2D(CPoint(5, 6)), CqPoint2D(5.0, 6.0));
}

TEST(CqVector2D, InheritsThePointsOperations) {
    CqVector2D v = fnVector(1.0, 2.0);
    v.fnAdd(CqPoint2D(1, 1));
    v += fnVector(1.0, 1.0);
    v.fnScale(2.0);
    EXPECT_BITS(v, CqPoint2D(6.0, 8.0));
    EXPECT_EQ(static_cast<CPoint>(v), CPoint(6, 8));
}

TEST(CqVector2D, CalculatesIntoVectors) {
    const CqVector2D a = fnVector(1.0, 5.0);
    const CqVector2D b = fnVector(3.0, 7.0);
    const CqVector2D sum = a + b;
    const CqVector2D difference = a - b;
    const CqVector2D product = a * 3.0;
    const CqVector2D quotient = a / 49.0;
    EXPECT_BITS(sum, CqPoint2D(4.0, 12.0));
    EXPECT_BITS(difference, CqPoint2D(-2.0, -2.0));
    EXPECT_BITS(product, CqPoint2D(3.0, 15.0));
    EXPECT_BITS(quotient, CqPoint2D(1.0 * (1.0 / 49.0), 5.0 * (1.0 / 49.0)));
    EXPECT_BITS(a.fnDotProduct(b), 38.0);
}

TEST(CqVector2D, ComparesAsPointsDo) {
    EXPECT_TRUE(fnVector(1.0, 2.0) == fnVector(1.0 + 0.5e-10, 2.0));
    EXPECT_FALSE(fnVector(0.0, 0.0) == fnVector(1e-10, 0.0));
    EXPECT_FALSE(fnVector(0.0, 0.0) != fnVector(1e-10, 0.0));
    EXPECT_TRUE(fnVector(0.0, 0.0) != fnVector(0.0, 2e-10));
}

TEST(CqVector2D, ComparesWithPointsOnEitherSide) {
    const CqVector2D vector = fnVector(1.0, 2.0);
    const CqPoint2D same(1.0 + 0.5e-10, 2.0);
    EXPECT_TRUE(vector == same);
    EXPECT_TRUE(same == vector);
    EXPECT_FALSE(vector != same);
    EXPECT_FALSE(same != vector);
    // Exactly the tolerance apart: neither equal nor unequal.
    const CqPoint2D apart(1e-10, 0.0);
    EXPECT_FALSE(CqVector2D() == apart);
    EXPECT_FALSE(apart == CqVector2D());
    EXPECT_FALSE(CqVector2D() != apart);
    EXPECT_FALSE(apart != CqVector2D());
}

TEST(CqVector2D, HasALength) {
    EXPECT_BITS(fnVector(3.0, 4.0).fnSquaredLength(), 25.0);
    EXPECT_BITS(fnVector(3.0, 4.0).fnFindLength(), 5.0);
    EXPECT_BITS(fnVector(1e200, 0.0).fnFindLength(), kInf); // its square overflows
}

TEST(CqVector2D, FindsTheUnsignedAngleBetweenTwoVectors) {
    const CqVector2D east = fnVector(1.0, 0.0);
    EXPECT_BITS(east.fnIntersectAngle(fnVector(0.0, 1.0), false), 90.0);
    EXPECT_BITS(fnVector(0.0, 1.0).fnIntersectAngle(east, false), 90.0);
    EXPECT_BITS(east.fnIntersectAngle(fnVector(0.0, -1.0), false), 90.0);
    EXPECT_BITS(east.fnIntersectAngle(fnVector(-1.0, 0.0), false), 180.0);
    EXPECT_BITS(east.fnIntersectAngle(fnVector(-1.0, 0.0), true), GEOM_PI);
    EXPECT_BITS(east.fnIntersectAngle(fnVector(2.0, 0.0), false), 0.0);
}

TEST(CqVector2D, GivesNotANumberForTheAngleOfAZeroVector) {
    EXPECT_TRUE(std::isnan(CqVector2D().fnIntersectAngle(fnVector(1.0, 0.0), false)));
    EXPECT_TRUE(std::isnan(fnVector(1.0, 0.0).fnIntersectAngle(CqVector2D(), true)));
}

TEST(CqVector2D, ComputesTheAngleFromTheRootOfTheSquaredCosine) {
    CqRandom random(4);
    for (int i = 0; i < 2000; ++i) {
        const CqVector2D a = random.fnPoint(-9.0, 9.0);
        // Every other one is nearly parallel, where rounding lifts the cosine above 1.
        const CqVector2D b =
            i % 2 == 0 ? CqVector2D(random.fnPoint(-9.0, 9.0)) : a * random.fnBetween(-2.0, 2.0);
        const double dot = a.m_X * b.m_X + a.m_Y * b.m_Y;
        double c = std::sqrt(dot * dot / (a.m_X * a.m_X + a.m_Y * a.m_Y) /
                             (b.m_X * b.m_X + b.m_Y * b.m_Y));
        c = dot <= 0.0 ? -c : c;
        c = c >= 1.0 ? 1.0 : c < -1.0 ? -1.0 : c;
        EXPECT_BITS(a.fnIntersectAngle(b, true), std::acos(c));
        EXPECT_BITS(a.fnIntersectAngle(b, false), std::acos(c) * 180.0 / GEOM_PI);
        EXPECT_NEAR(b.fnIntersectAngle(a, true), std::acos(c), 1e-7); // in either order
    }
}

TEST(CqVector2D, NormalizesByDivision) {
    CqVector2D v = fnVector(3.0, 4.0);
    v.fnNormalize();
    EXPECT_BITS(v, CqPoint2D(3.0 / 5.0, 4.0 / 5.0));
    CqRandom random(5);
    for (int i = 0; i < 1000; ++i) {
        const CqPoint2D p = random.fnPoint(-9.0, 9.0);
        const double length = std::sqrt(p.m_X * p.m_X + p.m_Y * p.m_Y);
        v = p;
        v.fnNormalize();
        EXPECT_BITS(v, CqPoint2D(p.m_X / length, p.m_Y / length));
    }
}

TEST(CqVector2D, NormalizesAShortVectorToExactlyZero) {
    for (const double length : {1e-11, 1e-10, -1e-10, 0.0, kNaN}) {
        CqVector2D v = fnVector(length, 0.0);
        v.fnNormalize();
        EXPECT_BITS(v, CqPoint2D(0.0, 0.0)) << length;
    }
    CqVector2D v = fnVector(1.1e-10, 0.0);
    v.fnNormalize();
    EXPECT_BITS(v, CqPoint2D(1.0, 0.0));
}

TEST(CqVector2D, IsZeroByItsComponents) {
    EXPECT_TRUE(fnVector(5e-11, 5e-11).fnIsZeroVector());
    EXPECT_TRUE(fnVector(0.99e-10, -0.99e-10).fnIsZeroVector()); // its length is above 1e-10
    EXPECT_FALSE(fnVector(1e-10, 0.0).fnIsZeroVector());
    EXPECT_FALSE(fnVector(0.0, -1e-10).fnIsZeroVector());
}

TEST(CqVector2D, Negates) {
    CqVector2D v = fnVector(1.0, -0.0);
    v.fnNegate();
    EXPECT_BITS(v, CqPoint2D(-1.0, 0.0));
}

} // namespace
