#include "q32Base/geometry/CqMatrix2D.h"

#include "tests/geometry/GeometryTestTools.h"

#include <cstddef>

namespace {

/// Elements in the order of the fields.
CqMatrix2D fnMatrix(double scaleX, double shearX, double transX, double shearY, double scaleY,
                    double transY) {
    CqMatrix2D m;
    m.m_ScaleX = scaleX;
    m.m_ShearX = shearX;
    m.m_TransX = transX;
    m.m_ShearY = shearY;
    m.m_ScaleY = scaleY;
    m.m_TransY = transY;
    return m;
}

void fnExpectBits(const CqMatrix2D& a, const CqMatrix2D& b) {
    EXPECT_BITS(a.m_ScaleX, b.m_ScaleX);
    EXPECT_BITS(a.m_ShearX, b.m_ShearX);
    EXPECT_BITS(a.m_TransX, b.m_TransX);
    EXPECT_BITS(a.m_ShearY, b.m_ShearY);
    EXPECT_BITS(a.m_ScaleY, b.m_ScaleY);
    EXPECT_BITS(a.m_TransY, b.m_TransY);
}

CqPoint2D fnMoved(const CqMatrix2D& m, const CqPoint2D& point) {
    CqPoint2D moved = point;
    moved.fnTransform(m);
    return moved;
}

CqMatrix2D fnRandomMatrix(CqRandom& random) {
    return {random.fnBetween(-3, 3), random.fnBetween(-3, 3), random.fnBetween(-3, 3),
            random.fnBetween(-3, 3), random.fnBetween(-9, 9), random.fnBetween(-9, 9)};
}

const CqMatrix2D kIdentity = fnMatrix(1, 0, 0, 0, 1, 0);

TEST(CqMatrix2D, IsStoredRowByRow) {
    EXPECT_EQ(offsetof(CqMatrix2D, m_ScaleX), 0u);
    EXPECT_EQ(offsetof(CqMatrix2D, m_ShearX), 8u);
    EXPECT_EQ(offsetof(CqMatrix2D, m_TransX), 16u);
    EXPECT_EQ(offsetof(CqMatrix2D, m_ShearY), 24u);
    EXPECT_EQ(offsetof(CqMatrix2D, m_ScaleY), 32u);
    EXPECT_EQ(offsetof(CqMatrix2D, m_TransY), 40u);
}

TEST(CqMatrix2D, ItsConstructorTakesTheElementsInAnotherOrder) {
    fnExpectBits(CqMatrix2D(1, 2, 3, 4, 5, 6), fnMatrix(1, 4, 5, 3, 2, 6));
}

TEST(CqMatrix2D, EachSimpleFormReplacesTheWholeMatrix) {
    CqMatrix2D m(1, 2, 3, 4, 5, 6);
    m.fnTranslate(7, 8);
    fnExpectBits(m, fnMatrix(1, 0, 7, 0, 1, 8));
    m = CqMatrix2D(1, 2, 3, 4, 5, 6);
    m.fnScale(7, 8);
    fnExpectBits(m, fnMatrix(7, 0, 0, 0, 8, 0));
    m.fnIdentity();
    fnExpectBits(m, kIdentity);
    m = CqMatrix2D(1, 2, 3, 4, 5, 6);
    m.fnRotate(30);
    const double r = GEOM_PI * 30.0 * 0.005555555555555556;
    fnExpectBits(m, fnMatrix(std::cos(r), -std::sin(r), 0, std::sin(r), std::cos(r), 0));
}

TEST(CqMatrix2D, RotatesPositiveXTowardPositiveY) {
    CqMatrix2D m;
    m.fnRotate(90);
    const CqPoint2D turned = fnMoved(m, {1, 0});
    EXPECT_NEAR(turned.m_X, 0.0, 1e-15);
    EXPECT_BITS(turned.m_Y, 1.0);
}

TEST(CqMatrix2D, DoesNotReduceTheAngleOfARotation) {
    CqMatrix2D m;
    m.fnRotate(1e6);
    EXPECT_BITS(m.m_ScaleX, std::cos(GEOM_PI * 1e6 * 0.005555555555555556));
}

TEST(CqMatrix2D, KeepsTheCentreFixed) {
    const CqPoint2D centre(3.25, -8.5);
    const CqPoint2D same = fnMoved(CqMatrix2D(centre, 2, 2, 90, 0, 0), centre);
    EXPECT_NEAR(same.m_X, 3.25, 1e-14);
    EXPECT_NEAR(same.m_Y, -8.5, 1e-14);
    const CqPoint2D moved = fnMoved(CqMatrix2D(centre, 2, 3, 33, 10, 20), centre);
    EXPECT_NEAR(moved.m_X, 13.25, 1e-14);
    EXPECT_NEAR(moved.m_Y, 11.5, 1e-14);
}

TEST(CqMatrix2D, BuildsFromACentreInTheDocumentedOrder) {
    CqRandom random(6);
    for (int i = 0; i < 1000; ++i) {
        const CqPoint2D c = random.fnPoint(-50, 50);
        const double sx = random.fnBetween(-3, 3);
        const double sy = random.fnBetween(-3, 3);
        const double tx = random.fnBetween(-9, 9);
        const double ty = random.fnBetween(-9, 9);
        const double given = random.fnBetween(-2000, 2000);
        double angle = given;
        while (angle < -360.0)
            angle += 360.0;
        while (angle > 360.0)
            angle -= 360.0;
        const double r = angle * GEOM_PI * (1.0 / 180.0);
        const double shearY = std::sin(r) * sx;
        const double shearX = -(std::sin(r) * sy);
        const double scaleX = std::cos(r) * sx;
        const double scaleY = std::cos(r) * sy;
        fnExpectBits(CqMatrix2D(c, sx, sy, given, tx, ty),
                     fnMatrix(scaleX, shearX, c.m_X - (c.m_Y * shearX + c.m_X * scaleX) + tx,
                              shearY, scaleY, c.m_Y - (c.m_X * shearY + c.m_Y * scaleY) + ty));
    }
}

TEST(CqMatrix2D, KeepsTheScalesExactForAnAngleOfZero) {
    for (const double zero : {0.0, -0.0})
        fnExpectBits(CqMatrix2D({4, 8}, 3, 5, zero, 1, 2), fnMatrix(3, 0, -7, 0, 5, -30));
}

TEST(CqMatrix2D, ReducesTwoRotationsToOneAndNotToNone) {
    const CqMatrix2D one({0, 0}, 1, 1, 360, 0, 0);
    // Computed while the test runs: the compiler's own sine may have other last bits.
    const volatile double radians = GEOM_PI * 360.0 * 0.005555555555555556;
    EXPECT_BITS(one.m_ShearY, std::sin(radians));
    EXPECT_NE(one.m_ShearY, 0.0);
    for (const double turns : {720.0, 1080.0, 3600.0})
        fnExpectBits(CqMatrix2D({0, 0}, 1, 1, turns, 0, 0), one);
    const CqMatrix2D back({0, 0}, 1, 1, -360, 0, 0);
    EXPECT_BITS(back.m_ShearY, -one.m_ShearY);
    fnExpectBits(CqMatrix2D({0, 0}, 1, 1, -720, 0, 0), back);
}

TEST(CqMatrix2D, EndsForEveryAngle) {
    for (const double angle : {1e15, -1e18, 1e300, -kMaxDouble}) {
        const CqMatrix2D m({0, 0}, 1, 1, angle, 0, 0);
        EXPECT_NEAR(m.m_ScaleX * m.m_ScaleX + m.m_ShearY * m.m_ShearY, 1.0, 1e-15) << angle;
    }
    for (const double angle : {kInf, -kInf, kNaN})
        EXPECT_TRUE(std::isnan(CqMatrix2D({0, 0}, 1, 1, angle, 0, 0).m_ScaleX)) << angle;
}

TEST(CqMatrix2D, AppliesTheArgumentOfAConcatenationLast) {
    CqMatrix2D move;
    move.fnTranslate(1, 0);
    CqMatrix2D twice;
    twice.fnScale(2, 2);
    CqMatrix2D both = move;
    both.fnConcat(twice);
    EXPECT_BITS(fnMoved(both, {0, 0}), CqPoint2D(2, 0));
    both = twice;
    both.fnConcat(move);
    EXPECT_BITS(fnMoved(both, {0, 0}), CqPoint2D(1, 0));
}

TEST(CqMatrix2D, ConcatenatesInTheDocumentedOrderOfSums) {
    CqRandom random(7);
    for (int i = 0; i < 1000; ++i) {
        const CqMatrix2D a = fnRandomMatrix(random);
        const CqMatrix2D n = fnRandomMatrix(random);
        const CqMatrix2D expected =
            fnMatrix(n.m_ScaleX * a.m_ScaleX + n.m_ShearX * a.m_ShearY,
                     n.m_ScaleX * a.m_ShearX + n.m_ShearX * a.m_ScaleY,
                     (n.m_ScaleX * a.m_TransX + n.m_TransX) + n.m_ShearX * a.m_TransY,
                     n.m_ShearY * a.m_ScaleX + n.m_ScaleY * a.m_ShearY,
                     a.m_ScaleY * n.m_ScaleY + n.m_ShearY * a.m_ShearX,
                     (n.m_ScaleY * a.m_TransY + n.m_TransY) + n.m_ShearY * a.m_TransX);
        CqMatrix2D result;
        a.fnConcat(n, result);
        fnExpectBits(result, expected);
        CqMatrix2D self = a;
        self.fnConcat(n, self);
        fnExpectBits(self, expected);
        CqMatrix2D next = n;
        a.fnConcat(next, next);
        fnExpectBits(next, expected);
        self = a;
        self.fnConcat(n);
        fnExpectBits(self, expected);
        // It equals one transform after the other.
        const CqPoint2D p = random.fnPoint(-5, 5);
        const CqPoint2D apart = fnMoved(n, fnMoved(a, p));
        const CqPoint2D at_once = fnMoved(expected, p);
        EXPECT_NEAR(apart.m_X, at_once.m_X, 1e-12);
        EXPECT_NEAR(apart.m_Y, at_once.m_Y, 1e-12);
    }
}

TEST(CqMatrix2D, DropsTinyShearsOnConcatenation) {
    const CqMatrix2D tiny = fnMatrix(2, 5e-11, 1, 0, 3, 1);
    CqMatrix2D result;
    tiny.fnConcat(kIdentity, result);
    fnExpectBits(result, fnMatrix(2, 0, 1, 0, 3, 1));
    kIdentity.fnConcat(tiny, result);
    fnExpectBits(result, fnMatrix(2, 0, 1, 0, 3, 1));
    // With one shear at the tolerance all of them count.
    tiny.fnConcat(fnMatrix(1, 0, 0, 1e-10, 1, 0), result);
    fnExpectBits(result, fnMatrix(2, 5e-11, 1, 2e-10, 3 + 1e-10 * 5e-11, 1 + 1e-10));
}

TEST(CqMatrix2D, InvertsInTheDocumentedOrder) {
    CqRandom random(8);
    for (int i = 0; i < 1000; ++i) {
        const CqMatrix2D m = fnRandomMatrix(random);
        const double k = 1.0 / (m.m_ScaleY * m.m_ScaleX - m.m_ShearX * m.m_ShearY);
        CqMatrix2D inverse = m;
        inverse.fnInverse();
        fnExpectBits(inverse, fnMatrix(k * m.m_ScaleY, -(k * m.m_ShearX),
                                       (m.m_TransY * m.m_ShearX - m.m_TransX * m.m_ScaleY) * k,
                                       -(k * m.m_ShearY), k * m.m_ScaleX,
                                       (m.m_TransX * m.m_ShearY - m.m_TransY * m.m_ScaleX) * k));
        if (std::fabs(k) < 10.0) {
            const CqPoint2D p = random.fnPoint(-5, 5);
            const CqPoint2D back = fnMoved(inverse, fnMoved(m, p));
            EXPECT_NEAR(back.m_X, p.m_X, 1e-10);
            EXPECT_NEAR(back.m_Y, p.m_Y, 1e-10);
        }
    }
}

TEST(CqMatrix2D, InvertsWithoutShearByReciprocals) {
    CqMatrix2D m = fnMatrix(49, 0.9e-10, 5, -0.9e-10, 3, 7);
    m.fnInverse();
    const double a = 1.0 / 49.0;
    const double d = 1.0 / 3.0;
    fnExpectBits(m, fnMatrix(a, 0, -(a * 5), 0, d, -(d * 7)));
}

TEST(CqMatrix2D, InvertsASingularMatrixIntoInfinities) {
    CqMatrix2D m = fnMatrix(0, 0, 1, 0, 1, 0);
    m.fnInverse();
    fnExpectBits(m, fnMatrix(kInf, 0, -kInf, 0, 1, -0.0));
    m = fnMatrix(1, 1, 0, 1, 1, 0);
    m.fnInverse();
    EXPECT_BITS(m.m_ScaleX, kInf);
    EXPECT_BITS(m.m_ShearX, -kInf);
    EXPECT_TRUE(std::isnan(m.m_TransX));
}

TEST(CqMatrix2D, TreatsAMirrorAsAnIdentity) {
    EXPECT_TRUE(CqMatrix2D().fnIsIdentity());
    CqMatrix2D m;
    m.fnScale(-1, 1);
    EXPECT_TRUE(m.fnIsIdentity());
    m.fnScale(-1, -1);
    EXPECT_TRUE(m.fnIsIdentity());
    for (double CqMatrix2D::*element :
         {&CqMatrix2D::m_ScaleX, &CqMatrix2D::m_ScaleY, &CqMatrix2D::m_ShearX,
          &CqMatrix2D::m_ShearY, &CqMatrix2D::m_TransX, &CqMatrix2D::m_TransY}) {
        m.fnIdentity();
        m.*element += 0.9e-10;
        EXPECT_TRUE(m.fnIsIdentity());
        m.*element += 0.2e-10;
        EXPECT_FALSE(m.fnIsIdentity());
    }
}

TEST(CqMatrix2D, HasAScaleOnlyWhenBothAxesAreScaled) {
    EXPECT_FALSE(CqMatrix2D().fnHasScaleOnly());
    EXPECT_FALSE(CqMatrix2D().fnHasTranslateOnly());
    CqMatrix2D m;
    m.fnScale(2, 2);
    EXPECT_TRUE(m.fnHasScaleOnly());
    m.m_TransX = 5; // ignored
    EXPECT_TRUE(m.fnHasScaleOnly());
    m.fnScale(2, 1);
    EXPECT_FALSE(m.fnHasScaleOnly());
    m.fnScale(-1, 2);
    EXPECT_FALSE(m.fnHasScaleOnly());
    m.fnScale(-2, -0.5);
    EXPECT_TRUE(m.fnHasScaleOnly());
    m.m_ShearX = 1e-10;
    EXPECT_FALSE(m.fnHasScaleOnly());
    m.m_ShearX = 0.9e-10;
    m.m_ShearY = -1e-10;
    EXPECT_FALSE(m.fnHasScaleOnly());
}

TEST(CqMatrix2D, DoesNotRecognizeATranslation) {
    CqMatrix2D m;
    m.fnTranslate(3, 4);
    EXPECT_FALSE(m.fnHasTranslateOnly());
    EXPECT_TRUE(fnMatrix(0, 0, 3, 0, 0, 4).fnHasTranslateOnly());
    EXPECT_TRUE(fnMatrix(0, 0, 3, 0, 0, 0).fnHasTranslateOnly());
    EXPECT_TRUE(fnMatrix(0, 0, 0, 0, 0, -4).fnHasTranslateOnly());
    EXPECT_FALSE(fnMatrix(0, 0, 1e-10, 0, 0, 1e-10).fnHasTranslateOnly());
    EXPECT_FALSE(fnMatrix(0, 1e-10, 3, 0, 0, 4).fnHasTranslateOnly());
}

TEST(CqMatrix2D, EqualsWithinTheToleranceInAllElements) {
    for (double CqMatrix2D::*element :
         {&CqMatrix2D::m_ScaleX, &CqMatrix2D::m_ScaleY, &CqMatrix2D::m_ShearX,
          &CqMatrix2D::m_ShearY, &CqMatrix2D::m_TransX, &CqMatrix2D::m_TransY}) {
        CqMatrix2D m;
        m.*element += 0.9e-10;
        EXPECT_TRUE(m == kIdentity);
        EXPECT_FALSE(m != kIdentity);
        m.*element += 0.2e-10;
        EXPECT_FALSE(m == kIdentity);
    }
}

TEST(CqMatrix2D, HasASeparateRuleForInequality) {
    const auto differs = [](int mask) {
        return CqMatrix2D() != fnMatrix(1 + (mask & 1), (mask >> 1) & 1, (mask >> 2) & 1,
                                        (mask >> 3) & 1, 1 + ((mask >> 4) & 1), (mask >> 5) & 1);
    };
    for (int mask = 0; mask < 64; ++mask) {
        const bool scaleX = (mask & 1) != 0;
        const bool shearXAndTransX = (mask & 6) == 6;
        const bool shearYAndScaleY = (mask & 24) == 24;
        const bool transY = (mask & 32) != 0;
        EXPECT_EQ(differs(mask), scaleX || shearXAndTransX || shearYAndScaleY || transY) << mask;
    }
}

TEST(CqMatrix2D, IsNeitherEqualNorUnequalWhenOnlyTransXDiffers) {
    CqMatrix2D m;
    m.fnTranslate(5, 0);
    EXPECT_FALSE(m == CqMatrix2D());
    EXPECT_FALSE(m != CqMatrix2D());
}

TEST(CqMatrix2D, AShearAlongXAloneIsConcatenatedAndInverted) {
    CqMatrix2D shear = fnMatrix(1, 2, 0, 0, 1, 0);
    const CqMatrix2D move = fnMatrix(1, 0, 3, 0, 1, 4);
    CqMatrix2D both;
    shear.fnConcat(move, both);
    EXPECT_EQ(fnMoved(both, {5, 6}), CqPoint2D(5 + 2 * 6 + 3, 6 + 4));
    move.fnConcat(shear, both);
    EXPECT_EQ(fnMoved(both, {5, 6}), CqPoint2D(5 + 3 + 2 * (6 + 4), 6 + 4));
    shear.fnInverse();
    EXPECT_EQ(fnMoved(shear, {17, 6}), CqPoint2D(5, 6));
}

TEST(CqMatrix2D, HasTranslationOnlyWhereAllElseIsZero) {
    EXPECT_TRUE(fnMatrix(0, 0, 3, 0, 0, 0).fnHasTranslateOnly());
    EXPECT_TRUE(fnMatrix(0, 0, 0, 0, 0, 4).fnHasTranslateOnly());
    EXPECT_FALSE(fnMatrix(0, 0, 0, 0, 0, 0).fnHasTranslateOnly());
    EXPECT_FALSE(fnMatrix(1, 0, 3, 0, 0, 4).fnHasTranslateOnly());
    EXPECT_FALSE(fnMatrix(0, 0, 3, 0, 1, 4).fnHasTranslateOnly());
    EXPECT_FALSE(fnMatrix(0, 0, 3, 1, 0, 4).fnHasTranslateOnly());
    EXPECT_FALSE(fnMatrix(0, 1, 3, 0, 0, 4).fnHasTranslateOnly());
}

} // namespace
