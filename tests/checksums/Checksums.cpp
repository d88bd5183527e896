/// @file Prints a name and a checksum for each of some thousand results of the library, over
/// depths, sizes and seeds. The same source prints the same list on every system and processor.

#include "q32Base/framework/CRgn.h"
#include "q32Base/geometry/CqCubicBezier2D.h"
#include "q32Base/geometry/CqPolyline2D.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/sound/CqWave.h"
#include "tests/display/DisplayWorld.h"
#include "tests/support/Random.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <string>

namespace {

/// FNV-1a of 64 bits.
class Checksum {
public:
    void fnAdd(const void* bytes, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            m_nValue = (m_nValue ^ static_cast<const unsigned char*>(bytes)[i]) * 0x100000001B3u;
    }
    template <typename Number>
    void fnAdd(Number number) {
        fnAdd(&number, sizeof(number));
    }
    void fnAdd(CqImage& image) {
        fnAdd(image.Width);
        fnAdd(image.Height);
        fnAdd(image.BitCount);
        RGBQUAD palette[256] = {};
        fnAdd(image.fnGetPaletteEntry(0, 256, palette));
        fnAdd(palette, sizeof(palette));
        fnAdd(image.TileMap->PixelBuffer, image.TileMap->BufferSize);
    }
    void fnPrint(const std::string& name) const {
        std::printf("%s %016" PRIx64 "\n", name.c_str(), m_nValue);
    }

private:
    std::uint64_t m_nValue = 0xCBF29CE484222325u;
};

/// From `low` to `high`.
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

struct Operation {
    const char* m_szName;
    /// Changes `image`; `other` has the same depth.
    void (*m_fnRun)(CqImage& image, CqImage& other, Random& random);
};

constexpr Operation kOperations[] = {
    {"fill",
     [](CqImage& image, CqImage&, Random& random) {
         const CRect rect = fnRect(random, image);
         image.fnFill(fnColor(random), &rect, false);
     }},
    {"pattern",
     [](CqImage& image, CqImage& other, Random& random) {
         const CRect part{0, 0, fnBetween(random, 1, 40), fnBetween(random, 1, 40)};
         const CRect place = fnRect(random, image);
         image.fnFill(other, &part, &place);
     }},
    {"copy",
     [](CqImage& image, CqImage& other, Random& random) {
         const CRect rect = fnRect(random, other);
         const int x = fnBetween(random, -20, 40);
         image.fnCopyBlock(other, &rect, x, fnBetween(random, -20, 40));
     }},
    {"merge",
     [](CqImage& image, CqImage& other, Random& random) {
         const auto type = static_cast<MERGE_TYPE>(random() % 3);
         CqMask mask{1 + random() % 100, 1 + random() % 100};
         for (std::uint32_t i = 0; i < mask.TileMap->BufferSize; ++i)
             mask.TileMap->PixelBuffer[i] = static_cast<unsigned char>(random());
         const int x = fnBetween(random, -20, 40);
         const unsigned long key = random() & 0xFFFFFFu;
         image.fnMerge(other, nullptr, CqMergeParam(type, key, &mask), x,
                       fnBetween(random, -20, 40));
     }},
    {"bright",
     [](CqImage& image, CqImage&, Random& random) {
         const int brightness = fnBetween(random, -100, 100);
         image.fnBrightContrast(brightness, fnBetween(random, -100, 100), false, nullptr);
     }},
    {"balance",
     [](CqImage& image, CqImage&, Random& random) {
         const int red = fnBetween(random, -100, 100);
         const int green = fnBetween(random, -100, 100);
         image.fnColorBalance(red, green, fnBetween(random, -100, 100), false, nullptr);
     }},
    {"hue",
     [](CqImage& image, CqImage&, Random& random) {
         const int hue = fnBetween(random, -180, 180);
         image.fnHueSaturation(hue, fnBetween(random, -100, 100), false, nullptr);
     }},
    {"threshold",
     [](CqImage& image, CqImage&, Random& random) {
         image.fnThresholding(static_cast<unsigned char>(random()), false, nullptr);
     }},
    {"size",
     [](CqImage& image, CqImage&, Random& random) {
         const unsigned width = 1 + random() % 300;
         const unsigned height = 1 + random() % 300;
         image.fnResample(width, height, random() % 2 != 0, nullptr);
     }},
    {"scale",
     [](CqImage& image, CqImage&, Random& random) {
         const double x = fnBetween(random, 10, 300) / 100.0;
         image.fnResample(x, fnBetween(random, 10, 300) / 100.0, nullptr);
     }},
    {"right",
     [](CqImage& image, CqImage&, Random& random) {
         const double angle = 90.0 * fnBetween(random, -3, 3);
         image.fnRotate(angle, fnColor(random), nullptr, false, nullptr);
     }},
    {"rotate",
     [](CqImage& image, CqImage&, Random& random) {
         const double angle = fnBetween(random, -36000, 36000) / 100.0;
         const CqColor background = fnColor(random);
         CPoint center{fnBetween(random, 0, 100), fnBetween(random, 0, 100)};
         image.fnRotate(angle, background, &center, random() % 2 != 0, nullptr);
     }},
    {"convert",
     [](CqImage& image, CqImage&, Random& random) {
         constexpr unsigned kDepths[] = {4, 8, 16, 24, 32};
         image.fnConvert(kDepths[random() % 5], false, nullptr);
     }},
    {"line",
     [](CqImage& image, CqImage&, Random& random) {
         const CRect ends = fnRect(random, image);
         image.fnDrawLine(ends.left, ends.top, ends.right, ends.bottom, fnColor(random), false);
     }},
    {"curve",
     [](CqImage& image, CqImage&, Random& random) {
         const auto place = [&] { return fnBetween(random, -5000, 30000) / 100.0; };
         const auto point = [&] { return CqPoint2D{place(), place()}; };
         CqCubicBezier2D curve{point(), point(), point(), point(),
                               fnBetween(random, 0, 900) / 100.0};
         curve.fnRasterize(image, fnColor(random));
     }},
    {"wave",
     [](CqImage& image, CqImage&, Random& random) {
         CqWave wave{1 + random() % 2, random() % 2 != 0 ? 8u : 16u, 8000u, 1000u, false};
         for (std::uint32_t i = 0; i < wave.fnGetBufferSize(); ++i)
             wave.fnGetBuffer()[i] = static_cast<unsigned char>(random());
         const std::uint32_t part[] = {random() % 500, random() % 900};
         wave.fnRasterize(image, part[0], part[1], random() % 2 != 0, false);
     }},
    {"region",
     [](CqImage& image, CqImage&, Random& random) {
         CRgn region;
         image.fnCreateRgn(image.fnGetPixelColor(0, 0), region);
         for (const RECT& rect : region.GetRects())
             image.fnDrawLine(rect.left, rect.top, rect.right, rect.bottom, fnColor(random), false);
     }},
};

struct Size {
    unsigned m_nWidth;
    unsigned m_nHeight;
};

constexpr Size kSizes[] = {{1, 1}, {7, 3}, {130, 129}, {300, 65}};
constexpr unsigned kDepths[] = {4, 8, 16, 24, 32};
constexpr std::uint32_t kSeeds = 10;

std::string fnName(const char* what, unsigned bits, const Size& size, std::uint32_t seed) {
    return std::string(what) + '/' + std::to_string(bits) + '/' + std::to_string(size.m_nWidth) +
           'x' + std::to_string(size.m_nHeight) + '/' + std::to_string(seed);
}

void fnOperate(unsigned bits, const Size& size) {
    for (const Operation& operation : kOperations)
        for (std::uint32_t seed = 0; seed < kSeeds; ++seed) {
            Random random(seed * 977 + bits * 31 + size.m_nWidth);
            const auto image = fnMakeNoise(size.m_nWidth, size.m_nHeight, bits, random());
            const auto other = fnMakeNoise(90, 70, bits, random());
            operation.m_fnRun(*image, *other, random);
            Checksum sum;
            sum.fnAdd(*image);
            sum.fnPrint(fnName(operation.m_szName, bits, size, seed));
        }
}

/// What a screen shows of an image, scaled and with gamma.
void fnDraw(CqDisplayWorld& world, int screenBits, unsigned bits, const Size& size) {
    for (std::uint32_t seed = 0; seed < kSeeds; ++seed) {
        Random random(seed * 977 + bits * 31 + size.m_nWidth);
        const auto image = fnMakeNoise(size.m_nWidth, size.m_nHeight, bits, random());
        const CRect view(0, 0, 200, 150);
        const unsigned factor = 1 + random() % 4;
        image->fnDrawInit(factor, random() % 2 != 0, view, CPoint(0, 0), nullptr);
        world.fnDisplay().fnEnableGamma(true);
        world.fnDisplay().fnSetGammaValue(50 + random() % 250);
        const CPoint at{fnBetween(random, 0, 40), fnBetween(random, 0, 40)};
        image->fnDraw(world.fnDC(), view, at.x, at.y, random() % 2 != 0, false);
        Checksum sum;
        for (int row = 0; row < view.bottom; ++row)
            for (int column = 0; column < view.right; ++column)
                sum.fnAdd(world.fnScreen().fnGetPixel(column, row));
        sum.fnPrint("draw" + std::to_string(screenBits) + fnName("", bits, size, seed));
    }
}

} // namespace

int main() {
    for (const int screenBits : {8, 16, 24, 32}) {
        CqDisplayWorld world(screenBits);
        for (const unsigned bits : kDepths)
            for (const Size& size : kSizes) {
                if (screenBits == 24)
                    fnOperate(bits, size);
                fnDraw(world, screenBits, bits, size);
            }
    }
}
