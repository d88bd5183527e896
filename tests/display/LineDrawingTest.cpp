#include "q32Base/memory/CqTileMap_p.h"
#include "tests/display/DisplayWorld.h"
#include "tests/display/DrawReference.h"

namespace {

constexpr int kScreens[] = {8, 16, 24, 32};

/// The only block of a line draw. `index` bytes are those of the row in the buffer.
CqExpectedDraw fnExpect(CqImage& image, const CqReferenceSetup& setup, const CqImageLine& line,
                        int x, int y, int count, int sourceX) {
    const int bits = setup.m_nScreenBits == 16 ? 24 : setup.m_nScreenBits;
    CqExpectedDraw draw{x, y, count, 1, {}};
    for (int i = 0; i < count; ++i) {
        std::array<std::uint8_t, 4> pixel{};
        if (image.BitCount == 4) { // each byte is one index; zeros follow the row
            const auto at = static_cast<std::uint32_t>(sourceX / 2 + i);
            pixel[0] = at < line.RowBytes ? line.LineBuffer[at] : 0;
        } else {
            pixel = fnReferencePixel(image, sourceX + i, line.Row);
        }
        const CqDevicePixel device =
            fnReferenceDevicePixel(image, pixel, setup, sourceX + i, line.Row);
        draw.m_Rows.insert(draw.m_Rows.end(), device.m_Bytes.data(),
                           device.m_Bytes.data() + device.m_nCount);
    }
    draw.m_Rows.resize(static_cast<std::size_t>((bits * count / 8 + 3) / 4 * 4));
    return draw;
}

} // namespace

TEST(LineDrawing, ShowsAPartOfTheRowOnEveryScreen) {
    for (const int screen : kScreens) {
        CqDisplayWorld world(screen);
        for (const unsigned depth : {8u, 16u, 24u, 32u}) {
            for (const unsigned gamma : {180u, 120u}) {
                world.fnDisplay().fnSetGammaValue(gamma);
                const auto image = fnMakeNoise(301, 130, depth);
                CqReferenceSetup setup;
                setup.m_nScreenBits = screen;
                setup.m_nGamma = gamma;
                CqImageLine line;
                for (const int row : {0, 5, 129}) {
                    image->fnAccessLine(static_cast<unsigned>(row), &line, true);
                    for (const int sourceX : {0, 3, 127, 300}) {
                        const int count = std::min(77, 301 - sourceX);
                        world.fnScreen().fnClearDraws();
                        EXPECT_TRUE(line.fnDraw(world.fnDC(), -4, 9, 77, sourceX, row == 5));
                        EXPECT_EQ(
                            fnFindDifference({fnExpect(*image, setup, line, -4, 9, count, sourceX)},
                                             world.fnScreen().fnGetDraws(), screen),
                            "")
                            << screen << " " << depth << " " << row << " " << sourceX;
                    }
                }
            }
        }
    }
}

TEST(LineDrawing, ARowOf4BitsShowsItsBytesAsIndicesFollowedByZeros) {
    for (const int screen : {24, 32}) {
        CqDisplayWorld world(screen);
        CqImage image(21, 4, 4, q32GreyRamp, 0); // a palette that has every byte as an index
        fnFillNoise(image, 5);
        CqReferenceSetup setup;
        setup.m_nScreenBits = screen;
        CqImageLine line;
        image.fnAccessLine(2, &line, true);
        for (const int sourceX : {0, 1, 7, 20}) {
            world.fnScreen().fnClearDraws();
            EXPECT_TRUE(line.fnDraw(world.fnDC(), 3, 4, 1000, sourceX, false));
            EXPECT_EQ(fnFindDifference({fnExpect(image, setup, line, 3, 4, 21 - sourceX, sourceX)},
                                       world.fnScreen().fnGetDraws(), screen),
                      "")
                << sourceX;
        }
    }
}

TEST(LineDrawing, TheCountIsClippedToTheRow) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(50, 4, 24);
    CqImageLine line;
    image->fnAccessLine(1, &line, true);
    EXPECT_TRUE(line.fnDraw(world.fnDC(), 0, 0, 2147483647, 0, false));
    EXPECT_TRUE(line.fnDraw(world.fnDC(), 0, 0, 2147483647, 49, false));
    ASSERT_EQ(world.fnScreen().fnGetDraws().size(), 2u);
    EXPECT_EQ(world.fnScreen().fnGetDraws()[0].m_nWidth, 50u);
    EXPECT_EQ(world.fnScreen().fnGetDraws()[1].m_nWidth, 1u);
}

TEST(LineDrawing, APartWithoutAPixelOfTheRowGivesFalse) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(50, 4, 24);
    CqImageLine line;
    EXPECT_FALSE(line.fnDraw(world.fnDC(), 0, 0, 10, 0, false)); // has no current row
    image->fnAccessLine(1, &line, true);
    EXPECT_FALSE(line.fnDraw(world.fnDC(), 0, 0, 0, 0, false));
    EXPECT_FALSE(line.fnDraw(world.fnDC(), 0, 0, 10, 50, false));
    EXPECT_FALSE(line.fnDraw(world.fnDC(), 0, 0, 10, -1, false));
    CqImageLine memoryless(true);
    image->fnAccessLine(1, &memoryless, true);
    EXPECT_FALSE(memoryless.fnDraw(world.fnDC(), 0, 0, 10, 0, false));
    EXPECT_TRUE(world.fnScreen().fnGetDraws().empty());
}

TEST(LineDrawing, WithoutADeviceContextTheResultIsTrue) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(50, 4, 24);
    CqImageLine line;
    image->fnAccessLine(1, &line, true);
    EXPECT_TRUE(line.fnDraw(nullptr, 0, 0, 10, 0, false));
    ASSERT_EQ(world.fnScreen().fnGetDraws().size(), 1u);
    EXPECT_EQ(world.fnScreen().fnGetDraws()[0].m_pDC, nullptr);
}

TEST(LineDrawing, OnlyMinusOneIsAFailureOfTheScreen) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(50, 4, 24);
    CqImageLine line;
    image->fnAccessLine(1, &line, true);
    world.fnScreen().m_SetDIBits.fnFail();
    EXPECT_FALSE(line.fnDraw(world.fnDC(), 0, 0, 10, 0, false));
    world.fnScreen().fnSetFailedResult(0);
    world.fnScreen().m_SetDIBits.fnFail();
    EXPECT_TRUE(line.fnDraw(world.fnDC(), 0, 0, 10, 0, false));
}

TEST(LineDrawing, ShowsTheBufferNotTheImage) {
    CqDisplayWorld world(24);
    const auto image = fnMakeNoise(10, 4, 24);
    CqImageLine line;
    image->fnAccessLine(1, &line, true);
    line.LineBuffer[0] = 1;
    line.LineBuffer[1] = 2;
    line.LineBuffer[2] = 3;
    EXPECT_TRUE(line.fnDraw(world.fnDC(), 0, 0, 1, 0, false));
    EXPECT_EQ(world.fnScreen().fnGetDraws()[0].m_Rows, (std::vector<std::uint8_t>{3, 2, 1, 0}));
}
