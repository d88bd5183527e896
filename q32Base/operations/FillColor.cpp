#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelBytes_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/operations/TilePieces_p.h"
#include "q32Base/platform/Checked_p.h"

namespace {

/// The rectangle lies inside the image.
void fnFillRect(CqTileMap& map, const CqColor& color, const CRect& rect) {
    if (map.BitCount == 4) { // the line accessor defines where such a fill begins
        CqImageLine line(false, true);
        for (LONG y = rect.top; y < rect.bottom; ++y) {
            map.fnAccessLine(static_cast<std::uint32_t>(y), &line, false);
            line.fnFillColor(color, static_cast<unsigned int>(rect.left),
                             static_cast<unsigned int>(rect.Width()));
        }
        return;
    }
    unsigned char pixel[4];
    const unsigned int bytes = q32::fnPackFill(map, color, pixel);
    const auto fill = [&](const q32::TilePiece& piece) {
        const auto width = static_cast<std::size_t>(piece.m_rect.Width());
        const auto height = static_cast<std::size_t>(piece.m_rect.Height());
        if (piece.m_nStride == width * bytes)
            return q32::fnFillPixels(piece.m_pPixels, pixel, bytes, width * height);
        for (std::size_t row = 0; row < height; ++row)
            q32::fnFillPixels(piece.m_pPixels + row * piece.m_nStride, pixel, bytes, width);
    };
    q32::fnForEachPiece(map, rect, fill);
}

/// Draws the rectangle in the window of the last fnDrawInit.
void fnShow(CqImage& image, const CRect& rect) {
    const CqTileMap& map = *image.TileMap;
    const CRect scaled(map.fnScale(rect.left), map.fnScale(rect.top), map.fnScale(rect.right),
                       map.fnScale(rect.bottom));
    CRect shown;
    if (!map.DrawWnd || !shown.IntersectRect(scaled, map.ImageRect))
        return;
    CRect place = map.ViewRect;
    place.OffsetRect(q32::fnWrapSub(shown.left, map.ImageRect.left),
                     q32::fnWrapSub(shown.top, map.ImageRect.top));
    place = CRect(place.TopLeft(), shown.Size());
    q32::fnTryMemory([&] { // the fill is done whether or not it can be drawn
        if (CDC* dc = map.DrawWnd->GetDC()) {
            image.fnDraw(dc, place, shown.left, shown.top, false, false);
            map.DrawWnd->ReleaseDC(dc);
        }
    });
}

} // namespace

void CqImage::fnFill(const CqColor& color, const CRect* rect, bool draw) {
    q32::fnRequirePixels("CqImage::fnFill", TileMap);
    if (rect) {
        CRect inside;
        if (!inside.IntersectRect(*rect, q32::fnWholeRect(*TileMap)))
            return;
        fnFillRect(*TileMap, color, inside);
        if (draw)
            fnShow(*this, inside);
        return TileMap->fnRequirePixels();
    }
    if (!draw)
        return q32::fnFillAll(*TileMap, color);
    unsigned char pixel[4];
    const unsigned int bytes = q32::fnPackFill(*TileMap, color, pixel);
    CqImageTile tile(true);
    for (std::uint32_t i = 0; i < TileCount; ++i) {
        fnAccessTile(i, &tile);
        q32::fnFillPixels(tile.Pixels, pixel, bytes, tile.Size / bytes);
        tile.fnDraw(nullptr);
    }
    TileMap->fnRequirePixels();
}
