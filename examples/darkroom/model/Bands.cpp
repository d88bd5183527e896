#include "examples/darkroom/model/Bands.h"

#include "examples/darkroom/model/Hands.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace darkroom {

namespace {

std::vector<RGBQUAD> fnReadPalette(CqImage& image) {
    std::vector<RGBQUAD> palette(image.PaletteCount);
    image.fnGetPaletteEntry(0, image.PaletteCount, palette.data());
    return palette;
}

/// Allocates an image of the same kind as another one.
void fnAllocAs(CqImage& image, CqImage& model, unsigned int width, unsigned int height) {
    std::vector<RGBQUAD> palette = fnReadPalette(model);
    image.fnAlloc(width, height, model.BitCount, palette.empty() ? nullptr : palette.data(),
                  model.PaletteCount);
}

/// Copies complete rows between images of the same width and depth; the library copies no blocks at
/// 4 bits.
void fnCopyRows(CqImage& from, LONG fromRow, CqImage& to, LONG toRow, LONG count) {
    CqImageLine source;
    CqImageLine target;
    for (LONG i = 0; i < count; ++i) {
        from.fnAccessLine(static_cast<unsigned int>(fromRow + i), &source, true);
        to.fnAccessLine(static_cast<unsigned int>(toRow + i), &target, false);
        std::memcpy(target.LineBuffer, source.LineBuffer, target.RowBytes);
    }
}

/// Nanoseconds; tiles of fresh memory take several times as long.
constexpr double kTileCopyTime = 3000.0;

/// Without claims, so that several threads may copy different tiles.
void fnCopyTiles(CqImage& from, CqImage& to, std::uint32_t first, std::uint32_t end) {
    CqImageTile source(false);
    CqImageTile target(false);
    for (; first < end; ++first) {
        from.fnAccessTile(first, &source);
        to.fnAccessTile(first, &target);
        target.fnCopy(source);
    }
}

} // namespace

CRect fnGetWhole(const CqImage& image) {
    return {0, 0, static_cast<LONG>(image.Width), static_cast<LONG>(image.Height)};
}

bool fnCopyPicture(CqImage& from, CqImage& to, CqProgressDisplay* progress) {
    fnAllocAs(to, from, from.Width, from.Height);
    to.DpiX = from.DpiX;
    to.DpiY = from.DpiY;
    constexpr std::uint32_t kBatch = 256; // tiles
    const Hands hands(kTileCopyTime * from.TileCount);
    for (std::uint32_t i = 0; i < from.TileCount;) {
        const std::uint32_t count = std::min(kBatch, from.TileCount - i);
        hands.fnRun(count, [&](std::uint32_t first, std::uint32_t end) {
            fnCopyTiles(from, to, i + first, i + end);
        });
        for (const std::uint32_t end = i + count; i < end; ++i)
            if (!fnGoOn(progress, i, from.TileCount))
                return false;
    }
    return true;
}

bool fnFillPicture(CqImage& image, const CqColor& color, CqProgressDisplay* progress) {
    return fnForBands(fnGetWhole(image), progress,
                      [&](const CRect& band) { image.fnFill(color, &band, false); });
}

bool fnFillPattern(CqImage& image, CqImage& pattern, const CPoint& corner,
                   CqProgressDisplay* progress) {
    const auto width = static_cast<LONG>(pattern.Width);
    const auto height = static_cast<LONG>(pattern.Height);
    // Start of the first complete tile; the space before it shows the end of another one.
    const LONG left = fnModulo(corner.x, width);
    const LONG top = fnModulo(corner.y, height);
    return fnForBands(fnGetWhole(image), progress, [&](const CRect& band) {
        for (LONG y = band.top; y < band.bottom;) {
            const LONG row = fnModulo(y - top, height);
            const LONG end = row == 0 ? band.bottom : std::min(band.bottom, y + height - row);
            const LONG split = std::min(left, band.right);
            const auto fill = [&](LONG column, const CRect& to) {
                const CRect from(column, row, width, height);
                if (!to.IsRectEmpty())
                    image.fnFill(pattern, &from, &to);
            };
            fill(width - left, CRect(band.left, y, split, end));
            fill(0, CRect(split, y, band.right, end));
            y = end;
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
