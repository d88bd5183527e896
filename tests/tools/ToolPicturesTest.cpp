// What the commands make of pixels, compared with the library's own operations.
#include "plugins/PictureFile.h"
#include "q32Base/image/CqMask.h"
#include "tests/tools/ToolTest.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

class ToolPicturesTest : public ToolTest {
protected:
    /// Runs a chain on in.png, and expects its result to be what `change` makes of it.
    void fnExpect(const ToolWords& words, const std::function<void(CqImage& image)>& change) {
        ASSERT_EQ(fnRun(words), 0) << m_Errors;
        EXPECT_EQ(m_Errors, "");
        const auto expected = fnLoad("in.png");
        change(*expected);
        const auto made = fnLoad("out.png");
        ASSERT_EQ(made->Width, expected->Width);
        ASSERT_EQ(made->Height, expected->Height);
        EXPECT_EQ(made->BitCount, expected->BitCount);
        EXPECT_TRUE(fnPixels(*made) == fnPixels(*expected));
        EXPECT_EQ(fnListRests(), std::vector<std::string>());
    }
};

TEST_F(ToolPicturesTest, ResizesAsTheLibraryDoes) {
    fnMake("in.png", 61, 40, 24);
    const auto to = [](unsigned int width, unsigned int height, bool blend) {
        return [=](CqImage& image) { image.fnResample(width, height, blend, nullptr); };
    };
    fnExpect({"resize", "in.png", "30x20", "out.png"}, to(30, 20, true));
    fnExpect({"resize", "in.png", "30x40", "out.png"}, to(30, 20, true));
    fnExpect({"resize", "in.png", "122x", "out.png"}, to(122, 80, true));
    fnExpect({"resize", "in.png", "x10", "out.png"}, to(15, 10, true));
    fnExpect({"resize", "in.png", "50%", "out.png"}, to(31, 20, true));
    fnExpect({"resize", "in.png", "7x90", "--stretch", "out.png"}, to(7, 90, true));
    fnExpect({"resize", "--nearest", "in.png", "30x", "out.png"}, to(30, 20, false));
    fnExpect({"resize", "in.png", "1x1", "out.png"}, to(1, 1, true));
}

TEST_F(ToolPicturesTest, KeepsGreysGreyWhenTheyAreFiltered) {
    fnMake("in.png", 60, 40, 8);
    fnExpect({"resize", "in.png", "30x", "out.png"},
             [](CqImage& image) { image.fnResample(0.5, 0.5, nullptr); });
    // Factors that no division gives exactly.
    for (const unsigned int width : {7U, 29U, 59U, 61U, 119U, 181U}) {
        ASSERT_EQ(
            fnRun({"resize", "in.png", std::to_string(width) + "x11", "--stretch", "out.png"}), 0);
        EXPECT_EQ(fnLoad("out.png")->Width, width);
        EXPECT_EQ(fnLoad("out.png")->Height, 11U);
        EXPECT_EQ(fnLoad("out.png")->BitCount, 8U);
    }
}

TEST_F(ToolPicturesTest, RotatesEveryAngleClockwise) {
    fnMake("in.png", 33, 20, 24);
    const CqColor white(255, 255, 255, 255);
    const auto by = [&](double angle) {
        return [=](CqImage& image) { image.fnRotate(angle, white, nullptr, true, nullptr); };
    };
    fnExpect({"rotate", "in.png", "90", "out.png"}, by(90));
    fnExpect({"rotate", "in.png", "-90", "out.png"}, by(-90));
    fnExpect({"rotate", "in.png", "180", "out.png"}, by(180));
    fnExpect({"rotate", "in.png", "360", "out.png"}, [](CqImage&) {});
    // The library rotates other angles the other way.
    fnExpect({"rotate", "in.png", "30.5", "out.png"}, by(-30.5 + 360));
    ASSERT_EQ(fnRun({"rotate", "in.png", "30", "--background", "transparent", "out.png"}), 0);
    EXPECT_EQ(fnLoad("out.png")->BitCount, 32U);
    EXPECT_EQ(fnPixels(*fnLoad("out.png"))[0], 0) << "the corner lies outside of the picture";
}

TEST_F(ToolPicturesTest, AdjustsInTheOrderOfItsOptions) {
    fnMake("in.png", 33, 20, 24);
    fnExpect({"adjust", "in.png", "out.png", "--hue", "40", "--brightness", "-10", "--blue", "20",
              "--contrast", "30"},
             [](CqImage& image) {
                 image.fnBrightContrast(-10, 30, false, nullptr);
                 image.fnColorBalance(0, 0, 20, false, nullptr);
                 image.fnHueSaturation(40, 0, false, nullptr);
             });
    fnExpect({"adjust", "in.png", "out.png", "--threshold", "100"},
             [](CqImage& image) { image.fnThresholding(100, false, nullptr); });
    fnExpect({"adjust", "in.png", "out.png"}, [](CqImage&) {});
}

TEST_F(ToolPicturesTest, KeepsAlphaWhenChannelsChange) {
    fnMake("in.png", 33, 20, 32);
    const auto before = fnPixels(*fnLoad("in.png"));
    for (const ToolWords& words :
         {ToolWords{"adjust", "in.png", "out.png", "--threshold", "100", "--gamma", "2"},
          ToolWords{"filter", "in.png", "blur", "out.png", "--radius", "3"}}) {
        ASSERT_EQ(fnRun(words), 0) << m_Errors;
        const auto after = fnPixels(*fnLoad("out.png"));
        ASSERT_EQ(after.size(), before.size());
        for (std::size_t i = 0; i < before.size(); i += 4)
            ASSERT_EQ(after[i], before[i]) << i;
    }
}

TEST_F(ToolPicturesTest, LightensMiddleTonesByGamma) {
    fnMake("in.png", 33, 20, 8);
    ASSERT_EQ(fnRun({"adjust", "in.png", "out.png", "--gamma", "2.2"}), 0) << m_Errors;
    const auto before = fnPixels(*fnLoad("in.png"));
    const auto after = fnPixels(*fnLoad("out.png"));
    for (std::size_t i = 1; i < before.size(); i += 4)
        ASSERT_EQ(after[i], std::lround(std::pow(before[i] / 255.0, 1 / 2.2) * 255)) << i;
    EXPECT_EQ(fnLoad("out.png")->BitCount, 8U);
}

TEST_F(ToolPicturesTest, FiltersWithTheWeightsGiven) {
    fnMake("in.png", 17, 9, 24);
    const auto before = fnPixels(*fnLoad("in.png"));
    const auto at = [&](int x, int y, std::size_t channel) {
        const auto column = static_cast<std::size_t>(std::clamp(x, 0, 16));
        const auto row = static_cast<std::size_t>(std::clamp(y, 0, 8));
        return static_cast<int>(before[(row * 17 + column) * 4 + channel]);
    };
    ASSERT_EQ(fnRun({"filter", "in.png", "weights", "--weights", "1,2,3,4,5,6,7,8,9", "out.png"}),
              0)
        << m_Errors;
    const auto after = fnPixels(*fnLoad("out.png"));
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 17; ++x)
            for (std::size_t channel = 1; channel < 4; ++channel) {
                int sum = 0;
                for (int i = 0; i < 9; ++i)
                    sum += (i + 1) * at(x + i % 3 - 1, y + i / 3 - 1, channel);
                const auto place = static_cast<std::size_t>(y * 17 + x) * 4 + channel;
                ASSERT_NEAR(after[place], sum / 45.0, 0.51) << x << ' ' << y;
            }
}

TEST_F(ToolPicturesTest, FiltersOnePlainColourToItself) {
    fnMake("in.png", 17, 9, 24);
    ASSERT_EQ(fnRun({"adjust", "in.png", "--threshold", "0", "white.png"}), 0);
    for (const char* name : {"blur", "sharpen"}) {
        ASSERT_EQ(fnRun({"filter", "white.png", name, "--radius", "20", "out.png"}), 0) << m_Errors;
        EXPECT_EQ(fnFarthest(fnPixels(*fnLoad("out.png")), fnPixels(*fnLoad("white.png"))), 0);
    }
    ASSERT_EQ(fnRun({"filter", "white.png", "edges", "out.png"}), 0);
    EXPECT_EQ(fnPixels(*fnLoad("out.png"))[1], 0);
    ASSERT_EQ(fnRun({"filter", "white.png", "emboss", "out.png"}), 0);
    EXPECT_EQ(fnPixels(*fnLoad("out.png"))[1], 128);
}

TEST_F(ToolPicturesTest, MergesByKeyAndMaskAsTheLibraryDoes) {
    fnMake("in.png", 40, 30, 24, 1);
    const auto over = fnMake("over.png", 12, 10, 24, 2);
    const CqColor key = over->fnGetPixelColor(5, 5);
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", key.m_Red, key.m_Green, key.m_Blue);
    fnExpect(
        {"merge", "in.png", "over.png", "--rule", "key", "--key", text, "--at", "9,7", "out.png"},
        [&](CqImage& image) { image.fnMerge(*over, nullptr, CqMergeParam(key), 9, 7); });
    CqMask mask(12, 10);
    for (int i = 0; i < 120; ++i)
        mask.fnSetPixelColor(i % 12, i / 12, i % 3 == 0 ? CqColor(255, 255, 255, 255) : CqColor());
    ASSERT_TRUE(q32WritePicture(fnPath("mask.png").c_str(), mask, PICTURE_PNG).fnIsDone());
    fnExpect({"merge", "in.png", "over.png", "--rule", "mask", "--mask", "mask.png", "--at", "9,7",
              "out.png"},
             [&](CqImage& image) { image.fnMerge(*over, nullptr, CqMergeParam(mask), 9, 7); });
    fnExpect({"merge", "in.png", "over.png", "--rule", "all", "--at", "9,7", "out.png"},
             [&](CqImage& image) { image.fnCopyBlock(*over, nullptr, 9, 7); });
}

TEST_F(ToolPicturesTest, CutsOffWhatIsMergedOutside) {
    fnMake("in.png", 40, 30, 24, 1);
    const auto over = fnMake("over.png", 12, 10, 24, 2);
    const CRect part(5, 4, 12, 10);
    fnExpect({"merge", "in.png", "over.png", "--at", "-5,-4", "out.png"},
             [&](CqImage& image) { image.fnCopyBlock(*over, &part, 0, 0); });
    fnExpect({"merge", "in.png", "over.png", "--at", "35,25", "out.png"},
             [&](CqImage& image) { image.fnCopyBlock(*over, nullptr, 35, 25); });
    for (const char* place : {"40,0", "0,30", "-12,0", "0,-10", "2147483647,-2147483647"})
        fnExpect({"merge", "in.png", "over.png", "--at", place, "out.png"}, [](CqImage&) {});
}

TEST_F(ToolPicturesTest, BlendsByAlpha) {
    fnMake("in.png", 20, 20, 24, 1);
    fnMake("over.png", 20, 20, 32, 2);
    ASSERT_EQ(fnRun({"merge", "in.png", "over.png", "out.png"}), 0) << m_Errors;
    const auto below = fnPixels(*fnLoad("in.png"));
    const auto over = fnPixels(*fnLoad("over.png"));
    const auto made = fnPixels(*fnLoad("out.png"));
    for (std::size_t i = 0; i < made.size(); ++i) {
        const double alpha = over[i / 4 * 4] / 255.0;
        const double expected = i % 4 == 0 ? 255 : over[i] * alpha + below[i] * (1 - alpha);
        ASSERT_NEAR(made[i], expected, 0.51) << i;
    }
    // A JPEG has no alpha: the picture lies over the background.
    ASSERT_EQ(fnRun({"convert", "over.png", "out.bmp", "--background", "#0a141e"}), 0) << m_Errors;
    ASSERT_EQ(
        fnRun({"convert", "over.png", "out.jpg", "--background", "#0a141e", "--quality", "100"}), 0)
        << m_Errors;
    EXPECT_EQ(fnLoad("out.jpg")->BitCount, 24U);
}

TEST_F(ToolPicturesTest, ChainsOperationsWithoutFilesBetween) {
    fnMake("in.png", 60, 40, 24);
    fnExpect({"resize", "in.png", "30x", "+", "rotate", "90", "+", "adjust", "--brightness", "10",
              "out.png"},
             [](CqImage& image) {
                 image.fnResample(30, 20, true, nullptr);
                 image.fnRotate(90, CqColor(), nullptr, true, nullptr);
                 image.fnBrightContrast(10, 0, false, nullptr);
             });
    // The same option twice in two steps of a chain, each with its own value.
    fnExpect(
        {"adjust", "in.png", "--brightness", "10", "+", "adjust", "--brightness", "-30", "out.png"},
        [](CqImage& image) {
            image.fnBrightContrast(10, 0, false, nullptr);
            image.fnBrightContrast(-30, 0, false, nullptr);
        });
}

TEST_F(ToolPicturesTest, GivesTheSamePixelsFromScratchFiles) {
    fnMake("in.png", 700, 500, 24);
    const ToolWords words = {"resize", "in.png", "900x", "+", "rotate", "20", "out.png"};
    ASSERT_EQ(fnRun(words), 0) << m_Errors;
    const std::string inMemory = fnGet("out.png");
    ToolWords small = words;
    small.insert(small.end(), {"--memory", "64K", "--scratch", fnPath("scratch")});
    ASSERT_EQ(fnRun(small), 0) << m_Errors;
    EXPECT_TRUE(fnGet("out.png") == inMemory);
    EXPECT_EQ(fnListRests(), std::vector<std::string>());
}

TEST_F(ToolPicturesTest, ConvertsFormatDepthAndResolution) {
    fnMake("in.png", 20, 10, 24);
    for (const char* name : {"out.bmp", "out.tif", "out.jpg", "out.PNG"}) {
        ASSERT_EQ(fnRun({"convert", "in.png", name, "--dpi", "300"}), 0) << m_Errors;
        EXPECT_EQ(fnLoad(name)->DpiX, 300) << name;
    }
    EXPECT_EQ(fnFarthest(fnPixels(*fnLoad("out.tif")), fnPixels(*fnLoad("in.png"))), 0);
    ASSERT_EQ(fnRun({"convert", "in.png", "grey.png", "--depth", "grey"}), 0) << m_Errors;
    EXPECT_EQ(fnLoad("grey.png")->BitCount, 8U);
    ASSERT_EQ(fnRun({"convert", "in.png", "deep.png", "--depth", "32"}), 0) << m_Errors;
    EXPECT_EQ(fnLoad("deep.png")->BitCount, 32U);
    EXPECT_EQ(fnFarthest(fnPixels(*fnLoad("deep.png")), fnPixels(*fnLoad("in.png"))), 0);
}

TEST_F(ToolPicturesTest, MakesThumbnailsThatFitAndAreNeverLarger) {
    fnMake("wide.png", 300, 100, 24);
    fnMake("small.png", 20, 30, 24);
    std::filesystem::create_directory(fnPath("out"));
    ASSERT_EQ(fnRun({"thumbnail", "wide.png", "small.png", "out", "--size", "60x60"}), 0)
        << m_Errors;
    EXPECT_EQ(fnLoad("out/wide.jpg")->Width, 60U);
    EXPECT_EQ(fnLoad("out/wide.jpg")->Height, 20U);
    EXPECT_EQ(fnLoad("out/small.jpg")->Width, 20U);
    ASSERT_EQ(fnRun({"thumbnail", "wide.png", "one.png", "--size", "60x60"}), 0) << m_Errors;
    const auto expected = fnLoad("wide.png");
    expected->fnResample(60, 20, true, nullptr);
    EXPECT_TRUE(fnPixels(*fnLoad("one.png")) == fnPixels(*expected));
}

TEST_F(ToolPicturesTest, DecodesNoMoreOfAJpegThanAThumbnailNeeds) {
    fnMake("in.jpg", 900, 640, 24);
    ASSERT_EQ(fnRun({"thumbnail", "in.jpg", "out.png", "--size", "100x100"}), 0) << m_Errors;
    CqPictureLimits limits;
    limits.m_nFitWidth = limits.m_nFitHeight = 100;
    CqImage expected;
    ASSERT_EQ(q32ReadPicture(fnPath("in.jpg").c_str(), expected, limits).m_nReduction, 8U);
    ASSERT_EQ(expected.Width, 113U);
    expected.fnResample(100, 71, true, nullptr);
    EXPECT_TRUE(fnPixels(*fnLoad("out.png")) == fnPixels(expected));
}

TEST_F(ToolPicturesTest, ArrangesPicturesInCells) {
    fnMake("a.png", 20, 10, 24, 1);
    fnMake("b.png", 10, 20, 24, 2);
    fnMake("c.png", 40, 40, 24, 3);
    ASSERT_EQ(fnRun({"montage", "a.png", "b.png", "c.png", "out.png", "--size", "20x20", "--gap",
                     "4", "--columns", "2", "--background", "#102030"}),
              0)
        << m_Errors;
    CqImage expected(52, 52, 24, nullptr, 0);
    expected.fnFill(CqColor(0x10, 0x20, 0x30, 255), nullptr, false);
    expected.fnCopyBlock(*fnLoad("a.png"), nullptr, 4, 4 + 5);
    expected.fnCopyBlock(*fnLoad("b.png"), nullptr, 28 + 5, 4);
    const auto reduced = fnLoad("c.png");
    reduced->fnResample(20, 20, true, nullptr);
    expected.fnCopyBlock(*reduced, nullptr, 4, 28);
    EXPECT_TRUE(fnPixels(*fnLoad("out.png")) == fnPixels(expected));
}

} // namespace
