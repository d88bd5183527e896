// Paints a landscape for the other programs to work on: landscape <new file> [<width> <height>]
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kHeight = 1000; // of the scene, in units of its own

CqColor fnPaint(int x, int y) {
    const int far = 560 + (x - 375) * (x - 375) / 1500; // a hill is a parabola
    const int near = 620 + (x - 1200) * (x - 1200) / 1200;
    if (y >= near)
        return {30 + (y - near) / 8, 90 + (y - near) / 6, 30};
    if (y >= far)
        return {70, 120 - (y - far) / 8, 90};
    const int sun = (x - 1050) * (x - 1050) + (y - 220) * (y - 220);
    if (sun < 70 * 70)
        return {255, 240, 190};
    const int glow = std::max(0, 60 - sun / 1000);
    return {90 + y / 5 + glow, 140 + y / 7 + glow, 220 + glow / 2};
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2 && count != 4)
        return std::fputs("landscape <new file> [<width> <height>]\n", stderr), EXIT_FAILURE;
    const int width = count == 4 ? std::atoi(arguments[2]) : 600;
    const int height = count == 4 ? std::atoi(arguments[3]) : 400;
    return q32RunHost(q32PosixPlatform(), [&] {
        CqImage image(width, height, 24);
        CqImageLine line;
        for (int y = 0; y < height; ++y) {
            image.fnAccessLine(y, &line, false); // writes the row before back
            for (int x = 0; x < width; ++x)
                line.fnSetPixelColor(x, fnPaint(x * kHeight / height, y * kHeight / height));
        }
        line.fnUnAssociate(); // writes the last row back
        image.Title = "Landscape";
        return q32ShowPictureResult(q32WritePicture(arguments[1], image)) ? EXIT_SUCCESS
                                                                          : EXIT_FAILURE;
    });
}
