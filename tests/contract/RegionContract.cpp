#include "tests/contract/ContractBackEnd.h"
#include "tests/support/Random.h"

#include <algorithm>
#include <memory>
#include <tuple>
#include <vector>

namespace {

constexpr LONG kFrom = -20; ///< the reference covers pixels kFrom to kFrom + kSide - 1 on both axes
constexpr LONG kSide = 44;

/// A plain set of pixels.
using Pixels = std::vector<bool>;

std::size_t fnGetIndex(LONG x, LONG y) {
    return static_cast<std::size_t>((y - kFrom) * kSide + x - kFrom);
}

void fnFill(const RECT& rect, Pixels& pixels) {
    for (LONG y = rect.top; y < rect.bottom; ++y)
        for (LONG x = rect.left; x < rect.right; ++x)
            pixels[fnGetIndex(x, y)] = true;
}

Pixels fnCombine(const Pixels& a, const Pixels& b, int mode) {
    Pixels result(a.size());
    for (std::size_t i = 0; i < a.size(); ++i)
        result[i] = mode == RGN_AND    ? a[i] && b[i]
                    : mode == RGN_OR   ? a[i] || b[i]
                    : mode == RGN_XOR  ? a[i] != b[i]
                    : mode == RGN_DIFF ? a[i] && !b[i]
                                       : a[i];
    return result;
}

class RegionContract : public ContractTest {
protected:
    using Region = std::unique_ptr<CqRegionObject>;

    Region fnMake(const RECT& rect) {
        Region region = m_Screen.fnCreateRectRegion(rect);
        EXPECT_NE(region, nullptr);
        return region;
    }
    static std::vector<std::tuple<LONG, LONG, LONG, LONG>> fnGet(const CqRegionObject& region) {
        std::vector<std::tuple<LONG, LONG, LONG, LONG>> rects;
        for (const RECT& rect : region.fnGetRects())
            rects.emplace_back(rect.left, rect.top, rect.right, rect.bottom);
        return rects;
    }
    /// The rectangles cover exactly the pixels, each once, in their order.
    static void fnExpect(const CqRegionObject& region, const Pixels& expected) {
        Pixels covered(expected.size());
        const std::vector<RECT> rects = region.fnGetRects();
        for (std::size_t i = 0; i < rects.size(); ++i) {
            const RECT& rect = rects[i];
            ASSERT_TRUE(rect.left < rect.right && rect.top < rect.bottom);
            ASSERT_TRUE(rect.left >= kFrom && rect.right <= kFrom + kSide && rect.top >= kFrom &&
                        rect.bottom <= kFrom + kSide);
            if (i > 0) {
                const RECT& last = rects[i - 1];
                ASSERT_TRUE(last.bottom <= rect.top ||
                            (last.top == rect.top && last.bottom == rect.bottom &&
                             last.right <= rect.left));
            }
            fnFill(rect, covered);
        }
        ASSERT_EQ(covered, expected);
    }

    CqScreenService& m_Screen = *m_World.m_Platform.m_pScreen;
};

TEST_P(RegionContract, ARectangleIsItself) {
    for (const RECT& rect : {RECT{1, 2, 3, 4}, RECT{-5, -6, -4, -5}, RECT{0, 0, 32767, 32767},
                             RECT{INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}}) {
        const Region region = fnMake(rect);
        EXPECT_EQ(fnGet(*region),
                  (decltype(fnGet(*region)){{rect.left, rect.top, rect.right, rect.bottom}}));
    }
}

TEST_P(RegionContract, EmptyAndInvertedRectanglesAreEmpty) {
    for (const RECT& rect : {RECT{0, 0, 0, 0}, RECT{5, 5, 5, 9}, RECT{5, 5, 9, 5}, RECT{9, 0, 5, 4},
                             RECT{0, 9, 4, 5}, RECT{9, 9, 5, 5}, RECT{INT32_MAX, 0, INT32_MIN, 1}})
        EXPECT_TRUE(fnMake(rect)->fnGetRects().empty());
}

TEST_P(RegionContract, EveryModeOnEmptyRegions) {
    const RECT kSome{1, 1, 4, 3};
    for (const int mode : {RGN_AND, RGN_OR, RGN_XOR, RGN_DIFF, RGN_COPY}) {
        SCOPED_TRACE(mode);
        const Region none = fnMake({});
        const Region some = fnMake(kSome);
        const Region result = fnMake({7, 7, 8, 8});
        EXPECT_TRUE(result->fnCombine(*none, *none, mode));
        EXPECT_TRUE(result->fnGetRects().empty());
        EXPECT_TRUE(result->fnCombine(*some, *none, mode));
        EXPECT_EQ(result->fnGetRects().empty(), mode == RGN_AND);
        EXPECT_TRUE(result->fnCombine(*none, *some, mode));
        EXPECT_EQ(result->fnGetRects().empty(),
                  mode == RGN_AND || mode == RGN_DIFF || mode == RGN_COPY);
    }
}

TEST_P(RegionContract, InvalidModesFailAndChangeNothing) {
    const Region region = fnMake({1, 1, 4, 3});
    const Region other = fnMake({2, 2, 9, 9});
    const auto before = fnGet(*region);
    for (const int mode : {INT32_MIN, -1, 0, RGN_COPY + 1, INT32_MAX}) {
        EXPECT_FALSE(region->fnCombine(*region, *other, mode)) << mode;
        EXPECT_EQ(fnGet(*region), before);
    }
}

TEST_P(RegionContract, ACopyIsIndependentOfItsSource) {
    const Region source = fnMake({0, 0, 5, 5});
    const Region copy = fnMake({});
    const Region hole = fnMake({1, 1, 2, 2});
    ASSERT_TRUE(copy->fnCombine(*source, *hole, RGN_COPY));
    const auto before = fnGet(*copy);
    ASSERT_TRUE(source->fnCombine(*source, *hole, RGN_DIFF));
    EXPECT_EQ(fnGet(*copy), before);
    EXPECT_NE(fnGet(*source), before);
}

TEST_P(RegionContract, ARegionCombinesWithItself) {
    const Region hole = fnMake({2, 2, 3, 3});
    for (const int mode : {RGN_AND, RGN_OR, RGN_XOR, RGN_DIFF, RGN_COPY}) {
        SCOPED_TRACE(mode);
        const Region region = fnMake({0, 0, 5, 5});
        ASSERT_TRUE(region->fnCombine(*region, *hole, RGN_DIFF));
        const auto before = fnGet(*region);
        EXPECT_TRUE(region->fnCombine(*region, *region, mode));
        if (mode == RGN_XOR || mode == RGN_DIFF) {
            EXPECT_TRUE(region->fnGetRects().empty());
        } else {
            EXPECT_EQ(fnGet(*region), before);
        }
    }
}

TEST_P(RegionContract, CombinationsAreThoseOfPlainSetsOfPixels) {
    Random random(17);
    std::vector<Region> regions;
    std::vector<Pixels> sets;
    constexpr std::size_t kRegions = 4;
    for (std::size_t i = 0; i < kRegions; ++i) {
        regions.push_back(fnMake({}));
        sets.emplace_back(static_cast<std::size_t>(kSide * kSide));
    }
    for (int step = 0; step < 1500; ++step) {
        SCOPED_TRACE(step);
        const std::size_t to = random() % kRegions;
        if (random() % 3 == 0) {
            const auto side = [&] { return kFrom + static_cast<LONG>(random() % (kSide + 1)); };
            const LONG x = side();
            const LONG y = side();
            const RECT rect{x, y, side(), side()};
            regions[to] = fnMake(rect);
            sets[to].assign(sets[to].size(), false);
            fnFill(rect, sets[to]);
        } else { // the result may be one of its operands
            const std::size_t a = random() % kRegions;
            const std::size_t b = random() % kRegions;
            const int mode = RGN_AND + static_cast<int>(random() % 5);
            ASSERT_TRUE(regions[to]->fnCombine(*regions[a], *regions[b], mode));
            sets[to] = fnCombine(sets[a], sets[b], mode);
        }
        ASSERT_NO_FATAL_FAILURE(fnExpect(*regions[to], sets[to]));
    }
}

TEST_P(RegionContract, RowAfterRowCanBeRemoved) {
    // As drawing does: pieces from the left, row by row, until nothing is left.
    const Region left = fnMake({-20, -20, 20, 20});
    Pixels expected(static_cast<std::size_t>(kSide * kSide));
    fnFill({-20, -20, 20, 20}, expected);
    for (LONG y = -20; y < 20; y += 3)
        for (LONG x = -20; x < 20; x += 7) {
            const RECT piece{x, y, std::min<LONG>(x + 7, 24), std::min<LONG>(y + 3, 24)};
            ASSERT_TRUE(left->fnCombine(*left, *fnMake(piece), RGN_DIFF));
            Pixels taken(expected.size());
            fnFill(piece, taken);
            expected = fnCombine(expected, taken, RGN_DIFF);
            ASSERT_NO_FATAL_FAILURE(fnExpect(*left, expected));
        }
    EXPECT_TRUE(left->fnGetRects().empty());
}

} // namespace

Q32_CONTRACT(RegionContract, REGIONS);
