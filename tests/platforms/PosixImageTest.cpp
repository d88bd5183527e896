#include "q32Base/memory/PixelBuffer_p.h"
#include "q32Base/q32Base.h"
#include "tests/platforms/PosixTestTools.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <filesystem>
#include <list>
#include <unistd.h>

using namespace q32::test;

namespace {

/// The library on this system, with all large blocks in scratch files of a folder.
class PosixImages : public testing::Test {
protected:
    void SetUp() override { fnAttach(m_Folder, false); }
    void TearDown() override {
        q32Detach();
        EXPECT_EQ(m_Folder.fnCount(), 0u);
    }

    static void fnAttach(const Folder& folder, bool guarded) {
        CqPosixOptions options;
        options.m_szTempDirectory = folder.fnPath();
        options.m_szConfigDirectory = folder.fnPath("config");
        options.m_bGuardViews = guarded;
        ASSERT_TRUE(q32Attach(q32PosixPlatform(options)));
        q32GetVMPolicy()->fnSetRamLimit(0);
    }

    static std::ptrdiff_t fnDescriptors() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }

    Folder m_Folder;
};

/// A process with the library, guarded against lost pages, and an image in a scratch file.
std::string fnWithGuardedImage(const std::function<std::string(CqImage&)>& work) {
    return fnInChild([&]() -> std::string {
        const Folder folder;
        CqPosixOptions options;
        options.m_szTempDirectory = folder.fnPath();
        options.m_szConfigDirectory = folder.fnPath("config");
        options.m_bGuardViews = true;
        Q32_WANT(q32Attach(q32PosixPlatform(options)));
        q32GetVMPolicy()->fnSetRamLimit(0);
        std::string found;
        {
            CqImage image(500, 300, 24, nullptr, 0);
            image.fnFill(CqColor(10, 20, 30, 255), nullptr, false);
            found = work(image);
        }
        q32Detach();
        return found.empty() && folder.fnCount() != 0 ? "a file is left" : found;
    });
}

std::filesystem::path fnNativePath(const CqImage& image) {
    std::string path(image.fnGetScratchPath());
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

/// Cuts an image's scratch file from another process.
void fnCut(const CqImage& image, off_t bytes) {
    const std::filesystem::path path = fnNativePath(image);
    EXPECT_EQ(fnInChild([&]() -> std::string {
                  Q32_WANT(::truncate(path.c_str(), bytes) == 0);
                  return "";
              }),
              "");
}

} // namespace

TEST_F(PosixImages, AForkedChildKeepsNoFileOfItsParentFromBeingDeleted) {
    std::list<CqImage> images;
    for (int i = 0; i < 300; ++i)
        images.emplace_back(20, 10, 24, nullptr, 0);
    ASSERT_EQ(m_Folder.fnCount(), 300u);
    const Holder child([]() -> std::string { return ""; });
    images.clear();
    EXPECT_EQ(m_Folder.fnCount(), 0u);
    EXPECT_EQ(q32GetVMPolicy()->fnGetDiskUsage(0).m_nFiles, 0u);
}

TEST_F(PosixImages, AForkedChildThatDestroysItsCopiesHarmsNoPixelOfItsParent) {
    std::list<CqImage> images;
    for (int i = 0; i < 30; ++i) {
        images.emplace_back(200, 100, 24, nullptr, 0);
        images.back().fnFill(CqColor(static_cast<unsigned char>(i), 2, 3, 255), nullptr, false);
    }
    EXPECT_EQ(fnInChild([&]() -> std::string {
                  images.clear();
                  return "";
              }),
              "");
    int i = 0;
    for (CqImage& image : images)
        EXPECT_TRUE(image.fnGetPixelColor(199, 99) ==
                    CqColor(static_cast<unsigned char>(i++), 2, 3, 255));
    images.clear();
    EXPECT_EQ(m_Folder.fnCount(), 0u);
}

TEST_F(PosixImages, NoFailedAllocationLeavesAFileOrADescriptor) {
    { const CqImage first(100, 100, 24, nullptr, 0); } // lasting allocations happen here
    const std::ptrdiff_t before = fnDescriptors();
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        fnRaisesMemoryException([] { const CqImage image(100, 100, 24, nullptr, 0); });
        failure.fnEnd();
        EXPECT_EQ(m_Folder.fnCount(), 0u);
        EXPECT_EQ(fnDescriptors(), before);
    });
    EXPECT_GE(failures, 10u);
}

TEST_F(PosixImages, ThePixelsOfA4BitImageThatFillItsPagesHaveASpareByte) {
    CqImage image(128, 64, 4, nullptr, 0); // 4096 bytes
    image.fnSetPixelColor(127, 63, CqColor(255, 255, 255, 255));
    EXPECT_TRUE(image.fnGetPixelColor(127, 63) == CqColor(255, 255, 255, 255));
    EXPECT_EQ(q32GetVMPolicy()->fnGetDiskUsage(0).m_nBytes, 4096u);
}

TEST(PosixLostPixels, AnOperationOnACutScratchFileFailsAndTheProcessLives) {
    EXPECT_EQ(fnWithGuardedImage([](CqImage& image) -> std::string {
                  Q32_WANT(image.fnCountLosses() == 0);
                  fnCut(image, 0);
                  Q32_WANT(fnRaisesMemoryException(
                      [&] { image.fnBrightContrast(5, 5, false, nullptr); }));
                  Q32_WANT(image.fnCountLosses() == 1);
                  // Reported once; what is left can be used.
                  image.fnFill(CqColor(1, 2, 3, 255), nullptr, false);
                  Q32_WANT(image.fnGetPixelColor(499, 299) == CqColor(1, 2, 3, 255));
                  Q32_WANT(image.fnCountLosses() == 1);
                  return "";
              }),
              "");
}

TEST(PosixLostPixels, WhatAnotherProcessLeftOfTheFileIsKept) {
    EXPECT_EQ(fnWithGuardedImage([](CqImage& image) -> std::string {
                  fnCut(image, 200000);
                  CqImage other;
                  Q32_WANT(fnRaisesMemoryException([&] { other = image; }));
                  Q32_WANT(image.fnCountLosses() == 1);
                  Q32_WANT(image.fnGetPixelColor(0, 0) == CqColor(10, 20, 30, 255));
                  Q32_WANT(image.fnGetPixelColor(499, 299) == CqColor(0, 0, 0, 255));
                  other = image;
                  Q32_WANT(other.fnCountLosses() == 0);
                  return "";
              }),
              "");
}

TEST(PosixLostPixels, EachOperationReportsTheLossAndKeepsTheOldStorage) {
    using Operation = std::function<void(CqImage&)>;
    CqImage* pattern = nullptr;
    const CqColor black(0, 0, 0, 255);
    for (const Operation& operation : std::initializer_list<Operation>{
             [](CqImage& image) {
                 image.fnRotate(90, CqColor(0, 0, 0, 255), nullptr, false, nullptr);
             },
             [](CqImage& image) {
                 image.fnRotate(180, CqColor(0, 0, 0, 255), nullptr, false, nullptr);
             },
             [](CqImage& image) {
                 image.fnRotate(5, CqColor(0, 0, 0, 255), nullptr, true, nullptr);
             },
             [](CqImage& image) { image.fnResample(100, 90, true, nullptr); },
             [](CqImage& image) { image.fnResample(100, 90, false, nullptr); },
             [](CqImage& image) { image.fnConvert(32, true, nullptr); },
             [](CqImage& image) { image.fnFill(CqColor(1, 1, 1, 255), nullptr, false); },
             [](CqImage& image) {
                 const CRect rect(10, 10, 490, 290);
                 image.fnFill(CqColor(1, 1, 1, 255), &rect, false);
             },
             [](CqImage& image) { image.fnCopyBlock(image, nullptr, 3, 3); },
             [&](CqImage& image) { image.fnFill(*pattern, nullptr, nullptr); },
             [&](CqImage& image) { q32Blend(*pattern, nullptr, image, 0, 0, {}, nullptr); },
             [](CqImage& image) { q32Blur(image, 2.0, nullptr); },
             [](CqImage& image) { q32Sharpen(image, 2.0, 100, 0, nullptr); },
             [](CqImage& image) { q32Crop(image, CRect(1, 1, 200, 200), image, nullptr); },
             [](CqImage& image) { q32FlipHorizontal(image, nullptr); },
             [](CqImage& image) { q32FlipVertical(image, nullptr); },
             [](CqImage& image) { q32ConvertToGrey(image, 8, nullptr); },
             [](CqImage& image) { q32ResampleByAlpha(image, 100, 90, nullptr); },
             [](CqImage& image) {
                 const CqToneCurves curves = {};
                 q32ApplyToneCurves(image, nullptr, curves, nullptr);
             },
             [](CqImage& image) {
                 CqHistogram histogram;
                 q32CountHistogram(image, nullptr, nullptr, histogram, nullptr);
             },
             [](CqImage& image) {
                 CqHistogram histogram;
                 const CqMask all(500, 300);
                 q32CountHistogram(image, nullptr, &all, histogram, nullptr);
             },
             [&](CqImage& image) { q32Blend(image, nullptr, *pattern, 0, 0, {}, nullptr); },
             [](CqImage& image) { image.fnDrawLine(1, 1, 400, 200, CqColor(1, 1, 1, 255), false); },
             [](CqImage& image) {
                 CqLine2D line(CqPoint2D(1, 1), CqPoint2D(400, 200));
                 line.fnRasterize(image, CqColor(1, 1, 1, 255));
             },
             [](CqImage& image) {
                 CqCubicBezier2D curve(CqPoint2D(0, 0), CqPoint2D(100, 90), CqPoint2D(300, 10),
                                       CqPoint2D(400, 200), 1.0);
                 curve.fnRasterize(image, CqColor(1, 1, 1, 255));
             },
             [](CqImage& image) { CqConvMask(image, 3, -1).fnGotoNextLine(); },
             [](CqImage& image) {
                 const CqWave sound(1, 8, 8000, 10, true);
                 sound.fnRasterize(image, 0, 10, false, false);
             },
             [](CqImage& image) { ::operator delete(static_cast<BITMAPINFOHEADER*>(image)); }}) {
        EXPECT_EQ(fnWithGuardedImage([&](CqImage& image) -> std::string {
                      CqImage small(3, 3, 24, nullptr, 0);
                      pattern = &small;
                      const unsigned int width = image.Width;
                      fnCut(image, 0);
                      Q32_WANT(fnRaisesMemoryException([&] { operation(image); }));
                      Q32_WANT(image.Width == width && image.BitCount == 24);
                      Q32_WANT(image.fnGetPixelColor(499, 299).m_Red < 2);
                      return "";
                  }),
                  "");
    }
}

TEST(PosixLostPixels, WhatReadsAMaskReportsItsLoss) {
    using Operation = std::function<void(CqImage & image, CqMask & mask)>;
    for (const Operation& operation : std::initializer_list<Operation>{
             [](CqImage&image, CqMask&mask) {
                 CqImage source(500, 300, 24, nullptr, 0);
                 image.fnMerge(source, nullptr, CqMergeParam(mask), 0, 0);
             },
             [](CqImage&, CqMask&mask) {
                 CqMask own(400, 200);
                 own += mask;
             },
             [](CqImage&, CqMask&mask) {
                 CqMask own(600, 400);
                 own -= mask;
             },
             [](CqImage&, CqMask&mask) { const CqMask copy(mask); },
             [](CqImage&, CqMask&mask) {
                 CqMask small(4, 4);
                 const CqMask sum = mask + small;
             },
             [](CqImage&, CqMask&mask) {
                 CqMask small(4, 4);
                 const CqMask difference = mask - small;
             },
             [](CqImage&image, CqMask&mask) {
                 const CqImage source(500, 300, 24, nullptr, 0);
                 CqBlendParam param;
                 param.m_pMask = &mask;
                 q32Blend(source, nullptr, image, 0, 0, param, nullptr);
             },
             [](CqImage&image, CqMask&mask) {
                 CqHistogram histogram;
                 q32CountHistogram(image, nullptr, &mask, histogram, nullptr);
             },
             [](CqImage&, CqMask&mask) {
                 CRgn region;
                 mask.fnCreateRgn(0, region);
             }})
        EXPECT_EQ(fnWithGuardedImage([&](CqImage& image) -> std::string {
                      CqMask mask(500, 300);
                      fnCut(mask, 0);
                      Q32_WANT(fnRaisesMemoryException([&] { operation(image, mask); }));
                      return "";
                  }),
                  "");
}

TEST(PosixLostPixels, AnAssignmentThatMeetsALossKeepsTheOldPicture) {
    EXPECT_EQ(fnWithGuardedImage([](CqImage& image) -> std::string {
                  CqImage old(70, 40, 24, nullptr, 0);
                  old.fnFill(CqColor(7, 8, 9, 255), nullptr, false);
                  fnCut(image, 0);
                  Q32_WANT(fnRaisesMemoryException([&] { old = image; }));
                  Q32_WANT(old.Width == 70 && old.TileMap->Width == 70);
                  Q32_WANT(old.fnGetPixelColor(69, 39) == CqColor(7, 8, 9, 255));
                  return "";
              }),
              "");
    EXPECT_EQ(fnWithGuardedImage([](CqImage&) -> std::string {
                  CqMask old(70, 40);
                  old.fnFill(CqColor(7, 7, 7, 255), nullptr, false);
                  old.fnSetPos(CPoint(3, 4));
                  CqMask mask(500, 300);
                  fnCut(mask, 0);
                  Q32_WANT(fnRaisesMemoryException([&] { old = mask; }));
                  Q32_WANT(old.Width == 70 && old.m_rectBound == CRect(3, 4, 73, 44));
                  Q32_WANT(old.fnGetPixelColor(69, 39) == CqColor(7, 7, 7, 255));
                  return "";
              }),
              "");
}

TEST(PosixLostPixels, AMaskOfAStrokeThatMeetsALossKeepsTheOldMask) {
    /// Cuts all scratch files when a part of the mask is made.
    class CuttingDisplay : public CqProgressDisplay {
    public:
        explicit CuttingDisplay(const CqImage& image)
            : CqProgressDisplay(false), m_Directory(fnNativePath(image).parent_path()) {}
        void fnDrawStatus(unsigned int, bool*) override {
            for (const auto& entry : std::filesystem::directory_iterator(m_Directory))
                if (entry.is_regular_file())
                    std::filesystem::resize_file(entry.path(), 0);
        }

    private:
        std::filesystem::path m_Directory;
    };
    EXPECT_EQ(fnWithGuardedImage([](CqImage& image) -> std::string {
                  CqMask mask;
                  CuttingDisplay cutting(image);
                  const CqPoint2D points[] = {{0, 0}, {400, 400}};
                  Q32_WANT(fnRaisesMemoryException([&] {
                      q32MakeStrokeMask(points, 5, CRect(0, 0, 400, 400), mask, &cutting);
                  }));
                  Q32_WANT(!mask.TileMap && mask.m_rectBound.IsRectEmpty());
                  return "";
              }),
              "");
}

TEST(PosixLostPixels, AReaderAndAWriterReturnFalseOnce) {
    EXPECT_EQ(fnWithGuardedImage([](CqImage& image) -> std::string {
                  fnCut(image, 0);
                  std::vector<unsigned char> row(500 * 4);
                  const CqPixelReader reader(image, PIXEL_BGRA32);
                  Q32_WANT(!reader.fnReadRow(0, 7, 500, row.data()));
                  Q32_WANT(reader.fnReadRow(0, 7, 500, row.data()));
                  return "";
              }),
              "");
    EXPECT_EQ(fnWithGuardedImage([](CqImage& image) -> std::string {
                  fnCut(image, 0);
                  const std::vector<unsigned char> row(500 * 4);
                  const CqPixelWriter writer(image, PIXEL_BGRA32);
                  Q32_WANT(!writer.fnWriteRow(0, 7, 500, row.data()));
                  Q32_WANT(writer.fnWriteRow(0, 7, 500, row.data()));
                  return "";
              }),
              "");
}
