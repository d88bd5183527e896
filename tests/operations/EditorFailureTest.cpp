// What the operations for editors have in common: exhausted memory, aborts, lost pixels, scratch
// files, and kernels of other levels.

#include "tests/operations/PlainImage.h"
#include "tests/operations/StepDisplay.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <functional>
#include <string_view>

namespace q32::test {
namespace {

/// An operation that replaces the storage of an image.
struct Operation {
    const char* m_pName;
    unsigned int m_nBits;
    std::function<bool(CqImage&, CqProgressDisplay*)> m_fnWork;
};

const Operation kOperations[] = {
    {"crop", 24,
     [](CqImage& image, CqProgressDisplay* progress) {
         return q32Crop(image, CRect(3, 5, 130, 141), image, progress);
     }},
    {"crop at 4 bits", 4,
     [](CqImage& image, CqProgressDisplay* progress) {
         return q32Crop(image, CRect(3, 5, 130, 141), image, progress);
     }},
    {"flip across", 24, q32FlipHorizontal},
    {"flip across at 4 bits", 4, q32FlipHorizontal},
    {"flip down", 24, q32FlipVertical},
    {"grey", 24,
     [](CqImage& image, CqProgressDisplay* progress) {
         return q32ConvertToGrey(image, 8, progress);
     }},
    {"resample", 32,
     [](CqImage& image, CqProgressDisplay* progress) {
         return q32ResampleByAlpha(image, 90, 200, progress);
     }},
    {"resample the other way", 32,
     [](CqImage& image, CqProgressDisplay* progress) {
         return q32ResampleByAlpha(image, 200, 90, progress);
     }},
    {"blur", 24,
     [](CqImage& image, CqProgressDisplay* progress) { return q32Blur(image, 3.0, progress); }},
    {"blur with alpha", 32,
     [](CqImage& image, CqProgressDisplay* progress) { return q32Blur(image, 30.0, progress); }},
    {"sharpen", 32,
     [](CqImage& image, CqProgressDisplay* progress) {
         return q32Sharpen(image, 0.5, 80, 2, progress);
     }},
};

class EditorFailureTest : public AttachedTest {
protected:
    Random m_Random{81};

    std::unique_ptr<CqImage> fnNoise(unsigned int bits) {
        auto image = std::make_unique<CqImage>(140, 150, bits, nullptr, 0);
        fnSetRandom(*image, m_Random);
        return image;
    }
};

TEST_F(EditorFailureTest, EachFailedAllocationLeavesTheImageUnchanged) {
    for (const Operation& operation : kOperations) {
        const auto original = fnNoise(operation.m_nBits);
        const Rows before = fnRows(*original);
        CqImage changed(*original);
        ASSERT_TRUE(operation.m_fnWork(changed, nullptr));
        const Rows after = fnRows(changed);
        std::unique_ptr<CqImage> image;
        std::size_t raised = 0;
        fnFailEachAllocation([&] { image = std::make_unique<CqImage>(*original); },
                             [&](CqAllocationFailure& failure) {
                                 const bool raises = fnRaisesMemoryException(
                                     [&] { operation.m_fnWork(*image, nullptr); });
                                 failure.fnEnd();
                                 raised += raises ? 1 : 0;
                                 ASSERT_TRUE(fnSameRows(fnRows(*image), raises ? before : after))
                                     << operation.m_pName;
                             });
        EXPECT_GE(raised, 1u) << operation.m_pName;
    }
}

/// A host's display that notes the abort, but doesn't report it to the caller.
class QuietDisplay : public CqProgressDisplay {
public:
    QuietDisplay() : CqProgressDisplay(false) {}
    void fnDrawStatus(unsigned int, bool*) override { m_bAborted = true; }
};

TEST_F(EditorFailureTest, AnAbortThatOnlyTheDisplayKnowsLeavesTheStorage) {
    const Operation resamplings[] = {{"filter", 24,
                                      [](CqImage& image, CqProgressDisplay* progress) {
                                          image.fnResample(70, 60, true, progress);
                                          return false;
                                      }},
                                     {"height of an opaque picture", 24,
                                      [](CqImage& image, CqProgressDisplay* progress) {
                                          return q32ResampleByAlpha(image, 140, 90, progress);
                                      }},
                                     {"scale", 24, [](CqImage& image, CqProgressDisplay* progress) {
                                          image.fnResample(0.5, 0.4, progress);
                                          return false;
                                      }}};
    const auto expectNothing = [this](const Operation& operation) {
        const auto image = fnNoise(operation.m_nBits);
        const CqTileMap* const map = image->TileMap;
        QuietDisplay display;
        EXPECT_FALSE(operation.m_fnWork(*image, &display)) << operation.m_pName;
        EXPECT_EQ(image->TileMap, map) << operation.m_pName;
    };
    for (const Operation& operation : kOperations)
        if (!std::string_view(operation.m_pName).starts_with("flip"))
            expectNothing(operation);
    for (const Operation& operation : resamplings)
        expectNothing(operation);
    CqMask mask(30, 20);
    const CqTileMap* const map = mask.TileMap;
    QuietDisplay display;
    EXPECT_FALSE(q32FeatherMask(mask, 2.0, CRect(0, 0, 50, 50), &display));
    EXPECT_EQ(mask.TileMap, map);
}

TEST_F(EditorFailureTest, MasksAreUnchangedAfterEachFailedAllocation) {
    const CRect area(0, 0, 50, 50);
    const std::function<void(CqMask&)> works[] = {
        [&](CqMask& mask) { q32FeatherMask(mask, 2.0, area, nullptr); },
        [&](CqMask& mask) { q32InvertMask(mask, area); },
        [&](CqMask& mask) {
            const CqPoint2D points[] = {{3, 4}, {40, 20}, {7, 30}};
            q32MakeStrokeMask(points, 5, area, mask, nullptr);
        }};
    for (const auto& work : works) {
        CqMask original(30, 20);
        fnSetRandom(original, m_Random);
        const Rows before = fnRows(original);
        CqMask changed(original);
        work(changed);
        const Rows after = fnRows(changed);
        std::unique_ptr<CqMask> mask;
        std::size_t raised = 0;
        fnFailEachAllocation([&] { mask = std::make_unique<CqMask>(original); },
                             [&](CqAllocationFailure& failure) {
                                 const bool raises = fnRaisesMemoryException([&] { work(*mask); });
                                 failure.fnEnd();
                                 raised += raises ? 1 : 0;
                                 ASSERT_TRUE(fnSameRows(fnRows(*mask), raises ? before : after));
                                 ASSERT_TRUE(mask->m_rectBound ==
                                             (raises ? original.m_rectBound : changed.m_rectBound));
                             });
        EXPECT_GE(raised, 1u);
    }
}

TEST_F(EditorFailureTest, WhatChangesPixelsInPlaceAllocatesNothing) {
    const auto image = fnNoise(32);
    const auto source = fnNoise(24);
    CqMask mask(100, 100);
    fnSetRandom(mask, m_Random);
    const CqToneCurves curves = {};
    CqHistogram histogram;
    const std::size_t before = CqAllocationFailure::fnCount();
    EXPECT_TRUE(q32Blend(*source, nullptr, *image, 5, 6, {77, &mask}, nullptr));
    EXPECT_TRUE(q32CountHistogram(*image, nullptr, &mask, histogram, nullptr));
    EXPECT_TRUE(q32ApplyToneCurves(*image, nullptr, curves, nullptr));
    EXPECT_EQ(CqAllocationFailure::fnCount(), before);
}

TEST_F(EditorFailureTest, AnAbortAtAnyCallKeepsTheImage) {
    for (const Operation& operation : kOperations) {
        const auto image = fnNoise(operation.m_nBits);
        const Rows before = fnRows(*image);
        for (std::size_t stop = 0;; ++stop) {
            StepDisplay display(stop);
            if (operation.m_fnWork(*image, &display)) {
                EXPECT_EQ(display.m_Percents.size(), stop) << operation.m_pName;
                EXPECT_GE(stop, 1u) << operation.m_pName;
                break;
            }
            ASSERT_EQ(display.m_Percents.size(), stop + 1) << operation.m_pName;
            ASSERT_TRUE(fnSameRows(fnRows(*image), before)) << operation.m_pName;
        }
    }
}

TEST_F(EditorFailureTest, PixelsInAScratchFileGetTheSameResult) {
    for (const Operation& operation : kOperations) {
        const auto image = fnNoise(operation.m_nBits);
        const Rows before = fnRows(*image);
        q32GetVMPolicy()->fnSetRamLimit(0);
        CqImage onDisk(*image);
        fnSetRows(onDisk, before);
        EXPECT_FALSE(onDisk.fnGetScratchPath().IsEmpty());
        EXPECT_TRUE(operation.m_fnWork(onDisk, nullptr)) << operation.m_pName;
        q32GetVMPolicy()->fnSetRamLimit(0xFFFFFFFFu);
        EXPECT_TRUE(operation.m_fnWork(*image, nullptr)) << operation.m_pName;
        EXPECT_TRUE(fnSameRows(fnRows(onDisk), fnRows(*image))) << operation.m_pName;
    }
}

} // namespace
} // namespace q32::test
