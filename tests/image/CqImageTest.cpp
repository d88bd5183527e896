#include "q32Base/memory/CqTileMap_p.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <cstring>
#include <vector>

namespace {

class CqImageTest : public AttachedTest {
protected:
    /// An image with accessible protected members.
    class Bare : public CqImage {
    public:
        using CqImage::CqImage;
        using CqImage::fnFreeBuf;
        using CqImage::fnSetBuf;
    };

    /// An object that reports its destruction.
    class Data : public CObject {
    public:
        explicit Data(int& ends) : m_nEnds(ends) {}
        ~Data() override { ++m_nEnds; }

    private:
        int& m_nEnds;
    };

    static void fnSetPixels(CqImage& image) {
        for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
            image.TileMap->PixelBuffer[i] = static_cast<unsigned char>(i * 7 + i / 251);
    }

    static std::vector<unsigned char> fnPixels(const CqImage& image) {
        return {image.TileMap->PixelBuffer, image.TileMap->PixelBuffer + image.TileMap->BufferSize};
    }
};

TEST_F(CqImageTest, BeginsWithoutStorageAndWithTheScreensResolution) {
    CqHeadlessMode mode = m_World->m_pScreen->fnGetMode();
    mode.m_nDpiX = 120;
    mode.m_nDpiY = 96;
    m_World->m_pScreen->fnSetMode(mode);
    const CqImage image;
    EXPECT_EQ(image.TileMap, nullptr);
    EXPECT_EQ(image.Width, 0u);
    EXPECT_EQ(image.TileCount, 0u);
    EXPECT_TRUE(image.Title.IsEmpty());
    EXPECT_EQ(image.TitleFlag, 1u);
    EXPECT_EQ(image.DpiX, 120);
    EXPECT_EQ(image.DpiY, 96);
    EXPECT_EQ(image.fnGetFioPlugin(), 0xFFFFFFFFu);
    CObject* data = reinterpret_cast<CObject*>(1);
    image.fnGetPluginData(data);
    EXPECT_EQ(data, nullptr);
}

TEST_F(CqImageTest, ReportsItsClass) {
    const CqImage image;
    EXPECT_STREQ(image.GetRuntimeClass()->m_lpszClassName, "CqImage");
    EXPECT_EQ(CqImage::classCqImage.m_pBaseClass, &CObject::classCObject);
    EXPECT_TRUE(image.IsKindOf(&CObject::classCObject));
    EXPECT_EQ(CqImage::classCqImage.CreateObject(), nullptr);
}

TEST_F(CqImageTest, ItsFieldsMirrorTheGeometryOfItsStorage) {
    const CqImage image(300, 200, 24, nullptr, 0);
    EXPECT_EQ(image.Width, 300u);
    EXPECT_EQ(image.Height, 200u);
    EXPECT_EQ(image.BitCount, 24u);
    EXPECT_EQ(image.BytesPerPixel, 3u);
    EXPECT_EQ(image.RowBytes, 900u);
    EXPECT_EQ(image.PaletteCount, 0u);
    EXPECT_EQ(image.TileCount, 6u);
    EXPECT_EQ(image.TilesAcross, 3u);
    EXPECT_EQ(image.TilesDown, 2u);
    EXPECT_EQ(image.fnGetMaxTileSize(), CSize(128, 128));
    EXPECT_EQ(CqImage(1000, 1000, 4, nullptr, 0).fnGetMaxTileSize(), CSize(1000, 1000));
}

TEST_F(CqImageTest, ASizeAndADepthOfAnyIntegralTypeMakeAnImageWithTheDefaultPalette) {
    const int width = 5;
    const std::size_t height = 3;
    CqImage image(width, height, 24);
    EXPECT_EQ(image.Width, 5u);
    EXPECT_EQ(image.Height, 3u);
    EXPECT_EQ(image.BitCount, 24u);
    CqImage indexed(7u, 2L, short{8});
    CqImage plain(7, 2, 8, nullptr, 0);
    ASSERT_EQ(indexed.PaletteCount, 256u);
    RGBQUAD a[256];
    RGBQUAD b[256];
    indexed.fnGetPaletteEntry(0, 256, a);
    plain.fnGetPaletteEntry(0, 256, b);
    EXPECT_EQ(std::memcmp(a, b, sizeof a), 0);
    image.fnAlloc(width, image.Height * std::uint64_t{2}, 8);
    EXPECT_EQ(image.Height, 6u);
    EXPECT_EQ(image.PaletteCount, 256u);
}

TEST_F(CqImageTest, NumbersThatNoImageCanHaveRaiseTheMemoryExceptionAndLeaveIt) {
    CqImage image(5, 3, 24);
    const auto refuses = [&](std::int64_t width, std::int64_t height, int depth) {
        const CqTileMap* map = image.TileMap;
        try {
            image.fnAlloc(width, height, depth);
            return false;
        } catch (CMemoryException* exception) {
            exception->Delete();
        }
        return image.TileMap == map && image.Width == 5;
    };
    EXPECT_TRUE(refuses(-5, 3, 24));
    EXPECT_TRUE(refuses(5, -3, 24));
    EXPECT_TRUE(refuses(5, 3, -24));
    EXPECT_TRUE(refuses(0, 3, 24));
    EXPECT_TRUE(refuses((std::int64_t{1} << 32) + 5, 3, 24)) << "a size isn't cut to 32 bits";
}

TEST_F(CqImageTest, ARowIsPlacedByASignedNumberToo) {
    CqImage image(5, 3, 24);
    CqImageLine line;
    for (int y = 0; y < 3; ++y) {
        image.fnAccessLine(y, &line, false);
        EXPECT_EQ(line.Row, y);
        line.fnFillColor(CqColor(y, 0, 0), 0, 5);
    }
    image.fnAccessLine(2L, &line, true);
    image.fnAccessLine(std::size_t{1}, &line, true);
    EXPECT_EQ(line.fnGetPixelColor(4), CqColor(1, 0, 0));
}

TEST_F(CqImageTest, FreeingTheStorageLeavesTheMirrorFields) {
    Bare image;
    image.fnAlloc(300, 200, 8, nullptr, 0);
    image.fnFreeBuf();
    EXPECT_EQ(image.TileMap, nullptr);
    EXPECT_EQ(image.Width, 300u);
    EXPECT_EQ(image.PaletteCount, 256u);
}

TEST_F(CqImageTest, AllocatingTheSameSizeAndDepthKeepsPixelsAndPalette) {
    CqImage image(20, 10, 8, q32GreyRamp, 0);
    fnSetPixels(image);
    const auto before = fnPixels(image);
    const CqTileMap* map = image.TileMap;
    image.fnAlloc(20, 10, 8, nullptr, 0);
    EXPECT_EQ(image.TileMap, map);
    EXPECT_TRUE(image.fnIsGrayScale());
    EXPECT_EQ(fnPixels(image), before);
    image.fnAlloc(20, 11, 8, nullptr, 0);
    EXPECT_FALSE(image.fnIsGrayScale());
}

TEST_F(CqImageTest, ThePaletteCountComesFromTheDepthTheRampOrTheCaller) {
    const RGBQUAD table[3] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}};
    EXPECT_EQ(CqImage(1, 1, 4, nullptr, 99).PaletteCount, 16u);
    EXPECT_EQ(CqImage(1, 1, 8, nullptr, 99).PaletteCount, 256u);
    EXPECT_EQ(CqImage(1, 1, 8, table, 3).PaletteCount, 3u);
    EXPECT_EQ(CqImage(1, 1, 8, q32GreyRamp, 3).PaletteCount, 256u);
    EXPECT_EQ(CqImage(1, 1, 16, table, 3).PaletteCount, 0u);
}

TEST_F(CqImageTest, TheGreyRampAt4BitsHas256EntriesAndCountsAsGrey) {
    const CqImage image(1, 1, 4, q32GreyRamp, 0);
    EXPECT_EQ(image.PaletteCount, 256u);
    EXPECT_TRUE(image.fnIsGrayScale());
}

TEST_F(CqImageTest, TakesAScreenPalette) {
    struct {
        LOGPALETTE head;
        PALETTEENTRY more[2];
    } description = {{0x300, 3, {{1, 2, 3, 4}}}, {{5, 6, 7, 8}, {9, 10, 11, 12}}};
    CPalette palette;
    ASSERT_TRUE(palette.CreatePalette(&description.head));
    const CqImage image(2, 2, 8, palette);
    ASSERT_EQ(image.PaletteCount, 3u);
    EXPECT_EQ(image.TileMap->Palette[0].rgbRed, 1);
    EXPECT_EQ(image.TileMap->Palette[0].rgbGreen, 2);
    EXPECT_EQ(image.TileMap->Palette[0].rgbBlue, 3);
    EXPECT_EQ(image.TileMap->Palette[2].rgbRed, 9);
    EXPECT_EQ(image.TileMap->Palette[2].rgbReserved, 12);
}

TEST_F(CqImageTest, AnEmptyScreenPaletteGivesTheDefaultOne) {
    CPalette none;
    EXPECT_EQ(CqImage(2, 2, 4, none).PaletteCount, 16u);
}

TEST_F(CqImageTest, EachFailedAllocationWithAScreenPaletteLeavesTheImageUnchanged) {
    const LOGPALETTE description = {0x300, 1, {{1, 2, 3, 4}}};
    CPalette palette;
    ASSERT_TRUE(palette.CreatePalette(&description));
    CqImage image(20, 20, 24, nullptr, 0);
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool raised = fnRaisesMemoryException([&] { image.fnAlloc(2, 2, 8, palette); });
        failure.fnEnd();
        EXPECT_EQ(image.Width, raised ? 20u : 2u);
        image.fnAlloc(20, 20, 24, nullptr, 0);
    });
    EXPECT_GE(failures, 4u); // both tables, the map and its parts
}

TEST_F(CqImageTest, LoadingGoesThroughTheDerivedClass) {
    class Painted : public CqImage {
    public:
        void fnLoad(int id, unsigned int depth) override {
            fnAlloc(static_cast<unsigned int>(id), 1, depth, nullptr, 0);
        }
    };
    Painted painted;
    CqImage& image = painted;
    image.fnLoad(7, 24);
    EXPECT_EQ(image.Width, 7u);
}

TEST_F(CqImageTest, TwoImagesSwapOnlyTheirStorage) {
    CqImage a(20, 10, 8, nullptr, 0);
    CqImage b;
    a.Title = "a";
    const CqTileMap* map = a.TileMap;
    a.fnSwapBuf(b);
    EXPECT_EQ(a.TileMap, nullptr);
    EXPECT_EQ(a.Width, 0u);
    EXPECT_STREQ(a.Title, "a");
    EXPECT_EQ(b.TileMap, map);
    EXPECT_EQ(b.Width, 20u);
    EXPECT_EQ(b.Height, 10u);
    EXPECT_EQ(b.BitCount, 8u);
    EXPECT_EQ(b.BytesPerPixel, 1u);
    EXPECT_EQ(b.RowBytes, 20u);
    EXPECT_EQ(b.PaletteCount, 256u);
    EXPECT_EQ(b.TileCount, 1u);
    EXPECT_EQ(b.TilesAcross, 1u);
    EXPECT_EQ(b.TilesDown, 1u);
    EXPECT_TRUE(b.Title.IsEmpty());
}

TEST_F(CqImageTest, CreatesAScreenPalette) {
    CqImage image(2, 2, 4, nullptr, 0);
    CPalette palette;
    image.fnGetPalette(palette);
    image.fnGetPalette(palette); // its previous content is deleted first
    ASSERT_EQ(palette.GetEntryCount(), 16);
    PALETTEENTRY entry;
    ASSERT_EQ(palette.GetPaletteEntries(9, 1, &entry), 1u);
    EXPECT_EQ(entry.peRed, 255);
    EXPECT_EQ(entry.peBlue, 0);
    m_World->m_pScreen->m_CreatePalette.fnFail(1);
    EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnGetPalette(palette); }));
}

TEST_F(CqImageTest, OnlyExistingPaletteEntriesAreCopiedOut) {
    CqImage image(2, 2, 4, nullptr, 0);
    RGBQUAD out[3] = {{7, 7, 7, 7}, {7, 7, 7, 7}, {7, 7, 7, 7}};
    EXPECT_EQ(image.fnGetPaletteEntry(14, 3, out), 2u);
    EXPECT_EQ(out[1].rgbRed, 255);
    EXPECT_EQ(out[2].rgbRed, 7);
    EXPECT_LT(static_cast<int>(image.fnGetPaletteEntry(17, 3, out)), 1);
    EXPECT_LT(static_cast<int>(image.fnGetPaletteEntry(0xFFFFFFFFu, 3, out)), 1);
    EXPECT_EQ(out[0].rgbGreen, 255);
    EXPECT_EQ(image.fnSetPaletteEntry(15, 3, out), 1u);
}

TEST_F(CqImageTest, AnAssignmentCopiesPixelsPaletteAndNotes) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        CqImage from(300, 200, bits, bits == 8 ? q32GreyRamp : nullptr, 0);
        fnSetPixels(from);
        from.Title = "sea";
        from.TitleFlag = 5;
        from.DpiX = 300;
        from.DpiY = 400;
        from.fnSetFioPlugin(3);
        CqImage to(1, 1, 24, nullptr, 0);
        to = from;
        EXPECT_EQ(to.BitCount, bits);
        EXPECT_EQ(fnPixels(to), fnPixels(from));
        EXPECT_NE(to.TileMap, from.TileMap);
        EXPECT_EQ(to.PaletteCount, from.PaletteCount);
        EXPECT_EQ(to.fnIsGrayScale(), bits == 8);
        EXPECT_STREQ(to.Title, "sea");
        EXPECT_EQ(to.TitleFlag, 5u);
        EXPECT_EQ(to.DpiX, 300);
        EXPECT_EQ(to.DpiY, 400);
        EXPECT_EQ(to.fnGetFioPlugin(), 0xFFFFFFFFu);
        const CqImage copy(from);
        EXPECT_EQ(fnPixels(copy), fnPixels(from));
    }
}

TEST_F(CqImageTest, AnAssignmentFromAnImageWithoutATitleKeepsTheTitle) {
    CqImage from(1, 1, 24, nullptr, 0);
    CqImage to(1, 1, 24, nullptr, 0);
    to.Title = "kept";
    to = from;
    EXPECT_STREQ(to.Title, "kept");
}

TEST_F(CqImageTest, AnImageAssignedToItselfGetsNewStorageAndLosesItsPixels) {
    CqImage image(200, 200, 24, nullptr, 0);
    std::memset(image.TileMap->PixelBuffer, 9, image.TileMap->BufferSize);
    CqImage& same = image;
    image = same;
    EXPECT_EQ(fnPixels(image),
              std::vector<unsigned char>(200 * 200 * 3, 0)); // fresh storage is zero
    EXPECT_FALSE(image.TileMap->TileTable[0].Locked);
}

TEST_F(CqImageTest, AFailedAllocationLeavesTheImageUnchanged) {
    CqImage image(20, 20, 8, nullptr, 0);
    fnSetPixels(image);
    const auto before = fnPixels(image);
    CqImage other(30, 30, 24, nullptr, 0);
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool raised = fnRaisesMemoryException([&] { image.fnAlloc(40, 40, 8, nullptr, 0); });
        failure.fnEnd();
        EXPECT_EQ(image.Width, raised ? 20u : 40u);
        if (raised) {
            EXPECT_EQ(fnPixels(image), before);
        }
    });
    EXPECT_GE(failures, 3u);
    EXPECT_EQ(image.Width, 40u);
    q32GetVMPolicy()->fnSetRamLimit(0);
    m_World->m_pDisks->fnSetFree("C:\\", 10);
    EXPECT_TRUE(fnRaisesMemoryException([&] { image = other; }));
    EXPECT_EQ(image.Width, 40u);
    EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnConvert(24, true, nullptr); }));
    EXPECT_EQ(image.BitCount, 8u);
    q32GetVMPolicy()->fnSetRamLimit(1'000'000);
}

TEST_F(CqImageTest, ReportsTheScratchFileOfItsPixels) {
    CqImage image;
    EXPECT_TRUE(image.fnGetScratchPath().IsEmpty());
    image.fnAlloc(20, 20, 24, nullptr, 0);
    EXPECT_TRUE(image.fnGetScratchPath().IsEmpty());
    q32GetVMPolicy()->fnSetRamLimit(0);
    image.fnAlloc(21, 20, 24, nullptr, 0);
    const std::string path(image.fnGetScratchPath());
    EXPECT_EQ(path.substr(0, 3), "C:\\");
    EXPECT_TRUE(m_World->m_pDisks->fnIsFile(path)) << path;
    q32GetVMPolicy()->fnSetRamLimit(1'000'000);
}

TEST_F(CqImageTest, SettingTheSamePluginDataAgainDeletesIt) {
    int ends = 0;
    {
        CqImage image;
        auto* first = new Data(ends);
        image.fnSetPluginData(first);
        image.fnSetPluginData(new Data(ends));
        EXPECT_EQ(ends, 1);
        CObject* held = nullptr;
        image.fnGetPluginData(held);
        image.fnSetPluginData(held);
        EXPECT_EQ(ends, 2);
        image.PluginData = new Data(ends); // replaces the deleted one
    }
    EXPECT_EQ(ends, 3);
}

TEST_F(CqImageTest, PixelsOfFullBytesAreAddressedThroughTheirTiles) {
    for (const unsigned int bits : {8u, 16u, 24u, 32u}) {
        CqImage image(300, 260, bits, nullptr, 0);
        for (const int y : {0, 127, 128, 255, 256, 259}) {
            for (const int x : {0, 127, 128, 255, 256, 299}) {
                CqImageTile tile;
                CPoint position(x, y);
                image.fnAccessTile(position, &tile);
                EXPECT_EQ(image.fnGetPixelAddr(x, y),
                          tile.Pixels + tile.RowBytes * static_cast<unsigned int>(y - tile.Top) +
                              static_cast<unsigned int>(x - tile.Left) * bits / 8);
            }
        }
    }
}

TEST_F(CqImageTest, AnOdd4BitPixelUsesTheByteAfterItsPair) {
    CqImage image(6, 2, 4, nullptr, 0);
    std::memset(image.TileMap->PixelBuffer, 0, 6);
    const unsigned char* start = image.TileMap->PixelBuffer;
    EXPECT_EQ(image.fnGetPixelAddr(0, 0) - start, 0);
    EXPECT_EQ(image.fnGetPixelAddr(1, 0) - start, 1);
    EXPECT_EQ(image.fnGetPixelAddr(2, 0) - start, 1);
    EXPECT_EQ(image.fnGetPixelAddr(5, 0) - start, 3); // in the next row
    image.fnSetPixelColor(5, 0, CqColor(255, 255, 255, 255));
    EXPECT_EQ(start[3], 0x0F);
    image.fnSetPixelColor(0, 1, CqColor(255, 0, 0, 255));
    EXPECT_EQ(start[3], 0x9F);
    EXPECT_TRUE(image.fnGetPixelColor(5, 0) == CqColor(255, 255, 255, 255));
    image.fnSetPixelColor(
        5, 1, CqColor(0, 0, 255, 255)); // spills over the end of the block, into its slack
    EXPECT_TRUE(image.fnGetPixelColor(5, 1) == CqColor(0, 0, 255, 255));
}

TEST_F(CqImageTest, SinglePixelsAreWrittenByDepth) {
    const CqColor color(0xFC, 0x83, 0x47, 0x11);
    CqImage image16(1, 1, 16, nullptr, 0);
    image16.fnSetPixelColor(0, 0, color); // 11111 100000 01000 = 0xFC08, low byte first
    EXPECT_EQ(fnPixels(image16), (std::vector<unsigned char>{0x08, 0xFC}));
    CqImage image24(1, 1, 24, nullptr, 0);
    image24.fnSetPixelColor(0, 0, color);
    EXPECT_EQ(fnPixels(image24), (std::vector<unsigned char>{0xFC, 0x83, 0x47}));
    EXPECT_TRUE(image24.fnGetPixelColor(0, 0) == CqColor(0xFC, 0x83, 0x47, 255));
    CqImage image32(1, 1, 32, nullptr, 0);
    image32.fnSetPixelColor(0, 0, color);
    EXPECT_EQ(fnPixels(image32), (std::vector<unsigned char>{0x11, 0xFC, 0x83, 0x47}));
    EXPECT_TRUE(image32.fnGetPixelColor(0, 0) == color);
}

TEST_F(CqImageTest, AColourThatThePaletteLacksIsWrittenAsIndex0) {
    CqImage image(1, 1, 8, nullptr, 0);
    image.fnSetPixelColor(0, 0, CqColor(255, 255, 255, 0));
    EXPECT_EQ(fnPixels(image)[0], 251);
    image.fnSetPixelColor(0, 0, CqColor(1, 255, 255, 255));
    EXPECT_EQ(fnPixels(image)[0], 0);
}

TEST_F(CqImageTest, TheFirstOfEqualPaletteEntriesIsWritten) {
    const RGBQUAD table[3] = {{0, 0, 0, 0}, {1, 1, 1, 0}, {1, 1, 1, 9}};
    CqImage image(1, 1, 8, table, 3);
    image.fnSetPixelColor(0, 0, CqColor(1, 1, 1, 255));
    EXPECT_EQ(fnPixels(image)[0], 1);
}

TEST_F(CqImageTest, A16BitPixelIsNotReadBackAsItWasSet) {
    CqImage image(1, 1, 16, nullptr, 0);
    image.fnSetPixelColor(0, 0, CqColor(255, 0, 0, 255)); // bytes 00 F8
    EXPECT_TRUE(image.fnGetPixelColor(0, 0) == CqColor(0, 0, 0xC0, 255));
    image.TileMap->PixelBuffer[0] = 0xAB;
    image.TileMap->PixelBuffer[1] = 0xCD;
    EXPECT_TRUE(image.fnGetPixelColor(0, 0) == CqColor(0xA8, 0xB4, 0x68, 255));
}

TEST_F(CqImageTest, AnIndexBeyondTheTableReadsAsBlack) {
    const RGBQUAD table[2] = {{9, 9, 9, 0}, {8, 8, 8, 0}};
    CqImage image(1, 1, 8, table, 2);
    image.TileMap->PixelBuffer[0] = 255;
    EXPECT_TRUE(image.fnGetPixelColor(0, 0) == CqColor(0, 0, 0, 255));
}

TEST_F(CqImageTest, PixelsInMemoryAreNeverLost) {
    CqImage image;
    EXPECT_EQ(image.fnCountLosses(), 0u);
    image.fnAlloc(3, 2, 24, nullptr, 0);
    EXPECT_EQ(image.fnCountLosses(), 0u);
}

} // namespace
