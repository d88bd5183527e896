#include "tests/operations/PlainImage.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <memory>

namespace q32::test {
namespace {

class FillTest : public AttachedTest {
protected:
    Random m_Random{5201};

    /// The rule of a fill by a rectangle, with the accessor that it names.
    static void fnFillByLines(CqImage& image, const CqColor& color, const CRect& rect) {
        CqImageLine line(false, true);
        for (LONG y = rect.top; y < rect.bottom; ++y) {
            image.fnAccessLine(static_cast<unsigned int>(y), &line, false);
            line.fnFillColor(color, static_cast<unsigned int>(rect.left),
                             static_cast<unsigned int>(rect.Width()));
        }
    }

    /// Random pixels; at 4 bits sometimes with a palette of 256 colours.
    std::unique_ptr<CqImage> fnRandomImage() {
        const unsigned int bits = fnRandomBits(m_Random);
        const RGBQUAD* palette = bits == 4 && m_Random() % 3 == 0 ? q32GreyRamp : nullptr;
        auto image = std::make_unique<CqImage>(fnRandomSide(m_Random), fnRandomSide(m_Random), bits,
                                               palette, palette ? 256u : 0u);
        fnSetRandom(*image, m_Random);
        return image;
    }

    /// The bytes of one pixel of a fill; at 4 bits, of two.
    static Bytes fnFilled(const CqImage& image, const CqColor& c) {
        unsigned int index = 0;
        for (unsigned int i = image.PaletteCount; i-- > 0;)
            if (c == &image.TileMap->Palette[i])
                index = i;
        const auto byte = [](unsigned int v) { return static_cast<unsigned char>(v); };
        switch (image.BitCount) {
        case 4:
            return {byte(index | index << 4)};
        case 8:
            return {byte(index)};
        case 16: {
            const unsigned int word = c.m_Red / 8 * 2048u + c.m_Green / 4 * 32u + c.m_Blue / 8u;
            return {byte(word / 256), byte(word)};
        }
        case 24:
            return {c.m_Red, c.m_Green, c.m_Blue};
        default:
            return {c.m_Alpha, c.m_Red, c.m_Green, c.m_Blue};
        }
    }
};

TEST_F(FillTest, AWholeImageIsFilledAtEveryDepth) {
    for (int round = 0; round < 120; ++round) {
        const std::unique_ptr<CqImage> random = fnRandomImage();
        CqImage& image = *random;
        const CqColor color = fnRandomColor(m_Random, image);
        image.fnFill(color, nullptr, false);
        const Bytes pixel = fnFilled(image, color);
        Rows expected(image.Height, Bytes(image.RowBytes));
        for (Bytes& row : expected)
            for (std::size_t i = 0; i < row.size(); ++i)
                row[i] = pixel[i % pixel.size()];
        ASSERT_TRUE(fnSameRows(fnRows(image), expected)) << image.BitCount << " bits";
    }
}

TEST_F(FillTest, ARectangleIsFilledAsALineAccessorFillsItsRows) {
    for (int round = 0; round < 400; ++round) {
        const std::unique_ptr<CqImage> random = fnRandomImage();
        CqImage& image = *random;
        CqImage expected(image);
        const CqColor color = fnRandomColor(m_Random, image);
        const CRect rect = fnRandomRect(m_Random, image);
        image.fnFill(color, &rect, false);
        fnFillByLines(expected, color, rect);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected)))
            << image.BitCount << " bits, from " << rect.left << ", " << rect.top;
    }
}

TEST_F(FillTest, ARectangleIsFilledPixelByPixelFrom8BitsOn) {
    for (const unsigned int bits : {8u, 16u, 24u, 32u}) {
        CqImage image(131, 130, bits, nullptr, 0);
        fnSetAll(image, 0xEE);
        const CqColor color(1, 2, 3, 4);
        const CRect rect(126, 127, 130, 129);
        image.fnFill(color, &rect, false);
        const Bytes pixel = fnFilled(image, color);
        Rows expected(130, Bytes(image.RowBytes, 0xEE));
        for (std::size_t y = 127; y < 129; ++y)
            for (std::size_t i = 126 * pixel.size(); i < 130 * pixel.size(); ++i)
                expected[y][i] = pixel[i % pixel.size()];
        EXPECT_TRUE(fnSameRows(fnRows(image), expected)) << bits << " bits";
    }
}

TEST_F(FillTest, AColourMissingFromThePalettePaintsIndex0) {
    for (const unsigned int bits : {4u, 8u}) {
        CqImage image(10, 2, bits, nullptr, 0);
        fnSetAll(image, 0x33);
        image.fnFill(CqColor(1, 2, 3, 255), nullptr, false);
        EXPECT_EQ(fnRows(image)[1], Bytes(image.RowBytes, 0)) << bits << " bits";
    }
}

TEST_F(FillTest, TheFirstOfTwoEqualPaletteEntriesIsPaintedWhateverTheAlpha) {
    CqImage image(4, 1, 8, q32GreyRamp, 256);
    const RGBQUAD same[2] = {{9, 8, 7, 1}, {9, 8, 7, 2}};
    image.fnSetPaletteEntry(20, 2, same);
    image.fnFill(CqColor(7, 8, 9, 33), nullptr, false);
    EXPECT_EQ(fnRows(image)[0], Bytes(4, 20));
}

TEST_F(FillTest, A16BitFillStoresTheHighByteFirst) {
    CqImage image(2, 1, 16, nullptr, 0);
    image.fnFill(CqColor(0xFF, 0x04, 0x08, 255), nullptr, false);
    EXPECT_EQ(fnRows(image)[0], (Bytes{0xF8, 0x21, 0xF8, 0x21}));
}

TEST_F(FillTest, A4BitFillFromAnOddPixelBeginsOnePixelLate) {
    CqImage image(8, 1, 4, nullptr, 0);
    fnSetAll(image, 0);
    const CRect rect(1, 0, 5, 1);
    image.fnFill(CqColor(255, 255, 255, 255), &rect, false); // index 15
    EXPECT_EQ(fnRows(image)[0], (Bytes{0x00, 0xFF, 0xFF, 0x00}));
}

TEST_F(FillTest, A4BitFillOfOddWidthKeepsTheLowNibbleOfItsLastByte) {
    CqImage image(8, 1, 4, nullptr, 0);
    fnSetAll(image, 0x44);
    const CRect rect(0, 0, 3, 1);
    image.fnFill(CqColor(255, 255, 255, 255), &rect, false);
    EXPECT_EQ(fnRows(image)[0], (Bytes{0xFF, 0xF4, 0x44, 0x44}));
}

/// The byte is 0x42 | 0x42 << 4, truncated to eight bits.
TEST_F(FillTest, A4BitFillWithAnIndexAbove15MixesBothNibbles) {
    CqImage image(8, 2, 4, q32GreyRamp, 256);
    const CqColor color(0x42, 0x42, 0x42, 255);
    image.fnFill(color, nullptr, false);
    EXPECT_EQ(fnRows(image), Rows(2, Bytes(4, 0x62)));
    fnSetAll(image, 0x11);
    image.fnFill(color, nullptr, true);
    EXPECT_EQ(fnRows(image), Rows(2, Bytes(4, 0x62)));
    fnSetAll(image, 0x11);
    const CRect rect(2, 1, 5, 2); // one byte, and the high nibble of the next one
    image.fnFill(color, &rect, false);
    EXPECT_EQ(fnRows(image), (Rows{{0x11, 0x11, 0x11, 0x11}, {0x11, 0x62, 0x61, 0x11}}));
}

TEST_F(FillTest, A4BitFillAtTheEndOfARowStaysInItsRow) {
    CqImage image(4, 2, 4, nullptr, 0);
    fnSetAll(image, 0);
    const CRect rect(3, 0, 4, 1);
    image.fnFill(CqColor(255, 255, 255, 255), &rect, false);
    EXPECT_EQ(fnRows(image), Rows(2, Bytes(2, 0)));
}

TEST_F(FillTest, ARectangleBeyondTheImageIsClipped) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        CqImage image(20, 10, bits, nullptr, 0);
        fnSetRandom(image, m_Random);
        CqImage expected(image);
        const CRect rect(-6, -2147483647, 2147483647, 4);
        image.fnFill(CqColor(255, 0, 0, 9), &rect, false);
        fnFillByLines(expected, CqColor(255, 0, 0, 9), CRect(0, 0, 20, 4));
        EXPECT_TRUE(fnSameRows(fnRows(image), fnRows(expected))) << bits << " bits";
    }
}

TEST_F(FillTest, AnEmptyInvertedOrOutlyingRectanglePaintsNothing) {
    const CRect rects[] = {
        {5, 5, 5, 8},       {5, 5, 8, 5},    {8, 2, 5, 6},   {2, 8, 6, 5},
        {20, 0, 30, 10},    {0, 10, 20, 20}, {-9, -9, 0, 0}, {2147483647, 0, -2147483647 - 1, 10},
        {100, 100, 99, 99}, {3, 3, 3, 3}};
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        CqImage image(20, 10, bits, nullptr, 0);
        fnSetRandom(image, m_Random);
        const Rows before = fnRows(image);
        for (const CRect& rect : rects)
            image.fnFill(CqColor(255, 255, 255, 255), &rect, true);
        EXPECT_TRUE(fnSameRows(fnRows(image), before)) << bits << " bits";
    }
}

TEST_F(FillTest, ClaimsOfOthersSurviveAFill) {
    CqImage image(300, 300, 8, q32GreyRamp, 256);
    CqImageTile tile(true);
    image.fnAccessTile(4, &tile);
    CqImageLine line(false, true);
    image.fnAccessLine(7, &line, true);
    const CRect rect(0, 0, 300, 20);
    image.fnFill(CqColor(5, 5, 5, 255), nullptr, true);
    image.fnFill(CqColor(6, 6, 6, 255), &rect, false);
    EXPECT_TRUE(image.TileMap->TileTable[4].Locked);
    EXPECT_EQ(image.TileMap->LockedLines.GetCount(), 1);
    CqImageTile second(true);
    image.fnAccessTile(4, &second);
    EXPECT_FALSE(second.Claim);
}

TEST_F(FillTest, WithoutMemoryForARowA4BitFillLeavesItsRowsDoneAndNoClaim) {
    CqImage image(20, 6, 4, nullptr, 0);
    const CRect rect(2, 1, 14, 5);
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        fnSetAll(image, 0x11);
        const bool raised = fnRaisesMemoryException(
            [&] { image.fnFill(CqColor(255, 255, 255, 255), &rect, false); });
        failure.fnEnd();
        EXPECT_EQ(raised, failure.fnHappened());
        EXPECT_EQ(image.TileMap->LockedLines.GetCount(), 0);
        const Rows rows = fnRows(image);
        std::size_t done = 1;
        Bytes filled(10, 0x11);
        std::fill_n(filled.begin() + 1, 6, static_cast<unsigned char>(0xFF));
        while (done < 5 && rows[done] == filled)
            ++done;
        if (!raised) {
            EXPECT_EQ(done, 5u);
        }
        for (std::size_t y = 0; y < 6; ++y)
            if (y == 0 || y >= done) {
                EXPECT_EQ(rows[y], Bytes(10, 0x11)) << y;
            }
    });
    EXPECT_GE(failures, 2u); // the buffer of a row, and a place in the list of claims
}

} // namespace
} // namespace q32::test
