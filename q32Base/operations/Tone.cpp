#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Parallel_p.h"
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
#include <cstring>
#include <memory>

namespace {

// Nanoseconds for a pixel.
constexpr double kByteTime = 0.01; ///< for each of its bytes
constexpr double kCurveTime = 0.1;
constexpr double kCurveTime16 = 2.0;
constexpr double kHueTime = 2.3;

/// Copies of the tiles of a batch, to restore those that an abort leaves unchanged.
class Originals {
public:
    Originals(CqImage& image, const q32::Parallel& tiles)
        : m_Image(image), m_nBatch(tiles.fnGetBatch()) {
        if (m_nBatch > 1)
            m_pCopies.reset(q32::fnNewArray<unsigned char>(m_nBatch * kTile));
    }

    void fnSave(const CqImageTile& tile) const {
        if (m_pCopies)
            std::memcpy(fnCopy(static_cast<std::uint32_t>(tile.Index)), tile.Pixels, tile.Size);
    }
    void fnRestore(std::uint32_t first, std::uint32_t end) const {
        CqImageTile tile(false);
        for (; first < end; ++first) {
            m_Image.fnAccessTile(first, &tile);
            std::memcpy(tile.Pixels, fnCopy(first), tile.Size);
        }
    }

private:
    static constexpr std::size_t kTile =
        std::size_t{4} * CqTileMap::kMaxTileSize * CqTileMap::kMaxTileSize; ///< bytes, at most

    unsigned char* fnCopy(std::uint32_t tile) const {
        return m_pCopies.get() + tile % m_nBatch * kTile;
    }

    CqImage& m_Image;
    std::uint32_t m_nBatch;
    std::unique_ptr<unsigned char[]> m_pCopies; ///< null if tiles are changed one by one
};

/// Draws each tile and reports it, both on this thread, for one tile after another. An abort leaves
/// the tiles done so far changed, and no others.
template <typename Run, typename Report>
bool fnChangeVisibly(CqImage& image, double tileTime, const Run& change, const Report& report) {
    constexpr std::uint32_t kBatch = 64; // tiles, whose copies take 4 MiB
    constexpr double kCopyTime = 1.5e3;  // nanoseconds, of a tile
    const q32::Parallel tiles(image.TileCount, tileTime - kCopyTime, kBatch);
    const Originals originals(image, tiles);
    CqImageTile shown(false);
    return tiles.fnRunReported(
        [&](std::uint32_t, std::uint32_t first, std::uint32_t end) {
            change(first, end, [&](const CqImageTile& tile) { originals.fnSave(tile); });
        },
        [&](std::uint32_t index) {
            image.fnAccessTile(index, &shown);
            shown.fnDraw(nullptr);
            return report(index);
        },
        [&](std::uint32_t first, std::uint32_t end) { originals.fnRestore(first, end); });
}

/// Changes the image tile by tile, in place.
/// @param pixelTime  nanoseconds for a pixel
template <typename Change>
void fnChangeTiles(CqImage& image, double pixelTime, bool draw, CqProgressDisplay* progress,
                   Change change) {
    const CqTileMap& map = *image.TileMap;
    const double tileTime = pixelTime * map.TileWidth * map.TileHeight;
    const auto changeTiles = [&](std::uint32_t first, std::uint32_t end, const auto& before) {
        CqImageTile tile(false);
        for (; first < end; ++first) {
            image.fnAccessTile(first, &tile);
            before(tile);
            change(tile);
        }
    };
    const auto run = [&](std::uint32_t, std::uint32_t first, std::uint32_t end) {
        changeTiles(first, end, [](const CqImageTile&) {});
    };
    const auto report = [&](std::uint32_t index) {
        bool aborted = false;
        if (progress)
            progress->fnDrawStatus(index * 100 / image.TileCount, &aborted);
        return aborted;
    };
    bool done = true;
    if (draw)
        done = fnChangeVisibly(image, tileTime, changeTiles, report);
    else if (progress)
        done = q32::Parallel(image.TileCount, tileTime).fnRunAnnounced(run, report);
    else
        q32::Parallel(image.TileCount, tileTime).fnRun(run);
    if (done)
        map.fnRequirePixels();
}

std::size_t fnPixelCount(const CqImageTile& tile) {
    return static_cast<std::size_t>(tile.Width) * static_cast<std::size_t>(tile.Height);
}

void fnChangeChannels(CqImage& image, const std::uint8_t* curves, bool draw,
                      CqProgressDisplay* progress) {
    const auto run = q32::fnKernels().*q32::fnPixelFormat(image.BitCount).m_pChannelCurves;
    fnChangeTiles(image, image.BitCount == 16 ? kCurveTime16 : kCurveTime, draw, progress,
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
        fnChangeTiles(*this, kByteTime * TileMap->BytesPerPixel, draw, progress,
                      [&](CqImageTile& tile) {
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
    fnChangeTiles(*this, kHueTime, draw, progress,
                  [&](CqImageTile& tile) { run(tile.Pixels, fnPixelCount(tile), shift); });
}

void CqImage::fnThresholding(unsigned char level, bool draw, CqProgressDisplay* progress) {
    q32::fnRequirePixels("CqImage::fnThresholding", TileMap);
    fnChangeTiles(
        *this, kByteTime * TileMap->BytesPerPixel, draw, progress,
        [&](CqImageTile& tile) { q32::fnKernels().fnThreshold(tile.Pixels, tile.Size, level); });
}
