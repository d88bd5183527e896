#include "q32Base/geometry/CqRect2D.h"

#include "q32Base/geometry/CqMatrix2D.h"
#include "tests/geometry/GeometryTestTools.h"

#include <algorithm>
#include <climits>
#include <cstddef>

namespace {

void fnExpectBits(const CqRect2D& rect, double left, double top, double right, double bottom) {
    EXPECT_BITS(rect.m_Left, left);
    EXPECT_BITS(rect.m_Top, top);
    EXPECT_BITS(rect.m_Right, right);
    EXPECT_BITS(rect.m_Bottom, bottom);
}

const CqRect2D kEmpty(5, 5, 5, 5);
const CqRect2D kNull(0, 0, 0, 0);
const CqRect2D kThin(0, 5, 10, 5);

TEST(CqRect2D, StoresLeftTopRightBottomInOrder) {
    EXPECT_EQ(offsetof(CqRect2D, m_Left), 0u);
    EXPECT_EQ(offsetof(CqRect2D, m_Top), 8u);
    EXPECT_EQ(offsetof(CqRect2D, m_Right), 16u);
    EXPECT_EQ(offsetof(CqRect2D, m_Bottom), 24u);
}

TEST(CqRect2D, IsConstructedWithoutNormalization) {
    fnExpectBits(CqRect2D(), 0, 0, 0, 0);
    fnExpectBits(CqRect2D(4, 3, 2, 1), 4, 3, 2, 1);
    fnExpectBits(CqRect2D(CqPoint2D(9, 8), CqPoint2D(7, 6)), 9, 8, 7, 6);
    fnExpectBits(CqRect2D(CRect(1, -2, 3, INT_MAX)), 1, -2, 3, 2147483647);
    EXPECT_BITS(CqRect2D(4, 3, 2, 1).fnWidth(), -2.0);
    EXPECT_BITS(CqRect2D(4, 3, 2, 1).fnHeight(), -2.0);
}

TEST(CqRect2D, IsWrittenThroughItsCorners) {
    CqRect2D rect(1, 2, 3, 4);
    CqPoint2D& topLeft = rect.fnTopLeft();
    CqPoint2D& bottomRight = rect.fnBottomRight();
    EXPECT_BITS(topLeft, CqPoint2D(1, 2));
    EXPECT_BITS(bottomRight, CqPoint2D(3, 4));
    topLeft = CqPoint2D(-1, -2);
    bottomRight += CqPoint2D(10, 20);
    fnExpectBits(rect, -1, -2, 13, 24);
    rect.m_Top = 7;
    EXPECT_BITS(topLeft.m_Y, 7.0);
}

TEST(CqRect2D, IsEmptyOnlyWithoutWidthAndHeight) {
    EXPECT_FALSE(CqRect2D(0, 0, 10, 0).fnIsRectEmpty());
    EXPECT_FALSE(CqRect2D(0, 0, 0, 10).fnIsRectEmpty());
    EXPECT_TRUE(kEmpty.fnIsRectEmpty());
    EXPECT_FALSE(kEmpty.fnIsRectNull());
    EXPECT_TRUE(kNull.fnIsRectEmpty());
    EXPECT_TRUE(kNull.fnIsRectNull());
    EXPECT_TRUE(CqRect2D(1, 1, 1 + 0.5e-10, 1 - 0.5e-10).fnIsRectEmpty());
    EXPECT_FALSE(CqRect2D(0, 0, 1e-10, 0).fnIsRectEmpty());
    EXPECT_TRUE(CqRect2D(0.9e-10, -0.9e-10, 0, 0).fnIsRectNull());
    EXPECT_FALSE(CqRect2D(0, 0, 0, 1e-10).fnIsRectNull());
}

TEST(CqRect2D, ContainsAllFourOfItsEdges) {
    const CqRect2D rect(1, 2, 3, 4);
    for (const CqPoint2D inside : {CqPoint2D(1, 2), CqPoint2D(3, 4), CqPoint2D(3 + 0.5e-10, 3.0),
                                   CqPoint2D(2.0, 4 + 0.5e-10), CqPoint2D(1 - 0.5e-10, 2.0),
                                   CqPoint2D(2.0, 2 - 0.5e-10), CqPoint2D(2, 3)})
        EXPECT_TRUE(rect.fnPtInRect(inside)) << inside.m_X << " " << inside.m_Y;
    for (const CqPoint2D outside :
         {CqPoint2D(3 + 2e-10, 3.0), CqPoint2D(2.0, 4 + 2e-10), CqPoint2D(1 - 2e-10, 2.0),
          CqPoint2D(2.0, 2 - 2e-10), CqPoint2D(kNaN, 3.0)})
        EXPECT_FALSE(rect.fnPtInRect(outside)) << outside.m_X << " " << outside.m_Y;
    // The margin is strict, and measured from each edge.
    EXPECT_FALSE(CqRect2D(0, 0, 1, 1).fnPtInRect({-1e-10, 0.5}));
}

TEST(CqRect2D, Moves) {
    CqRect2D rect(1, 2, 3, 4);
    rect.fnOffsetRect(10, 20);
    fnExpectBits(rect, 11, 22, 13, 24);
    rect += CqPoint2D(1, 2);
    fnExpectBits(rect, 12, 24, 14, 26);
    rect -= CqPoint2D(2, 4);
    fnExpectBits(rect, 10, 20, 12, 22);
    rect.fnInflateRect(1, -2);
    fnExpectBits(rect, 9, 22, 13, 20);
    rect.fnInflateRect(INT_MIN, INT_MAX);
    fnExpectBits(rect, 9 + 2147483648.0, 22 - 2147483647.0, 13 - 2147483648.0, 20 + 2147483647.0);
}

TEST(CqRect2D, MovesByItsOwnCorner) {
    CqRect2D rect(1, 2, 3, 4);
    rect += rect.fnTopLeft();
    fnExpectBits(rect, 2, 4, 4, 6);
    rect -= rect.fnTopLeft();
    fnExpectBits(rect, 0, 0, 2, 2);
}

TEST(CqRect2D, IntersectsAndReportsWhetherAnAreaIsLeft) {
    CqRect2D rect;
    EXPECT_TRUE(rect.fnIntersectRect({0, 0, 10, 10}, {5, 5, 15, 15}));
    fnExpectBits(rect, 5, 5, 10, 10);
    EXPECT_FALSE(rect.fnIntersectRect({0, 0, 1, 1}, {2, 2, 3, 3}));
    fnExpectBits(rect, 2, 2, 1, 1);
    EXPECT_FALSE(rect.fnIntersectRect({0, 0, 1, 5}, {1, 0, 2, 5})); // touching: compared exactly
    fnExpectBits(rect, 1, 0, 1, 5);
    EXPECT_TRUE(rect.fnIntersectRect({0, 0, 1 + 1e-15, 5}, {1, 0, 2, 5}));
}

TEST(CqRect2D, YieldsTheOtherRectangleWhenOneIsEmpty) {
    const CqRect2D full(1, 2, 3, 4);
    CqRect2D rect;
    for (const CqRect2D& nothing : {kEmpty, kNull}) {
        EXPECT_FALSE(rect.fnIntersectRect(nothing, full));
        fnExpectBits(rect, 1, 2, 3, 4);
        rect = CqRect2D();
        EXPECT_FALSE(rect.fnIntersectRect(full, nothing));
        fnExpectBits(rect, 1, 2, 3, 4);
        rect.fnUnionRect(nothing, full);
        fnExpectBits(rect, 1, 2, 3, 4);
        rect = CqRect2D();
        rect.fnUnionRect(full, nothing);
        fnExpectBits(rect, 1, 2, 3, 4);
    }
    // The first is checked first.
    EXPECT_FALSE(rect.fnIntersectRect(kEmpty, kNull));
    fnExpectBits(rect, 0, 0, 0, 0);
    // A rectangle with only a width isn't empty.
    rect.fnUnionRect(kThin, {20, 20, 30, 30});
    fnExpectBits(rect, 0, 5, 30, 30);
}

TEST(CqRect2D, IntersectsAndUnitesItself) {
    CqRect2D rect(0, 0, 10, 10);
    EXPECT_TRUE(rect.fnIntersectRect(rect, {5, 5, 15, 15}));
    fnExpectBits(rect, 5, 5, 10, 10);
    EXPECT_TRUE(rect.fnIntersectRect({6, 0, 8, 20}, rect));
    fnExpectBits(rect, 6, 5, 8, 10);
    rect.fnUnionRect({0, 7, 1, 8}, rect);
    fnExpectBits(rect, 0, 5, 8, 10);
}

TEST(CqRect2D, CombinesInPlace) {
    CqRect2D rect(0, 0, 10, 10);
    rect &= CqRect2D(5, 5, 15, 15);
    fnExpectBits(rect, 5, 5, 10, 10);
    rect &= CqRect2D(20, 0, 30, 7);
    fnExpectBits(rect, 20, 5, 10, 7);
    rect = CqRect2D(0, 0, 10, 10);
    rect |= CqRect2D(5, -5, 15, 5);
    fnExpectBits(rect, 0, -5, 15, 10);
    for (const CqRect2D& nothing : {kEmpty, kNull}) {
        rect = nothing;
        rect &= CqRect2D(1, 2, 3, 4);
        fnExpectBits(rect, 1, 2, 3, 4);
        rect &= nothing;
        rect |= nothing;
        fnExpectBits(rect, 1, 2, 3, 4);
        rect = nothing;
        rect |= CqRect2D(1, 2, 3, 4);
        fnExpectBits(rect, 1, 2, 3, 4);
    }
}

TEST(CqRect2D, TransformsTwoCornersByAScale) {
    CqRect2D rect(1, 2, 3, 4);
    CqMatrix2D m;
    m.fnScale(-2, 3);
    rect.fnTransform(m);
    fnExpectBits(rect, -2, 6, -6, 12); // inverted
    rect = CqRect2D(1, 2, 3, 4);
    rect.fnTransform(CqMatrix2D(0, 0, 0, 0, 7, 8)); // the only form taken for a translation
    fnExpectBits(rect, 7, 8, 7, 8);
}

TEST(CqRect2D, TransformsFourCornersByAnythingElse) {
    CqRect2D rect(1, 2, 3, 4);
    CqMatrix2D m;
    m.fnScale(2, 1);
    rect.fnTransform(m);
    fnExpectBits(rect, 2, 2, 6, 4);
    m.fnScale(-1, 1); // a mirror is not a scale: the box stays normalised
    rect.fnTransform(m);
    fnExpectBits(rect, -6, 2, -2, 4);
    rect = CqRect2D(3, 4, 1, 2);
    m.fnTranslate(10, 20);
    rect.fnTransform(m);
    fnExpectBits(rect, 11, 22, 13, 24);
}

TEST(CqRect2D, TransformsIntoTheBoxOfItsCorners) {
    CqRandom random(11);
    for (int i = 0; i < 500; ++i) {
        const CqRect2D rect(random.fnBetween(-9, 9), random.fnBetween(-9, 9),
                            random.fnBetween(-9, 9), random.fnBetween(-9, 9));
        const CqMatrix2D m({random.fnBetween(-9, 9), 1.0}, random.fnBetween(-3, 3), 2.0,
                           random.fnBetween(1, 359), 5, 6);
        double x[4];
        double y[4];
        for (int c = 0; c < 4; ++c) {
            CqPoint2D corner(c == 0 || c == 3 ? rect.m_Left : rect.m_Right,
                             c < 2 ? rect.m_Top : rect.m_Bottom);
            corner.fnTransform(m);
            x[c] = corner.m_X;
            y[c] = corner.m_Y;
        }
        CqRect2D moved = rect;
        moved.fnTransform(m);
        fnExpectBits(moved, *std::min_element(x, x + 4), *std::min_element(y, y + 4),
                     *std::max_element(x, x + 4), *std::max_element(y, y + 4));
    }
}

TEST(CqRect2D, GivesTheIntegerRectangleOfThePixelsTouched) {
    EXPECT_EQ(static_cast<CRect>(CqRect2D(0.5, 0.5, 2.0, 2.0)), CRect(0, 0, 3, 3));
    EXPECT_EQ(static_cast<CRect>(CqRect2D(0, 0, 2.5, 2.5)), CRect(0, 0, 4, 4));
    EXPECT_EQ(static_cast<CRect>(CqRect2D(0, 0, 2 + 0.9e-10, 2 + 1.1e-10)), CRect(0, 0, 3, 4));
    // Left and top are truncated toward zero, not floored; negative right and bottom lose no
    // positive fraction.
    EXPECT_EQ(static_cast<CRect>(CqRect2D(-1.5, -0.5, -2.5, -0.5)), CRect(-1, 0, -1, 1));
}

TEST(CqRect2D, ClampsTheIntegerRectangleTo32Bits) {
    EXPECT_EQ(static_cast<CRect>(CqRect2D(-1e300, -kInf, 1e300, kInf)),
              CRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX));
    EXPECT_EQ(static_cast<CRect>(CqRect2D(kNaN, kNaN, kNaN, 2147483646.5)),
              CRect(0, 0, 0, INT_MAX));
}

TEST(CqRect2D, ATranslationAloneMovesBothCornersToOnePoint) {
    CqMatrix2D matrix;
    matrix.m_ScaleX = matrix.m_ScaleY = 0.0;
    matrix.m_TransX = 3.0;
    matrix.m_TransY = 4.0;
    CqRect2D rect(1, 2, 5, 6);
    rect.fnTransform(matrix);
    fnExpectBits(rect, 3, 4, 3, 4);
}

TEST(CqRect2D, RectanglesThatTouchFromAboveDoNotIntersect) {
    CqRect2D rect;
    EXPECT_FALSE(rect.fnIntersectRect({0, 0, 10, 10}, {2, 10, 8, 20}));
    fnExpectBits(rect, 2, 10, 8, 10);
}

TEST(CqRect2D, EdgesNearZeroMakeANullRectangleThoughItHasASize) {
    const double edge = 0.9 * GEOM_EPSILON;
    const CqRect2D null(-edge, -edge, edge, edge);
    ASSERT_FALSE(null.fnIsRectEmpty());
    ASSERT_TRUE(null.fnIsRectNull());
    CqRect2D rect;
    rect.fnUnionRect(null, {1, 2, 3, 4});
    fnExpectBits(rect, 1, 2, 3, 4);
}

} // namespace
