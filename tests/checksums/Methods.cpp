#include "q32Base/framework/CRgn.h"
#include "q32Base/geometry/CqCubicBezier2D.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/sound/CqWave.h"
#include "tests/checksums/Checksum.h"
#include "tests/display/DisplayWorld.h"

namespace {

struct Method {
    const char* m_szName;
    /// Changes `image`; `other` has the same depth.
    void (*m_fnRun)(CqImage& image, CqImage& other, Random& random);
};

constexpr Method kMethods[] = {
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
         image.fnConvert(kDepths[random() % kDepths.size()], false, nullptr);
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

} // namespace

void fnPrintMethods(unsigned bits, const Size& size) {
    for (const Method& method : kMethods)
        for (std::uint32_t seed = 0; seed < kSeeds; ++seed) {
            Random random = fnRandom(bits, size, seed);
            const auto image = fnMakeNoise(size.m_nWidth, size.m_nHeight, bits, random());
            const auto other = fnMakeNoise(90, 70, bits, random());
            method.m_fnRun(*image, *other, random);
            Checksum sum;
            sum.fnAdd(*image);
            sum.fnPrint(fnName(method.m_szName, bits, size, seed));
        }
}
