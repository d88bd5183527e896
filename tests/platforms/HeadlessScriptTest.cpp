// What the headless world adds to the software services: counts, and failures on demand.
#include "platforms/headless/CqHeadlessRegion.h"
#include "platforms/headless/CqHeadlessResources.h"

#include <gtest/gtest.h>

TEST(HeadlessRegion, AFailedCombinationLeavesTheRegionUnchanged) {
    const auto calls = std::make_shared<CqHeadlessCalls>();
    CqHeadlessRegion region({0, 0, 4, 4}, calls);
    const CqHeadlessRegion hole({1, 1, 2, 2}, calls);
    calls->fnFail();
    EXPECT_FALSE(region.fnCombine(region, hole, RGN_DIFF));
    const std::vector<RECT> rects = region.fnGetRects();
    ASSERT_EQ(rects.size(), 1u);
    EXPECT_EQ(rects[0].right, 4);
    EXPECT_TRUE(region.fnCombine(region, hole, RGN_DIFF));
    EXPECT_EQ(region.fnGetRects().size(), 4u) << "above, left, right, below";
    EXPECT_EQ(calls->fnGetCount(), 2u);
    EXPECT_EQ(calls->fnGetFailed(), 1u);
}

TEST(HeadlessResources, CallsFailOnDemand) {
    CqHeadlessResources resources(1252);
    const HINSTANCE host = resources.fnGetHostModule();
    resources.fnAdd(host, RT_BITMAP_ID, WORD{1}, "b");
    resources.fnAddString(host, 5, "text");
    resources.m_Find.fnFail();
    resources.m_LoadString.fnFail();
    CqResourceData data;
    std::string text;
    EXPECT_FALSE(resources.fnFind(nullptr, RT_BITMAP_ID, WORD{1}, data));
    EXPECT_FALSE(resources.fnLoadString(nullptr, 5, text));
    EXPECT_EQ(text, "");
    EXPECT_TRUE(resources.fnFind(nullptr, RT_BITMAP_ID, WORD{1}, data));
    EXPECT_EQ(data.m_nSize, 1u);
    EXPECT_TRUE(resources.fnLoadString(nullptr, 5, text));
    EXPECT_EQ(text, "text");
}
