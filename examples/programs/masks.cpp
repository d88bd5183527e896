// Selects a ring and merges a recoloured copy through it: masks <picture> <new file>
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <cstdlib>

namespace {

/// Makes a mask that selects a disc. Its position is in the coordinates of the picture.
void fnMakeDisc(CqMask& mask, int centerX, int centerY, int radius) {
    const int side = 2 * radius + 1;
    mask.fnAlloc(static_cast<unsigned int>(side), static_cast<unsigned int>(side));
    mask.fnSetPos({centerX - radius, centerY - radius});
    CqImageLine line;
    for (int y = 0; y < side; ++y) {
        mask.fnAccessLine(y, &line, false);
        for (int x = 0; x < side; ++x) {
            const int dx = x - radius;
            const int dy = y - radius;
            line.LineBuffer[x] = dx * dx + dy * dy <= radius * radius ? 255 : 0;
        }
    }
}

bool fnRun(const char* from, const char* to) {
    CqImage image;
    if (!q32ShowPictureResult(q32ReadPicture(from, image)))
        return false;
    image.fnConvert(24, false, nullptr); // the depth at which everything works
    const int x = static_cast<int>(image.Width) / 2;
    const int y = static_cast<int>(image.Height) / 2;
    CqMask ring;
    CqMask hole;
    fnMakeDisc(ring, x, y, y * 4 / 5);
    fnMakeDisc(hole, x, y, y * 2 / 5);
    ring -= hole;

    const CRect bound = ring.m_rectBound; // what of the picture is concerned
    CqImage part(bound.Width(), bound.Height(), 24);
    part.fnCopyBlock(image, &bound, 0, 0);
    part.fnHueSaturation(180, 20, false, nullptr);
    ring.fnSetPos({0, 0}); // a merge takes the mask in the coordinates of its source
    image.fnMerge(part, nullptr, CqMergeParam(ring), bound.left, bound.top);
    return q32ShowPictureResult(q32WritePicture(to, image));
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3)
        return std::fputs("masks <picture> <new file>\n", stderr), EXIT_FAILURE;
    return q32RunHost(q32PosixPlatform(), [&] {
        return fnRun(arguments[1], arguments[2]) ? EXIT_SUCCESS : EXIT_FAILURE;
    });
}
