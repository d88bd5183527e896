// Makes docs/operations.md and its pictures: every operation, before and after, and pictures on
// screens of every depth.
//   operations <picture> <folder>
#include "examples/operations/Samples.h"
#include "platforms/headless/headless.h"
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

/// An operation: its name, also that of its picture; what it does; the call as shown; and the call.
struct Row {
    const char* m_szGroup; ///< the heading above it; null: that of the row before
    const char* m_szName;
    const char* m_szText;
    const char* m_szCode;
    void (*m_pRun)(CqImage& image);
};

/// The code as text, and the code.
#define Q32_CALL(...) #__VA_ARGS__, [](CqImage & image) { __VA_ARGS__; }

const Row kRows[] = {
    {"Tone", "brighter", "Brightness, in percent",
     Q32_CALL(image.fnBrightContrast(40, 0, false, nullptr))},
    {nullptr, "darker", "Brightness below 0",
     Q32_CALL(image.fnBrightContrast(-40, 0, false, nullptr))},
    {nullptr, "contrast", "Contrast, in percent",
     Q32_CALL(image.fnBrightContrast(0, 40, false, nullptr))},
    {nullptr, "flat", "Contrast below 0", Q32_CALL(image.fnBrightContrast(0, -60, false, nullptr))},
    {nullptr, "balance", "Red more, blue less",
     Q32_CALL(image.fnColorBalance(40, 0, -40, false, nullptr))},
    {nullptr, "hue", "Hues rotated by 120 degrees",
     Q32_CALL(image.fnHueSaturation(120, 0, false, nullptr))},
    {nullptr, "saturated", "Saturation, in percent",
     Q32_CALL(image.fnHueSaturation(0, 60, false, nullptr))},
    {nullptr, "grey", "No saturation", Q32_CALL(image.fnHueSaturation(0, -100, false, nullptr))},
    {nullptr, "threshold", "Every channel 0 or 255",
     Q32_CALL(image.fnThresholding(128, false, nullptr))},
    {"Size", "smaller", "By the filter", Q32_CALL(image.fnResample(75, 50, true, nullptr))},
    {nullptr, "nearest", "By the nearest pixel, to a size and back",
     Q32_CALL(image.fnResample(30, 20, false, nullptr);
              image.fnResample(150, 100, false, nullptr))},
    {nullptr, "smooth", "The same by the filter",
     Q32_CALL(image.fnResample(30, 20, true, nullptr); image.fnResample(150, 100, true, nullptr))},
    {nullptr, "factors", "By factors", Q32_CALL(image.fnResample(0.5, 1.0, nullptr))},
    {"Rotation", "right", "Clockwise by a right angle",
     Q32_CALL(image.fnRotate(90, CqColor(), nullptr, false, nullptr))},
    {nullptr, "left", "Counter-clockwise by a right angle",
     Q32_CALL(image.fnRotate(-90, CqColor(), nullptr, false, nullptr))},
    {nullptr, "half", "By two right angles",
     Q32_CALL(image.fnRotate(180, CqColor(), nullptr, false, nullptr))},
    {nullptr, "angle", "By any other angle: counter-clockwise",
     Q32_CALL(image.fnRotate(20, CqColor(255, 255, 255), nullptr, false, nullptr))},
    {nullptr, "smooth-angle", "The same with pixels blended",
     Q32_CALL(image.fnRotate(20, CqColor(255, 255, 255), nullptr, true, nullptr))},
    {"Fills and copies", "fill", "A rectangle in one colour",
     Q32_CALL(const CRect area(20, 20, 80, 60); image.fnFill({200, 30, 30}, &area, false))},
    {nullptr, "pattern", "A rectangle tiled with a part of a picture",
     Q32_CALL(CqImage all(image); const CRect sun(93, 10, 118, 35); const CRect area(0, 0, 75, 100);
              image.fnFill(all, &sun, &area))},
    {nullptr, "block", "A block copied",
     Q32_CALL(CqImage all(image); const CRect sun(85, 0, 130, 45);
              image.fnCopyBlock(all, &sun, 5, 50))},
    {nullptr, "key", "All but the pixels of one colour merged",
     Q32_CALL(CqImage disc(60, 60, 24); const CRect middle(15, 15, 45, 45);
              disc.fnFill({255, 0, 255}, nullptr, false);
              disc.fnFill({250, 220, 0}, &middle, false);
              image.fnMerge(disc, nullptr, CqMergeParam(CqColor(255, 0, 255)), 20, 20))},
    {nullptr, "line", "A line of one pixel's width",
     Q32_CALL(image.fnDrawLine(0, 99, 149, 0, CqColor(255, 255, 255), false))},
    {"Tone curves, greys and depths", "tone-curves", "A curve for each channel",
     Q32_CALL(CqToneCurves tone = fnSwingingCurves();
              q32ApplyToneCurves(image, nullptr, tone, nullptr))},
    {nullptr, "grey-8", "256 greys", Q32_CALL(q32ConvertToGrey(image, 8, nullptr))},
    {"Filters", "blur", "Blurred", Q32_CALL(q32Blur(image, 3.0, nullptr))},
    {nullptr, "sharp", "Sharpened", Q32_CALL(q32Sharpen(image, 1.5, 200, 2, nullptr))},
    {nullptr, "relief", "A filter of the host's own, on a window of rows: a relief",
     Q32_CALL(fnEmboss(image))},
    {"Cuts and flips", "crop", "Cropped",
     Q32_CALL(q32Crop(image, CRect(60, 0, 150, 60), image, nullptr))},
    {nullptr, "mirror", "Left and right exchanged", Q32_CALL(q32FlipHorizontal(image, nullptr))},
    {nullptr, "upside-down", "Top and bottom exchanged", Q32_CALL(q32FlipVertical(image, nullptr))},
    {"Masks and blending", "mask", "Merged through a mask of 0 and 255",
     Q32_CALL(CqImage grey(image); grey.fnHueSaturation(0, -100, false, nullptr);
              CqMask disc = fnMakeDisc(75, 50, 40); image.fnMerge(grey, nullptr, disc, 0, 0))},
    {nullptr, "feather", "Blended through a feathered mask",
     Q32_CALL(CqImage grey(image); grey.fnHueSaturation(0, -100, false, nullptr);
              CqMask disc = fnMakeDisc(75, 50, 40);
              q32FeatherMask(disc, 8, CRect(0, 0, 150, 100), nullptr);
              q32Blend(grey, nullptr, image, 0, 0, {255, &disc}, nullptr))},
    {nullptr, "opacity", "Blended at half the opacity",
     Q32_CALL(CqImage flipped(image); q32FlipHorizontal(flipped, nullptr);
              q32Blend(flipped, nullptr, image, 0, 0, {128}, nullptr))},
    {"Curves", "bezier", "A Bezier curve and its control points",
     Q32_CALL(fnDrawWithPolygon(image, fnWave()))},
    {nullptr, "flattened", "The same in straight segments, at most 4 pixels off it",
     Q32_CALL(CqPolyline2D segments; fnWave().fnTessellate(segments, 4.0);
              fnDrawSegments(image, segments))},
    {"Screens", "screen-8", "256 colours", Q32_CALL(fnShow(image, {8}))},
    {nullptr, "screen-16", "65,536 colours", Q32_CALL(fnShow(image, {16}))},
    {nullptr, "screen-16-plain", "The same without the dither",
     Q32_CALL(fnShow(image, {.m_nBits = 16, .m_bDither = false}))},
    {nullptr, "screen-24", "24 bits", Q32_CALL(fnShow(image, {24}))},
    {nullptr, "screen-32", "32 bits", Q32_CALL(fnShow(image, {32}))},
    {nullptr, "screen-gamma", "The same with a gamma of 220",
     Q32_CALL(fnShow(image, {.m_nBits = 32, .m_nGamma = 220}))},
    {nullptr, "screen-zoom", "Four times as large",
     Q32_CALL(fnShow(image, {.m_nBits = 8, .m_nFactor = 4}))},
    {nullptr, "screen-reduced", "Half as large",
     Q32_CALL(fnShow(image, {.m_nBits = 32, .m_nFactor = 2, .m_bShrink = true}))},
};

/// Scales a picture until it covers 150 x 100 pixels, and cuts those out of its middle.
bool fnFit(CqImage& image) {
    image.fnConvert(24, false, nullptr);
    const double scale = std::max(1.0 * kWidth / image.Width, 1.0 * kHeight / image.Height);
    const auto scaled = [scale](unsigned int length, unsigned int least) {
        return std::max(least, static_cast<unsigned int>(std::lround(length * scale)));
    };
    image.fnResample(scaled(image.Width, kWidth), scaled(image.Height, kHeight), true, nullptr);
    const CPoint corner(static_cast<int>(image.Width - kWidth) / 2,
                        static_cast<int>(image.Height - kHeight) / 2);
    return q32Crop(image, CRect(corner, CSize(kWidth, kHeight)), image, nullptr);
}

bool fnRun(const char* from, const std::string& folder) {
    CqImage before;
    if (!q32ShowPictureResult(q32ReadPicture(from, before)))
        return false;
    if (!fnFit(before))
        return false;
    std::error_code ignored; // saving reports what is missing
    std::filesystem::create_directories(folder + "/pictures/operations", ignored);
    std::ofstream page(folder + "/operations.md");
    page << "# Operations, before and after\n\n"
            "Made by `examples/operations`; `scripts/pictures` renews it. The picture before is\n\n"
            "![before](pictures/operations/before.png)\n";
    const auto save = [&](const char* name, CqImage& image) {
        const std::string path = folder + "/pictures/operations/" + name + ".png";
        return q32ShowPictureResult(q32WritePicture(path.c_str(), image));
    };
    bool done = save("before", before);
    for (const Row& row : kRows) {
        CqImage image(before);
        row.m_pRun(image);
        done = save(row.m_szName, image) && done;
        if (row.m_szGroup)
            page << "\n## " << row.m_szGroup << "\n\n| Operation | Result |\n|---|---|\n";
        page << "| " << row.m_szText << "<br>`" << row.m_szCode << "` | ![" << row.m_szText
             << "](pictures/operations/" << row.m_szName << ".png) |\n";
    }
    return done && page.flush().good();
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3)
        return 1;
    CqPlatform platform = q32PosixPlatform();
    fnTakeScreen(platform);
    return q32RunHost(platform, [&] { return fnRun(arguments[1], arguments[2]) ? 0 : 1; });
}
