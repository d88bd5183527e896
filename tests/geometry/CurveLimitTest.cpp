#include "q32Base/geometry/CurveLimit.h"

#include "q32Base/framework/CArchive.h"
#include "q32Base/geometry/CqCubicBezier2D.h"
#include "q32Base/geometry/CqPolyline2D.h"
#include "q32Base/geometry/CqQuadBezier2D.h"
#include "tests/geometry/GeometryTestTools.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

namespace {

/// Sets the limit, and restores it.
class Limit {
public:
    explicit Limit(std::uint32_t parts) { q32SetCurveLimit(parts); }
    ~Limit() { q32SetCurveLimit(0); }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;
};

/// A curve that consists of millions of parts, of whatever size its coordinates are.
CqCubicBezier2D fnHuge(double size) {
    return {CqPoint2D(0.0, 0.1 * size), CqPoint2D(0.3 * size, 0.9 * size),
            CqPoint2D(0.7 * size, -0.8 * size), CqPoint2D(size, 0.0), 1.0};
}

class CurveDrawing : public AttachedTest {};

bool fnIsRefused(const CqCubicBezier2D& curve, CqPolyline2D& polyline, double tolerance) {
    try {
        curve.fnTessellate(polyline, tolerance);
    } catch (CMemoryException* failure) {
        failure->Delete();
        return true;
    }
    return false;
}

} // namespace

TEST(CurveLimit, IsAMillionPartsUnlessTheHostSetsAnother) {
    EXPECT_EQ(q32GetCurveLimit(), 1048576u);
    {
        const Limit limit(7);
        EXPECT_EQ(q32GetCurveLimit(), 7u);
    }
    EXPECT_EQ(q32GetCurveLimit(), kMaxCurveParts);
}

TEST(CurveLimit, PermitsExactlySoManySegments) {
    const CqCubicBezier2D curve = fnHuge(1000.0);
    CqPolyline2D expected;
    curve.fnTessellate(expected, 0.01);
    const int count = expected.fnGetNumberLine();
    ASSERT_GT(count, 50);
    CqPolyline2D polyline;
    {
        const Limit limit(static_cast<std::uint32_t>(count));
        ASSERT_FALSE(fnIsRefused(curve, polyline, 0.01));
        ASSERT_EQ(polyline.fnGetNumberLine(), count);
        for (int i = 0; i <= count; ++i)
            EXPECT_TRUE(polyline.fnGetVertex(i) == expected.fnGetVertex(i));
    }
    const Limit limit(static_cast<std::uint32_t>(count) - 1);
    EXPECT_TRUE(fnIsRefused(curve, polyline, 0.01));
    EXPECT_EQ(polyline.fnGetNumberLine(), count - 1);
    const CqCubicBezier2D flat(CqPoint2D(0, 0), CqPoint2D(1, 0), CqPoint2D(2, 0), CqPoint2D(3, 0),
                               1.0);
    const Limit one(1);
    EXPECT_FALSE(fnIsRefused(flat, polyline, 0.01));
    EXPECT_EQ(polyline.fnGetNumberLine(), 1);
}

TEST(CurveLimit, StopsACurveFromAnArchiveBeforeItTakesTheMemory) {
    CMemFile file;
    {
        CArchive archive(&file, CArchive::store);
        CqCubicBezier2D curve = fnHuge(1e100);
        curve.fnSerialize(archive);
        archive.Close();
    }
    ASSERT_EQ(file.GetLength(), 64u);
    file.Seek(0);
    CqCubicBezier2D curve;
    CArchive archive(&file, CArchive::load);
    curve.fnSerialize(archive);
    archive.Close();
    CqPolyline2D polyline;
    const CqBlockWatch watch({});
    EXPECT_TRUE(fnIsRefused(curve, polyline, 0.1));
    EXPECT_EQ(polyline.fnGetNumberLine(), 1048576);
    EXPECT_LT(CqBlockWatch::fnLargestOther(), std::size_t{32} << 20);
}

TEST_F(CurveDrawing, StopsAtTheLimitOfPartsThatAreSeen) {
    const CqColor color(1, 2, 3, 255);
    CqCubicBezier2D curve(CqPoint2D(0, 0), CqPoint2D(3000, 1000), CqPoint2D(-2000, 1000),
                          CqPoint2D(999, 0), 1.0);
    const auto draw = [&](CqImage& image) {
        return fnRaisesMemoryException([&] { curve.fnRasterize(image, color); });
    };
    CqImage whole(1000, 1000, 24, nullptr, 0);
    ASSERT_FALSE(draw(whole));
    EXPECT_TRUE(whole.fnGetPixelColor(999, 0) == color);
    CqImage part(1000, 1000, 24, nullptr, 0);
    {
        const Limit limit(5);
        EXPECT_TRUE(draw(part));
    }
    EXPECT_TRUE(part.fnGetPixelColor(0, 0) == color) << "drawn up to there";
    EXPECT_FALSE(part.fnGetPixelColor(999, 0) == color);
    for (int y = 0; y < 1000; ++y)
        for (int x = 0; x < 1000; ++x)
            ASSERT_TRUE(!(part.fnGetPixelColor(x, y) == color) ||
                        whole.fnGetPixelColor(x, y) == color);
    CqImage small(10, 10, 24, nullptr, 0);
    const Limit limit(5);
    CqCubicBezier2D beside(CqPoint2D(1e6, 0.0), CqPoint2D(9e6, 9e6), CqPoint2D(2e6, -9e6),
                           CqPoint2D(8e6, 0.0), 1.0);
    EXPECT_FALSE(fnRaisesMemoryException([&] { beside.fnRasterize(small, color); }))
        << "parts that can't touch the picture count as few";
}

TEST(CurveLimit, ALineMeetsACurveBeyondItNowhere) {
    const double size = 1e100;
    const CqCubicBezier2D cubic = fnHuge(size);
    const CqQuadBezier2D quad(CqPoint2D(0.0, 0.0), CqPoint2D(0.5 * size, size),
                              CqPoint2D(size, 0.0), 1.0);
    const CqLine2D line(CqPoint2D(0.4 * size, -size), CqPoint2D(0.4 * size, size));
    double t[3];
    EXPECT_EQ(cubic.fnIntersectLine(line, t[0], t[1], t[2]), 0);
    EXPECT_EQ(quad.fnIntersectLine(line, t[0], t[1]), 0);

    const CqCubicBezier2D simple = fnHuge(1e6);
    const CqLine2D crossing(CqPoint2D(4e5, -1e6), CqPoint2D(4e5, 1e6));
    EXPECT_GE(simple.fnIntersectLine(crossing, t[0], t[1], t[2]), 1);
    const Limit limit(100);
    EXPECT_EQ(simple.fnIntersectLine(crossing, t[0], t[1], t[2]), 0);
}
