// Makes docs/operations.md and its pictures: every operation, before and after.
//   operations <picture> <folder>
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <cstdio>
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
};

bool fnRun(const char* from, const std::string& folder) {
    CqImage before;
    if (!q32ShowPictureResult(q32ReadPicture(from, before)))
        return false;
    before.fnConvert(24, false, nullptr);
    before.fnResample(150, 100, true, nullptr);
    std::ofstream page(folder + "/operations.md");
    page << "# Operations, before and after\n\n"
            "Made by `examples/operations`; scripts/pictures renews it. The picture before is\n\n"
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
    return q32RunHost(q32PosixPlatform(),
                      [&] { return fnRun(arguments[1], arguments[2]) ? 0 : 1; });
}
