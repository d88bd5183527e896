#include "tests/image/DibTestTools.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Random.h"

#include <string>

namespace q32::test {
namespace {

TEST_F(DibTest, AMissingResourceRaisesTheResourceException) {
    CqImage image(2, 2, 8, nullptr, 0);
    EXPECT_TRUE(fnRaisesResourceException([&] { image.fnLoad(1, 0); }));
    EXPECT_EQ(image.Width, 2u);
    EXPECT_NE(image.TileMap, nullptr);
}

TEST_F(DibTest, OnlyTheLow16BitsOfTheNumberAreUsed) {
    Dib dib(1, 1, 24);
    dib.m_Pixels = {1, 2, 3, 0};
    fnPut(dib.fnBlock());
    const CqImage image(0x70000 + kId, 0);
    EXPECT_EQ(fnRows(image), (Bytes{3, 2, 1}));
}

TEST_F(DibTest, RowsAreFlippedAndBytesStoredInTheImagesOrder) {
    Dib dib(2, 2, 24);
    dib.m_Pixels = {1, 2, 3, 4, 5, 6, 0, 0, 11, 12, 13, 14, 15, 16, 0, 0};
    EXPECT_EQ(fnLoadRows(dib), (Bytes{13, 12, 11, 16, 15, 14, 3, 2, 1, 6, 5, 4}));
    Dib deep(1, 2, 32);
    deep.m_Pixels = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(fnLoadRows(deep), (Bytes{8, 7, 6, 5, 4, 3, 2, 1}));
}

TEST_F(DibTest, ATopDownSourceKeepsItsRowsInOrder) {
    Dib dib(1, -2, 24);
    dib.m_Pixels = {1, 2, 3, 0, 4, 5, 6, 0};
    EXPECT_EQ(fnLoadRows(dib), (Bytes{3, 2, 1, 6, 5, 4}));
}

TEST_F(DibTest, ANegativeHeightCannotBeAssigned) {
    Dib dib(1, -2, 24);
    dib.m_Pixels = {1, 2, 3, 0, 4, 5, 6, 0};
    Bytes block = dib.fnBlock();
    CqImage image(3, 3, 8, nullptr, 0);
    EXPECT_TRUE(fnRaisesMemoryException(
        [&] { image = reinterpret_cast<BITMAPINFOHEADER*>(block.data()); }));
    EXPECT_EQ(image.Width, 3u);
}

TEST_F(DibTest, TheColourTableFollowsTheFortyBytesAndZeroMeansAllEntries) {
    Dib dib(2, 1, 8);
    dib.m_Table[4 * 255] = 77;
    dib.m_Pixels = {255, 1, 0, 0};
    fnPut(dib.fnBlock());
    CqImage image;
    image.fnLoad(kId, 0);
    EXPECT_EQ(image.PaletteCount, 256u);
    EXPECT_EQ(image.TileMap->Palette[255].rgbBlue, 77);
    EXPECT_EQ(fnRows(image), (Bytes{255, 1}));
    dib.m_Header.biClrUsed = 3;
    dib.m_Table.assign(12, 5);
    fnPut(dib.fnBlock());
    image.fnLoad(kId, 0);
    EXPECT_EQ(image.PaletteCount, 3u);
    EXPECT_EQ(fnRows(image), (Bytes{255, 1}));
}

TEST_F(DibTest, A16BitSourceWithoutMasksIsReadAs555) {
    Dib dib(4, 1, 16);
    dib.m_Pixels = {0xFF, 0x7F, 0x12, 0x34, 0xAA, 0xBB, 0xCC, 0xDD};
    // 0x7FFF: 11111 111110 11111; 0x3412: 01101 000000 10010; the second half of the row is
    // unchanged.
    EXPECT_EQ(fnLoadRows(dib), (Bytes{0xFF, 0xDF, 0x68, 0x12, 0xAA, 0xBB, 0xCC, 0xDD}));
}

TEST_F(DibTest, MasksInALongHeaderDoNotCountWithoutTheirCompression) {
    for (const DWORD headerBytes : {108u, 124u}) {
        Dib dib(2, 1, 16); // only the first half of a row is converted
        dib.m_Header.biSize = headerBytes;
        dib.m_Table.assign(headerBytes - 40, 0); // the rest of the header, which begins with masks
        const std::uint32_t masks[] = {0xF800, 0x07E0, 0x001F};
        std::memcpy(dib.m_Table.data(), masks, sizeof(masks));
        dib.m_Pixels = {0xFF, 0x7F, 0, 0};
        EXPECT_EQ(fnLoadRows(dib), (Bytes{0xFF, 0xDF, 0, 0})) << headerBytes << ": white as 5-5-5";
        dib.m_Header.biCompression = BI_BITFIELDS;
        EXPECT_EQ(fnLoadRows(dib), (Bytes{0x7F, 0xFF, 0, 0})) << headerBytes;
    }
}

TEST_F(DibTest, TheMasksOfABitmapCountAsItsFirstPixels) {
    Dib dib(2, 4, 16, BI_BITFIELDS);
    const std::uint32_t masks[3] = {0xF800, 0x07E0, 0x001F};
    dib.m_Pixels = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4};
    std::memcpy(dib.m_Pixels.data(), masks, 12);
    // Stored rows: F800 0000, 07E0 0000, 001F 0000, 0201 0403; the first pixel of each is swapped.
    EXPECT_EQ(fnLoadRows(dib),
              (Bytes{2, 1, 3, 4, 0x00, 0x1F, 0, 0, 0x07, 0xE0, 0, 0, 0xF8, 0x00, 0, 0}));
}

TEST_F(DibTest, MasksLongerThanThePixelsStillSelectTheFormatWhenAssigned) {
    CqImage image(2, 1, 16, nullptr, 0);
    BITMAPINFOHEADER* dib = image;
    // The first four of the twelve bytes of masks count as the only row: F800, of which the first
    // pixel is swapped.
    const CqImage back(dib);
    EXPECT_EQ(fnRows(back), (Bytes{0xF8, 0x00, 0, 0}));
    ::operator delete(dib);
}

TEST_F(DibTest, MasksOtherThan565AreReadAs555) {
    Dib dib(2, 4, 16, BI_BITFIELDS);
    const std::uint32_t masks[3] = {0x7C00, 0x03E0, 0x001F};
    dib.m_Pixels = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0x7F, 3, 4};
    std::memcpy(dib.m_Pixels.data(), masks, 12);
    const Bytes rows = fnLoadRows(dib);
    EXPECT_EQ(Bytes(rows.begin(), rows.begin() + 4), (Bytes{0xFF, 0xDF, 3, 4}));
}

TEST_F(DibTest, AnUnknownCompressionFreesTheStorageOnLoadAndLeavesPixelsUnsetOnAssignment) {
    Dib dib(2, 3, 8, 4);
    dib.m_Pixels.assign(12, 9);
    fnPut(dib.fnBlock());
    CqImage image(5, 5, 24, nullptr, 0);
    EXPECT_TRUE(fnRaisesResourceException([&] { image.fnLoad(kId, 0); }));
    EXPECT_EQ(image.TileMap, nullptr);
    EXPECT_EQ(image.Width, 2u);
    EXPECT_EQ(image.Height, 3u);
    Bytes block = dib.fnBlock();
    image = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
    EXPECT_EQ(fnRows(image), Bytes(6, 0));
}

TEST_F(DibTest, LoadingConvertsToARequestedDepth) {
    Dib dib(1, 1, 8);
    dib.m_Table[4 * 9] = 1;
    dib.m_Table[4 * 9 + 1] = 2;
    dib.m_Table[4 * 9 + 2] = 3;
    dib.m_Pixels = {9, 0, 0, 0};
    EXPECT_EQ(fnLoadRows(dib, 24), (Bytes{3, 2, 1}));
    EXPECT_EQ(fnLoadRows(dib, 32), (Bytes{255, 3, 2, 1}));
}

TEST_F(DibTest, AssigningTakesTheRawResolutions) {
    Dib dib(1, 1, 24);
    dib.m_Header.biXPelsPerMeter = 2835;
    dib.m_Header.biYPelsPerMeter = -5;
    dib.m_Pixels = {1, 2, 3, 0};
    Bytes block = dib.fnBlock();
    const CqImage image(reinterpret_cast<BITMAPINFOHEADER*>(block.data()));
    EXPECT_EQ(image.DpiX, 2835);
    EXPECT_EQ(image.DpiY, -5);
}

TEST_F(DibTest, IsExportedWithAHeaderAndRowsFromTheBottomUp) {
    CqImage image(2, 2, 24, nullptr, 0);
    const Bytes rows = {1, 2, 3, 4, 5, 6, 11, 12, 13, 14, 15, 16};
    image.TileMap->fnStoreRow(0, rows.data());
    image.TileMap->fnStoreRow(1, rows.data() + 6);
    BITMAPINFOHEADER* dib = image;
    EXPECT_EQ(dib->biSize, 40u);
    EXPECT_EQ(dib->biWidth, 2);
    EXPECT_EQ(dib->biHeight, 2);
    EXPECT_EQ(dib->biPlanes, 1);
    EXPECT_EQ(dib->biBitCount, 24);
    EXPECT_EQ(dib->biCompression, BI_RGB);
    EXPECT_EQ(dib->biSizeImage, 0u);
    EXPECT_EQ(dib->biClrUsed, 0u);
    const auto* pixels = reinterpret_cast<const unsigned char*>(dib) + 40;
    EXPECT_EQ(Bytes(pixels, pixels + 16),
              (Bytes{13, 12, 11, 16, 15, 14, 0, 0, 3, 2, 1, 6, 5, 4, 0, 0}));
    ::operator delete(dib);
}

TEST_F(DibTest, APaletteIsExportedAfterTheHeader) {
    const RGBQUAD table[3] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}};
    CqImage image(4, 1, 8, table, 3);
    BITMAPINFOHEADER* dib = image;
    EXPECT_EQ(dib->biClrUsed, 3u);
    EXPECT_EQ(std::memcmp(reinterpret_cast<unsigned char*>(dib) + 40, table, 12), 0);
    ::operator delete(dib);
    CqImage full(4, 1, 4, nullptr, 0);
    dib = full;
    EXPECT_EQ(dib->biClrUsed, 0u);
    ::operator delete(dib);
}

TEST_F(DibTest, A16BitImageIsExportedWithMasksAndHalfOfEachRowSwapped) {
    CqImage image(4, 1, 16, nullptr, 0);
    const Bytes row = {1, 2, 3, 4, 5, 6, 7, 8};
    image.TileMap->fnStoreRow(0, row.data());
    BITMAPINFOHEADER* dib = image;
    EXPECT_EQ(dib->biCompression, BI_BITFIELDS);
    const auto* bytes = reinterpret_cast<const unsigned char*>(dib);
    const std::uint32_t masks[3] = {0xF800, 0x07E0, 0x001F};
    EXPECT_EQ(std::memcmp(bytes + 40, masks, 12), 0);
    EXPECT_EQ(Bytes(bytes + 52, bytes + 60), (Bytes{2, 1, 4, 3, 5, 6, 7, 8}));
    EXPECT_EQ(fnRows(image), row);
    ::operator delete(dib);
}

TEST_F(DibTest, A4BitRowOfAnOddWidthSpillsIntoItsNeighbour) {
    CqImage image(9, 2, 4, nullptr, 0); // rows of 5 bytes, a stride of 4
    const Bytes rows = {0x11, 0x22, 0x33, 0x44, 0x50, 0x66, 0x77, 0x88, 0x99, 0xA0};
    image.TileMap->fnStoreRow(0, rows.data());
    image.TileMap->fnStoreRow(1, rows.data() + 5);
    BITMAPINFOHEADER* dib = image;
    const auto* pixels = reinterpret_cast<const unsigned char*>(dib) + 40 + 64;
    // Row 0 is written first, at the end; the fifth byte of row 1 then overwrites its first.
    EXPECT_EQ(Bytes(pixels, pixels + 9),
              (Bytes{0x66, 0x77, 0x88, 0x99, 0xA0, 0x22, 0x33, 0x44, 0x50}));
    ::operator delete(dib);
}

TEST_F(DibTest, ExportAndImportRoundTrip) {
    Random random(5);
    for (const unsigned int bits : {8u, 24u, 32u}) {
        for (const unsigned int width : {1u, 127u, 129u, 300u}) {
            CqImage image(width, 131, bits, nullptr, 0);
            for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
                image.TileMap->PixelBuffer[i] = static_cast<unsigned char>(random());
            BITMAPINFOHEADER* dib = image;
            CqImage back(dib);
            EXPECT_EQ(fnRows(back), fnRows(image)) << bits << " " << width;
            ::operator delete(dib);
        }
    }
}

TEST_F(DibTest, EachFailedExportLeaksNothing) {
    CqImage image(20, 20, 24, nullptr, 0);
    for (std::size_t n = 1; n <= 2; ++n) { // the block, and the row
        const CqAllocationFailure failure(n);
        EXPECT_TRUE(fnRaisesMemoryException(
            [&] { ::operator delete(static_cast<BITMAPINFOHEADER*>(image)); }));
    }
}

TEST_F(DibTest, EachFailedImportRaisesTheMemoryException) {
    Dib dib(2, 2, 8);
    dib.m_Pixels = {1, 2, 0, 0, 3, 4, 0, 0};
    Bytes block = dib.fnBlock();
    auto* header = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
    fnPut(block);
    for (const bool load : {true, false}) {
        std::size_t raises = 0;
        const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
            const bool raised = fnRaisesMemoryException([&] {
                CqImage image;
                if (load)
                    image.fnLoad(kId, 0);
                else
                    image = header;
                failure.fnEnd();
                EXPECT_EQ(fnRows(image), (Bytes{3, 4, 1, 2}));
            });
            failure.fnEnd();
            EXPECT_EQ(q32GetVMPolicy()->fnGetRamUsed(), 0u);
            raises += raised;
        });
        EXPECT_GE(raises, 4u) << "map, tile table, palette and row";
        EXPECT_GE(failures, raises);
    }
}

TEST_F(DibTest, ATruncatedBitmapGivesWhatItHolds) {
    Dib dib(2, 3, 8);
    dib.m_Pixels = {1, 2, 0, 0, 3, 4, 0, 0, 5, 6, 0, 0};
    const Bytes whole = dib.fnBlock();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        fnPut(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
        CqImage image;
        if (size < 40) {
            EXPECT_TRUE(fnRaisesResourceException([&] { image.fnLoad(kId, 0); })) << size;
            continue;
        }
        image.fnLoad(kId, 0);
        const std::size_t held = size < 40 + 1024 ? 0 : size - 40 - 1024;
        Bytes expected(6, 0);
        for (std::size_t i = 0; i < held; ++i) {
            if (i % 4 < 2)
                expected[(2 - i / 4) * 2 + i % 4] =
                    static_cast<unsigned char>(i / 4 * 2 + i % 4 + 1);
        }
        EXPECT_EQ(fnRows(image), expected) << size;
    }
}

TEST_F(DibTest, RefusesSizesAndDepthsThatNoImageCanHave) {
    for (const WORD bits : {WORD{0}, WORD{1}, WORD{2}, WORD{12}, WORD{40}, WORD{0xFFFF}}) {
        Dib dib(1, 1, 8);
        dib.m_Header.biBitCount = bits;
        EXPECT_TRUE(fnIsRefused(dib.fnBlock())) << bits;
    }
    EXPECT_TRUE(fnIsRefused(Dib(0, 1, 24).fnBlock()));
    EXPECT_TRUE(fnIsRefused(Dib(-1, 1, 24).fnBlock()));
    EXPECT_TRUE(fnIsRefused(Dib(1, 0, 24).fnBlock()));
    fnPut(Dib(0x7FFFFFFF, INT32_MIN, 32).fnBlock());
    CqImage image(3, 3, 8, nullptr, 0);
    EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnLoad(kId, 0); }));
    EXPECT_EQ(image.Width, 3u);
}

TEST_F(DibTest, HostileHeadersNeverCauseOutOfBoundsAccess) {
    Random random(6);
    for (int round = 0; round < 3000; ++round) {
        Dib dib(static_cast<LONG>(random() % 40), static_cast<LONG>(random() % 40),
                std::vector<WORD>{4, 8, 16, 24, 32}[random() % 5], random() % 4);
        dib.m_Pixels.resize(random() % 400);
        for (unsigned char& b : dib.m_Pixels)
            b = static_cast<unsigned char>(random());
        Bytes block = dib.fnBlock();
        for (unsigned int i = random() % 4; i > 0; --i)
            block[16 + random() % 24] =
                static_cast<unsigned char>(random()); // all fields after size and depth
        if (random() % 4 == 0)
            block[random() % 4] = static_cast<unsigned char>(random()); // biSize
        fnPut(block);
        CqImage image;
        try {
            image.fnLoad(kId, 0);
        } catch (CException* failure) {
            failure->Delete();
        }
    }
}

} // namespace
} // namespace q32::test
