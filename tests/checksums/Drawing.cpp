#include "q32Base/image/CqMask.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "tests/checksums/Checksum.h"
#include "tests/display/DisplayWorld.h"

namespace {

constexpr RECT kView{0, 0, 200, 150};

void fnAddScreen(Checksum& sum, CqDisplayWorld& world) {
    for (LONG row = 0; row < kView.bottom; ++row)
        for (LONG column = 0; column < kView.right; ++column)
            sum.fnAdd(world.fnScreen().fnGetPixel(column, row));
}

void fnDrawScaled(CqDisplayWorld& world, CqImage& image, Random& random, const std::string& name) {
    const unsigned factor = 1 + random() % 4;
    image.fnDrawInit(factor, random() % 2 != 0, kView, CPoint(0, 0), nullptr);
    const CPoint at{fnBetween(random, 0, 40), fnBetween(random, 0, 40)};
    if (!image.fnDraw(world.fnDC(), kView, at.x, at.y, random() % 2 != 0, false))
        fnReport(name);
    Checksum sum;
    fnAddScreen(sum, world);
    sum.fnPrint(name);
}

/// Draws over what is there, without the pixels of a key colour, which may be missing, of weight 0,
/// or of alpha 0.
void fnDrawWithKey(CqDisplayWorld& world, CqImage& image, Random& random, const std::string& name) {
    CqMask mask(image.Width, image.Height);
    for (std::uint32_t i = 0; i < mask.TileMap->BufferSize; ++i)
        mask.TileMap->PixelBuffer[i] = static_cast<unsigned char>(random() % 2);
    const auto type = static_cast<MERGE_TYPE>(random() % 3);
    const CqColor pixel = image.fnGetPixelColor(0, 0);
    const auto key =
        static_cast<unsigned long>(pixel.m_Red | pixel.m_Green << 8 | pixel.m_Blue << 16);
    const CqMergeParam param(type, key, &mask);
    const CPoint at{fnBetween(random, 0, 9), fnBetween(random, 0, 9)};
    Checksum sum;
    sum.fnAdd(image.fnKeyDraw(world.fnDC(), kView, at.x, at.y, param, random() % 2 != 0, false));
    fnAddScreen(sum, world);
    sum.fnPrint(name);
}

} // namespace

void fnPrintDrawing(CqDisplayWorld& world, int screenBits, unsigned bits, const Size& size) {
    const std::string screen = std::to_string(screenBits);
    for (std::uint32_t seed = 0; seed < kSeeds; ++seed) {
        Random random = fnRandom(bits, size, seed);
        const auto image = fnMakeNoise(size.m_nWidth, size.m_nHeight, bits, random());
        const std::string name = fnName("", bits, size, seed);
        CqDisplayWorld::fnDisplay().fnSetGammaValue(50 + random() % 250);
        CqDisplayWorld::fnDisplay().fnEnableGamma(true);
        fnDrawScaled(world, *image, random, "draw" + screen + name);
        CqDisplayWorld::fnDisplay().fnEnableGamma(true);
        fnDrawWithKey(world, *image, random, "key-draw" + screen + name);
    }
}
