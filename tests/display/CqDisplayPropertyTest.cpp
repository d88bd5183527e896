#include "q32Base/display/CqDisplayProperty.h"

#include "q32Base/framework/Exceptions.h"
#include "tests/display/DisplayWorld.h"
#include "tests/support/FailingAllocator.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace {

/// Exposes the protected members.
class Probe : public CqDisplayProperty {
public:
    using CqDisplayProperty::DITHER_2X2;
    using CqDisplayProperty::DITHER_4X4;
    using CqDisplayProperty::DITHER_8X8;
    using CqDisplayProperty::DITHER_PATTERN;
    using CqDisplayProperty::fnBuildDitherTable;
    using CqDisplayProperty::m_byDitherPattern;
    using CqDisplayProperty::m_byHiColorPattern;
    using CqDisplayProperty::m_bySpare;
    using CqDisplayProperty::m_byStep1;
    using CqDisplayProperty::m_byStep36;
    using CqDisplayProperty::m_byStep6;
    using CqDisplayProperty::m_Pal666;
    using CqDisplayProperty::m_pGammaCurve;
    using CqDisplayProperty::m_pMappingTable;
};

std::vector<PALETTEENTRY> fnEntries(const CqDisplayProperty& display) {
    std::vector<PALETTEENTRY> entries(300);
    entries.resize(display.fnGetPalette666()->GetPaletteEntries(0, 300, entries.data()));
    return entries;
}

/// Red of the palette's entry for the level 1 of red.
int fnLevel1(const CqDisplayProperty& display) {
    return fnEntries(display)[36].peRed;
}

std::vector<unsigned char> fnRamp() {
    std::vector<unsigned char> ramp(256);
    for (std::size_t i = 0; i < ramp.size(); ++i)
        ramp[i] = static_cast<unsigned char>(i);
    return ramp;
}

} // namespace

TEST(CqDisplayProperty, ReportsSizeResolutionAndDepthOfTheScreen) {
    CqDisplayWorld world(32);
    const Probe display;
    EXPECT_EQ(display.fnGetDisplaySize(), CSize(640, 480));
    EXPECT_EQ(display.fnGetDPI(), CSize(96, 72));
    EXPECT_EQ(display.fnGetColorDepth(), 32u);
    EXPECT_FALSE(display.fnIsHiColorDisplay());
}

TEST(CqDisplayProperty, AScreenOf16BitsCountsAs24BitsAndAsHiColor) {
    CqDisplayWorld world(16);
    const Probe display;
    EXPECT_EQ(display.fnGetColorDepth(), 24u);
    EXPECT_TRUE(display.fnIsHiColorDisplay());
    world.fnScreen().fnSetMode({640, 480, 24, 96, 96});
    Probe other;
    EXPECT_EQ(other.fnGetColorDepth(), 24u);
    EXPECT_FALSE(other.fnIsHiColorDisplay());
}

TEST(CqDisplayProperty, BeginsWithDitherAndGammaOnAtTheNeutralValue) {
    CqDisplayWorld world(24);
    const Probe display;
    EXPECT_TRUE(display.fnIsHiColorDitherEnabled());
    EXPECT_TRUE(display.fnIsGammaEnabled());
    EXPECT_EQ(display.fnGetGammaValue(), 180u);
    EXPECT_FALSE(display.fnIsGammaInEffect());
    ASSERT_TRUE(display.m_pGammaCurve);
    EXPECT_EQ(std::memcmp(display.m_pGammaCurve.get(), fnRamp().data(), 256), 0);
}

TEST(CqDisplayProperty, BuildsTheDitherTables) {
    CqDisplayWorld world(8);
    Probe display;
    unsigned char table[64];
    display.fnBuildDitherTable(table, Probe::DITHER_2X2);
    constexpr unsigned char kTwo[4] = {0, 3, 2, 1};
    EXPECT_EQ(std::memcmp(table, kTwo, 4), 0);

    constexpr unsigned char kFour[16] = {0, 12, 3, 15, 8, 4, 11, 7, 2, 14, 1, 13, 10, 6, 9, 5};
    EXPECT_EQ(std::memcmp(display.m_byHiColorPattern, kFour, 16), 0);

    constexpr unsigned char kEight[64] = {
        0,  48, 12, 60, 3,  51, 15, 63, 32, 16, 44, 28, 35, 19, 47, 31, 8,  56, 4,  52, 11, 59,
        7,  55, 40, 24, 36, 20, 43, 27, 39, 23, 2,  50, 14, 62, 1,  49, 13, 61, 34, 18, 46, 30,
        33, 17, 45, 29, 10, 58, 6,  54, 9,  57, 5,  53, 42, 26, 38, 22, 41, 25, 37, 21};
    display.fnBuildDitherTable(table, Probe::DITHER_8X8);
    EXPECT_EQ(std::memcmp(table, kEight, 64), 0);
    std::memset(table, 0, 64);
    display.fnBuildDitherTable(table, static_cast<Probe::DITHER_PATTERN>(7)); // any other value
    EXPECT_EQ(std::memcmp(table, kEight, 64), 0);

    constexpr unsigned char kScaled[64] = {
        0,  38, 9,  47, 2,  40, 11, 50, 25, 12, 35, 22, 27, 15, 37, 24, 6,  44, 3,  41, 8,  47,
        5,  43, 31, 19, 28, 15, 34, 21, 31, 18, 1,  39, 11, 49, 0,  39, 10, 48, 27, 14, 36, 23,
        26, 13, 35, 23, 7,  46, 4,  43, 7,  45, 3,  42, 33, 20, 30, 17, 32, 19, 29, 16};
    EXPECT_EQ(std::memcmp(display.m_byDitherPattern, kScaled, 64), 0);
}

TEST(CqDisplayProperty, StoresTheStepsOfALevelTogetherWithATrailingZero) {
    CqDisplayWorld world(8);
    const Probe display;
    constexpr unsigned char kSteps[19] = {0,  36, 72, 108, 144, 180, 0, 6, 12, 18,
                                          24, 30, 0,  1,   2,   3,   4, 5, 0};
    const auto* first = reinterpret_cast<const unsigned char*>(&display.m_byStep36);
    EXPECT_EQ(std::memcmp(first, kSteps, 6), 0);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(&display.m_byStep6) - first, 6);
    EXPECT_EQ(std::memcmp(display.m_byStep6, kSteps + 6, 6), 0);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(&display.m_byStep1) - first, 12);
    EXPECT_EQ(std::memcmp(display.m_byStep1, kSteps + 12, 6), 0);
    EXPECT_EQ(&display.m_bySpare - first, 18);
    EXPECT_EQ(display.m_bySpare, 0);
}

TEST(CqDisplayProperty, HasTheTableOfQuotientsOnlyWhileTheScreenHas8Bits) {
    CqDisplayWorld world(8);
    Probe display;
    ASSERT_TRUE(display.m_pMappingTable);
    for (int v = 0; v < 256; ++v) {
        EXPECT_EQ(display.m_pMappingTable[static_cast<std::size_t>(v)], v / 51);
        EXPECT_EQ(display.m_pMappingTable[static_cast<std::size_t>(256 + v)], v % 51);
    }
    const unsigned char* before = display.m_pMappingTable.get();
    display.fnUpdate(); // nothing has changed
    EXPECT_EQ(display.m_pMappingTable.get(), before);
    world.fnScreen().fnSetMode({800, 600, 24, 96, 96});
    display.fnUpdate();
    EXPECT_FALSE(display.m_pMappingTable);
    EXPECT_EQ(display.fnGetDisplaySize(), CSize(800, 600));
    world.fnScreen().fnSetMode({800, 600, 8, 96, 96});
    display.fnUpdate();
    ASSERT_TRUE(display.m_pMappingTable);
    EXPECT_EQ(display.m_pMappingTable[255], 5);
    EXPECT_EQ(display.m_pMappingTable[256 + 254], 50);
}

TEST(CqDisplayProperty, AnUpdateWithoutMemoryOrScreenChangesNothing) {
    CqDisplayWorld world(32);
    Probe display;
    world.fnScreen().fnSetMode({320, 200, 8, 75, 75});
    const auto update = [&] {
        try {
            display.fnUpdate();
        } catch (CMemoryException* failure) {
            failure->Delete();
            return false;
        }
        return true;
    };
    world.fnScreen().m_GetDC.fnFail();
    EXPECT_FALSE(update());
    EXPECT_EQ(display.fnGetColorDepth(), 32u);
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool updated = update();
        const bool failed = failure.fnHappened();
        failure.fnEnd();
        EXPECT_EQ(updated, !failed);
        EXPECT_EQ(display.fnGetColorDepth(), failed ? 32u : 8u);
        EXPECT_EQ(display.fnGetDisplaySize(), failed ? CSize(640, 480) : CSize(320, 200));
        EXPECT_EQ(display.m_pMappingTable != nullptr, !failed);
    });
    EXPECT_GT(failures, 0u);
}

TEST(CqDisplayProperty, BrightensAbove180AndDarkensBelow) {
    CqDisplayWorld world(24);
    Probe display;
    const auto at = [&](std::size_t i) { return int{display.m_pGammaCurve[i]}; };
    display.fnSetGammaValue(220);
    EXPECT_TRUE(display.fnIsGammaInEffect());
    EXPECT_EQ(at(0), 0);
    EXPECT_EQ(at(1), 2);
    EXPECT_EQ(at(51), 68);
    EXPECT_EQ(at(128), 145);
    EXPECT_EQ(at(204), 212);
    EXPECT_EQ(at(255), 255);
    display.fnSetGammaValue(120);
    EXPECT_EQ(at(0), 0);
    EXPECT_EQ(at(1), 0);
    EXPECT_EQ(at(51), 22);
    EXPECT_EQ(at(128), 90);
    EXPECT_EQ(at(204), 182);
    EXPECT_EQ(at(255), 255);
    display.fnSetGammaValue(180);
    EXPECT_EQ(std::memcmp(display.m_pGammaCurve.get(), fnRamp().data(), 256), 0);
    EXPECT_FALSE(display.fnIsGammaInEffect());
}

TEST(CqDisplayProperty, AGammaOfZeroLeavesOnlyWhite) {
    CqDisplayWorld world(24);
    Probe display;
    display.fnSetGammaValue(0);
    EXPECT_EQ(display.fnGetGammaValue(), 0u);
    for (std::size_t i = 0; i < 255; ++i)
        EXPECT_EQ(display.m_pGammaCurve[i], 0) << i;
    EXPECT_EQ(display.m_pGammaCurve[255], 255);
}

TEST(CqDisplayProperty, AGammaValueSetWhileGammaIsOffIsLost) {
    CqDisplayWorld world(24);
    Probe display;
    display.fnSetGammaValue(200);
    EXPECT_TRUE(display.fnEnableGamma(false));
    EXPECT_FALSE(display.m_pGammaCurve);
    EXPECT_FALSE(display.fnIsGammaInEffect());
    display.fnSetGammaValue(220);
    EXPECT_EQ(display.fnGetGammaValue(), 200u);
    EXPECT_TRUE(display.fnEnableGamma(true));
    EXPECT_EQ(display.fnGetGammaValue(), 200u);
    EXPECT_TRUE(display.fnIsGammaInEffect());
    ASSERT_TRUE(display.m_pGammaCurve);
}

TEST(CqDisplayProperty, ThePaletteHasSixLevelsOfRedGreenAndBlue) {
    CqDisplayWorld world(8);
    const Probe display;
    const auto entries = fnEntries(display);
    ASSERT_EQ(entries.size(), 216u);
    for (int r = 0; r < 6; ++r)
        for (int g = 0; g < 6; ++g)
            for (int b = 0; b < 6; ++b) {
                const PALETTEENTRY& entry = entries[static_cast<std::size_t>(36 * r + 6 * g + b)];
                EXPECT_EQ(entry.peRed, 51 * r);
                EXPECT_EQ(entry.peGreen, 51 * g);
                EXPECT_EQ(entry.peBlue, 51 * b);
                EXPECT_EQ(entry.peFlags, 0);
            }
    EXPECT_EQ(display.fnGetPalette666(), &Probe::m_Pal666);
}

TEST(CqDisplayProperty, ThePaletteKeepsItsGammaWhenGammaIsDisabledAndLosesItWhenEnabled) {
    CqDisplayWorld world(8);
    Probe display;
    display.fnSetGammaValue(220);
    EXPECT_EQ(fnLevel1(display), 68);
    EXPECT_TRUE(display.fnEnableGamma(false));
    EXPECT_EQ(fnLevel1(display), 68);
    EXPECT_TRUE(display.fnEnableGamma(true));
    EXPECT_EQ(fnLevel1(display), 51);
    display.fnSetGammaValue(220); // unchanged, so nothing is rebuilt
    EXPECT_EQ(fnLevel1(display), 51);
    display.fnSetGammaValue(120);
    EXPECT_EQ(fnLevel1(display), 22);
    EXPECT_TRUE(display.fnEnableGamma(true)); // already on
    EXPECT_EQ(fnLevel1(display), 22);
}

TEST(CqDisplayProperty, ThePaletteOutlivesItsInstances) {
    CqDisplayWorld world(8);
    auto first = std::make_unique<Probe>();
    const CqPaletteObject* object = first->fnGetPalette666()->GetObject();
    first.reset();
    ASSERT_TRUE(Probe::m_Pal666.HasHandle());
    const Probe second;
    EXPECT_EQ(second.fnGetPalette666()->GetObject(), object);
}

TEST(CqDisplayProperty, WithoutMemoryGammaStaysOffAndTheUserIsNotified) {
    CqDisplayWorld world(24);
    Probe display;
    ASSERT_TRUE(display.fnEnableGamma(false));
    bool enabled = true;
    {
        const CqAllocationFailure failure(1);
        enabled = display.fnEnableGamma(true);
        EXPECT_TRUE(failure.fnHappened());
    }
    EXPECT_FALSE(enabled);
    EXPECT_FALSE(display.fnIsGammaEnabled());
    EXPECT_FALSE(display.m_pGammaCurve);
    const auto boxes = world.fnWorld().m_pMessages->fnGetBoxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].m_szText, "Insufficient memory. Please close other programs\n"
                                 "to free up system resources.");
}

TEST(CqDisplayProperty, TheConstructorPropagatesEachMemoryAndPaletteFailure) {
    CqDisplayWorld world(8);
    const auto make = [] {
        try {
            const Probe display;
        } catch (CMemoryException* failure) {
            failure->Delete();
            return false;
        }
        return true;
    };
    Probe::m_Pal666.DeleteObject();
    world.fnScreen().m_CreatePalette.fnFail();
    EXPECT_FALSE(make());
    EXPECT_FALSE(Probe::m_Pal666.HasHandle());
    world.fnScreen().m_GetDC.fnFail();
    EXPECT_FALSE(make());
    const std::size_t outstanding = CqAllocationFailure::fnOutstanding();
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        Probe::m_Pal666.DeleteObject();
        const bool made = make();
        const std::size_t left = CqAllocationFailure::fnOutstanding();
        const bool failed = failure.fnHappened();
        failure.fnEnd();
        EXPECT_EQ(made, !failed);
        if (failed) {
            EXPECT_EQ(left, outstanding);
        }
    });
    EXPECT_GE(failures, 3u); // the table of quotients, the curve, the palette
    EXPECT_TRUE(Probe::m_Pal666.HasHandle());
}

TEST(CqDisplayProperty, GammaLeavesTheFourthByteOf32BitPixels) {
    CqDisplayWorld world(32);
    Probe display;
    unsigned char pixels[] = {51, 128, 204, 51, 51, 51, 51, 77};
    display.fnGammaCorrect(pixels, 2, 32);
    EXPECT_EQ(pixels[0], 51); // at 180 gamma isn't in effect
    display.fnSetGammaValue(220);
    display.fnGammaCorrect(pixels, 2, 32);
    constexpr unsigned char kFour[] = {68, 145, 212, 51, 68, 68, 68, 77};
    EXPECT_EQ(std::memcmp(pixels, kFour, 8), 0);
    unsigned char triples[] = {51, 128, 204, 51, 51, 51};
    display.fnGammaCorrect(triples, 2, 24);
    constexpr unsigned char kThree[] = {68, 145, 212, 68, 68, 68};
    EXPECT_EQ(std::memcmp(triples, kThree, 6), 0);
    EXPECT_TRUE(display.fnEnableGamma(false));
    display.fnGammaCorrect(triples, 2, 24);
    EXPECT_EQ(std::memcmp(triples, kThree, 6), 0);
}

TEST(CqDisplayProperty, GammaOfABitmapFindsThePixelsAfterTheColorTable) {
    CqDisplayWorld world(32);
    Probe display;
    display.fnSetGammaValue(220);
    for (const int bits : {8, 24, 32}) {
        for (const DWORD used : {0u, 3u}) {
            const std::size_t table = bits > 8 ? 0 : 4 * (used ? used : 256u);
            const std::size_t pixelBytes = bits == 24 ? 3 : 4; // four for any depth but 24
            constexpr std::size_t kPitch = 20;
            std::vector<unsigned char> dib(40 + table + 2 * kPitch, 51);
            auto* header = reinterpret_cast<BITMAPINFOHEADER*>(dib.data());
            *header = BITMAPINFOHEADER{40, 3, 2, 1, static_cast<WORD>(bits), 0, 0, 0, 0, used, 0};
            auto expected = dib;
            for (std::size_t row = 0; row < 2; ++row)
                for (std::size_t i = 0; i < 3 * pixelBytes; ++i)
                    if (pixelBytes == 3 || i % 4 != 3)
                        expected[40 + table + row * kPitch + i] = 68;
            display.fnGammaCorrect(header, kPitch);
            EXPECT_EQ(dib, expected) << bits << " " << used;
        }
    }
}
