#include "platforms/software/CqSoftwareRegion.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace {

using Pixels = std::set<std::pair<LONG, LONG>>; ///< y, x

Pixels fnPixelsOf(const RECT& rect) {
    Pixels pixels;
    for (LONG y = rect.top; y < rect.bottom; ++y)
        for (LONG x = rect.left; x < rect.right; ++x)
            pixels.emplace(y, x);
    return pixels;
}

Pixels fnPixelsOf(const CqRegionObject& region) {
    Pixels pixels;
    RECT last{INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN};
    for (const RECT& rect : region.fnGetRects()) {
        EXPECT_TRUE(rect.left < rect.right && rect.top < rect.bottom);
        if (rect.top == last.top) {
            EXPECT_GT(rect.left, last.right) << "sorted, and put together where they touch";
            EXPECT_EQ(rect.bottom, last.bottom);
        } else {
            EXPECT_GE(rect.top, last.bottom);
        }
        last = rect;
        for (const auto& pixel : fnPixelsOf(rect))
            EXPECT_TRUE(pixels.insert(pixel).second) << "rectangles overlap";
    }
    return pixels;
}

Pixels fnCombine(const Pixels& a, const Pixels& b, int mode) {
    Pixels result;
    for (LONG y = -2; y < 30; ++y)
        for (LONG x = -2; x < 30; ++x) {
            const bool inA = a.contains({y, x});
            const bool inB = b.contains({y, x});
            if ((mode == RGN_AND && inA && inB) || (mode == RGN_OR && (inA || inB)) ||
                (mode == RGN_XOR && inA != inB) || (mode == RGN_DIFF && inA && !inB) ||
                (mode == RGN_COPY && inA))
                result.emplace(y, x);
        }
    return result;
}

/// A region of some other kind.
class Foreign final : public CqRegionObject {
public:
    bool fnCombine(const CqRegionObject&, const CqRegionObject&, int) override { return false; }
    std::vector<RECT> fnGetRects() const override { return {{1, 1, 3, 2}, {0, 2, 2, 4}}; }
};

} // namespace

TEST(SoftwareRegion, CombinesAsPlainSetsOfPixelsDo) {
    std::mt19937 random(7);
    const auto number = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    for (int round = 0; round < 60; ++round) {
        CqSoftwareRegion regions[2] = {CqSoftwareRegion({0, 0, 24, 24}),
                                       CqSoftwareRegion({3, 3, 9, 9})};
        Pixels pixels[2] = {fnPixelsOf(RECT{0, 0, 24, 24}), fnPixelsOf(RECT{3, 3, 9, 9})};
        for (int step = 0; step < 25; ++step) {
            const int left = number(-2, 24);
            const int top = number(-2, 24);
            const RECT rect{left, top, left + number(-1, 6), top + number(-1, 6)};
            const int target = number(0, 1);
            if (step % 6 == 5) {
                const int a = number(0, 1);
                const int b = number(0, 1);
                const int mode = number(RGN_AND, RGN_COPY);
                ASSERT_TRUE(regions[target].fnCombine(regions[a], regions[b], mode));
                pixels[target] = fnCombine(pixels[a], pixels[b], mode);
            } else {
                const int mode = step % 2 == 0 ? RGN_DIFF : number(RGN_OR, RGN_DIFF);
                const CqSoftwareRegion one(rect);
                ASSERT_TRUE(regions[target].fnCombine(regions[target], one, mode));
                pixels[target] = fnCombine(pixels[target], fnPixelsOf(rect), mode);
            }
            ASSERT_EQ(fnPixelsOf(regions[target]), pixels[target]) << round << " " << step;
        }
        for (LONG y = -2; y < 30; ++y)
            for (LONG x = -2; x < 30; ++x)
                ASSERT_EQ(regions[0].fnContains(x, y), pixels[0].contains({y, x}));
    }
}

TEST(SoftwareRegion, EqualRowsComeBackAsOneRectangle) {
    CqSoftwareRegion region({0, 0, 10, 10});
    for (LONG y = 0; y < 10; ++y)
        ASSERT_TRUE(region.fnCombine(region, CqSoftwareRegion({4, y, 6, y + 1}), RGN_DIFF));
    const auto rects = region.fnGetRects();
    ASSERT_EQ(rects.size(), 2u);
    EXPECT_EQ(rects[0].right, 4);
    EXPECT_EQ(rects[1].left, 6);
    EXPECT_EQ(rects[1].bottom, 10);
}

TEST(SoftwareRegion, AnEmptyOrInvertedRectangleIsEmpty) {
    EXPECT_TRUE(CqSoftwareRegion({5, 5, 5, 9}).fnGetRects().empty());
    EXPECT_TRUE(CqSoftwareRegion({5, 9, 9, 5}).fnGetRects().empty());
}

TEST(SoftwareRegion, CombinesRegionsOfAnotherKindByTheirRectangles) {
    CqSoftwareRegion region({0, 0, 1, 1});
    ASSERT_TRUE(region.fnCombine(region, Foreign(), RGN_OR));
    EXPECT_EQ(fnPixelsOf(region), (Pixels{{0, 0}, {1, 1}, {1, 2}, {2, 0}, {2, 1}, {3, 0}, {3, 1}}));
}

TEST(SoftwareRegion, AnUnknownCombinationLeavesTheRegionUnchanged) {
    CqSoftwareRegion region({0, 0, 4, 4});
    const CqSoftwareRegion hole({1, 1, 2, 2});
    EXPECT_FALSE(region.fnCombine(region, hole, 0));
    EXPECT_FALSE(region.fnCombine(region, hole, 6));
    EXPECT_EQ(fnPixelsOf(region), fnPixelsOf(RECT{0, 0, 4, 4}));
}

TEST(SoftwareRegion, AnyNumberOfRunsIsCombinedInReasonableTime) {
    // Every second pixel of every row: half a million combinations. If the cost of each grew with
    // the pixels subtracted before it, the test would exceed its time limit.
    constexpr LONG kWidth = 1000;
    constexpr LONG kHeight = 1000;
    CqSoftwareRegion region({0, 0, kWidth, kHeight});
    for (LONG y = 0; y < kHeight; ++y)
        for (LONG x = y % 2; x < kWidth; x += 2)
            ASSERT_TRUE(region.fnCombine(region, CqSoftwareRegion({x, y, x + 1, y + 1}), RGN_DIFF));
    const auto rects = region.fnGetRects();
    ASSERT_EQ(rects.size(), 500'000u);
    EXPECT_EQ(rects.front().left, 1);
    EXPECT_EQ(rects.back().left, kWidth - 2);
    EXPECT_EQ(rects.back().bottom, kHeight);
}
