#include "q32Base/operations/WeightedResample.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Parallel_p.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/operations/BandWalk_p.h"
#include "q32Base/operations/ImageStorage_p.h"
#include "q32Base/operations/TilePieces_p.h"
#include "q32Base/resampling/ContribTable_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace {

using q32::ContribList;

// Nanoseconds.
constexpr double kEntryTime = 4.0; ///< for an entry of a list
constexpr double kLookTime = 0.4;  ///< for the alpha of a pixel

constexpr std::size_t kBytes = 4; ///< alpha, red, green, blue

/// One pixel of one pass. `at(k)` is the address of the pixel of the list's entry k.
template <typename At>
void fnSumPixel(const ContribList& list, unsigned char* out, At at) {
    double plain[kBytes] = {};
    double weighted[kBytes] = {};
    unsigned int opaque = 255;
    for (std::int32_t k = 0; k < list.m_nCount; ++k) {
        const unsigned char* pixel = at(k);
        const double weight = list.m_pEntries[k].m_dWeight;
        const int alpha = pixel[0];
        opaque &= pixel[0];
        for (std::size_t c = 0; c < kBytes; ++c)
            plain[c] += pixel[c] * weight;
        for (std::size_t c = 1; c < kBytes; ++c)
            weighted[c] += alpha * pixel[c] * weight;
    }
    const std::uint8_t alpha = q32::fnStoredByte(plain[0]);
    out[0] = alpha;
    for (std::size_t c = 1; c < kBytes; ++c)
        out[c] = alpha == 0      ? 0
                 : opaque == 255 ? q32::fnStoredByte(plain[c])
                                 : q32::fnStoredByte(weighted[c] / plain[0]);
}

/// Changes the width. Other than the progress, rows are independent of each other.
bool fnFilterWeightedWidth(const CqTileMap& from, CqTileMap& to, double scale,
                           const q32::ProgressRun& progress) {
    const q32::ContribTable table(scale, to.Width, from.Width);
    const q32::Parallel rows(to.Height, kEntryTime * table.fnGetCapacity() * to.Width);
    const q32::WorkerBytes source(rows, from.RowBytes);
    const q32::WorkerBytes target(rows, to.RowBytes);
    return progress.fnRun(rows, [&](std::uint32_t worker, std::uint32_t y, std::uint32_t end) {
        for (; y < end; ++y) {
            from.fnFetchRow(y, source[worker]);
            for (std::uint32_t x = 0; x < to.Width; ++x) {
                const ContribList& list = table[x];
                fnSumPixel(list, target[worker] + kBytes * x, [&](std::int32_t k) {
                    return source[worker] +
                           kBytes * static_cast<std::size_t>(list.m_pEntries[k].m_nPixel);
                });
            }
            to.fnStoreRow(y, target[worker]);
        }
    });
}

/// Changes the height, in strips as wide as a tile, so that the pixels of a strip's row are
/// adjacent.
bool fnFilterWeightedHeight(const CqTileMap& from, const CqTileMap& to, double scale,
                            const q32::ProgressRun& progress) {
    const q32::ContribTable table(scale, to.Height, from.Height);
    const q32::PixelArea source(from);
    const q32::PixelArea target(to);
    const std::size_t capacity = table.fnGetCapacity();
    const auto filter = [&](std::uint32_t x, std::uint32_t end, std::uint32_t y,
                            const unsigned char** rows) {
        const ContribList& list = table[y];
        for (std::int32_t k = 0; k < list.m_nCount; ++k)
            rows[k] = source.fnAt(x, static_cast<std::uint32_t>(list.m_pEntries[k].m_nPixel));
        unsigned char* out = target.fnAt(x, y);
        for (std::size_t i = 0; i < kBytes * (end - x); i += kBytes)
            fnSumPixel(list, out + i, [&](std::int32_t k) { return rows[k] + i; });
    };
    std::uint32_t end;
    for (std::uint32_t x = 0; x < to.Width; x = end) {
        end = target.fnRunEnd(x);
        const q32::Parallel strip(to.Height,
                                  kEntryTime * static_cast<double>(capacity) * (end - x));
        const std::unique_ptr<const unsigned char*[]> rows(
            q32::fnNewArray<const unsigned char*>(capacity * strip.fnGetWorkers()));
        strip.fnRun([&](std::uint32_t worker, std::uint32_t y, std::uint32_t bottom) {
            for (; y < bottom; ++y)
                filter(x, end, y, rows.get() + capacity * worker);
        });
        if (progress.fnAborts(x, end))
            return false;
    }
    return true;
}

/// Both passes, in the order of `CqImage::fnResample`.
bool fnFilter(const CqTileMap& from, CqTileMap& to, CqProgressDisplay* progress) {
    const double scaleX = static_cast<double>(to.Width) / from.Width;
    const double scaleY = static_cast<double>(to.Height) / from.Height;
    if (from.Width == to.Width)
        return fnFilterWeightedHeight(from, to, scaleY, {progress, to.Width});
    if (from.Height == to.Height)
        return fnFilterWeightedWidth(from, to, scaleX, {progress, to.Height});
    const bool rowsFirst = to.Width < to.Height;
    CqTileMap between(rowsFirst ? to.Width : from.Width, rowsFirst ? from.Height : to.Height,
                      to.BitCount, nullptr, 0);
    const bool done =
        rowsFirst ? fnFilterWeightedWidth(from, between, scaleX, {progress, from.Height, 0, 50}) &&
                        fnFilterWeightedHeight(between, to, scaleY, {progress, to.Width, 50, 50})
                  : fnFilterWeightedHeight(from, between, scaleY, {progress, from.Width, 0, 50}) &&
                        fnFilterWeightedWidth(between, to, scaleX, {progress, to.Height, 50, 50});
    between.fnRequirePixels();
    return done;
}

bool fnIsOpaque(const CqTileMap& map) {
    if (map.BitCount != 32)
        return true;
    std::atomic<bool> opaque = true;
    const auto look = [&](std::uint32_t, const q32::TilePiece& piece) {
        const std::size_t width = kBytes * static_cast<std::size_t>(piece.m_rect.Width());
        for (LONG y = 0; y < piece.m_rect.Height() && opaque.load(std::memory_order_relaxed); ++y) {
            const unsigned char* row =
                piece.m_pPixels + piece.m_nStride * static_cast<std::size_t>(y);
            unsigned int all = 255;
            for (std::size_t j = 0; j < width; j += kBytes)
                all &= row[j];
            if (all != 255)
                opaque.store(false, std::memory_order_relaxed);
        }
    };
    q32::fnDividePieces(map, q32::fnWholeRect(map), kLookTime, look);
    return opaque;
}

} // namespace

bool q32ResampleByAlpha(CqImage& image, unsigned int width, unsigned int height,
                        CqProgressDisplay* progress) {
    if (!image.TileMap)
        return false;
    if (width == image.Width && height == image.Height)
        return true;
    const CqTileMap& from = *image.TileMap;
    if (fnIsOpaque(from)) {
        image.fnResample(width, height, true, progress);
        return image.Width == width && image.Height == height;
    }
    std::unique_ptr<CqTileMap> map(
        q32::fnNew<CqTileMap>(width, height, from.BitCount, nullptr, 0u));
    return fnFilter(from, *map, progress) &&
           q32::ImageStorage::fnReplace(image, std::move(map), progress);
}
