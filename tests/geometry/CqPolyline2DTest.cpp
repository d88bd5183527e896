#include "q32Base/geometry/CqPolyline2D.h"

#include "tests/geometry/GeometryTestTools.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/FakePlatform.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <vector>

namespace {

constexpr double kUntouched = 77.0;

CqPolyline2D fnChain(std::initializer_list<CqPoint2D> vertices) {
    CqPolyline2D chain;
    for (const CqPoint2D& vertex : vertices)
        chain.fnAddVertex(vertex);
    return chain;
}

void fnExpectVertices(const CqPolyline2D& chain, std::initializer_list<CqPoint2D> expected) {
    ASSERT_EQ(chain.fnGetNumberVertex(), static_cast<int>(expected.size()));
    int i = 0;
    for (const CqPoint2D& vertex : expected)
        EXPECT_BITS(chain.fnGetVertex(i++), vertex);
}

void fnExpectParam(const CqPolyline2D& chain, int index, int tag, double low, double high) {
    double t0;
    double t1;
    EXPECT_EQ(chain.fnGetParam(index, t0, t1), tag);
    EXPECT_BITS(t0, low);
    EXPECT_BITS(t1, high);
}

/// Exposes the lists.
class CqOpenPolyline : public CqPolyline2D {
public:
    using CqPolyline2D::m_Params;
    using CqPolyline2D::m_Tags;
    using CqPolyline2D::m_Vertices;
};

/// Computed segments: unit steps up a staircase, without stored vertices.
class CqStair : public CqPolyline2D {
public:
    explicit CqStair(int count) : m_nCount(count) {}
    int fnGetNumberLine() const override { return m_nCount; }
    CqLine2D fnGetLine(int index) const override {
        return {CqPoint2D(index, index), CqPoint2D(index + 1, index + 1)};
    }

private:
    int m_nCount;
};

TEST(CqPolyPoint2D, IsInitiallyNoPosition) {
    EXPECT_EQ(CqPolyPoint2D().m_Line, -1);
    EXPECT_BITS(CqPolyPoint2D().m_Param, 0.0);
    EXPECT_EQ(CqPolyPoint2D(3, 0.25).m_Line, 3);
    EXPECT_BITS(CqPolyPoint2D(3, 0.25).m_Param, 0.25);
    EXPECT_EQ(offsetof(CqPolyPoint2D, m_Param), 8u);
}

TEST(CqPolyline2D, HasOneSegmentFewerThanVertices) {
    CqPolyline2D chain;
    for (const int lines : {0, 0, 1, 2, 3}) {
        EXPECT_EQ(chain.fnGetNumberLine(), lines);
        const int index = chain.fnAddVertex({1, 2});
        EXPECT_EQ(index, chain.fnGetNumberVertex() - 1);
    }
    chain = fnChain({{0, 0}, {3, 4}, {5, 6}});
    EXPECT_BITS(chain.fnGetLine(1).m_Start, CqPoint2D(3, 4));
    EXPECT_BITS(chain.fnGetLine(1).m_End, CqPoint2D(5, 6));
}

TEST(CqPolyline2D, JoinsALineAtItsEnd) {
    CqPolyline2D chain;
    EXPECT_EQ(chain.fnAddLine({0, 0}, {1, 0}), 0);
    EXPECT_EQ(chain.fnAddLine(CqLine2D({1, 0}, {2, 0})), 1);
    fnExpectVertices(chain, {{0, 0}, {1, 0}, {2, 0}});
    EXPECT_EQ(chain.fnAddLine({5, 5}, {6, 6}), 3);
    fnExpectVertices(chain, {{0, 0}, {1, 0}, {2, 0}, {5, 5}, {6, 6}});
    EXPECT_BITS(chain.fnGetLine(2).m_Start, CqPoint2D(2, 0));
    EXPECT_BITS(chain.fnGetLine(2).m_End, CqPoint2D(5, 5));
}

TEST(CqPolyline2D, KeepsTheLastVertexWhenAStartEqualsIt) {
    CqPolyline2D chain = fnChain({{0, 0}, {1, 0}});
    EXPECT_EQ(chain.fnAddLine({1 + 0.5e-10, 0.5e-10}, {2, 0}), 1);
    fnExpectVertices(chain, {{0, 0}, {1, 0}, {2, 0}});
    // A start exactly at the tolerance isn't different either.
    chain = fnChain({{0, 0}, {0, 0}});
    EXPECT_EQ(chain.fnAddLine({1e-10, 0.0}, {2, 0}), 1);
    fnExpectVertices(chain, {{0, 0}, {0, 0}, {2, 0}});
}

TEST(CqPolyline2D, InsertsALineAtTheFrontAndNamesTheLast) {
    CqPolyline2D chain = fnChain({{1, 0}, {2, 0}, {3, 0}});
    EXPECT_EQ(chain.fnInsertLine({0, 0}, {1, 0}), 2);
    fnExpectVertices(chain, {{0, 0}, {1, 0}, {2, 0}, {3, 0}});
    EXPECT_EQ(chain.fnInsertLine(CqLine2D({7, 7}, {8, 8})), 4);
    fnExpectVertices(chain, {{7, 7}, {8, 8}, {0, 0}, {1, 0}, {2, 0}, {3, 0}});
    CqPolyline2D fresh;
    EXPECT_EQ(fresh.fnInsertLine({0, 0}, {1, 0}), 0);
    fnExpectVertices(fresh, {{0, 0}, {1, 0}});
    fresh.fnInsertVertex({9, 9});
    fnExpectVertices(fresh, {{9, 9}, {0, 0}, {1, 0}});
}

TEST(CqPolyline2D, TakesItsOwnVerticesAsArguments) {
    CqPolyline2D chain = fnChain({{1, 0}, {2, 0}, {3, 0}, {4, 0}});
    chain.fnAddLine(chain.fnGetVertex(0), chain.fnGetVertex(1));
    fnExpectVertices(chain, {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {1, 0}, {2, 0}});
    chain.fnInsertLine(chain.fnGetVertex(3), chain.fnGetVertex(2));
    fnExpectVertices(chain, {{4, 0}, {3, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {1, 0}, {2, 0}});
    chain = fnChain({{1, 0}, {2, 0}});
    chain += chain.fnGetVertex(0);
    fnExpectVertices(chain, {{2, 0}, {3, 0}});
    chain.fnAppend(chain);
    fnExpectVertices(chain, {{2, 0}, {3, 0}, {2, 0}, {3, 0}});
}

TEST(CqPolyline2D, KeepsRecordsApartFromItsSegments) {
    CqPolyline2D chain = fnChain({{0, 0}, {1, 0}, {2, 0}});
    chain.fnAddParam(7, 0.25, 0.5);
    chain.fnAddParam(-1, 0.5, 1.0);
    fnExpectParam(chain, 0, 7, 0.25, 0.5);
    fnExpectParam(chain, 1, -1, 0.5, 1.0);
    chain.fnReverse();
    fnExpectVertices(chain, {{2, 0}, {1, 0}, {0, 0}});
    fnExpectParam(chain, 0, 7, 0.25, 0.5); // although segment 0 has changed
    chain.fnAppend(fnChain({{5, 5}}));
    fnExpectVertices(chain, {{2, 0}, {1, 0}, {0, 0}, {5, 5}});
}

TEST(CqPolyline2D, ReversesAnyNumberOfVertices) {
    CqPolyline2D chain;
    chain.fnReverse();
    EXPECT_EQ(chain.fnGetNumberVertex(), 0);
    chain = fnChain({{1, 1}});
    chain.fnReverse();
    fnExpectVertices(chain, {{1, 1}});
    chain = fnChain({{1, 1}, {2, 2}, {3, 3}, {4, 4}});
    chain.fnReverse();
    fnExpectVertices(chain, {{4, 4}, {3, 3}, {2, 2}, {1, 1}});
}

TEST(CqPolyline2D, RemovesItsLastSegment) {
    CqOpenPolyline chain;
    for (int i = 0; i < 3; ++i) {
        chain.fnAddLine({i, 0}, {i + 1, 0});
        chain.fnAddParam(i, i, i + 0.5);
    }
    chain.fnRemoveLine();
    fnExpectVertices(chain, {{0, 0}, {1, 0}, {2, 0}});
    EXPECT_EQ(chain.m_Tags.GetSize(), 2);
    EXPECT_EQ(chain.m_Params.GetSize(), 4);
    fnExpectParam(chain, 1, 1, 1.0, 1.5);
    chain.fnRemoveLine();
    EXPECT_EQ(chain.fnGetNumberVertex(), 2);
    chain.fnRemoveLine();
    EXPECT_EQ(chain.fnGetNumberVertex(), 0);
    EXPECT_EQ(chain.m_Vertices.GetCapacity(), 0);
    EXPECT_EQ(chain.m_Tags.GetCapacity(), 0);
    EXPECT_EQ(chain.m_Params.GetCapacity(), 0);
}

TEST(CqPolyline2D, ReleasesItsReserve) {
    CqOpenPolyline chain;
    for (int i = 0; i < 101; ++i) {
        chain.fnAddVertex({i, i});
        chain.fnAddParam(i, i, i);
    }
    EXPECT_GT(chain.m_Vertices.GetCapacity(), 101);
    chain.fnFreeExtra();
    EXPECT_EQ(chain.m_Vertices.GetCapacity(), 101);
    EXPECT_EQ(chain.m_Tags.GetCapacity(), 101);
    EXPECT_EQ(chain.m_Params.GetCapacity(), 202);
    EXPECT_BITS(chain.fnGetVertex(100), CqPoint2D(100, 100));
    fnExpectParam(chain, 100, 100, 100, 100);
    CqOpenPolyline nothing;
    nothing.fnFreeExtra();
    EXPECT_EQ(nothing.m_Vertices.GetCapacity(), 0);
}

TEST(CqPolyline2D, CachesItsBoxUntilItIsUpdated) {
    CqPolyline2D chain = fnChain({{3, -4}, {-1, 2}, {0, 9}});
    EXPECT_BITS(chain.fnGetBoundRect().m_Right, 0.0);
    chain.fnFindBoundRect();
    CqRect2D box = chain.fnGetBoundRect();
    EXPECT_BITS(box.fnTopLeft(), CqPoint2D(-1, -4));
    EXPECT_BITS(box.fnBottomRight(), CqPoint2D(3, 9));
    chain.fnGetVertex(0) = CqPoint2D(100, 100);
    EXPECT_BITS(chain.fnGetBoundRect().m_Right, 3.0);
    chain += CqPoint2D(10, 20);
    fnExpectVertices(chain, {{110, 120}, {9, 22}, {10, 29}});
    box = chain.fnGetBoundRect();
    EXPECT_BITS(box.fnTopLeft(), CqPoint2D(9, 16));
    EXPECT_BITS(box.fnBottomRight(), CqPoint2D(13, 29));
    chain.fnRemoveAll();
    EXPECT_EQ(chain.fnGetNumberVertex(), 0);
    EXPECT_BITS(chain.fnGetBoundRect().m_Right, 13.0);
    chain.fnFindBoundRect();
    EXPECT_BITS(chain.fnGetBoundRect().m_Left, kMaxDouble);
    EXPECT_BITS(chain.fnGetBoundRect().m_Bottom, -kMaxDouble);
}

TEST(CqPolyline2D, CopiesAllItHolds) {
    CqPolyline2D chain = fnChain({{1, 2}, {3, 4}});
    chain.fnAddParam(5, 6, 7);
    chain.fnFindBoundRect();
    CqPolyline2D copy(chain);
    CqPolyline2D assigned = fnChain({{9, 9}, {9, 9}, {9, 9}});
    assigned = chain;
    assigned = *&assigned;
    chain.fnGetVertex(0) = CqPoint2D(0, 0);
    chain.fnRemoveAll();
    for (const CqPolyline2D* other : {&copy, &assigned}) {
        fnExpectVertices(*other, {{1, 2}, {3, 4}});
        fnExpectParam(*other, 0, 5, 6, 7);
        EXPECT_BITS(other->fnGetBoundRect().m_Right, 3.0);
    }
}

TEST(CqPolyline2D, ComputesPointsBeyondASegment) {
    const CqPolyline2D chain = fnChain({{0, 0}, {4, 2}, {4, 8}});
    EXPECT_BITS(chain.fnComputePoint(0, 1.5), CqPoint2D(6, 3));
    EXPECT_BITS(chain.fnComputePoint(1, -1.0), CqPoint2D(4, -4));
    EXPECT_BITS(chain.fnComputePoint(1, 0.25), CqPoint2D(4.0, 3.5));
}

TEST(CqPolyline2D, ReportsWhetherALineCrosses) {
    const CqPolyline2D chain = fnChain({{0, 0}, {10, 0}, {10, 10}});
    EXPECT_TRUE(chain.fnIntersectLine({{5, -1}, {5, 1}}));
    EXPECT_TRUE(chain.fnIntersectLine({{9, 5}, {11, 5}}));
    EXPECT_FALSE(chain.fnIntersectLine({{5, 1}, {5, 9}}));
    EXPECT_FALSE(chain.fnIntersectLine({{0, 1}, {9, 1}}));  // parallel, disjoint
    EXPECT_TRUE(chain.fnIntersectLine({{20, 0}, {30, 0}})); // on one line, disjoint
    EXPECT_FALSE(CqPolyline2D().fnIntersectLine({{0, 0}, {1, 1}}));
    EXPECT_FALSE(fnChain({{0, 0}}).fnIntersectLine({{0, 0}, {1, 1}}));
}

TEST(CqPolyline2D, AgreesWithEachOfItsSegmentsOnCrossings) {
    CqRandom random(12);
    int hits = 0;
    for (int i = 0; i < 500; ++i) {
        CqPolyline2D chain;
        for (int v = random.fnInt(0, 6); v >= 0; --v)
            chain.fnAddVertex(random.fnPoint(-9, 9));
        const CqLine2D line(random.fnPoint(-9, 9), random.fnPoint(-9, 9));
        bool crosses = false;
        for (int l = 0; l < chain.fnGetNumberLine(); ++l) {
            double t;
            crosses = crosses || chain.fnGetLine(l).fnIntersectLine(line, t, nullptr);
        }
        EXPECT_EQ(chain.fnIntersectLine(line), crosses) << i;
        hits += crosses ? 1 : 0;
    }
    EXPECT_GT(hits, 50);
}

TEST(CqPolyline2D, FindsTheSegmentWithTheNearestFoot) {
    const CqPolyline2D chain = fnChain({{0, 0}, {10, 0}, {10, 10}});
    int index = 7;
    double t = kUntouched;
    CqPoint2D nearest;
    EXPECT_TRUE(chain.fnIntersectPoint({4, 3}, index, t, &nearest));
    EXPECT_EQ(index, 0);
    EXPECT_BITS(t, 0.4);
    EXPECT_BITS(nearest, CqPoint2D(4, 0));
    EXPECT_TRUE(chain.fnIntersectPoint({-4000, 3}, index, t, &nearest)); // at any distance
    EXPECT_EQ(index, 1);
    EXPECT_BITS(nearest, CqPoint2D(10, 3));
    // A tie goes to the earlier segment.
    EXPECT_TRUE(chain.fnIntersectPoint({7, 3}, index, t, nullptr));
    EXPECT_EQ(index, 0);
}

TEST(CqPolyline2D, FindsNoFootBeyondItsEnds) {
    const CqPolyline2D chain = fnChain({{0, 0}, {10, 0}});
    int index = 7;
    double t = kUntouched;
    CqPoint2D nearest(3, 3);
    EXPECT_FALSE(chain.fnIntersectPoint({12, 0}, index, t, &nearest));
    EXPECT_EQ(index, -1);
    EXPECT_BITS(t, kUntouched);
    EXPECT_BITS(nearest, CqPoint2D(3, 3));
    EXPECT_FALSE(CqPolyline2D().fnIntersectPoint({0, 0}, index, t, &nearest));
}

TEST(CqPolyline2D, TakesASegmentOfNoLengthAndEachOneAfterIt) {
    // The first foot is nearest; the second segment has no length; the last foot is far away.
    const CqPolyline2D chain = fnChain({{0, 0}, {10, 0}, {10, 0}, {10, 50}});
    int index = 7;
    double t = kUntouched;
    CqPoint2D nearest;
    EXPECT_TRUE(chain.fnIntersectPoint({5, 1}, index, t, &nearest));
    EXPECT_EQ(index, 2);
    EXPECT_BITS(nearest, CqPoint2D(10, 1));
    EXPECT_TRUE(fnChain({{0, 0}, {10, 0}, {10, 0}}).fnIntersectPoint({5, 1}, index, t, &nearest));
    EXPECT_EQ(index, 1);
    EXPECT_TRUE(std::isnan(t));
}

TEST(CqPolyline2D, FindsNearestFeetAsASearchOfAllSegmentsDoes) {
    CqRandom random(13);
    for (int i = 0; i < 500; ++i) {
        CqPolyline2D chain;
        for (int v = random.fnInt(1, 30); v >= 0; --v)
            chain.fnAddVertex(random.fnPoint(-9, 9));
        const CqPoint2D point = random.fnPoint(-9, 9);
        int best = -1;
        double bestT = kUntouched;
        double bestDistance = kMaxDouble;
        for (int l = 0; l < chain.fnGetNumberLine(); ++l) {
            const CqLine2D line = chain.fnGetLine(l);
            const double vx = line.m_End.m_X - line.m_Start.m_X;
            const double vy = line.m_End.m_Y - line.m_Start.m_Y;
            const double wx = point.m_X - line.m_Start.m_X;
            const double wy = point.m_Y - line.m_Start.m_Y;
            const double s = (vx * wx + vy * wy) / (vx * vx + vy * vy);
            const double dx = point.m_X - (line.m_Start.m_X + vx * s);
            const double dy = point.m_Y - (line.m_Start.m_Y + vy * s);
            const double distance = std::sqrt(dx * dx + dy * dy);
            if (s > -1e-10 && s < 1.0000000001 && distance < bestDistance) {
                best = l;
                bestT = s;
                bestDistance = distance;
            }
        }
        int index = 0;
        double t = kUntouched;
        EXPECT_EQ(chain.fnIntersectPoint(point, index, t, nullptr), best >= 0);
        EXPECT_EQ(index, best);
        EXPECT_BITS(t, bestT);
    }
}

TEST(CqPolyline2D, ReportsExhaustedMemoryDuringASearchForFeet) {
    CqPolyline2D chain;
    for (int i = 0; i < 30; ++i) // each segment has a foot, so that the list grows often
        chain.fnAddVertex({i % 2 * 100, i});
    CqFakeWorld world;
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        int index = 7;
        double t = kUntouched;
        CqPoint2D nearest(3, 3);
        const bool found = chain.fnIntersectPoint({50, 15}, index, t, &nearest);
        failure.fnEnd();
        EXPECT_EQ(found, !failure.fnHappened());
        if (found)
            return;
        EXPECT_EQ(index, -1);
        EXPECT_BITS(t, kUntouched);
        EXPECT_BITS(nearest, CqPoint2D(3, 3));
        ASSERT_EQ(world.m_pMessages->m_Boxes.size(), 1u);
        EXPECT_EQ(world.m_pMessages->m_Boxes[0].m_Text,
                  "Insufficient memory. Please close other programs\nto free up system resources.");
        world.m_pMessages->m_Boxes.clear();
    });
    EXPECT_GE(failures, 2u);
}

TEST(CqPolyline2D, ListsCrossingsWithVerticalLines) {
    const CqPolyline2D chain = fnChain({{0, 0}, {10, 20}, {20, 0}, {20, 8}});
    CqPolyline2D::Values values;
    CqPolyline2D::Places where;
    values.Add(99.0);
    where.Add({9, 9.0});
    chain.fnIntersectX(5, values, &where);
    ASSERT_EQ(values.GetSize(), 1);
    EXPECT_BITS(values[0], 10.0);
    EXPECT_EQ(where[0].m_Line, 0);
    EXPECT_BITS(where[0].m_Param, 0.5);
    // A shared vertex is listed twice.
    chain.fnIntersectX(10, values, &where);
    ASSERT_EQ(values.GetSize(), 2);
    EXPECT_BITS(values[0], 20.0);
    EXPECT_BITS(values[1], 20.0);
    EXPECT_EQ(where[0].m_Line, 0);
    EXPECT_BITS(where[0].m_Param, 1.0);
    EXPECT_EQ(where[1].m_Line, 1);
    EXPECT_BITS(where[1].m_Param, 0.0);
    // A vertical segment reports its first end.
    chain.fnIntersectX(20, values, &where);
    ASSERT_EQ(values.GetSize(), 2);
    EXPECT_BITS(values[1], 0.0);
    EXPECT_EQ(where[1].m_Line, 2);
    EXPECT_BITS(where[1].m_Param, 0.0);
    chain.fnIntersectX(20.5, values, &where);
    EXPECT_EQ(values.GetSize(), 0);
    EXPECT_EQ(where.GetSize(), 0);
    chain.fnIntersectX(-1e-15, values, nullptr); // without tolerance
    EXPECT_EQ(values.GetSize(), 0);
}

TEST(CqPolyline2D, ListsCrossingsOfAnAlmostVerticalSegmentByItsFirstEnd) {
    CqPolyline2D::Values values;
    CqPolyline2D::Places where;
    const CqPolyline2D chain = fnChain({{0, 3}, {1e-10, 9.0}});
    chain.fnIntersectX(0.5e-10, values, &where);
    ASSERT_EQ(values.GetSize(), 1);
    EXPECT_BITS(values[0], 3.0);
    EXPECT_BITS(where[0].m_Param, 0.0);
    chain.fnIntersectX(1e-10, values, &where); // exactly the tolerance from the first end
    EXPECT_EQ(values.GetSize(), 0);
}

TEST(CqPolyline2D, ListsCrossingsAsEachSegmentDoes) {
    CqRandom random(14);
    for (int i = 0; i < 500; ++i) {
        CqPolyline2D chain;
        CqPolyline2D mirrored;
        for (int v = random.fnInt(0, 12); v >= 0; --v) {
            // Integers, so that vertices, vertical and equal segments occur.
            const CqPoint2D p(random.fnInt(0, 5), random.fnInt(0, 5));
            chain.fnAddVertex(p);
            mirrored.fnAddVertex({p.m_Y, p.m_X});
        }
        const double x = random.fnInt(0, 10) * 0.5;
        std::vector<double> expected;
        std::vector<CqPolyPoint2D> places;
        for (int l = 0; l < chain.fnGetNumberLine(); ++l) {
            const CqPoint2D a = chain.fnGetVertex(l);
            const CqPoint2D b = chain.fnGetVertex(l + 1);
            if (x < std::min(a.m_X, b.m_X) || x > std::max(a.m_X, b.m_X))
                continue;
            const double s = a.m_X == b.m_X ? 0.0 : (x - a.m_X) / (b.m_X - a.m_X);
            expected.push_back((b.m_Y - a.m_Y) * s + a.m_Y);
            places.emplace_back(l, s);
        }
        CqPolyline2D::Values values;
        CqPolyline2D::Places where;
        for (const bool vertical : {true, false}) {
            if (vertical)
                chain.fnIntersectX(x, values, &where);
            else
                mirrored.fnIntersectY(x, values, &where);
            ASSERT_EQ(values.GetSize(), static_cast<int>(expected.size()));
            ASSERT_EQ(where.GetSize(), values.GetSize());
            for (int v = 0; v < values.GetSize(); ++v) {
                const CqPolyPoint2D& place = places[static_cast<std::size_t>(v)];
                EXPECT_BITS(values[v], expected[static_cast<std::size_t>(v)]);
                EXPECT_EQ(where[v].m_Line, place.m_Line);
                EXPECT_BITS(where[v].m_Param, place.m_Param);
            }
        }
    }
}

TEST(CqPolyline2D, ScansTheLinesOfADerivedClass) {
    const CqStair stair(10);
    EXPECT_EQ(stair.fnGetNumberVertex(), 0);
    EXPECT_TRUE(stair.fnIntersectLine({{4, 5}, {5, 4}}));
    int index = 0;
    double t = 0.0;
    EXPECT_TRUE(stair.fnIntersectPoint({6, 7}, index, t, nullptr));
    EXPECT_EQ(index, 6);
    CqPolyline2D::Values values;
    stair.fnIntersectX(2.5, values, nullptr);
    ASSERT_EQ(values.GetSize(), 1);
    EXPECT_BITS(values[0], 2.5);
    stair.fnIntersectY(9.25, values, nullptr);
    ASSERT_EQ(values.GetSize(), 1);
    EXPECT_BITS(stair.fnComputePoint(3, 0.5), CqPoint2D(3.5, 3.5));
}

/// Counts the queries of its number of lines, and has one line fewer after each.
class CqMeltingStair : public CqStair {
public:
    explicit CqMeltingStair(int count) : CqStair(count) {}
    int fnGetNumberLine() const override { return CqStair::fnGetNumberLine() - m_nAsked++; }
    mutable int m_nAsked = 0;
};

TEST(CqPolyline2D, QueriesItsNumberOfLinesBeforeEachLineExceptForAPlainCrossing) {
    // Of ten lines, scans that query each time visit five.
    CqPolyline2D::Values values;
    CqMeltingStair stair(10);
    stair.fnIntersectX(9.5, values, nullptr);
    EXPECT_EQ(values.GetSize(), 0);
    EXPECT_EQ(stair.m_nAsked, 6);
    stair.m_nAsked = 0;
    stair.fnIntersectY(4.5, values, nullptr);
    EXPECT_EQ(values.GetSize(), 1);
    EXPECT_EQ(stair.m_nAsked, 6);
    stair.m_nAsked = 0;
    int index = 7;
    double t = kUntouched;
    EXPECT_FALSE(stair.fnIntersectPoint({9.5, 9.5}, index, t, nullptr));
    EXPECT_EQ(stair.m_nAsked, 6);
    stair.m_nAsked = 0;
    EXPECT_TRUE(stair.fnIntersectLine({{9, 10}, {10, 9}}));
    EXPECT_EQ(stair.m_nAsked, 1);
}

TEST(CqPolyline2D, NumbersItsLastLineByTheCountOfADerivedClass) {
    CqStair stair(10);
    EXPECT_EQ(stair.fnAddLine({0, 0}, {1, 0}), 9);
    EXPECT_EQ(stair.fnInsertLine({0, 0}, {1, 0}), 9);
    CqStair one(1);
    one.fnAddVertex({0, 0});
    one.fnAddVertex({1, 0});
    one.fnAddVertex({2, 0});
    one.fnRemoveLine(); // the only line, so everything is removed
    EXPECT_EQ(one.fnGetNumberVertex(), 0);
}

TEST(CqPolyline2D, SelectsNoInfinitelyDistantFootButStillReportsAHit) {
    const CqPolyline2D chain = fnChain({{0, 0}, {10, 0}});
    int index = 7;
    double t = kUntouched;
    CqPoint2D nearest(3, 3);
    EXPECT_TRUE(chain.fnIntersectPoint({5.0, 1e200}, index, t, &nearest));
    EXPECT_EQ(index, -1);
    EXPECT_BITS(t, kUntouched);
    EXPECT_BITS(nearest, CqPoint2D(3, 3));
}

TEST(CqPolyline2D, PropagatesExhaustedMemory) {
    const std::size_t runs = fnFailEachAllocation([](CqAllocationFailure&) {
        CqPolyline2D chain;
        try {
            for (int i = 0; i < 20; ++i) {
                chain.fnAddLine({i, 0}, {i + 1, 0});
                chain.fnAddParam(i, 0, 1);
            }
            CqPolyline2D copy(chain);
            copy.fnAppend(chain);
            copy.fnInsertLine({5, 5}, {6, 6});
            copy.fnFreeExtra();
            CqPolyline2D::Values values;
            CqPolyline2D::Places where;
            copy.fnIntersectX(3.5, values, &where);
        } catch (CMemoryException* failure) {
            failure->Delete();
            // The remaining content is usable.
            for (int i = 0; i < chain.fnGetNumberLine(); ++i)
                EXPECT_LE(chain.fnGetLine(i).fnFindLength(), 21.0);
        }
    });
    EXPECT_GE(runs, 8u);
}

} // namespace
