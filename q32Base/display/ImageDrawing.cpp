#include "q32Base/display/DrawBuffers_p.h"
#include "q32Base/display/GammaPause_p.h"
#include "q32Base/display/PaletteSelection_p.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/platform/Checked_p.h"

#include <algorithm>
#include <cassert>

namespace {

/// The lesser of a position and a size of the scaled image, in 32 bits.
LONG fnCut(std::int64_t value, std::uint64_t limit) {
    constexpr std::uint64_t kMax = 2147483647;
    return static_cast<LONG>(std::min(value, static_cast<std::int64_t>(std::min(limit, kMax))));
}

/// The tile whose scaled rectangle contains a point; `TileCount` if there is none.
std::uint32_t fnFindTile(const CqTileMap& map, const CPoint& point) {
    CRect rect;
    for (std::uint32_t row = 0; row < map.TileCount; row += map.TilesAcross) {
        map.fnGetTileRect(&rect, row, true);
        if (point.y < rect.top || point.y >= rect.bottom)
            continue;
        for (std::uint32_t index = row; index < row + map.TilesAcross; ++index) {
            map.fnGetTileRect(&rect, index, true);
            if (rect.PtInRect(point))
                return index;
        }
    }
    return map.TileCount;
}

/// Draws a part of a scaled image of several tiles, tile by tile. The part lies inside the image.
bool fnDrawTiles(CqTileMap& map, CqImageTile& tile, CDC* dc, const CPoint& place, const CSize& size,
                 const CPoint& start, bool background) {
    std::uint32_t first = fnFindTile(map, start);
    if (first == map.TileCount)
        return true; // at this scale nothing of the image is left
    LONG pieceHeight = 0;
    for (LONG doneY = 0; doneY < size.cy; doneY += pieceHeight, first += map.TilesAcross) {
        std::uint32_t index = first;
        LONG pieceWidth = 0;
        for (LONG doneX = 0; doneX < size.cx; doneX += pieceWidth, ++index) {
            CRect scaled;
            map.fnGetTileRect(&scaled, index, true);
            const CPoint from(start.x + doneX, start.y + doneY);
            pieceWidth = std::min(scaled.right - from.x, size.cx - doneX);
            pieceHeight = std::min(scaled.bottom - from.y, size.cy - doneY);
            assert(pieceWidth >= 0 && pieceHeight >= 0);
            map.fnAccessTile(index, &tile);
            const CRect piece(
                CPoint(q32::fnWrapAdd(place.x, doneX), q32::fnWrapAdd(place.y, doneY)),
                CSize(pieceWidth, pieceHeight));
            if (!tile.fnDraw(dc, piece, from.x, from.y, background))
                return false;
        }
    }
    return true;
}

} // namespace

void CqImage::fnDrawInit(double, const CRect& view, CWnd* window) {
    q32::fnRequirePixels("CqImage::fnDrawInit", TileMap);
    CqTileMap& map = *TileMap;
    map.ZoomMode = ZOOM_FIT;
    map.ViewRect = view;
    map.Zoom = std::min(static_cast<double>(view.Width()) / Width,
                        static_cast<double>(view.Height()) / Height);
    // One size of a view may be negative, and so the other product beyond 32 bits.
    const auto scale = [&](std::uint32_t length) {
        return static_cast<LONG>(std::clamp(length * map.Zoom, -2147483648.0, 2147483647.0));
    };
    map.ImageRect = CRect(0, 0, scale(Width), scale(Height));
    map.DrawWnd = window;
}

void CqImage::fnDrawInit(unsigned int factor, bool shrink, const CRect& view, const CPoint& origin,
                         CWnd* window) {
    q32::fnRequirePixels("CqImage::fnDrawInit", TileMap);
    CqTileMap& map = *TileMap;
    map.Zoom = factor;
    map.ZoomMode = shrink ? ZOOM_SHRINK : ZOOM_INFLATE;
    map.ViewRect = view;
    const auto scale = [&](std::uint32_t length) {
        return shrink ? std::uint64_t{length} / std::max(factor, 1u)
                      : std::uint64_t{length} * factor;
    };
    map.ImageRect =
        CRect(origin.x, origin.y, fnCut(std::int64_t{origin.x} + view.Width(), scale(Width)),
              fnCut(std::int64_t{origin.y} + view.Height(), scale(Height)));
    map.DrawWnd = window;
}

bool CqImage::fnDraw(CDC* dc, const CRect& destination, int x, int y, bool noGamma,
                     bool background) {
    q32::fnRequirePixels("CqImage::fnDraw", TileMap);
    if (destination.Width() < 1 || destination.Height() < 1 ||
        !q32::fnEnsureDrawBuffers(*TileMap) || !q32::fnSelectDrawPalette(*TileMap, dc, background))
        return false;
    const CSize scaled(TileMap->fnScale(static_cast<LONG>(Width)),
                       TileMap->fnScale(static_cast<LONG>(Height)));
    const CSize size(std::min(destination.Width(), scaled.cx),
                     std::min(destination.Height(), scaled.cy));
    const CPoint start(std::clamp<LONG>(x, 0, std::max<LONG>(scaled.cx - size.cx, 0)),
                       std::clamp<LONG>(y, 0, std::max<LONG>(scaled.cy - size.cy, 0)));
    bool drawn = false;
    {
        q32::GammaPause pause(*q32GetDisplayProperty(), noGamma);
        CqImageTile tile(false);
        if (TileCount < 2) {
            pause.fnLeaveOff();
            fnAccessTile(0, &tile);
            // The palette stays selected, deliberately.
            return tile.fnDraw(dc, CRect(destination.TopLeft(), size), start.x, start.y,
                               background);
        }
        drawn = fnDrawTiles(*TileMap, tile, dc, destination.TopLeft(), size, start, background);
    }
    q32::fnRestorePalette(*TileMap, dc);
    return drawn;
}
