#include "q32Base/image/CqMask.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "tests/display/DisplayWorld.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

struct Shown {
    int x;
    int y;
    int width;

    bool operator==(const Shown& other) const {
        return x == other.x && y == other.y && width == other.width;
    }
};

std::vector<Shown> fnRuns(CqDisplayWorld& world) {
    std::vector<Shown> runs;
    for (const CqHeadlessDraw& draw : world.fnScreen().fnGetDraws()) {
        EXPECT_EQ(draw.m_nHeight, 1u);
        runs.push_back({draw.m_nX, draw.m_nY, static_cast<int>(draw.m_nWidth)});
    }
    world.fnScreen().fnClearDraws();
    return runs;
}

/// Writes a row of an image: a pixel's bytes for each letter, '#' for shown and '.' for key
/// pixels.
void fnWriteRow(CqImage& image, unsigned row, const std::string& pattern,
                const std::vector<unsigned char>& shown, const std::vector<unsigned char>& key) {
    CqImageLine line;
    image.fnAccessLine(row, &line, false);
    unsigned char* out = line.LineBuffer;
    for (const char c : pattern) {
        const auto& bytes = c == '#' ? shown : key;
        out = std::copy(bytes.begin(), bytes.end(), out);
    }
}

constexpr unsigned long kKey = 0x00302010; // red 16, green 32, blue 48

} // namespace

TEST(KeyDrawing, DrawsTheRunsBetweenKeyPixelsOfEveryDepth) {
    for (const int screen : {8, 16, 24, 32}) {
        CqDisplayWorld world(screen);
        struct Case {
            unsigned bits;
            std::vector<unsigned char> shown;
            std::vector<unsigned char> key;
        };
        const Case cases[] = {{8, {7}, {5}},
                              {16, {0x10, 0x06}, {0x11, 0x06}}, // 16, 32, 48: 00010 001000 00110
                              {24, {16, 32, 49}, {16, 32, 48}}};
        for (const Case& c : cases) {
            CqImage image(10, 3, c.bits, nullptr, 0);
            if (c.bits == 8) {
                constexpr RGBQUAD kKeyColor = {48, 32, 16, 0};
                image.fnSetPaletteEntry(5, 1, &kKeyColor);
                image.fnSetPaletteEntry(6, 1, &kKeyColor); // only the first of equals is key
            }
            fnWriteRow(image, 0, "..##..###.", c.shown, c.key);
            fnWriteRow(image, 1, "..........", c.shown, c.key);
            fnWriteRow(image, 2, "##########", c.shown, c.key);
            world.fnScreen().fnClearDraws();
            EXPECT_TRUE(image.fnKeyDraw(world.fnDC(), CRect(100, 50, 200, 80), 0, 0,
                                        CqMergeParam(kKey), false, false));
            EXPECT_EQ(fnRuns(world),
                      (std::vector<Shown>{{102, 50, 2}, {106, 50, 3}, {100, 52, 10}}))
                << c.bits << " on " << screen;
            EXPECT_TRUE(image.fnKeyDraw(world.fnDC(), CRect(100, 50, 105, 51), 3, 0,
                                        CqMergeParam(kKey), false, false));
            EXPECT_EQ(fnRuns(world), (std::vector<Shown>{{100, 50, 1}, {103, 50, 2}}));
            EXPECT_TRUE(image.fnKeyDraw(world.fnDC(), CRect(-7, -9, 3, 9), 8, 2, CqMergeParam(kKey),
                                        false, false));
            EXPECT_EQ(fnRuns(world), (std::vector<Shown>{{-7, -9, 2}}));
        }
    }
}

TEST(KeyDrawing, A16BitKeyIsTruncatedToTheImagesPrecision) {
    CqDisplayWorld world(24);
    CqImage image(2, 1, 16, nullptr, 0);
    fnWriteRow(image, 0, "#.", {0, 0}, {0xFF, 0xFF});
    EXPECT_TRUE(image.fnKeyDraw(world.fnDC(), CRect(0, 0, 9, 9), 0, 0, CqMergeParam(0xFFFFFFul),
                                false, false));
    EXPECT_EQ(fnRuns(world), (std::vector<Shown>{{0, 0, 1}}));
}

TEST(KeyDrawing, AColorMissingFromTheImageFailsAndDrawsNothing) {
    CqDisplayWorld world(8);
    for (const unsigned bits : {4u, 8u}) {
        CqImage image(10, 2, bits, nullptr, 0);
        EXPECT_FALSE(image.fnKeyDraw(world.fnDC(), CRect(0, 0, 9, 9), 0, 0,
                                     CqMergeParam(0x010203ul), false, false));
        EXPECT_EQ(image.TileMap->SavedPalette, nullptr);
        EXPECT_EQ(world.fnDC()->SelectPalette(nullptr, true), nullptr); // nothing stays selected
    }
    EXPECT_TRUE(world.fnScreen().fnGetDraws().empty());
}

TEST(KeyDrawing, AColorKeyOn32BitsIsSoughtInStepsOfThreeBytes) {
    CqDisplayWorld world(32);
    CqImage image(6, 1, 32, nullptr, 0);
    CqImageLine line;
    image.fnAccessLine(0, &line, false);
    std::memset(line.LineBuffer, 9, 24);
    constexpr unsigned char kColor[3] = {16, 32, 48};
    std::memcpy(line.LineBuffer + 9, kColor, 3); // the fourth triple, counted from the first byte
    line.fnUnAssociate();
    const CRect all(0, 0, 6, 1);
    EXPECT_TRUE(image.fnKeyDraw(world.fnDC(), all, 0, 0, CqMergeParam(kKey), false, false));
    EXPECT_EQ(fnRuns(world), (std::vector<Shown>{{0, 0, 3}, {4, 0, 2}}));
    // A scan from x begins at that pixel's own bytes.
    image.fnAccessLine(0, &line, false);
    std::memset(line.LineBuffer, 9, 24);
    std::memcpy(line.LineBuffer + 2 * 4 + 3, kColor, 3);
    line.fnUnAssociate();
    EXPECT_TRUE(image.fnKeyDraw(world.fnDC(), all, 2, 0, CqMergeParam(kKey), false, false));
    EXPECT_EQ(fnRuns(world), (std::vector<Shown>{{0, 0, 1}, {2, 0, 2}}));
}

TEST(KeyDrawing, AMaskHidesWhereItIsZero) {
    CqDisplayWorld world(24);
    for (const unsigned bits : {8u, 16u, 24u, 32u}) {
        const auto image = fnMakeNoise(150, 3, bits);
        CqMask mask(150, 3);
        std::string pattern(150, '#');
        pattern[0] = pattern[1] = pattern[130] = '.';
        fnWriteRow(mask, 0, pattern, {1}, {0});
        fnWriteRow(mask, 1, std::string(150, '.'), {1}, {0});
        fnWriteRow(mask, 2, std::string(150, '#'), {255}, {0});
        EXPECT_TRUE(image->fnKeyDraw(world.fnDC(), CRect(0, 0, 400, 400), 0, 0, CqMergeParam(mask),
                                     false, false));
        EXPECT_EQ(fnRuns(world), (std::vector<Shown>{{2, 0, 128}, {131, 0, 19}, {0, 2, 150}}));
        EXPECT_TRUE(image->fnKeyDraw(world.fnDC(), CRect(0, 0, 20, 1), 120, 0, CqMergeParam(mask),
                                     false, false));
        EXPECT_EQ(fnRuns(world), (std::vector<Shown>{{0, 0, 10}, {11, 0, 9}}));
    }
}

TEST(KeyDrawing, PixelsOutsideTheMaskAreHidden) {
    CqDisplayWorld world(24);
    const auto image = fnMakeNoise(150, 5, 24);
    CqMask mask(40, 2);
    fnWriteRow(mask, 0, std::string(40, '#'), {9}, {0});
    fnWriteRow(mask, 1, std::string(40, '#'), {9}, {0});
    EXPECT_TRUE(image->fnKeyDraw(world.fnDC(), CRect(0, 0, 400, 400), 30, 1, CqMergeParam(mask),
                                 false, false));
    EXPECT_EQ(fnRuns(world), (std::vector<Shown>{{0, 0, 10}}));
    EXPECT_TRUE(image->fnKeyDraw(world.fnDC(), CRect(0, 0, 400, 400), 40, 0, CqMergeParam(mask),
                                 false, false));
    EXPECT_TRUE(fnRuns(world).empty());
}

TEST(KeyDrawing, WithoutAMaskAMaskedDrawFails) {
    CqDisplayWorld world(24);
    const auto image = fnMakeNoise(15, 5, 24);
    CqMask empty;
    for (CqMask* mask : {static_cast<CqMask*>(nullptr), &empty})
        EXPECT_FALSE(image->fnKeyDraw(world.fnDC(), CRect(0, 0, 40, 40), 0, 0,
                                      CqMergeParam(MERGE_MASK, 0, mask), false, false));
    EXPECT_TRUE(fnRuns(world).empty());
}

TEST(KeyDrawing, AlphaOfZeroHidesA32BitPixel) {
    CqDisplayWorld world(24);
    CqImage image(10, 1, 32, nullptr, 0);
    fnWriteRow(image, 0, "#..##.#...", {1, 0, 0, 0}, {0, 5, 5, 5});
    for (const int type : {2, 77, -1}) {
        EXPECT_TRUE(image.fnKeyDraw(world.fnDC(), CRect(0, 0, 40, 40), 0, 0,
                                    CqMergeParam(static_cast<MERGE_TYPE>(type), 0, nullptr), false,
                                    false));
        EXPECT_EQ(fnRuns(world), (std::vector<Shown>{{0, 0, 1}, {3, 0, 2}, {6, 0, 1}}));
    }
}

TEST(KeyDrawing, AnImageWithoutAlphaIsShownCompletely) {
    CqDisplayWorld world(24);
    for (const unsigned bits : {8u, 16u, 24u}) {
        const auto image = fnMakeNoise(10, 1, bits);
        EXPECT_TRUE(image->fnKeyDraw(world.fnDC(), CRect(0, 0, 40, 40), 0, 0,
                                     CqMergeParam(MERGE_ALPHA, 0, nullptr), false, false));
        EXPECT_EQ(fnRuns(world), (std::vector<Shown>{{0, 0, 10}}));
    }
}

TEST(KeyDrawing, NothingOfA4BitImageIsDrawn) {
    CqDisplayWorld world(8);
    const auto image = fnMakeNoise(10, 4, 4);
    CqMask mask(10, 4);
    RGBQUAD quad{};
    image->fnGetPaletteEntry(3, 1, &quad);
    const unsigned long present = CqColor(quad);
    for (const CqMergeParam& param :
         {CqMergeParam(present), CqMergeParam(mask), CqMergeParam(MERGE_ALPHA, 0, nullptr)})
        EXPECT_TRUE(image->fnKeyDraw(world.fnDC(), CRect(0, 0, 40, 40), 0, 0, param, false, false));
    EXPECT_TRUE(fnRuns(world).empty());
}

TEST(KeyDrawing, APartOutsideTheImageDrawsNothing) {
    CqDisplayWorld world(24);
    const auto image = fnMakeNoise(10, 4, 24);
    const CqMergeParam param(MERGE_ALPHA, 0, nullptr);
    EXPECT_FALSE(image->fnKeyDraw(world.fnDC(), CRect(0, 0, 0, 40), 0, 0, param, false, false));
    EXPECT_FALSE(image->fnKeyDraw(world.fnDC(), CRect(0, 0, 40, 0), 0, 0, param, false, false));
    EXPECT_TRUE(image->fnKeyDraw(world.fnDC(), CRect(0, 0, 40, 40), 10, 0, param, false, false));
    EXPECT_TRUE(
        image->fnKeyDraw(world.fnDC(), CRect(0, 0, 40, 40), 0, 2147483647, param, false, false));
    EXPECT_TRUE(fnRuns(world).empty());
    EXPECT_TRUE(image->fnKeyDraw(world.fnDC(), CRect(0, 0, 40, 1), -5, -5, param, false, false));
    EXPECT_EQ(fnRuns(world), (std::vector<Shown>{{0, 0, 10}})); // a negative position counts as 0
}

TEST(KeyDrawing, HonoursNoGammaAndRestoresGammaAndPalette) {
    CqDisplayWorld world(24);
    world.fnDisplay().fnSetGammaValue(220);
    CqImage image(1, 1, 24, nullptr, 0);
    fnWriteRow(image, 0, "#", {51, 51, 51}, {});
    const CqMergeParam param(kKey);
    EXPECT_TRUE(image.fnKeyDraw(world.fnDC(), CRect(0, 0, 4, 4), 0, 0, param, true, false));
    EXPECT_EQ(world.fnScreen().fnGetDraws().back().m_Rows[0], 51);
    EXPECT_TRUE(world.fnDisplay().fnIsGammaEnabled());
    EXPECT_TRUE(image.fnKeyDraw(world.fnDC(), CRect(0, 0, 4, 4), 0, 0, param, false, false));
    EXPECT_EQ(world.fnScreen().fnGetDraws().back().m_Rows[0], 68);
    world.fnSetDepth(8);
    EXPECT_TRUE(image.fnKeyDraw(world.fnDC(), CRect(0, 0, 4, 4), 0, 0, param, false, false));
    EXPECT_EQ(world.fnScreen().fnGetDraws().back().m_Palette->size(), 216u);
    EXPECT_EQ(image.TileMap->SavedPalette, nullptr);
    EXPECT_EQ(world.fnDC()->SelectPalette(nullptr, true), nullptr);
}

TEST(KeyDrawing, StopsAtTheFirstRunThatTheScreenRefuses) {
    CqDisplayWorld world(24);
    CqImage image(5, 3, 24, nullptr, 0);
    for (unsigned row = 0; row < 3; ++row)
        fnWriteRow(image, row, "#.#.#", {1, 1, 1}, {16, 32, 48});
    for (std::size_t nth = 1; nth <= 9; ++nth) {
        world.fnScreen().m_SetDIBits.fnFail(nth);
        EXPECT_FALSE(image.fnKeyDraw(world.fnDC(), CRect(0, 0, 9, 9), 0, 0, CqMergeParam(kKey),
                                     true, false));
        EXPECT_EQ(fnRuns(world).size(), nth);
        EXPECT_TRUE(world.fnDisplay().fnIsGammaEnabled());
    }
}
