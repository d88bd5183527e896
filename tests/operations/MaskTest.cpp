#include "q32Base/image/CqMask.h"
#include "tests/operations/PlainImage.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

namespace q32::test {
namespace {

class MaskTest : public AttachedTest {
protected:
    Random m_Random{5401};

    static void fnPlace(CqMask& mask, LONG x, LONG y, unsigned int width, unsigned int height,
                        unsigned char weight) {
        mask.fnAlloc(width, height);
        mask.fnSetPos(CPoint(x, y));
        fnSetAll(mask, weight);
    }

    using Weights = std::map<std::pair<LONG, LONG>, unsigned char>;

    static Weights fnWeights(const CqMask& mask) {
        Weights weights;
        const Rows rows = fnRows(mask);
        for (std::size_t y = 0; y < rows.size(); ++y)
            for (std::size_t x = 0; x < rows[y].size(); ++x)
                weights[{mask.m_rectBound.left + static_cast<LONG>(x),
                         mask.m_rectBound.top + static_cast<LONG>(y)}] = rows[y][x];
        return weights;
    }

    static unsigned char fnAt(const Weights& weights, LONG x, LONG y) {
        const auto at = weights.find({x, y});
        return at == weights.end() ? 0 : at->second;
    }

    static unsigned char fnSum(unsigned int a, unsigned int b) {
        const unsigned int sum = (a + b) & 0xFF;
        const bool overflow = (a & 0x80) == (b & 0x80) && (a & 0x80) != (sum & 0x80);
        return overflow ? 255 : static_cast<unsigned char>(sum);
    }

    static CRect fnRestOf(const CRect& a, const CRect& i) {
        CRect r = a;
        if (i.left == a.left && i.right == a.right && i.top == a.top)
            r.top = i.bottom;
        if (i.left == a.left && i.right == a.right && i.bottom == a.bottom)
            r.bottom = i.top;
        if (i.top == a.top && i.bottom == a.bottom && i.left == a.left)
            r.left = i.right;
        if (i.top == a.top && i.bottom == a.bottom && i.right == a.right)
            r.right = i.left;
        return r;
    }
};

TEST_F(MaskTest, IsAnImageOfASeparateClass) {
    CqMask mask;
    EXPECT_EQ(mask.GetRuntimeClass(), &CqMask::classCqMask);
    EXPECT_STREQ(CqMask::classCqMask.m_lpszClassName, "CqMask");
    EXPECT_TRUE(mask.IsKindOf(&CqImage::classCqImage));
    EXPECT_EQ(mask.m_rectBound, CRect(0, 0, 0, 0));
    EXPECT_EQ(mask.TileMap, nullptr);
}

TEST_F(MaskTest, AllocationMakesAGreyImageOf8BitsAtTheOrigin) {
    CqMask mask(130, 7);
    EXPECT_EQ(mask.BitCount, 8u);
    EXPECT_EQ(mask.PaletteCount, 256u);
    EXPECT_TRUE(mask.fnIsGrayScale());
    EXPECT_EQ(mask.m_rectBound, CRect(0, 0, 130, 7));
    mask.fnSetPos(CPoint(5, 6));
    mask.fnAlloc(130, 7); // the current size: keeps the bitmap, resets the position
    EXPECT_EQ(mask.m_rectBound, CRect(0, 0, 130, 7));
}

TEST_F(MaskTest, MovingDoesNotTouchPixels) {
    CqMask mask;
    fnPlace(mask, 0, 0, 3, 2, 77);
    mask.fnSetPos(CPoint(-5, 9));
    EXPECT_EQ(mask.m_rectBound, CRect(-5, 9, -2, 11));
    mask.fnOffsetPos(2, -3);
    EXPECT_EQ(mask.m_rectBound, CRect(-3, 6, 0, 8));
    mask.fnOffsetPos(CPoint(10, 1));
    EXPECT_EQ(mask.m_rectBound, CRect(7, 7, 10, 9));
    EXPECT_EQ(fnRows(mask), Rows(2, Bytes(3, 77)));
}

TEST_F(MaskTest, ACopyTakesBitmapPositionTitleAndResolutions) {
    CqMask mask;
    fnPlace(mask, 4, 5, 200, 130, 0);
    fnSetRandom(mask, m_Random);
    mask.Title = "edge";
    mask.TitleFlag = 9;
    mask.DpiX = 300;
    mask.DpiY = 600;
    mask.FioPlugin = 3;
    CqMask copy(mask);
    EXPECT_EQ(copy.m_rectBound, mask.m_rectBound);
    EXPECT_TRUE(fnSameRows(fnRows(copy), fnRows(mask)));
    EXPECT_TRUE(copy.fnIsGrayScale());
    EXPECT_TRUE(copy.Title == "edge");
    EXPECT_EQ(copy.TitleFlag, 9u);
    EXPECT_EQ(copy.DpiX, 300);
    EXPECT_EQ(copy.DpiY, 600);
    EXPECT_EQ(copy.FioPlugin, 0xFFFFFFFFu);
}

TEST_F(MaskTest, AnAssignmentFromAMaskWithoutTitleKeepsTheTitle) {
    CqMask mask(2, 2);
    fnSetAll(mask, 1);
    CqMask other;
    other.Title = "kept";
    other = mask;
    EXPECT_TRUE(other.Title == "kept");
}

TEST_F(MaskTest, ACopyOfAMaskWithoutBitmapHasNone) {
    CqMask empty;
    CqMask copy(empty);
    EXPECT_EQ(copy.TileMap, nullptr);
    CqMask full(3, 3);
    full = empty;
    EXPECT_EQ(full.TileMap, nullptr);
    EXPECT_EQ(full.m_rectBound, CRect(0, 0, 0, 0));
}

/// The size of the freed bitmap still applies, and gives a rectangle without pixels.
TEST_F(MaskTest, AMaskWithoutItsBitmapIsPlacedAsIfItWereBlack) {
    CqMask own(4, 3);
    CqMask empty;
    own = empty;
    own.fnSetPos(CPoint(2, 1));
    EXPECT_EQ(own.m_rectBound, CRect(2, 1, 6, 4));
    CqMask copy(own);
    EXPECT_EQ(copy.TileMap, nullptr);
    EXPECT_EQ(copy.m_rectBound, own.m_rectBound);
    CqMask other;
    fnPlace(other, 5, 3, 2, 2, 9);
    other -= own; // nothing to subtract
    EXPECT_EQ(fnRows(other), Rows(2, Bytes(2, 9)));
    own += other;
    EXPECT_EQ(own.m_rectBound, CRect(2, 1, 7, 5));
    EXPECT_EQ(fnRows(own),
              (Rows{{0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 0, 9, 9}, {0, 0, 0, 9, 9}}));
}

TEST_F(MaskTest, SubtractingAPlacedMaskWithoutBitmapFollowsTheRectangles) {
    CqMask own;
    CqMask other;
    own.m_rectBound = CRect(0, 0, 4, 3);
    fnPlace(other, 0, 0, 4, 1, 9);
    own -= other; // trims its top row
    EXPECT_EQ(own.m_rectBound, CRect(0, 1, 4, 3));
    EXPECT_EQ(fnRows(own), Rows(2, Bytes(4, 0)));
    CqMask bare;
    bare.m_rectBound = CRect(1, 0, 3, 1);
    bare -= other; // covered completely
    EXPECT_EQ(bare.m_rectBound, CRect(0, 0, 0, 0));
    EXPECT_EQ(bare.TileMap, nullptr);
}

TEST_F(MaskTest, AMaskAssignedToItselfKeepsAllButItsPixels) {
    CqMask mask;
    fnPlace(mask, 4, 5, 200, 130, 77);
    mask.Title = "edge";
    mask.DpiX = 300;
    CqMask& same = mask;
    mask = same;
    EXPECT_NE(fnRows(mask)[129], Bytes(200, 77)); // a new block
    EXPECT_EQ(mask.Width, 200u);
    EXPECT_EQ(mask.Height, 130u);
    EXPECT_EQ(mask.m_rectBound, CRect(4, 5, 204, 135));
    EXPECT_TRUE(mask.Title == "edge");
    EXPECT_EQ(mask.DpiX, 300);
    CqMask none;
    CqMask& nothing = none;
    none = nothing;
    EXPECT_EQ(none.TileMap, nullptr);
}

TEST_F(MaskTest, ACopyIsGreyWhateverTheDepthOfTheSource) {
    for (const unsigned int bits : {4u, 16u, 24u, 32u}) {
        CqMask odd(200, 140);
        odd.fnConvert(bits, false, nullptr);
        fnSetAll(odd, 0x55);
        CqMask copy(odd);
        EXPECT_EQ(copy.BitCount, 8u);
        EXPECT_EQ(fnRows(copy), Rows(140, Bytes(200, bits == 4 ? 0 : 0x55)));
        copy += odd; // not a grey mask: nothing happens
        odd += copy;
        EXPECT_EQ(copy.m_rectBound, CRect(0, 0, 200, 140));
        EXPECT_EQ(odd.BitCount, bits);
    }
}

TEST_F(MaskTest, SumsThatOverflowAsSignedBytesAre255) {
    const unsigned char cases[][3] = {{100, 100, 255}, {128, 128, 255}, {200, 100, 44},
                                      {127, 1, 255},   {255, 255, 254}, {255, 1, 0},
                                      {0, 200, 200},   {60, 67, 127},   {60, 68, 255}};
    for (const auto& [a, b, sum] : cases) {
        CqMask own;
        CqMask other;
        fnPlace(own, 0, 0, 40, 2, a);
        fnPlace(other, 0, 0, 40, 2, b);
        own += other;
        EXPECT_EQ(fnRows(own), Rows(2, Bytes(40, sum))) << int{a} << " + " << int{b};
    }
}

TEST_F(MaskTest, AddingAnEmptyRectangleDoesNothing) {
    CqMask own;
    CqMask other;
    fnPlace(own, 1, 1, 3, 3, 9);
    fnPlace(other, 1, 1, 3, 3, 9);
    other.m_rectBound.SetRectEmpty();
    const CqTileMap* const map = own.TileMap;
    own += other;
    own -= other;
    CqMask none;
    own += none;
    none.m_rectBound = CRect(0, 0, 5, 5); // a position without a bitmap
    own += none;
    EXPECT_EQ(own.TileMap, map);
    EXPECT_EQ(fnRows(own), Rows(3, Bytes(3, 9)));
}

TEST_F(MaskTest, AddingToAnEmptyMaskCopiesTheOther) {
    CqMask own;
    CqMask other;
    fnPlace(other, -7, 3, 150, 4, 0);
    fnSetRandom(other, m_Random);
    own += other;
    EXPECT_EQ(own.m_rectBound, other.m_rectBound);
    EXPECT_TRUE(fnSameRows(fnRows(own), fnRows(other)));
}

TEST_F(MaskTest, AnEmptiedMaskContributesNothingToASum) {
    CqMask own;
    CqMask other;
    fnPlace(own, 0, 0, 5, 5, 99);
    CqMask& same = own;
    own -= same;
    EXPECT_EQ(own.m_rectBound, CRect(0, 0, 0, 0));
    EXPECT_EQ(fnRows(own), Rows(5, Bytes(5, 99))); // the bitmap stays
    fnPlace(other, 10, 10, 2, 2, 3);
    own += other;
    EXPECT_EQ(own.m_rectBound, CRect(10, 10, 12, 12));
    EXPECT_EQ(fnRows(own), Rows(2, Bytes(2, 3)));
}

TEST_F(MaskTest, SubtractingACoverEmptiesTheRectangleAndKeepsTheBitmap) {
    CqMask own;
    CqMask other;
    fnPlace(own, 5, 5, 4, 4, 200);
    fnPlace(other, 0, 0, 20, 20, 1);
    own -= other;
    EXPECT_EQ(own.m_rectBound, CRect(0, 0, 0, 0));
    EXPECT_EQ(fnRows(own), Rows(4, Bytes(4, 200)));
}

TEST_F(MaskTest, SubtractingABandAcrossTheMiddleKeepsTheRectangle) {
    CqMask own;
    CqMask other;
    fnPlace(own, 0, 0, 4, 5, 200);
    fnPlace(other, -3, 2, 10, 1, 255);
    own -= other;
    EXPECT_EQ(own.m_rectBound, CRect(0, 0, 4, 5));
    Rows expected(5, Bytes(4, 200));
    expected[2] = Bytes(4, 0);
    EXPECT_EQ(fnRows(own), expected);
}

TEST_F(MaskTest, SubtractingAFullStripTrimsTheRectangleWhateverItsWeight) {
    const CRect strips[] = {{-5, -5, 20, 3}, {0, 4, 10, 12}, {-2, 0, 3, 8}, {7, -1, 30, 9}};
    const CRect rests[] = {{0, 3, 10, 8}, {0, 0, 10, 4}, {3, 0, 10, 8}, {0, 0, 7, 8}};
    for (std::size_t i = 0; i < 4; ++i) {
        CqMask own;
        CqMask other;
        fnPlace(own, 0, 0, 10, 8, 200);
        fnPlace(other, strips[i].left, strips[i].top, static_cast<unsigned int>(strips[i].Width()),
                static_cast<unsigned int>(strips[i].Height()), 1);
        own -= other;
        EXPECT_EQ(own.m_rectBound, rests[i]);
        EXPECT_EQ(fnRows(own), Rows(static_cast<std::size_t>(rests[i].Height()),
                                    Bytes(static_cast<std::size_t>(rests[i].Width()), 200)));
    }
}

TEST_F(MaskTest, AddingDisjointMasksGivesTheUnionWithBlackBetween) {
    CqMask own;
    CqMask other;
    fnPlace(own, 0, 0, 2, 1, 10);
    fnPlace(other, 4, 2, 1, 1, 20);
    own += other;
    EXPECT_EQ(own.m_rectBound, CRect(0, 0, 5, 3));
    EXPECT_EQ(fnRows(own), (Rows{{10, 10, 0, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 20}}));
}

TEST_F(MaskTest, SumsAndDifferencesFollowTheRulePixelByPixel) {
    for (int round = 0; round < 300; ++round) {
        CqMask own;
        CqMask other;
        const bool large = round % 10 == 0;
        const unsigned int limit = large ? 290 : 12;
        fnPlace(own, fnBelow(m_Random, 10) - 5, fnBelow(m_Random, 10) - 5, 1 + m_Random() % limit,
                1 + m_Random() % limit, 0);
        fnPlace(other, fnBelow(m_Random, 16) - 8, fnBelow(m_Random, 16) - 8, 1 + m_Random() % limit,
                1 + m_Random() % limit, 0);
        fnSetRandom(own, m_Random);
        fnSetRandom(other, m_Random);
        const Weights a = fnWeights(own);
        const Weights b = fnWeights(other);
        const CRect rectA = own.m_rectBound;
        const CRect rectB = other.m_rectBound;

        CqMask sum = own + other;
        const CRect around(std::min(rectA.left, rectB.left), std::min(rectA.top, rectB.top),
                           std::max(rectA.right, rectB.right),
                           std::max(rectA.bottom, rectB.bottom));
        ASSERT_EQ(sum.m_rectBound, around);
        for (const auto& [at, weight] : fnWeights(sum))
            ASSERT_EQ(weight, fnSum(fnAt(a, at.first, at.second), fnAt(b, at.first, at.second)));

        CqMask difference = own - other;
        CRect shared;
        if (!shared.IntersectRect(rectA, rectB)) {
            ASSERT_EQ(difference.m_rectBound, rectA);
        } else if (shared == rectA) {
            ASSERT_EQ(difference.m_rectBound, CRect(0, 0, 0, 0));
            continue;
        } else {
            ASSERT_EQ(difference.m_rectBound, fnRestOf(rectA, shared));
        }
        for (const auto& [at, weight] : fnWeights(difference)) {
            const int left = fnAt(a, at.first, at.second) - fnAt(b, at.first, at.second);
            ASSERT_EQ(weight, std::max(left, 0));
        }
        ASSERT_EQ(fnWeights(own), a); // the operands stay
        ASSERT_EQ(fnWeights(other), b);
    }
}

TEST_F(MaskTest, AMaskAddedToItselfIsDoubled) {
    CqMask mask;
    fnPlace(mask, 3, 3, 200, 3, 30);
    CqMask& result = mask += mask;
    EXPECT_EQ(&result, &mask);
    EXPECT_EQ(fnRows(mask), Rows(3, Bytes(200, 60)));
}

TEST_F(MaskTest, ARectangleLargerThanItsBitmapReadsNothingBeyondIt) {
    CqMask own;
    CqMask other;
    fnPlace(own, 0, 0, 2, 2, 1);
    fnPlace(other, 0, 0, 2, 2, 2);
    own.m_rectBound = CRect(0, 0, 4, 3);
    other.m_rectBound = CRect(1, 1, 6, 6);
    own += other;
    EXPECT_EQ(own.m_rectBound, CRect(0, 0, 6, 6));
    EXPECT_EQ(fnRows(own), (Rows{{1, 1, 0, 0, 0, 0},
                                 {1, 3, 2, 0, 0, 0},
                                 {0, 2, 2, 0, 0, 0},
                                 {0, 0, 0, 0, 0, 0},
                                 {0, 0, 0, 0, 0, 0},
                                 {0, 0, 0, 0, 0, 0}}));
}

TEST_F(MaskTest, AUnionTooLargeForAnImageLeavesTheMaskUnchanged) {
    CqMask own;
    CqMask other;
    fnPlace(own, -2147483647, -2147483647, 2, 2, 1);
    fnPlace(other, 2147483600, 2147483600, 2, 2, 2);
    EXPECT_TRUE(fnRaisesMemoryException([&] { own += other; }));
    EXPECT_EQ(own.m_rectBound.left, -2147483647);
    EXPECT_EQ(fnRows(own), Rows(2, Bytes(2, 1)));
}

TEST_F(MaskTest, AFailureLeavesTheMaskUnchanged) {
    CqMask own;
    CqMask other;
    fnPlace(own, 0, 0, 150, 150, 1);
    fnPlace(other, 100, 100, 150, 150, 2);
    for (unsigned int disk = 0; disk < 4; ++disk) // so that none serves as a fallback
        q32GetVMPolicy()->fnEnableDisk(disk, false);
    const CqTileMap* const map = own.TileMap;
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool raised = fnRaisesMemoryException([&] { own += other; });
        failure.fnEnd();
        EXPECT_EQ(raised, failure.fnHappened());
        if (raised) {
            EXPECT_EQ(own.TileMap, map);
            EXPECT_EQ(own.m_rectBound, CRect(0, 0, 150, 150));
            EXPECT_EQ(fnRows(own), Rows(150, Bytes(150, 1)));
        }
    });
    EXPECT_GT(failures, 2u);
    EXPECT_EQ(own.m_rectBound, CRect(0, 0, 250, 250));
}

TEST_F(MaskTest, ASumOrCopyWithoutMemoryLeavesBothSidesUnchanged) {
    CqMask own;
    CqMask other;
    fnPlace(own, 0, 0, 150, 20, 1);
    fnPlace(other, 100, 10, 150, 20, 2);
    for (unsigned int disk = 0; disk < 4; ++disk)
        q32GetVMPolicy()->fnEnableDisk(disk, false);
    const std::function<void()> works[] = {
        [&] { const CqMask sum = own + other; },
        [&] { const CqMask difference = own - other; },
        [&] { const CqMask copy(own); },
        [&] { own = other; },
    };
    for (const auto& work : works) {
        const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
            const bool raised = fnRaisesMemoryException(work);
            failure.fnEnd();
            EXPECT_EQ(raised, failure.fnHappened());
            if (!raised)
                return;
            EXPECT_EQ(own.m_rectBound, CRect(0, 0, 150, 20));
            EXPECT_EQ(fnRows(own), Rows(20, Bytes(150, 1)));
            EXPECT_EQ(other.m_rectBound, CRect(100, 10, 250, 30));
            EXPECT_EQ(fnRows(other), Rows(20, Bytes(150, 2)));
        });
        EXPECT_GT(failures, 1u);
    }
    EXPECT_EQ(own.m_rectBound, other.m_rectBound); // the last work assigned
    EXPECT_EQ(fnRows(own), Rows(20, Bytes(150, 2)));
}

TEST_F(MaskTest, ALoadedMaskIsAtTheOriginInItsOwnDepth) {
    CqImage picture(5, 3, 24, nullptr, 0);
    fnSetRandom(picture, m_Random);
    const std::unique_ptr<BITMAPINFOHEADER, void (*)(BITMAPINFOHEADER*)> dib(
        picture, [](BITMAPINFOHEADER* h) { delete h; });
    const std::string_view bytes(reinterpret_cast<const char*>(dib.get()), 40 + 16 * 3);
    m_World->m_pResources->fnAdd(m_World->m_pResources->fnGetHostModule(),
                                 CqResourceId(static_cast<std::uint16_t>(2)),
                                 CqResourceId(static_cast<std::uint16_t>(77)), bytes);
    CqMask mask;
    fnPlace(mask, 9, 9, 2, 2, 1);
    mask.fnLoad(77, 8);
    EXPECT_EQ(mask.m_rectBound, CRect(0, 0, 5, 3));
    EXPECT_EQ(mask.BitCount, 24u);
    EXPECT_TRUE(fnSameRows(fnRows(mask), fnRows(picture)));
}

TEST_F(MaskTest, AMaskThatFailsToLoadHasARectangleOfOnePixel) {
    CqMask mask;
    fnPlace(mask, 9, 9, 2, 2, 1);
    EXPECT_TRUE(fnRaisesResourceException([&] { mask.fnLoad(78, 0); }));
    EXPECT_EQ(mask.m_rectBound, CRect(0, 0, 1, 1));
}

} // namespace
} // namespace q32::test
