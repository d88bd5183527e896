#include "q32Base/memory/CqTileMap_p.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Random.h"

#include <cstring>
#include <vector>

namespace {

class CqTileMapTest : public AttachedTest {};

/// Offset of a pixel's byte in the block by the rule: tiles of at most 128 x 128 in row-major
/// order without gaps.
std::size_t fnPlaceOf(std::uint32_t width, std::uint32_t height, std::uint32_t bits,
                      std::uint32_t x, std::uint32_t y) {
    const auto rowBytes = [bits](std::uint32_t w) {
        return (static_cast<std::size_t>(w) * bits + 7) / 8;
    };
    if (bits == 4)
        return rowBytes(width) * y + x / 2;
    const std::uint32_t left = x / 128 * 128;
    const std::uint32_t top = y / 128 * 128;
    const std::uint32_t tileWidth = std::min(128u, width - left);
    const std::uint32_t tileHeight = std::min(128u, height - top);
    std::size_t place = rowBytes(width) * top; // all tile rows above are full rows of the image
    place += rowBytes(128) * tileHeight * (left / 128);
    place += rowBytes(tileWidth) * (y - top);
    return place + static_cast<std::size_t>(x - left) * bits / 8;
}

TEST_F(CqTileMapTest, A129By1ImageHasTwoTilesOfWidths128And1) {
    const CqTileMap map(129, 1, 24, nullptr, 0);
    EXPECT_EQ(map.TilesAcross, 2u);
    EXPECT_EQ(map.TilesDown, 1u);
    EXPECT_EQ(map.TileCount, 2u);
    EXPECT_EQ(map.TileWidth, 128u);
    EXPECT_EQ(map.LastTileWidth, 1u);
    EXPECT_EQ(map.TileHeight, 1u);
    EXPECT_EQ(map.LastTileHeight, 1u);
    EXPECT_EQ(map.TileTable[1].Pixels - map.TileTable[0].Pixels, 128 * 3);
}

TEST_F(CqTileMapTest, A128By128ImageIsOneTile) {
    const CqTileMap map(128, 128, 8, nullptr, 256);
    EXPECT_EQ(map.TileCount, 1u);
    EXPECT_EQ(map.LastTileWidth, 128u);
    EXPECT_EQ(map.LastTileHeight, 128u);
}

TEST_F(CqTileMapTest, A4BitImageIsOneTileWhateverItsSize) {
    const CqTileMap map(1000, 1000, 4, nullptr, 16);
    EXPECT_EQ(map.TileCount, 1u);
    EXPECT_EQ(map.TileWidth, 1000u);
    EXPECT_EQ(map.TileHeight, 1000u);
    EXPECT_EQ(map.LastTileWidth, 1000u);
    EXPECT_EQ(map.LastTileHeight, 1000u);
    EXPECT_EQ(map.BytesPerPixel, 0u);
    EXPECT_EQ(map.RowBytes, 500u);
    EXPECT_EQ(map.TileTable[0].Pixels, map.PixelBuffer);
}

TEST_F(CqTileMapTest, TheSpareByteOfA4BitImageCountsNowhere) {
    CqVMPolicy& policy = *q32GetVMPolicy();
    policy.fnSetRamLimit(15);
    {
        const CqTileMap map(9, 3, 4, nullptr, 16);
        EXPECT_FALSE(map.fnGetBlock().fnIsOnDisk());
        EXPECT_EQ(policy.fnGetRamUsed(), 15u);
        EXPECT_EQ(policy.fnGetRamBytes(), 15u);
        map.PixelBuffer[15] = 1;
    }
    EXPECT_EQ(policy.fnGetRamUsed(), 0u);
    policy.fnSetRamLimit(14);
    const CqTileMap map(9, 3, 4, nullptr, 16);
    map.PixelBuffer[15] = 1;
    const std::string name(map.fnGetBlock().fnGetFileName());
    EXPECT_EQ(m_World->m_pDisks->fnGetFile(name)->size(), 15u);
    EXPECT_EQ(policy.fnGetDiskUsage(0).m_nBytes, 15u);
}

TEST_F(CqTileMapTest, FieldsHaveTheirStartValues) {
    const CqTileMap map(5, 3, 4, nullptr, 16);
    EXPECT_EQ(map.RowBytes, 3u);
    EXPECT_EQ(map.BufferSize, 9u);
    EXPECT_EQ(map.Zoom, 1.0);
    EXPECT_EQ(map.ZoomMode, 1u);
    EXPECT_TRUE(map.ViewRect.IsRectEmpty());
    EXPECT_TRUE(map.ImageRect.IsRectEmpty());
    EXPECT_EQ(map.fnGetBlock().fnGetFile(), kNoFile);
    EXPECT_EQ(map.DrawDib, nullptr);
    EXPECT_EQ(map.DrawScratch, nullptr);
    EXPECT_EQ(map.DrawPalette, nullptr);
    EXPECT_EQ(map.LockedLines.GetCount(), 0);
    EXPECT_FALSE(map.TileTable[0].Locked);
}

TEST_F(CqTileMapTest, DrawingSizesAreThoseOfAFullTile) {
    struct Case {
        std::uint32_t m_nWidth, m_nHeight, m_nBits, m_nDib, m_nPacked;
    };
    for (const Case& c : {Case{300, 300, 24, 128 * 3 * 128, 128 * 3 * 128},
                          Case{300, 300, 8, 128 * 128, 128 * 128}, Case{5, 7, 24, 16 * 7, 15 * 7},
                          Case{5, 7, 8, 8 * 7, 5 * 7}, Case{5, 7, 16, 12 * 7, 10 * 7},
                          Case{1000, 1000, 4, 64 * 128, 128 * 128}, Case{9, 2, 4, 4 * 2, 9 * 2}}) {
        const CqTileMap map(c.m_nWidth, c.m_nHeight, c.m_nBits, nullptr, 16);
        EXPECT_EQ(map.DibTileBytes, c.m_nDib) << c.m_nWidth << " " << c.m_nBits;
        EXPECT_EQ(map.PackedTileBytes, c.m_nPacked) << c.m_nWidth << " " << c.m_nBits;
    }
}

TEST_F(CqTileMapTest, TilesFollowEachOtherInTheBlockWithoutGaps) {
    Random random(1);
    for (int round = 0; round < 60; ++round) {
        const std::uint32_t bits = std::vector<std::uint32_t>{4, 8, 16, 24, 32}[random() % 5];
        const std::uint32_t width = 1 + random() % 400;
        const std::uint32_t height = 1 + random() % 400;
        CqTileMap map(width, height, bits, nullptr, 16);
        for (int probe = 0; probe < 50; ++probe) {
            const std::uint32_t x = random() % width;
            const std::uint32_t y = random() % height;
            CqImageTile tile;
            CPoint position(static_cast<LONG>(x), static_cast<LONG>(y));
            map.fnAccessTile(position, &tile);
            const unsigned char* at = tile.Pixels +
                                      tile.RowBytes * (y - static_cast<std::uint32_t>(tile.Top)) +
                                      (x - static_cast<std::uint32_t>(tile.Left)) * bits / 8;
            ASSERT_EQ(static_cast<std::size_t>(at - map.PixelBuffer),
                      fnPlaceOf(width, height, bits, x, y))
                << width << "x" << height << "x" << bits << " at " << x << "," << y;
        }
    }
}

TEST_F(CqTileMapTest, CompleteRowsAreFetchedAndStoredThroughTheirTiles) {
    Random random(2);
    for (int round = 0; round < 40; ++round) {
        const std::uint32_t bits = std::vector<std::uint32_t>{4, 8, 16, 24, 32}[random() % 5];
        const std::uint32_t width = 1 + random() % 300;
        const std::uint32_t height = 1 + random() % 300;
        CqTileMap map(width, height, bits, nullptr, 16);
        for (std::uint32_t i = 0; i < map.BufferSize; ++i)
            map.PixelBuffer[i] = static_cast<unsigned char>(random());
        const std::vector<unsigned char> before(map.PixelBuffer, map.PixelBuffer + map.BufferSize);
        const std::uint32_t y = random() % height;
        std::vector<unsigned char> row(map.RowBytes + 1, 0xEE);
        map.fnFetchRow(y, row.data());
        for (std::uint32_t x = 0; x < width; ++x) {
            for (std::uint32_t b = 0; b < std::max(1u, bits / 8); ++b)
                ASSERT_EQ(row[x * bits / 8 + b], before[fnPlaceOf(width, height, bits, x, y) + b]);
        }
        EXPECT_EQ(row[map.RowBytes], 0xEE);
        std::vector<unsigned char> expected = before;
        for (std::uint32_t i = 0; i < map.RowBytes; ++i)
            row[i] = static_cast<unsigned char>(~row[i]);
        for (std::uint32_t x = 0; x < width; ++x) {
            for (std::uint32_t b = 0; b < std::max(1u, bits / 8); ++b)
                expected[fnPlaceOf(width, height, bits, x, y) + b] = row[x * bits / 8 + b];
        }
        map.fnStoreRow(y, row.data());
        EXPECT_EQ(std::vector<unsigned char>(map.PixelBuffer, map.PixelBuffer + map.BufferSize),
                  expected);
    }
}

TEST_F(CqTileMapTest, TheDefault4BitPaletteIsTheSixteenColours) {
    const CqTileMap map(1, 1, 4, nullptr, 16);
    const int expected[16][3] = {{0, 0, 0},       {128, 0, 0},   {0, 128, 0},   {128, 128, 0},
                                 {0, 0, 128},     {128, 0, 128}, {0, 128, 128}, {128, 128, 128},
                                 {192, 192, 192}, {255, 0, 0},   {0, 255, 0},   {255, 255, 0},
                                 {0, 0, 255},     {255, 0, 255}, {0, 255, 255}, {255, 255, 255}};
    for (int i = 0; i < 16; ++i) {
        const RGBQUAD& entry = map.Palette.get()[i];
        EXPECT_EQ(entry.rgbRed, expected[i][0]) << i;
        EXPECT_EQ(entry.rgbGreen, expected[i][1]) << i;
        EXPECT_EQ(entry.rgbBlue, expected[i][2]) << i;
        EXPECT_EQ(entry.rgbReserved, 0) << i;
    }
    EXPECT_FALSE(map.GrayScale);
}

TEST_F(CqTileMapTest, TheDefault8BitPaletteIsACubeThatContinuesPastItsEnd) {
    const CqTileMap map(1, 1, 8, nullptr, 256);
    const int greens[7] = {0, 43, 85, 128, 170, 213, 255};
    for (int i = 0; i < 252; ++i) {
        const RGBQUAD& entry = map.Palette.get()[i];
        EXPECT_EQ(entry.rgbBlue, i % 6 * 51) << i;
        EXPECT_EQ(entry.rgbGreen, greens[i / 6 % 7]) << i;
        EXPECT_EQ(entry.rgbRed, i / 42 * 51) << i;
        EXPECT_EQ(entry.rgbReserved, 0) << i;
    }
    for (int i = 252; i < 256; ++i) {
        const RGBQUAD& entry = map.Palette.get()[i];
        EXPECT_EQ(entry.rgbRed, 50);
        EXPECT_EQ(entry.rgbGreen, 0);
        EXPECT_EQ(entry.rgbBlue, (i - 252) * 51);
    }
}

TEST_F(CqTileMapTest, AShortDefaultPaletteTakesTheFirstEntriesOfTheCube) {
    const CqTileMap map(1, 1, 8, nullptr, 8);
    EXPECT_EQ(map.PaletteCount, 8u);
    EXPECT_EQ(map.Palette[7].rgbBlue, 51);
    EXPECT_EQ(map.Palette[7].rgbGreen, 43);
    EXPECT_EQ(map.Palette[8].rgbBlue, 0);
    EXPECT_EQ(map.Palette[255].rgbBlue, 0);
}

TEST_F(CqTileMapTest, TheGreyRampCountsAsGreyAtAnyPaletteDepth) {
    for (const std::uint32_t bits : {4u, 8u}) {
        const CqTileMap map(1, 1, bits, q32GreyRamp, 256);
        EXPECT_TRUE(map.GrayScale);
        EXPECT_EQ(map.Palette[200].rgbRed, 200);
        EXPECT_EQ(map.Palette[200].rgbGreen, 200);
        EXPECT_EQ(map.Palette[200].rgbBlue, 200);
        EXPECT_EQ(map.Palette[200].rgbReserved, 0);
    }
}

TEST_F(CqTileMapTest, ATableCountsAsGreyOnlyWithAll256RampEntriesAt8Bits) {
    RGBQUAD ramp[256];
    for (int i = 0; i < 256; ++i) {
        const auto grey = static_cast<BYTE>(i);
        ramp[i] = {grey, grey, grey, 7};
    }
    EXPECT_TRUE(CqTileMap(1, 1, 8, ramp, 256).GrayScale);
    EXPECT_FALSE(CqTileMap(1, 1, 8, ramp, 255).GrayScale);
    EXPECT_FALSE(CqTileMap(1, 1, 4, ramp, 256).GrayScale);
    ramp[255].rgbGreen = 254;
    EXPECT_FALSE(CqTileMap(1, 1, 8, ramp, 256).GrayScale);
}

TEST_F(CqTileMapTest, DeepImagesHaveNoPalette) {
    const RGBQUAD entry = {1, 2, 3, 4};
    const CqTileMap map(1, 1, 16, &entry, 1);
    EXPECT_EQ(map.PaletteCount, 0u);
    EXPECT_EQ(map.Palette, nullptr);
}

TEST_F(CqTileMapTest, SettingPaletteEntriesClipsTheCountAndKeepsTheGreyFlag) {
    CqTileMap map(1, 1, 8, q32GreyRamp, 256);
    const RGBQUAD red[4] = {{0, 0, 255, 1}, {0, 0, 255, 2}, {0, 0, 255, 3}, {0, 0, 255, 4}};
    EXPECT_EQ(map.fnSetPaletteEntry(10, 2, red), 2u);
    EXPECT_EQ(map.Palette[11].rgbReserved, 2);
    EXPECT_EQ(map.Palette[12].rgbRed, 12);
    EXPECT_EQ(map.fnSetPaletteEntry(254, 4, red), 2u);
    EXPECT_EQ(map.fnSetPaletteEntry(256, 1, red), 0u);
    EXPECT_EQ(map.fnSetPaletteEntry(0xFFFFFFFFu, 2, red), 0u);
    EXPECT_TRUE(map.GrayScale);
}

TEST_F(CqTileMapTest, AChangedPaletteDropsTheScreenPaletteMadeOfIt) {
    CqTileMap map(1, 1, 8, nullptr, 256);
    const RGBQUAD entry = {1, 2, 3, 4};
    map.DrawPalette = std::make_unique<CPalette>();
    map.fnSetPaletteEntry(5, 1, &entry);
    EXPECT_EQ(map.DrawPalette, nullptr);
    map.DrawPalette = std::make_unique<CPalette>();
    map.fnInitPalette(q32GreyRamp);
    EXPECT_EQ(map.DrawPalette, nullptr);
    map.DrawPalette = std::make_unique<CPalette>(); // owned by the map
}

TEST_F(CqTileMapTest, AnImageWithoutAPaletteTakesNoEntries) {
    CqTileMap map(1, 1, 24, nullptr, 0);
    const RGBQUAD entry = {1, 2, 3, 4};
    EXPECT_EQ(map.fnSetPaletteEntry(0, 1, &entry), 0u);
    EXPECT_EQ(map.fnSetPaletteEntry(7, 1, &entry), 0u);
    EXPECT_EQ(map.Palette, nullptr);
}

TEST_F(CqTileMapTest, TheWidestRowsHaveTheirTrueLength) {
    const CqTileMap map(1, 1, 4, nullptr, 16);
    EXPECT_EQ(map.fnRowBytes(0x40000001u), 0x20000001u); // its size in bits exceeds 32 bits
    EXPECT_EQ(map.fnRowBytes(0x7FFFFFFFu), 0x40000000u);
}

TEST_F(CqTileMapTest, RefusesImpossibleSizesAndDepths) {
    const auto refused = [](std::uint32_t width, std::uint32_t height, std::uint32_t bits) {
        return fnRaisesMemoryException([=] { CqTileMap map(width, height, bits, nullptr, 16); });
    };
    EXPECT_TRUE(refused(0, 1, 8));
    EXPECT_TRUE(refused(1, 0, 8));
    for (const std::uint32_t bits : {0u, 1u, 2u, 7u, 12u, 15u, 40u, 0xFFFFFFFFu})
        EXPECT_TRUE(refused(1, 1, bits)) << bits;
    EXPECT_TRUE(refused(0x80000000u, 1, 4));
    EXPECT_TRUE(refused(1, 0x80000000u, 8));
    EXPECT_TRUE(refused(65536, 65536, 8));  // 2^32 bytes, 0 in 32 bits
    EXPECT_TRUE(refused(65536, 16385, 32)); // a little more, 262,144 in 32 bits
    EXPECT_TRUE(refused(0x7FFFFFFFu, 0x7FFFFFFFu, 32));
}

TEST_F(CqTileMapTest, TileRectanglesCoverTheImageWithoutOverlap) {
    const CqTileMap map(300, 260, 8, nullptr, 256);
    std::vector<int> covered(300 * 260, 0);
    for (std::uint32_t i = 0; i < map.TileCount; ++i) {
        CRect rect;
        map.fnGetTileRect(&rect, i, false);
        for (LONG y = rect.top; y < rect.bottom; ++y) {
            for (LONG x = rect.left; x < rect.right; ++x)
                ++covered[static_cast<std::size_t>(y * 300 + x)];
        }
    }
    EXPECT_EQ(covered, std::vector<int>(300 * 260, 1));
}

TEST_F(CqTileMapTest, ScaledRectanglesAreDividedInShrinkModeAndMultipliedAboveOneOtherwise) {
    CqTileMap map(300, 260, 8, nullptr, 256);
    const auto scaled = [&map](CqZoomMode mode, double zoom) {
        map.ZoomMode = mode;
        map.Zoom = zoom;
        CRect rect;
        map.fnGetTileRect(&rect, 8, true); // (256, 256, 300, 260)
        return rect;
    };
    EXPECT_EQ(scaled(ZOOM_SHRINK, 3.9), CRect(85, 85, 100, 86));
    EXPECT_EQ(scaled(ZOOM_INFLATE, 2.0), CRect(512, 512, 600, 520));
    EXPECT_EQ(scaled(ZOOM_FIT, 1.5), CRect(384, 384, 450, 390));
    EXPECT_EQ(scaled(ZOOM_FIT, 1.001), CRect(256, 256, 300, 260)); // 256.256, 300.3, 260.26
    EXPECT_EQ(scaled(ZOOM_FIT, 0.5), CRect(256, 256, 300, 260));
    EXPECT_EQ(scaled(ZOOM_INFLATE, 1.0), CRect(256, 256, 300, 260));
}

TEST_F(CqTileMapTest, TheSecondClaimOnATileIsDroppedForGood) {
    CqTileMap map(300, 10, 8, nullptr, 256);
    CqImageTile first(true);
    map.fnAccessTile(1, &first);
    EXPECT_TRUE(map.TileTable[1].Locked);
    {
        CqImageTile second(true);
        map.fnAccessTile(1, &second);
        EXPECT_FALSE(second.Claim);
        EXPECT_EQ(second.Pixels, first.Pixels);
        map.fnAccessTile(2, &second);
        EXPECT_FALSE(second.Claim);
        EXPECT_FALSE(map.TileTable[2].Locked);
    }
    EXPECT_TRUE(first.Claim);
    EXPECT_TRUE(map.TileTable[1].Locked);
}

TEST_F(CqTileMapTest, MovingATileAccessorMovesItsClaim) {
    CqTileMap map(300, 300, 8, nullptr, 256);
    {
        CqImageTile tile(true);
        map.fnAccessTile(3, &tile);
        map.fnAccessTile(4, &tile);
        EXPECT_FALSE(map.TileTable[3].Locked);
        EXPECT_TRUE(map.TileTable[4].Locked);
    }
    EXPECT_FALSE(map.TileTable[4].Locked);
}

TEST_F(CqTileMapTest, AnAccessorThatLosesItsClaimStillReleasesItsOldTile) {
    CqTileMap map(300, 300, 8, nullptr, 256);
    CqImageTile other(true);
    map.fnAccessTile(4, &other);
    CqImageTile tile(true);
    map.fnAccessTile(3, &tile);
    map.fnAccessTile(4, &tile);
    EXPECT_FALSE(tile.Claim);
    EXPECT_FALSE(map.TileTable[3].Locked);
    EXPECT_TRUE(map.TileTable[4].Locked);
}

TEST_F(CqTileMapTest, AccessingTheCurrentTileChangesNothing) {
    CqTileMap map(300, 300, 8, nullptr, 256);
    CqImageTile tile;
    map.fnAccessTile(4, &tile);
    tile.Width = 99;
    map.fnAccessTile(4, &tile);
    EXPECT_EQ(tile.Width, 99);
}

TEST_F(CqTileMapTest, TheSecondClaimOnARowIsDroppedForGood) {
    CqTileMap map(10, 10, 8, nullptr, 256);
    CqImageLine first(false, true);
    map.fnAccessLine(3, &first, true);
    EXPECT_EQ(map.LockedLines.GetCount(), 1);
    {
        CqImageLine second(false, true);
        map.fnAccessLine(3, &second, true);
        EXPECT_FALSE(second.Claim);
        EXPECT_EQ(second.Row, 3);
        map.fnAccessLine(4, &second, true);
        EXPECT_FALSE(second.Claim);
    }
    EXPECT_TRUE(first.Claim);
    EXPECT_EQ(map.LockedLines.GetCount(), 1);
    map.fnAccessLine(5, &first, true);
    EXPECT_EQ(map.LockedLines.GetCount(), 1);
    EXPECT_NE(map.LockedLines.Find(5), nullptr);
    first.fnUnAssociate();
    EXPECT_EQ(map.LockedLines.GetCount(), 0);
    EXPECT_TRUE(first.Claim);
}

TEST_F(CqTileMapTest, AMemorylessAccessorStillClaimsItsRow) {
    CqTileMap map(10, 10, 8, nullptr, 256);
    CqImageLine line(true, true);
    map.fnAccessLine(7, &line, false);
    EXPECT_NE(map.LockedLines.Find(7), nullptr);
    EXPECT_EQ(line.LineBuffer, nullptr);
}

TEST_F(CqTileMapTest, ReleasingARowThatIsNotClaimedIsNoError) {
    CqTileMap map(10, 10, 8, nullptr, 256);
    map.fnReleaseLine(3);
    EXPECT_EQ(map.LockedLines.GetCount(), 0);
}

TEST_F(CqTileMapTest, ClaimingAndReleasingAlternatelyDoesNotAllocate) {
    CqTileMap map(10, 100, 8, nullptr, 256);
    CqImageLine keeper(true, true);
    map.fnAccessLine(99, &keeper, true);
    CqImageLine line(false, true);
    CqImageTile tile(true);
    map.fnAccessLine(0, &line, true);
    const CqAllocationFailure failure(1); // the next allocation fails
    for (std::uint32_t y = 1; y < 90; ++y) {
        map.fnAccessLine(y, &line, true);
        map.fnAccessTile(0, &tile);
    }
    EXPECT_EQ(map.LockedLines.GetCount(), 2);
}

TEST_F(CqTileMapTest, AFailureInTheListOfClaimsLeavesNoClaim) {
    CqTileMap map(10, 10, 8, nullptr, 256);
    CqImageLine line(true, true);
    const bool raised = [&] {
        const CqAllocationFailure failure(1);
        return fnRaisesMemoryException([&] { map.fnAccessLine(2, &line, true); });
    }();
    EXPECT_TRUE(raised);
    EXPECT_FALSE(line.Claim);
    EXPECT_EQ(map.LockedLines.GetCount(), 0);
}

TEST_F(CqTileMapTest, EachConstructionFailureLeaksNothing) {
    for (const std::uint32_t limit : {0u, 1'000'000u}) {
        q32GetVMPolicy()->fnSetRamLimit(limit);
        const std::size_t failures = fnFailEachAllocation([this](CqAllocationFailure& failure) {
            fnRaisesMemoryException([] { const CqTileMap map(200, 200, 8, nullptr, 256); });
            failure.fnEnd();
            EXPECT_EQ(q32GetVMPolicy()->fnGetRamUsed(), 0u);
            EXPECT_EQ(m_World->m_pScratch->fnGetHandles(), 0u);
        });
        EXPECT_GE(failures, 2u);
    }
}

} // namespace
