/// @file Prints a name and a checksum for each of some thousand results of the library, over
/// depths, sizes and seeds. The same source prints the same list on every system and processor.

#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "tests/checksums/Checksum.h"
#include "tests/display/DisplayWorld.h"

#include <cinttypes>
#include <cstdio>

namespace {

int g_nFailures = 0;

} // namespace

void Checksum::fnAdd(const void* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        m_nValue = (m_nValue ^ static_cast<const unsigned char*>(bytes)[i]) * 0x100000001B3u;
}

void Checksum::fnAdd(CqImage& image) {
    fnAdd(image.Width);
    fnAdd(image.Height);
    fnAdd(image.BitCount);
    RGBQUAD palette[256] = {};
    fnAdd(image.fnGetPaletteEntry(0, 256, palette));
    fnAdd(palette, sizeof(palette));
    fnAdd(image.TileMap->PixelBuffer, image.TileMap->BufferSize);
}

void Checksum::fnPrint(const std::string& name) const {
    std::printf("%s %016" PRIx64 "\n", name.c_str(), m_nValue);
}

int fnBetween(Random& random, int low, int high) {
    return low + static_cast<int>(random() % static_cast<std::uint32_t>(high - low + 1));
}

CqColor fnColor(Random& random) {
    const std::uint32_t bits = random();
    return CqColor(static_cast<unsigned char>(bits), static_cast<unsigned char>(bits >> 8),
                   static_cast<unsigned char>(bits >> 16), static_cast<unsigned char>(bits >> 24));
}

// Elements in braces are evaluated in their order, arguments of a call in any.

CRect fnRect(Random& random, const CqImage& image) {
    const int left = fnBetween(random, -9, static_cast<int>(image.Width));
    const int top = fnBetween(random, -9, static_cast<int>(image.Height));
    const CSize size{fnBetween(random, 1, 200), fnBetween(random, 1, 200)};
    return CRect(CPoint(left, top), size);
}

std::string fnName(const char* what, unsigned bits, const Size& size, std::uint32_t seed) {
    return std::string(what) + '/' + std::to_string(bits) + '/' + std::to_string(size.m_nWidth) +
           'x' + std::to_string(size.m_nHeight) + '/' + std::to_string(seed);
}

Random fnRandom(unsigned bits, const Size& size, std::uint32_t seed) {
    return Random(seed * 977 + bits * 31 + size.m_nWidth);
}

void fnReport(const std::string& name) {
    std::fprintf(stderr, "%s failed\n", name.c_str());
    ++g_nFailures;
}

int main() {
    for (const int screenBits : {8, 16, 24, 32}) {
        CqDisplayWorld world(screenBits);
        for (const unsigned bits : kDepths)
            for (const Size& size : kSizes) {
                if (screenBits == 24) {
                    fnPrintMethods(bits, size);
                    fnPrintFunctions(bits, size);
                }
                fnPrintDrawing(world, screenBits, bits, size);
            }
        if (screenBits == 24) {
            fnPrintCurves();
            fnPrintBitmaps();
            fnPrintPictures(world.fnWorld());
            fnPrintSounds(world.fnWorld());
        }
    }
    return g_nFailures == 0 ? 0 : 1;
}
