#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/kernels/Epsilon.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/PixelFormat_p.h"
#include "q32Base/platform/Checked_p.h"
#include "q32Base/resampling/Resample_p.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <cmath>
#include <memory>

namespace {

std::unique_ptr<CqTileMap> fnNewSize(const CqTileMap& map, std::uint32_t width,
                                     std::uint32_t height) {
    // At 4 bits the filter writes nothing, and nearest neighbour leaves the last nibble of a row.
    const auto contents = map.BitCount == 4 ? q32::BlockContents::ZERO : q32::BlockContents::ANY;
    return std::unique_ptr<CqTileMap>(q32::fnNew<CqTileMap>(
        width, height, map.BitCount, map.Palette.get(), map.PaletteCount, contents));
}

/// Checked in addition to the last call's result: a host's own display may set only one of the two.
bool fnWasAborted(const CqProgressDisplay* progress) {
    return progress && progress->fnWasAborted();
}

/// Rounded up, except for rounding errors. Raises the memory exception for a size beyond 32 bits.
std::uint32_t fnScaledSize(std::uint32_t size, double scale) {
    const double exact = size * scale;
    if (!(exact > -1.0 && exact < 4294967295.0))
        AfxThrowMemoryException();
    const double whole = std::trunc(exact);
    return static_cast<std::uint32_t>(whole) + (exact - whole > q32::kEpsilon ? 1 : 0);
}

} // namespace

void CqImage::fnResample(unsigned int width, unsigned int height, bool interpolate,
                         CqProgressDisplay* progress) {
    q32::fnRequirePixels("CqImage::fnResample", TileMap);
    if (width == Width && height == Height)
        return;
    auto target = fnNewSize(*TileMap, width, height);
    const bool paletteImage = q32::fnIsIndexed(BitCount) && !TileMap->GrayScale;
    const bool done =
        interpolate && !paletteImage
            ? q32::fnFilterResample(*TileMap, *target, static_cast<double>(width) / Width,
                                    static_cast<double>(height) / Height, progress)
            : q32::fnNearestResample(*TileMap, *target, progress);
    if (done && !fnWasAborted(progress))
        fnSetBuf(target.release());
}

void CqImage::fnResample(double scaleX, double scaleY, CqProgressDisplay* progress) {
    q32::fnRequirePixels("CqImage::fnResample", TileMap);
    const std::uint32_t width = fnScaledSize(Width, scaleX);
    const std::uint32_t height = fnScaledSize(Height, scaleY);
    if (width == Width && height == Height)
        return;
    auto target = fnNewSize(*TileMap, width, height);
    if (q32::fnFilterResample(*TileMap, *target, scaleX, scaleY, progress) &&
        !fnWasAborted(progress))
        fnSetBuf(target.release());
}
