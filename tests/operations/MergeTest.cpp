#include "q32Base/image/CqMask.h"
#include "tests/operations/PlainImage.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <array>

namespace q32::test {
namespace {

class MergeTest : public AttachedTest {
protected:
    Random m_Random{5301};

    /// One pixel of the rule. Returns by how many bytes the target pointer advances.
    static unsigned int fnMergePixel(const unsigned char* s, unsigned char* t, unsigned int bpp,
                                     const CqMergeParam& param, const unsigned char* weights) {
        const auto read = [bpp](const unsigned char* p) {
            if (bpp == 2)
                return std::array<unsigned int, 3>{p[0] & 0xF8u, 0, unsigned{p[1]} << 3 & 0xFFu};
            if (bpp == 3)
                return std::array<unsigned int, 3>{p[0], p[1], p[2]};
            return std::array<unsigned int, 3>{p[1], p[2], p[3]};
        };
        std::array<unsigned int, 3> over = read(s);
        const std::array<unsigned int, 3> under = read(t);
        unsigned int weight = 255;
        if (param.m_eType == MERGE_KEY) {
            const unsigned long key = param.m_nKey;
            if (over[0] == (key & 0xFF) && over[1] == (key >> 8 & 0xFF) &&
                over[2] == (key >> 16 & 0xFF))
                return bpp;
        } else if (param.m_eType == MERGE_MASK) {
            weight = *weights;
        }
        if (weight == 0)
            return bpp;
        for (std::size_t i = 0; i < 3 && weight != 255; ++i)
            over[i] = std::min(255u, under[i] * (255 - weight) + over[i] * weight);
        if (bpp == 2) {
            const unsigned int word = (over[0] & 0xF8) << 8 | (over[1] & 0xFC) << 3 | over[2] >> 3;
            t[0] = static_cast<unsigned char>(word);
            t[1] = static_cast<unsigned char>(word >> 8);
        } else {
            for (std::size_t i = 0; i < 3; ++i)
                t[i] = static_cast<unsigned char>(over[i]);
        }
        return bpp;
    }

    /// The rule at 16 and 24 bits, with the accessors that it names.
    static void fnMergeByLines(CqImage& image, CqImage& src, const CRect* given,
                               const CqMergeParam& param, int x, int y) {
        CRect rect(0, 0, static_cast<LONG>(src.Width), static_cast<LONG>(src.Height));
        if (given)
            rect = *given;
        rect.left = std::max<LONG>(rect.left, 0);
        rect.top = std::max<LONG>(rect.top, 0);
        rect.right = static_cast<LONG>(
            std::min({static_cast<std::uint32_t>(rect.right), src.Width, image.Width}));
        rect.bottom = static_cast<LONG>(
            std::min({static_cast<std::uint32_t>(rect.bottom), src.Height, image.Height}));
        CqImageLine srcLine;
        CqImageLine dstLine;
        CqImageLine maskLine;
        const unsigned int bpp = src.BytesPerPixel;
        for (LONG sy = rect.top; sy < rect.bottom; ++sy) {
            src.fnAccessLine(static_cast<unsigned int>(sy), &srcLine, true);
            image.fnAccessLine(static_cast<unsigned int>(sy - rect.top + y), &dstLine, false);
            const unsigned char* s =
                srcLine.LineBuffer + static_cast<unsigned int>(rect.left) * bpp;
            unsigned char* t = dstLine.LineBuffer + static_cast<unsigned int>(x) * bpp;
            const unsigned char* weights = nullptr;
            if (param.m_eType == MERGE_MASK) {
                const CRect& bound = param.m_pMask->m_rectBound;
                param.m_pMask->fnAccessLine(static_cast<unsigned int>(sy - bound.top), &maskLine,
                                            true);
                weights = maskLine.LineBuffer + (rect.left - bound.left);
            }
            for (LONG sx = rect.left; sx < rect.right; ++sx, s += bpp)
                t += fnMergePixel(s, t, bpp, param, weights ? weights++ : nullptr);
        }
    }

    /// A source whose pixels are often the key's, and a rule for it.
    CqMergeParam fnRandomParam(CqImage& src, CqMask& mask) {
        if (m_Random() % 3 == 0)
            return CqMergeParam(static_cast<MERGE_TYPE>(2 + m_Random() % 3), m_Random(), nullptr);
        if (m_Random() % 2)
            return CqMergeParam(mask);
        const unsigned long key = src.BitCount == 16 ? m_Random() & 0xFFF800F8u : m_Random();
        const auto byte = [](unsigned long v) { return static_cast<unsigned char>(v); };
        Rows rows = fnRows(src);
        for (Bytes& row : rows)
            for (std::size_t i = 0; i + 2 < row.size(); i += src.BytesPerPixel) {
                if (m_Random() % 2)
                    continue;
                row[i] = byte(key);
                row[i + 1] = src.BitCount == 16 ? byte(key >> 19 & 31) : byte(key >> 8);
                if (src.BitCount == 24)
                    row[i + 2] = byte(key >> 16);
            }
        fnSetRows(src, rows);
        return CqMergeParam(key);
    }

    void fnSetWeights(CqMask& mask) {
        static constexpr unsigned char kOften[] = {0, 255, 1, 254};
        for (std::uint32_t i = 0; i < mask.TileMap->BufferSize; ++i)
            mask.TileMap->PixelBuffer[i] =
                m_Random() % 2 ? kOften[m_Random() % 4] : static_cast<unsigned char>(m_Random());
    }

    /// A mask that covers more than the rectangle.
    std::unique_ptr<CqMask> fnCover(const CRect& rect) {
        const int left = rect.left - fnBelow(m_Random, 140);
        const int top = rect.top - fnBelow(m_Random, 140);
        auto mask = std::make_unique<CqMask>(
            static_cast<unsigned int>(rect.right - left) + m_Random() % 20,
            static_cast<unsigned int>(rect.bottom - top) + m_Random() % 20);
        mask->fnSetPos(CPoint(left, top));
        fnSetWeights(*mask);
        return mask;
    }
};

TEST_F(MergeTest, EveryRuleMatchesLineAccessors) {
    for (int round = 0; round < 400; ++round) {
        const unsigned int bits = m_Random() % 2 ? 16 : 24;
        CqImage src(fnRandomSide(m_Random), fnRandomSide(m_Random), bits, nullptr, 0);
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), bits, nullptr, 0);
        fnSetRandom(src, m_Random);
        fnSetRandom(image, m_Random);
        CRect rect = fnRandomRect(m_Random, src);
        rect.right = std::min(rect.right, static_cast<LONG>(image.Width));
        rect.bottom = std::min(rect.bottom, static_cast<LONG>(image.Height));
        if (rect.IsRectEmpty())
            continue;
        const std::unique_ptr<CqMask> mask = fnCover(rect);
        const CqMergeParam param = fnRandomParam(src, *mask);
        const int x = fnBelow(m_Random, image.Width - static_cast<unsigned int>(rect.Width()) + 1);
        const int y =
            fnBelow(m_Random, image.Height - static_cast<unsigned int>(rect.Height()) + 1);
        CqImage expected(image);
        image.fnMerge(src, &rect, param, x, y);
        fnMergeByLines(expected, src, &rect, param, x, y);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected)))
            << bits << " bits, type " << param.m_eType;
    }
}

TEST_F(MergeTest, WithinOneImageTheOrderOfRowsMatters) {
    for (int round = 0; round < 300; ++round) {
        const unsigned int bits = m_Random() % 2 ? 16 : 24;
        CqImage image(1 + m_Random() % 150, 1 + m_Random() % 150, bits, nullptr, 0);
        fnSetRandom(image, m_Random);
        const CRect rect = fnRandomRect(m_Random, image);
        const std::unique_ptr<CqMask> mask = fnCover(rect);
        const CqMergeParam param = fnRandomParam(image, *mask);
        CqImage expected(image);
        const int x = fnBelow(m_Random, image.Width - static_cast<unsigned int>(rect.Width()) + 1);
        const int last = static_cast<int>(image.Height) - rect.Height();
        const int y = std::clamp<int>(rect.top + fnBelow(m_Random, 7) - 3, 0, last);
        image.fnMerge(image, &rect, param, x, y);
        fnMergeByLines(expected, expected, &rect, param, x, y);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected))) << "down by " << y - rect.top;
    }
}

TEST_F(MergeTest, TheSourcesPixelSizeAppliesToATargetOfAnotherDepth) {
    for (int round = 0; round < 200; ++round) {
        const unsigned int bits = m_Random() % 2 ? 16 : 24;
        CqImage src(1 + m_Random() % 40, 1 + m_Random() % 40, bits, nullptr, 0);
        CqImage image(400, 60, fnRandomBits(m_Random), nullptr, 0);
        fnSetRandom(src, m_Random);
        fnSetRandom(image, m_Random);
        const CRect rect = fnRandomRect(m_Random, src);
        const std::unique_ptr<CqMask> mask = fnCover(rect);
        const CqMergeParam param = fnRandomParam(src, *mask);
        CqImage expected(image);
        const int x = fnBelow(m_Random, image.RowBytes / src.BytesPerPixel - 40);
        const int y = fnBelow(m_Random, 20);
        image.fnMerge(src, &rect, param, x, y);
        fnMergeByLines(expected, src, &rect, param, x, y);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected)))
            << bits << " on " << image.BitCount;
    }
}

TEST_F(MergeTest, AMaskOf0KeepsTheTarget255CopiesAnd1Multiplies) {
    CqImage src(4, 1, 24, nullptr, 0);
    CqImage image(4, 1, 24, nullptr, 0);
    CqMask mask(4, 1);
    fnSetRows(src, {{9, 8, 7, 9, 8, 7, 9, 0, 7, 200, 100, 0}});
    fnSetRows(image, {{1, 2, 3, 1, 2, 3, 1, 0, 0, 0, 0, 0}});
    fnSetRows(mask, {{0, 255, 1, 2}});
    image.fnMerge(src, nullptr, CqMergeParam(mask), 0, 0);
    // 1 x 254 + 9 is 263, clamped to 255; 0 x 254 + 7 is 7; 200 x 2 is 400, 100 x 2 is 200.
    EXPECT_EQ(fnRows(image)[0], (Bytes{1, 2, 3, 9, 8, 7, 255, 0, 7, 255, 200, 0}));
}

TEST_F(MergeTest, AKeyKeepsTheTargetWhereTheSourceHasItsColour) {
    CqImage src(3, 1, 24, nullptr, 0);
    CqImage image(3, 1, 24, nullptr, 0);
    fnSetRows(src, {{0x33, 0x22, 0x11, 0x33, 0x22, 0x10, 5, 6, 7}});
    fnSetAll(image, 0);
    image.fnMerge(src, nullptr, CqMergeParam(0xFF112233ul), 0, 0); // the top byte is ignored
    EXPECT_EQ(fnRows(image)[0], (Bytes{0, 0, 0, 0x33, 0x22, 0x10, 5, 6, 7}));
}

TEST_F(MergeTest, A16BitMergeDropsGreenAndStoresTheLowByteFirst) {
    CqImage src(1, 1, 16, nullptr, 0);
    CqImage image(1, 1, 16, nullptr, 0);
    fnSetRows(src, {{0xAF, 0xEB}}); // red 0xA8, blue 0x58
    fnSetAll(image, 0xFF);
    image.fnMerge(src, nullptr, CqMergeParam(MERGE_ALPHA, 0, nullptr), 0, 0);
    EXPECT_EQ(fnRows(image)[0], (Bytes{0x0B, 0xA8}));
}

TEST_F(MergeTest, AKeyWithGreenNeverMatchesAt16Bits) {
    CqImage src(1, 1, 16, nullptr, 0);
    CqImage image(1, 1, 16, nullptr, 0);
    fnSetRows(src, {{0xFF, 0xFF}});
    fnSetAll(image, 0);
    image.fnMerge(src, nullptr, CqMergeParam(0xF8FCF8ul), 0, 0);
    EXPECT_EQ(fnRows(image)[0], (Bytes{0x1F, 0xF8}));
    fnSetAll(image, 0);
    image.fnMerge(src, nullptr, CqMergeParam(0xF800F8ul), 0, 0);
    EXPECT_EQ(fnRows(image)[0], (Bytes{0, 0}));
}

TEST_F(MergeTest, Sources4And8And32BitsDeepChangeNothing) {
    CqMask mask(20, 20);
    fnSetAll(mask, 255);
    for (const unsigned int bits : {4u, 8u, 32u}) {
        CqImage src(20, 20, bits, nullptr, 0);
        CqImage image(20, 20, bits, nullptr, 0);
        fnSetRandom(src, m_Random);
        fnSetRandom(image, m_Random);
        const Rows before = fnRows(image);
        image.fnMerge(src, nullptr, CqMergeParam(0ul), 0, 0);
        image.fnMerge(src, nullptr, CqMergeParam(mask), 0, 0);
        image.fnMerge(src, nullptr, CqMergeParam(MERGE_ALPHA, 0, nullptr), 0, 0);
        EXPECT_TRUE(fnSameRows(fnRows(image), before)) << bits << " bits";
    }
}

TEST_F(MergeTest, AMaskIsInTheSourcesCoordinates) {
    CqImage src(4, 3, 24, nullptr, 0);
    CqImage image(4, 3, 24, nullptr, 0);
    fnSetAll(src, 7);
    fnSetAll(image, 0);
    CqMask mask(4, 3);
    fnSetRows(mask, {{0, 0, 0, 0}, {0, 0, 255, 0}, {0, 0, 0, 0}});
    mask.fnSetPos(CPoint(-1, -1)); // its set pixel lies on (1, 0)
    const CRect rect(1, 0, 3, 2);
    image.fnMerge(src, &rect, CqMergeParam(mask), 2, 1);
    Rows expected(3, Bytes(12, 0));
    std::fill_n(expected[1].begin() + 6, 3, static_cast<unsigned char>(7));
    EXPECT_EQ(fnRows(image), expected);
}

TEST_F(MergeTest, TheTargetsSizeClipsTheSourceWhereverItLands) {
    CqImage src(10, 10, 24, nullptr, 0);
    CqImage image(6, 5, 24, nullptr, 0);
    fnSetAll(src, 7);
    fnSetAll(image, 0);
    const CRect rect(4, 3, 10, 10);
    image.fnMerge(src, &rect, CqMergeParam(0x123456ul), 0, 0); // 2 x 2 pixels, not 6 x 5
    Rows expected(5, Bytes(18, 0));
    for (std::size_t y = 0; y < 2; ++y)
        std::fill_n(expected[y].begin(), 6, static_cast<unsigned char>(7));
    EXPECT_EQ(fnRows(image), expected);
}

TEST_F(MergeTest, PixelsPlacedOutsideTheTargetAreSkipped) {
    for (int round = 0; round < 200; ++round) {
        const unsigned int bytes = 2 + m_Random() % 2;
        CqImage src(1 + m_Random() % 20, 1 + m_Random() % 20, 8 * bytes, nullptr, 0);
        CqImage image(1 + m_Random() % 20, 1 + m_Random() % 20, 8 * bytes, nullptr, 0);
        fnSetRandom(src, m_Random);
        fnSetRandom(image, m_Random);
        CqMask mask(1 + m_Random() % 20, 1 + m_Random() % 20);
        mask.fnSetPos(CPoint(fnBelow(m_Random, 30) - 15, fnBelow(m_Random, 30) - 15));
        fnSetWeights(mask);
        const CqMergeParam param = fnRandomParam(src, mask);
        const auto coordinate = [this] { return fnBelow(m_Random, 50) - 15; };
        const CRect rect(coordinate(), coordinate(), coordinate(), coordinate());
        const int x = coordinate();
        const int y = coordinate();
        Rows expected = fnRows(image);
        const Rows from = fnRows(src);
        const Rows weights = fnRows(mask);
        const LONG left = std::max<LONG>(rect.left, 0);
        const LONG top = std::max<LONG>(rect.top, 0);
        const LONG right =
            std::min<LONG>(rect.right, static_cast<LONG>(std::min(src.Width, image.Width)));
        const LONG bottom =
            std::min<LONG>(rect.bottom, static_cast<LONG>(std::min(src.Height, image.Height)));
        for (LONG sy = top; sy < bottom; ++sy)
            for (LONG sx = left; sx < right; ++sx) {
                const LONG dx = sx - left + x;
                const LONG dy = sy - top + y;
                if (dx < 0 || dy < 0 || dx >= static_cast<LONG>(image.Width) ||
                    dy >= static_cast<LONG>(image.Height))
                    continue;
                const CPoint at(sx - mask.m_rectBound.left, sy - mask.m_rectBound.top);
                const bool covered = at.x >= 0 && at.y >= 0 && at.x < mask.m_rectBound.Width() &&
                                     at.y < mask.m_rectBound.Height();
                if (param.m_eType == MERGE_MASK && !covered)
                    continue;
                fnMergePixel(
                    &from[static_cast<std::size_t>(sy)][static_cast<std::size_t>(sx) * bytes],
                    &expected[static_cast<std::size_t>(dy)][static_cast<std::size_t>(dx) * bytes],
                    bytes, param,
                    covered
                        ? &weights[static_cast<std::size_t>(at.y)][static_cast<std::size_t>(at.x)]
                        : nullptr);
            }
        image.fnMerge(src, &rect, param, x, y);
        ASSERT_TRUE(fnSameRows(fnRows(image), expected)) << "type " << param.m_eType;
    }
}

TEST_F(MergeTest, DistantPositionsInvertedRectanglesAndMissingMasksAreHarmless) {
    constexpr LONG kMax = 2147483647;
    const CRect rects[] = {
        {-kMax - 1, -kMax - 1, kMax, kMax}, {kMax, kMax, -kMax - 1, -kMax - 1}, {3, 3, 3, 9}};
    CqMask none;
    CqMask remote(9, 9);
    fnSetAll(remote, 255);
    CqImage src(9, 9, 24, nullptr, 0);
    CqImage image(9, 9, 24, nullptr, 0);
    fnSetAll(src, 1);
    fnSetAll(image, 2);
    for (const CRect& rect : rects)
        for (const LONG place : std::initializer_list<LONG>{-kMax - 1, -9, 9, kMax}) {
            remote.fnSetPos(CPoint(place, place));
            image.fnMerge(src, &rect, CqMergeParam(remote), 0, 0);
            image.fnMerge(src, &rect, CqMergeParam(0ul), place, place);
            image.fnMerge(src, &rect, CqMergeParam(none), 0, 0);
            image.fnMerge(src, &rect, CqMergeParam(MERGE_MASK, 0, nullptr), 0, 0);
        }
    EXPECT_EQ(fnRows(image), Rows(9, Bytes(27, 2)));
}

TEST_F(MergeTest, AMaskOfAnotherDepthIsReadByItsBytes) {
    CqImage src(4, 1, 24, nullptr, 0);
    CqImage image(4, 1, 24, nullptr, 0);
    fnSetAll(src, 7);
    fnSetAll(image, 0);
    CqMask mask(2, 1);
    mask.fnConvert(24, false, nullptr);
    fnSetRows(mask, {{255, 0, 255, 0, 255, 255}});
    image.fnMerge(src, nullptr, CqMergeParam(mask), 0, 0);
    EXPECT_EQ(fnRows(image)[0], (Bytes{7, 7, 7, 0, 0, 0, 7, 7, 7, 0, 0, 0}));
}

TEST_F(MergeTest, AColourOrAMaskAloneConvertsToAParameter) {
    CqImage src(2, 1, 24, nullptr, 0);
    CqImage image(2, 1, 24, nullptr, 0);
    CqMask mask(2, 1);
    fnSetRows(src, {{1, 2, 3, 4, 5, 6}});
    fnSetRows(mask, {{255, 0}});
    fnSetAll(image, 0);
    image.fnMerge(src, nullptr, 0x030201ul, 0, 0);
    EXPECT_EQ(fnRows(image)[0], (Bytes{0, 0, 0, 4, 5, 6}));
    fnSetAll(image, 0);
    image.fnMerge(src, nullptr, mask, 0, 0);
    EXPECT_EQ(fnRows(image)[0], (Bytes{1, 2, 3, 0, 0, 0}));
}

/// The mask is read row by row, after the rows above have been merged.
TEST_F(MergeTest, AMaskMayBeTheTargetItself) {
    for (int round = 0; round < 200; ++round) {
        const unsigned int bits = m_Random() % 2 ? 16 : 24;
        CqImage src(1 + m_Random() % 30, 1 + m_Random() % 60, bits, nullptr, 0);
        fnSetRandom(src, m_Random);
        CqMask image(200, 140);
        CqMask expected(200, 140);
        if (const unsigned int depth = fnRandomBits(m_Random); depth != 8)
            for (CqMask* mask : {&image, &expected})
                mask->fnConvert(depth, false, nullptr);
        fnSetWeights(image);
        fnSetRows(expected, fnRows(image));
        const CRect rect = fnRandomRect(m_Random, src);
        const CPoint place(rect.left - fnBelow(m_Random, 20), rect.top - fnBelow(m_Random, 20));
        image.fnSetPos(place);
        expected.fnSetPos(place);
        const int x = fnBelow(m_Random, image.RowBytes / src.BytesPerPixel - src.Width + 1);
        const int y = fnBelow(m_Random, 60);
        static_cast<CqImage&>(image).fnMerge(src, &rect, CqMergeParam(image), x, y);
        fnMergeByLines(expected, src, &rect, CqMergeParam(expected), x, y);
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(expected)))
            << bits << " on " << image.BitCount;
    }
}

TEST_F(MergeTest, EachConstructorOfTheParameterSetsWhatItIsGiven) {
    CqMask mask;
    const CqMergeParam key(0x112233ul);
    EXPECT_EQ(key.m_eType, MERGE_KEY);
    EXPECT_EQ(key.m_nKey, 0x112233ul);
    EXPECT_EQ(key.m_pMask, nullptr);
    const CqMergeParam masked(mask);
    EXPECT_EQ(masked.m_eType, MERGE_MASK);
    EXPECT_EQ(masked.m_pMask, &mask);
    const CqMergeParam all(MERGE_ALPHA, 5, &mask);
    EXPECT_EQ(all.m_eType, MERGE_ALPHA);
    EXPECT_EQ(all.m_nKey, 5ul);
    EXPECT_EQ(all.m_pMask, &mask);
}

/// A merge allocates only three row buffers, all for its first row.
TEST_F(MergeTest, WithoutMemoryForARowNothingIsMerged) {
    for (const unsigned int bits : {16u, 24u, 32u}) { // of the target
        CqImage image(60, 40, bits, nullptr, 0);
        CqImage other(60, 40, 24, nullptr, 0);
        fnSetRandom(image, m_Random);
        fnSetRandom(other, m_Random);
        CqImage& src = bits == 32 ? other : image; // of another depth, or the target itself
        const CRect rect(0, 0, 20, 10);
        const std::unique_ptr<CqMask> mask = fnCover(rect);
        const Rows before = fnRows(image);
        CqImage expected(image);
        CqImage& expectedSrc = bits == 32 ? other : expected;
        fnMergeByLines(expected, expectedSrc, &rect, CqMergeParam(*mask), 5, 3);
        const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
            const bool raised = fnRaisesMemoryException(
                [&] { image.fnMerge(src, &rect, CqMergeParam(*mask), 5, 3); });
            failure.fnEnd();
            EXPECT_EQ(raised, failure.fnHappened());
            EXPECT_TRUE(fnSameRows(fnRows(image), raised ? before : fnRows(expected)));
        });
        EXPECT_EQ(failures, 3u) << bits << " bits";
    }
}

TEST_F(MergeTest, AMergeFromTileToTileTakesNoMemory) {
    CqImage src(200, 140, 24, nullptr, 0);
    CqImage image(200, 140, 24, nullptr, 0);
    CqMask mask(200, 140);
    const std::size_t before = CqAllocationFailure::fnCount();
    image.fnMerge(src, nullptr, CqMergeParam(mask), 3, 4);
    image.fnMerge(src, nullptr, CqMergeParam(0x123456ul), 3, 4);
    EXPECT_EQ(CqAllocationFailure::fnCount(), before);
}

} // namespace
} // namespace q32::test
