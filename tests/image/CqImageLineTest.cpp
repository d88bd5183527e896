#include "q32Base/memory/CqTileMap_p.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Random.h"

#include <cstring>
#include <vector>

namespace {

class CqImageLineTest : public AttachedTest {
protected:
    static std::vector<unsigned char> fnRow(CqImage& image, unsigned int y) {
        CqImageLine line;
        image.fnAccessLine(y, &line, true);
        return {line.LineBuffer, line.LineBuffer + line.RowBytes};
    }

    static void fnClear(CqImage& image) {
        std::memset(image.TileMap->PixelBuffer, 0, image.TileMap->BufferSize);
    }

    static void fnSetRow(CqImage& image, unsigned int y, const std::vector<unsigned char>& bytes) {
        image.TileMap->fnStoreRow(y, bytes.data());
    }

    static std::vector<unsigned char> fnRandomBytes(std::size_t count, Random& random) {
        std::vector<unsigned char> bytes(count);
        for (unsigned char& b : bytes)
            b = static_cast<unsigned char>(random());
        return bytes;
    }
};

TEST_F(CqImageLineTest, BeginsFree) {
    const CqImageLine line;
    EXPECT_EQ(line.Row, -1);
    EXPECT_TRUE(line.ReadOnly);
    EXPECT_FALSE(line.fnIsMemoryless());
    EXPECT_FALSE(line.Claim);
    EXPECT_TRUE(CqImageLine(true, true).fnIsMemoryless());
}

TEST_F(CqImageLineTest, WritesReachTheImageAtTheNextRow) {
    CqImage image(300, 4, 8, nullptr, 0);
    fnClear(image);
    CqImageLine line;
    image.fnAccessLine(1, &line, false);
    std::memset(line.LineBuffer, 9, 300);
    EXPECT_EQ(fnRow(image, 1), std::vector<unsigned char>(300, 0));
    image.fnAccessLine(2, &line, false);
    EXPECT_EQ(fnRow(image, 1), std::vector<unsigned char>(300, 9));
    std::memset(line.LineBuffer, 8, 300);
    line.fnFlush();
    EXPECT_EQ(fnRow(image, 2), std::vector<unsigned char>(300, 8));
    std::memset(line.LineBuffer, 7, 300);
    line.fnUnAssociate();
    EXPECT_EQ(fnRow(image, 2), std::vector<unsigned char>(300, 7));
    EXPECT_EQ(line.Row, -1);
    EXPECT_EQ(line.LineBuffer, nullptr);
}

TEST_F(CqImageLineTest, TheBufferIsKeptAcrossRows) {
    CqImage image(300, 4, 8, nullptr, 0);
    CqImageLine line;
    image.fnAccessLine(1, &line, true);
    const unsigned char* buffer = line.LineBuffer;
    const CqAllocationFailure failure(1);
    image.fnAccessLine(2, &line, false);
    image.fnAccessLine(3, &line, true);
    EXPECT_EQ(line.LineBuffer, buffer);
}

TEST_F(CqImageLineTest, AReadOnlyRowIsNotWrittenBackButAFlushWritesIt) {
    CqImage image(10, 2, 8, nullptr, 0);
    fnClear(image);
    {
        CqImageLine line;
        image.fnAccessLine(0, &line, true);
        std::memset(line.LineBuffer, 5, 10);
    }
    EXPECT_EQ(fnRow(image, 0), std::vector<unsigned char>(10, 0));
    CqImageLine line;
    image.fnAccessLine(0, &line, true);
    std::memset(line.LineBuffer, 5, 10);
    line.fnFlush();
    EXPECT_EQ(fnRow(image, 0), std::vector<unsigned char>(10, 5));
}

TEST_F(CqImageLineTest, AccessingTheSameRowNeitherFetchesItAgainNorChangesTheMode) {
    CqImage image(10, 2, 8, nullptr, 0);
    fnClear(image);
    CqImageLine line;
    image.fnAccessLine(0, &line, true);
    line.LineBuffer[3] = 77;
    image.fnAccessLine(0, &line, false);
    EXPECT_EQ(line.LineBuffer[3], 77);
    EXPECT_TRUE(line.ReadOnly);
    image.fnAccessLine(1, &line, false);
    EXPECT_EQ(fnRow(image, 0), std::vector<unsigned char>(10, 0));
}

TEST_F(CqImageLineTest, AFailedBufferLeavesItFree) {
    CqImage image(10, 2, 8, nullptr, 0);
    CqImageLine line;
    {
        const CqAllocationFailure failure(1);
        EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnAccessLine(1, &line, false); }));
    }
    EXPECT_EQ(line.Row, -1);
    image.fnAccessLine(1, &line, false);
    EXPECT_EQ(line.Row, 1);
}

TEST_F(CqImageLineTest, FillsFromAGivenPixel) {
    for (const unsigned int bits : {8u, 16u, 24u, 32u}) {
        CqImage image(200, 1, bits, nullptr, 0);
        const unsigned int bytes = bits / 8;
        fnSetRow(image, 0, std::vector<unsigned char>(200 * bytes, 1));
        CqColor color(255, 213, 51, 9); // entry 5 * 42 + 5 * 6 + 1 of the default palette
        {
            CqImageLine line;
            image.fnAccessLine(0, &line, false);
            line.fnFillColor(color, 7, 100);
        }
        std::vector<unsigned char> pixel;
        if (bits == 8)
            pixel = {241};
        else if (bits == 16) // 11111 110101 00110
            pixel = {0xFE, 0xA6};
        else if (bits == 24)
            pixel = {255, 213, 51};
        else
            pixel = {9, 255, 213, 51};
        std::vector<unsigned char> expected(200 * bytes, 1);
        for (std::size_t i = 7 * bytes; i < 107 * bytes; ++i)
            expected[i] = pixel[i % bytes];
        EXPECT_EQ(fnRow(image, 0), expected) << bits;
    }
}

TEST_F(CqImageLineTest, A4BitFillSetsFullBytesAndThenAHighNibble) {
    CqImage image(10, 1, 4, nullptr, 0);
    fnSetRow(image, 0, {0x11, 0x11, 0x11, 0x11, 0x11});
    CqImageLine line;
    image.fnAccessLine(0, &line, false);
    line.fnFillColor(CqColor(255, 255, 255, 255), 2, 5);
    line.fnFlush();
    EXPECT_EQ(fnRow(image, 0), (std::vector<unsigned char>{0x11, 0xFF, 0xFF, 0xF1, 0x11}));
}

TEST_F(CqImageLineTest, A4BitFillFromAnOddPixelBeginsOnePixelLate) {
    CqImage image(10, 1, 4, nullptr, 0);
    fnSetRow(image, 0, {0, 0, 0, 0, 0});
    CqImageLine line;
    image.fnAccessLine(0, &line, false);
    line.fnFillColor(CqColor(255, 0, 0, 255), 1, 2); // index 9
    line.fnFlush();
    EXPECT_EQ(fnRow(image, 0), (std::vector<unsigned char>{0, 0x99, 0, 0, 0}));
    line.fnFillColor(CqColor(255, 0, 0, 255), 9, 1); // begins after the row: invisible
    line.fnFlush();
    EXPECT_EQ(fnRow(image, 0), (std::vector<unsigned char>{0, 0x99, 0, 0, 0}));
}

TEST_F(CqImageLineTest, AFillWithAColourThatThePaletteLacksTakesIndex0) {
    CqImage image(4, 1, 8, nullptr, 0);
    CqImageLine line;
    image.fnAccessLine(0, &line, false);
    std::memset(line.LineBuffer, 3, 4);
    line.fnFillColor(CqColor(1, 2, 3, 255), 1, 2);
    line.fnFlush();
    EXPECT_EQ(fnRow(image, 0), (std::vector<unsigned char>{3, 0, 0, 3}));
}

TEST_F(CqImageLineTest, MirrorsAllDepthsButFourBits) {
    Random random(3);
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        for (const unsigned int width : {1u, 2u, 3u, 128u, 129u, 258u}) {
            CqImage image(width, 1, bits, nullptr, 0);
            const auto before = fnRandomBytes(image.RowBytes, random);
            fnSetRow(image, 0, before);
            {
                CqImageLine line;
                image.fnAccessLine(0, &line, false);
                line.fnReverseLine();
            }
            auto expected = before;
            const unsigned int bytes = bits / 8;
            for (unsigned int x = 0; bits != 4 && x < width; ++x)
                std::memcpy(&expected[x * bytes], &before[(width - 1 - x) * bytes], bytes);
            EXPECT_EQ(fnRow(image, 0), expected) << bits << " " << width;
        }
    }
}

TEST_F(CqImageLineTest, ReversesTheBytesOfPixelsUpToTheEndOfTheRow) {
    CqImage image24(3, 1, 24, nullptr, 0);
    fnSetRow(image24, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    CqImageLine line24;
    image24.fnAccessLine(0, &line24, false);
    line24.fnReversePixel(1, 1);
    EXPECT_EQ(std::memcmp(line24.LineBuffer, "\1\2\3\6\5\4\7\10\11", 9), 0);
    line24.fnReversePixel(0, 0xFFFFFFFFu);
    EXPECT_EQ(std::memcmp(line24.LineBuffer, "\3\2\1\4\5\6\11\10\7", 9), 0);
    CqImage image32(2, 1, 32, nullptr, 0);
    fnSetRow(image32, 0, {1, 2, 3, 4, 5, 6, 7, 8});
    CqImageLine line32;
    image32.fnAccessLine(0, &line32, false);
    line32.fnReversePixel(0, 0xFFFFFFFFu);
    EXPECT_EQ(std::memcmp(line32.LineBuffer, "\4\3\2\1\10\7\6\5", 8), 0);
    line32.fnReversePixel(1, 9);
    EXPECT_EQ(std::memcmp(line32.LineBuffer, "\4\3\2\1\5\6\7\10", 8), 0);
}

TEST_F(CqImageLineTest, ReversingARowOfAnotherDepthStaysInsideIt) {
    CqImage image(6, 1, 8, nullptr, 0);
    fnSetRow(image, 0, {1, 2, 3, 4, 5, 6});
    CqImageLine line;
    image.fnAccessLine(0, &line, false);
    line.fnReversePixel(0, 0xFFFFFFFFu);
    EXPECT_EQ(std::memcmp(line.LineBuffer, "\4\3\2\1\5\6", 6), 0);
}

TEST_F(CqImageLineTest, OnlyTheFirstHalfOfA16BitRowIsConverted) {
    CqImage image(5, 1, 16, nullptr, 0);
    const std::vector<unsigned char> row = {0x12, 0x34, 0x56, 0x78, 0x9A,
                                            0xBC, 0xDE, 0xF0, 0x11, 0x22};
    const auto converted = [&](bool swapOnly, bool toMap) {
        fnSetRow(image, 0, row);
        {
            CqImageLine line;
            image.fnAccessLine(0, &line, false);
            line.fnReversePixel(swapOnly, toMap);
        }
        return fnRow(image, 0);
    };
    const std::vector<unsigned char> rest(row.begin() + 4, row.end());
    const auto with = [&rest](std::vector<unsigned char> first) {
        first.insert(first.end(), rest.begin(), rest.end());
        return first;
    };
    EXPECT_EQ(converted(true, true), with({0x34, 0x12, 0x78, 0x56}));
    EXPECT_EQ(converted(true, false), with({0x34, 0x12, 0x78, 0x56}));
    // 0x3412 is 01101 00000 10010: to 5-6-5 01101 000000 10010; 0x7856 is 11110 00010 10110: 11110
    // 000100 10110.
    EXPECT_EQ(converted(false, true), with({0x68, 0x12, 0xF0, 0x96}));
    // 0x1234 is 00010 010001 10100: to 5-5-5 00010 01000 10100; 0x5678 is 01010 110011 11000: 01010
    // 11001 11000.
    EXPECT_EQ(converted(false, false), with({0x14, 0x09, 0x38, 0x2B}));
}

TEST_F(CqImageLineTest, FourBitPixelsShareAByteInPairs) {
    CqImage image(5, 1, 4, nullptr, 0);
    fnSetRow(image, 0, {0x9A, 0xBC, 0xD0});
    CqImageLine line;
    image.fnAccessLine(0, &line, false);
    EXPECT_TRUE(line.fnGetPixelColor(0) == CqColor(255, 0, 0, 255));
    EXPECT_TRUE(line.fnGetPixelColor(1) == CqColor(0, 255, 0, 255));
    EXPECT_TRUE(line.fnGetPixelColor(4) == CqColor(255, 0, 255, 255));
    line.fnSetPixelColor(3, CqColor(255, 255, 255, 0));
    line.fnSetPixelColor(4, CqColor(128, 0, 0, 0));
    line.fnFlush();
    EXPECT_EQ(fnRow(image, 0), (std::vector<unsigned char>{0x9A, 0xBF, 0x10}));
}

TEST_F(CqImageLineTest, PixelsOfFullBytesMatchTheImage) {
    Random random(8);
    for (const unsigned int bits : {8u, 16u, 24u, 32u}) {
        CqImage image(300, 1, bits, nullptr, 0);
        fnSetRow(image, 0, fnRandomBytes(image.RowBytes, random));
        for (const int x : {0, 1, 127, 128, 255, 256, 299}) {
            {
                CqImageLine line;
                image.fnAccessLine(0, &line, false);
                EXPECT_TRUE(line.fnGetPixelColor(x) == image.fnGetPixelColor(x, 0)) << bits;
                const CqColor color(255, 213, 51, 9); // a colour of the default palette
                line.fnSetPixelColor(x, color);
                EXPECT_TRUE(bits == 16 || line.fnGetPixelColor(x).fnIsEqual(color, bits == 32));
            }
            CqImage other(1, 1, bits, nullptr, 0);
            other.fnSetPixelColor(0, 0, CqColor(255, 213, 51, 9));
            EXPECT_EQ(std::memcmp(image.fnGetPixelAddr(x, 0), other.fnGetPixelAddr(0, 0), bits / 8),
                      0)
                << bits << " " << x;
        }
    }
}

TEST_F(CqImageLineTest, SixteenBitPixelsAreSetLowByteFirstAndReadWithAMixedGreen) {
    CqImage image(2, 1, 16, nullptr, 0);
    CqImageLine line;
    image.fnAccessLine(0, &line, false);
    line.fnSetPixelColor(0, CqColor(0xFF, 0x00, 0x10, 255)); // 11111 000000 00010 = 0xF802
    EXPECT_EQ(line.LineBuffer[0], 0x02);
    EXPECT_EQ(line.LineBuffer[1], 0xF8);
    line.LineBuffer[2] = 0xAB;
    line.LineBuffer[3] = 0xCD;
    const CqColor read = line.fnGetPixelColor(1);
    EXPECT_EQ(read.m_Red, 0xA8);
    EXPECT_EQ(read.m_Green, (0xCDAB >> 3) & 0xFC); // 0xB4
    EXPECT_EQ(read.m_Blue, (0xCD << 3) & 0xFF);
}

/// A row set by a memoryless walk from `start`, compared with a plain version of the rule.
TEST_F(CqImageLineTest, AMemorylessWalkReachesEveryPixelOfARow) {
    Random random(4);
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        for (const unsigned int width : {1u, 2u, 127u, 128u, 129u, 256u, 257u, 300u}) {
            CqImage image(width, 131, bits, nullptr, 0);
            fnClear(image);
            const unsigned int y = 129;
            std::vector<unsigned char> expected(image.RowBytes, 0);
            CqImageLine line(true);
            image.fnAccessLine(y, &line, false);
            line.fnStartSegment(0);
            for (unsigned int x = 0; x < width; ++x) {
                RGBQUAD quad = {static_cast<BYTE>(random()), static_cast<BYTE>(random()),
                                static_cast<BYTE>(random()), 0};
                const unsigned int index = random() % (bits == 4 ? 16 : 256);
                if (bits <= 8)
                    quad = image.TileMap->Palette[index];
                const auto alpha = static_cast<unsigned char>(random());
                const unsigned int r = quad.rgbRed;
                const unsigned int g = quad.rgbGreen;
                const unsigned int b = quad.rgbBlue;
                line.fnSetPixel(quad.rgbRed, quad.rgbGreen, quad.rgbBlue, alpha);
                if (bits == 4) {
                    expected[x / 2] =
                        static_cast<unsigned char>(expected[x / 2] | index << (x % 2 == 0 ? 4 : 0));
                } else if (bits == 8) {
                    expected[x] = static_cast<unsigned char>(index);
                } else if (bits == 16) {
                    const unsigned int v = (r >> 3) << 11 | (g >> 2) << 5 | b >> 3;
                    expected[2 * x] = static_cast<unsigned char>(v & 0xFF);
                    expected[2 * x + 1] = static_cast<unsigned char>(v >> 8);
                } else {
                    unsigned char* at = &expected[bits / 8 * x];
                    if (bits == 32)
                        *at++ = alpha;
                    at[0] = quad.rgbRed;
                    at[1] = quad.rgbGreen;
                    at[2] = quad.rgbBlue;
                }
            }
            EXPECT_EQ(fnRow(image, y), expected) << bits << " " << width;
            EXPECT_EQ(fnRow(image, y + 1), std::vector<unsigned char>(image.RowBytes, 0));
        }
    }
}

TEST_F(CqImageLineTest, AWalkCanStartAnywhereAndReportsItsTile) {
    CqImage image(300, 131, 24, nullptr, 0);
    CqImageLine line(true);
    image.fnAccessLine(130, &line, true);
    for (const int x : {0, 127, 128, 255, 256, 299}) {
        line.fnStartSegment(x);
        EXPECT_EQ(line.fnGetPixel(), image.fnGetPixelAddr(x, 130)) << x;
        EXPECT_EQ(line.SegLeft, x / 128 * 128);
        EXPECT_EQ(line.SegEnd, std::min(300, x / 128 * 128 + 128));
        EXPECT_EQ(line.SegTop, 128);
        EXPECT_EQ(line.SegTile, 3u + static_cast<unsigned int>(x) / 128);
    }
}

TEST_F(CqImageLineTest, A4BitWalkFromAnOddPixelRunsOneByteLate) {
    CqImage image(6, 2, 4, nullptr, 0);
    fnClear(image);
    CqImageLine line(true);
    image.fnAccessLine(0, &line, false);
    line.fnStartSegment(1);
    EXPECT_EQ(line.fnGetPixel() - image.TileMap->PixelBuffer, 1);
    for (int i = 0; i < 5; ++i)
        line.fnSetPixel(255, 255, 255, 255); // index 15
    // The pair of pixels 0 and 1 is skipped, and the last pixel is written into the next row.
    EXPECT_EQ(fnRow(image, 0), (std::vector<unsigned char>{0, 0x0F, 0xFF}));
    EXPECT_EQ(fnRow(image, 1), (std::vector<unsigned char>{0xFF, 0, 0}));
    image.fnAccessLine(1, &line, false);
    line.fnStartSegment(1);
    for (int i = 0; i < 5; ++i)
        line.fnSetPixel(255, 255, 255, 255); // the last one into the block's slack
    EXPECT_EQ(fnRow(image, 1), (std::vector<unsigned char>{0xFF, 0x0F, 0xFF}));
}

TEST_F(CqImageLineTest, PastTheLastPixelTheWalkStaysWhereItIs) {
    CqImage image(3, 1, 8, nullptr, 0);
    CqImageLine line(true);
    image.fnAccessLine(0, &line, false);
    line.fnStartSegment(2);
    unsigned char* last = line.fnGetPixel();
    line.fnNextPixel();
    EXPECT_EQ(line.fnGetPixel(), last);
    line.fnNextPixel();
    EXPECT_EQ(line.fnGetPixel(), last);
}

TEST_F(CqImageLineTest, AFlushWithoutARowWritesNothing) {
    CqImageLine line;
    line.fnFlush();
    EXPECT_EQ(line.Row, -1);
    EXPECT_EQ(line.LineBuffer, nullptr);
    CqImage image(5, 2, 8, nullptr, 0);
    fnClear(image);
    CqImageLine memoryless(true, true);
    image.fnAccessLine(1, &memoryless, false);
    memoryless.fnFlush();
    EXPECT_EQ(fnRow(image, 0), std::vector<unsigned char>(5, 0));
}

TEST_F(CqImageLineTest, PixelsBeyondTheRowAreNotReversed) {
    CqImage image(5, 1, 24, nullptr, 0);
    CqImageLine line;
    image.fnAccessLine(0, &line, false);
    std::memset(line.LineBuffer, 0, line.RowBytes);
    line.LineBuffer[0] = 9;
    line.fnReversePixel(5, 3);
    line.fnReversePixel(-1, 3);
    EXPECT_EQ(line.LineBuffer[0], 9);
}

TEST_F(CqImageLineTest, ChangesStayWhereItsRowIsAccessedAgain) {
    CqImage image(5, 2, 8, nullptr, 0);
    fnClear(image);
    CqImageLine line;
    image.fnAccessLine(1, &line, false);
    line.LineBuffer[2] = 7;
    image.fnAccessLine(1, &line, false);
    EXPECT_EQ(line.LineBuffer[2], 7);
}

} // namespace
