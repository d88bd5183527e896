#include "tests/contract/ScreenContract.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

/// A bitmap of random colours that every screen shows exactly, with its bytes.
struct Dib {
    struct {
        BITMAPINFOHEADER m_Head{};
        std::array<std::uint8_t, 1024> m_Table{};
    } m_Header;
    std::size_t m_nStride = 0;
    std::vector<std::uint32_t> m_Colors; ///< scan 0 first
    std::vector<std::uint8_t> m_Bytes;   ///< exactly the bytes of the scans

    Dib(int bits, int width, int height, Random& random);
    int fnGetRows() const { return std::abs(m_Header.m_Head.biHeight); }
    std::uint32_t fnGetColor(int column, int scan) const {
        return m_Colors[static_cast<std::size_t>(scan * m_Header.m_Head.biWidth + column)];
    }

private:
    void fnPut(std::uint8_t* row, int bits, int column, std::uint32_t index, std::uint32_t color,
               Random& random);
};

Dib::Dib(int bits, int width, int height, Random& random) {
    BITMAPINFOHEADER& head = m_Header.m_Head;
    head.biSize = sizeof(head);
    head.biWidth = width;
    head.biHeight = height;
    head.biPlanes = 1;
    head.biBitCount = static_cast<WORD>(bits);
    const std::uint32_t entries = bits <= 8 ? 1u << bits : 8u;
    std::vector<std::uint32_t> table(entries);
    for (std::uint32_t i = 0; i < entries; ++i) {
        const std::uint32_t corner = bits <= 8 ? random() % 8 : i;
        table[i] = (corner & 4u ? 0xFF0000u : 0u) | (corner & 2u ? 0xFF00u : 0u) |
                   (corner & 1u ? 0xFFu : 0u);
        if (bits <= 8) {
            const std::uint32_t entry = table[i] | random() % 256 << 24;
            std::memcpy(&m_Header.m_Table[4 * static_cast<std::size_t>(i)], &entry, 4);
        }
    }
    m_nStride = (static_cast<std::size_t>(width) * static_cast<std::size_t>(bits) + 31) / 32 * 4;
    m_Bytes.resize(m_nStride * static_cast<std::size_t>(std::abs(height)));
    for (std::uint8_t& byte : m_Bytes)
        byte = bits < 8 ? 0 : static_cast<std::uint8_t>(random()); // padding bits are ignored
    for (int scan = 0; scan < std::abs(height); ++scan)
        for (int column = 0; column < width; ++column) {
            const std::uint32_t index = random() % entries;
            m_Colors.push_back(table[index]);
            fnPut(m_Bytes.data() + m_nStride * static_cast<std::size_t>(scan), bits, column, index,
                  table[index], random);
        }
}

void Dib::fnPut(std::uint8_t* row, int bits, int column, std::uint32_t index, std::uint32_t color,
                Random& random) {
    const auto at = static_cast<std::size_t>(column);
    switch (bits) {
    case 1:
        row[at / 8] = static_cast<std::uint8_t>(row[at / 8] | index << (7 - at % 8));
        break;
    case 4:
        row[at / 2] = static_cast<std::uint8_t>(row[at / 2] | index << (at % 2 == 0 ? 4 : 0));
        break;
    case 8:
        row[at] = static_cast<std::uint8_t>(index);
        break;
    case 16: { // the highest bit is ignored
        const std::uint32_t value = (color >> 19 & 31u) << 10 | (color >> 11 & 31u) << 5 |
                                    (color >> 3 & 31u) | (random() & 0x8000u);
        row[2 * at] = static_cast<std::uint8_t>(value);
        row[2 * at + 1] = static_cast<std::uint8_t>(value >> 8);
        break;
    }
    default: // a fourth byte is ignored
        for (std::size_t i = 0; i < 3; ++i)
            row[at * static_cast<std::size_t>(bits / 8) + i] =
                static_cast<std::uint8_t>(color >> 8 * i);
    }
}

/// Destination of rows.
struct Place {
    int m_nX = 0;
    int m_nY = 0;
    UINT m_nWidth = 0;
    UINT m_nHeight = 0;
    int m_nSourceX = 0;
    int m_nSourceY = 0;
    UINT m_nStartScan = 0;
    UINT m_nScans = 0;
};

UINT fnGetTaken(const Dib& dib, const Place& place) {
    const auto rows = static_cast<UINT>(dib.fnGetRows());
    return place.m_nStartScan >= rows ? 0 : std::min(place.m_nScans, rows - place.m_nStartScan);
}

/// The rule, evaluated for each pixel of the window.
void fnDraw(const Dib& dib, const Place& place, ContractPicture& picture) {
    using Wide = std::int64_t;
    const BITMAPINFOHEADER& head = dib.m_Header.m_Head;
    for (int y = 0; y < picture.m_nHeight; ++y)
        for (int x = 0; x < picture.m_nWidth; ++x) {
            const Wide right = Wide{x} - place.m_nX;
            const Wide below = Wide{y} - place.m_nY;
            if (right < 0 || right >= place.m_nWidth || below < 0 || below >= place.m_nHeight)
                continue;
            const Wide column = right + place.m_nSourceX;
            const Wide scan =
                (head.biHeight > 0 ? Wide{place.m_nHeight} - 1 - below : below) + place.m_nSourceY;
            if (column >= 0 && column < head.biWidth && scan >= place.m_nStartScan &&
                scan < Wide{place.m_nStartScan} + fnGetTaken(dib, place))
                picture.fnAt(x, y) =
                    dib.fnGetColor(static_cast<int>(column), static_cast<int>(scan));
        }
}

/// Rows of bitmaps drawn to the screen.
class RowContract : public ScreenContractTest {
protected:
    static constexpr int kDepths[] = {1, 4, 8, 16, 24, 32};

    int fnPut(const Dib& dib, const Place& place, UINT use = DIB_RGB_COLORS,
              CPalette* palette = nullptr) {
        // No byte before the first scan or after the last one may be read.
        const std::size_t first =
            std::min<std::size_t>(place.m_nStartScan, static_cast<std::size_t>(dib.fnGetRows())) *
            dib.m_nStride;
        const auto begin = dib.m_Bytes.begin() + static_cast<std::ptrdiff_t>(first);
        std::vector<std::uint8_t> bytes(
            begin, begin + static_cast<std::ptrdiff_t>(fnGetTaken(dib, place) * dib.m_nStride));
        bytes.reserve(1);
        const CClientDC dc(&m_pWindow->fnGetWnd());
        EXPECT_TRUE(dc);
        if (palette) {
            dc->SelectPalette(palette, false);
            dc->RealizePalette();
        }
        return m_Screen.fnSetDIBitsToDevice(dc.GetDC(), place.m_nX, place.m_nY, place.m_nWidth,
                                            place.m_nHeight, place.m_nSourceX, place.m_nSourceY,
                                            place.m_nStartScan, place.m_nScans, bytes.data(),
                                            &dib.m_Header.m_Head, use);
    }
    /// Puts rows over the window's contents and compares.
    void fnPutAndCompare(const Dib& dib, const Place& place) {
        ContractPicture expected = m_pWindow->fnGetPicture();
        EXPECT_EQ(fnPut(dib, place), static_cast<int>(fnGetTaken(dib, place)));
        fnDraw(dib, place, expected);
        EXPECT_EQ(m_pWindow->fnGetPicture(), expected);
    }
    static Place fnGetWhole(const Dib& dib) {
        const auto rows = static_cast<UINT>(dib.fnGetRows());
        return {3, 2, static_cast<UINT>(dib.m_Header.m_Head.biWidth), rows, 0, 0, 0, rows};
    }
    void fnExpectRefused(const Dib& dib) {
        EXPECT_EQ(fnPut(dib, fnGetWhole(dib)), -1);
        EXPECT_EQ(m_pWindow->fnGetPicture(), m_Before);
    }
    /// Replaces the table by 16-bit indices.
    static void fnSetIndices(Dib& dib, const std::vector<WORD>& indices) {
        std::memcpy(dib.m_Header.m_Table.data(), indices.data(), 2 * indices.size());
    }

    Random m_Random{2024};
};

TEST_P(RowContract, EveryDepthIsDrawnCompletelyFromTheBottomUpAndFromTheTopDown) {
    for (const int bits : kDepths)
        for (const int height : {13, -13}) {
            SCOPED_TRACE(testing::Message() << bits << " bits, height " << height);
            const Dib dib(bits, 21, height, m_Random);
            fnPutAndCompare(dib, fnGetWhole(dib));
        }
}

TEST_P(RowContract, EveryWidthIsPaddedToFourBytes) {
    for (const int bits : kDepths)
        for (int width = 1; width <= 33; width += width < 9 ? 1 : 8) {
            SCOPED_TRACE(testing::Message() << bits << " bits, width " << width);
            const Dib dib(bits, width, 3, m_Random);
            fnPutAndCompare(dib, fnGetWhole(dib));
        }
}

TEST_P(RowContract, AnyPartOfAnyBitmapLandsWhereTheRuleSays) {
    const auto below = [&](UINT most) { return m_Random() % (most + 1); };
    const auto around = [&](int least, UINT span) { return least + static_cast<int>(below(span)); };
    for (int i = 0; i < 240; ++i) {
        const int height = around(1, 45) * (below(1) ? 1 : -1);
        const Dib dib(kDepths[i % 6], around(1, 70), height, m_Random);
        const Place place{around(-50, 130), around(-40, 90), below(80), below(60),
                          around(-20, 60),  around(-20, 60), below(50), below(60)};
        SCOPED_TRACE(testing::Message()
                     << i << ": " << dib.m_Header.m_Head.biWidth << " x " << height << " at "
                     << place.m_nX << ", " << place.m_nY << ", size " << place.m_nWidth << " x "
                     << place.m_nHeight << ", from " << place.m_nSourceX << ", " << place.m_nSourceY
                     << ", scans " << place.m_nStartScan << " + " << place.m_nScans);
        ASSERT_NO_FATAL_FAILURE(fnPutAndCompare(dib, place));
        if (HasFailure())
            return;
    }
}

TEST_P(RowContract, OneRowAtATimeGivesTheSamePicture) {
    const Dib dib(24, 30, 11, m_Random);
    ContractPicture expected = m_Before;
    fnDraw(dib, fnGetWhole(dib), expected);
    for (UINT scan = 0; scan < 11; ++scan) {
        Place place = fnGetWhole(dib);
        place.m_nStartScan = scan;
        place.m_nScans = 1;
        EXPECT_EQ(fnPut(dib, place), 1);
    }
    EXPECT_EQ(m_pWindow->fnGetPicture(), expected);
}

TEST_P(RowContract, WithoutWidthHeightOrScansNothingIsDrawn) {
    const Dib dib(32, 10, 10, m_Random);
    Place place = fnGetWhole(dib);
    place.m_nWidth = 0;
    EXPECT_EQ(fnPut(dib, place), 10) << "what isn't drawn counts as taken";
    place = fnGetWhole(dib);
    place.m_nHeight = 0;
    EXPECT_EQ(fnPut(dib, place), 10);
    place = fnGetWhole(dib);
    place.m_nScans = 0;
    EXPECT_EQ(fnPut(dib, place), 0);
    place = fnGetWhole(dib);
    place.m_nStartScan = 10;
    EXPECT_EQ(fnPut(dib, place), 0) << "no scans are there";
    EXPECT_EQ(m_pWindow->fnGetPicture(), m_Before);
}

TEST_P(RowContract, NumbersOfAnySizeAreClippedToTheWindow) {
    const Dib dib(24, 10, 10, m_Random);
    for (const int x : {INT32_MIN, -11, INT32_MAX})
        for (const int y : {INT32_MIN, 3, INT32_MAX}) {
            Place place = fnGetWhole(dib);
            place.m_nX = x;
            place.m_nY = y;
            fnPutAndCompare(dib, place);
            place = fnGetWhole(dib);
            place.m_nSourceX = x;
            place.m_nSourceY = y;
            fnPutAndCompare(dib, place);
        }
    Place place = fnGetWhole(dib);
    place.m_nWidth = place.m_nScans = UINT32_MAX;
    fnPutAndCompare(dib, place);
    place.m_nHeight = UINT32_MAX; // puts the lowest row far below the window
    fnPutAndCompare(dib, place);
    place.m_nStartScan = UINT32_MAX;
    fnPutAndCompare(dib, place);
}

TEST_P(RowContract, EntriesThatTheTableLacksAreBlack) {
    Dib dib(8, 16, 1, m_Random);
    for (std::uint8_t x = 0; x < 16; ++x)
        dib.m_Bytes[x] = x;
    dib.m_Header.m_Head.biClrUsed = 10;
    dib.m_Header.m_Table.fill(0xFF);
    EXPECT_EQ(fnPut(dib, fnGetWhole(dib)), 1);
    ContractPicture seen = m_pWindow->fnGetPicture();
    for (int x = 0; x < 16; ++x)
        EXPECT_EQ(seen.fnAt(3 + x, 2), x < 10 ? 0xFFFFFFu : 0u) << x;
}

TEST_P(RowContract, ATableCountsAsFullWhateverMoreTheHeaderSays) {
    Dib dib(4, 16, 3, m_Random);
    dib.m_Header.m_Head.biClrUsed = 0xFFFFFFFF;
    fnPutAndCompare(dib, fnGetWhole(dib));
}

TEST_P(RowContract, IndicesAreThoseOfTheSelectedPalette) {
    std::vector<std::uint32_t> colors;
    for (int i = 0; i < 200; ++i)
        colors.push_back(fnGetColor565(m_Random));
    const auto palette = fnMakePalette(colors);
    for (const int bits : {1, 4, 8}) {
        SCOPED_TRACE(bits);
        Dib dib(bits, 40, 20, m_Random);
        std::vector<WORD> indices(std::size_t{1} << bits);
        for (WORD& index : indices)
            index = static_cast<WORD>(m_Random() % 200);
        fnSetIndices(dib, indices);
        EXPECT_EQ(fnPut(dib, fnGetWhole(dib), DIB_PAL_COLORS, palette.get()), 20);
        ContractPicture seen = m_pWindow->fnGetPicture();
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 40; ++x) {
                const std::uint8_t byte =
                    dib.m_Bytes[static_cast<std::size_t>(19 - y) * dib.m_nStride +
                                static_cast<std::size_t>(x * bits / 8)];
                const int shift = 8 - bits - x * bits % 8;
                const std::size_t pixel = byte >> shift & ((1 << bits) - 1);
                ASSERT_EQ(seen.fnAt(3 + x, 2 + y), colors[indices[pixel]]) << x << ", " << y;
            }
    }
}

TEST_P(RowContract, IndicesBeyondThePaletteAreBlack) {
    const auto palette = fnMakePalette({0xFF0000, 0x00FF00});
    Dib dib(8, 4, 1, m_Random);
    for (std::uint8_t x = 0; x < 4; ++x)
        dib.m_Bytes[x] = x;
    fnSetIndices(dib, {0, 1, 2, 0xFFFF});
    EXPECT_EQ(fnPut(dib, fnGetWhole(dib), DIB_PAL_COLORS, palette.get()), 1);
    ContractPicture seen = m_pWindow->fnGetPicture();
    EXPECT_EQ(seen.fnAt(3, 2), 0xFF0000u);
    EXPECT_EQ(seen.fnAt(4, 2), 0x00FF00u);
    EXPECT_EQ(seen.fnAt(5, 2), 0u);
    EXPECT_EQ(seen.fnAt(6, 2), 0u);
}

TEST_P(RowContract, ChangedEntriesShowOnceThePaletteIsRealizedAgain) {
    const auto palette = fnMakePalette({fnGetColor565(m_Random), fnGetColor565(m_Random)});
    Dib dib(8, 1, 1, m_Random);
    dib.m_Bytes[0] = 1;
    fnSetIndices(dib, {0, 1});
    for (int i = 0; i < 20; ++i) {
        const std::uint32_t color = fnGetColor565(m_Random);
        const PALETTEENTRY entry = fnToEntry(color);
        ASSERT_EQ(palette->SetPaletteEntries(1, 1, &entry), 1u);
        EXPECT_EQ(fnPut(dib, fnGetWhole(dib), DIB_PAL_COLORS, palette.get()), 1);
        EXPECT_EQ(m_pWindow->fnGetPicture().fnAt(3, 2), color);
    }
}

TEST_P(RowContract, WithoutADeviceContextNothingIsDrawn) {
    const Dib dib(24, 5, 5, m_Random);
    EXPECT_EQ(m_Screen.fnSetDIBitsToDevice(nullptr, 0, 0, 5, 5, 0, 0, 0, 5, dib.m_Bytes.data(),
                                           &dib.m_Header.m_Head, DIB_RGB_COLORS),
              0);
}

TEST_P(RowContract, WithoutBitsOrAHeaderItFails) {
    const Dib dib(24, 5, 5, m_Random);
    {
        const CClientDC dc(&m_pWindow->fnGetWnd());
        ASSERT_TRUE(dc);
        EXPECT_EQ(m_Screen.fnSetDIBitsToDevice(dc.GetDC(), 0, 0, 5, 5, 0, 0, 0, 5, nullptr,
                                               &dib.m_Header.m_Head, DIB_RGB_COLORS),
                  -1);
        EXPECT_EQ(m_Screen.fnSetDIBitsToDevice(dc.GetDC(), 0, 0, 5, 5, 0, 0, 0, 5,
                                               dib.m_Bytes.data(), nullptr, DIB_RGB_COLORS),
                  -1);
    }
    EXPECT_EQ(m_pWindow->fnGetPicture(), m_Before);
}

TEST_P(RowContract, BitmapsOfOtherKindsFail) {
    const Dib sound(24, 5, 5, m_Random);
    for (const int bits : {0, 2, 3, 5, 15, 17, 48, 64, 0xFFFF}) {
        Dib dib = sound;
        dib.m_Header.m_Head.biBitCount = static_cast<WORD>(bits);
        fnExpectRefused(dib);
    }
    for (const DWORD compression :
         std::initializer_list<DWORD>{BI_RLE8, BI_RLE4, BI_BITFIELDS, 4, 0xFFFFFFFF}) {
        Dib dib = sound;
        dib.m_Header.m_Head.biCompression = compression;
        fnExpectRefused(dib);
    }
    for (const DWORD size : {0u, 12u, 39u, 41u, 124u}) {
        Dib dib = sound;
        dib.m_Header.m_Head.biSize = size;
        fnExpectRefused(dib);
    }
    for (const UINT use : {2u, 0xFFFFFFFFu})
        EXPECT_EQ(fnPut(sound, fnGetWhole(sound), use), -1) << use;
    EXPECT_EQ(m_pWindow->fnGetPicture(), m_Before);
}

TEST_P(RowContract, BitmapsWithoutASizeFail) {
    const Dib sound(24, 5, 5, m_Random);
    const std::pair<LONG, LONG> kSizes[] = {
        {0, 5}, {-5, 5}, {INT32_MIN, 5}, {5, 0}, {5, INT32_MIN}};
    const CClientDC dc(&m_pWindow->fnGetWnd());
    ASSERT_TRUE(dc);
    for (const auto& [width, height] : kSizes) {
        BITMAPINFOHEADER header = sound.m_Header.m_Head;
        header.biWidth = width;
        header.biHeight = height;
        EXPECT_EQ(m_Screen.fnSetDIBitsToDevice(dc.GetDC(), 0, 0, 5, 5, 0, 0, 0, 5,
                                               sound.m_Bytes.data(), &header, DIB_RGB_COLORS),
                  -1)
            << width << " x " << height;
    }
}

} // namespace

Q32_CONTRACT(RowContract, SCREEN);
