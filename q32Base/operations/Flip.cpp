#include "q32Base/operations/Flip.h"

#include "q32Base/framework/Parallel_p.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelBytes_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/Nibbles_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr std::uint32_t kReported = 32; ///< rows to each report

// Nanoseconds for a byte.
constexpr double kReverseTime = 0.3;
constexpr double kExchangeTime = 0.03;

/// Changes units in place by `change(worker, unit)`, which is its own inverse. An abort, or
/// what the display throws, undoes all that is done.
template <class Change>
bool fnChangeRows(const q32::Parallel& rows, std::uint32_t count, CqProgressDisplay* progress,
                  Change change) {
    const auto changeRows = [&](std::uint32_t worker, std::uint32_t unit, std::uint32_t end) {
        for (; unit < end; ++unit)
            change(worker, unit);
    };
    if (!progress) {
        rows.fnRun(changeRows);
        return true;
    }
    const q32::ProgressRun run(progress, count);
    return rows.fnRunReported(
        changeRows,
        [&](std::uint32_t unit) { return (unit + 1) % kReported == 0 && run.fnAborts(unit); },
        [&](std::uint32_t, std::uint32_t end) { changeRows(0, 0, end); });
}

} // namespace

bool q32FlipHorizontal(CqImage& image, CqProgressDisplay* progress) {
    if (!image.TileMap)
        return false;
    CqTileMap& map = *image.TileMap;
    const q32::Parallel rows(map.Height, kReverseTime * map.RowBytes);
    const q32::WorkerBytes buffers(rows, map.RowBytes);
    const q32::WorkerBytes indices(rows, map.BytesPerPixel != 0 ? 1 : map.Width);
    const auto flip = [&](std::uint32_t worker, std::uint32_t y) {
        unsigned char* row = buffers[worker];
        map.fnFetchRow(y, row);
        if (map.BytesPerPixel != 0) {
            q32::fnReversePixels(row, map.Width, map.BytesPerPixel);
        } else {
            unsigned char* pixels = indices[worker];
            q32::fnUnpackNibbles(row, 0, map.Width, pixels);
            std::reverse(pixels, pixels + map.Width);
            q32::fnPackNibbles(pixels, map.Width, row, 0);
        }
        map.fnStoreRow(y, row);
    };
    if (!fnChangeRows(rows, map.Height, progress, flip))
        return false;
    map.fnRequirePixels();
    return true;
}

bool q32FlipVertical(CqImage& image, CqProgressDisplay* progress) {
    if (!image.TileMap)
        return false;
    CqTileMap& map = *image.TileMap;
    const std::uint32_t pairs = map.Height / 2;
    const q32::Parallel rows(pairs, 2.0 * kExchangeTime * map.RowBytes);
    const q32::WorkerBytes upper(rows, map.RowBytes);
    const q32::WorkerBytes lower(rows, map.RowBytes);
    const auto flip = [&](std::uint32_t worker, std::uint32_t y) {
        const std::uint32_t opposite = map.Height - 1 - y;
        map.fnFetchRow(y, upper[worker]);
        map.fnFetchRow(opposite, lower[worker]);
        map.fnStoreRow(y, lower[worker]);
        map.fnStoreRow(opposite, upper[worker]);
    };
    if (!fnChangeRows(rows, pairs, progress, flip))
        return false;
    map.fnRequirePixels();
    return true;
}
