// Bitmaps that aren't trusted, and failures, which keep the picture.
#include "tests/image/DibTestTools.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Random.h"

#include <cstring>
#include <functional>
#include <initializer_list>
#include <optional>
#include <span>

namespace q32::test {
namespace {

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

TEST_F(DibTest, AFewBytesOfAResourceDoNotDemandGigabytes) {
    for (const DWORD compression :
         std::initializer_list<DWORD>{BI_RGB, BI_BITFIELDS, BI_RLE8, BI_RLE4, 9}) {
        fnPut(Dib(30000, 30000, 16, compression).fnBlock());
        Kept kept;
        EXPECT_TRUE(fnRaisesMemoryException([&] { kept.m_Image.fnLoad(kId, 0); }));
        EXPECT_TRUE(kept.fnIsUnchanged());
    }
    // Forty bytes give as many pixels as that pays for.
    fnPut(Dib(40 * 256, 256, 16).fnBlock());
    CqImage image;
    image.fnLoad(kId, 0);
    EXPECT_EQ(image.Width, 40u * 256);
    fnPut(Dib(41 * 256, 256, 16).fnBlock());
    EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnLoad(kId, 0); }));
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
} // namespace q32::test
