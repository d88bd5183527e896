#pragma once

#include "q32Base/framework/Parallel_p.h"
#include "q32Base/memory/PageWalk_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/resampling/RowSteps_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace q32 {

/// Changes the width in bands of rows, step by step, by a filter for each worker, which is made
/// from the source, the target and `arguments`: `fnFilter(step, y, rows)` does up to kFilterLanes
/// rows of the same tiles.
/// @param rowTime  roughly what a row takes, in nanoseconds
template <class Filter, class... Arguments>
bool fnFilterRows(const PixelArea& source, const PixelArea& target,
                  std::span<const RowSteps::Step> steps, double rowTime,
                  const ProgressRun& progress, const Arguments&... arguments) {
    // The caller alone goes through a scratch file, tile by tile, so that the advice on pages is
    // true.
    const bool scratch = source.fnIsScratch() || target.fnIsScratch();
    const std::uint32_t height = target.fnGetHeight();
    const std::uint32_t rows = scratch ? CqTileMap::kMaxTileSize : std::uint32_t{kFilterLanes};
    const std::uint32_t count = (height - 1) / rows + 1;
    const Parallel bands = scratch ? Parallel(count) : Parallel(count, rowTime * rows);
    PerWorker<Filter> filters(bands, source, target, arguments...);
    PageWalk sourceWalk(source, VIEW_READ_NEXT, {false});
    PageWalk targetWalk(target, VIEW_WRITE_NEXT, {false});
    const auto endOf = [&](std::uint32_t band) { return std::min(height, (band + 1) * rows); };
    const auto work = [&](std::uint32_t worker, std::uint32_t band) {
        const std::uint32_t end = endOf(band);
        for (const RowSteps::Step& step : steps) {
            std::uint32_t y = band * rows;
            if (scratch) {
                sourceWalk.fnReach(step.m_nFirst, y, step.m_nLast, end - 1);
                targetWalk.fnReach(step.m_nX, y, step.m_nEnd - 1, end - 1);
            }
            for (; y < end; y += kFilterLanes)
                filters[worker].fnFilter(step, y, std::min<std::uint32_t>(kFilterLanes, end - y));
        }
    };
    const auto run = [&](std::uint32_t worker, std::uint32_t first, std::uint32_t end) {
        for (; first < end && target.fnGetBytesPerPixel() != 0; ++first)
            work(worker, first);
    };
    return progress.fnRunWith(bands, run, [&](std::uint32_t band) {
        return progress.fnAborts(band * rows, endOf(band));
    });
}

class LineTable;
class QuadTable;

/// Changes the width by the integer sums of a row, which come from `quads`.
bool fnFilterWidthInLines(const PixelArea& source, const PixelArea& target, const QuadTable& quads,
                          const LineTable& lines, const ProgressRun& progress);

} // namespace q32
