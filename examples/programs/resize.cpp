// Opens a picture, makes it smaller or larger, and saves it: resize <picture> <new file> <width>
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

bool fnResize(const char* from, const char* to, unsigned int width) {
    CqImage image;
    if (!q32ShowPictureResult(q32ReadPicture(from, image)))
        return false;
    const double scale = 1.0 * width / image.Width;
    const auto height = static_cast<unsigned int>(std::max(1.0, std::round(image.Height * scale)));
    std::printf("%u x %u -> %u x %u\n", image.Width, image.Height, width, height);
    if (image.BitCount <= 8 && !image.fnIsGrayScale())
        image.fnConvert(24, false, nullptr); // the filter mixes colours, not indices
    image.fnResample(width, height, true, nullptr);
    return q32ShowPictureResult(q32WritePicture(to, image)); // in the format of the extension
}

} // namespace

int main(int count, char** arguments) {
    const int width = count == 4 ? std::atoi(arguments[3]) : 0;
    if (width < 1)
        return std::fputs("resize <picture> <new file> <width>\n", stderr), EXIT_FAILURE;
    return q32RunHost(q32PosixPlatform(), [&] {
        q32SetMemoryLimit(); // half of the memory; larger pictures go to the scratch disk
        const bool done = fnResize(arguments[1], arguments[2], static_cast<unsigned int>(width));
        return done ? EXIT_SUCCESS : EXIT_FAILURE;
    });
}
