// Makes every allocation and every call to the screen fail once.

#include "q32Base/image/CqMask.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/module/Module.h"
#include "tests/display/DisplayWorld.h"
#include "tests/display/DrawReference.h"
#include "tests/support/FailingAllocator.h"

namespace {

constexpr int kScreens[] = {8, 16, 24, 32};
constexpr unsigned kDepths[] = {4, 8, 24};

/// A screen that accepts rows without recording or allocating anything.
class QuietScreen final : public CqScreenService {
public:
    explicit QuietScreen(std::shared_ptr<CqScreenService> inner) : m_pInner(std::move(inner)) {}

    CDC* fnGetDC(CWnd* window) override { return m_pInner->fnGetDC(window); }
    void fnReleaseDC(CWnd* window, CDC* dc) noexcept override { m_pInner->fnReleaseDC(window, dc); }
    int fnSetDIBitsToDevice(CDC*, int, int, UINT, UINT, int, int, UINT, UINT scans, const void*,
                            const BITMAPINFOHEADER*, UINT) override {
        return static_cast<int>(scans);
    }
    std::unique_ptr<CqPaletteObject> fnCreatePalette(const LOGPALETTE& palette) override {
        return m_pInner->fnCreatePalette(palette);
    }
    void fnPaletteGone(const CPalette& palette) noexcept override {
        m_pInner->fnPaletteGone(palette);
    }
    std::unique_ptr<CqRegionObject> fnCreateRectRegion(const RECT& rect) override {
        return m_pInner->fnCreateRectRegion(rect);
    }

private:
    std::shared_ptr<CqScreenService> m_pInner;
};

} // namespace

TEST(DrawFailures, ADeviceContextIsReleasedEvenWithoutMemory) {
    CqDisplayWorld world(24);
    CqHeadlessWnd window({0, 0, 5, 5});
    const std::size_t open = world.fnScreen().fnGetOpenDCs();
    CDC* dc = window.GetDC();
    static_assert(noexcept(window.ReleaseDC(dc)));
    CqScreenService& screen = world.fnScreen();
    static_assert(noexcept(screen.fnReleaseDC(&window, dc)));
    CqHeadlessMisuses& misuses = *world.fnWorld().m_pMisuses;
    {
        const CqAllocationFailure failure(1, true);
        screen.fnReleaseDC(nullptr, dc); // of another window, so a misuse is recorded
        EXPECT_TRUE(failure.fnHappened());
        EXPECT_EQ(world.fnScreen().fnGetOpenDCs(), open + 1);
        window.ReleaseDC(dc);
    }
    EXPECT_EQ(world.fnScreen().fnGetOpenDCs(), open);
    EXPECT_TRUE(misuses.fnGetAll().empty());
    screen.fnReleaseDC(nullptr, dc);
    EXPECT_EQ(misuses.fnGetAll().size(), 1u);
    misuses.fnClear();
}

TEST(DrawFailures, EachFailedAllocationFailsTheDrawAndTheNextOneWorks) {
    for (const int screen : kScreens) {
        CqDisplayWorld world(screen);
        for (const unsigned depth : kDepths) {
            for (const unsigned width : {100u, 200u}) {
                auto image = fnMakeNoise(width, 130, depth);
                const CRect all(0, 0, static_cast<LONG>(width), 130);
                const std::size_t failures =
                    fnFailEachAllocation([&](CqAllocationFailure& failure) {
                        const bool drawn = image->fnDraw(world.fnDC(), all, 0, 0, false, false);
                        const bool failed = failure.fnHappened();
                        failure.fnEnd();
                        EXPECT_EQ(drawn, !failed) << screen << " " << depth;
                        CqReferenceSetup setup;
                        setup.m_nScreenBits = screen;
                        world.fnScreen().fnClearDraws();
                        EXPECT_TRUE(image->fnDraw(world.fnDC(), all, 0, 0, false, false));
                        EXPECT_EQ(fnFindDifference(fnReferenceDraw(*image, setup, all, 0, 0),
                                                   world.fnScreen().fnGetDraws(), screen),
                                  "");
                        world.fnDC()->SelectPalette(nullptr, true);
                        image = fnMakeNoise(width, 130, depth); // without buffers again
                        world.fnScreen().fnClearDraws();
                    });
                EXPECT_GE(failures, 2u); // the device bitmap and the staging buffer
            }
        }
    }
}

TEST(DrawFailures, EachAllocationOfAKeyDrawAndALineDraw) {
    CqDisplayWorld world(8);
    auto image = fnMakeNoise(200, 5, 8);
    CqMask mask(200, 5);
    fnFillNoise(mask, 4);
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool drawn = image->fnKeyDraw(world.fnDC(), CRect(0, 0, 200, 5), 0, 0,
                                            CqMergeParam(mask), false, false);
        const bool failed = failure.fnHappened();
        failure.fnEnd();
        EXPECT_EQ(drawn, !failed);
        EXPECT_EQ(world.fnDC()->SelectPalette(nullptr, true), nullptr);
        EXPECT_EQ(image->TileMap->SavedPalette, nullptr);
        image = fnMakeNoise(200, 5, 8);
        world.fnScreen().fnClearDraws();
    });
    EXPECT_GE(failures, 5u); // bitmap, staging buffer, palette, two rows
    image = fnMakeNoise(200, 5, 8);
    CqImageLine line;
    image->fnAccessLine(0, &line, true);
    EXPECT_GE(fnFailEachAllocation([&](CqAllocationFailure& failure) {
                  const bool drawn = line.fnDraw(world.fnDC(), 0, 0, 100, 0, false);
                  const bool failed = failure.fnHappened();
                  failure.fnEnd();
                  EXPECT_EQ(drawn, !failed);
              }),
              1u);
}

TEST(DrawFailures, AFailedGrowthKeepsTheExistingBuffers) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(128, 128, 8);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 10, 10), 0, 0, false, false));
    world.fnScreen().fnKeepDraws(false);
    const BITMAPINFOHEADER* dib = image->TileMap->DrawDib.get();
    {
        const CqAllocationFailure failure(1);
        EXPECT_FALSE(image->fnDraw(world.fnDC(), CRect(0, 0, 128, 128), 0, 0, false, false));
        EXPECT_TRUE(failure.fnHappened());
    }
    EXPECT_EQ(image->TileMap->DrawDib.get(), dib);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 128, 128), 0, 0, false, false));
    EXPECT_EQ(image->TileMap->DrawDibCapacity, 128u * 128u * 4u);
}

TEST(DrawFailures, ASecondDrawAllocatesNothing) {
    for (const int screen : kScreens) {
        CqDisplayWorld world(screen);
        for (const unsigned depth : {8u, 16u, 24u, 32u}) {
            const auto image = fnMakeNoise(300, 200, depth);
            world.fnScreen().fnKeepDraws(false);
            const CRect all(0, 0, 300, 200);
            EXPECT_TRUE(image->fnDraw(world.fnDC(), all, 0, 0, false, false));
            const BITMAPINFOHEADER* dib = image->TileMap->DrawDib.get();
            const unsigned char* scratch = image->TileMap->DrawScratch.get();
            const CPalette* palette = image->TileMap->DrawPalette.get();
            EXPECT_TRUE(image->fnDraw(world.fnDC(), all, 0, 0, false, false));
            EXPECT_EQ(image->TileMap->DrawDib.get(), dib);
            EXPECT_EQ(image->TileMap->DrawScratch.get(), scratch);
            EXPECT_EQ(image->TileMap->DrawPalette.get(), palette);
        }
    }
}

TEST(DrawFailures, APaletteThatTheScreenRefusesFailsTheDraw) {
    CqDisplayWorld world(8);
    const auto image = fnMakeNoise(200, 5, 8);
    world.fnScreen().m_CreatePalette.fnFail();
    EXPECT_FALSE(image->fnDraw(world.fnDC(), CRect(0, 0, 200, 5), 0, 0, false, false));
    EXPECT_TRUE(world.fnScreen().fnGetDraws().empty());
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(0, 0, 200, 5), 0, 0, false, false));
}

TEST(DrawFailures, TheDrawEndsAtTheBlockThatTheScreenRefuses) {
    for (const int screen : {8, 32}) {
        CqDisplayWorld world(screen);
        const auto image = fnMakeNoise(300, 200, 24);
        image->fnDrawInit(2u, false, CRect(0, 0, 640, 480), CPoint(), nullptr);
        const CRect all(0, 0, 600, 400);
        CqReferenceSetup setup;
        setup.m_nScreenBits = screen;
        setup.m_nFactor = 2;
        const auto expected = fnReferenceDraw(*image, setup, all, 0, 0);
        ASSERT_GT(expected.size(), 6u);
        for (const int result : {-1, 0, 1}) { // refused, nothing drawn, too few rows drawn
            world.fnScreen().fnSetFailedResult(result);
            for (std::size_t nth = 1; nth <= expected.size(); ++nth) {
                world.fnScreen().fnClearDraws();
                world.fnScreen().m_SetDIBits.fnFail(nth);
                EXPECT_FALSE(image->fnDraw(world.fnDC(), all, 0, 0, true, false));
                EXPECT_EQ(world.fnScreen().fnGetDraws().size(), nth);
                EXPECT_TRUE(world.fnDisplay().fnIsGammaEnabled());
                EXPECT_EQ(world.fnDC()->SelectPalette(nullptr, true), nullptr);
            }
        }
        world.fnScreen().m_SetDIBits.fnFailNever();
        EXPECT_TRUE(image->fnDraw(world.fnDC(), all, 0, 0, true, false));
    }
}

TEST(DrawFailures, WithoutADeviceContextAnImageIsNotDrawn) {
    CqDisplayWorld world(8);
    const auto image = fnMakeNoise(200, 5, 8);
    EXPECT_FALSE(image->fnDraw(nullptr, CRect(0, 0, 200, 5), 0, 0, false, false));
}

TEST(DrawFailures, AGammaThatCannotBeRestoredIsReportedToTheUserAndRestoredByTheNextDraw) {
    CqHeadlessOptions options;
    options.m_Mode.m_nBits = 24;
    const auto world = q32HeadlessWorld(options);
    CqPlatform platform = world->fnPlatform();
    platform.m_pScreen = std::make_shared<QuietScreen>(platform.m_pScreen);
    ASSERT_TRUE(q32Attach(platform));
    {
        CDC* dc = world->m_pScreen->fnGetDC(nullptr);
        const auto image = fnMakeNoise(200, 5, 24);
        const CRect all(0, 0, 200, 5);
        EXPECT_TRUE(image->fnDraw(dc, all, 0, 0, false, false)); // allocates the buffers
        bool drawn = false;
        {
            const CqAllocationFailure failure(1);
            drawn = image->fnDraw(dc, all, 0, 0, true, false);
            EXPECT_TRUE(failure.fnHappened());
        }
        EXPECT_TRUE(drawn); // the picture was drawn
        CqDisplayProperty& display = *q32GetDisplayProperty();
        EXPECT_FALSE(display.fnIsGammaEnabled());
        EXPECT_EQ(world->m_pMessages->fnGetBoxes().size(), 1u);
        // What is saved meanwhile is what the user chose.
        ASSERT_TRUE(display.fnSerialize(false));
        ASSERT_TRUE(display.fnSerialize(true));
        EXPECT_TRUE(display.fnIsGammaEnabled());

        // The next draw tries again, without a message.
        const auto lose = [&] {
            const CqAllocationFailure failure(1);
            image->fnDraw(dc, all, 0, 0, true, false);
            EXPECT_FALSE(display.fnIsGammaEnabled());
        };
        for (const bool noGamma : {false, true}) {
            lose();
            {
                const CqAllocationFailure failure(1);
                EXPECT_TRUE(image->fnDraw(dc, all, 0, 0, noGamma, false));
                EXPECT_TRUE(failure.fnHappened());
                EXPECT_FALSE(display.fnIsGammaEnabled());
            }
            EXPECT_TRUE(image->fnDraw(dc, all, 0, 0, noGamma, false));
            EXPECT_TRUE(display.fnIsGammaEnabled());
        }
        EXPECT_EQ(world->m_pMessages->fnGetBoxes().size(), 3u);

        // Unless the host has decided otherwise.
        lose();
        display.fnEnableGamma(false);
        EXPECT_TRUE(image->fnDraw(dc, all, 0, 0, false, false));
        EXPECT_FALSE(display.fnIsGammaEnabled());
        world->m_pScreen->fnReleaseDC(nullptr, dc);
    }
    q32Detach();
}
