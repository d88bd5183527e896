#include "platforms/headless/headless.h"
#include "q32Base/geometry/CqCubicBezier2D.h"
#include "q32Base/geometry/SegmentDrawing_p.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/module/Module.h"
#include "tests/geometry/CurveTestTools.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

class DigitalLine : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(q32Attach(q32HeadlessPlatform())); }
    void TearDown() override { q32Detach(); }
};

using DigitalCurve = DigitalLine;

const CqColor kWhite(255, 255, 255, 255);

using Pixels = std::vector<std::pair<int, int>>;

int fnPlainRound(double v) {
    return static_cast<int>(v + 0.5);
}

/// The walk from pixel to pixel, straight from its rule.
void fnPlainWalk(const CqLine2D& line, const CqImage& image, Pixels& pixels) {
    int x = fnPlainRound(line.m_Start.m_X);
    int y = fnPlainRound(line.m_Start.m_Y);
    const int x1 = fnPlainRound(line.m_End.m_X);
    const int y1 = fnPlainRound(line.m_End.m_Y);
    const int ax = 2 * std::abs(x1 - x);
    const int ay = 2 * std::abs(y1 - y);
    const int sx = x1 - x > 0 ? 1 : -1;
    const int sy = y1 - y > 0 ? 1 : -1;
    const auto plot = [&] {
        if (x >= 0 && x < static_cast<int>(image.Width) && y >= 0 &&
            y < static_cast<int>(image.Height))
            pixels.push_back({x, y});
    };
    if (ax > ay) {
        for (int d = ay - (ax >> 1);; x += sx, d += ay) {
            plot();
            if (x == x1)
                return;
            if (d >= 0) {
                y += sy;
                d -= ax;
            }
        }
    }
    for (int d = ax - (ay >> 1);; y += sy, d += ax) {
        plot();
        if (y == y1)
            return;
        if (d >= 0) {
            x += sx;
            d -= ay;
        }
    }
}

/// Fills the image with noise determined by the seed.
void fnFillWithNoise(CqImage& image, unsigned int seed) {
    CqRandom random(seed);
    CqTileMap& map = *image.TileMap;
    for (std::uint32_t i = 0; i < map.BufferSize; ++i)
        map.PixelBuffer[i] = static_cast<unsigned char>(random.fnInt(0, 255));
}

void fnExpectSamePixels(const CqImage& a, const CqImage& b, const std::string& what) {
    ASSERT_EQ(a.TileMap->BufferSize, b.TileMap->BufferSize);
    EXPECT_EQ(std::memcmp(a.TileMap->PixelBuffer, b.TileMap->PixelBuffer, a.TileMap->BufferSize), 0)
        << what;
}

/// The image as text, a star for each pixel that isn't black.
std::string fnPicture(CqImage& image) {
    std::string text;
    for (int y = 0; y < static_cast<int>(image.Height); ++y) {
        for (int x = 0; x < static_cast<int>(image.Width); ++x)
            text += image.fnGetPixelColor(x, y).m_Red != 0 ? '*' : '.';
        text += '\n';
    }
    return text;
}

void fnBlacken(CqImage& image) {
    std::memset(image.TileMap->PixelBuffer, 0, image.TileMap->BufferSize);
}

CqLine2D fnLine(double x0, double y0, double x1, double y1) {
    return {CqPoint2D(x0, y0), CqPoint2D(x1, y1)};
}

std::string fnDrawn(unsigned int width, unsigned int height, CqLine2D line) {
    CqImage image(width, height, 24, nullptr, 0);
    fnBlacken(image);
    line.fnRasterize(image, kWhite);
    return fnPicture(image);
}

TEST_F(DigitalLine, TakesOnePixelPerStepOfItsLongerAxis) {
    EXPECT_EQ(fnDrawn(6, 3, fnLine(0, 0, 5, 2)), "**....\n..**..\n....**\n");
    EXPECT_EQ(fnDrawn(6, 3, fnLine(5, 2, 0, 0)), "**....\n..**..\n....**\n");
    EXPECT_EQ(fnDrawn(2, 4, fnLine(0, 0, 1, 3)), "*.\n*.\n.*\n.*\n");
}

TEST_F(DigitalLine, StepsAtATieInTheDirectionOfDrawing) {
    EXPECT_EQ(fnDrawn(3, 2, fnLine(0, 0, 2, 1)), "*..\n.**\n");
    EXPECT_EQ(fnDrawn(3, 2, fnLine(2, 1, 0, 0)), "**.\n..*\n");
}

TEST_F(DigitalLine, TakesASinglePixelOnce) {
    EXPECT_EQ(fnDrawn(3, 3, fnLine(1.2, 0.9, 0.8, 1.4)), "...\n.*.\n...\n");
}

TEST_F(DigitalLine, IsClippedPixelByPixelAtTheEdges) {
    EXPECT_EQ(fnDrawn(3, 3, fnLine(-5, 1, 5, 1)), "...\n***\n...\n");
    EXPECT_EQ(fnDrawn(3, 3, fnLine(1, 9, 1, -9)), ".*.\n.*.\n.*.\n");
    EXPECT_EQ(fnDrawn(3, 3, fnLine(-9, -2, 9, -2)), "...\n...\n...\n");
    EXPECT_EQ(fnDrawn(3, 3, fnLine(-4, 0, -1, 3)), "...\n...\n...\n");
    EXPECT_EQ(fnDrawn(3, 3, fnLine(-2, -2, 1, 1)), "*..\n.*.\n...\n");
}

TEST_F(DigitalLine, RoundsByAddingAHalfAndTruncating) {
    EXPECT_EQ(fnDrawn(2, 1, fnLine(0.4, 0, 0.4, 0)), "*.\n");
    EXPECT_EQ(fnDrawn(2, 1, fnLine(0.5, 0, 0.5, 0)), ".*\n");
    EXPECT_EQ(fnDrawn(2, 1, fnLine(-0.6, 0, -0.6, 0)), "*.\n");
    EXPECT_EQ(fnDrawn(2, 1, fnLine(-1.4, -1.4, -1.4, -1.4)), "*.\n"); // toward zero
    EXPECT_EQ(fnDrawn(2, 1, fnLine(-1.5, 0, -1.5, 0)), "..\n");
}

TEST_F(DigitalLine, GoesAlongYWhenBothAxesAreAsLong) {
    EXPECT_EQ(fnDrawn(3, 3, fnLine(0, 2, 2, 0)), "..*\n.*.\n*..\n");
}

TEST_F(DigitalLine, WritesEachDepthAsASinglePixelIsWritten) {
    CqRandom random(60);
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        for (const auto& size : {std::pair(1, 1), std::pair(7, 5), std::pair(127, 129),
                                 std::pair(128, 128), std::pair(300, 260), std::pair(513, 70)}) {
            CqImage drawn(static_cast<unsigned int>(size.first),
                          static_cast<unsigned int>(size.second), bits, nullptr, 0);
            CqImage expected(drawn);
            fnFillWithNoise(drawn, bits);
            fnFillWithNoise(expected, bits);
            for (int i = 0; i < 150; ++i) {
                const double reach = i % 3 == 0 ? 1000.0 : 40.0;
                CqLine2D line({random.fnBetween(-reach, size.first + reach),
                               random.fnBetween(-reach, size.second + reach)},
                              {random.fnBetween(-reach, size.first + reach),
                               random.fnBetween(-reach, size.second + reach)});
                if (i % 5 == 0)
                    line.m_End.m_Y = line.m_Start.m_Y;
                if (i % 7 == 0)
                    line.m_End.m_X = line.m_Start.m_X;
                if (i % 11 == 0)
                    line.m_End = line.m_Start + CqPoint2D(60, i % 2 == 0 ? 60 : -60);
                const CqColor color = i % 2 == 0 ? CqColor(255, 255, 255, 9)
                                                 : CqColor(static_cast<unsigned char>(i), 2, 3, 7);
                line.fnRasterize(drawn, color);
                Pixels pixels;
                fnPlainWalk(line, expected, pixels);
                for (const auto& [x, y] : pixels)
                    expected.fnSetPixelColor(x, y, color);
            }
            fnExpectSamePixels(drawn, expected,
                               std::to_string(bits) + " bits, width " + std::to_string(size.first));
        }
    }
}

TEST_F(DigitalLine, EntersAnImageFromFarAwayAtThePixelOfThePlainWalk) {
    CqRandom random(61);
    CqImage drawn(200, 150, 8, nullptr, 0);
    CqImage expected(drawn);
    fnFillWithNoise(drawn, 1);
    fnFillWithNoise(expected, 1);
    for (int i = 0; i < 60; ++i) {
        // Through a point of the image, from up to a million pixels away to as far beyond.
        const CqPoint2D through = random.fnPoint(10, 140);
        const CqPoint2D away = random.fnPoint(-1e6, 1e6);
        CqLine2D line(through - away, through + away);
        line.fnRasterize(drawn, kWhite);
        Pixels pixels;
        fnPlainWalk(line, expected, pixels);
        EXPECT_FALSE(pixels.empty());
        for (const auto& [x, y] : pixels)
            expected.fnSetPixelColor(x, y, kWhite);
    }
    fnExpectSamePixels(drawn, expected, "far");
}

TEST_F(DigitalLine, ClampsCoordinatesThatNoImageReaches) {
    EXPECT_EQ(fnDrawn(3, 3, fnLine(-1e300, 1, kInf, 1)), "...\n***\n...\n");
    EXPECT_EQ(fnDrawn(3, 3, fnLine(-kInf, -kInf, kInf, kInf)), "*..\n.*.\n..*\n");
    EXPECT_EQ(fnDrawn(3, 3, fnLine(1, -1073741824.0, 1, 1073741824.0)), ".*.\n.*.\n.*.\n");
    EXPECT_EQ(fnDrawn(3, 3, fnLine(kNaN, 2, 2, 2)), "...\n...\n***\n");
    EXPECT_EQ(fnDrawn(3, 3, fnLine(1e300, 0, 1e300, 2)), "...\n...\n...\n");
}

TEST_F(DigitalLine, IgnoresAnImageWithoutPixels) {
    CqImage image;
    fnLine(0, 0, 9, 9).fnRasterize(image, kWhite);
    fnLine(5, -3, -9, 2).fnRasterize(image, kWhite);
    CqCubicBezier2D(CqPoint2D(0, 0), CqPoint2D(0, 80), CqPoint2D(80, 80), CqPoint2D(80, 0), 1.0)
        .fnRasterize(image, kWhite);
    EXPECT_EQ(image.TileMap, nullptr);
}

TEST_F(DigitalLine, FindsItsPaletteEntryAsASinglePixelDoes) {
    const RGBQUAD palette[4] = {{1, 1, 1, 0}, {0, 0, 255, 0}, {9, 9, 9, 0}, {0, 0, 255, 0}};
    CqImage image(4, 1, 8, palette, 4);
    fnLine(0, 0, 1, 0).fnRasterize(image, CqColor(255, 0, 0, 255)); // the first of two
    EXPECT_EQ(image.fnGetPixelAddr(0, 0)[0], 1);
    fnLine(1, 0, 3, 0).fnRasterize(image, CqColor(7, 7, 7, 255)); // not in the palette
    EXPECT_EQ(image.fnGetPixelAddr(1, 0)[0], 0);
}

TEST_F(DigitalCurve, IsTheLinesOfItsFlatParts) {
    CqRandom random(62);
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        CqImage drawn(300, 200, bits, nullptr, 0);
        CqImage expected(drawn);
        fnFillWithNoise(drawn, bits);
        fnFillWithNoise(expected, bits);
        for (int i = 0; i < 200; ++i) {
            Points p = fnRandomPoints(random, 4);
            for (CqPoint2D& point : p)
                point = point * (i % 3 == 0 ? 20.0 : 2.0) + CqPoint2D(150, 100);
            CqCubicBezier2D(p[0], p[1], p[2], p[3], 40.0).fnRasterize(drawn, kWhite);
            Pixels pixels;
            fnPlainFlatten(p, 0.5, [&](const Points& part, double, double) {
                fnPlainWalk({part[0], part[3]}, expected, pixels);
            });
            for (const auto& [x, y] : pixels)
                expected.fnSetPixelColor(x, y, kWhite);
        }
        fnExpectSamePixels(drawn, expected, std::to_string(bits) + " bits");
    }
}

TEST_F(DigitalCurve, IsOneStraightLineWhenItIsAlmostFlat) {
    CqImage image(11, 3, 24, nullptr, 0);
    fnBlacken(image);
    CqCubicBezier2D(CqPoint2D(0, 1), CqPoint2D(3.0, 1.49), CqPoint2D(6.0, 0.51), CqPoint2D(10, 1),
                    9.0)
        .fnRasterize(image, kWhite);
    EXPECT_EQ(fnPicture(image), "...........\n***********\n...........\n");
}

TEST_F(DigitalCurve, EndsForHugeAndInfiniteCoordinates) {
    CqRandom random(63);
    CqImage image(300, 200, 32, nullptr, 0);
    for (const double size : {1e9, 1e14, 1e17, 1e30, 1e100, 1e150, 1e160, 1e300}) {
        for (int i = 0; i < 10; ++i) {
            const CqPoint2D a = random.fnPoint(-1, 1) * size;
            const CqPoint2D b = random.fnPoint(-1, 1) * size;
            // Through the image and beyond.
            CqCubicBezier2D(a, b, CqPoint2D() - b, CqPoint2D() - a, 1.0).fnRasterize(image, kWhite);
        }
    }
    for (int i = 0; i < 5000; ++i) {
        CqPoint2D p[4];
        for (CqPoint2D& point : p)
            point = CqPoint2D(random.fnAnything(), random.fnAnything());
        CqCubicBezier2D(p[0], p[1], p[2], p[3], 1.0).fnRasterize(image, kWhite);
    }
}

} // namespace
