#include "examples/gallery/ExhibitPictures.h"

#include "q32Base/image/CqImageLine.h"

#include <algorithm>

namespace {

constexpr int kLevels = 6; ///< of each channel in the palette of 216 colours

/// One pixel of red, green and blue at (x, y) as bytes of another depth.
using PixelMaker = void (*)(const unsigned char* in, unsigned char* out, unsigned int x,
                            unsigned int y);

/// Puts pixels of 24 bits into storage of another depth, which the picture then takes over.
void fnNarrow(CqImage& image, CqImage& target, PixelMaker make) {
    CqImageLine from;
    CqImageLine to;
    for (unsigned int y = 0; y < image.Height; ++y) {
        image.fnAccessLine(y, &from, true);
        target.fnAccessLine(y, &to, false);
        for (unsigned int x = 0; x < image.Width; ++x)
            make(from.LineBuffer + 3 * x, to.LineBuffer + target.BytesPerPixel * x, x, y);
    }
    from.fnUnAssociate();
    to.fnUnAssociate();
    image.fnSwapBuf(target);
}

void fnMakeGreyPixel(const unsigned char* in, unsigned char* out, unsigned int, unsigned int) {
    *out = static_cast<unsigned char>((77 * in[0] + 150 * in[1] + 29 * in[2]) >> 8);
}

/// Ordered dither by a matrix of 4 x 4 thresholds.
void fnMakeIndexedPixel(const unsigned char* in, unsigned char* out, unsigned int x,
                        unsigned int y) {
    static constexpr int kThresholds[4][4] = {
        {0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    const int threshold = (2 * kThresholds[y % 4][x % 4] + 1) * 255 / 32;
    int index = 0;
    for (int channel = 0; channel < 3; ++channel)
        index = index * kLevels + (in[channel] * (kLevels - 1) + threshold) / 255;
    *out = static_cast<unsigned char>(index);
}

void fnMakeHiColorPixel(const unsigned char* in, unsigned char* out, unsigned int, unsigned int) {
    out[0] = static_cast<unsigned char>((in[0] & 0xF8) | in[1] >> 5);
    out[1] = static_cast<unsigned char>((in[1] & 0x1C) << 3 | in[2] >> 3);
}

} // namespace

void fnToGrey(CqImage& image) {
    CqImage target(image.Width, image.Height, 8, q32GreyRamp, 256);
    fnNarrow(image, target, fnMakeGreyPixel);
}

void fnToIndexed(CqImage& image) {
    constexpr int kCount = kLevels * kLevels * kLevels;
    constexpr int kStep = 255 / (kLevels - 1);
    RGBQUAD palette[kCount];
    for (int i = 0; i < kCount; ++i)
        palette[i] = {static_cast<BYTE>(i % kLevels * kStep),
                      static_cast<BYTE>(i / kLevels % kLevels * kStep),
                      static_cast<BYTE>(i / (kLevels * kLevels) * kStep), 0};
    CqImage target(image.Width, image.Height, 8, palette, kCount);
    fnNarrow(image, target, fnMakeIndexedPixel);
}

void fnToHiColor(CqImage& image) {
    CqImage target(image.Width, image.Height, 16, nullptr, 0);
    fnNarrow(image, target, fnMakeHiColorPixel);
}

void fnCut(CqImage& image, const CRect& rect) {
    RGBQUAD palette[256] = {};
    const unsigned int count = image.fnGetPaletteEntry(0, 256, palette);
    CqImage part(static_cast<unsigned int>(rect.Width()), static_cast<unsigned int>(rect.Height()),
                 image.BitCount, palette, count);
    part.fnCopyBlock(image, &rect, 0, 0);
    image.fnSwapBuf(part);
}

void fnCutMiddle(CqImage& image, unsigned int width, unsigned int height) {
    const CSize size(static_cast<LONG>(std::min(width, image.Width)),
                     static_cast<LONG>(std::min(height, image.Height)));
    fnCut(image, CRect(CPoint((static_cast<LONG>(image.Width) - size.cx) / 2,
                              (static_cast<LONG>(image.Height) - size.cy) / 2),
                       size));
}

void fnMagnify(CqImage& image, unsigned int factor) {
    image.fnResample(image.Width * factor, image.Height * factor, false, nullptr);
}
