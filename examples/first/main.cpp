// Makes a picture with red increasing to the right and green downwards; reads its corner back.
#include "platforms/headless/headless.h"
#include "q32Base/q32Base.h"

#include <cstdio>

int main() {
    // Images must be gone before the library stops: they live inside the function that it runs.
    return q32RunHost(q32HeadlessPlatform(), [] {
        CqImage image(256, 256, 24);
        CqImageLine line;
        for (int y = 0; y < 256; ++y) {
            image.fnAccessLine(y, &line, false);
            for (int x = 0; x < 256; ++x)
                line.fnSetPixelColor(x, CqColor(x, y, 128));
        }
        line.fnUnAssociate(); // writes the last row back to its tiles

        const CqColor corner = image.fnGetPixelColor(255, 255);
        std::printf("%u tiles; the last pixel is %d, %d, %d\n", image.TileCount, corner.m_Red,
                    corner.m_Green, corner.m_Blue);
        return 0;
    });
}
