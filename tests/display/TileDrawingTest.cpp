#include "q32Base/memory/CqTileMap_p.h"
#include "tests/display/DisplayWorld.h"
#include "tests/display/DrawReference.h"

namespace {

constexpr int kScreens[] = {8, 16, 24, 32};
constexpr unsigned kDepths[] = {4, 8, 16, 24, 32};

} // namespace

TEST(TileDrawing, APartOfATileIsDrawnAtItsPlace) {
    for (const int screen : kScreens) {
        CqDisplayWorld world(screen);
        for (const unsigned depth : kDepths) {
            const auto image = fnMakeNoise(300, 130, depth);
            for (const int factor : {1, 2, 3}) {
                image->fnDrawInit(static_cast<unsigned>(factor), false, CRect(0, 0, 640, 480),
                                  CPoint(), nullptr);
                CqReferenceSetup setup;
                setup.m_nScreenBits = screen;
                setup.m_nFactor = factor;
                const std::uint32_t index = depth == 4 ? 0 : 1;
                const int left = depth == 4 ? 0 : 128 * factor;
                CqImageTile tile;
                image->fnAccessTile(index, &tile);
                const CRect rect(20, 30, 20 + 61, 30 + 43);
                const int x = left + 17;
                const int y = 9;
                world.fnScreen().fnClearDraws();
                EXPECT_TRUE(tile.fnDraw(world.fnDC(), rect, x, y, false));
                EXPECT_EQ(fnFindDifference(fnReferenceTile(*image, setup, index, rect, x, y),
                                           world.fnScreen().fnGetDraws(), screen),
                          "")
                    << screen << " " << depth << " " << factor;
            }
        }
    }
}

TEST(TileDrawing, IsClippedAtTheTilesRightAndBottom) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(200, 200, 24);
    CqImageTile tile;
    image->fnAccessTile(3u, &tile);
    EXPECT_TRUE(tile.fnDraw(world.fnDC(), CRect(5, 6, 600, 400), 190, 180, false));
    ASSERT_EQ(world.fnScreen().fnGetDraws().size(), 1u);
    EXPECT_EQ(world.fnScreen().fnGetDraws()[0].m_nWidth, 10u);
    EXPECT_EQ(world.fnScreen().fnGetDraws()[0].m_nHeight, 20u);
}

TEST(TileDrawing, APositionLeftOfTheTileStartsAtTheTile) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(200, 200, 24);
    CqImageTile tile;
    image->fnAccessTile(3u, &tile);
    EXPECT_TRUE(tile.fnDraw(world.fnDC(), CRect(0, 0, 8, 8), 3, -50, false));
    EXPECT_EQ(fnFindDifference(fnReferenceTile(*image, {}, 3, CRect(0, 0, 8, 8), 128, 128),
                               world.fnScreen().fnGetDraws(), 32),
              "");
}

TEST(TileDrawing, NothingToShowIsNotAFailure) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(200, 200, 24);
    CqImageTile tile;
    image->fnAccessTile(0u, &tile);
    EXPECT_TRUE(tile.fnDraw(world.fnDC(), CRect(0, 0, 8, 8), 128, 0, false));
    EXPECT_TRUE(tile.fnDraw(world.fnDC(), CRect(0, 0, 0, 8), 0, 0, false));
    EXPECT_TRUE(tile.fnDraw(world.fnDC(), CRect(0, 0, -2000000000, 2000000000), 0, 0, false));
    EXPECT_TRUE(world.fnScreen().fnGetDraws().empty());
}

TEST(TileDrawing, AnOddStartOfA4BitImageMovesBackToTheEvenPixel) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(41, 5, 4);
    CqImageTile tile;
    image->fnAccessTile(0u, &tile);
    struct Case {
        unsigned factor;
        bool shrink;
        int x;
        int left;
        int width;
    };
    constexpr Case kCases[] = {{1, false, 4, 100, 6}, {1, false, 5, 99, 7},  {3, false, 3, 97, 9},
                               {3, false, 5, 97, 9},  {3, false, 6, 100, 6}, {3, true, 3, 99, 7},
                               {3, true, 2, 100, 6},  {2, true, 3, 100, 6}};
    for (const Case& c : kCases) {
        image->fnDrawInit(c.factor, c.shrink, CRect(0, 0, 640, 480), CPoint(), nullptr);
        world.fnScreen().fnClearDraws();
        EXPECT_TRUE(tile.fnDraw(world.fnDC(), CRect(100, 50, 106, 51), c.x, 0, false));
        ASSERT_EQ(world.fnScreen().fnGetDraws().size(), 1u);
        EXPECT_EQ(world.fnScreen().fnGetDraws()[0].m_nX, c.left) << c.factor << " " << c.x;
        EXPECT_EQ(world.fnScreen().fnGetDraws()[0].m_nWidth, static_cast<UINT>(c.width));
    }
}

TEST(TileDrawing, AnEnlargedTileIsDrawnInBandsThatFitAPlainTile) {
    CqDisplayWorld world(24);
    const auto image = fnMakeNoise(128, 128, 24);
    image->fnDrawInit(3u, false, CRect(0, 0, 640, 480), CPoint(), nullptr);
    CqImageTile tile;
    image->fnAccessTile(0u, &tile);
    EXPECT_TRUE(tile.fnDraw(world.fnDC(), CRect(0, 0, 384, 384), 0, 0, false));
    const auto& draws = world.fnScreen().fnGetDraws();
    ASSERT_EQ(draws.size(), 10u); // 128 * 384 / 1152 = 42 rows, and 6 in the last
    EXPECT_EQ(draws[0].m_nHeight, 42u);
    EXPECT_EQ(draws[9].m_nHeight, 6u);
    EXPECT_EQ(draws[9].m_nY, 9 * 42);
    EXPECT_EQ(image->TileMap->DrawDibCapacity, 128u * 384u);
}

TEST(TileDrawing, ATileIsRedrawnAtThePlaceSetByTheLastInit) {
    for (const int screen : {8, 32}) {
        CqDisplayWorld world(screen);
        for (const unsigned depth : {8u, 24u}) {
            const auto image = fnMakeNoise(300, 130, depth);
            CqHeadlessWnd window(CRect(10, 20, 410, 320));
            // The view begins at (50, 40) of the image enlarged twice.
            image->fnDrawInit(2u, false, CRect(7, 9, 307, 209), CPoint(50, 40), &window);
            CqReferenceSetup setup;
            setup.m_nScreenBits = screen;
            setup.m_nFactor = 2;
            CqImageTile tile;
            for (std::uint32_t index = 0; index < image->TileCount; ++index) {
                image->fnAccessTile(index, &tile);
                CRect piece(static_cast<LONG>(index % 3 * 256), static_cast<LONG>(index / 3 * 256),
                            std::min<LONG>(static_cast<LONG>(index % 3 * 256 + 256), 600),
                            std::min<LONG>(static_cast<LONG>(index / 3 * 256 + 256), 260));
                const bool shown = piece.IntersectRect(piece, CRect(50, 40, 350, 240));
                std::vector<CqExpectedDraw> expected;
                if (shown) {
                    CRect rect(7, 9, 307, 209);
                    rect.OffsetRect(piece.left - 50, piece.top - 40);
                    expected = fnReferenceTile(*image, setup, index, rect, piece.left, piece.top);
                }
                for (CDC* dc : {world.fnDC(), static_cast<CDC*>(nullptr)}) {
                    world.fnScreen().fnClearDraws();
                    EXPECT_TRUE(tile.fnDraw(dc));
                    const auto& draws = world.fnScreen().fnGetDraws();
                    EXPECT_EQ(fnFindDifference(expected, draws, screen), "") << index;
                    for (const CqHeadlessDraw& draw : draws)
                        EXPECT_EQ(draw.m_pWindow, dc ? nullptr : &window);
                }
            }
            EXPECT_EQ(image->TileMap->SavedPalette, nullptr);
        }
    }
}

TEST(TileDrawing, ATileOutsideTheViewIsSkippedWithoutFailure) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(300, 130, 24);
    CqHeadlessWnd window(CRect(0, 0, 100, 100));
    image->fnDrawInit(1u, false, CRect(0, 0, 100, 100), CPoint(0, 0), &window);
    CqImageTile tile;
    image->fnAccessTile(2u, &tile);
    EXPECT_TRUE(tile.fnDraw(world.fnDC()));
    world.fnScreen().m_GetDC.fnFail(); // must not be requested
    EXPECT_TRUE(tile.fnDraw(nullptr));
    EXPECT_TRUE(world.fnScreen().fnGetDraws().empty());
    world.fnScreen().m_GetDC.fnFailNever();
}

TEST(TileDrawing, WithoutAWindowOrItsDeviceContextATileIsNotDrawn) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(30, 30, 24);
    CqImageTile tile;
    image->fnAccessTile(0u, &tile);
    image->fnDrawInit(1u, false, CRect(0, 0, 100, 100), CPoint(0, 0), nullptr);
    EXPECT_FALSE(tile.fnDraw(nullptr));
    CqHeadlessWnd window(CRect(0, 0, 100, 100));
    image->fnDrawInit(1u, false, CRect(0, 0, 100, 100), CPoint(0, 0), &window);
    world.fnScreen().m_GetDC.fnFail();
    EXPECT_FALSE(tile.fnDraw(nullptr));
    EXPECT_TRUE(tile.fnDraw(nullptr));
    window.fnDestroy();
    EXPECT_FALSE(tile.fnDraw(nullptr));
}
