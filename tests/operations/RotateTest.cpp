#include "tests/operations/PlainRotate.h"
#include "tests/operations/StepDisplay.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <limits>
#include <string>

namespace {

using namespace q32::test;

const double kTestPi = std::atan2(1.0, 1.0) * 4.0;

class RotateTest : public AttachedTest {
protected:
    Random m_Random{30};

    double fnUnit() { return m_Random() / 4294967296.0; }
    unsigned int fnDepth() {
        static constexpr unsigned int kDepths[] = {8, 16, 24, 32};
        return kDepths[m_Random() % 4];
    }
    CqColor fnColor(const CqImage& image) { return fnRandomColor(m_Random, image); }
    CPoint fnPivot(const CqImage& image) {
        switch (m_Random() % 4) {
        case 0:
            return {static_cast<LONG>(image.Width / 2), static_cast<LONG>(image.Height / 2)};
        case 1:
            return {fnBelow(m_Random, 1200) - 600, fnBelow(m_Random, 1200) - 600};
        default:
            return {fnBelow(m_Random, image.Width), fnBelow(m_Random, image.Height)};
        }
    }

    /// The background's index or bytes by the rule.
    static Pixel fnBackground(const CqImage& image, const CqColor& color) {
        if (image.BitCount == 24)
            return {color.m_Red, color.m_Green, color.m_Blue, 0};
        if (image.BitCount == 32)
            return {color.m_Alpha, color.m_Red, color.m_Green, color.m_Blue};
        for (std::uint32_t i = 0; i < image.PaletteCount; ++i)
            if (color == &image.TileMap->Palette[i])
                return {static_cast<unsigned char>(i), 0, 0, 0};
        return {};
    }

    /// Rotates by an angle that isn't a right angle, and compares with the rule.
    void fnCheckAny(CqImage& image, double angle, CPoint pivot, bool antiAlias,
                    const CqColor& color) {
        const std::string what = std::to_string(image.Width) + " x " +
                                 std::to_string(image.Height) + " at " +
                                 std::to_string(image.BitCount) + " bits by " +
                                 std::to_string(angle) + (antiAlias ? " blended" : "") + " about " +
                                 std::to_string(pivot.x) + "," + std::to_string(pivot.y);
        const double a = fnPlainAngle(angle);
        const double rad = kTestPi * a * 0.005555555555555556;
        PlainRotation turn = {std::sin(rad),
                              std::cos(rad),
                              pivot,
                              {},
                              fnBackground(image, color),
                              antiAlias && (image.BitCount != 8 || image.fnIsGrayScale())};
        Picture from(image);
        std::int64_t width;
        std::int64_t height;
        fnPlainBox(from.width, from.height, turn, antiAlias, width, height);
        Picture to(static_cast<int>(width), static_cast<int>(height), from.bytes);
        if (image.BitCount != 16)
            fnPlainRotateAny(from, to, turn);
        image.fnRotate(angle, color, &pivot, antiAlias, nullptr);
        ASSERT_EQ(image.Width, width) << what;
        ASSERT_EQ(image.Height, height) << what;
        ASSERT_EQ(pivot, turn.newCenter) << what;
        ASSERT_TRUE(fnSameRows(fnRows(image), to.rows)) << what;
    }

    void fnPaint(CqImage& image) {
        if (m_Random() % 3 == 0)
            fnSetAll(image, static_cast<unsigned char>(m_Random() % 2 ? 255 : m_Random()));
        else
            fnSetRandom(image, m_Random);
    }
};

TEST_F(RotateTest, AnyAngleFollowsItsRule) {
    for (int round = 0; round < 160; ++round) {
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), fnDepth(),
                      m_Random() % 2 ? q32GreyRamp : nullptr, 0);
        fnPaint(image);
        const double angle =
            round % 8 == 0 ? 45.0 * (2 * fnBelow(m_Random, 8) - 7) : 2000.0 * fnUnit() - 1000.0;
        fnCheckAny(image, angle, fnPivot(image), m_Random() % 2 != 0, fnColor(image));
        if (HasFatalFailure())
            return;
    }
}

TEST_F(RotateTest, AnyAngleFollowsItsRuleOnLongImages) {
    for (const unsigned int bits : {8u, 24u, 32u})
        for (const double angle : {0.25, -89.75, 120.0, 179.5}) {
            CqImage image(3000, 1, bits, q32GreyRamp, 0);
            fnSetRandom(image, m_Random);
            fnCheckAny(image, angle, CPoint(1500, 0), angle < 100.0, CqColor(7, 7, 7, 7));
            if (HasFatalFailure())
                return;
        }
}

TEST_F(RotateTest, TinyAnglesAndAnglesNearRightOnesFollowTheRuleOfAnyAngle) {
    for (const double angle : {1e-9, -1e-9, 1e-6, 90.000001, 89.9999999, 180.0000001, -270.000001,
                               359.999999, 359.9999999998, -359.9999999998}) {
        CqImage image(140, 131, 24, nullptr, 0);
        fnSetRandom(image, m_Random);
        fnCheckAny(image, angle, CPoint(70, 65), true, CqColor(1, 2, 3, 4));
        CqImage grey(131, 12, 8, q32GreyRamp, 0);
        fnSetRandom(grey, m_Random);
        fnCheckAny(grey, angle, CPoint(0, 0), false, CqColor(9, 9, 9, 9));
        if (HasFatalFailure())
            return;
    }
}

TEST_F(RotateTest, APivotFarOutsideGivesALargeMap) {
    CqImage image(5, 4, 8, q32GreyRamp, 0);
    fnSetRandom(image, m_Random);
    // All of it has negative coordinates and is measured from 0.
    fnCheckAny(image, -0.5, CPoint(3000, 2000), true, CqColor(5, 5, 5, 255));
    CqImage other(5, 4, 24, nullptr, 0);
    fnSetRandom(other, m_Random);
    fnCheckAny(other, 30.0, CPoint(-900, 700), false, CqColor(5, 6, 7, 255));
    // Towards the upper left the size doesn't grow, however far: only precision is lost.
    CqImage large(200, 100, 32, nullptr, 0);
    fnSetRandom(large, m_Random);
    fnCheckAny(large, 30.0, CPoint(-0x7FFFFFFF - 1, -0x7FFFFFFF - 1), true, CqColor(1, 2, 3, 4));
}

TEST_F(RotateTest, APivotThatNoMapCanHoldRaisesTheMemoryException) {
    constexpr LONG kMax = 0x7FFFFFFF;
    CqImage image(40, 30, 24, nullptr, 0);
    fnSetRandom(image, m_Random);
    const Rows before = fnRows(image);
    for (const CPoint pivot : {CPoint(kMax, 0), CPoint(kMax, kMax), CPoint(0, kMax),
                               CPoint(kMax, -kMax - 1), CPoint(2000000, 2000000)}) {
        CPoint center = pivot;
        EXPECT_TRUE(fnRaisesMemoryException(
            [&] { image.fnRotate(30.0, CqColor(), &center, true, nullptr); }));
        EXPECT_EQ(center, pivot);
    }
    EXPECT_TRUE(fnSameRows(fnRows(image), before));
}

TEST_F(RotateTest, APivotAtTheLimitOfTheCoordinatesIsMovedWithoutOverflow) {
    constexpr LONG kMax = 0x7FFFFFFF;
    CqImage image(4, 2, 24, nullptr, 0);
    CPoint center(-kMax - 1, -kMax - 1);
    image.fnRotate(90.0, CqColor(), &center, false, nullptr);
    EXPECT_EQ(center, CPoint(-kMax + 1, -kMax - 1)); // 2 - y wraps
}

TEST_F(RotateTest, QuartersMoveEveryPixelAtEveryDepth) {
    for (int round = 0; round < 120; ++round) {
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), fnDepth(), nullptr, 0);
        fnSetRandom(image, m_Random);
        static constexpr double kAngles[] = {90.0, -90.0, 270.0, -270.0, 450.0, -450.0};
        const double angle = kAngles[m_Random() % 6];
        const double inner = fnPlainAngle(angle);
        const bool left = inner == 90.0 || inner == -270.0;
        Picture from(image);
        Picture to(from.height, from.width, from.bytes);
        fnPlainQuarter(from, to, left);
        CPoint center = fnPivot(image);
        const CPoint expected = left ? CPoint(center.y, from.width - center.x)
                                     : CPoint(from.height - center.y, center.x);
        image.fnRotate(angle, CqColor(), &center, m_Random() % 2 != 0, nullptr);
        ASSERT_EQ(image.Width, static_cast<unsigned int>(to.width));
        ASSERT_EQ(image.Height, static_cast<unsigned int>(to.height));
        ASSERT_EQ(center, expected);
        ASSERT_TRUE(fnSameRows(fnRows(image), to.rows))
            << from.width << " x " << from.height << " of " << from.bytes << " bytes by " << angle;
    }
}

TEST_F(RotateTest, PlusNinetyRotatesClockwiseAndMinusNinetyBack) {
    CqImage image(4, 2, 8, q32GreyRamp, 0);
    fnSetRows(image, {{1, 2, 3, 4}, {5, 6, 7, 8}});
    CqImage back(image);
    CPoint center(0, 0);
    image.fnRotate(90.0, CqColor(), &center, false, nullptr);
    EXPECT_EQ(fnRows(image), (Rows{{5, 1}, {6, 2}, {7, 3}, {8, 4}}));
    EXPECT_EQ(center, CPoint(2, 0)); // without the -1 that applies to pixels
    center = CPoint(0, 0);
    back.fnRotate(-90.0, CqColor(), &center, false, nullptr);
    EXPECT_EQ(fnRows(back), (Rows{{4, 8}, {3, 7}, {2, 6}, {1, 5}}));
    EXPECT_EQ(center, CPoint(0, 4));
}

TEST_F(RotateTest, OtherPositiveAnglesRotateCounterClockwise) {
    CqImage image(101, 101, 8, q32GreyRamp, 0);
    fnSetAll(image, 0);
    image.TileMap->fnStoreRow(50, Bytes(101, 0).data());
    Bytes row(101, 0);
    row[95] = 255; // right of the middle
    image.TileMap->fnStoreRow(50, row.data());
    image.fnRotate(89.0, CqColor(0, 0, 0, 255), nullptr, false, nullptr);
    const Rows rows = fnRows(image);
    for (std::size_t y = 0; y < rows.size(); ++y)
        for (const unsigned char byte : rows[y])
            EXPECT_TRUE(byte != 255 || y < 15); // near the top
}

TEST_F(RotateTest, AHalfRotationIsDoneInPlaceAtEveryDepth) {
    for (int round = 0; round < 80; ++round) {
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), fnDepth(), nullptr, 0);
        fnSetRandom(image, m_Random);
        Picture from(image);
        Picture to(from.width, from.height, from.bytes);
        for (int y = 0; y < from.height; ++y)
            for (int x = 0; x < from.width; ++x)
                std::copy_n(from.fnAt(x, y), from.bytes,
                            to.fnAt(from.width - 1 - x, from.height - 1 - y));
        const CqTileMap* map = image.TileMap;
        CPoint center(3, 5);
        image.fnRotate(round % 2 ? 180.0 : -540.0, CqColor(), &center, false, nullptr);
        ASSERT_EQ(image.TileMap, map);
        ASSERT_EQ(center, CPoint(from.width - 3, from.height - 5));
        ASSERT_TRUE(fnSameRows(fnRows(image), to.rows)) << from.width << " x " << from.height;
    }
}

TEST_F(RotateTest, ARotationByZeroChangesNothingAndLeavesThePivot) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    CqImage image(9, 7, 24, nullptr, 0);
    fnSetRandom(image, m_Random);
    const Rows before = fnRows(image);
    const CqTileMap* map = image.TileMap;
    for (const double angle :
         {0.0, -0.0, 360.0, -720.0, 359.99999999995, 9e-11, -9e-11, 3600000000.0, kInfinity,
          -kInfinity, std::numeric_limits<double>::quiet_NaN()}) {
        StepDisplay display;
        CPoint center(2, 3);
        image.fnRotate(angle, CqColor(), &center, true, &display);
        EXPECT_EQ(center, CPoint(2, 3)) << angle;
        EXPECT_EQ(image.TileMap, map) << angle;
        EXPECT_TRUE(display.m_Percents.empty()) << angle;
    }
    EXPECT_TRUE(fnSameRows(fnRows(image), before));
}

TEST_F(RotateTest, HugeAnglesAreReducedInOneStep) {
    CqImage image(4, 2, 24, nullptr, 0);
    fnSetRandom(image, m_Random);
    CqImage other(image);
    image.fnRotate(360.0 * 1e12 + 90.0, CqColor(), nullptr, false, nullptr);
    other.fnRotate(90.0, CqColor(), nullptr, false, nullptr);
    EXPECT_EQ(fnRows(image), fnRows(other));
    image.fnRotate(1e300, CqColor(), nullptr, false, nullptr);
    EXPECT_NE(image.TileMap, nullptr);
}

TEST_F(RotateTest, FourBitImagesAreLeftUnchanged) {
    CqImage image(9, 7, 4, nullptr, 0);
    fnSetRandom(image, m_Random);
    const Rows before = fnRows(image);
    const CqTileMap* map = image.TileMap;
    for (const double angle : {90.0, 180.0, -90.0, 30.0}) {
        StepDisplay display;
        CPoint center(2, 3);
        image.fnRotate(angle, CqColor(), &center, true, &display);
        EXPECT_EQ(center, CPoint(2, 3));
        EXPECT_TRUE(display.m_Percents.empty());
    }
    EXPECT_EQ(image.TileMap, map);
    EXPECT_EQ(fnRows(image), before);
}

TEST_F(RotateTest, SixteenBitImagesComeOutBlankAtOtherAngles) {
    CqImage image(60, 40, 16, nullptr, 0);
    fnSetAll(image, 0xFF);
    StepDisplay display;
    CPoint center(30, 20);
    image.fnRotate(30.0, CqColor(255, 255, 255, 255), &center, true, &display);
    EXPECT_EQ(center,
              CPoint(static_cast<LONG>(image.Width / 2), static_cast<LONG>(image.Height / 2)));
    EXPECT_GT(image.Width, 60u);
    EXPECT_EQ(fnRows(image), Rows(image.Height, Bytes(image.RowBytes, 0)));
    EXPECT_TRUE(display.m_Percents.empty());
}

TEST_F(RotateTest, PaletteImagesKeepTheLargerMarginButAreNotBlended) {
    CqImage palette(60, 40, 8, nullptr, 0);
    CqImage grey(60, 40, 8, q32GreyRamp, 0);
    fnSetAll(palette, 200);
    const CqColor background(palette.TileMap->Palette[100]);
    palette.fnRotate(30.0, background, nullptr, true, nullptr);
    grey.fnRotate(30.0, background, nullptr, true, nullptr);
    EXPECT_EQ(palette.Width, grey.Width);
    EXPECT_EQ(palette.Height, grey.Height);
    for (const Bytes& row : fnRows(palette))
        for (const unsigned char byte : row)
            ASSERT_TRUE(byte == 200 || byte == 100);
}

TEST_F(RotateTest, ABackgroundMissingFromThePaletteIsIndex0) {
    CqImage image(60, 40, 8, nullptr, 0);
    fnSetAll(image, 200);
    image.fnRotate(30.0, CqColor(1, 2, 3, 255), nullptr, false, nullptr);
    EXPECT_EQ(fnRows(image)[0][0], 0);
}

TEST_F(RotateTest, AnglesVeryNearAQuarterMovePixelsIntoALargerMap) {
    for (const double angle :
         {90.0 + 5e-11, 90.0 - 5e-11, -90.0 + 5e-11, 270.0 - 5e-11, -270.0 + 5e-11, -90.0 - 5e-11})
        for (const bool antiAlias : {false, true})
            for (const auto& [w, h] : {std::pair{140u, 30u}, {1u, 1u}, {300u, 129u}, {7u, 260u}})
                for (const CPoint pivot : {CPoint(0, 0), CPoint(200, 100), CPoint(-50, 400),
                                           CPoint(3, 2), CPoint(140, -100)}) {
                    CqImage image(w, h, fnDepth(), nullptr, 0);
                    fnSetRandom(image, m_Random);
                    const double a = fnPlainAngle(angle);
                    const double rad = kTestPi * a * 0.005555555555555556;
                    PlainRotation turn = {std::sin(rad), std::cos(rad), pivot, {}, {}, false};
                    std::int64_t width;
                    std::int64_t height;
                    Picture from(image);
                    fnPlainBox(from.width, from.height, turn, antiAlias, width, height);
                    Picture to(static_cast<int>(width), static_cast<int>(height), from.bytes);
                    const bool left = std::fabs(a - 90.0) < 1e-3 || std::fabs(a + 270.0) < 1e-3;
                    fnPlainQuarter(from, to, left);
                    CPoint center = pivot;
                    image.fnRotate(angle, CqColor(9, 9, 9, 9), &center, antiAlias, nullptr);
                    ASSERT_EQ(image.Width, width);
                    ASSERT_EQ(image.Height, height);
                    ASSERT_TRUE(fnSameRows(fnRows(image), to.rows)) << angle;
                    ASSERT_EQ(center, left ? CPoint(pivot.y, from.width - pivot.x)
                                           : CPoint(from.height - pivot.y, pivot.x));
                }
}

TEST_F(RotateTest, AnglesVeryNearAHalfRotationLeaveABlankLargerMap) {
    CqImage image(20, 10, 24, nullptr, 0);
    fnSetAll(image, 77);
    CPoint center(10, 5);
    image.fnRotate(180.0 + 5e-11, CqColor(9, 9, 9, 9), &center, false, nullptr);
    EXPECT_GT(image.Width, 20u);
    EXPECT_EQ(fnRows(image), Rows(image.Height, Bytes(image.RowBytes, 0)));
    EXPECT_EQ(center, CPoint(10, 5)); // 20 - 10, 10 - 5
}

TEST_F(RotateTest, ProgressRunsOncePerTileOrPairOfRows) {
    const auto percentsOf = [](double angle, unsigned int& tiles) {
        CqImage image(300, 151, 24, nullptr, 0); // 3 x 2 tiles
        StepDisplay display;
        image.fnRotate(angle, CqColor(), nullptr, false, &display);
        tiles = image.TileCount;
        return display.m_Percents;
    };
    unsigned int tiles;
    EXPECT_EQ(percentsOf(90.0, tiles), fnRun(6));
    EXPECT_EQ(percentsOf(-90.0, tiles), fnRun(6));
    std::vector<unsigned int> pairs;
    for (unsigned int i = 0; i < 75; ++i)
        pairs.push_back(i * 200 / 151);
    EXPECT_EQ(percentsOf(180.0, tiles), pairs);
    const std::vector<unsigned int> any = percentsOf(30.0, tiles);
    EXPECT_GT(tiles, 6u);
    EXPECT_EQ(any, fnRun(tiles)); // of the target
}

TEST_F(RotateTest, AnAbortAtAnyTileKeepsTheImage) {
    for (const double angle : {90.0, -90.0, 30.0}) {
        CqImage image(300, 151, 24, nullptr, 0);
        fnSetRandom(image, m_Random);
        const Rows before = fnRows(image);
        const CqTileMap* map = image.TileMap;
        CqImage copy(image);
        StepDisplay whole;
        CPoint newCenter(7, 8);
        copy.fnRotate(angle, CqColor(), &newCenter, false, &whole);
        for (std::size_t call = 0; call < whole.m_Percents.size(); ++call) {
            StepDisplay display(call);
            CPoint center(7, 8);
            image.fnRotate(angle, CqColor(), &center, false, &display);
            ASSERT_EQ(display.m_Percents.size(), call + 1);
            ASSERT_EQ(image.TileMap, map);
            ASSERT_TRUE(fnSameRows(fnRows(image), before));
            // Only other angles return the new pivot nevertheless.
            ASSERT_EQ(center, angle == 30.0 ? newCenter : CPoint(7, 8));
        }
    }
}

TEST_F(RotateTest, AnAbortedHalfRotationLeavesTheRowsSwappedSoFar) {
    for (const unsigned int height : {1u, 2u, 7u, 140u})
        for (std::size_t call = 0; call < height / 2; ++call) {
            CqImage image(130, height, 24, nullptr, 0);
            fnSetRandom(image, m_Random);
            Picture from(image);
            Picture to = from;
            for (int i = 0; i <= static_cast<int>(call); ++i)
                for (const int y : {i, from.height - 1 - i})
                    for (int x = 0; x < from.width; ++x)
                        std::copy_n(from.fnAt(from.width - 1 - x, from.height - 1 - y), 3,
                                    to.fnAt(x, y));
            StepDisplay display(call);
            CPoint center(7, 8);
            const CqTileMap* map = image.TileMap;
            image.fnRotate(180.0, CqColor(), &center, false, &display);
            ASSERT_EQ(display.m_Percents.size(), call + 1);
            ASSERT_EQ(image.TileMap, map);
            ASSERT_EQ(center, CPoint(7, 8));
            ASSERT_TRUE(fnSameRows(fnRows(image), to.rows)) << height << " rows, call " << call;
        }
}

TEST_F(RotateTest, AnAbortAtAnyTileLeavesNothingOnTheDisk) {
    CqHeadlessScratch& scratch = *m_World->m_pScratch;
    q32GetVMPolicy()->fnSetRamLimit(0); // everything goes to disk
    CqImage image(300, 151, 24, nullptr, 0);
    const CqTileMap* map = image.TileMap;
    for (const double angle : {90.0, -90.0, 180.0, 30.0}) {
        std::size_t calls = 0;
        {
            CqImage copy(image);
            StepDisplay whole;
            copy.fnRotate(angle, CqColor(), nullptr, true, &whole);
            calls = whole.m_Percents.size();
        }
        ASSERT_GE(calls, 6u);
        const std::size_t files = m_World->m_pDisks->fnGetFiles().size();
        const std::uint32_t used = q32GetVMPolicy()->fnGetRamUsed();
        for (std::size_t call = 0; call < calls; ++call) {
            StepDisplay display(call);
            display.m_Percents.reserve(calls);
            const std::size_t blocks = CqAllocationFailure::fnOutstanding();
            image.fnRotate(angle, CqColor(), nullptr, true, &display);
            ASSERT_EQ(CqAllocationFailure::fnOutstanding(), blocks) << angle << ", call " << call;
            ASSERT_EQ(display.m_Percents.size(), call + 1);
            ASSERT_EQ(image.TileMap, map);
            ASSERT_EQ(scratch.fnGetHandles(), 1u); // the source's
            ASSERT_EQ(scratch.fnGetViews(), 1u);
            ASSERT_EQ(m_World->m_pDisks->fnGetFiles().size(), files);
            ASSERT_EQ(q32GetVMPolicy()->fnGetRamUsed(), used);
        }
    }
}

TEST_F(RotateTest, ADisplayLeftAbortedKeepsA16BitImageAtOtherAnglesButNotThePivot) {
    // No report clears the abort of an earlier run.
    CqImage image(60, 40, 16, nullptr, 0);
    fnSetRandom(image, m_Random);
    const Rows before = fnRows(image);
    const CqTileMap* map = image.TileMap;
    CqImage copy(image);
    CPoint newCenter(30, 20);
    copy.fnRotate(30.0, CqColor(), &newCenter, false, nullptr);
    StepDisplay display(0);
    bool aborted = false;
    display.fnDrawStatus(0, &aborted);
    ASSERT_TRUE(aborted);
    CPoint center(30, 20);
    image.fnRotate(30.0, CqColor(), &center, false, &display);
    EXPECT_EQ(display.m_Percents.size(), 1u);
    EXPECT_EQ(image.TileMap, map);
    EXPECT_TRUE(fnSameRows(fnRows(image), before));
    EXPECT_NE(center, CPoint(30, 20));
    EXPECT_EQ(center, newCenter);
}

/// A host's display that reports the abort without the base class.
class OwnDisplay : public CqProgressDisplay {
public:
    OwnDisplay() : CqProgressDisplay(false) {}
    void fnDrawStatus(unsigned int, bool* aborted) override { *aborted = true; }
};

TEST_F(RotateTest, AnAbortReportedOnlyByTheCallKeepsTheImageToo) {
    for (const double angle : {90.0, 30.0}) {
        CqImage image(60, 40, 24, nullptr, 0);
        const CqTileMap* map = image.TileMap;
        OwnDisplay display;
        image.fnRotate(angle, CqColor(), nullptr, false, &display);
        EXPECT_EQ(image.TileMap, map) << angle;
    }
}

TEST_F(RotateTest, EveryFailedAllocationKeepsTheImageAndLeaksNothing) {
    for (const unsigned int bits : {8u, 16u, 24u, 32u})
        for (const double angle : {90.0, -90.0, 180.0, 30.0}) {
            CqImage image(150, 40, bits, q32GreyRamp, 0);
            fnSetAll(image, 99);
            const Rows before = fnRows(image);
            const CqTileMap* map = image.TileMap;
            const std::size_t blocks = CqAllocationFailure::fnOutstanding();
            const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
                CPoint center(1, 2);
                const bool raised = fnRaisesMemoryException(
                    [&] { image.fnRotate(angle, CqColor(), &center, true, nullptr); });
                failure.fnEnd();
                if (!failure.fnHappened())
                    return;
                if (raised) {
                    EXPECT_EQ(image.TileMap, map);
                    EXPECT_EQ(center, CPoint(1, 2));
                    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), blocks);
                    EXPECT_TRUE(fnSameRows(fnRows(image), before));
                } else {
                    image.fnAlloc(1, 1, bits, q32GreyRamp, 0);
                    image.fnAlloc(150, 40, bits, q32GreyRamp, 0);
                    fnSetAll(image, 99);
                    map = image.TileMap;
                }
            });
            EXPECT_GE(failures, angle == 180.0 ? 2u : 3u) << bits << " bits by " << angle;
        }
}

TEST_F(RotateTest, EveryFailedStorageStepKeepsTheImageAndLeavesNoScratchFile) {
    CqHeadlessScratch& scratch = *m_World->m_pScratch;
    CqHeadlessCalls* const steps[] = {&scratch.m_CreateName,    &scratch.m_Open,
                                      &scratch.m_SetSize,       &scratch.m_Reopen,
                                      &scratch.m_CreateMapping, &scratch.m_MapView};
    CqImage image(26, 33, 24, nullptr, 0);
    fnSetRandom(image, m_Random);
    const Rows before = fnRows(image);
    const CqTileMap* map = image.TileMap;
    q32GetVMPolicy()->fnSetRamLimit(0); // from now on everything goes to disk
    for (CqHeadlessCalls* step : steps)
        for (const double angle : {90.0, 30.0}) {
            step->fnFail();
            EXPECT_TRUE(fnRaisesMemoryException(
                [&] { image.fnRotate(angle, CqColor(), nullptr, true, nullptr); }));
            step->fnFailNever();
            EXPECT_EQ(image.TileMap, map);
            EXPECT_TRUE(fnSameRows(fnRows(image), before));
            EXPECT_EQ(scratch.fnGetHandles(), 0u);
            for (const std::string& file : m_World->m_pDisks->fnGetFiles())
                EXPECT_EQ(m_World->m_pDisks->fnGetFile(file), "") << file; // never opened
        }
}

} // namespace
