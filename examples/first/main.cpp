// Makes a picture with red increasing to the right and green downwards; reads its corner back.
#include "platforms/headless/headless.h"
#include "q32Base/q32Base.h"

#include <cstdio>

int main() {
    if (!q32Attach(q32HeadlessPlatform()))
        return 1;
    {
        CqImage image(256, 256, 24, nullptr, 0);
        CqImageLine line;
        for (int y = 0; y < 256; ++y) {
            image.fnAccessLine(static_cast<unsigned>(y), &line, false);
            for (int x = 0; x < 256; ++x)
                line.fnSetPixelColor(x, CqColor(static_cast<unsigned char>(x),
                                                static_cast<unsigned char>(y), 128, 255));
        }
        line.fnUnAssociate(); // writes the last row back to its tiles

        const CqColor corner = image.fnGetPixelColor(255, 255);
        std::printf("%u tiles; the last pixel is %d, %d, %d\n", image.TileCount, corner.m_Red,
                    corner.m_Green, corner.m_Blue);
    } // images must be destroyed before the library shuts down
    q32Detach();
}
