#include "q32Base/memory/CqTileMap_p.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Random.h"

#include <cstring>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

/// A bitmap under construction: header, colour table, pixels.
struct Dib {
    BITMAPINFOHEADER m_Header = {};
    Bytes m_Table;
    Bytes m_Pixels;

    Dib(LONG width, LONG height, WORD bits, DWORD compression = BI_RGB) {
        m_Header.biSize = 40;
        m_Header.biWidth = width;
        m_Header.biHeight = height;
        m_Header.biPlanes = 1;
        m_Header.biBitCount = bits;
        m_Header.biCompression = compression;
        if (bits <= 8)
            m_Table.assign(4u << bits, 0);
    }

    Bytes fnBlock() const {
        Bytes block(40 + m_Table.size() + m_Pixels.size());
        std::memcpy(block.data(), &m_Header, 40);
        const auto pixels = std::copy(m_Table.begin(), m_Table.end(), block.begin() + 40);
        std::copy(m_Pixels.begin(), m_Pixels.end(), pixels);
        return block;
    }
};

class DibTest : public AttachedTest {
protected:
    static constexpr int kId = 300;

    void fnPut(const Bytes& block) {
        ASSERT_TRUE(m_World->m_pResources->fnAdd(
            m_World->m_pResources->fnGetHostModule(), RT_BITMAP_ID, WORD{kId},
            {reinterpret_cast<const char*>(block.data()), block.size()}));
    }

    /// The pixels of an image row by row, in the image's byte order.
    static Bytes fnRows(const CqImage& image) {
        Bytes rows(static_cast<std::size_t>(image.RowBytes) * image.Height);
        for (std::uint32_t y = 0; y < image.Height; ++y)
            image.TileMap->fnFetchRow(y, &rows[static_cast<std::size_t>(image.RowBytes) * y]);
        return rows;
    }

    Bytes fnLoadRows(const Dib& dib, unsigned int depth = 0) {
        fnPut(dib.fnBlock());
        CqImage image;
        image.fnLoad(kId, depth);
        return fnRows(image);
    }

    bool fnIsRefused(const Bytes& block) {
        fnPut(block);
        CqImage image(3, 3, 8, nullptr, 0);
        const bool refused = fnRaisesResourceException([&] { image.fnLoad(kId, 0); });
        return refused;
    }
};

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

// Run-length coded bitmaps.

TEST_F(DibTest, RunsLiteralsAndLineEndsFillThePictureUpwards) {
    Dib dib(5, 3, 8, BI_RLE8);
    dib.m_Pixels = {5, 7, 0, 0,              // five sevens
                    0, 3, 1, 2, 3, 99, 2, 4, // three literals and their padding, two fours
                    0, 0, 1, 9, 0, 1};       // one nine, end
    EXPECT_EQ(fnLoadRows(dib), (Bytes{9, 0, 0, 0, 0, 1, 2, 3, 4, 4, 7, 7, 7, 7, 7}));
}

TEST_F(DibTest, ARunAcrossATilesEdgeContinuesInTheNextTile) {
    Dib dib(300, 130, 8, BI_RLE8);
    dib.m_Pixels = {120, 1, 20, 2, 100, 3, 0, 4, 9, 8, 7, 6, 50, 5, 0, 0, 0, 0, 200, 6, 0, 1};
    const Bytes rows = fnLoadRows(dib);
    Bytes expected(300 * 130, 0);
    unsigned char* bottom = &expected[129 * 300];
    std::memset(bottom, 1, 120);
    std::memset(bottom + 120, 2, 20);
    std::memset(bottom + 140, 3, 100);
    std::memcpy(bottom + 240, "\11\10\7\6", 4);
    std::memset(bottom + 244, 5, 50);
    std::memset(&expected[127 * 300], 6, 200);
    EXPECT_EQ(rows, expected);
}

TEST_F(DibTest, ADeltaGoesRightAndDown) {
    Dib dib(4, 4, 8, BI_RLE8);
    // One line up, then right by two and down by one: back to the bottom line.
    dib.m_Pixels = {1, 1, 0, 0, 0, 2, 2, 1, 1, 5, 0, 1};
    Bytes expected(16, 0);
    expected[12] = 1;
    expected[14] = 5;
    EXPECT_EQ(fnLoadRows(dib), expected);
}

TEST_F(DibTest, ADeltaThatLeadsOutsideIsDroppedAndDecodingContinues) {
    Dib dib(4, 2, 8, BI_RLE8);
    dib.m_Pixels = {1, 1, 0, 2, 0, 1, 1, 2, 0, 2, 3, 0, 1, 3, 0, 1};
    EXPECT_EQ(fnLoadRows(dib), (Bytes{0, 0, 0, 0, 1, 2, 3, 0}));
}

TEST_F(DibTest, PixelsBeyondTheRightEdgeAreDropped) {
    Dib dib(130, 2, 8, BI_RLE8);
    dib.m_Pixels = {255, 1, 255, 2, 0, 0, 129, 3, 9, 4, 0, 3, 5, 5, 5, 0, 0, 1};
    Bytes expected(260, 1);
    std::memset(expected.data(), 3, 129);
    expected[129] = 4;
    EXPECT_EQ(fnLoadRows(dib), expected);
}

TEST_F(DibTest, DecodingStopsAboveTheFirstLine) {
    Dib dib(2, 1, 8, BI_RLE8);
    dib.m_Pixels = {1, 1, 0, 0, 2, 9};
    EXPECT_EQ(fnLoadRows(dib), (Bytes{1, 0}));
}

TEST_F(DibTest, AStreamTruncatedAnywhereGivesWhatItHolds) {
    Dib dib(4, 2, 8, BI_RLE8);
    const Bytes stream = {2, 1, 0, 4, 5, 6, 7, 8, 0, 0, 0, 2, 1, 0, 1, 3, 0, 1};
    for (std::size_t size = 0; size <= stream.size(); ++size) {
        dib.m_Pixels.assign(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size));
        const Bytes rows = fnLoadRows(dib);
        Bytes expected(8, 0);
        if (size >= 2)
            expected[4] = expected[5] = 1;
        if (size >= 5)
            expected[6] = 5;
        if (size >= 6)
            expected[7] = 6;
        if (size >= 16)
            expected[1] = 3;
        EXPECT_EQ(rows, expected) << size;
    }
}

TEST_F(DibTest, TheDeclaredLengthOfAStreamBoundsAnAssignment) {
    Dib dib(4, 1, 8, BI_RLE8);
    dib.m_Pixels = {2, 1, 2, 9};
    dib.m_Header.biSizeImage = 2;
    Bytes block = dib.fnBlock();
    CqImage image(reinterpret_cast<BITMAPINFOHEADER*>(block.data()));
    EXPECT_EQ(fnRows(image), (Bytes{1, 1, 0, 0}));
}

TEST_F(DibTest, ADeclaredLengthShorterThanTheHeaderReadsNothingBehindIt) {
    // Declares 0 header bytes, one colour and one byte of pixels: 5 bytes in all.
    Bytes block(40 + 1024, 0x5A);
    BITMAPINFOHEADER header{};
    header.biWidth = 2;
    header.biHeight = 1;
    header.biPlanes = 1;
    header.biBitCount = 8;
    header.biCompression = BI_RLE8;
    header.biClrUsed = 1;
    header.biSizeImage = 1;
    std::memcpy(block.data(), &header, sizeof(header));
    CqImage image;
    image = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
    RGBQUAD color{1, 1, 1, 1};
    ASSERT_EQ(image.fnGetPaletteEntry(0, 1, &color), 1u);
    EXPECT_EQ(color.rgbBlue, 0);
    EXPECT_EQ(color.rgbGreen, 0);
    EXPECT_EQ(color.rgbRed, 0);
}

TEST_F(DibTest, RunLengthsOfOtherDepthsLeaveThePixelsUnset) {
    Dib four(5, 2, 4, BI_RLE4);
    four.m_Pixels = {5, 0x12, 0, 0, 5, 0x34, 0, 1};
    EXPECT_EQ(fnLoadRows(four), Bytes(6, 0));
    Dib deep(5, 2, 24, BI_RLE8);
    deep.m_Pixels = {5, 0x12, 0, 0, 5, 0x34, 0, 1};
    EXPECT_EQ(fnLoadRows(deep), Bytes(30, 0));
}

TEST_F(DibTest, AStreamNeverBeginsInsideTheHeader) {
    Dib dib(4, 1, 8, BI_RLE8);
    dib.m_Header.biClrUsed = 1;
    dib.m_Table.assign(4, 9);
    dib.m_Pixels = {4, 7, 0, 1};
    for (const DWORD size : {0u, 1u, 20u, 39u}) {
        dib.m_Header.biSize = size;
        EXPECT_EQ(fnLoadRows(dib), (Bytes{7, 7, 7, 7})) << size;
        Bytes block = dib.fnBlock();
        const CqImage image(reinterpret_cast<BITMAPINFOHEADER*>(block.data()));
        EXPECT_EQ(fnRows(image), (Bytes{7, 7, 7, 7})) << size;
    }
}

// Failures keep the picture.

/// A picture, and what is to be seen of it.
struct Kept {
    CqImage m_Image{3, 2, 24, nullptr, 0};
    const CqTileMap* m_pMap = m_Image.TileMap;

    Kept() {
        m_Image.Title = "title";
        m_Image.DpiX = 7;
        m_Image.DpiY = 8;
        for (std::uint32_t i = 0; i < m_pMap->BufferSize; ++i)
            m_pMap->PixelBuffer[i] = static_cast<unsigned char>(i + 1);
    }
    bool fnIsUnchanged() const {
        bool same = m_Image.TileMap == m_pMap && m_Image.Width == 3 && m_Image.Height == 2 &&
                    m_Image.BitCount == 24 && m_Image.DpiX == 7 && m_Image.DpiY == 8;
        for (std::uint32_t i = 0; same && i < m_pMap->BufferSize; ++i)
            same = m_pMap->PixelBuffer[i] == i + 1;
        return same;
    }
};

std::span<const std::byte> fnSpan(const Bytes& block) {
    return std::as_bytes(std::span(block));
}

TEST_F(DibTest, EachFailedAllocationOfAnImportKeepsThePicture) {
    Dib rows(2, 2, 8);
    rows.m_Pixels = {1, 2, 0, 0, 3, 4, 0, 0};
    Dib runs(2, 2, 8, BI_RLE8);
    runs.m_Pixels = {2, 5, 0, 0, 2, 6, 0, 1};
    for (const Dib& dib : {rows, runs}) {
        Bytes block = dib.fnBlock();
        fnPut(block);
        auto* header = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
        const std::function<void(CqImage&)> imports[] = {
            [&](CqImage& image) { image = header; },
            [&](CqImage& image) { image.fnTake(fnSpan(block)); },
            [&](CqImage& image) { image.fnLoad(kId, 0); },
            [&](CqImage& image) { image.fnLoad(kId, 32); }};
        for (const auto& import : imports) {
            std::size_t raises = 0;
            std::optional<Kept> kept;
            fnFailEachAllocation([&] { kept.emplace(); },
                                 [&](CqAllocationFailure& failure) {
                                     const bool raised =
                                         fnRaisesMemoryException([&] { import(kept->m_Image); });
                                     failure.fnEnd();
                                     EXPECT_NE(raised, kept->m_Image.TileMap != kept->m_pMap);
                                     EXPECT_EQ(raised, kept->fnIsUnchanged());
                                     raises += raised;
                                 });
            EXPECT_GE(raises, 3u);
        }
    }
}

// Bitmaps that aren't trusted.

TEST_F(DibTest, AnUntrustedBitmapGivesWhatTheAssignmentGives) {
    Random random(7);
    for (int round = 0; round < 400; ++round) {
        const WORD bits = std::vector<WORD>{4, 8, 16, 24, 32}[random() % 5];
        const DWORD compression = bits == 8    ? random() % 2 // uncompressed or runs
                                  : bits == 16 ? random() % 2 * BI_BITFIELDS
                                  : bits == 4  ? random() % 2 * BI_RLE4
                                               : BI_RGB;
        Dib dib(static_cast<LONG>(1 + random() % 200), static_cast<LONG>(1 + random() % 40), bits,
                compression);
        if (bits == 4 && dib.m_Header.biWidth == 1)
            continue; // rows of no bytes
        if (bits <= 8 && random() % 2) {
            dib.m_Header.biClrUsed = 1 + random() % 300;
            dib.m_Table.resize(4u * dib.m_Header.biClrUsed);
        }
        dib.m_Header.biXPelsPerMeter = static_cast<LONG>(random() % 9000);
        dib.m_Header.biYPelsPerMeter = static_cast<LONG>(random() % 9000);
        for (unsigned char& byte : dib.m_Table)
            byte = static_cast<unsigned char>(random());
        dib.m_Pixels.resize(
            static_cast<std::size_t>(dib.m_Header.biHeight) *
            ((static_cast<std::size_t>(dib.m_Header.biWidth) * bits + 31) / 32 * 4));
        for (unsigned char& byte : dib.m_Pixels)
            byte = static_cast<unsigned char>(random() % (compression == BI_RLE8 ? 6 : 256));
        if (compression == BI_RLE8)
            dib.m_Header.biSizeImage = static_cast<DWORD>(dib.m_Pixels.size());
        if (bits == 16 && compression == BI_BITFIELDS && dib.m_Pixels.size() >= 12) {
            const std::uint32_t masks[3] = {0xF800, 0x07E0, 0x001F};
            std::memcpy(dib.m_Pixels.data(), masks, 12);
        }
        Bytes block = dib.fnBlock();
        block.resize(block.size() + 12); // masks may be longer than the pixels
        CqImage assigned;
        assigned = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
        // At an odd address.
        Bytes moved(1);
        moved.insert(moved.end(), block.begin(), block.end());
        CqImage taken;
        taken.fnTake(fnSpan(moved).subspan(1));
        ASSERT_EQ(taken.BitCount, assigned.BitCount);
        ASSERT_EQ(taken.Width, assigned.Width);
        ASSERT_EQ(fnRows(taken), fnRows(assigned)) << round;
        ASSERT_EQ(taken.PaletteCount, assigned.PaletteCount);
        for (unsigned int i = 0; i < taken.PaletteCount; ++i) {
            RGBQUAD color[2] = {};
            taken.fnGetPaletteEntry(i, 1, &color[0]);
            assigned.fnGetPaletteEntry(i, 1, &color[1]);
            ASSERT_EQ(std::memcmp(&color[0], &color[1], sizeof(RGBQUAD)), 0);
        }
        EXPECT_EQ(taken.DpiX, assigned.DpiX);
        EXPECT_EQ(taken.DpiY, assigned.DpiY);
    }
}

TEST_F(DibTest, AnUntrustedBitmapMayBeTopDown) {
    Dib dib(1, -2, 24);
    dib.m_Pixels = {1, 2, 3, 0, 4, 5, 6, 0};
    CqImage image;
    image.fnTake(fnSpan(dib.fnBlock()));
    EXPECT_EQ(fnRows(image), (Bytes{3, 2, 1, 6, 5, 4}));
}

TEST_F(DibTest, AnUntrustedBitmapIsRefusedUnlessAllOfItIsThere) {
    Kept kept;
    const auto refuses = [&](const Bytes& block) {
        // On the heap, so that a byte read beyond it is noticed.
        const Bytes exact(block);
        return fnRaisesResourceException([&] { kept.m_Image.fnTake(fnSpan(exact)); }) &&
               kept.fnIsUnchanged();
    };
    Dib dib(2, 3, 8);
    dib.m_Pixels = {1, 2, 0, 0, 3, 4, 0, 0, 5, 6, 0, 0};
    const Bytes whole = dib.fnBlock();
    for (std::size_t size = 0; size < whole.size(); ++size)
        ASSERT_TRUE(
            refuses(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))))
            << size;
    const auto refusesHeader = [&](auto change) {
        Dib changed = dib;
        change(changed.m_Header);
        return refuses(changed.fnBlock());
    };
    for (const DWORD size : {0u, 39u, 5000u, 0xFFFFFFFFu})
        EXPECT_TRUE(refusesHeader([&](BITMAPINFOHEADER& header) { header.biSize = size; })) << size;
    for (const DWORD colors : {257u, 0x40000000u, 0xFFFFFFFFu})
        EXPECT_TRUE(refusesHeader([&](BITMAPINFOHEADER& header) { header.biClrUsed = colors; }));
    for (const DWORD compression : {4u, 5u, 6u, 0xFFFFFFFFu})
        EXPECT_TRUE(
            refusesHeader([&](BITMAPINFOHEADER& header) { header.biCompression = compression; }));
    for (const LONG size : {0, -1, INT32_MIN})
        EXPECT_TRUE(refusesHeader([&](BITMAPINFOHEADER& header) { header.biWidth = size; }));
    for (const LONG size : {0, 4, INT32_MAX, INT32_MIN})
        EXPECT_TRUE(refusesHeader([&](BITMAPINFOHEADER& header) { header.biHeight = size; }));
    EXPECT_TRUE(refusesHeader([](BITMAPINFOHEADER& header) {
        header.biBitCount = 0xFFFF;
        header.biWidth = INT32_MAX;
        header.biHeight = INT32_MIN;
    }));
    for (const WORD bits : {WORD{0}, WORD{1}, WORD{12}})
        EXPECT_TRUE(refusesHeader([&](BITMAPINFOHEADER& header) { header.biBitCount = bits; }));
}

TEST_F(DibTest, AFewUntrustedBytesDoNotDemandGigabytes) {
    Kept kept;
    for (const DWORD compression : {BI_RLE8, BI_RLE4}) {
        Dib dib(30000, 30000, compression == BI_RLE8 ? 8 : 4, compression);
        dib.m_Pixels = {0, 1};
        EXPECT_TRUE(fnRaisesResourceException([&] { kept.m_Image.fnTake(fnSpan(dib.fnBlock())); }));
    }
    Dib line(1, 0x7FFFFFFF, 4); // rows of no bytes
    EXPECT_TRUE(fnRaisesResourceException([&] { kept.m_Image.fnTake(fnSpan(line.fnBlock())); }));
    EXPECT_TRUE(kept.fnIsUnchanged());
}

TEST_F(DibTest, TheDeclaredLengthOfAnUntrustedStreamBoundsIt) {
    Dib dib(4, 1, 8, BI_RLE8);
    dib.m_Pixels = {2, 1, 2, 9};
    dib.m_Header.biSizeImage = 2;
    CqImage image;
    image.fnTake(fnSpan(dib.fnBlock()));
    EXPECT_EQ(fnRows(image), (Bytes{1, 1, 0, 0}));
}

TEST_F(DibTest, HostileBitmapsAreTakenOrRefused) {
    Random random(8);
    int taken = 0;
    for (int round = 0; round < 4000; ++round) {
        Dib dib(static_cast<LONG>(random() % 40), static_cast<LONG>(random() % 40),
                std::vector<WORD>{4, 8, 16, 24, 32}[random() % 5], random() % 4);
        dib.m_Pixels.resize(random() % 4000);
        for (unsigned char& b : dib.m_Pixels)
            b = static_cast<unsigned char>(random());
        Bytes block = dib.fnBlock();
        for (unsigned int i = random() % 3; i > 0; --i)
            block[random() % 40] = static_cast<unsigned char>(random());
        block.resize(random() % 4 == 0 ? random() % (block.size() + 1) : block.size());
        block.shrink_to_fit();
        CqImage image;
        try {
            image.fnTake(fnSpan(block));
            ++taken;
        } catch (CException* failure) {
            failure->Delete();
            EXPECT_EQ(image.TileMap, nullptr);
        }
    }
    EXPECT_GT(taken, 100);
}

} // namespace
