#include "tests/display/DisplayWorld.h"

#include "q32Base/module/Module.h"

#include <random>
#include <vector>

namespace {

CqHeadlessMode fnMode(int bits) {
    CqHeadlessMode mode;
    mode.m_nWidth = 640;
    mode.m_nHeight = 480;
    mode.m_nBits = bits;
    mode.m_nDpiX = 96;
    mode.m_nDpiY = 72;
    return mode;
}

} // namespace

CqDisplayWorld::CqDisplayWorld(int screenBits) {
    CqHeadlessOptions options;
    options.m_Mode = fnMode(screenBits);
    m_pWorld = q32HeadlessWorld(options);
    EXPECT_TRUE(q32Attach(m_pWorld->fnPlatform()));
    m_pDC = m_pWorld->m_pScreen->fnGetDC(nullptr);
}

CqDisplayWorld::~CqDisplayWorld() {
    m_pWorld->m_pScreen->fnReleaseDC(nullptr, m_pDC);
    EXPECT_EQ(m_pWorld->m_pScreen->fnGetOpenDCs(), 0u);
    EXPECT_TRUE(m_pWorld->m_pMisuses->fnGetAll().empty());
    q32Detach();
}

void CqDisplayWorld::fnSetDepth(int screenBits) {
    ASSERT_TRUE(m_pWorld->m_pScreen->fnSetMode(fnMode(screenBits)));
    q32GetDisplayProperty()->fnUpdate();
}

void fnFillNoise(CqImage& image, std::uint32_t seed) {
    std::mt19937 random(seed);
    if (image.BitCount < 9) {
        std::vector<RGBQUAD> palette(image.PaletteCount);
        for (RGBQUAD& entry : palette)
            entry = {static_cast<BYTE>(random()), static_cast<BYTE>(random()),
                     static_cast<BYTE>(random()), static_cast<BYTE>(random())};
        image.fnSetPaletteEntry(0, image.PaletteCount, palette.data());
    }
    CqImageTile tile;
    for (std::uint32_t i = 0; i < image.TileCount; ++i) {
        image.fnAccessTile(i, &tile);
        for (std::uint32_t k = 0; k < tile.Size; ++k)
            tile.Pixels[k] = static_cast<unsigned char>(random() >> 8);
    }
}

std::unique_ptr<CqImage> fnMakeNoise(unsigned int width, unsigned int height, unsigned int bits,
                                     std::uint32_t seed) {
    auto image = std::make_unique<CqImage>(width, height, bits, nullptr, 0u);
    fnFillNoise(*image, seed);
    return image;
}
