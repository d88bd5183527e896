#include "platforms/software/CqSoftwareRegion.h"
#include "q32Base/framework/CRgn.h"
#include "tests/operations/PlainImage.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Sanitizers.h"

#include <algorithm>

namespace q32::test {
namespace {

class RegionTest : public AttachedTest {
protected:
    Random m_Random{51002};

    /// The region as a picture of 1 (inside) and 0.
    static Rows fnPicture(const CRgn& region, const CqImage& image) {
        Rows picture(image.Height, Bytes(image.Width, 0));
        for (const RECT& rect : region.GetRects())
            for (LONG y = rect.top; y < rect.bottom; ++y)
                for (LONG x = rect.left; x < rect.right; ++x)
                    ++picture.at(static_cast<std::size_t>(y)).at(static_cast<std::size_t>(x));
        return picture;
    }

    /// 1 where the pixel isn't `index`.
    static Rows fnOthers(const CqImage& image, unsigned char index) {
        Rows others = fnRows(image);
        for (Bytes& row : others)
            for (unsigned char& byte : row)
                byte = byte != index ? 1 : 0;
        return others;
    }

    static constexpr unsigned long kGrey3 = 0x030303;
};

TEST_F(RegionTest, AnImagesRegionExcludesThePixelsOfTheKey) {
    for (int round = 0; round < 60; ++round) {
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), 8, q32GreyRamp, 256);
        const unsigned int levels = 2 + m_Random() % 4;
        for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
            image.TileMap->PixelBuffer[i] = static_cast<unsigned char>(2 + m_Random() % levels);
        CRgn region;
        image.fnCreateRgn(kGrey3 | 0xAB000000ul, region);
        ASSERT_TRUE(fnSameRows(fnPicture(region, image), fnOthers(image, 3)));
    }
}

TEST_F(RegionTest, AnExistingRegionIsReplaced) {
    CqImage image(4, 3, 8, q32GreyRamp, 256);
    fnSetAll(image, 9);
    CRgn region;
    ASSERT_TRUE(region.CreateRectRgnIndirect(RECT{50, 50, 60, 60}));
    image.fnCreateRgn(kGrey3, region);
    ASSERT_EQ(region.GetRects().size(), 1u);
    EXPECT_EQ(CRect(region.GetRects()[0]), CRect(0, 0, 4, 3));
}

TEST_F(RegionTest, AKeyMissingFromThePaletteGivesTheWholeImage) {
    CqImage image(4, 3, 8, q32GreyRamp, 256);
    fnSetAll(image, 0);
    CRgn region;
    image.fnCreateRgn(0x010203, region);
    ASSERT_EQ(region.GetRects().size(), 1u);
    EXPECT_EQ(CRect(region.GetRects()[0]), CRect(0, 0, 4, 3));
}

TEST_F(RegionTest, AnImageOfOnlyKeyPixelsGivesAnEmptyRegion) {
    CqImage image(200, 150, 8, q32GreyRamp, 256);
    fnSetAll(image, 3);
    CRgn region;
    image.fnCreateRgn(kGrey3, region);
    EXPECT_TRUE(region.HasHandle());
    EXPECT_TRUE(region.GetRects().empty());
}

TEST_F(RegionTest, TheLowestByteOfTheKeyIsRed) {
    const RGBQUAD palette[2] = {{0x33, 0x22, 0x11, 0}, {0x11, 0x22, 0x33, 0}};
    CqImage image(2, 1, 8, palette, 2);
    fnSetRows(image, {{0, 1}});
    CRgn region;
    image.fnCreateRgn(0x332211, region); // blue 0x33: entry 0
    ASSERT_EQ(region.GetRects().size(), 1u);
    EXPECT_EQ(CRect(region.GetRects()[0]), CRect(1, 0, 2, 1));
}

TEST_F(RegionTest, ImagesOfOtherDepthsGiveTheWholeRectangle) {
    for (const unsigned int bits : {4u, 16u, 24u, 32u}) {
        CqImage image(9, 5, bits, nullptr, 0);
        fnSetAll(image, 0);
        CRgn region;
        image.fnCreateRgn(0, region);
        ASSERT_EQ(region.GetRects().size(), 1u) << bits << " bits";
        EXPECT_EQ(CRect(region.GetRects()[0]), CRect(0, 0, 9, 5));
    }
}

TEST_F(RegionTest, AFailedRectangleThrowsAndLeavesThePartialRegion) {
    CqImage image(5, 2, 8, q32GreyRamp, 256);
    const Rows rows = {{3, 9, 3, 3, 9}, {9, 3, 9, 9, 3}}; // four runs
    fnSetRows(image, rows);
    const CRect runs[] = {{0, 0, 1, 1}, {2, 0, 4, 1}, {1, 1, 2, 2}, {4, 1, 5, 2}};
    for (std::uint64_t nth = 1; nth <= 5; ++nth) {
        m_World->m_pScreen->m_CreateRegion.fnFail(nth);
        CRgn region;
        EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnCreateRgn(kGrey3, region); })) << nth;
        EXPECT_EQ(region.HasHandle(), nth > 1);
        Rows expected(2, Bytes(5, nth > 1 ? 1 : 0));
        for (std::size_t i = 0; i + 2 < nth; ++i)
            for (LONG x = runs[i].left; x < runs[i].right; ++x)
                expected[static_cast<std::size_t>(runs[i].top)][static_cast<std::size_t>(x)] = 0;
        EXPECT_EQ(fnPicture(region, image), expected) << nth;
    }
    m_World->m_pScreen->m_CreateRegion.fnFailNever();
    EXPECT_EQ(image.TileMap->LockedLines.GetCount(), 0);
}

TEST_F(RegionTest, AFailedCombinationThrowsToo) {
    CqImage image(5, 2, 8, q32GreyRamp, 256);
    fnSetRows(image, {{3, 9, 3, 3, 9}, {9, 3, 9, 9, 3}});
    m_World->m_pScreen->m_pCombine->fnFail(2);
    CRgn region;
    EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnCreateRgn(kGrey3, region); }));
    EXPECT_EQ(fnPicture(region, image), (Rows{{0, 1, 1, 1, 1}, {1, 1, 1, 1, 1}}));
}

/// Runs are subtracted in order, so a failure leaves only the first of them subtracted.
TEST_F(RegionTest, ExhaustedMemoryLeavesThePartialRegion) {
    CqImage image(40, 6, 8, q32GreyRamp, 256);
    for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
        image.TileMap->PixelBuffer[i] = m_Random() % 2 ? 3 : 4;
    const Rows rows = fnRows(image);
    std::vector<Rows> steps{Rows(6, Bytes(40, 1))};
    for (std::size_t y = 0; y < 6; ++y)
        for (std::size_t x = 0; x < 40; ++x) {
            if (rows[y][x] != 3)
                continue;
            if (x == 0 || rows[y][x - 1] != 3)
                steps.push_back(steps.back());
            steps.back()[y][x] = 0;
        }
    bool begun = false;
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        CRgn region;
        const bool raised = fnRaisesMemoryException([&] { image.fnCreateRgn(kGrey3, region); });
        failure.fnEnd();
        EXPECT_EQ(raised, failure.fnHappened());
        EXPECT_EQ(image.TileMap->LockedLines.GetCount(), 0);
        if (!raised) {
            EXPECT_EQ(fnPicture(region, image), steps.back());
        } else if (begun || region.HasHandle()) {
            begun = true;
            EXPECT_NE(std::find(steps.begin(), steps.end(), fnPicture(region, image)), steps.end());
        }
    });
    EXPECT_GT(failures, steps.size()); // each run takes a separate region
}

/// One call for each run and one for the image, each of which moves a few spans: neither may grow
/// with the preceding runs, nor may the time contain a second pass over the picture.
TEST_F(RegionTest, NoiseTakesOneRectanglePerRunAndLittleWorkForEach) {
    constexpr unsigned int kSide = kAddressSanitizer ? 1000 : 4000;
    constexpr std::uint64_t kWorkPerRun = 8;
    CqImage image(kSide, kSide, 8, q32GreyRamp, 256);
    for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
        image.TileMap->PixelBuffer[i] = m_Random() % 2 ? 3 : 4;
    std::uint64_t runs = 0;
    for (const Bytes& row : fnRows(image))
        for (std::size_t x = 0; x < row.size(); ++x)
            runs += row[x] == 3 && (x == 0 || row[x - 1] != 3) ? 1 : 0;
    EXPECT_GT(runs, kSide * kSide / 5); // of each pair of neighbours, a quarter starts one
    const std::uint64_t calls = m_World->m_pScreen->m_CreateRegion.fnGetCount();
    const std::uint64_t work = CqSoftwareRegion::fnGetSpanWork();
    CRgn region;
    image.fnCreateRgn(kGrey3, region);
    EXPECT_EQ(m_World->m_pScreen->m_CreateRegion.fnGetCount() - calls, runs + 1);
    EXPECT_LT(CqSoftwareRegion::fnGetSpanWork() - work, kWorkPerRun * runs);
    EXPECT_TRUE(fnSameRows(fnPicture(region, image), fnOthers(image, 3)));
}

} // namespace
} // namespace q32::test
