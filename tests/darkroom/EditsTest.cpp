// Edits succeed completely or change nothing, whatever the operation.
#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Filters.h"
#include "examples/darkroom/model/FreeCurve.h"
#include "examples/darkroom/model/Merge.h"
#include "examples/darkroom/model/PixelBlend.h"
#include "q32Base/operations/Blend.h"
#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

using darkroom::Document;
using darkroom::fnFindOperation;
using darkroom::fnGetOperations;
using darkroom::Operation;
using darkroom::Values;

namespace {

constexpr unsigned int kDepths[] = {4, 8, 16, 24, 32};

class DarkroomEdits : public AttachedTest {
protected:
    /// Values that change something.
    static Values fnGetValues(const Operation& operation, const CqImage& image) {
        Values values = operation.fnGetStart(image);
        for (std::size_t i = 0; i < operation.m_Parameters.size(); ++i) {
            const darkroom::Parameter& parameter = operation.m_Parameters[i];
            if (parameter.m_eKind == darkroom::ParameterKind::NUMBER)
                values[i] = std::clamp(values[i] + 21, parameter.m_nLow, parameter.m_nHigh);
            if (parameter.m_eKind == darkroom::ParameterKind::CURVE)
                values.push_back(darkroom::fnPackPoint({darkroom::CURVE_ALL, 100, 170}));
        }
        return values;
    }

    /// Calls `test` for every operation at every depth it supports.
    template <typename Test>
    static void fnForEachOperation(Test&& test) {
        for (const Operation& operation : fnGetOperations())
            fnForEachDepth(operation, test);
        fnForEachDepth(darkroom::fnGetFillOperation(), test);
    }

private:
    template <typename Test>
    static void fnForEachDepth(const Operation& operation, Test&& test) {
        for (const unsigned int bits : kDepths) {
            SCOPED_TRACE(std::string(operation.m_pszId) + " at " + std::to_string(bits));
            Document document(5);
            fnOpenNoise(document, bits, 150, 90);
            if (operation.fnSuits(document.fnGetImage()))
                test(document, operation, fnGetValues(operation, document.fnGetImage()));
        }
    }
};

/// Keeps what is reported, and aborts at the given call, counted from 1.
class RecordingProgress : public CqProgressDisplay {
public:
    explicit RecordingProgress(std::size_t abortAt = 0)
        : CqProgressDisplay(false), m_nAbortAt(abortAt) {}
    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        m_Percents.push_back(percent);
        *aborted = m_Percents.size() == m_nAbortAt;
    }
    std::vector<unsigned int> m_Percents;

private:
    std::size_t m_nAbortAt;
};

/// The mean of nine pixels, blended in floating point.
Bytes fnSoftenPlainly(CqImage& image, int amount) {
    const auto width = static_cast<int>(image.Width);
    const auto height = static_cast<int>(image.Height);
    const Bytes in = fnBytesOf(image);
    Bytes out = in;
    const auto at = [&](int x, int y, int channel) {
        x = std::clamp(x, 0, width - 1);
        y = std::clamp(y, 0, height - 1);
        return static_cast<int>(in[static_cast<std::size_t>((y * width + x) * 3 + channel)]);
    };
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int channel = 0; channel < 3; ++channel) {
                int sum = 0;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx)
                        sum += at(x + dx, y + dy, channel);
                const int here = at(x, y, channel);
                const double value = (here * 900 + (sum - here * 9) * amount) / 900.0;
                out[static_cast<std::size_t>((y * width + x) * 3 + channel)] =
                    static_cast<unsigned char>(std::clamp(value + 0.5, 0.0, 255.0));
            }
    return out;
}

} // namespace

TEST_F(DarkroomEdits, EachOperationIsUndoneAndRedoneExactly) {
    fnForEachOperation([](Document& document, const Operation& operation, const Values& values) {
        const Bytes before = fnBytesOf(document.fnGetImage());
        ASSERT_TRUE(document.fnApply(operation, values, nullptr).fnIsDone());
        const Bytes after = fnBytesOf(document.fnGetImage());
        EXPECT_NE(after, before);
        document.fnUndo();
        EXPECT_EQ(fnBytesOf(document.fnGetImage()), before);
        document.fnRedo();
        EXPECT_EQ(fnBytesOf(document.fnGetImage()), after);
    });
}

TEST_F(DarkroomEdits, EachOperationLeavesThePictureUnchangedWhenAborted) {
    fnForEachOperation([](Document& document, const Operation& operation, const Values& values) {
        const Bytes before = fnBytesOf(document.fnGetImage());
        AbortingProgress whole(100000);
        ASSERT_TRUE(document.fnApply(operation, values, &whole).fnIsDone());
        document.fnUndo();
        ASSERT_GE(whole.m_nCalls, 2u) << "the snapshot and the operation";
        // The first calls, some in between, and the last one.
        for (unsigned int call = 1; call <= whole.m_nCalls;
             call += std::clamp(whole.m_nCalls - call, 1u, call < 10 ? 1u : 50u)) {
            AbortingProgress progress(call);
            const darkroom::Outcome outcome = document.fnApply(operation, values, &progress);
            ASSERT_TRUE(outcome.m_bAborted) << "at call " << call;
            EXPECT_EQ(fnBytesOf(document.fnGetImage()), before) << "at call " << call;
            EXPECT_FALSE(document.fnCanUndo());
            EXPECT_EQ(document.IsModified(), 0);
        }
    });
}

TEST_F(DarkroomEdits, EachOperationLeavesThePictureUnchangedWithoutMemory) {
    fnForEachOperation([](Document& document, const Operation& operation, const Values& values) {
        const Bytes before = fnBytesOf(document.fnGetImage());
        q32GetVMPolicy()->fnSetRamLimit(0);
        q32GetVMPolicy()->fnEnableDisk(0, false);
        EXPECT_EQ(document.fnApply(operation, values, nullptr).m_nMsgId, -1);
        q32GetVMPolicy()->fnSetRamLimit(100'000'000);
        EXPECT_EQ(fnBytesOf(document.fnGetImage()), before);
        EXPECT_FALSE(document.fnCanUndo());
    });
}

TEST_F(DarkroomEdits, EachDepthHasTheOperationsThatMakeSenseForIt) {
    const auto list = [](CqImage& image) {
        std::string names;
        for (const Operation& operation : fnGetOperations())
            if (operation.fnSuits(image))
                names += std::string(operation.m_pszId) + " ";
        return names;
    };
    const std::string turns = "right left half ";
    const std::string flips = "flipHorizontal flipVertical ";
    CqImage none;
    EXPECT_EQ(list(none), "");
    CqImage palette;
    fnFillNoise(palette, 9, 9, 8, 1);
    EXPECT_EQ(list(palette), "resize " + turns + flips + "to24 to32 ") << "its bytes are indices";
    CqImage grey;
    fnFillNoise(grey, 9, 9, 8, 1, q32GreyRamp);
    EXPECT_EQ(list(grey), "brightness levels curve points threshold blur unsharp resize " + turns +
                              flips + "to24 to32 ");
    const std::pair<unsigned int, std::string> others[] = {
        {4, "resize " + flips + "to8 to24 to32 "},
        {16, "brightness balance levels curve points resize " + turns + flips + "to8 to24 to32 "},
        {24, "brightness balance hue levels curve points grey threshold soften sharpen blur "
             "unsharp resize "
             "rotate " +
                 turns + flips + "to8 to32 "},
        {32, "brightness balance hue levels curve points grey soften sharpen blur unsharp resize "
             "rotate " +
                 turns + flips + "to8 to24 "},
    };
    for (const auto& [bits, names] : others) {
        CqImage image;
        fnFillNoise(image, 9, 9, bits, 1);
        EXPECT_EQ(list(image), names) << bits;
    }
}

TEST_F(DarkroomEdits, AnOperationThatDoesNotSuitIsRefused) {
    Document document(5);
    const Values values = {20, 0};
    EXPECT_TRUE(document.fnApply(*fnFindOperation("brightness"), values, nullptr).m_bAborted);
    fnOpenNoise(document, 32);
    const Bytes before = fnBytesOf(document.fnGetImage());
    EXPECT_TRUE(document.fnApply(*fnFindOperation("threshold"), values, nullptr).m_bAborted);
    EXPECT_EQ(fnBytesOf(document.fnGetImage()), before);
    EXPECT_FALSE(document.fnCanUndo());
}

TEST_F(DarkroomEdits, APictureOfSixteenBitsDefaultsToNearestNeighbourResizing) {
    for (const unsigned int bits : kDepths) {
        Document document(5);
        fnOpenNoise(document, bits);
        const Values expected = {300, 170, bits == 16 ? 0 : 1};
        EXPECT_EQ(fnFindOperation("resize")->fnGetStart(document.fnGetImage()), expected) << bits;
    }
}

TEST_F(DarkroomEdits, AConversionByBandsHasTheBytesOfTheLibrarysOwn) {
    for (const unsigned int from : {4u, 8u, 16u, 24u, 32u})
        for (const unsigned int to : {24u, 32u})
            for (const unsigned int height : {1u, 256u, 257u, 700u}) {
                CqImage image;
                fnFillNoise(image, 67, height, from, height);
                CqImage expected;
                ASSERT_TRUE(darkroom::fnCopyPicture(image, expected, nullptr));
                expected.fnConvert(to, false, nullptr);
                ASSERT_TRUE(darkroom::fnConvertPicture(image, to, nullptr));
                EXPECT_EQ(image.BitCount, to);
                EXPECT_EQ(fnBytesOf(image), fnBytesOf(expected)) << from << " to " << to;
            }
}

TEST_F(DarkroomEdits, OperationsThatTheLibraryRunsAtOnceReportAndAbortBandByBand) {
    using Work = std::function<bool(CqImage&, CqProgressDisplay*)>;
    const std::vector<CqPoint2D> outline = {{0, 0}, {60, 0}, {60, 699}};
    const Work works[] = {
        [](CqImage& image, CqProgressDisplay* bar) {
            return darkroom::fnFillPicture(image, CqColor(1, 2, 3, 255), bar);
        },
        [](CqImage& image, CqProgressDisplay* bar) {
            return darkroom::fnConvertPicture(image, 32, bar);
        },
        [](CqImage& image, CqProgressDisplay* bar) {
            CqImage over;
            fnFillNoise(over, 60, 690, 32, 5);
            return darkroom::fnMergePicture(
                image, over, {darkroom::MergeRule::ALPHA, CqColor(), 0, 0}, nullptr, bar);
        },
        [](CqImage& image, CqProgressDisplay* bar) {
            CqImage pattern;
            fnFillNoise(pattern, 20, 650, 24, 6);
            return darkroom::fnFillPattern(image, pattern, CPoint(7, 9), bar);
        },
        [&](CqImage&, CqProgressDisplay* bar) {
            CqMask mask;
            return darkroom::fnMakeShapeMask(outline, 67, 700, mask, bar);
        },
    };
    for (std::size_t i = 0; i < std::size(works); ++i) {
        CqImage image;
        fnFillNoise(image, 67, 700, 24, 1);
        AbortingProgress whole(100000);
        EXPECT_TRUE(works[i](image, &whole)) << i;
        EXPECT_GE(whole.m_nCalls, 3u) << i << ": 700 rows are three bands";
        for (unsigned int call = 1; call <= std::min(whole.m_nCalls, 40u); ++call) {
            CqImage again;
            fnFillNoise(again, 67, 700, 24, 1);
            AbortingProgress progress(call);
            EXPECT_FALSE(works[i](again, &progress)) << i << " at call " << call;
            EXPECT_EQ(progress.m_nCalls, call) << i << ": nothing is done after it";
        }
    }
}

TEST_F(DarkroomEdits, APositiveAngleRotatesClockwiseWhateverItIs) {
    for (const int angle : {45, 90, 135, 180, -45, -90}) {
        CqImage image;
        image.fnAlloc(101, 101, 24, nullptr, 0);
        image.fnFill(CqColor(0, 0, 0, 255), nullptr, false);
        const CRect top(46, 0, 56, 10);
        image.fnFill(CqColor(255, 255, 255, 255), &top, false);
        fnFindOperation("rotate")->m_pRun(image, Values{angle * darkroom::kDegree, 0, 0}, nullptr);
        double x = 0;
        double y = 0;
        int count = 0;
        for (unsigned int row = 0; row < image.Height; ++row)
            for (unsigned int column = 0; column < image.Width; ++column)
                if (image.fnGetPixelColor(static_cast<int>(column), static_cast<int>(row)).m_Red >
                    127) {
                    x += column;
                    y += row;
                    ++count;
                }
        ASSERT_GT(count, 0) << angle;
        const double radians = angle * 3.14159265358979 / 180;
        EXPECT_NEAR(x / count, image.Width / 2.0 + 45 * std::sin(radians), 2) << angle;
        EXPECT_NEAR(y / count, image.Height / 2.0 - 45 * std::cos(radians), 2) << angle;
    }
}

TEST_F(DarkroomEdits, ARotationByARightAngleExchangesTheResolutionsAndUndoReturnsThem) {
    struct Rotation {
        const char* m_pszId;
        darkroom::Values m_Values;
        bool m_bExchanges;
    };
    const Rotation rotations[] = {{"right", {}, true},
                                  {"left", {}, true},
                                  {"half", {}, false},
                                  {"rotate", {90 * darkroom::kDegree, 0, 0}, true},
                                  {"rotate", {30 * darkroom::kDegree, 0, 0}, false},
                                  {"flipVertical", {}, false}};
    for (const Rotation& rotation : rotations) {
        darkroom::Document document(3);
        ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24));
        CqImage& image = document.fnGetImage();
        image.DpiX = 300;
        image.DpiY = 150;
        const auto is = [&](bool exchanged) {
            return image.DpiX == (exchanged ? 150 : 300) && image.DpiY == (exchanged ? 300 : 150);
        };
        const bool exchanged = rotation.m_bExchanges;
        ASSERT_TRUE(
            document
                .fnApply(*darkroom::fnFindOperation(rotation.m_pszId), rotation.m_Values, nullptr)
                .fnIsDone());
        EXPECT_TRUE(is(exchanged)) << rotation.m_pszId;
        document.fnUndo();
        EXPECT_TRUE(is(false)) << rotation.m_pszId;
        document.fnRedo();
        EXPECT_TRUE(is(exchanged)) << rotation.m_pszId;
        document.fnUndo();
        AbortingProgress abort(8);
        EXPECT_TRUE(
            document
                .fnApply(*darkroom::fnFindOperation(rotation.m_pszId), rotation.m_Values, &abort)
                .m_bAborted);
        EXPECT_TRUE(is(false)) << rotation.m_pszId << " stopped";
    }
}

TEST_F(DarkroomEdits, SofteningAndSharpeningAverageTheNineNeighbours) {
    for (const int amount : {100, 50, 1, 0, -50, -100}) {
        CqImage image;
        fnFillNoise(image, 133, 40, 24, 3);
        const Bytes expected = fnSoftenPlainly(image, amount);
        darkroom::fnSoften(image, amount, nullptr);
        const Bytes got = fnBytesOf(image);
        ASSERT_EQ(got.size(), expected.size());
        int different = 0;
        for (std::size_t i = 0; i < got.size(); ++i)
            different += std::abs(got[i] - expected[i]) > 0 ? 1 : 0;
        EXPECT_EQ(different, 0) << amount;
    }
}

TEST_F(DarkroomEdits, SofteningIsTheSameForAnyNumberAndOrderOfThreads) {
    const auto soften = [&](unsigned int bits, CqProgressDisplay* progress) {
        CqImage image;
        fnFillNoise(image, 300, 1999, bits, 5); // several batches, but for 16 threads
        darkroom::fnSoften(image, -70, progress);
        return fnBytesOf(image);
    };
    for (const unsigned int bits : {24u, 32u}) {
        m_World->m_pWork->fnSetConcurrency(1);
        RecordingProgress all;
        const Bytes expected = soften(bits, &all);
        if (bits == 24) {
            CqImage image;
            fnFillNoise(image, 300, 1999, 24, 5);
            EXPECT_TRUE(expected == fnSoftenPlainly(image, -70));
        }
        RecordingProgress stopped(1500);
        const Bytes part = soften(bits, &stopped);
        for (const unsigned int threads : {2u, 3u, 16u})
            for (const auto order :
                 {CQ_WORK_ORDER::FORWARD, CQ_WORK_ORDER::REVERSED, CQ_WORK_ORDER::SCRAMBLED}) {
                SCOPED_TRACE(std::to_string(threads) + " at " + std::to_string(bits));
                m_World->m_pWork->fnSetConcurrency(threads);
                m_World->m_pWork->fnSetOrder(order);
                const std::uint64_t before = m_World->m_pWork->fnGetPieces();
                RecordingProgress progress;
                EXPECT_TRUE(soften(bits, &progress) == expected);
                EXPECT_EQ(progress.m_Percents, all.m_Percents);
                EXPECT_GT(m_World->m_pWork->fnGetPieces(), before + threads);
                RecordingProgress again(1500);
                EXPECT_TRUE(soften(bits, &again) == part);
                EXPECT_EQ(again.m_Percents, stopped.m_Percents);
            }
    }
}

TEST_F(DarkroomEdits, AFailedAllocationOfAnyThreadLeavesThePictureUnchanged) {
    m_World->m_pWork->fnSetConcurrency(3);
    m_World->m_pWork->fnSetOrder(CQ_WORK_ORDER::SCRAMBLED);
    Document document(5);
    fnOpenNoise(document, 24);
    const Bytes before = fnBytesOf(document.fnGetImage());
    const Values values = {50};
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool done = document.fnApply(*fnFindOperation("soften"), values, nullptr).fnIsDone();
        failure.fnEnd();
        EXPECT_EQ(fnBytesOf(document.fnGetImage()) != before, done);
        EXPECT_EQ(document.fnCanUndo(), done);
        if (done) // without the memory to note which tiles were changed
            document.fnUndo();
    });
    EXPECT_GT(failures, 20u);
}

TEST_F(DarkroomEdits, ACopyReportsEachTileForAnyNumberOfThreads) {
    CqImage image;
    fnFillNoise(image, 128 * 20, 128 * 19, 8, 5, q32GreyRamp); // two batches
    for (const unsigned int threads : {1u, 2u, 16u}) {
        m_World->m_pWork->fnSetConcurrency(threads);
        m_World->m_pWork->fnSetOrder(CQ_WORK_ORDER::SCRAMBLED);
        CqImage copy;
        RecordingProgress progress;
        EXPECT_TRUE(darkroom::fnCopyPicture(image, copy, &progress));
        EXPECT_TRUE(fnBytesOf(copy) == fnBytesOf(image)) << threads;
        ASSERT_EQ(progress.m_Percents.size(), image.TileCount);
        for (unsigned int i = 0; i < image.TileCount; ++i)
            ASSERT_EQ(progress.m_Percents[i], i * 100 / image.TileCount) << threads;
        RecordingProgress stopped(300);
        EXPECT_FALSE(darkroom::fnCopyPicture(image, copy, &stopped));
        EXPECT_EQ(stopped.m_Percents.size(), 300u);
    }
}

TEST_F(DarkroomEdits, APatternIsTiledFromTheCornerOfTheFilledRectangle) {
    for (const CPoint& corner : {CPoint(0, 0), CPoint(5, 250), CPoint(-30, 7), CPoint(400, -1)})
        for (const bool selected : {false, true})
            for (const unsigned int bits : {8u, 24u, 32u}) {
                Document document(1);
                ASSERT_TRUE(document.fnNew(70, 700, CqColor(9, 9, 9, 255), nullptr).fnIsDone());
                const CRect part = selected ? CRect(7, 20, 60, 690) : CRect(0, 0, 70, 700);
                const std::vector<CqPoint2D> corners = {
                    {static_cast<double>(part.left), static_cast<double>(part.top)},
                    {static_cast<double>(part.right), static_cast<double>(part.bottom)}};
                if (selected) {
                    ASSERT_TRUE(document
                                    .fnSelectShape(darkroom::ShapeKind::RECTANGLE, corners,
                                                   Document::Combine::REPLACE, nullptr)
                                    .fnIsDone());
                }
                CqImage pattern;
                const int height = selected ? 19 : 301; // also taller than a band
                fnFillNoise(pattern, 13, static_cast<unsigned int>(height), bits, 4);
                CqImage colors;
                ASSERT_TRUE(darkroom::fnCopyPicture(pattern, colors, nullptr));
                if (bits != 24)
                    colors.fnConvert(24, false, nullptr);
                ASSERT_TRUE(document.fnFillPattern(pattern, corner, nullptr).fnIsDone());
                CqImage& image = document.fnGetImage();
                for (int y = 0; y < 700; ++y)
                    for (int x = 0; x < 70; ++x) {
                        const bool inside = part.PtInRect(CPoint(x, y));
                        // Far enough to the left and top that nothing is below 0.
                        const int tileX = (x - part.left - corner.x + 1300) % 13;
                        const int tileY = (y - part.top - corner.y + 1000 * height) % height;
                        const CqColor expected =
                            inside ? colors.fnGetPixelColor(tileX, tileY) : CqColor(9, 9, 9, 255);
                        ASSERT_EQ(image.fnGetPixelColor(x, y), expected)
                            << x << ", " << y << " from " << bits << " bits";
                    }
                document.fnUndo();
                EXPECT_EQ(image.fnGetPixelColor(30, 30), CqColor(9, 9, 9, 255));
            }
}

TEST_F(DarkroomEdits, AMergedPictureIsClippedWhereItSticksOut) {
    for (const auto& [x, y] : {std::pair(-10, -20), std::pair(250, 140), std::pair(40, 30),
                               std::pair(-500, 0), std::pair(300, 170)}) {
        CqImage image;
        CqImage over;
        fnFillNoise(image, 300, 170, 24, 1);
        fnFillNoise(over, 90, 60, 24, 2);
        Bytes expected = fnBytesOf(image);
        const Bytes laid = fnBytesOf(over);
        const CqColor key = over.fnGetPixelColor(30, 30);
        for (int row = 0; row < 60; ++row)
            for (int column = 0; column < 90; ++column) {
                const int tx = x + column;
                const int ty = y + row;
                const bool isKey = column == 30 && row == 30;
                if (tx < 0 || ty < 0 || tx >= 300 || ty >= 170 || isKey)
                    continue;
                for (int channel = 0; channel < 3; ++channel)
                    expected[static_cast<std::size_t>((ty * 300 + tx) * 3 + channel)] =
                        laid[static_cast<std::size_t>((row * 90 + column) * 3 + channel)];
            }
        const darkroom::MergePlan plan{darkroom::MergeRule::KEY, key, x, y};
        darkroom::fnMergePicture(image, over, plan, nullptr, nullptr);
        EXPECT_EQ(fnBytesOf(image), expected) << x << ", " << y;
    }
}

TEST_F(DarkroomEdits, APictureWithAlphaShowsAsFarAsItIsOpaque) {
    CqImage image;
    CqImage over;
    fnFillNoise(image, 100, 100, 24, 1);
    fnFillNoise(over, 100, 100, 32, 2);
    Bytes expected = fnBytesOf(image);
    const Bytes laid = fnBytesOf(over);
    for (std::size_t i = 0; i < 10000; ++i) {
        const int alpha = laid[4 * i];
        for (std::size_t c = 0; c < 3; ++c) {
            unsigned char& byte = expected[3 * i + c];
            byte = static_cast<unsigned char>(
                (laid[4 * i + 1 + c] * alpha + byte * (255 - alpha) + 127) / 255);
        }
    }
    darkroom::fnMergePicture(image, over, {darkroom::MergeRule::ALPHA, CqColor(), 0, 0}, nullptr,
                             nullptr);
    EXPECT_EQ(fnBytesOf(image), expected);
}

TEST_F(DarkroomEdits, WhatAPreviewBlendsPixelByPixelIsWhatTheLibraryBlends) {
    for (const unsigned int bits : {8u, 24u, 32u})
        for (const bool covers : {false, true}) {
            CqImage image;
            CqImage over;
            fnFillNoise(image, 64, 40, bits, 1, bits == 8 ? q32GreyRamp : nullptr);
            fnFillNoise(over, 64, 40, 32, 2);
            CqMask mask(64, 40);
            for (int y = 0; y < 40; ++y)
                for (int x = 0; x < 64; ++x)
                    *mask.fnGetPixelAddr(x, y) = static_cast<unsigned char>((x * 40 + y) % 256);
            mask.fnSetPos(CPoint(0, 0));
            const auto read = [](CqImage& from, int x, int y) {
                const CqColor color = from.fnGetPixelColor(x, y);
                const unsigned int alpha = from.BitCount == 32 ? color.m_Alpha : 255u;
                return darkroom::BlendPixel{alpha, color.m_Red, color.m_Green, color.m_Blue};
            };
            std::vector<darkroom::BlendPixel> expected;
            for (int y = 0; y < 40; ++y)
                for (int x = 0; x < 64; ++x) {
                    darkroom::BlendPixel above = read(over, x, y);
                    if (bits == 8)
                        above[1] = above[2] = above[3] =
                            (77 * above[1] + 150 * above[2] + 29 * above[3]) / 256;
                    expected.push_back(darkroom::fnBlendPixel(
                        above, read(image, x, y), *mask.fnGetPixelAddr(x, y), covers, bits == 32));
                }
            ASSERT_TRUE(q32Blend(over, nullptr, image, 0, 0,
                                 {.m_pMask = &mask, .m_eMode = covers ? BLEND_OVER : BLEND_REPLACE},
                                 nullptr));
            for (int i = 0; i < 64 * 40; ++i)
                ASSERT_EQ(read(image, i % 64, i / 64), expected[static_cast<std::size_t>(i)])
                    << bits << ' ' << covers << ' ' << i;
        }
}

TEST_F(DarkroomEdits, ATransparentBackgroundLeavesNoFringeWhenAPictureIsReducedAndMerged) {
    // A red disc on a background that is green, but transparent.
    CqImage over;
    over.fnAlloc(200, 200, 32, nullptr, 0);
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 200; ++x) {
            const bool inside = (x - 100) * (x - 100) + (y - 100) * (y - 100) < 80 * 80;
            over.fnSetPixelColor(x, y, inside ? CqColor(255, 0, 0, 255) : CqColor(0, 255, 0, 0));
        }
    fnFindOperation("resize")->m_pRun(over, Values{50, 50, 1}, nullptr);
    for (const unsigned int bits : {24u, 32u}) {
        CqImage image;
        image.fnAlloc(60, 60, bits, nullptr, 0);
        image.fnFill(CqColor(255, 255, 255, 255), nullptr, false);
        darkroom::fnMergePicture(image, over, {darkroom::MergeRule::ALPHA, CqColor(), 5, 5},
                                 nullptr, nullptr);
        bool mixed = false;
        for (int y = 0; y < 60; ++y)
            for (int x = 0; x < 60; ++x) {
                const CqColor color = image.fnGetPixelColor(x, y);
                ASSERT_EQ(color.m_Red, 255) << x << ", " << y;
                ASSERT_EQ(color.m_Green, color.m_Blue) << x << ", " << y;
                mixed = mixed || (color.m_Green > 0 && color.m_Green < 255);
            }
        EXPECT_TRUE(mixed) << "the edge is soft";
    }
}

TEST_F(DarkroomEdits, AFillIsOpaqueAndFillsTheSelectionAlone) {
    constexpr int kColor = 30 << 16 | 20 << 8 | 10;
    Document clear(1);
    fnOpenNoise(clear, 32);
    ASSERT_TRUE(clear.fnApply(darkroom::fnGetFillOperation(), {kColor}, nullptr).fnIsDone());
    EXPECT_EQ(clear.fnGetImage().fnGetPixelColor(299, 169), CqColor(10, 20, 30, 255));
    Document document(1);
    fnOpenNoise(document, 24);
    Bytes expected = fnBytesOf(document.fnGetImage());
    const std::vector<CqPoint2D> corners = {{20, 30}, {150, 140}};
    ASSERT_TRUE(document
                    .fnSelectShape(darkroom::ShapeKind::ELLIPSE, corners,
                                   Document::Combine::REPLACE, nullptr)
                    .fnIsDone());
    for (int y = 0; y < 170; ++y)
        for (int x = 0; x < 300; ++x)
            for (int channel = 0; channel < 3 && fnHas(document.fnGetSelection(), x, y); ++channel)
                expected[static_cast<std::size_t>((y * 300 + x) * 3 + channel)] =
                    static_cast<unsigned char>(10 * (channel + 1));
    ASSERT_TRUE(document.fnApply(darkroom::fnGetFillOperation(), {kColor}, nullptr).fnIsDone());
    EXPECT_EQ(fnBytesOf(document.fnGetImage()), expected);
    EXPECT_EQ(document.fnGetUndoName(), "Fill with Color");
}

TEST_F(DarkroomEdits, TheBytesOfAPictureAreCountedWithCompleteRows) {
    EXPECT_EQ(darkroom::fnCountBytes(3, 2, 4), 4u) << "a row of 12 bits";
    EXPECT_EQ(darkroom::fnCountBytes(3, 2, 24), 18u);
    EXPECT_EQ(darkroom::fnCountBytes(60000, 60000, 32), 14'400'000'000u);
    // As the library counts them, at its upper limit.
    CqImage image;
    image.fnAlloc(5, 3, 4, nullptr, 0);
    EXPECT_EQ(image.RowBytes * image.Height, darkroom::fnCountBytes(5, 3, 4));
}
