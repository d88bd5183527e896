#include "examples/darkroom/model/Pictures.h"

#include "q32Base/image/CqImage.h"

#include <cstring>
#include <vector>

namespace darkroom {

namespace {

std::vector<RGBQUAD> fnReadPalette(CqImage& image) {
    std::vector<RGBQUAD> palette(image.PaletteCount);
    image.fnGetPaletteEntry(0, image.PaletteCount, palette.data());
    return palette;
}

/// Makes an image of the same kind as another one.
void fnAllocAs(CqImage& image, CqImage& model, unsigned int width, unsigned int height) {
    std::vector<RGBQUAD> palette = fnReadPalette(model);
    image.fnAlloc(width, height, model.BitCount, palette.empty() ? nullptr : palette.data(),
                  model.PaletteCount);
}

/// Copies whole rows between images of one width and depth; at 4 bits the library copies no blocks.
void fnCopyRows(CqImage& from, LONG fromRow, CqImage& to, LONG toRow, LONG count) {
    CqImageLine source;
    CqImageLine target;
    for (LONG i = 0; i < count; ++i) {
        from.fnAccessLine(static_cast<unsigned int>(fromRow + i), &source, true);
        to.fnAccessLine(static_cast<unsigned int>(toRow + i), &target, false);
        std::memcpy(target.LineBuffer, source.LineBuffer, target.RowBytes);
    }
}

CRect fnGetWhole(const CqImage& image) {
    return {0, 0, static_cast<LONG>(image.Width), static_cast<LONG>(image.Height)};
}

} // namespace

bool fnCopyPicture(CqImage& from, CqImage& to, CqProgressDisplay* progress) {
    fnAllocAs(to, from, from.Width, from.Height);
    to.DpiX = from.DpiX;
    to.DpiY = from.DpiY;
    CqImageTile source;
    CqImageTile target;
    for (unsigned int i = 0; i < from.TileCount; ++i) {
        from.fnAccessTile(i, &source);
        to.fnAccessTile(i, &target);
        target.fnCopy(source);
        if (!fnGoOn(progress, i, from.TileCount))
            return false;
    }
    return true;
}

bool fnFillPicture(CqImage& image, const CqColor& color, CqProgressDisplay* progress) {
    return fnForBands(fnGetWhole(image), progress,
                      [&](const CRect& band) { image.fnFill(color, &band, false); });
}

bool fnFillPattern(CqImage& image, CqImage& pattern, CqProgressDisplay* progress) {
    const auto width = static_cast<LONG>(pattern.Width);
    const auto height = static_cast<LONG>(pattern.Height);
    if (height <= kBandRows) // each band begins with the pattern's first row
        return fnForBands(
            fnGetWhole(image), progress,
            [&](const CRect& band) { image.fnFill(pattern, nullptr, &band); },
            kBandRows / height * height);
    // A band of rows from the middle of the pattern, and perhaps of some from its beginning.
    return fnForBands(fnGetWhole(image), progress, [&](const CRect& band) {
        for (LONG y = band.top; y < band.bottom;) {
            const LONG row = y % height;
            const LONG count = std::min(band.bottom - y, height - row);
            const CRect from(0, row, width, row + count);
            const CRect to(band.left, y, band.right, y + count);
            image.fnFill(pattern, &from, &to);
            y += count;
        }
    });
}

bool fnConvertPicture(CqImage& image, unsigned int bits, CqProgressDisplay* progress) {
    CqImage made;
    made.fnAlloc(image.Width, image.Height, bits, nullptr, 0);
    const bool done = fnForBands(fnGetWhole(image), progress, [&](const CRect& rows) {
        CqImage band;
        fnAllocAs(band, image, image.Width, static_cast<unsigned int>(rows.Height()));
        fnCopyRows(image, rows.top, band, 0, rows.Height());
        band.fnConvert(bits, false, nullptr);
        fnCopyRows(band, 0, made, rows.top, rows.Height());
    });
    if (done)
        image.fnSwapBuf(made);
    return done;
}

} // namespace darkroom
