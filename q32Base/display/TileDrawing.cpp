#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/display/DeviceRows_p.h"
#include "q32Base/display/DrawBuffers_p.h"
#include "q32Base/display/PaletteSelection_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/image/CqImageTile.h"
#include "q32Base/image/DibLayout_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/memory/CqTileMap_p.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace {

/// Bytes of a staged pixel.
std::size_t fnStagedBytes(const CqTileMap& map) {
    return map.BitCount == 4 ? 1 : map.BytesPerPixel;
}

/// The integer factor of the zoom; 1 for anything smaller.
std::uint32_t fnFactor(const CqTileMap& map) {
    constexpr double kMax = 2147483647.0;
    return map.Zoom > 1.0 ? static_cast<std::uint32_t>(std::min(map.Zoom, kMax)) : 1u;
}

/// How much further left a 4-bit piece at x must begin so that no pair of pixels that share a byte
/// is split: one source pixel, or the part of it on the screen.
std::int32_t fnPairDistance(const CqTileMap& map, std::int32_t x) {
    const std::uint32_t factor = fnFactor(map);
    const double zoom = map.Zoom > 0.0 ? map.Zoom : 1.0;
    const std::int64_t source = map.ZoomMode == ZOOM_SHRINK ? std::int64_t{x} * factor
                                                            : static_cast<std::int64_t>(x / zoom);
    if ((source & 1) == 0)
        return 0;
    return map.ZoomMode == ZOOM_SHRINK ? 1 : static_cast<std::int32_t>(factor);
}

/// Rows that are staged at a time. An enlarged tile is drawn in bands, so that it needs no more
/// space than an unscaled one.
std::int32_t fnBandRows(const CqTileMap& map, std::int32_t width, std::int32_t height) {
    if (map.ZoomMode == ZOOM_SHRINK || map.ZoomMode == ZOOM_FIT || fnFactor(map) < 2)
        return height;
    const std::uint32_t bits = q32GetDisplayProperty()->fnGetColorDepth();
    const std::uint64_t drawn = q32::fnDibStride(static_cast<std::uint32_t>(width), bits);
    const std::uint64_t plain = q32::fnDibStride(map.TileWidth, bits);
    const auto rows = static_cast<std::int64_t>(map.TileHeight * plain / drawn);
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(rows, 1, height));
}

/// Cuts a piece of one axis to the visible part and what is around it, in 64 bits. False if that is
/// nothing.
bool fnClipAxis(LONG low, LONG high, LONG around, LONG& place, int& source, int& length) {
    const auto along = [&](std::int64_t at) {
        return std::clamp<std::int64_t>(at - place, 0, length);
    };
    const std::int64_t skipped = along(std::int64_t{low} - around);
    const std::int64_t end = along(std::int64_t{high} + around);
    place = q32::fnWrapAdd(place, static_cast<LONG>(skipped));
    source += static_cast<int>(skipped);
    length = static_cast<int>(end - skipped);
    return length > 0;
}

/// Cuts a piece at (x, y) of the scaled image to the surroundings of what can be seen, so that the
/// work doesn't grow with a destination far beyond the screen; the platform clips exactly. False if
/// nothing can be seen. A fit isn't cut: what it shows depends on the width of its piece.
bool fnClipPiece(const CqTileMap& map, const CDC* dc, CPoint& place, int& x, int& y, int& width,
                 int& height) {
    constexpr LONG kAround = 1024;
    CRect box;
    if (!dc || map.ZoomMode == ZOOM_FIT || !dc->GetClipBox(&box))
        return true;
    return fnClipAxis(box.left, box.right, kAround, place.x, x, width) &&
           fnClipAxis(box.top, box.bottom, kAround, place.y, y, height);
}

/// One row of an enlarged 4-bit image.
/// @param source  the pair that holds the first pixel
/// @param odd     1 if that is the second pixel of its pair, else 0
void fnInflateNibbles(const unsigned char* source, unsigned char* target, std::size_t count,
                      std::size_t factor, std::size_t phase, std::size_t odd) {
    constexpr std::size_t kPixels = 256; // even: no chunk splits a pair
    assert(factor > 0 && phase < factor && odd <= 1);
    unsigned char indices[kPixels];
    const q32::Kernels& kernels = q32::fnKernels();
    while (count != 0) {
        const std::size_t most = (kPixels - odd) * factor - phase;
        const std::size_t chunk = std::min(count, most);
        kernels.fnIndex4ToIndex8(source, indices, (chunk + phase + factor - 1) / factor + odd);
        kernels.fnInflate[0](indices + odd, target, chunk, factor, phase);
        source += kPixels / 2;
        target += chunk;
        count -= chunk;
        phase = 0;
        odd = 0;
    }
}

} // namespace

void CqImageTile::fnDrawFit(unsigned int, int, int, int, int) {}

void CqImageTile::fnDrawInflate(unsigned int factor, int x, int y, int width, int height) {
    const std::size_t column = static_cast<std::uint32_t>(x) / factor;
    const std::size_t phase = static_cast<std::uint32_t>(x) % factor;
    const std::size_t left = column - static_cast<std::uint32_t>(Left);
    const auto count = static_cast<std::size_t>(width);
    const std::size_t bytes = fnStagedBytes(*TileMap);
    unsigned char* target = TileMap->DrawScratch.get();
    std::uint32_t last = 0;
    for (int row = 0; row < height; ++row, target += count * bytes) {
        const std::uint32_t line = static_cast<std::uint32_t>(y + row) / factor;
        if (row > 0 && line == last) {
            std::memcpy(target, target - count * bytes, count * bytes);
            continue;
        }
        last = line;
        const unsigned char* source =
            Pixels + std::size_t{RowBytes} * (line - static_cast<std::uint32_t>(Top)) +
            (left * BitCount >> 3);
        if (BitCount == 4)
            fnInflateNibbles(source, target, count, factor, phase, left & 1);
        else if (factor == 1)
            std::memcpy(target, source, count * bytes);
        else
            q32::fnKernels().fnInflate[bytes - 1](source, target, count, factor, phase);
    }
}

void CqImageTile::fnDrawShrink(unsigned int factor, int x, int y, int width, int height) {
    const auto source = [factor](int place, std::int32_t first) {
        const auto at = static_cast<std::int64_t>(place) * factor;
        return static_cast<std::size_t>(std::max<std::int64_t>(at, first) - first);
    };
    const std::size_t bytes = fnStagedBytes(*TileMap);
    unsigned char* target = TileMap->DrawScratch.get();
    for (int row = 0; row < height; ++row) {
        const unsigned char* line = Pixels + std::size_t{RowBytes} * source(y + row, Top);
        int done = 0;
        if (BitCount == 4) {
            for (; done < width; ++done) {
                const std::size_t at = source(x + done, Left);
                *target++ = (at & 1) != 0 ? line[at / 2] & 0x0F : line[at / 2] >> 4;
            }
            continue;
        }
        // Only the first pixel can lie left of the tile; the others follow at even distances.
        std::memcpy(target, line + source(x, Left) * bytes, bytes);
        if (width > 1)
            q32::fnKernels().fnShrink[bytes - 1](line + source(x + 1, Left) * bytes, target + bytes,
                                                 static_cast<std::size_t>(width) - 1, factor);
        target += static_cast<std::size_t>(width) * bytes;
    }
}

namespace {

/// The staged rows of a map, which begin at (x, y) of the scaled image.
q32::DrawRows fnStagedRows(const CqTileMap& map, int width, int height, int x, int y) {
    const std::size_t rowBytes = static_cast<std::size_t>(width) * fnStagedBytes(map);
    return {map.DrawScratch.get(), rowBytes, map.BitCount, map.Palette.get(), width, height, x, y};
}

} // namespace

void CqImageTile::fnBlt8(unsigned char* target, unsigned int stride, int width, int height, int x,
                         int y) {
    q32::fnConvertRows(fnStagedRows(*TileMap, width, height, x, y), 8, target, stride);
}

void CqImageTile::fnBlt24(unsigned char* target, unsigned int stride, int width, int height) {
    q32::fnConvertRows(fnStagedRows(*TileMap, width, height, 0, 0), 24, target, stride);
}

void CqImageTile::fnBlt32(unsigned char* target, unsigned int stride, int width, int height) {
    q32::fnConvertRows(fnStagedRows(*TileMap, width, height, 0, 0), 32, target, stride);
}

/// Draws the part that begins at (x, y) of the scaled image. `width` and `height` are above 0 and
/// the buffers hold them.
bool CqImageTile::fnDrawBand(CDC* dc, const CPoint& place, int x, int y, int width, int height) {
    assert(width > 0 && height > 0);
    assert(static_cast<std::size_t>(width) * fnStagedBytes(*TileMap) *
               static_cast<std::size_t>(height) <=
           TileMap->DrawScratchCapacity);
    assert(q32::fnDibStride(static_cast<std::uint32_t>(width), TileMap->DrawDib->biBitCount) *
               static_cast<std::size_t>(height) <=
           TileMap->DrawDibCapacity);
    const unsigned int factor = fnFactor(*TileMap);
    if (TileMap->ZoomMode == ZOOM_FIT)
        fnDrawFit(factor, x, y, width, height);
    else if (TileMap->ZoomMode == ZOOM_SHRINK)
        fnDrawShrink(factor, x, y, width, height);
    else
        fnDrawInflate(factor, x, y, width, height);
    return q32::fnDrawRows(dc, place.x, place.y, *TileMap->DrawDib,
                           fnStagedRows(*TileMap, width, height, x, y)) == height;
}

bool CqImageTile::fnDraw(CDC* dc, const CRect& rect, int x, int y, bool) {
    CRect scaled;
    TileMap->fnGetTileRect(&scaled, static_cast<std::uint32_t>(Index), true);
    x = std::max<int>(x, scaled.left);
    y = std::max<int>(y, scaled.top);
    CPoint place = rect.TopLeft();
    int width = std::min(rect.Width(), q32::fnWrapSub(scaled.right, x));
    int height = std::min(rect.Height(), q32::fnWrapSub(scaled.bottom, y));
    if (width < 1 || height < 1)
        return true;
    if (BitCount == 4) {
        const std::int32_t distance = fnPairDistance(*TileMap, x);
        x -= distance;
        width += distance;
        place.Offset(-distance, 0);
    }
    if (!fnClipPiece(*TileMap, dc, place, x, y, width, height))
        return true;
    // The depth that bands are computed from is checked first.
    if (!q32::fnEnsureDrawBuffers(*TileMap))
        return false;
    const int band = fnBandRows(*TileMap, width, height);
    if (!q32::fnEnsureDrawBuffers(*TileMap, static_cast<std::uint32_t>(width),
                                  static_cast<std::uint32_t>(band)))
        return false;
    assert(band > 0);
    for (int done = 0; done < height; done += band) {
        const CPoint at(place.x, q32::fnWrapAdd(place.y, done));
        if (!fnDrawBand(dc, at, x, y + done, width, std::min(band, height - done)))
            return false;
    }
    return true;
}

bool CqImageTile::fnDraw(CDC* dc) {
    if (!q32::fnEnsureDrawBuffers(*TileMap))
        return false;
    CRect piece;
    TileMap->fnGetTileRect(&piece, static_cast<std::uint32_t>(Index), true);
    if (!piece.IntersectRect(piece, TileMap->ImageRect))
        return true;
    CRect destination = TileMap->ViewRect;
    destination.OffsetRect(q32::fnWrapSub(piece.left, TileMap->ImageRect.left),
                           q32::fnWrapSub(piece.top, TileMap->ImageRect.top));
    CWnd* window = dc ? nullptr : TileMap->DrawWnd;
    if (window)
        q32::fnTryMemory([&] { dc = window->GetDC(); });
    if (!dc)
        return false;
    bool drawn = q32::fnSelectDrawPalette(*TileMap, dc, false);
    if (drawn) {
        drawn = fnDraw(dc, destination, piece.left, piece.top, false);
        q32::fnRestorePalette(*TileMap, dc);
    }
    if (window)
        window->ReleaseDC(dc);
    return drawn;
}
