#include "q32Base/kernels/ContribList_p.h"
#include "q32Base/kernels/StreamPixels_p.h"
#include "tests/operations/StepDisplay.h"
#include "tests/resampling/PlainResample.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <limits>
#include <string>

namespace {

using namespace q32::test;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

class ResampleTest : public AttachedTest {
protected:
    Random m_Random{20};

    double fnUnit() { return m_Random() / 4294967296.0; }
    /// From 1/40 to 40, as often below 1 as above.
    double fnRandomScale() {
        static constexpr double kScales[] = {0.25, 1.0 / 3.0, 0.5, 1.5, 2.0, 3.0, 4.0, 5.0};
        return m_Random() % 3 == 0 ? kScales[m_Random() % 8]
                                   : std::exp(std::log(40.0) * (2.0 * fnUnit() - 1.0));
    }
    unsigned int fnDepth() {
        static constexpr unsigned int kDepths[] = {8, 16, 24, 32};
        return kDepths[m_Random() % 4];
    }

    /// Bytes with areas of one value, as in pictures.
    void fnPaint(CqImage& image) {
        switch (m_Random() % 3) {
        case 0:
            fnSetRandom(image, m_Random);
            break;
        case 1:
            fnSetAll(image, static_cast<unsigned char>(m_Random()));
            break;
        default:
            for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
                image.TileMap->PixelBuffer[i] =
                    (i / 600) % 2 ? 255 : static_cast<unsigned char>(m_Random() % 4 ? 17 : 18);
        }
    }

    static unsigned int fnScaled(unsigned int size, double scale) {
        const double exact = size * scale;
        const double whole = std::trunc(exact);
        return static_cast<unsigned int>(whole) + (exact - whole > 1e-10 ? 1 : 0);
    }

    /// Resamples by factors and compares with the plain rule.
    void fnCheckFactors(CqImage& image, double scaleX, double scaleY) {
        const unsigned int width = fnScaled(image.Width, scaleX);
        const unsigned int height = fnScaled(image.Height, scaleY);
        const std::string what = std::to_string(image.Width) + " x " +
                                 std::to_string(image.Height) + " at " +
                                 std::to_string(image.BitCount) + " bits by " +
                                 std::to_string(scaleX) + ", " + std::to_string(scaleY);
        const Rows before = fnRows(image);
        if (width == image.Width && height == image.Height)
            return;
        const Rows expected = fnPlainFilter(before, image.BitCount, width, height, scaleX, scaleY);
        image.fnResample(scaleX, scaleY, nullptr);
        ASSERT_EQ(image.Width, width) << what;
        ASSERT_EQ(image.Height, height) << what;
        ASSERT_TRUE(fnSameRows(fnRows(image), expected)) << what;
    }
};

TEST_F(ResampleTest, TheFilterFollowsItsRuleAtEveryFactor) {
    for (int round = 0; round < 150; ++round) {
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), fnDepth(), nullptr, 0);
        fnPaint(image);
        double scaleX = fnRandomScale();
        double scaleY = fnRandomScale();
        while (image.Width * scaleX * image.Height * scaleY > 400000.0) {
            scaleX /= 2.0;
            scaleY /= 3.0;
        }
        fnCheckFactors(image, scaleX, scaleY);
        if (HasFatalFailure())
            return;
    }
}

TEST_F(ResampleTest, TheFilterFollowsItsRuleToEverySize) {
    for (int round = 0; round < 60; ++round) {
        const unsigned int bits = fnDepth();
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), bits, q32GreyRamp, 0);
        fnPaint(image);
        const unsigned int width = m_Random() % 4 ? fnRandomSide(m_Random) : image.Width;
        const unsigned int height = m_Random() % 4 ? fnRandomSide(m_Random) : image.Height;
        if (width == image.Width && height == image.Height)
            continue;
        const Rows expected =
            fnPlainFilter(fnRows(image), bits, width, height, double(width) / image.Width,
                          double(height) / image.Height);
        image.fnResample(width, height, true, nullptr);
        ASSERT_TRUE(fnSameRows(fnRows(image), expected))
            << bits << " bits to " << width << " x " << height;
    }
}

TEST_F(ResampleTest, TheFilterFollowsItsRuleOnImagesOfOneRowOrColumn) {
    for (int round = 0; round < 24; ++round) {
        const unsigned int length = 1000 + m_Random() % 3000;
        const bool flat = round % 2 == 0;
        CqImage image(flat ? length : 1, flat ? 1 : length, fnDepth(), nullptr, 0);
        fnPaint(image);
        const double scale = fnRandomScale();
        const double other = round % 4 < 2 ? 1.0 : 5.0;
        fnCheckFactors(image, flat ? scale : other, flat ? other : scale);
        if (HasFatalFailure())
            return;
    }
}

TEST_F(ResampleTest, ASourceShorterThanTheFilterIsReflectedAgainAndAgain) {
    for (unsigned int side = 1; side <= 6; ++side)
        for (const double scale : {1.0 / 40.0, 0.1, 0.3, 0.7, 1.5, 7.0, 40.0})
            for (const unsigned int bits : {8u, 16u, 24u, 32u}) {
                CqImage image(side, 7 - side, bits, nullptr, 0);
                fnSetRandom(image, m_Random);
                fnCheckFactors(image, scale, 1.0 / scale);
                if (HasFatalFailure())
                    return;
            }
}

TEST_F(ResampleTest, AHugeReductionSumsEverySample) {
    CqImage image(5000, 3, 24, nullptr, 0);
    fnSetRandom(image, m_Random);
    fnCheckFactors(image, 1.0 / 2500.0, 0.34);
    ASSERT_EQ(image.Width, 2u);
}

TEST_F(ResampleTest, AReductionBeyondLanesAndRingsFollowsTheRuleAtEveryDepth) {
    for (const unsigned int bits : {8u, 16u, 24u, 32u})
        for (const unsigned int side : {1u, 35u}) { // one lane, and two groups of lanes
            CqImage wide(9000, side, bits, nullptr, 0);
            fnSetRandom(wide, m_Random);
            fnCheckFactors(wide, 1.0 / 2000.0, 1.0); // the middle columns cover over 8000 pixels
            CqImage tall(side, 9000, bits, nullptr, 0);
            fnSetRandom(tall, m_Random);
            fnCheckFactors(tall, 1.0, 1.0 / 2000.0); // more rows than the ring holds
            CqImage low(side, 40, bits, nullptr, 0);
            fnSetRandom(low, m_Random);
            fnCheckFactors(low, 1.0, 1.0 / 2000.0); // fewer rows than the samples of one sum
            if (HasFatalFailure())
                return;
        }
}

/// Bytes of a contributor table.
std::size_t fnTableBytes(double scale, std::size_t dstCount) {
    const double width = scale >= 1.0 ? 2.0 : 2.0 / scale;
    return dstCount * (sizeof(q32::ContribList) +
                       static_cast<std::size_t>(2.0 * width + 1.5) * sizeof(q32::ContribEntry));
}

TEST_F(ResampleTest, HugeReductionsTakeLittleMemoryBesidesTheirTables) {
    CqImage line(1000000, 1, 24, nullptr, 0);
    fnSetRandom(line, m_Random);
    const Rows expectedLine = fnPlainFilter(fnRows(line), 24, 1, 1, 1e-6, 1.0);
    CqImage strip(3, 100, 24, nullptr, 0);
    fnSetRandom(strip, m_Random);
    const Rows expectedStrip = fnPlainFilter(fnRows(strip), 24, 1, 1, 1e-6, 1e-6);
    const CqBlockWatch watch({fnTableBytes(1e-6, 1)});
    line.fnResample(1, 1, true, nullptr);
    EXPECT_EQ(watch.fnTaken(), 1u);
    strip.fnResample(1e-6, 1e-6, nullptr);
    EXPECT_EQ(watch.fnTaken(), 3u);
    EXPECT_EQ(watch.fnMostHeld(), 1u);
    EXPECT_LE(watch.fnLargestOther(), 4u << 20);
    EXPECT_EQ(fnRows(line), expectedLine);
    EXPECT_EQ(fnRows(strip), expectedStrip);
}

TEST_F(ResampleTest, TheFirstPassReleasesItsTableBeforeTheSecondIsBuilt) {
    for (const auto& [width, height] : {std::pair{70u, 90u}, {90u, 70u}, {31u, 17u}}) {
        CqImage image(51, 43, 8, q32GreyRamp, 0);
        const CqBlockWatch watch(
            {fnTableBytes(width / 51.0, width), fnTableBytes(height / 43.0, height)});
        image.fnResample(width, height, true, nullptr);
        EXPECT_GE(watch.fnTaken(), 2u);
        EXPECT_EQ(watch.fnMostHeld(), 1u);
    }
}

TEST_F(ResampleTest, ThreePixelsDoubledHaveTheWeightsOfTheirDistances) {
    // Distances 1, 0, 1 have weights 1/18, 16/18, 1/18; distances 1.5, 0.5, 0.5, 1.5 have
    // -5/144, 77/144, 77/144, -5/144. Pixel -1 is pixel 1, and pixel 3 is pixel 2.
    CqImage image(3, 1, 8, q32GreyRamp, 0);
    fnSetRows(image, {{18, 180, 90}});
    image.fnResample(6, 1, true, nullptr);
    EXPECT_EQ(fnRows(image),
              (Rows{{(180 + 18 * 16 + 180) / 18,                         // 36
                     (-5 * 180 + 77 * 18 + 77 * 180 - 5 * 90) / 144,     // 96
                     (18 + 180 * 16 + 90) / 18,                          // 166
                     (-5 * 18 + 77 * 180 + 77 * 90 - 5 * 90) / 144,      // 140
                     (180 + 90 * 16 + 90) / 18,                          // 95
                     (-5 * 180 + 77 * 90 + 77 * 90 - 5 * 180) / 144}})); // 83
}

TEST_F(ResampleTest, GreenOf16BitsDoesNotPassTheFilterUnchanged) {
    CqImage image(8, 8, 16, nullptr, 0);
    Rows rows(8, Bytes(16));
    for (Bytes& row : rows)
        for (std::size_t x = 0; x < 8; ++x) {
            row[2 * x] = 0x07; // green only, all bits set
            row[2 * x + 1] = 0xE0;
        }
    fnSetRows(image, rows);
    image.fnResample(8, 16, true, nullptr);
    // Read: red 0; green (0xE007 >> 3) & 0xFC = 0x00, blue 0xE0 << 3 = 0x00.
    EXPECT_EQ(fnRows(image), Rows(16, Bytes(16, 0)));
}

TEST_F(ResampleTest, TheSameSizeChangesAndReportsNothing) {
    CqImage image(30, 20, 24, nullptr, 0);
    const CqTileMap* map = image.TileMap;
    StepDisplay display;
    image.fnResample(30, 20, true, &display);
    image.fnResample(30, 20, false, &display);
    image.fnResample(1.0, 1.0, &display);
    EXPECT_EQ(image.TileMap, map);
    EXPECT_TRUE(display.m_Percents.empty());
}

TEST_F(ResampleTest, FactorsThatKeepASizeLeaveThatDimensionUnchanged) {
    // 30 x 0.995 is 29.85, rounded up to 30.
    CqImage image(30, 30, 24, nullptr, 0);
    fnSetRandom(image, m_Random);
    const CqTileMap* map = image.TileMap;
    StepDisplay none;
    image.fnResample(0.995, 0.995, &none);
    EXPECT_EQ(image.TileMap, map);
    EXPECT_TRUE(none.m_Percents.empty());
    CqImage equal(image);
    equal.fnResample(1.0, 2.0, nullptr);
    StepDisplay heightAlone;
    image.fnResample(0.995, 2.0, &heightAlone);
    EXPECT_EQ(heightAlone.m_Percents, fnRun(30)); // one pass: columns
    EXPECT_EQ(fnRows(image), fnRows(equal));
    StepDisplay widthAlone;
    image.fnResample(2.0, 0.99, &widthAlone);    // 59.4 is 60
    EXPECT_EQ(widthAlone.m_Percents, fnRun(60)); // one pass: rows
}

TEST_F(ResampleTest, PaletteImagesTakeTheNearestPixelButAreFilteredByFactors) {
    CqImage image(50, 40, 8, nullptr, 0);
    fnSetRandom(image, m_Random);
    CqImage byFactor(image);
    Rows nearest(100, Bytes(100));
    fnPlainNearest(fnRows(image), 50, 8, 100, nearest);
    const Rows filtered = fnPlainFilter(fnRows(image), 8, 100, 80, 2.0, 2.0);
    image.fnResample(100, 100, true, nullptr);
    EXPECT_TRUE(fnSameRows(fnRows(image), nearest));
    EXPECT_EQ(image.PaletteCount, 256u);
    byFactor.fnResample(2.0, 2.0, nullptr);
    EXPECT_TRUE(fnSameRows(fnRows(byFactor), filtered));
}

TEST_F(ResampleTest, GreyImagesAreFilteredAndStayGrey) {
    CqImage image(50, 40, 8, q32GreyRamp, 0);
    fnSetRandom(image, m_Random);
    const Rows filtered = fnPlainFilter(fnRows(image), 8, 20, 30, 20.0 / 50.0, 30.0 / 40.0);
    image.fnResample(20, 30, true, nullptr);
    EXPECT_TRUE(fnSameRows(fnRows(image), filtered));
    EXPECT_TRUE(image.fnIsGrayScale());
}

TEST_F(ResampleTest, SizesByFactorsAreRoundedUpExceptForRoundingError) {
    const auto sizeOf = [](double scale) {
        CqImage image(10, 1, 24, nullptr, 0);
        image.fnResample(scale, 2.0, nullptr);
        return image.Width;
    };
    EXPECT_EQ(sizeOf(1.5 + 1e-12), 15u); // 15 + 1e-11
    EXPECT_EQ(sizeOf(1.5 + 1e-10), 16u); // 15 + 1e-9
    EXPECT_EQ(sizeOf(1.51), 16u);
    EXPECT_EQ(sizeOf(0.01), 1u);
}

TEST_F(ResampleTest, NearestFollowsItsRuleAtEveryDepth) {
    for (int round = 0; round < 150; ++round) {
        const unsigned int bits = fnRandomBits(m_Random);
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), bits, nullptr, 0);
        fnSetRandom(image, m_Random);
        const unsigned int width = fnRandomSide(m_Random);
        const unsigned int height = fnRandomSide(m_Random);
        if (width == image.Width && height == image.Height)
            continue;
        Rows expected(height, Bytes((width * bits + 7) / 8));
        fnPlainNearest(fnRows(image), image.Width, bits, width, expected);
        image.fnResample(width, height, false, nullptr);
        ASSERT_TRUE(fnSameRows(fnRows(image), expected))
            << bits << " bits, " << width << " x " << height;
    }
}

TEST_F(ResampleTest, NearestFollowsItsRuleOnLongImages) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u})
        for (const unsigned int to : {3u, 1000u, 4001u, 70000u, 200000u}) {
            CqImage wide(70001, 1, bits, nullptr, 0);
            fnSetRandom(wide, m_Random);
            Rows expected(1, Bytes((to * bits + 7) / 8));
            fnPlainNearest(fnRows(wide), wide.Width, bits, to, expected);
            wide.fnResample(to, 1, false, nullptr);
            ASSERT_TRUE(fnSameRows(fnRows(wide), expected)) << bits << " bits to " << to;
        }
}

TEST_F(ResampleTest, NearestFollowsItsRuleOnTargetsLargerThanTheCaches) {
    CqImage image(1001, 700, 32, nullptr, 0);
    fnSetRandom(image, m_Random);
    Rows expected(2111, Bytes(std::size_t{4} * 2999));
    fnPlainNearest(fnRows(image), image.Width, 32, 2999, expected);
    image.fnResample(2999, 2111, false, nullptr);
    ASSERT_GT(image.TileMap->BufferSize, q32::kStreamLeast);
    EXPECT_TRUE(fnSameRows(fnRows(image), expected));
}

TEST_F(ResampleTest, NearestRowsBeyond65535WrapToTheTop) {
    CqImage tall(1, 65540, 8, nullptr, 0);
    fnSetRandom(tall, m_Random);
    const Rows from = fnRows(tall);
    Rows expected(65541, Bytes(1));
    fnPlainNearest(from, 1, 8, 1, expected);
    tall.fnResample(1, 65541, false, nullptr);
    EXPECT_TRUE(fnSameRows(fnRows(tall), expected));
    CqImage twice(1, 70000, 8, nullptr, 0);
    fnSetRandom(twice, m_Random);
    const Rows rows = fnRows(twice);
    twice.fnResample(2, 70000, false, nullptr);
    EXPECT_EQ(fnRows(twice)[65536], (Bytes{rows[0][0], rows[0][0]}));
}

TEST_F(ResampleTest, FilteringA4BitImageGivesABlankOneOfTheNewSize) {
    CqImage image(11, 9, 4, nullptr, 0);
    fnSetAll(image, 0xFF);
    StepDisplay display;
    image.fnResample(2.0, 0.5, &display);
    EXPECT_EQ(image.Width, 22u);
    EXPECT_EQ(image.Height, 5u);
    EXPECT_EQ(fnRows(image), Rows(5, Bytes(11, 0)));
    std::vector<unsigned int> expected = fnRun(11, 0, 50);
    for (const unsigned int percent : fnRun(5, 50, 50))
        expected.push_back(percent);
    EXPECT_EQ(display.m_Percents, expected);
}

TEST_F(ResampleTest, SizesThatNoImageCanHaveRaiseTheMemoryException) {
    CqImage image(100, 100, 24, nullptr, 0);
    fnSetRandom(image, m_Random);
    const Rows before = fnRows(image);
    const CqTileMap* map = image.TileMap;
    for (const double bad : {kNotANumber, kInfinity, -kInfinity, -1.0, -0.001, 0.0, -0.0, 1e-300,
                             5e-324, 1e-13, 1e300, 42949672.96, 1e8, 1e6}) {
        EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnResample(bad, 1.5, nullptr); })) << bad;
        EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnResample(1.5, bad, nullptr); })) << bad;
    }
    for (const auto& size :
         {std::pair{0u, 100u}, {100u, 0u}, {0u, 0u}, {0xFFFFFFFFu, 100u}, {65536u, 65536u}})
        for (const bool interpolate : {false, true})
            EXPECT_TRUE(fnRaisesMemoryException(
                [&] { image.fnResample(size.first, size.second, interpolate, nullptr); }));
    EXPECT_EQ(image.TileMap, map);
    EXPECT_TRUE(fnSameRows(fnRows(image), before));
}

TEST_F(ResampleTest, AnIntermediateOf4GiBAndMoreRaisesTheMemoryException) {
    CqImage image(1, 1u << 20, 8, q32GreyRamp, 0);
    const CqTileMap* map = image.TileMap;
    EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnResample(4096, 4097, true, nullptr); }));
    EXPECT_EQ(image.TileMap, map);
}

TEST_F(ResampleTest, ProgressRunsOncePerUnitOfEachPass) {
    const auto percentsOf = [](unsigned int width, unsigned int height, bool interpolate) {
        CqImage image(140, 150, 24, nullptr, 0);
        StepDisplay display;
        image.fnResample(width, height, interpolate, &display);
        return display.m_Percents;
    };
    const auto twice = [](unsigned int first, unsigned int second) {
        std::vector<unsigned int> percents = fnRun(first, 0, 50);
        const std::vector<unsigned int> rest = fnRun(second, 50, 50);
        percents.insert(percents.end(), rest.begin(), rest.end());
        return percents;
    };
    EXPECT_EQ(percentsOf(30, 290, false), fnRun(290));      // nearest: target rows
    EXPECT_EQ(percentsOf(200, 150, true), fnRun(150));      // width: rows
    EXPECT_EQ(percentsOf(140, 20, true), fnRun(140));       // height: columns
    EXPECT_EQ(percentsOf(30, 31, true), twice(150, 30));    // rows first
    EXPECT_EQ(percentsOf(300, 160, true), twice(140, 160)); // columns first
    EXPECT_EQ(percentsOf(31, 31, true), twice(140, 31));    // as high as wide: columns first
}

TEST_F(ResampleTest, OnlyTheTargetsShapeDeterminesTheFirstPass) {
    CqImage image(10, 7, 24, nullptr, 0);
    StepDisplay display;
    image.fnResample(1000, 5, true, &display);
    ASSERT_EQ(display.m_Percents.size(), 15u); // 10 source columns, then 5 target rows
    EXPECT_EQ(display.m_Percents[9], 45u);
    EXPECT_EQ(display.m_Percents[10], 50u);
}

TEST_F(ResampleTest, AnAbortAtAnyCallKeepsTheImage) {
    struct Way {
        unsigned int width, height;
        bool interpolate;
        std::size_t calls;
    };
    for (const Way& way :
         {Way{20, 29, false, 29}, Way{20, 33, true, 33}, Way{26, 29, true, 26},
          Way{20, 30, true, 33 + 20}, Way{40, 30, true, 26 + 30}, Way{13, 11, true, 26 + 11},
          Way{26, 300, true, 26}, Way{200, 300, true, 33 + 200}}) { // bands and blocks
        CqImage image(26, 33, 24, nullptr, 0);
        fnSetRandom(image, m_Random);
        const Rows before = fnRows(image);
        const CqTileMap* map = image.TileMap;
        StepDisplay whole;
        CqImage copy(image);
        copy.fnResample(way.width, way.height, way.interpolate, &whole);
        ASSERT_EQ(whole.m_Percents.size(), way.calls);
        for (std::size_t call = 0; call < way.calls; ++call) {
            StepDisplay display(call);
            image.fnResample(way.width, way.height, way.interpolate, &display);
            ASSERT_TRUE(display.fnWasAborted());
            ASSERT_EQ(display.m_Percents,
                      std::vector<unsigned int>(whole.m_Percents.begin(),
                                                whole.m_Percents.begin() +
                                                    static_cast<std::ptrdiff_t>(call + 1)));
            ASSERT_EQ(image.TileMap, map);
            ASSERT_TRUE(fnSameRows(fnRows(image), before));
        }
    }
}

TEST_F(ResampleTest, AnAbortAtAnyCallKeepsTheImageByFactorsToo) {
    CqImage image(12, 9, 32, nullptr, 0);
    const CqTileMap* map = image.TileMap;
    for (std::size_t call = 0; call < 12 + 5; ++call) {
        StepDisplay display(call);
        image.fnResample(0.9, 0.5, &display);
        EXPECT_EQ(display.m_Percents.size(), call + 1);
        EXPECT_EQ(image.TileMap, map);
    }
}

TEST_F(ResampleTest, AnAbortAtAnyCallLeavesNothingOnTheDisk) {
    CqHeadlessScratch& scratch = *m_World->m_pScratch;
    const std::uint32_t limit = 0;
    q32GetVMPolicy()->fnSetRamLimit(limit); // everything goes to disk
    CqImage image(26, 33, 24, nullptr, 0);
    const CqTileMap* map = image.TileMap;
    struct Way {
        unsigned int width, height;
        std::size_t calls;
    };
    for (const Way& way : {Way{20, 30, 33 + 20}, Way{40, 30, 26 + 30}, Way{200, 300, 33 + 200}}) {
        const std::size_t files = m_World->m_pDisks->fnGetFiles().size();
        const std::uint32_t used = q32GetVMPolicy()->fnGetRamUsed();
        for (std::size_t call = 0; call < way.calls; ++call) {
            StepDisplay display(call);
            display.m_Percents.reserve(way.calls);
            const std::size_t blocks = CqAllocationFailure::fnOutstanding();
            image.fnResample(way.width, way.height, true, &display);
            ASSERT_EQ(CqAllocationFailure::fnOutstanding(), blocks) << "call " << call;
            ASSERT_EQ(display.m_Percents.size(), call + 1);
            ASSERT_EQ(image.TileMap, map);
            ASSERT_EQ(scratch.fnGetHandles(), 1u); // the source's
            ASSERT_EQ(scratch.fnGetMappings(), 1u);
            ASSERT_EQ(scratch.fnGetViews(), 1u);
            ASSERT_EQ(m_World->m_pDisks->fnGetFiles().size(), files);
            ASSERT_EQ(q32GetVMPolicy()->fnGetRamUsed(), used);
        }
    }
}

/// A host's display that reports the abort without the base class.
class OwnDisplay : public CqProgressDisplay {
public:
    OwnDisplay() : CqProgressDisplay(false) {}
    void fnDrawStatus(unsigned int, bool* aborted) override { *aborted = ++m_nCalls == 3; }
    int m_nCalls = 0;
};

TEST_F(ResampleTest, AnAbortReportedOnlyByTheCallKeepsTheImageToo) {
    CqImage image(12, 9, 32, nullptr, 0);
    const CqTileMap* map = image.TileMap;
    OwnDisplay display;
    image.fnResample(5, 5, true, &display);
    EXPECT_EQ(display.m_nCalls, 3);
    EXPECT_EQ(image.TileMap, map);
}

/// Each way of resampling once, on an image of that depth.
template <typename Work>
void fnForEachWay(unsigned int bits, Work work) {
    work(bits, [](CqImage& image) { image.fnResample(20, 29, false, nullptr); });
    work(bits, [](CqImage& image) { image.fnResample(20, 33, true, nullptr); });
    work(bits, [](CqImage& image) { image.fnResample(26, 29, true, nullptr); });
    work(bits, [](CqImage& image) { image.fnResample(20, 30, true, nullptr); });
    work(bits, [](CqImage& image) { image.fnResample(40, 30, true, nullptr); });
    work(bits, [](CqImage& image) { image.fnResample(0.3, 1.4, nullptr); });
    work(bits, [](CqImage& image) { image.fnResample(13, 11, true, nullptr); }); // fixed-point sums
}

TEST_F(ResampleTest, EveryFailedAllocationKeepsTheImageAndLeaksNothing) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u})
        fnForEachWay(bits, [](unsigned int depth, auto resample) {
            CqImage image(26, 33, depth, q32GreyRamp, 0);
            fnSetAll(image, 99);
            const Rows before = fnRows(image);
            const CqTileMap* map = image.TileMap;
            const std::size_t blocks = CqAllocationFailure::fnOutstanding();
            const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
                const bool raised = fnRaisesMemoryException([&] { resample(image); });
                failure.fnEnd();
                if (!failure.fnHappened())
                    return;
                // A failure in RAM falls back to disk, so not every failure is visible.
                if (raised) {
                    EXPECT_EQ(image.TileMap, map);
                    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), blocks);
                    EXPECT_TRUE(fnSameRows(fnRows(image), before));
                } else {
                    image.fnAlloc(26, 33, depth, q32GreyRamp, 0);
                    fnSetAll(image, 99);
                    map = image.TileMap;
                }
            });
            EXPECT_GE(failures, 3u);
        });
}

TEST_F(ResampleTest, EveryFailedStorageStepKeepsTheImageAndLeavesNoScratchFile) {
    CqHeadlessScratch& scratch = *m_World->m_pScratch;
    CqHeadlessCalls* const steps[] = {&scratch.m_CreateName,    &scratch.m_Open,
                                      &scratch.m_SetSize,       &scratch.m_Reopen,
                                      &scratch.m_CreateMapping, &scratch.m_MapView};
    CqImage image(26, 33, 24, nullptr, 0);
    fnSetRandom(image, m_Random);
    const Rows before = fnRows(image);
    const CqTileMap* map = image.TileMap;
    const std::uint32_t limit = 0;
    q32GetVMPolicy()->fnSetRamLimit(limit); // from now on everything goes to disk
    for (CqHeadlessCalls* step : steps)
        for (const std::uint64_t nth : {1u, 2u}) { // the new image, then the intermediate
            step->fnFail(nth);
            EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnResample(40, 30, true, nullptr); }));
            step->fnFailNever();
            EXPECT_EQ(image.TileMap, map);
            EXPECT_TRUE(fnSameRows(fnRows(image), before));
            EXPECT_EQ(scratch.fnGetHandles(), 0u);
            for (const std::string& file : m_World->m_pDisks->fnGetFiles())
                EXPECT_EQ(m_World->m_pDisks->fnGetFile(file), "") << file; // never opened
        }
    const Rows expected = fnPlainFilter(before, 24, 40, 30, 40.0 / 26.0, 30.0 / 33.0);
    image.fnResample(40, 30, true, nullptr);
    EXPECT_TRUE(fnSameRows(fnRows(image), expected));
    EXPECT_EQ(scratch.fnGetHandles(), 1u); // that of the intermediate is closed
}

} // namespace
