#include "q32Base/memory/CqTileMap_p.h"
#include "tests/display/DisplayWorld.h"
#include "tests/display/DrawReference.h"

#include <cstring>

namespace {

/// Records selections of palettes on their way to a real device context.
class PaletteSpy : public CDC {
public:
    struct Selection {
        CPalette* palette;
        bool background;
        bool realized;
    };

    int GetDeviceCaps(int) const override { return 0; }
    CPalette* SelectPalette(CPalette* palette, bool background) override {
        m_Selections.push_back({palette, background, false});
        return std::exchange(m_pSelected, palette);
    }
    UINT RealizePalette() override {
        m_Selections.back().realized = true;
        return 0;
    }

    std::vector<Selection> m_Selections;
    CPalette* m_pSelected = nullptr;
};

CqReferenceSetup fnSetup(int screen, unsigned gamma = 180) {
    CqReferenceSetup setup;
    setup.m_nScreenBits = screen;
    setup.m_nGamma = gamma;
    return setup;
}

} // namespace

TEST(DrawInit, AFitTakesTheSmallerScaleAndIgnoresItsNumber) {
    CqDisplayWorld world(24);
    const auto image = fnMakeNoise(100, 50, 24);
    CqHeadlessWnd window(CRect(0, 0, 10, 10));
    image->fnDrawInit(77.0, CRect(10, 20, 260, 90), &window);
    const CqTileMap& map = *image->TileMap;
    EXPECT_EQ(map.ZoomMode, 3u);
    EXPECT_DOUBLE_EQ(map.Zoom, 1.4);
    EXPECT_EQ(map.ViewRect, CRect(10, 20, 260, 90));
    EXPECT_EQ(map.ImageRect, CRect(0, 0, 140, 70));
    EXPECT_EQ(map.DrawWnd, &window);
    image->fnDrawInit(0.0, CRect(0, 0, 33, 100), nullptr);
    EXPECT_DOUBLE_EQ(map.Zoom, 0.33);
    EXPECT_EQ(map.ImageRect, CRect(0, 0, 33, 16)); // 16.5, truncated
    EXPECT_EQ(map.DrawWnd, nullptr);
}

TEST(DrawInit, AnIntegerScaleClipsTheShownPartToTheScaledImage) {
    CqDisplayWorld world(24);
    const auto image = fnMakeNoise(100, 50, 24);
    const CqTileMap& map = *image->TileMap;
    image->fnDrawInit(3u, false, CRect(10, 10, 210, 110), CPoint(150, 20), nullptr);
    EXPECT_EQ(map.ZoomMode, 1u);
    EXPECT_EQ(map.Zoom, 3.0);
    EXPECT_EQ(map.ViewRect, CRect(10, 10, 210, 110));
    EXPECT_EQ(map.ImageRect, CRect(150, 20, 300, 120));
    image->fnDrawInit(3u, true, CRect(0, 0, 20, 20), CPoint(20, 1), nullptr);
    EXPECT_EQ(map.ZoomMode, 2u);
    EXPECT_EQ(map.ImageRect, CRect(20, 1, 33, 16));
    image->fnDrawInit(0u, true, CRect(0, 0, 200, 20), CPoint(), nullptr);
    EXPECT_EQ(map.ImageRect, CRect(0, 0, 100, 20));
    image->fnDrawInit(0xFFFFFFFFu, false, CRect(0, 0, 2147483647, 2147483647), CPoint(1, 1),
                      nullptr);
    EXPECT_EQ(map.ImageRect, CRect(1, 1, 2147483647, 2147483647));
}

TEST(ImageDrawing, ADestinationWithoutWidthOrHeightGivesFalse) {
    CqDisplayWorld world(24);
    const auto image = fnMakeNoise(10, 10, 24);
    EXPECT_FALSE(image->fnDraw(world.fnDC(), CRect(5, 5, 5, 10), 0, 0, false, false));
    EXPECT_FALSE(image->fnDraw(world.fnDC(), CRect(5, 5, 10, 4), 0, 0, false, false));
    EXPECT_TRUE(world.fnScreen().fnGetDraws().empty());
}

TEST(ImageDrawing, APositionBeyondTheImageStartsAtTheLastFullWidth) {
    CqDisplayWorld world(24);
    const auto image = fnMakeNoise(200, 150, 24);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 60, 40), 5000, 6000, false, false));
    EXPECT_EQ(fnFindDifference(fnReferenceDraw(*image, fnSetup(24), CRect(0, 0, 60, 40), 140, 110),
                               world.fnScreen().fnGetDraws(), 24),
              "");
}

TEST(ImageDrawing, AFitBelowOneDrawsAtFullSizeAndShowsWhatWasStagedBefore) {
    CqDisplayWorld world(24);
    const auto image = fnMakeNoise(20, 10, 24);
    image->fnDrawInit(1u, false, CRect(0, 0, 20, 10), CPoint(), nullptr);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 20, 10), 0, 0, false, false));
    const auto before = world.fnScreen().fnGetDraws().back().m_Rows;
    image->fnDrawInit(0.0, CRect(0, 0, 10, 5), nullptr);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 20, 10), 0, 0, false, false));
    const CqHeadlessDraw& draw = world.fnScreen().fnGetDraws().back();
    EXPECT_EQ(draw.m_nWidth, 20u);
    EXPECT_EQ(draw.m_nHeight, 10u);
    EXPECT_EQ(draw.m_Rows, before);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 10, 5), 0, 0, false, false));
    EXPECT_EQ(world.fnScreen().fnGetDraws().back().m_nWidth, 10u); // clipped, not scaled
}

TEST(ImageDrawing, WithoutGammaItIsOffForOneDrawOfAnImageOfSeveralTiles) {
    CqDisplayWorld world(24);
    world.fnDisplay().fnSetGammaValue(220);
    const auto image = fnMakeNoise(200, 150, 24);
    const CRect all(0, 0, 200, 150);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), all, 0, 0, true, false));
    EXPECT_EQ(fnFindDifference(fnReferenceDraw(*image, fnSetup(24), all, 0, 0),
                               world.fnScreen().fnGetDraws(), 24),
              "");
    EXPECT_TRUE(world.fnDisplay().fnIsGammaEnabled());
    world.fnScreen().fnClearDraws();
    EXPECT_TRUE(image->fnDraw(world.fnDC(), all, 0, 0, false, false));
    EXPECT_EQ(fnFindDifference(fnReferenceDraw(*image, fnSetup(24, 220), all, 0, 0),
                               world.fnScreen().fnGetDraws(), 24),
              "");
    world.fnDisplay().fnEnableGamma(false);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), all, 0, 0, true, false));
    EXPECT_FALSE(world.fnDisplay().fnIsGammaEnabled()); // restored to its previous state
}

TEST(ImageDrawing, WithoutGammaAnImageOfOneTileLeavesItOff) {
    CqDisplayWorld world(24);
    world.fnDisplay().fnSetGammaValue(220);
    const auto image = fnMakeNoise(100, 100, 24);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 100, 100), 0, 0, true, false));
    EXPECT_FALSE(world.fnDisplay().fnIsGammaEnabled());
}

TEST(ImageDrawing, ADrawWithoutGammaRemovesTheGammaFromThe666Palette) {
    CqDisplayWorld world(8);
    world.fnDisplay().fnSetGammaValue(220);
    const auto image = fnMakeNoise(200, 10, 24);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 200, 10), 0, 0, true, false));
    // The draw still used the palette with gamma; enabling gamma again rebuilt it without.
    EXPECT_EQ(world.fnScreen().fnGetDraws()[0].m_Palette->at(36).peRed, 68);
    PALETTEENTRY entry{};
    world.fnDisplay().fnGetPalette666()->GetPaletteEntries(36, 1, &entry);
    EXPECT_EQ(entry.peRed, 51);
}

TEST(ImageDrawing, OnAn8BitScreenImagesBelow16BitsUseTheirOwnPaletteAndOthers216Colors) {
    CqDisplayWorld world(8);
    for (const unsigned depth : {4u, 8u, 16u, 24u, 32u}) {
        const auto image = fnMakeNoise(200, 10, depth);
        world.fnScreen().fnClearDraws();
        EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 200, 10), 0, 0, false, false));
        const CqHeadlessDraw& draw = world.fnScreen().fnGetDraws()[0];
        ASSERT_TRUE(draw.m_Palette);
        if (depth < 16) {
            ASSERT_EQ(draw.m_Palette->size(), image->PaletteCount);
            for (std::uint32_t i = 0; i < image->PaletteCount; ++i) {
                RGBQUAD quad{};
                image->fnGetPaletteEntry(i, 1, &quad);
                const PALETTEENTRY& entry = draw.m_Palette->at(i);
                EXPECT_EQ(entry.peRed, quad.rgbRed);
                EXPECT_EQ(entry.peGreen, quad.rgbGreen);
                EXPECT_EQ(entry.peBlue, quad.rgbBlue);
            }
        } else {
            EXPECT_EQ(draw.m_Palette->size(), 216u);
            EXPECT_EQ(image->TileMap->DrawPalette, nullptr);
        }
        ASSERT_EQ(draw.m_Table.size(), 512u);
        for (std::size_t i = 0; i < 256; ++i)
            EXPECT_EQ(draw.m_Table[2 * i] | draw.m_Table[2 * i + 1] << 8, static_cast<int>(i));
        if (image->TileCount < 2) // it stays selected, but the image is about to be destroyed
            world.fnDC()->SelectPalette(nullptr, true);
    }
}

TEST(ImageDrawing, ThePaletteIsSelectedRealizedAndRestoredInTheBackground) {
    CqDisplayWorld world(8);
    CPalette former;
    for (const bool background : {false, true}) {
        const auto image = fnMakeNoise(200, 10, 8);
        PaletteSpy dc;
        dc.m_pSelected = &former;
        image->fnDraw(&dc, CRect(0, 0, 200, 10), 0, 0, false, background);
        ASSERT_EQ(dc.m_Selections.size(), 2u);
        EXPECT_EQ(dc.m_Selections[0].palette, image->TileMap->DrawPalette.get());
        EXPECT_EQ(dc.m_Selections[0].background, background);
        EXPECT_TRUE(dc.m_Selections[0].realized);
        EXPECT_EQ(dc.m_Selections[1].palette, &former);
        EXPECT_TRUE(dc.m_Selections[1].background);
        EXPECT_FALSE(dc.m_Selections[1].realized);
        EXPECT_EQ(image->TileMap->SavedPalette, nullptr);
    }
    world.fnWorld().m_pMisuses->fnClear(); // drawing on a foreign context is a misuse
}

TEST(ImageDrawing, ThePaletteOfAnImageOfOneTileStaysSelected) {
    CqDisplayWorld world(8);
    CPalette former;
    const auto image = fnMakeNoise(100, 10, 24);
    PaletteSpy dc;
    dc.m_pSelected = &former;
    image->fnDraw(&dc, CRect(0, 0, 100, 10), 0, 0, false, false);
    ASSERT_EQ(dc.m_Selections.size(), 1u);
    EXPECT_EQ(dc.m_pSelected, world.fnDisplay().fnGetPalette666());
    EXPECT_EQ(image->TileMap->SavedPalette, &former);
    world.fnWorld().m_pMisuses->fnClear();
}

TEST(ImageDrawing, OtherScreensNeedNoPalette) {
    for (const int screen : {16, 24, 32}) {
        CqDisplayWorld world(screen);
        const auto image = fnMakeNoise(200, 10, 8);
        PaletteSpy dc;
        image->fnDraw(&dc, CRect(0, 0, 200, 10), 0, 0, false, false);
        EXPECT_TRUE(dc.m_Selections.empty());
        EXPECT_EQ(image->TileMap->DrawPalette, nullptr);
        world.fnWorld().m_pMisuses->fnClear();
    }
}

TEST(ImageDrawing, AChangedPaletteIsRebuiltOnTheNextDraw) {
    CqDisplayWorld world(8);
    const auto image = fnMakeNoise(200, 10, 8);
    const CRect all(0, 0, 200, 10);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), all, 0, 0, false, false));
    constexpr RGBQUAD kColor = {1, 2, 3, 0};
    image->fnSetPaletteEntry(9, 1, &kColor);
    EXPECT_EQ(image->TileMap->DrawPalette, nullptr);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), all, 0, 0, false, false));
    const PALETTEENTRY& entry = world.fnScreen().fnGetDraws().back().m_Palette->at(9);
    EXPECT_EQ(entry.peRed, 3);
    EXPECT_EQ(entry.peBlue, 1);
}

TEST(ImageDrawing, AChangeOfTheScreensDepthRebuildsTheDeviceBitmap) {
    CqDisplayWorld world(8);
    for (const unsigned depth : {4u, 8u, 16u, 24u, 32u}) {
        const auto image = fnMakeNoise(200, 140, depth);
        for (const int screen : {8, 24, 8, 32, 16, 32, 24, 16, 8}) {
            world.fnSetDepth(screen);
            world.fnScreen().fnClearDraws();
            EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 200, 140), 0, 0, false, false));
            EXPECT_EQ(fnFindDifference(
                          fnReferenceDraw(*image, fnSetup(screen), CRect(0, 0, 200, 140), 0, 0),
                          world.fnScreen().fnGetDraws(), screen),
                      "")
                << depth << " on " << screen;
        }
        world.fnDC()->SelectPalette(nullptr, true);
    }
}

TEST(ImageDrawing, TheHiColorDitherCanBeSwitchedOff) {
    CqDisplayWorld world(16);
    world.fnDisplay().fnEnableHiColorDither(false);
    const auto image = fnMakeNoise(150, 10, 24);
    CqReferenceSetup setup = fnSetup(16);
    setup.m_bHiColorDither = false;
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 150, 10), 0, 0, false, false));
    EXPECT_EQ(fnFindDifference(fnReferenceDraw(*image, setup, CRect(0, 0, 150, 10), 0, 0),
                               world.fnScreen().fnGetDraws(), 16),
              "");
}

TEST(ImageDrawing, TheDitherStaysFixedToTheImageWhereverAPartIsDrawn) {
    CqDisplayWorld world(8);
    const auto image = fnMakeNoise(200, 140, 24);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 200, 140), 0, 0, false, false));
    const CqHeadlessPicture whole = world.fnScreen().fnGetPicture();
    world.fnScreen().fnClear();
    for (int y = 0; y < 140; y += 35) // in pieces that fit neither tiles nor pattern
        for (int x = 0; x < 200; x += 13) {
            const int width = std::min(13, 200 - x);
            EXPECT_TRUE(
                image->fnDraw(world.fnDC(), CRect(x, y, x + width, y + 35), x, y, false, false));
        }
    EXPECT_EQ(world.fnScreen().fnGetPicture().m_Rgb, whole.m_Rgb);
}
