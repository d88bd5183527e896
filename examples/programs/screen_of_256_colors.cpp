// Draws a picture on a screen of 256 colours, without a display, and saves what it shows:
//   screen_of_256_colors <picture> <new BMP file>
#include "platforms/headless/headless.h"
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <cstdlib>
#include <set>

int main(int count, char** arguments) {
    if (count != 3)
        return std::fputs("screen_of_256_colors <picture> <new BMP file>\n", stderr), EXIT_FAILURE;
    CqHeadlessOptions options;
    options.m_Mode = {320, 200, 8}; // pixels across and down, bits of each
    const auto world = q32HeadlessWorld(options);
    CqPlatform platform = q32PosixPlatform(); // real memory and files,
    platform.m_pScreen = world->m_pScreen;    // and a screen that can be read back
    platform.m_pWindows = world->m_pWindows;

    return q32RunHost(platform, [&] {
        CqImage image;
        if (!q32ShowPictureResult(q32ReadPicture(arguments[1], image)))
            return EXIT_FAILURE;
        CqHeadlessWnd window({0, 0, 320, 200}); // it covers the screen
        const CRect view = window.GetClientRect();
        image.fnDrawInit(1, false, view, CPoint(0, 0), &window); // one to one, from the corner
        CDC* const dc = window.GetDC();
        const bool drawn = image.fnDraw(dc, view, 0, 0, false, false);
        window.ReleaseDC(dc);

        const CqHeadlessPicture shown = world->m_pScreen->fnGetPicture();
        std::set<std::uint32_t> colors;
        for (std::size_t y = 0; y < shown.m_nHeight; ++y)
            for (std::size_t x = 0; x < shown.m_nWidth; ++x)
                colors.insert(shown.fnGetPixel(x, y));
        std::printf("%zu colours on the screen\n", colors.size());
        return drawn && shown.fnSaveBmp(arguments[2]) ? EXIT_SUCCESS : EXIT_FAILURE;
    });
}
