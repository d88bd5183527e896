// Every source depth on every screen at every zoom, in odd sizes and places, block by block.

#include "tests/display/DisplayWorld.h"
#include "tests/display/DrawReference.h"
#include "tests/support/Sanitizers.h"

#include <string>
#include <tuple>

namespace {

struct Zoom {
    REFERENCE_MODE mode;
    int factor;
};

constexpr Zoom kZooms[] = {{REFERENCE_MODE::INFLATE, 1}, {REFERENCE_MODE::INFLATE, 2},
                           {REFERENCE_MODE::INFLATE, 3}, {REFERENCE_MODE::INFLATE, 5},
                           {REFERENCE_MODE::SHRINK, 1},  {REFERENCE_MODE::SHRINK, 2},
                           {REFERENCE_MODE::SHRINK, 3},  {REFERENCE_MODE::FIT, 1}};

struct Size {
    unsigned width;
    unsigned height;
};

constexpr Size kSizes[] = {{1, 1}, {128, 128}, {129, 257}, {300, 130}, {7, 3}, {256, 1}};

struct Part {
    CRect destination;
    int x;
    int y;
};

// Inside, partly left and above the screen, with offsets, moved back from beyond the end, one
// pixel.
const Part kParts[] = {{CRect(0, 0, 310, 270), 0, 0},
                       {CRect(-30, -20, 171, 180), 37, 21},
                       {CRect(600, 450, 700, 500), 100000, -5},
                       {CRect(11, 13, 12, 14), 128, 128},
                       {CRect(3, 5, 262, 134), 1, 127}};

class ZoomDrawing : public testing::TestWithParam<std::tuple<int, unsigned>> {
protected:
    void fnDrawParts(CqDisplayWorld& world, CqImage& image, const CqReferenceSetup& setup) {
        for (const Part& part : kParts) {
            world.fnScreen().fnClearDraws();
            EXPECT_TRUE(image.fnDraw(world.fnDC(), part.destination, part.x, part.y, false, false));
            EXPECT_EQ(
                fnFindDifference(fnReferenceDraw(image, setup, part.destination, part.x, part.y),
                                 world.fnScreen().fnGetDraws(), setup.m_nScreenBits),
                "")
                << image.Width << " x " << image.Height << " in mode "
                << static_cast<int>(setup.m_eMode) << " by " << setup.m_nFactor << " at " << part.x
                << ", " << part.y;
        }
    }
};

} // namespace

TEST_P(ZoomDrawing, PassesTheRowsOfTheRuleToTheScreen) {
    const auto [screen, depth] = GetParam();
    CqDisplayWorld world(screen);
    for (const unsigned gamma : {180u, 220u}) {
        if (kAddressSanitizer && gamma != 180)
            continue; // other values in the same places
        world.fnDisplay().fnSetGammaValue(gamma);
        for (const Size& size : kSizes) {
            for (const Zoom& zoom : kZooms) {
                const auto image = fnMakeNoise(size.width, size.height, depth, gamma);
                CqReferenceSetup setup;
                setup.m_nScreenBits = screen;
                setup.m_eMode = zoom.mode;
                setup.m_nFactor = zoom.factor;
                setup.m_nGamma = gamma;
                const CRect view(0, 0, 400, 300);
                if (zoom.mode == REFERENCE_MODE::FIT) {
                    image->fnDrawInit(0.0, view, nullptr);
                    setup.m_nFitZoom = std::min(400.0 / size.width, 300.0 / size.height);
                } else {
                    image->fnDrawInit(static_cast<unsigned>(zoom.factor),
                                      zoom.mode == REFERENCE_MODE::SHRINK, view, CPoint(), nullptr);
                }
                fnDrawParts(world, *image, setup);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllDepths, ZoomDrawing,
                         testing::Combine(testing::Values(8, 16, 24, 32),
                                          testing::Values(4u, 8u, 16u, 24u, 32u)),
                         [](const auto& info) {
                             return "Screen" + std::to_string(std::get<0>(info.param)) + "Image" +
                                    std::to_string(std::get<1>(info.param));
                         });

TEST(ZoomDrawing, AShrunkImageBeyondATilesWidthStillDraws) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(1000, 300, 24);
    CqReferenceSetup setup;
    setup.m_eMode = REFERENCE_MODE::SHRINK;
    for (const int factor : {127, 128, 129, 200, 299}) {
        setup.m_nFactor = factor;
        image->fnDrawInit(static_cast<unsigned>(factor), true, CRect(0, 0, 99, 99), CPoint(),
                          nullptr);
        world.fnScreen().fnClearDraws();
        EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 99, 99), 0, 0, false, false));
        EXPECT_EQ(fnFindDifference(fnReferenceDraw(*image, setup, CRect(0, 0, 99, 99), 0, 0),
                                   world.fnScreen().fnGetDraws(), 32),
                  "")
            << factor;
    }
}

TEST(ZoomDrawing, AnImageScaledToNothingDrawsNothingWithoutFailure) {
    CqDisplayWorld world(8);
    for (const unsigned width : {2u, 300u}) { // one tile, and several
        const auto image = fnMakeNoise(width, 2, 24);
        for (const unsigned factor : {3u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            image->fnDrawInit(factor, true, CRect(0, 0, 99, 99), CPoint(), nullptr);
            EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 99, 99), 5, 5, false, false));
        }
    }
    EXPECT_TRUE(world.fnScreen().fnGetDraws().empty());
}

TEST(ZoomDrawing, AFactorOfZeroIsTreatedAsOne) {
    CqDisplayWorld world(24);
    const auto image = fnMakeNoise(150, 3, 24);
    for (const bool shrink : {false, true}) {
        image->fnDrawInit(0u, shrink, CRect(0, 0, 99, 99), CPoint(), nullptr);
        world.fnScreen().fnClearDraws();
        EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 200, 3), 0, 0, false, false));
        CqReferenceSetup setup;
        setup.m_nScreenBits = 24;
        EXPECT_EQ(fnFindDifference(fnReferenceDraw(*image, setup, CRect(0, 0, 200, 3), 0, 0),
                                   world.fnScreen().fnGetDraws(), 24),
                  "");
    }
}

TEST(ZoomDrawing, AHugeFactorIsClampedAndDrawn) {
    CqDisplayWorld world(32);
    for (const unsigned depth : {4u, 24u}) {
        const auto image = fnMakeNoise(150, 3, depth);
        for (const unsigned factor : {20'000'000u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            image->fnDrawInit(factor, false, CRect(0, 0, 99, 99), CPoint(), nullptr);
            world.fnScreen().fnClearDraws();
            EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 50, 40), 0, 0, false, false));
            std::uint32_t shown = 0;
            for (const CqHeadlessDraw& draw : world.fnScreen().fnGetDraws())
                shown += draw.m_nWidth * draw.m_nHeight;
            EXPECT_EQ(shown, 2000u);
        }
    }
}
