#include "q32Base/operations/Crop.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/operations/BlockCopy_p.h"
#include "q32Base/operations/ImageStorage_p.h"
#include "q32Base/operations/TilePieces_p.h"
#include "q32Base/pixels/Nibbles_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

namespace {

/// Two pixels a byte, in chunks of an even number of pixels. `x` is the first source column.
void fnCropNibbles(const unsigned char* source, std::size_t x, unsigned char* target,
                   std::size_t count) {
    constexpr std::size_t kChunk = 256;
    unsigned char indices[kChunk];
    for (std::size_t done = 0; done < count; done += kChunk) {
        const std::size_t part = std::min(kChunk, count - done);
        q32::fnUnpackNibbles(source, x + done, part, indices);
        q32::fnPackNibbles(indices, part, target, done);
    }
}

void fnCropRows(const CqTileMap& from, const CRect& rows, CqTileMap& to, LONG y) {
    if (from.BytesPerPixel != 0)
        return q32::fnCopyPixels(from, rows, to, 0, y);
    for (LONG row = 0; row < rows.Height(); ++row)
        fnCropNibbles(from.PixelBuffer +
                          std::size_t{from.RowBytes} * static_cast<std::size_t>(rows.top + row),
                      static_cast<std::size_t>(rows.left),
                      to.PixelBuffer + std::size_t{to.RowBytes} * static_cast<std::size_t>(y + row),
                      static_cast<std::size_t>(rows.Width()));
}

} // namespace

bool q32Crop(const CqImage& source, const CRect& rect, CqImage& target,
             CqProgressDisplay* progress) {
    CRect inside;
    if (!source.TileMap || !inside.IntersectRect(rect, q32::fnWholeRect(*source.TileMap)))
        return false;
    const CqTileMap& from = *source.TileMap;
    const auto height = static_cast<std::uint32_t>(inside.Height());
    std::unique_ptr<CqTileMap> map(q32::fnNew<CqTileMap>(static_cast<std::uint32_t>(inside.Width()),
                                                         height, from.BitCount, from.Palette.get(),
                                                         from.PaletteCount));
    const q32::ProgressRun run(progress, height);
    constexpr std::uint32_t kRows = CqTileMap::kMaxTileSize;
    for (std::uint32_t y = 0; y < height; y += std::min(kRows, height - y)) {
        const auto top = static_cast<LONG>(y);
        const auto rows = static_cast<LONG>(std::min(kRows, height - y));
        fnCropRows(from,
                   CRect(inside.left, inside.top + top, inside.right, inside.top + top + rows),
                   *map, top);
        if (run.fnAborts(y))
            return false;
    }
    if (!q32::ImageStorage::fnReplace(target, source, std::move(map), progress))
        return false;
    target.DpiX = source.DpiX;
    target.DpiY = source.DpiY;
    return true;
}
