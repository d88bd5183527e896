#include "tests/operations/PlainImage.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <cstring>

namespace q32::test {
namespace {

class BlockCopyTest : public AttachedTest {
protected:
    Random m_Random{5203};

    /// The rule from 8 bits on, with the accessors that it names.
    static void fnCopyByLines(CqImage& image, CqImage& src, const CRect& rect, int x, int y) {
        CqImageLine from(false, true);
        CqImageLine to(false, true);
        for (LONG i = 0; i < rect.Height(); ++i) {
            src.fnAccessLine(static_cast<unsigned int>(rect.top + i), &from, true);
            image.fnAccessLine(static_cast<unsigned int>(y + i), &to, false);
            const std::size_t bytes = image.BytesPerPixel;
            std::memcpy(to.LineBuffer + static_cast<std::size_t>(x) * bytes,
                        from.LineBuffer + static_cast<std::size_t>(rect.left) * bytes,
                        static_cast<std::size_t>(rect.Width()) * bytes);
        }
    }

    /// The rule at 4 bits, nibble by nibble.
    static void fnCopyByNibbles(CqImage& image, CqImage& src, const CRect& rect, int x) {
        for (LONG i = 0; i < rect.Height(); ++i) {
            unsigned char* from = src.TileMap->TileTable[0].Pixels +
                                  static_cast<std::size_t>(i) * src.RowBytes + rect.left / 2;
            unsigned char* to = image.TileMap->TileTable[0].Pixels +
                                static_cast<std::size_t>(i) * image.RowBytes + x / 2;
            for (LONG c = 0; c < rect.Width(); ++c) {
                const bool odd = (rect.left + c) % 2 != 0;
                const int index = odd ? *from & 15 : *from / 16;
                from += odd ? 1 : 0;
                if ((x + c) % 2 == 0)
                    *to = static_cast<unsigned char>(*to % 16 + 16 * index);
                else {
                    *to = static_cast<unsigned char>(*to / 16 * 16 + index);
                    ++to;
                }
            }
        }
    }

    /// A position of the rectangle inside an image that is large enough.
    CPoint fnRandomPlace(const CRect& rect, const CqImage& image) {
        return {fnBelow(m_Random, image.Width - static_cast<unsigned int>(rect.Width()) + 1),
                fnBelow(m_Random, image.Height - static_cast<unsigned int>(rect.Height()) + 1)};
    }
};

TEST_F(BlockCopyTest, ABlockIsCopiedAsLineAccessorsCopyIt) {
    for (int round = 0; round < 400; ++round) {
        const unsigned int bits = std::array{8u, 16u, 24u, 32u}[m_Random() % 4];
        CqImage src(fnRandomSide(m_Random), fnRandomSide(m_Random), bits, nullptr, 0);
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), bits, nullptr, 0);
        fnSetRandom(src, m_Random);
        fnSetRandom(image, m_Random);
        CqImage expected(image);
        CRect rect = fnRandomRect(m_Random, src);
        rect.right = std::min(rect.right, rect.left + static_cast<LONG>(image.Width));
        rect.bottom = std::min(rect.bottom, rect.top + static_cast<LONG>(image.Height));
        const CPoint place = fnRandomPlace(rect, image);
        image.fnCopyBlock(src, &rect, place.x, place.y);
        fnCopyByLines(expected, src, rect, place.x, place.y);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected))) << bits << " bits";
    }
}

TEST_F(BlockCopyTest, WithinOneImageTheOrderOfRowsMatters) {
    for (int round = 0; round < 600; ++round) {
        const unsigned int bits = std::array{8u, 16u, 24u, 32u}[m_Random() % 4];
        CqImage image(1 + m_Random() % 200, 1 + m_Random() % 200, bits, nullptr, 0);
        fnSetRandom(image, m_Random);
        CqImage expected(image);
        const CRect rect = fnRandomRect(m_Random, image);
        CPoint place = fnRandomPlace(rect, image);
        const int last = static_cast<int>(image.Height) - rect.Height();
        if (m_Random() % 2) // nearby rows, where the order matters
            place.y = std::clamp<LONG>(rect.top + fnBelow(m_Random, 7) - 3, 0, last);
        image.fnCopyBlock(image, &rect, place.x, place.y);
        fnCopyByLines(expected, expected, rect, place.x, place.y);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected)))
            << bits << " bits, down by " << place.y - rect.top;
    }
}

TEST_F(BlockCopyTest, ABlockMovedDownByOneRowArrivesIntact) {
    CqImage image(1, 6, 8, q32GreyRamp, 256);
    fnSetRows(image, {{1}, {2}, {3}, {4}, {5}, {6}});
    const CRect rect(0, 0, 1, 5);
    image.fnCopyBlock(image, &rect, 0, 1);
    EXPECT_EQ(fnRows(image), (Rows{{1}, {1}, {2}, {3}, {4}, {5}}));
}

TEST_F(BlockCopyTest, ABlockMovedDownByTwoRowsRepeatsItsFirstTwo) {
    CqImage image(1, 6, 8, q32GreyRamp, 256);
    fnSetRows(image, {{1}, {2}, {3}, {4}, {5}, {6}});
    const CRect rect(0, 0, 1, 4);
    image.fnCopyBlock(image, &rect, 0, 2);
    EXPECT_EQ(fnRows(image), (Rows{{1}, {2}, {1}, {2}, {1}, {2}}));
}

TEST_F(BlockCopyTest, ABlockMovedUpOrSidewaysArrivesIntact) {
    CqImage image(6, 3, 8, q32GreyRamp, 256);
    fnSetRows(image, {{1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}, {13, 14, 15, 16, 17, 18}});
    const CRect up(0, 1, 6, 3);
    image.fnCopyBlock(image, &up, 0, 0);
    const CRect sideways(0, 0, 5, 1);
    image.fnCopyBlock(image, &sideways, 1, 0);
    EXPECT_EQ(fnRows(image),
              (Rows{{7, 7, 8, 9, 10, 11}, {13, 14, 15, 16, 17, 18}, {13, 14, 15, 16, 17, 18}}));
}

TEST_F(BlockCopyTest, A4BitBlockIsCopiedNibbleByNibbleFromTheTopRows) {
    for (int round = 0; round < 400; ++round) {
        CqImage src(1 + m_Random() % 40, 1 + m_Random() % 20, 4, nullptr, 0);
        CqImage image(1 + m_Random() % 40, 1 + m_Random() % 20, 4, nullptr, 0);
        fnSetRandom(src, m_Random);
        fnSetRandom(image, m_Random);
        CqImage expected(image);
        CRect rect = fnRandomRect(m_Random, src);
        rect.right = std::min(rect.right, rect.left + static_cast<LONG>(image.Width));
        rect.bottom = std::min(rect.bottom, rect.top + static_cast<LONG>(image.Height));
        const CPoint place = fnRandomPlace(rect, image);
        image.fnCopyBlock(src, &rect, place.x, place.y);
        fnCopyByNibbles(expected, src, rect, place.x);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected)));
    }
}

TEST_F(BlockCopyTest, A4BitBlockWithinOneImageReadsBackItsOwnWrites) {
    for (int round = 0; round < 200; ++round) {
        CqImage image(1 + m_Random() % 40, 1 + m_Random() % 20, 4, nullptr, 0);
        fnSetRandom(image, m_Random);
        CqImage expected(image);
        const CRect rect = fnRandomRect(m_Random, image);
        const CPoint place = fnRandomPlace(rect, image);
        image.fnCopyBlock(image, &rect, place.x, place.y);
        fnCopyByNibbles(expected, expected, rect, place.x);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected)));
    }
}

TEST_F(BlockCopyTest, A4BitBlockCopyIgnoresTheRowsOfBothPositions) {
    CqImage src(2, 4, 4, nullptr, 0);
    CqImage image(2, 4, 4, nullptr, 0);
    fnSetRows(src, {{0x11}, {0x22}, {0x33}, {0x44}});
    fnSetAll(image, 0);
    const CRect rect(0, 2, 2, 4);
    image.fnCopyBlock(src, &rect, 0, 1);
    EXPECT_EQ(fnRows(image), (Rows{{0x11}, {0x22}, {0}, {0}}));
    // A position below the image makes no difference.
    fnSetAll(image, 0);
    image.fnCopyBlock(src, &rect, 0, 3);
    EXPECT_EQ(fnRows(image), (Rows{{0x11}, {0x22}, {0}, {0}}));
}

TEST_F(BlockCopyTest, WithoutARectangleAllOfTheSourceIsCopied) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        CqImage src(130, 129, bits, nullptr, 0);
        CqImage image(130, 129, bits, nullptr, 0);
        fnSetRandom(src, m_Random);
        fnSetAll(image, 0);
        image.fnCopyBlock(src, nullptr, 0, 0);
        EXPECT_TRUE(fnSameRows(fnRows(image), fnRows(src))) << bits << " bits";
    }
}

TEST_F(BlockCopyTest, PixelsOutsideEitherImageAreSkipped) {
    for (int round = 0; round < 300; ++round) {
        const unsigned int bits = std::array{8u, 16u, 24u, 32u}[m_Random() % 4];
        CqImage src(1 + m_Random() % 30, 1 + m_Random() % 30, bits, nullptr, 0);
        CqImage image(1 + m_Random() % 30, 1 + m_Random() % 30, bits, nullptr, 0);
        fnSetRandom(src, m_Random);
        fnSetRandom(image, m_Random);
        const auto coordinate = [this] { return fnBelow(m_Random, 70) - 20; };
        const CRect rect(coordinate(), coordinate(), coordinate(), coordinate());
        const int x = coordinate();
        const int y = coordinate();
        Rows expected = fnRows(image);
        const Rows from = fnRows(src);
        const int bytes = static_cast<int>(image.BytesPerPixel);
        for (LONG sy = rect.top; sy < rect.bottom; ++sy)
            for (LONG sx = rect.left; sx < rect.right; ++sx) {
                const LONG dx = sx - rect.left + x;
                const LONG dy = sy - rect.top + y;
                const auto in = [](LONG a, LONG b, const CqImage& i) {
                    return a >= 0 && b >= 0 && a < static_cast<LONG>(i.Width) &&
                           b < static_cast<LONG>(i.Height);
                };
                if (in(sx, sy, src) && in(dx, dy, image))
                    std::copy_n(from[static_cast<std::size_t>(sy)].begin() + sx * bytes, bytes,
                                expected[static_cast<std::size_t>(dy)].begin() + dx * bytes);
            }
        image.fnCopyBlock(src, &rect, x, y);
        ASSERT_TRUE(fnSameRows(fnRows(image), expected)) << bits << " bits";
    }
}

TEST_F(BlockCopyTest, DistantAndInvertedRectanglesAreHarmless) {
    constexpr LONG kMax = 2147483647;
    const CRect rects[] = {{-kMax - 1, -kMax - 1, kMax, kMax},
                           {kMax, kMax, -kMax - 1, -kMax - 1},
                           {kMax - 1, 0, kMax, 1},
                           {5, 5, 5, 5},
                           {0, 0, kMax, kMax}};
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        CqImage src(9, 9, bits, nullptr, 0);
        CqImage image(9, 9, bits, nullptr, 0);
        fnSetAll(src, 0);
        fnSetAll(image, 0);
        for (const CRect& rect : rects)
            for (const int place : {-2147483647 - 1, -3, 0, 8, 9, 2147483647}) {
                image.fnCopyBlock(src, &rect, place, place);
                image.fnCopyBlock(image, &rect, place, place);
            }
        EXPECT_EQ(fnRows(image), fnRows(src));
    }
}

TEST_F(BlockCopyTest, ImagesOfDifferentDepthsStayUnchanged) {
    CqImage src(9, 9, 8, q32GreyRamp, 256);
    fnSetAll(src, 1);
    for (const unsigned int bits : {4u, 16u, 24u, 32u}) {
        CqImage image(9, 9, bits, nullptr, 0);
        fnSetAll(image, 2);
        image.fnCopyBlock(src, nullptr, 0, 0);
        src.fnCopyBlock(image, nullptr, 0, 0);
        EXPECT_EQ(fnRows(image)[8], Bytes(image.RowBytes, 2));
        EXPECT_EQ(fnRows(src)[8], Bytes(9, 1));
    }
}

TEST_F(BlockCopyTest, WithoutMemoryForARowASidewaysMoveChangesNothing) {
    CqImage image(300, 20, 24, nullptr, 0);
    fnSetRandom(image, m_Random);
    const Rows before = fnRows(image);
    CqImage expected(image);
    const CRect rect(0, 0, 200, 20);
    fnCopyByLines(expected, expected, rect, 50, 0);
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool raised =
            fnRaisesMemoryException([&] { image.fnCopyBlock(image, &rect, 50, 0); });
        failure.fnEnd();
        EXPECT_EQ(raised, failure.fnHappened());
        EXPECT_TRUE(fnSameRows(fnRows(image), raised ? before : fnRows(expected)));
    });
    EXPECT_EQ(failures, 1u);
}

} // namespace
} // namespace q32::test
