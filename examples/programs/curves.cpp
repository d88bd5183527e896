// Draws curves over a photograph: curves <picture> <new file>
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <cstdlib>

namespace {

void fnDraw(CqImage& image) {
    const int right = static_cast<int>(image.Width) - 1;
    const int bottom = static_cast<int>(image.Height) - 1;
    for (int i = 0; i <= 12; ++i) { // a fan of curves between two corners
        const int x = right * i / 12;
        CqCubicBezier2D curve(CqPoint2D(0, bottom), CqPoint2D(x, 0), CqPoint2D(right - x, bottom),
                              CqPoint2D(right, 0), 1.0);
        curve.fnRasterize(image, CqColor(255, 230, 0));
    }

    // A curve as straight segments, nowhere more than half a pixel off it, and moved down.
    const CqCubicBezier2D arc(CqPoint2D(0, bottom / 2), CqPoint2D(right / 3, 0),
                              CqPoint2D(right * 2 / 3, 0), CqPoint2D(right, bottom / 2), 1.0);
    CqPolyline2D segments;
    arc.fnTessellate(segments, 0.5);
    segments += CqPoint2D(0, bottom / 4);
    for (int i = 0; i < segments.fnGetNumberLine(); ++i)
        segments.fnGetLine(i).fnRasterize(image, CqColor(255, 255, 255));

    double y[3] = {};
    double t[3] = {};
    const int crossings = arc.fnIntersectX(right / 2.0, y[0], t[0], y[1], t[1], y[2], t[2]);
    std::printf("%d segments; %d crossing in the middle, at y = %.2f\n", segments.fnGetNumberLine(),
                crossings, y[0]);
}

bool fnRun(const char* from, const char* to) {
    CqImage image;
    if (!q32ShowPictureResult(q32ReadPicture(from, image)))
        return false;
    image.fnConvert(24, false, nullptr); // lines at 4 and 16 bits have rules of their own
    fnDraw(image);
    return q32ShowPictureResult(q32WritePicture(to, image));
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3)
        return std::fputs("curves <picture> <new file>\n", stderr), EXIT_FAILURE;
    return q32RunHost(q32PosixPlatform(), [&] {
        return fnRun(arguments[1], arguments[2]) ? EXIT_SUCCESS : EXIT_FAILURE;
    });
}
