#include "platforms/headless/headless.h"
#include "q32Base/framework/CPalette.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

namespace {

/// A header, its table and rows, each in a block of its exact size, so that a memory checker
/// detects any access outside them.
struct Dib {
    std::vector<std::uint8_t> m_Block;
    std::vector<std::uint8_t> m_Rows;

    Dib(int width, int height, int bits, std::vector<std::uint8_t> table = {}, DWORD used = 0)
        : m_Block(sizeof(BITMAPINFOHEADER) + table.size()) {
        BITMAPINFOHEADER header{};
        header.biSize = sizeof(header);
        header.biWidth = width;
        header.biHeight = height;
        header.biPlanes = 1;
        header.biBitCount = static_cast<WORD>(bits);
        header.biClrUsed = used;
        std::memcpy(m_Block.data(), &header, sizeof(header));
        std::copy(table.begin(), table.end(),
                  m_Block.begin() + static_cast<std::ptrdiff_t>(sizeof(header)));
        m_Rows.resize(static_cast<std::size_t>((width * bits + 31) / 32 * 4 * std::abs(height)));
    }
    BITMAPINFOHEADER* fnHeader() { return reinterpret_cast<BITMAPINFOHEADER*>(m_Block.data()); }
    std::size_t fnStride() const {
        const auto* header = reinterpret_cast<const BITMAPINFOHEADER*>(m_Block.data());
        return m_Rows.size() / static_cast<std::size_t>(std::abs(header->biHeight));
    }
    void fnFill(unsigned seed) {
        std::mt19937 random(seed);
        for (std::uint8_t& byte : m_Rows)
            byte = static_cast<std::uint8_t>(random());
    }
};

struct HeadlessScreen : testing::Test {
    CqPlatform m_Platform;
    std::shared_ptr<CqHeadlessMisuses> m_pMisuses = std::make_shared<CqHeadlessMisuses>();
    std::shared_ptr<CqHeadlessScreen> m_pScreen =
        std::make_shared<CqHeadlessScreen>(CqHeadlessMode{40, 30, 32, 96, 120}, m_pMisuses);

    HeadlessScreen() {
        m_Platform.m_pScreen = m_pScreen;
        q32::fnSetPlatform(m_Platform);
    }
    ~HeadlessScreen() override { q32::fnClearPlatform(); }

    void fnSetBits(int bits) { ASSERT_TRUE(m_pScreen->fnSetMode({40, 30, bits, 96, 96})); }

    int fnPut(CDC* dc, int x, int y, Dib& dib, UINT use = DIB_RGB_COLORS) {
        const auto height = static_cast<UINT>(std::abs(dib.fnHeader()->biHeight));
        return m_pScreen->fnSetDIBitsToDevice(dc, x, y, static_cast<UINT>(dib.fnHeader()->biWidth),
                                              height, 0, 0, 0, height, dib.m_Rows.data(),
                                              dib.fnHeader(), use);
    }

    /// A palette of grey steps.
    static void fnMakePalette(CPalette& palette, unsigned count, unsigned step,
                              unsigned first = 0) {
        std::vector<std::uint8_t> block(4 + 4 * count);
        block[1] = 3;
        block[2] = static_cast<std::uint8_t>(count & 0xFF);
        block[3] = static_cast<std::uint8_t>(count >> 8);
        for (unsigned i = 0; i < count; ++i)
            for (unsigned k = 0; k < 3; ++k)
                block[4 + 4 * i + k] = static_cast<std::uint8_t>(first + i * step);
        ASSERT_TRUE(palette.CreatePalette(reinterpret_cast<const LOGPALETTE*>(block.data())));
    }
};

/// Table of 16-bit indices 0, 1, 2…
std::vector<std::uint8_t> fnIndices(unsigned count) {
    std::vector<std::uint8_t> table;
    for (unsigned i = 0; i < count; ++i) {
        table.push_back(static_cast<std::uint8_t>(i & 0xFF));
        table.push_back(static_cast<std::uint8_t>(i >> 8));
    }
    return table;
}

} // namespace

TEST_F(HeadlessScreen, ReportsItsMetricsAlsoAfterAChange) {
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    ASSERT_NE(dc, nullptr);
    EXPECT_EQ(dc->GetDeviceCaps(HORZRES), 40);
    EXPECT_EQ(dc->GetDeviceCaps(VERTRES), 30);
    EXPECT_EQ(dc->GetDeviceCaps(BITSPIXEL), 32);
    EXPECT_EQ(dc->GetDeviceCaps(LOGPIXELSX), 96);
    EXPECT_EQ(dc->GetDeviceCaps(LOGPIXELSY), 120);
    EXPECT_EQ(dc->GetDeviceCaps(9999), 0);
    ASSERT_TRUE(m_pScreen->fnSetMode({50, 60, 16, 70, 80}));
    EXPECT_EQ(dc->GetDeviceCaps(HORZRES), 50);
    EXPECT_EQ(dc->GetDeviceCaps(BITSPIXEL), 16);
    EXPECT_FALSE(m_pScreen->fnSetMode({50, 60, 15, 70, 80}));
    EXPECT_FALSE(m_pScreen->fnSetMode({0, 60, 8, 70, 80}));
    EXPECT_EQ(dc->GetDeviceCaps(BITSPIXEL), 16);
    m_pScreen->fnReleaseDC(nullptr, dc);
    EXPECT_EQ(m_pScreen->fnGetOpenDCs(), 0u);
}

TEST_F(HeadlessScreen, DeviceContextsAreChecked) {
    CqHeadlessWnd window({0, 0, 5, 5});
    CDC* dc = m_pScreen->fnGetDC(&window);
    m_pScreen->fnReleaseDC(nullptr, dc);
    EXPECT_EQ(m_pMisuses->fnGetAll().size(), 1u);
    m_pScreen->fnReleaseDC(&window, dc);
    Dib dib(1, 1, 24);
    EXPECT_EQ(fnPut(dc, 0, 0, dib), -1);
    EXPECT_EQ(m_pMisuses->fnGetAll().size(), 2u);
    m_pScreen->m_GetDC.fnFail();
    EXPECT_EQ(m_pScreen->fnGetDC(&window), nullptr);
    window.fnDestroy();
    EXPECT_EQ(m_pScreen->fnGetDC(&window), nullptr);
    EXPECT_EQ(fnPut(nullptr, 0, 0, dib), 0);
}

TEST_F(HeadlessScreen, RowsFromTheBottomUpAndFromTheTopDownGiveTheSamePicture) {
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    for (const int bits : {24, 32}) {
        Dib up(5, 3, bits);
        up.fnFill(1);
        Dib down(5, -3, bits);
        for (std::size_t row = 0; row < 3; ++row)
            std::memcpy(&down.m_Rows[row * up.fnStride()], &up.m_Rows[(2 - row) * up.fnStride()],
                        up.fnStride());
        EXPECT_EQ(fnPut(dc, 2, 4, up), 3);
        EXPECT_EQ(fnPut(dc, 12, 4, down), 3);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 5; ++x) {
                const std::uint8_t* pixel =
                    &up.m_Rows[static_cast<std::size_t>(2 - y) * up.fnStride() +
                               static_cast<std::size_t>(x * bits / 8)];
                const std::uint32_t color = static_cast<std::uint32_t>(pixel[2]) << 16 |
                                            static_cast<std::uint32_t>(pixel[1]) << 8 | pixel[0];
                ASSERT_EQ(m_pScreen->fnGetPixel(2 + x, 4 + y), color);
                ASSERT_EQ(m_pScreen->fnGetPixel(12 + x, 4 + y), color);
            }
        EXPECT_EQ(m_pScreen->fnGetPixel(1, 4), 0u);
        EXPECT_EQ(m_pScreen->fnGetPixel(7, 4), 0u);
        EXPECT_EQ(m_pScreen->fnGetPixel(2, 3), 0u);
        EXPECT_EQ(m_pScreen->fnGetPixel(2, 7), 0u);
    }
}

TEST_F(HeadlessScreen, PartsOfABitmapMatchAPlainComputation) {
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    std::mt19937 random(3);
    const auto number = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    for (int round = 0; round < 400; ++round) {
        const bool down = number(0, 1) == 1;
        const int height = number(1, 12);
        Dib dib(number(1, 12), down ? -height : height, 24);
        dib.fnFill(static_cast<unsigned>(round));
        const int x = number(-8, 44);
        const int y = number(-8, 34);
        const int w = number(0, 14);
        const int h = number(0, 14);
        const int sx = number(-3, 12);
        const int sy = number(-3, 12);
        const int start = number(0, 13);
        const int scans = number(0, 13);
        const int taken = std::max(0, std::min(scans, height - start));
        m_pScreen->fnClear();
        // The caller's rows begin with the start scan and may end anywhere after the last one used.
        const std::vector<std::uint8_t> rows(
            dib.m_Rows.begin() + static_cast<std::ptrdiff_t>(std::min(start, height)) *
                                     static_cast<std::ptrdiff_t>(dib.fnStride()),
            dib.m_Rows.begin() + static_cast<std::ptrdiff_t>(std::min(start, height) + taken) *
                                     static_cast<std::ptrdiff_t>(dib.fnStride()));
        const std::uint8_t none = 0;
        ASSERT_EQ(m_pScreen->fnSetDIBitsToDevice(
                      dc, x, y, static_cast<UINT>(w), static_cast<UINT>(h), sx, sy,
                      static_cast<UINT>(start), static_cast<UINT>(scans),
                      rows.empty() ? &none : rows.data(), dib.fnHeader(), DIB_RGB_COLORS),
                  taken);
        std::vector<std::uint32_t> expected(40 * 30);
        for (int scan = start; scan < start + taken; ++scan)
            for (int column = 0; column < dib.fnHeader()->biWidth; ++column) {
                const int dx = x + column - sx;
                const int dy = down ? y + scan - sy : y + h - 1 - (scan - sy);
                if (column < sx || column >= sx + w || scan < sy || scan >= sy + h || dx < 0 ||
                    dx >= 40 || dy < 0 || dy >= 30)
                    continue;
                const std::uint8_t* pixel =
                    &dib.m_Rows[static_cast<std::size_t>(scan) * dib.fnStride() +
                                static_cast<std::size_t>(3 * column)];
                expected[static_cast<std::size_t>(dy * 40 + dx)] =
                    static_cast<std::uint32_t>(pixel[2]) << 16 |
                    static_cast<std::uint32_t>(pixel[1]) << 8 | pixel[0];
            }
        for (int py = 0; py < 30; ++py)
            for (int px = 0; px < 40; ++px)
                ASSERT_EQ(m_pScreen->fnGetPixel(px, py),
                          expected[static_cast<std::size_t>(py * 40 + px)])
                    << round << ": " << px << "," << py;
    }
}

TEST_F(HeadlessScreen, PositionsAndSizesAtTheLimitsOfTheRangeAreHarmless) {
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    Dib dib(3, 3, 24);
    for (const int x : {INT32_MIN, -1, INT32_MAX})
        for (const int source : {INT32_MIN, 1, INT32_MAX})
            for (const UINT size : {0u, 1u, 0xFFFFFFFFu}) {
                EXPECT_EQ(m_pScreen->fnSetDIBitsToDevice(dc, x, x, size, size, source, source, 0,
                                                         size, dib.m_Rows.data(), dib.fnHeader(),
                                                         DIB_RGB_COLORS),
                          static_cast<int>(std::min(size, 3u)));
                EXPECT_EQ(m_pScreen->fnSetDIBitsToDevice(dc, x, x, size, size, source, source,
                                                         0xFFFFFFFFu, size, dib.m_Rows.data(),
                                                         dib.fnHeader(), DIB_RGB_COLORS),
                          0);
            }
}

TEST_F(HeadlessScreen, UnsoundHeadersAreRefused) {
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    const auto refused = [&](auto spoil) {
        Dib dib(2, 2, 24);
        spoil(*dib.fnHeader());
        return m_pScreen->fnSetDIBitsToDevice(dc, 0, 0, 2, 2, 0, 0, 0, 2, dib.m_Rows.data(),
                                              dib.fnHeader(), DIB_RGB_COLORS) == -1;
    };
    EXPECT_TRUE(refused([](BITMAPINFOHEADER& header) { header.biSize = 12; }));
    EXPECT_TRUE(refused([](BITMAPINFOHEADER& header) { header.biWidth = 0; }));
    EXPECT_TRUE(refused([](BITMAPINFOHEADER& header) { header.biWidth = -2; }));
    EXPECT_TRUE(refused([](BITMAPINFOHEADER& header) { header.biHeight = 0; }));
    EXPECT_TRUE(refused([](BITMAPINFOHEADER& header) { header.biHeight = INT32_MIN; }));
    EXPECT_TRUE(refused([](BITMAPINFOHEADER& header) { header.biBitCount = 2; }));
    EXPECT_TRUE(refused([](BITMAPINFOHEADER& header) { header.biCompression = BI_RLE8; }));
    EXPECT_FALSE(refused([](BITMAPINFOHEADER&) {}));
    Dib dib(2, 2, 24);
    EXPECT_EQ(fnPut(dc, 0, 0, dib, 2), -1);
    EXPECT_EQ(m_pScreen->fnSetDIBitsToDevice(dc, 0, 0, 2, 2, 0, 0, 0, 2, nullptr, dib.fnHeader(),
                                             DIB_RGB_COLORS),
              -1);
    EXPECT_EQ(m_pScreen->fnSetDIBitsToDevice(dc, 0, 0, 2, 2, 0, 0, 0, 2, dib.m_Rows.data(), nullptr,
                                             DIB_RGB_COLORS),
              -1);
}

TEST_F(HeadlessScreen, AWindowIsDrawnAtItsPlaceAndClipped) {
    CqHeadlessWnd window({36, 10, 44, 14});
    CDC* dc = m_pScreen->fnGetDC(&window);
    Dib dib(8, 8, 24);
    std::fill(dib.m_Rows.begin(), dib.m_Rows.end(), std::uint8_t{0xFF});
    EXPECT_EQ(fnPut(dc, 1, -2, dib), 8);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x)
            ASSERT_EQ(m_pScreen->fnGetPixel(x, y), x >= 37 && y >= 10 && y < 14 ? 0xFFFFFFu : 0u)
                << x << "," << y;
}

TEST_F(HeadlessScreen, AHiColorScreenTruncatesToFiveSixFive) {
    fnSetBits(16);
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    Dib dib(3, 1, 24);
    const std::uint8_t row[] = {0xFF, 0xFF, 0xFF, 0x07, 0x03, 0x07, 0x08, 0x04, 0x10};
    std::copy(std::begin(row), std::end(row), dib.m_Rows.begin());
    EXPECT_EQ(fnPut(dc, 0, 0, dib), 1);
    EXPECT_EQ(m_pScreen->fnGetRawPixel(0, 0), 0xFFFFu);
    EXPECT_EQ(m_pScreen->fnGetRawPixel(1, 0), 0u);
    EXPECT_EQ(m_pScreen->fnGetRawPixel(2, 0), 2u << 11 | 1u << 5 | 1u);
    EXPECT_EQ(m_pScreen->fnGetPixel(0, 0), 0xFFFFFFu);
    EXPECT_EQ(m_pScreen->fnGetPixel(2, 0), 0x100408u);
}

TEST_F(HeadlessScreen, SmallDepthsAreReadByTheirTables) {
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    Dib one(9, 1, 1, {1, 2, 3, 0, 4, 5, 6, 0});
    one.m_Rows[0] = 0x80;
    one.m_Rows[1] = 0x80;
    EXPECT_EQ(fnPut(dc, 0, 0, one), 1);
    EXPECT_EQ(m_pScreen->fnGetPixel(0, 0), 0x060504u);
    EXPECT_EQ(m_pScreen->fnGetPixel(1, 0), 0x030201u);
    EXPECT_EQ(m_pScreen->fnGetPixel(8, 0), 0x060504u);
    Dib four(3, 1, 4, {1, 2, 3, 0, 4, 5, 6, 0}, 2);
    four.m_Rows[0] = 0x10;
    four.m_Rows[1] = 0xF0;
    EXPECT_EQ(fnPut(dc, 0, 1, four), 1);
    EXPECT_EQ(m_pScreen->fnGetPixel(0, 1), 0x060504u);
    EXPECT_EQ(m_pScreen->fnGetPixel(1, 1), 0x030201u);
    EXPECT_EQ(m_pScreen->fnGetPixel(2, 1), 0u) << "beyond the table";
    Dib sixteen(1, 1, 16);
    sixteen.m_Rows[0] = 0x1F;
    EXPECT_EQ(fnPut(dc, 0, 2, sixteen), 1);
    EXPECT_EQ(m_pScreen->fnGetPixel(0, 2), 0x0000FFu);
}

TEST_F(HeadlessScreen, ATableIsNeverReadBeyondTheDepthsEntries) {
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    Dib dib(4, 1, 8, std::vector<std::uint8_t>(1024, 0x11), 0xFFFFFFFFu);
    dib.m_Rows[0] = 255;
    EXPECT_EQ(fnPut(dc, 0, 0, dib), 1);
    EXPECT_EQ(m_pScreen->fnGetPixel(0, 0), 0x111111u);
}

TEST_F(HeadlessScreen, TheHardwarePaletteBeginsWithTwentyStaticColors) {
    fnSetBits(8);
    const CqHeadlessHardware& hardware = m_pScreen->fnGetHardware();
    EXPECT_EQ(hardware.fnGetColor(0), 0x000000u);
    EXPECT_EQ(hardware.fnGetColor(1), 0x800000u);
    EXPECT_EQ(hardware.fnGetColor(9), 0xA6CAF0u);
    EXPECT_EQ(hardware.fnGetColor(10), 0x000000u);
    EXPECT_EQ(hardware.fnGetColor(246), 0xFFFBF0u);
    EXPECT_EQ(hardware.fnGetColor(249), 0xFF0000u);
    EXPECT_EQ(hardware.fnGetColor(255), 0xFFFFFFu);
}

TEST_F(HeadlessScreen, RealizedEntriesTakeEqualColorsElseFreeSlots) {
    fnSetBits(8);
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    CPalette palette;
    fnMakePalette(palette, 4, 1); // 0 is static black; 1, 2, 3 are new
    EXPECT_EQ(dc->SelectPalette(&palette, false), nullptr);
    EXPECT_EQ(dc->RealizePalette(), 3u);
    EXPECT_EQ(dc->RealizePalette(), 0u) << "nothing has changed";
    Dib dib(4, 1, 8, fnIndices(256));
    dib.m_Rows = {0, 1, 2, 3};
    EXPECT_EQ(fnPut(dc, 0, 0, dib, DIB_PAL_COLORS), 1);
    EXPECT_EQ(m_pScreen->fnGetRawPixel(0, 0), 0u);
    EXPECT_EQ(m_pScreen->fnGetRawPixel(1, 0), 10u);
    EXPECT_EQ(m_pScreen->fnGetRawPixel(3, 0), 12u);
    EXPECT_EQ(m_pScreen->fnGetPixel(3, 0), 0x030303u);
    EXPECT_EQ(dc->SelectPalette(nullptr, true), &palette);
}

TEST_F(HeadlessScreen, ADestroyedPaletteIsNoLongerSelected) {
    fnSetBits(8);
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    {
        CPalette palette;
        fnMakePalette(palette, 4, 10);
        dc->SelectPalette(&palette, false);
        palette.DeleteObject();
        EXPECT_EQ(dc->SelectPalette(nullptr, false), nullptr);
        fnMakePalette(palette, 4, 10);
        dc->SelectPalette(&palette, false);
    }
    EXPECT_EQ(dc->SelectPalette(nullptr, false), nullptr);
    m_pScreen->fnReleaseDC(nullptr, dc);
}

TEST_F(HeadlessScreen, ChangedEntriesShowAfterTheNextRealization) {
    fnSetBits(8);
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    CPalette palette;
    fnMakePalette(palette, 2, 1, 50);
    dc->SelectPalette(&palette, false);
    dc->RealizePalette();
    Dib dib(2, 1, 8, fnIndices(2), 2);
    dib.m_Rows = {0, 1, 0, 0};
    fnPut(dc, 0, 0, dib, DIB_PAL_COLORS);
    EXPECT_EQ(m_pScreen->fnGetPixel(1, 0), 0x333333u);
    const PALETTEENTRY entry{1, 2, 3, 0};
    EXPECT_EQ(palette.SetPaletteEntries(1, 1, &entry), 1u);
    EXPECT_EQ(m_pScreen->fnGetPixel(1, 0), 0x333333u);
    EXPECT_EQ(dc->RealizePalette(), 1u);
    EXPECT_EQ(m_pScreen->fnGetPixel(1, 0), 0x010203u) << "the slot has changed under the pixel";
}

TEST_F(HeadlessScreen, APaletteRealizedOnOneScreenIsNotRealizedOnAnother) {
    const CqHeadlessMode mode{40, 30, 8, 96, 96};
    const auto first = std::make_shared<CqHeadlessScreen>(mode, m_pMisuses);
    m_pScreen = std::make_shared<CqHeadlessScreen>(mode, m_pMisuses);
    CPalette palette;
    fnMakePalette(palette, 2, 100, 20); // greys 20 and 120
    CDC* dc = first->fnGetDC(nullptr);
    dc->SelectPalette(&palette, false);
    EXPECT_EQ(dc->RealizePalette(), 2u);
    first->fnReleaseDC(nullptr, dc);

    dc = m_pScreen->fnGetDC(nullptr);
    dc->SelectPalette(&palette, false);
    Dib dib(2, 1, 8, fnIndices(2), 2);
    dib.m_Rows = {0, 1, 0, 0};
    fnPut(dc, 0, 0, dib, DIB_PAL_COLORS);
    EXPECT_EQ(m_pScreen->fnGetPixel(0, 0), 0x000000u);
    EXPECT_EQ(m_pScreen->fnGetPixel(1, 0), 0x808080u) << "the nearest static colour";
    m_pScreen->fnReleaseDC(nullptr, dc);
}

TEST_F(HeadlessScreen, ABackgroundPaletteTakesOnlyFreeSlotsElseTheNearestColors) {
    fnSetBits(8);
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    CPalette front;
    CPalette back;
    fnMakePalette(front, 230, 1, 2); // greys 2 to 231: but for 128, 160 and 192, all new
    dc->SelectPalette(&front, false);
    dc->RealizePalette();
    std::vector<std::uint32_t> before;
    for (unsigned slot = 0; slot < 256; ++slot)
        before.push_back(m_pScreen->fnGetHardware().fnGetColor(static_cast<BYTE>(slot)));
    fnMakePalette(back, 20, 1, 232); // greys 232 to 251
    dc->SelectPalette(&back, true);
    const UINT changed = dc->RealizePalette();
    EXPECT_GT(changed, 0u);
    EXPECT_LT(changed, 20u);
    for (unsigned slot = 0; slot < 256; ++slot)
        if (before[slot] != 0) {
            EXPECT_EQ(m_pScreen->fnGetHardware().fnGetColor(static_cast<BYTE>(slot)), before[slot]);
        }
    Dib dib(2, 1, 8, fnIndices(20), 20);
    dib.m_Rows = {0, 19, 0, 0};
    fnPut(dc, 0, 0, dib, DIB_PAL_COLORS);
    EXPECT_EQ(m_pScreen->fnGetPixel(0, 0), 0xE8E8E8u) << "still got a slot";
    EXPECT_NE(m_pScreen->fnGetPixel(1, 0), 0xFBFBFBu) << "came too late";
}

TEST_F(HeadlessScreen, ColorsOnAnEightBitScreenBecomeTheNearestOfThePalette) {
    fnSetBits(8);
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    Dib dib(1, 1, 24);
    dib.m_Rows[2] = 0xF0; // nearly red
    EXPECT_EQ(fnPut(dc, 0, 0, dib), 1);
    EXPECT_EQ(m_pScreen->fnGetRawPixel(0, 0), 249u);
    CPalette palette;
    fnMakePalette(palette, 2, 10, 20);
    dc->SelectPalette(&palette, false);
    dc->RealizePalette();
    EXPECT_EQ(fnPut(dc, 0, 0, dib), 1);
    EXPECT_EQ(m_pScreen->fnGetPixel(0, 0), 0x1E1E1Eu);
}

TEST_F(HeadlessScreen, IndicesOutsideThePaletteAreBlack) {
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    CPalette palette;
    fnMakePalette(palette, 2, 10, 20);
    dc->SelectPalette(&palette, false);
    for (const int bits : {8, 16, 24, 32}) {
        fnSetBits(bits);
        dc->RealizePalette();
        m_pScreen->fnClear(1);
        Dib dib(3, 1, 8, {1, 0, 2, 0, 0xFF, 0xFF}, 3);
        dib.m_Rows = {0, 1, 2, 0};
        EXPECT_EQ(fnPut(dc, 0, 0, dib, DIB_PAL_COLORS), 1);
        EXPECT_EQ(m_pScreen->fnGetPixel(0, 0), bits == 16 ? 0x181C18u : 0x1E1E1Eu) << bits;
        EXPECT_EQ(m_pScreen->fnGetPixel(1, 0), 0u);
        EXPECT_EQ(m_pScreen->fnGetPixel(2, 0), 0u);
    }
}

TEST_F(HeadlessScreen, EveryDrawIsRecordedUnchanged) {
    CqHeadlessWnd window({1, 1, 9, 9});
    CDC* dc = m_pScreen->fnGetDC(&window);
    CPalette palette;
    fnMakePalette(palette, 3, 1);
    dc->SelectPalette(&palette, false);
    Dib dib(5, 2, 8, fnIndices(4), 4);
    dib.fnFill(9);
    for (std::uint8_t& byte : dib.m_Rows)
        byte &= 3;
    EXPECT_EQ(m_pScreen->fnSetDIBitsToDevice(dc, -1, 2, 3, 4, 5, 6, 1, 1, dib.m_Rows.data(),
                                             dib.fnHeader(), DIB_PAL_COLORS),
              1);
    ASSERT_EQ(m_pScreen->fnGetDraws().size(), 1u);
    const CqHeadlessDraw& draw = m_pScreen->fnGetDraws()[0];
    EXPECT_EQ(draw.m_pDC, dc);
    EXPECT_EQ(draw.m_pWindow, &window);
    EXPECT_EQ(draw.m_nX, -1);
    EXPECT_EQ(draw.m_nY, 2);
    EXPECT_EQ(draw.m_nWidth, 3u);
    EXPECT_EQ(draw.m_nHeight, 4u);
    EXPECT_EQ(draw.m_nSourceX, 5);
    EXPECT_EQ(draw.m_nSourceY, 6);
    EXPECT_EQ(draw.m_nStartScan, 1u);
    EXPECT_EQ(draw.m_nScans, 1u);
    EXPECT_EQ(draw.m_nUse, DIB_PAL_COLORS);
    EXPECT_EQ(draw.m_nStride, 8u);
    EXPECT_EQ(draw.m_nResult, 1);
    EXPECT_EQ(std::memcmp(&*draw.m_Header, dib.fnHeader(), sizeof(BITMAPINFOHEADER)), 0);
    EXPECT_EQ(draw.m_Table, fnIndices(4));
    EXPECT_EQ(draw.m_Rows, std::vector<std::uint8_t>(dib.m_Rows.begin(), dib.m_Rows.begin() + 8));
    ASSERT_TRUE(draw.m_Palette.has_value());
    EXPECT_EQ(draw.m_Palette->size(), 3u);
    m_pScreen->fnKeepDraws(false);
    fnPut(dc, 0, 0, dib, DIB_PAL_COLORS);
    EXPECT_EQ(m_pScreen->fnGetDraws().size(), 1u);
    EXPECT_EQ(m_pScreen->m_SetDIBits.fnGetCount(), 2u);
}

TEST_F(HeadlessScreen, ADrawFailsOnDemandOrTakesFewerRows) {
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    Dib dib(1, 3, 24);
    std::fill(dib.m_Rows.begin(), dib.m_Rows.end(), std::uint8_t{0xFF});
    m_pScreen->m_SetDIBits.fnFail();
    EXPECT_EQ(fnPut(dc, 0, 0, dib), -1);
    EXPECT_EQ(m_pScreen->fnGetPixel(0, 2), 0u);
    m_pScreen->fnSetFailedResult(1);
    m_pScreen->m_SetDIBits.fnFail();
    EXPECT_EQ(fnPut(dc, 0, 0, dib), 1);
    EXPECT_EQ(m_pScreen->fnGetPixel(0, 2), 0xFFFFFFu) << "the first scan is the lowest row";
    EXPECT_EQ(m_pScreen->fnGetPixel(0, 1), 0u);
    EXPECT_EQ(fnPut(dc, 0, 0, dib), 3);
}

TEST_F(HeadlessScreen, PalettesAndRegionsFailOnDemand) {
    LOGPALETTE description{0x300, 1, {}};
    m_pScreen->m_CreatePalette.fnFail();
    EXPECT_EQ(m_pScreen->fnCreatePalette(description), nullptr);
    EXPECT_NE(m_pScreen->fnCreatePalette(description), nullptr);
    description.palVersion = 0x301;
    EXPECT_EQ(m_pScreen->fnCreatePalette(description), nullptr);
    description = {0x300, 0, {}};
    EXPECT_EQ(m_pScreen->fnCreatePalette(description), nullptr);
    m_pScreen->m_CreateRegion.fnFail();
    EXPECT_EQ(m_pScreen->fnCreateRectRegion({0, 0, 1, 1}), nullptr);
    const auto region = m_pScreen->fnCreateRectRegion({0, 0, 1, 1});
    ASSERT_NE(region, nullptr);
    m_pScreen->m_pCombine->fnFail();
    EXPECT_FALSE(region->fnCombine(*region, *region, RGN_OR));
}

TEST_F(HeadlessScreen, ItsPictureIsSavedInTwoFormats) {
    ASSERT_TRUE(m_pScreen->fnSetMode({3, 2, 24, 96, 96}));
    CDC* dc = m_pScreen->fnGetDC(nullptr);
    Dib dib(1, 1, 24);
    dib.m_Rows = {1, 2, 3, 0};
    fnPut(dc, 1, 0, dib);
    const CqHeadlessPicture picture = m_pScreen->fnGetPicture();
    const std::string pixels("\0\0\0\3\2\1\0\0\0\0\0\0\0\0\0\0\0\0", 18);
    EXPECT_EQ(picture.fnToPpm(), "P6\n3 2\n255\n" + pixels);
    const std::string bmp = picture.fnToBmp();
    ASSERT_EQ(bmp.size(), 54u + 2 * 12);
    EXPECT_EQ(bmp.substr(0, 6), std::string("BM\x4E\0\0\0", 6));
    EXPECT_EQ(bmp.substr(54, 12), std::string(12, '\0')) << "the lower row comes first";
    EXPECT_EQ(bmp.substr(66, 12), std::string("\0\0\0\1\2\3\0\0\0\0\0\0", 12));
    const auto path = std::filesystem::temp_directory_path() /
                      ("q32screen" + std::to_string(std::random_device()()));
    ASSERT_TRUE(picture.fnSaveBmp(path.string()));
    {
        std::ifstream stream(path, std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), bmp);
    }
    std::filesystem::remove(path);
    EXPECT_FALSE(picture.fnSavePpm((path / "missing" / "a.ppm").string()));
}
