#include "examples/darkroom/model/Shapes.h"

#include "q32Base/operations/Stroke.h"
#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"

#include <cmath>
#include <random>

using darkroom::Document;
using darkroom::ShapeKind;

namespace {

class DarkroomShapes : public AttachedTest {
protected:
    static void fnMake(ShapeKind shape, std::vector<CqPoint2D> points, CqMask& mask) {
        ASSERT_TRUE(darkroom::fnMakeShapeMask(darkroom::fnMakeOutline(shape, points), 200, 150,
                                              mask, nullptr));
    }
    /// The even-odd rule for one place, by the crossings to its right.
    static bool fnIsInside(const std::vector<CqPoint2D>& outline, double x, double y) {
        bool inside = false;
        for (std::size_t i = 0; i < outline.size(); ++i) {
            const CqPoint2D& a = outline[i];
            const CqPoint2D& b = outline[(i + 1) % outline.size()];
            if ((a.m_Y <= y) != (b.m_Y <= y) &&
                x < a.m_X + (b.m_X - a.m_X) * ((y - a.m_Y) / (b.m_Y - a.m_Y)))
                inside = !inside;
        }
        return inside;
    }
    static int fnCountInside(const std::vector<CqPoint2D>& outline, int x, int y) {
        int count = 0;
        for (int part = 0; part < 256; ++part) {
            const double partX = (part % 16 + 0.5) / 16;
            const double partY = (part / 16 + 0.5) / 16;
            count += fnIsInside(outline, x + partX, y + partY) ? 1 : 0;
        }
        return count;
    }
    static int fnWeightOf(CqMask& mask, int x, int y) {
        const CRect& bound = mask.m_rectBound;
        return bound.PtInRect(CPoint(x, y)) ? *mask.fnGetPixelAddr(x - bound.left, y - bound.top)
                                            : 0;
    }
};

} // namespace

TEST_F(DarkroomShapes, ARectangleSelectsThePixelsWhoseCentresLieInside) {
    CqMask mask;
    fnMake(ShapeKind::RECTANGLE, {{10.4, 20.6}, {50.3, 40.4}}, mask);
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x)
            ASSERT_EQ(fnHas(mask, x, y), x >= 10 && x < 50 && y >= 21 && y < 40) << x << ", " << y;
}

TEST_F(DarkroomShapes, ARectangleMayBeDrawnFromAnyCornerAndBeyondThePicture) {
    CqMask mask;
    fnMake(ShapeKind::RECTANGLE, {{500, 30}, {100, -80}}, mask);
    EXPECT_EQ(mask.m_rectBound, CRect(100, 0, 200, 30));
    EXPECT_TRUE(fnHas(mask, 199, 0));
    EXPECT_TRUE(fnHas(mask, 100, 29));
}

TEST_F(DarkroomShapes, AnEllipseIsRound) {
    CqMask mask;
    fnMake(ShapeKind::ELLIPSE, {{20, 10}, {180, 110}}, mask);
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x) {
            const double distance = std::hypot((x + 0.5 - 100) / 80, (y + 0.5 - 60) / 50);
            if (std::abs(distance - 1) < 0.01)
                continue; // the curve may deviate slightly
            ASSERT_EQ(fnHas(mask, x, y), distance < 1) << x << ", " << y;
        }
}

TEST_F(DarkroomShapes, ASmoothMaskGivesEachPixelTheShareOfItsSquaresInside) {
    std::mt19937 random(15);
    const auto draw = [&](int most) { return static_cast<double>(random() % 4096) * most / 4096; };
    // A rotated square, an ellipse beyond two edges, one thinner than a pixel, and stars.
    std::vector<std::vector<CqPoint2D>> outlines = {
        {{30.3, 4.1}, {56.2, 20.9}, {39.4, 46.8}, {13.5, 30.0}},
        darkroom::fnMakeOutline(ShapeKind::ELLIPSE,
                                std::vector<CqPoint2D>{{-10.5, 12.25}, {31.4, 70.6}}),
        darkroom::fnMakeOutline(ShapeKind::ELLIPSE,
                                std::vector<CqPoint2D>{{10.0, 20.4}, {50.0, 20.9}})};
    for (int round = 0; round < 4; ++round) {
        std::vector<CqPoint2D> star;
        for (int i = 3 + round; i > 0; --i)
            star.emplace_back(draw(90) - 15, draw(70) - 10);
        outlines.push_back(star);
    }
    int grey = 0;
    for (const auto& outline : outlines) {
        CqMask mask;
        ASSERT_TRUE(darkroom::fnMakeShapeMask(outline, 60, 50, mask, nullptr, true));
        for (int y = 0; y < 50; ++y)
            for (int x = 0; x < 60; ++x) {
                const int weight = (255 * fnCountInside(outline, x, y) + 128) / 256;
                ASSERT_EQ(fnWeightOf(mask, x, y), weight) << x << ", " << y;
                grey += weight > 0 && weight < 255 ? 1 : 0;
            }
    }
    EXPECT_GT(grey, 300);
}

TEST_F(DarkroomShapes, AStoppedSmoothMaskLeavesTheFormerOne) {
    const auto outline =
        darkroom::fnMakeOutline(ShapeKind::ELLIPSE, std::vector<CqPoint2D>{{5, 5}, {50, 40}});
    CqMask mask(3, 2);
    AbortingProgress progress(4);
    EXPECT_FALSE(darkroom::fnMakeShapeMask(outline, 60, 50, mask, &progress, true));
    EXPECT_EQ(mask.Width, 3u);
}

TEST_F(DarkroomShapes, AFillThroughASmoothSelectionIsMixedAtItsEdge) {
    Document document(4);
    ASSERT_TRUE(document.fnNew(60, 50, CqColor(0, 0, 0, 255), nullptr).fnIsDone());
    const std::vector<CqPoint2D> corners = {{5.3, 6.2}, {50.8, 41.4}};
    ASSERT_TRUE(
        document
            .fnSelectShape(ShapeKind::ELLIPSE, corners, Document::Combine::REPLACE, nullptr, true)
            .fnIsDone());
    ASSERT_TRUE(document.fnApply(darkroom::fnGetFillOperation(), {0xFFFFFF}, nullptr).fnIsDone());
    const auto outline = darkroom::fnMakeOutline(ShapeKind::ELLIPSE, corners);
    for (int y = 0; y < 50; ++y)
        for (int x = 0; x < 60; ++x)
            ASSERT_EQ(document.fnGetImage().fnGetPixelColor(x, y).m_Green,
                      (255 * fnCountInside(outline, x, y) + 128) / 256)
                << x << ", " << y;
}

TEST_F(DarkroomShapes, AFreehandOutlineThatCrossesItselfHasAHole) {
    CqMask mask;
    // Twice around the same square.
    fnMake(ShapeKind::FREEHAND,
           {{10, 10},
            {90, 10},
            {90, 90},
            {10, 90},
            {10, 10},
            {30, 30},
            {30, 70},
            {70, 70},
            {70, 30},
            {30, 30}},
           mask);
    EXPECT_TRUE(fnHas(mask, 15, 15));
    EXPECT_TRUE(fnHas(mask, 85, 85));
    EXPECT_FALSE(fnHas(mask, 50, 50));
}

TEST_F(DarkroomShapes, AShapeOutsideThePictureSelectsNothing) {
    CqMask mask;
    const std::vector<CqPoint2D> beside = {{-20, -20}, {-5, -5}};
    EXPECT_TRUE(darkroom::fnMakeShapeMask(darkroom::fnMakeOutline(ShapeKind::RECTANGLE, beside),
                                          200, 150, mask, nullptr));
    EXPECT_TRUE(mask.m_rectBound.IsRectEmpty());
    EXPECT_TRUE(darkroom::fnMakeShapeMask({}, 200, 150, mask, nullptr));
    EXPECT_TRUE(mask.m_rectBound.IsRectEmpty());
}

TEST_F(DarkroomShapes, AColorIsSelectedWithinItsTolerance) {
    CqImage image;
    fnFillNoise(image, 200, 150, 24, 5);
    CqMask mask;
    ASSERT_TRUE(darkroom::fnMakeColorMask(image, CqColor(120, 130, 140, 255), 60, mask, nullptr));
    int selected = 0;
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x) {
            const CqColor color = image.fnGetPixelColor(x, y);
            const bool near = color.m_Red >= 60 && color.m_Red <= 180 && color.m_Green >= 70 &&
                              color.m_Green <= 190 && color.m_Blue >= 80 && color.m_Blue <= 200;
            ASSERT_EQ(fnHas(mask, x, y), near) << x << ", " << y;
            selected += near ? 1 : 0;
        }
    EXPECT_GT(selected, 0);
    AbortingProgress progress(3);
    EXPECT_FALSE(darkroom::fnMakeColorMask(image, CqColor(), 0, mask, &progress));
}

TEST_F(DarkroomShapes, LinesAndCurvesReachTheirEnds) {
    CqImage image;
    image.fnAlloc(100, 100, 24, nullptr, 0);
    image.fnFill(CqColor(0, 0, 0, 255), nullptr, false);
    const CqColor red(255, 0, 0, 255);
    const std::vector<CqPoint2D> line = {{5.9, 5.1}, {90, 20}};
    const std::vector<CqPoint2D> curve = {{10, 90}, {10, 40}, {90, 40}, {90, 90}};
    darkroom::fnDrawPath(image, line, red);
    darkroom::fnDrawPath(image, curve, red);
    EXPECT_EQ(image.fnGetPixelColor(5, 5), red);
    EXPECT_EQ(image.fnGetPixelColor(90, 20), red);
    EXPECT_EQ(image.fnGetPixelColor(10, 90), red);
    EXPECT_EQ(image.fnGetPixelColor(90, 90), red);
    bool above = false;
    for (int y = 45; y < 60; ++y)
        above = above || image.fnGetPixelColor(50, y) == red;
    EXPECT_TRUE(above) << "the curve's middle lies at 52.5";
}

TEST_F(DarkroomShapes, AWideLineAndASmoothCurveFollowTheLibrarysStroke) {
    const CqColor red(255, 0, 0, 255);
    const std::vector<CqPoint2D> line = {{15.2, 5.1}, {330.0, 160.7}}; // through several tiles
    std::vector<CqPoint2D> places = line;
    for (CqPoint2D& place : places)
        place -= CqPoint2D(0.5, 0.5);
    CqMask mask;
    ASSERT_TRUE(q32MakeStrokeMask(places, 7, CRect(0, 0, 400, 300), mask, nullptr));
    for (const bool smooth : {false, true}) {
        for (const unsigned int bits : {24u, 32u}) {
            CqImage image;
            image.fnAlloc(400, 300, bits, nullptr, 0);
            image.fnFill(CqColor(0, 0, 0, 255), nullptr, false);
            darkroom::fnDrawPath(image, line, {red, 7, smooth});
            for (int y = 0; y < 300; ++y)
                for (int x = 0; x < 400; ++x) {
                    CPoint place(x, y);
                    const bool inside = mask.m_rectBound.PtInRect(place) != 0;
                    place.Offset(-mask.m_rectBound.left, -mask.m_rectBound.top);
                    const int weight = inside ? mask.fnGetPixelColor(place.x, place.y).m_Red : 0;
                    const int expected = smooth ? weight : weight < 128 ? 0 : 255;
                    ASSERT_EQ(image.fnGetPixelColor(x, y).m_Red, expected) << x << ", " << y;
                }
        }
    }
    CqImage image;
    image.fnAlloc(400, 300, 24, nullptr, 0);
    image.fnFill(CqColor(0, 0, 0, 255), nullptr, false);
    const std::vector<CqPoint2D> curve = {{10, 290}, {10, 40}, {390, 40}, {390, 290}};
    darkroom::fnDrawPath(image, curve, {red, 5, true});
    EXPECT_EQ(image.fnGetPixelColor(200, 102), red) << "the curve's middle lies at 102.5";
    EXPECT_EQ(image.fnGetPixelColor(200, 108), CqColor(0, 0, 0, 255));
}

TEST_F(DarkroomShapes, WhereColoursCantBeMixedLinesAreAPixelWide) {
    for (const unsigned int bits : {4u, 8u, 16u}) {
        CqImage images[2];
        const RGBQUAD palette[2] = {{0, 0, 0, 0}, {0, 0, 255, 0}};
        const std::vector<CqPoint2D> line = {{5, 5}, {90, 30}};
        for (CqImage& image : images) {
            image.fnAlloc(100, 60, bits, bits < 16 ? palette : nullptr, bits < 16 ? 2 : 0);
            image.fnFill(CqColor(0, 0, 0, 255), nullptr, false);
        }
        darkroom::fnDrawPath(images[0], line, {CqColor(255, 0, 0, 255), 9, true});
        darkroom::fnDrawPath(images[1], line, CqColor(255, 0, 0, 255));
        EXPECT_EQ(fnBytesOf(images[0]), fnBytesOf(images[1])) << bits;
    }
}

TEST_F(DarkroomShapes, AWideLineIsUndoneWholly) {
    Document document(4);
    CqImage noise;
    fnFillNoise(noise, 700, 500, 24, 3);
    ASSERT_TRUE(document.fnTakeNew(noise).fnIsDone());
    const auto before = fnBytesOf(document.fnGetImage());
    const std::vector<CqPoint2D> line = {{-20, 130}, {650, 390}};
    ASSERT_TRUE(document.fnDraw(line, {CqColor(255, 0, 0, 255), 120, true}, nullptr).fnIsDone());
    EXPECT_NE(fnBytesOf(document.fnGetImage()), before);
    document.fnUndo();
    EXPECT_TRUE(fnBytesOf(document.fnGetImage()) == before);
}
