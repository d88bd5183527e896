#include "q32Base/operations/MaskEdit.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/memory/GreyRamp.h"
#include "q32Base/operations/Blur.h"
#include "q32Base/operations/Blur_p.h"
#include "q32Base/operations/ImageStorage_p.h"
#include "q32Base/operations/PlacedMask_p.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace {

constexpr double kMaskEditPixelTime = 0.1; ///< nanoseconds

/// A bitmap of the size of `rect`, with one weight everywhere.
std::unique_ptr<CqTileMap> fnNewBitmap(const CRect& rect, unsigned char weight) {
    std::unique_ptr<CqTileMap> map(q32::fnNew<CqTileMap>(static_cast<std::uint32_t>(rect.Width()),
                                                         static_cast<std::uint32_t>(rect.Height()),
                                                         8u, q32GreyRamp, 256u));
    std::memset(map->PixelBuffer, weight, map->BufferSize);
    return map;
}

/// The rectangle with a margin, clipped to `area`. False if nothing is left.
bool fnGrow(const CRect& rect, std::uint32_t margin, const CRect& area, CRect& grown) {
    const auto clip = [](std::int64_t at, LONG low, LONG high) {
        return static_cast<LONG>(std::clamp(at, std::int64_t{low}, std::int64_t{high}));
    };
    if (rect.IsRectEmpty() || area.IsRectEmpty())
        return false;
    const std::int64_t more = margin;
    grown = CRect(clip(rect.left - more, area.left, area.right),
                  clip(rect.top - more, area.top, area.bottom),
                  clip(rect.right + more, area.left, area.right),
                  clip(rect.bottom + more, area.top, area.bottom));
    return !grown.IsRectEmpty();
}

} // namespace

bool q32FeatherMask(CqMask& mask, double sigma, const CRect& area, CqProgressDisplay* progress) {
    const q32::PlacedMask placed(mask);
    CRect grown;
    if (!mask.TileMap || mask.BitCount != 8 || !(sigma > 0.0) ||
        !fnGrow(placed.m_rect, q32GetBlurReach(sigma), area, grown))
        return false;
    std::unique_ptr<CqTileMap> map = fnNewBitmap(grown, 0);
    placed.fnDivideOverlap(grown, *map, kMaskEditPixelTime,
                           [](const unsigned char* from, unsigned char* to, std::size_t count) {
                               std::memcpy(to, from, count);
                           });
    if (!q32::fnBlurMap(*map, *map, q32::fnMakeBlurKernel(sigma), progress) ||
        !q32::ImageStorage::fnReplace(mask, std::move(map), progress))
        return false;
    mask.m_rectBound = grown;
    return true;
}

bool q32InvertMask(CqMask& mask, const CRect& area) {
    if (area.IsRectEmpty() || (mask.TileMap && mask.BitCount != 8))
        return false;
    std::unique_ptr<CqTileMap> map = fnNewBitmap(area, 255);
    q32::PlacedMask(mask).fnDivideOverlap(
        area, *map, kMaskEditPixelTime,
        [](const unsigned char* from, unsigned char* to, std::size_t count) {
            std::transform(from, from + count, to, [](unsigned char weight) {
                return static_cast<unsigned char>(~weight);
            });
        });
    q32::ImageStorage::fnReplace(mask, std::move(map), nullptr);
    mask.m_rectBound = area;
    return true;
}
