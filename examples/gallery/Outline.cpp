#include "examples/gallery/Outline.h"

#include "q32Base/operations/CqConvMask.h"

#include <algorithm>

void fnFillRegion(CqImage& image, const CRgn& region, const CqColor& color) {
    for (const RECT& part : region.GetRects()) {
        const CRect rect(part);
        image.fnFill(color, &rect, false);
    }
}

void fnDrawOutline(CqImage& image, const CRgn& region, const CqColor& color) {
    CqImage inside(image.Width, image.Height, 8, q32GreyRamp, 256);
    inside.fnFill(CqColor(), nullptr, false);
    fnFillRegion(inside, region, CqColor(255, 255, 255, 255));

    CqConvMask window(inside, 3, -1);
    const int last = static_cast<int>(image.Width) - 1;
    for (int y = 0; y < static_cast<int>(image.Height); ++y) {
        window.fnGotoNextLine();
        unsigned char* rows[3];
        window.fnGetLine(rows[0], rows[1], rows[2]);
        for (int x = 0; x <= last; ++x) {
            unsigned char least = 255;
            for (const unsigned char* row : rows)
                least =
                    std::min({least, row[std::max(0, x - 1)], row[x], row[std::min(last, x + 1)]});
            if (rows[1][x] != 0 && least == 0)
                image.fnSetPixelColor(x, y, color);
        }
    }
}
