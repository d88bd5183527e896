#include "q32Base/image/CqMask.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/operations/Blend.h"
#include "q32Base/operations/Blur.h"
#include "q32Base/operations/CqConvMask.h"
#include "q32Base/operations/Crop.h"
#include "q32Base/operations/Flip.h"
#include "q32Base/operations/Grey.h"
#include "q32Base/operations/Histogram.h"
#include "q32Base/operations/MaskEdit.h"
#include "q32Base/operations/ToneApply.h"
#include "q32Base/operations/WeightedResample.h"
#include "tests/checksums/Checksum.h"
#include "tests/display/DisplayWorld.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace {

std::unique_ptr<CqMask> fnMakeWeights(Random& random, unsigned width, unsigned height) {
    auto mask = std::make_unique<CqMask>(width, height);
    unsigned char* const bytes = mask->TileMap->PixelBuffer;
    for (std::uint32_t i = 0; i < mask->TileMap->BufferSize; ++i)
        bytes[i] = static_cast<unsigned char>(random());
    const CPoint place{fnBetween(random, 0, 20), fnBetween(random, 0, 20)};
    mask->fnSetPos(place);
    return mask;
}

/// Most are narrow; a few reach beyond the image.
double fnDeviation(Random& random) {
    const int hundredths = fnBetween(random, 20, 600);
    return hundredths * (random() % 4 == 0 ? 0.1 : 0.01);
}

void fnAddMask(Checksum& sum, CqMask& mask) {
    sum.fnAdd(mask);
    for (const LONG side : {mask.m_rectBound.left, mask.m_rectBound.top, mask.m_rectBound.right,
                            mask.m_rectBound.bottom})
        sum.fnAdd(static_cast<std::int32_t>(side));
}

bool fnBlendNoise(CqImage& image, Random& random) {
    const auto source = fnMakeNoise(90, 70, kDepths[random() % kDepths.size()], random());
    const auto mask = fnMakeWeights(random, 1 + random() % 150, 1 + random() % 150);
    CqBlendParam param;
    param.m_nOpacity = static_cast<unsigned char>(random() % 2 != 0 ? 255 : random());
    param.m_pMask = random() % 2 != 0 ? mask.get() : nullptr;
    param.m_eMode = random() % 2 != 0 ? BLEND_OVER : BLEND_REPLACE;
    const CRect rect = fnRect(random, *source);
    const int x = fnBetween(random, -20, 40);
    const int y = fnBetween(random, -20, 40);
    return q32Blend(*source, random() % 2 != 0 ? &rect : nullptr, image, x, y, param, nullptr);
}

bool fnMapTones(CqImage& image, Random& random) {
    CqToneCurves curves;
    for (unsigned char* curve : {curves.m_Red, curves.m_Green, curves.m_Blue})
        std::generate_n(curve, 256, [&] { return static_cast<unsigned char>(random()); });
    return q32ApplyToneCurves(image, nullptr, curves, nullptr);
}

bool fnCount(CqImage& image, Random& random, Checksum& sum) {
    const auto mask = fnMakeWeights(random, 1 + random() % 150, 1 + random() % 150);
    CqHistogram histogram;
    const bool done = q32CountHistogram(image, nullptr, random() % 2 != 0 ? mask.get() : nullptr,
                                        histogram, nullptr);
    sum.fnAdd(&histogram, sizeof histogram);
    return done;
}

/// All rows that the window shows on its way down.
bool fnSlide(CqImage& image, Random& random, Checksum& sum) {
    const unsigned lines = 1 + random() % 7;
    CqConvMask window(image, lines, fnBetween(random, -3, 3));
    for (std::uint32_t y = 0; y < image.Height; ++y) {
        window.fnGotoNextLine();
        for (int i = 0; i < static_cast<int>(lines); ++i) {
            sum.fnAdd(window.fnGetLine(i), image.RowBytes);
            sum.fnAdd(window.fnGetLineCoord(i));
        }
    }
    return true;
}

struct Function {
    const char* m_szName;
    /// Others aren't accepted. Without 4, an image of 8 bits has to be grey.
    std::vector<unsigned> m_Depths;
    /// Changes `image`, or adds what it gives to `sum`. False if it fails.
    bool (*m_fnRun)(CqImage& image, Random& random, Checksum& sum);
};

const Function kFunctions[] = {
    {"blur",
     {8, 24, 32},
     [](CqImage& image, Random& random, Checksum&) {
         return q32Blur(image, fnDeviation(random), nullptr);
     }},
    {"sharpen",
     {8, 24, 32},
     [](CqImage& image, Random& random, Checksum&) {
         const double deviation = fnDeviation(random);
         const unsigned amount = random() % 500;
         return q32Sharpen(image, deviation, amount, random() % 40, nullptr);
     }},
    {"feather",
     {8},
     [](CqImage& image, Random& random, Checksum& sum) {
         const auto mask = fnMakeWeights(random, image.Width, image.Height);
         const bool done =
             q32FeatherMask(*mask, fnDeviation(random), CRect(0, 0, 200, 160), nullptr);
         fnAddMask(sum, *mask);
         return done;
     }},
    {"invert",
     {8},
     [](CqImage& image, Random& random, Checksum& sum) {
         const auto mask = fnMakeWeights(random, image.Width, image.Height);
         const bool done = q32InvertMask(*mask, CRect(5, 7, 150, 90));
         fnAddMask(sum, *mask);
         return done;
     }},
    {"blend",
     {8, 24, 32},
     [](CqImage& image, Random& random, Checksum&) { return fnBlendNoise(image, random); }},
    {"crop",
     {4, 8, 16, 24, 32},
     [](CqImage& image, Random& random, Checksum& sum) {
         const CPoint corner{fnBetween(random, -9, static_cast<int>(image.Width) - 1),
                             fnBetween(random, -9, static_cast<int>(image.Height) - 1)};
         const CSize size{fnBetween(random, 10, 200), fnBetween(random, 10, 200)};
         CqImage part;
         if (!q32Crop(image, CRect(corner, size), part, nullptr))
             return false;
         sum.fnAdd(part);
         return true;
     }},
    {"mirror",
     {4, 8, 16, 24, 32},
     [](CqImage& image, Random&, Checksum&) { return q32FlipHorizontal(image, nullptr); }},
    {"flip",
     {4, 8, 16, 24, 32},
     [](CqImage& image, Random&, Checksum&) { return q32FlipVertical(image, nullptr); }},
    {"grey",
     {4, 8, 16, 24, 32},
     [](CqImage& image, Random& random, Checksum&) {
         constexpr unsigned kResults[] = {8, 24, 32};
         return q32ConvertToGrey(image, kResults[random() % 3], nullptr);
     }},
    {"histogram", {4, 8, 16, 24, 32}, fnCount},
    {"tones",
     {8, 16, 24, 32},
     [](CqImage& image, Random& random, Checksum&) { return fnMapTones(image, random); }},
    {"size-by-alpha",
     {4, 8, 16, 24, 32},
     [](CqImage& image, Random& random, Checksum&) {
         const unsigned width = 1 + random() % 300;
         return q32ResampleByAlpha(image, width, 1 + random() % 300, nullptr);
     }},
    {"window", {4, 8, 16, 24, 32}, fnSlide},
};

} // namespace

void fnPrintFunctions(unsigned bits, const Size& size) {
    for (const Function& function : kFunctions) {
        if (std::ranges::find(function.m_Depths, bits) == function.m_Depths.end())
            continue;
        for (std::uint32_t seed = 0; seed < kSeeds; ++seed) {
            Random random = fnRandom(bits, size, seed);
            const std::string name = fnName(function.m_szName, bits, size, seed);
            const auto image = fnMakeNoise(size.m_nWidth, size.m_nHeight, bits, random());
            if (bits == 8 && function.m_Depths.front() == 8)
                q32ConvertToGrey(*image, 8, nullptr);
            Checksum sum;
            if (!function.m_fnRun(*image, random, sum))
                fnReport(name);
            sum.fnAdd(*image);
            sum.fnPrint(name);
        }
    }
}
