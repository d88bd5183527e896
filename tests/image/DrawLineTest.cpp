#include "tests/operations/PlainImage.h"
#include "tests/support/AttachedTest.h"

#include <cstdlib>

namespace q32::test {
namespace {

class DrawLineTest : public AttachedTest {
protected:
    Random m_Random{51001};
    const CqColor m_Color{0x12, 0x34, 0x56, 0x78};

    /// The rule, point by point.
    static void fnDrawByPoints(CqImage& image, int x0, int y0, int x1, int y1,
                               const CqColor& color) {
        const auto plot = [&](int x, int y) {
            if (x >= 0 && y >= 0 && x < static_cast<int>(image.Width) &&
                y < static_cast<int>(image.Height))
                image.fnSetPixelColor(x, y, color);
        };
        if (x0 == x1 && y0 == y1)
            return plot(x0, y0);
        const int sx = x1 - x0 < 1 ? -1 : 1;
        const int sy = y1 - y0 < 1 ? -1 : 1;
        const int ax = 2 * std::abs(x1 - x0);
        const int ay = 2 * std::abs(y1 - y0);
        int x = x0;
        int y = y0;
        if (ax <= ay) {
            for (int err = ax - (ay >> 1);;) {
                plot(x, y);
                if (y == y1)
                    return;
                if (err >= 0) {
                    x += sx;
                    err -= ay;
                }
                y += sy;
                err += ax;
            }
        }
        for (int err = ay - (ax >> 1);;) {
            plot(x, y);
            if (x == x1)
                return;
            if (err >= 0) {
                y += sy;
                err -= ax;
            }
            x += sx;
            err += ay;
        }
    }

    /// Positions of the nonzero pixels of an 8-bit image.
    static std::vector<CPoint> fnPoints(const CqImage& image) {
        std::vector<CPoint> points;
        const Rows rows = fnRows(image);
        for (std::size_t y = 0; y < rows.size(); ++y)
            for (std::size_t x = 0; x < rows[y].size(); ++x)
                if (rows[y][x] != 0)
                    points.emplace_back(static_cast<LONG>(x), static_cast<LONG>(y));
        return points;
    }

    std::unique_ptr<CqImage> fnBlack(unsigned int width, unsigned int height) {
        auto image = std::make_unique<CqImage>(width, height, 8u, q32GreyRamp, 256u);
        fnSetAll(*image, 0);
        return image;
    }
    static inline const CqColor kWhite{255, 255, 255, 255};
};

TEST_F(DrawLineTest, EveryLineGoesThroughTheRulesPoints) {
    for (int round = 0; round < 1500; ++round) {
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), fnRandomBits(m_Random),
                      nullptr, 0);
        fnSetRandom(image, m_Random);
        CqImage expected(image);
        const CqColor color = fnRandomColor(m_Random, image);
        const int reach = m_Random() % 3 ? 0 : 400;
        const auto place = [&](unsigned int size) {
            return fnBelow(m_Random, size + 2 * static_cast<unsigned int>(reach)) - reach;
        };
        int ends[4];
        for (int i = 0; i < 4; ++i)
            ends[i] = place(i % 2 ? image.Height : image.Width);
        if (m_Random() % 4 == 0)
            ends[2] = ends[0] + fnBelow(m_Random, 5) - 2;
        if (m_Random() % 4 == 0)
            ends[3] = ends[1] + fnBelow(m_Random, 5) - 2;
        image.fnDrawLine(ends[0], ends[1], ends[2], ends[3], color, false);
        fnDrawByPoints(expected, ends[0], ends[1], ends[2], ends[3], color);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected)))
            << image.BitCount << " bits, " << ends[0] << ", " << ends[1] << " to " << ends[2]
            << ", " << ends[3];
    }
}

TEST_F(DrawLineTest, AHorizontalLineIsTheSameBothWays) {
    for (const bool back : {false, true}) {
        const auto image = fnBlack(8, 2);
        image->fnDrawLine(back ? 5 : 0, 0, back ? 0 : 5, 0, kWhite, true);
        EXPECT_EQ(fnRows(*image)[0], (Bytes{255, 255, 255, 255, 255, 255, 0, 0}));
        EXPECT_EQ(fnRows(*image)[1], Bytes(8, 0));
    }
}

TEST_F(DrawLineTest, ALineOf5By2StepsWhereBresenhamSteps) {
    const auto image = fnBlack(6, 3);
    image->fnDrawLine(0, 0, 5, 2, kWhite, false);
    EXPECT_EQ(fnPoints(*image),
              (std::vector<CPoint>{{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}, {5, 2}}));
}

TEST_F(DrawLineTest, AtATieTheLineStepsEarlyInItsOwnDirection) {
    const auto there = fnBlack(3, 2);
    there->fnDrawLine(0, 0, 2, 1, kWhite, false);
    EXPECT_EQ(fnPoints(*there), (std::vector<CPoint>{{0, 0}, {1, 1}, {2, 1}}));
    const auto back = fnBlack(3, 2);
    back->fnDrawLine(2, 1, 0, 0, kWhite, false);
    EXPECT_EQ(fnPoints(*back), (std::vector<CPoint>{{0, 0}, {1, 0}, {2, 1}}));
}

TEST_F(DrawLineTest, ALineOfOnePointIsThatPoint) {
    const auto image = fnBlack(3, 3);
    image->fnDrawLine(1, 2, 1, 2, kWhite, false);
    EXPECT_EQ(fnPoints(*image), (std::vector<CPoint>{{1, 2}}));
}

TEST_F(DrawLineTest, ALineOfOnePointOutsideIsNotDrawn) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        CqImage image(3, 3, bits, nullptr, 0);
        fnSetAll(image, 0);
        for (const int at : {-2147483647 - 1, -1, 3, 2147483647}) {
            image.fnDrawLine(at, 1, at, 1, kWhite, false);
            image.fnDrawLine(1, at, 1, at, kWhite, false);
        }
        EXPECT_EQ(fnRows(image), Rows(3, Bytes(image.RowBytes, 0)));
    }
}

TEST_F(DrawLineTest, LinesEntirelyOutsidePlotNothing) {
    const auto image = fnBlack(200, 200);
    image->fnDrawLine(-5, -1, 300, -1, kWhite, false);
    image->fnDrawLine(-300, 10, 10, -300, kWhite, false);
    image->fnDrawLine(200, 0, 200, 199, kWhite, false);
    image->fnDrawLine(0, 210, 210, 190 + 12, kWhite, false);
    EXPECT_TRUE(fnPoints(*image).empty());
}

TEST_F(DrawLineTest, LinesFromTheLimitsOfTheCoordinatesPassThroughTheImage) {
    constexpr int kMax = 2147483647;
    const auto image = fnBlack(130, 130);
    image->fnDrawLine(-kMax - 1, -kMax - 1, kMax, kMax, kWhite, false);
    std::vector<CPoint> diagonal;
    diagonal.reserve(130);
    for (LONG i = 0; i < 130; ++i)
        diagonal.emplace_back(i, i);
    EXPECT_EQ(fnPoints(*image), diagonal);
    const auto level = fnBlack(130, 130);
    level->fnDrawLine(kMax, 64, -kMax - 1, 64, kWhite, false);
    EXPECT_EQ(fnRows(*level)[64], Bytes(130, 255));
    EXPECT_EQ(fnPoints(*level).size(), 130u);
}

/// Steps along the shorter axis after `steps` along the longer one: the line steps where the exact
/// line is half way or further.
std::int64_t fnMinor(std::uint64_t steps, std::uint64_t major, std::uint64_t minor) {
    return static_cast<std::int64_t>((2 * steps * minor + major) / (2 * major));
}

TEST_F(DrawLineTest, LinesWithEndsFarAwayGoThroughTheExactPoints) {
    for (int round = 0; round < 400; ++round) {
        const int bits = round % 2 ? 30 : 18; // of the longest distance to an end
        const auto distance = [&] { return std::int64_t{m_Random() >> (32 - bits)} + 1; };
        const std::int64_t before = distance();
        const std::int64_t major = before + 200 + distance();
        const std::int64_t minor = distance() % major;
        const std::int64_t down = m_Random() % 2 ? 1 : -1;
        const auto at = [&](std::int64_t steps) {
            return down * fnMinor(static_cast<std::uint64_t>(steps),
                                  static_cast<std::uint64_t>(major),
                                  static_cast<std::uint64_t>(minor));
        };
        const std::int64_t start = fnBelow(m_Random, 300) - 50 - at(before); // crosses x = 0 here
        const bool steep = m_Random() % 2 != 0;
        const bool left = m_Random() % 2 != 0; // runs towards 0 on the longer axis
        const auto image = fnBlack(200, 200);
        Rows expected(200, Bytes(200, 0));
        for (std::int64_t i = 0; i < 200; ++i) {
            const std::int64_t other = start + at(before + i);
            if (other < 0 || other >= 200)
                continue;
            const auto x = static_cast<std::size_t>(left ? 199 - i : i);
            const auto y = static_cast<std::size_t>(other);
            (steep ? expected[x][y] : expected[y][x]) = 255;
        }
        const std::int64_t ends[2][2] = {
            {left ? 199 + before : -before, start},
            {left ? 199 + before - major : major - before, start + at(major)}};
        const auto end = [&](int which, bool vertical) {
            return static_cast<int>(ends[which][vertical != steep ? 1 : 0]);
        };
        image->fnDrawLine(end(0, false), end(0, true), end(1, false), end(1, true), kWhite, false);
        ASSERT_TRUE(fnSameRows(fnRows(*image), expected))
            << major << " by " << minor << (steep ? ", steep" : "") << (left ? ", back" : "");
    }
}

TEST_F(DrawLineTest, ALineOfMillionsOfPointsIsExactToItsEnd) {
    constexpr unsigned int kLength = 5000011;
    for (const unsigned int height : {2u, 3u}) {
        CqImage image(kLength, height, 8, q32GreyRamp, 256);
        fnSetAll(image, 0);
        image.fnDrawLine(0, 0, static_cast<int>(kLength) - 1, static_cast<int>(height) - 1, kWhite,
                         false);
        Rows expected(height, Bytes(kLength, 0));
        for (unsigned int x = 0; x < kLength; ++x)
            expected[static_cast<std::size_t>(fnMinor(x, kLength - 1, height - 1))][x] = 255;
        EXPECT_TRUE(fnSameRows(fnRows(image), expected));
    }
}

TEST_F(DrawLineTest, A16BitPointIsStoredLowByteFirst) {
    CqImage image(2, 1, 16, nullptr, 0);
    fnSetAll(image, 0);
    image.fnDrawLine(0, 0, 1, 0, CqColor(0xFF, 0x04, 0x08, 255), false);
    EXPECT_EQ(fnRows(image)[0], (Bytes{0x21, 0xF8, 0x21, 0xF8}));
}

TEST_F(DrawLineTest, A4BitPointOfAnOddColumnIsOneByteFurther) {
    CqImage image(4, 2, 4, nullptr, 0);
    fnSetAll(image, 0);
    image.fnDrawLine(0, 0, 3, 0, kWhite, false);
    EXPECT_EQ(fnRows(image), (Rows{{0xF0, 0xFF}, {0x0F, 0x00}}));
}

TEST_F(DrawLineTest, AtTheLastPointOf4BitsNothingOutsideIsWritten) {
    CqImage image(4, 2, 4, nullptr, 0);
    fnSetAll(image, 0);
    image.fnDrawLine(3, 1, 3, 1, kWhite, false);
    image.fnDrawLine(3, 1, 2, 1, kWhite, false);
    EXPECT_EQ(fnRows(image), (Rows{{0, 0}, {0, 0xF0}}));
}

TEST_F(DrawLineTest, AColourMissingFromThePaletteDrawsIndex0) {
    CqImage image(3, 1, 8, q32GreyRamp, 256);
    fnSetAll(image, 9);
    image.fnDrawLine(0, 0, 1, 0, CqColor(1, 2, 3, 255), false);
    EXPECT_EQ(fnRows(image)[0], (Bytes{0, 0, 9}));
}

} // namespace
} // namespace q32::test
