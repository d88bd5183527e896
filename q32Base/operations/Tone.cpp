#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/kernels/HueShift_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/operations/ToneCurves_p.h"
#include "q32Base/pixels/PixelFormat_p.h"
#include "q32Base/platform/Checked_p.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace {

/// Changes the image tile by tile, in place. An abort leaves the tiles done so far changed.
template <typename Change>
void fnChangeTiles(CqImage& image, bool draw, CqProgressDisplay* progress, Change change) {
    CqImageTile tile(false);
    for (std::uint32_t i = 0; i < image.TileCount; ++i) {
        image.fnAccessTile(i, &tile);
        change(tile);
        if (draw)
            tile.fnDraw(nullptr);
        bool aborted = false;
        if (progress)
            progress->fnDrawStatus(i * 100 / image.TileCount, &aborted);
        if (aborted)
            return;
    }
    image.TileMap->fnRequirePixels();
}

std::size_t fnPixelCount(const CqImageTile& tile) {
    return static_cast<std::size_t>(tile.Width) * static_cast<std::size_t>(tile.Height);
}

void fnChangeChannels(CqImage& image, const std::uint8_t* curves, bool draw,
                      CqProgressDisplay* progress) {
    const auto run = q32::fnKernels().*q32::fnPixelFormat(image.BitCount).m_pChannelCurves;
    fnChangeTiles(image, draw, progress,
                  [&](CqImageTile& tile) { run(tile.Pixels, fnPixelCount(tile), curves); });
}

constexpr std::size_t kCurve = 256; ///< bytes

} // namespace

void CqImage::fnBrightContrast(int brightness, int contrast, bool draw,
                               CqProgressDisplay* progress) {
    q32::fnRequirePixels("CqImage::fnBrightContrast", TileMap);
    if ((brightness == 0 && contrast == 0) || BitCount < 8)
        return;
    const std::unique_ptr<std::uint8_t[]> curves(q32::fnNewArray<std::uint8_t>(3 * kCurve));
    q32::fnMakeContrastCurve(brightness, contrast, curves.get());
    if (BitCount == 8 || BitCount == 24) {
        fnChangeTiles(*this, draw, progress, [&](CqImageTile& tile) {
            q32::fnKernels().fnCurve8(tile.Pixels, tile.Size, curves.get());
        });
        return;
    }
    std::copy_n(curves.get(), kCurve, curves.get() + kCurve);
    std::copy_n(curves.get(), kCurve, curves.get() + 2 * kCurve);
    fnChangeChannels(*this, curves.get(), draw, progress);
}

void CqImage::fnColorBalance(int red, int green, int blue, bool draw, CqProgressDisplay* progress) {
    q32::fnRequirePixels("CqImage::fnColorBalance", TileMap);
    if ((red == 0 && green == 0 && blue == 0) || q32::fnIsIndexed(BitCount))
        return;
    const std::unique_ptr<std::uint8_t[]> curves(q32::fnNewArray<std::uint8_t>(3 * kCurve));
    q32::fnMakeBalanceCurve(red, curves.get());
    q32::fnMakeBalanceCurve(green, curves.get() + kCurve);
    q32::fnMakeBalanceCurve(blue, curves.get() + 2 * kCurve);
    fnChangeChannels(*this, curves.get(), draw, progress);
}

void CqImage::fnHueSaturation(int hue, int saturation, bool draw, CqProgressDisplay* progress) {
    q32::fnRequirePixels("CqImage::fnHueSaturation", TileMap);
    if ((hue == 0 && saturation == 0) || q32::fnIsIndexed(BitCount))
        return;
    const auto run = q32::fnKernels().*q32::fnPixelFormat(BitCount).m_pHueShift;
    const q32::HueShift shift(hue, q32::fnWrapMultiply(saturation, 255) / 100);
    fnChangeTiles(*this, draw, progress,
                  [&](CqImageTile& tile) { run(tile.Pixels, fnPixelCount(tile), shift); });
}

void CqImage::fnThresholding(unsigned char level, bool draw, CqProgressDisplay* progress) {
    q32::fnRequirePixels("CqImage::fnThresholding", TileMap);
    fnChangeTiles(*this, draw, progress, [&](CqImageTile& tile) {
        q32::fnKernels().fnThreshold(tile.Pixels, tile.Size, level);
    });
}
