// Run-length coded bitmaps.
#include "tests/image/DibTestTools.h"

namespace q32::test {
namespace {

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

} // namespace
} // namespace q32::test
