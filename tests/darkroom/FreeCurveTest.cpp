#include "examples/darkroom/model/FreeCurve.h"

#include "examples/darkroom/model/Operation.h"
#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>
#include <iterator>
#include <random>

using darkroom::CurvePoint;
using darkroom::FreeCurve;

TEST(DarkroomFreeCurve, GoesThroughItsPointsAndNeverLeavesTheRangeBetweenTwo) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::vector<CurvePoint> points;
        for (int x = static_cast<int>(random() % 60); x < 256;
             x += 1 + static_cast<int>(random() % 90))
            points.push_back({darkroom::CURVE_ALL, x, static_cast<int>(random() % 256)});
        const FreeCurve curve(points);
        for (const CurvePoint& point : points)
            ASSERT_DOUBLE_EQ(curve.fnAt(point.m_nX), point.m_nY);
        EXPECT_EQ(curve.fnAt(-5), points.front().m_nY) << "level beyond its ends";
        EXPECT_EQ(curve.fnAt(300), points.back().m_nY);
        for (std::size_t i = 0; i + 1 < points.size(); ++i) {
            const double sign = points[i + 1].m_nY < points[i].m_nY ? -1 : 1;
            double last = curve.fnAt(points[i].m_nX);
            for (double x = points[i].m_nX; x <= points[i + 1].m_nX; x += 0.25) {
                ASSERT_GE(sign * (curve.fnAt(x) - last), -1e-9) << round << " at " << x;
                last = curve.fnAt(x);
            }
        }
    }
}

TEST(DarkroomFreeCurve, HasTheSlopesOfTheMethod) {
    // At the middle point, of slope 1.0886, the widths 64 and 191 and the slopes 2 and 0.66 meet;
    // the values are those of the Hermite form, worked out by hand.
    const FreeCurve curve({{0, 0, 0}, {0, 64, 128}, {0, 255, 255}});
    EXPECT_NEAR(curve.fnAt(32), 71.2914286, 1e-4);
    EXPECT_NEAR(curve.fnAt(160), 201.8938715, 1e-4);
}

TEST(DarkroomFreeCurve, OfTwoPointsIsALineAndOfNoneChangesNothing) {
    const FreeCurve line({{0, 10, 200}, {0, 210, 0}});
    for (int x = 10; x <= 210; ++x)
        ASSERT_NEAR(line.fnAt(x), 210 - x, 1e-9);
    EXPECT_EQ(FreeCurve({}).fnAt(77.5), 77.5);
    EXPECT_EQ(FreeCurve({{0, 9, 40}}).fnAt(77.5), 40);
}

TEST(DarkroomFreeCurve, AChannelGoesThroughItsOwnCurveAndThenThroughThatOfAll) {
    using namespace darkroom;
    std::vector<int> values = fnMakeStraightCurves();
    const CqToneCurves straight = fnMakeFreeCurves(values);
    for (int i = 0; i < 256; ++i)
        ASSERT_EQ(straight.m_Red[i] + straight.m_Green[i] + straight.m_Blue[i], 3 * i);
    // Red is raised to 64 and more, and all are inverted.
    values = {fnPackPoint({CURVE_RED, 0, 64}), fnPackPoint({CURVE_RED, 255, 255}),
              fnPackPoint({CURVE_ALL, 255, 0}), fnPackPoint({CURVE_ALL, 0, 255})};
    const CqToneCurves curves = fnMakeFreeCurves(values);
    for (int i = 0; i < 256; ++i) {
        ASSERT_EQ(curves.m_Red[i], static_cast<int>(255 - (64 + 191.0 * i / 255) + 0.5)) << i;
        ASSERT_EQ(curves.m_Green[i], 255 - i);
        ASSERT_EQ(curves.m_Blue[i], 255 - i);
    }
}

namespace {
class DarkroomCurveOperation : public AttachedTest {};
} // namespace

TEST_F(DarkroomCurveOperation, MapsTheSelectionThroughTheCurvesAndIsUndone) {
    using namespace darkroom;
    const Operation& operation = *fnFindOperation("points");
    for (const unsigned int bits : {8u, 24u, 32u}) {
        Document document(3);
        fnOpenNoise(document, bits, 90, 60);
        const Bytes before = fnBytesOf(document.fnGetImage());
        Values values = operation.fnGetStart(document.fnGetImage());
        ASSERT_TRUE(document.fnApply(operation, values, nullptr).fnIsDone());
        EXPECT_FALSE(document.fnCanUndo()) << "straight curves change nothing";
        values.push_back(fnPackPoint({CURVE_ALL, 90, 170}));
        const CqToneCurves curves = fnMakeFreeCurves(values);
        ASSERT_TRUE(fnSelect(document, CRect(10, 10, 50, 40)).fnIsDone());
        CqImage& image = document.fnGetImage();
        const CqColor inside = image.fnGetPixelColor(20, 20);
        const CqColor outside = image.fnGetPixelColor(60, 20);
        ASSERT_TRUE(document.fnApply(operation, values, nullptr).fnIsDone());
        EXPECT_EQ(image.fnGetPixelColor(20, 20).m_Green, curves.m_Green[inside.m_Green]);
        EXPECT_EQ(image.fnGetPixelColor(60, 20), outside);
        document.fnUndo();
        EXPECT_EQ(fnBytesOf(image), before);
    }
}
