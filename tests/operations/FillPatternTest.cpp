#include "tests/operations/PlainImage.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>

namespace q32::test {
namespace {

class FillPatternTest : public AttachedTest {
protected:
    Random m_Random{5202};

    /// The rule: one block copy per repetition.
    static void fnFillByBlocks(CqImage& image, CqImage& pattern, const CRect* srcRect,
                               const CRect* dstRect) {
        const auto clip = [](const CRect* rect, const CqImage& i) {
            CRect r(0, 0, static_cast<LONG>(i.Width), static_cast<LONG>(i.Height));
            if (rect)
                r = CRect(std::max<LONG>(rect->left, 0), std::max<LONG>(rect->top, 0),
                          std::min(rect->right, r.right), std::min(rect->bottom, r.bottom));
            return r;
        };
        const CRect dst = clip(dstRect, image);
        if (dst.IsRectEmpty())
            return;
        CRect src = clip(srcRect, pattern);
        if (src.Width() > dst.Width())
            src.right = src.left + dst.Width();
        if (src.Height() > dst.Height())
            src.bottom = src.top + dst.Height();
        const auto count = [](LONG length, LONG whole, LONG& rest) {
            LONG n = std::max<LONG>(whole / length, 1);
            rest = length < whole ? whole - length * n : 0;
            return rest > 0 ? n + 1 : n;
        };
        LONG restX = 0;
        LONG restY = 0;
        const LONG rows = count(src.Height(), dst.Height(), restY);
        const LONG columns = count(src.Width(), dst.Width(), restX);
        LONG dy = dst.top;
        for (LONG r = 0; r < rows; ++r) {
            if (restY != 0 && r == rows - 1)
                src.bottom = restY;
            LONG dx = dst.left;
            for (LONG c = 0; c < columns; ++c) {
                CRect cell = src;
                if (restX != 0 && c == columns - 1)
                    cell.right = restX + cell.left;
                image.fnCopyBlock(pattern, &cell, dx, dy);
                dx += src.Width();
            }
            dy += src.Height();
        }
    }

    /// A pattern whose pixel (x, y) is 16 y + x.
    static void fnSetRuler(CqImage& pattern) {
        Rows rows = fnRows(pattern);
        for (std::size_t y = 0; y < rows.size(); ++y)
            for (std::size_t x = 0; x < rows[y].size(); ++x)
                rows[y][x] = static_cast<unsigned char>(16 * y + x);
        fnSetRows(pattern, rows);
    }
};

TEST_F(FillPatternTest, EveryPatternEqualsRepeatedBlockCopies) {
    for (int round = 0; round < 400; ++round) {
        const unsigned int bits = fnRandomBits(m_Random);
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), bits, nullptr, 0);
        const bool little = m_Random() % 2 == 0;
        CqImage pattern(little ? 1 + m_Random() % 20 : fnRandomSide(m_Random),
                        little ? 1 + m_Random() % 20 : fnRandomSide(m_Random), bits, nullptr, 0);
        fnSetRandom(image, m_Random);
        fnSetRandom(pattern, m_Random);
        CqImage expected(image);
        const CRect src = fnRandomRect(m_Random, pattern);
        const CRect dst = fnRandomRect(m_Random, image);
        const CRect* from = m_Random() % 3 ? &src : nullptr;
        const CRect* to = m_Random() % 3 ? &dst : nullptr;
        image.fnFill(pattern, from, to);
        fnFillByBlocks(expected, pattern, from, to);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected)))
            << bits << " bits, " << pattern.Width << " x " << pattern.Height;
    }
}

TEST_F(FillPatternTest, APatternFromTheImageItselfEqualsRepeatedBlockCopies) {
    for (int round = 0; round < 200; ++round) {
        const unsigned int bits = fnRandomBits(m_Random);
        CqImage image(1 + m_Random() % 200, 1 + m_Random() % 200, bits, nullptr, 0);
        fnSetRandom(image, m_Random);
        CqImage expected(image);
        const CRect src = fnRandomRect(m_Random, image);
        const CRect dst = fnRandomRect(m_Random, image);
        image.fnFill(image, &src, &dst);
        fnFillByBlocks(expected, expected, &src, &dst);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected))) << bits << " bits";
    }
}

TEST_F(FillPatternTest, APatternOf10ColumnsOver25GivesALastColumnOf5) {
    CqImage image(25, 1, 8, q32GreyRamp, 256);
    CqImage pattern(10, 1, 8, q32GreyRamp, 256);
    fnSetRuler(pattern);
    image.fnFill(pattern, nullptr, nullptr);
    EXPECT_EQ(fnRows(image)[0],
              (Bytes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1, 2, 3, 4}));
}

TEST_F(FillPatternTest, APatternThatBeginsFurtherDownHasALowerLastRow) {
    CqImage image(1, 25, 8, q32GreyRamp, 256);
    CqImage pattern(1, 14, 8, q32GreyRamp, 256);
    fnSetRuler(pattern);
    fnSetAll(image, 0xEE);
    const CRect src(0, 4, 1, 14);
    image.fnFill(pattern, &src, nullptr);
    Rows expected;
    for (unsigned int y = 0; y < 21; ++y) // two rows of ten, and one line of the five left
        expected.push_back({static_cast<unsigned char>(16 * (4 + y % 10))});
    expected.resize(25, Bytes{0xEE});
    EXPECT_EQ(fnRows(image), expected);
}

TEST_F(FillPatternTest, APatternThatBeginsBelowTheRestHasNoLastRowAtAll) {
    CqImage image(2, 25, 8, q32GreyRamp, 256);
    CqImage pattern(1, 16, 8, q32GreyRamp, 256);
    fnSetRuler(pattern);
    fnSetAll(image, 0xEE);
    const CRect src(0, 6, 1, 16);
    image.fnFill(pattern, &src, nullptr);
    EXPECT_EQ(fnRows(image)[19], Bytes(2, 16 * 15));
    EXPECT_EQ(fnRows(image)[20], Bytes(2, 0xEE));
}

TEST_F(FillPatternTest, APatternLargerThanTheTargetIsClippedToIt) {
    CqImage image(300, 5, 8, q32GreyRamp, 256);
    CqImage pattern(400, 9, 8, q32GreyRamp, 256);
    fnSetRandom(pattern, m_Random);
    fnSetAll(image, 0xEE);
    const CRect dst(2, 1, 290, 4);
    image.fnFill(pattern, nullptr, &dst);
    const Rows from = fnRows(pattern);
    Rows expected(5, Bytes(300, 0xEE));
    for (std::size_t y = 1; y < 4; ++y)
        std::copy_n(from[y - 1].begin(), 288, expected[y].begin() + 2);
    EXPECT_TRUE(fnSameRows(fnRows(image), expected));
}

TEST_F(FillPatternTest, At4BitsThePatternReachesOnlyTheTopRows) {
    CqImage image(4, 6, 4, nullptr, 0);
    CqImage pattern(2, 2, 4, nullptr, 0);
    fnSetAll(image, 0);
    fnSetRows(pattern, {{0x12}, {0x34}});
    image.fnFill(pattern, nullptr, nullptr);
    EXPECT_EQ(fnRows(image), (Rows{{0x12, 0x12}, {0x34, 0x34}, {0, 0}, {0, 0}, {0, 0}, {0, 0}}));
}

TEST_F(FillPatternTest, EmptyRectanglesAndOtherDepthsLeaveTheImageUnchanged) {
    CqImage image(20, 20, 24, nullptr, 0);
    CqImage pattern(5, 5, 24, nullptr, 0);
    CqImage other(5, 5, 8, q32GreyRamp, 256);
    fnSetRandom(image, m_Random);
    const Rows before = fnRows(image);
    const CRect empty(3, 3, 3, 9);
    const CRect outside(5, 0, 9, 9);
    const CRect turned(4, 4, 1, 1);
    image.fnFill(pattern, nullptr, &empty);
    image.fnFill(pattern, &empty, nullptr);
    image.fnFill(pattern, &outside, nullptr);
    image.fnFill(pattern, &turned, &turned);
    image.fnFill(other, nullptr, nullptr);
    EXPECT_TRUE(fnSameRows(fnRows(image), before));
}

TEST_F(FillPatternTest, RectanglesBeyondTheImagesAreClipped) {
    CqImage image(5, 3, 8, q32GreyRamp, 256);
    CqImage pattern(2, 2, 8, q32GreyRamp, 256);
    fnSetRuler(pattern);
    fnSetAll(image, 0xEE);
    const CRect src(-2147483647 - 1, -5, 2147483647, 1);
    const CRect dst(3, -7, 2147483647, 2);
    image.fnFill(pattern, &src, &dst);
    EXPECT_EQ(
        fnRows(image),
        (Rows{{0xEE, 0xEE, 0xEE, 0, 1}, {0xEE, 0xEE, 0xEE, 0, 1}, {0xEE, 0xEE, 0xEE, 0xEE, 0xEE}}));
}

TEST_F(FillPatternTest, WithoutMemoryForItsRowsANarrowPatternChangesNothing) {
    for (const unsigned int bits : {8u, 16u, 24u, 32u}) {
        CqImage image(300, 20, bits, nullptr, 0);
        CqImage pattern(7, 5, bits, nullptr, 0);
        fnSetRandom(image, m_Random);
        fnSetRandom(pattern, m_Random);
        const Rows before = fnRows(image);
        CqImage expected(image);
        fnFillByBlocks(expected, pattern, nullptr, nullptr);
        const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
            const bool raised =
                fnRaisesMemoryException([&] { image.fnFill(pattern, nullptr, nullptr); });
            failure.fnEnd();
            EXPECT_EQ(raised, failure.fnHappened());
            EXPECT_TRUE(fnSameRows(fnRows(image), raised ? before : fnRows(expected)));
        });
        EXPECT_EQ(failures, 1u) << bits << " bits";
    }
}

} // namespace
} // namespace q32::test
