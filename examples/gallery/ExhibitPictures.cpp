#include "examples/gallery/ExhibitPictures.h"

#include "q32Base/image/PixelAccess.h"

#include <algorithm>

namespace {

constexpr int kLevels = 6; ///< per channel, in the palette of 216 colours

/// Moves a picture to storage of another depth: pixels are read in one order of bytes, and
/// `change(pixels, count, x, y)` converts them in place to the other one.
template <typename Change>
void fnNarrow(CqImage& image, PIXEL_ORDER read, CqImage& target, PIXEL_ORDER written,
              const Change& change) {
    constexpr unsigned int kRun = 256;
    unsigned char pixels[4 * kRun];
    {
        const CqPixelReader from(image, read);
        const CqPixelWriter to(target, written);
        for (unsigned int y = 0; y < image.Height; ++y)
            for (unsigned int x = 0; x < image.Width; x += kRun) {
                const unsigned int count = std::min(kRun, image.Width - x);
                from.fnReadRow(x, y, count, pixels);
                change(pixels, count, x, y);
                to.fnWriteRow(x, y, count, pixels);
            }
    }
    image.fnSwapBuf(target);
}

void fnKeep(unsigned char*, unsigned int, unsigned int, unsigned int) {}

/// Ordered dither of red, green and blue by a matrix of 4 x 4 thresholds, to indices.
void fnDither(unsigned char* pixels, unsigned int count, unsigned int x, unsigned int y) {
    static constexpr int kThresholds[4][4] = {
        {0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    for (unsigned int i = 0; i < count; ++i) {
        const unsigned char* in = pixels + 3 * i;
        const int threshold = (2 * kThresholds[y % 4][(x + i) % 4] + 1) * 255 / 32;
        int index = 0;
        for (int channel = 0; channel < 3; ++channel)
            index = index * kLevels + (in[channel] * (kLevels - 1) + threshold) / 255;
        pixels[i] = static_cast<unsigned char>(index);
    }
}

} // namespace

void fnToGrey(CqImage& image) {
    CqImage target(image.Width, image.Height, 8, q32GreyRamp, 256);
    fnNarrow(image, PIXEL_GREY8, target, PIXEL_STORED, fnKeep); // the index is the grey level
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
    fnNarrow(image, PIXEL_RGB24, target, PIXEL_STORED, fnDither);
}

void fnToHiColor(CqImage& image) {
    CqImage target(image.Width, image.Height, 16, nullptr, 0);
    fnNarrow(image, PIXEL_RGB24, target, PIXEL_RGB24, fnKeep);
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
