#pragma once

#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/operations/ContribTable_p.h"
#include "q32Base/operations/ProgressRun_p.h"

#include <cstdint>
#include <utility>

namespace q32 {

class QuadTable;

/// How the filter of columns traverses source and target: in bands of target rows, tile by tile, in
/// memory order. The arguments must outlive it.
class ColumnBands {
public:
    ColumnBands(const PixelArea& source, const PixelArea& target, const ContribTable& table)
        : m_Source(source), m_Target(target), m_Table(table) {}

    /// The end of the band that begins at row y: target rows of the same tiles, and for scratch
    /// files so few that the source rows they need fit in memory.
    std::uint32_t fnBandEnd(std::uint32_t y) const;

    /// The first and the last source row that target rows from y to before `bottom` need.
    std::pair<std::uint32_t, std::uint32_t> fnSourceRows(std::uint32_t y,
                                                         std::uint32_t bottom) const;

    /// No target row from y on needs a source row above this one.
    std::uint32_t fnNextTop(std::uint32_t y) const;

private:
    const PixelArea& m_Source;
    const PixelArea& m_Target;
    const ContribTable& m_Table;
};

/// Filters all bands. `filter.fnFilter(y, bottom, isAborted)` filters target rows from y to before
/// `bottom`, block by block; after each block it calls `isAborted` with the block's end column, and
/// returns false if that returns true.
template <typename Filter>
bool fnFilterBands(Filter& filter, const ColumnBands& bands, const PixelArea& target,
                   const ProgressRun& progress) {
    // Columns are reported in proportion to the work done.
    const std::uint64_t width = target.fnGetWidth();
    std::uint32_t reported = 0;
    const auto isAborted = [&](std::uint64_t pixels) {
        const std::uint32_t first = reported;
        reported = static_cast<std::uint32_t>(pixels / target.fnGetHeight());
        return progress.fnAborts(first, reported);
    };
    std::uint32_t bottom;
    for (std::uint32_t y = 0; y < target.fnGetHeight(); y = bottom) {
        bottom = bands.fnBandEnd(y);
        const std::uint64_t above = width * y;
        const bool goesOn = target.fnGetBytesPerPixel() == 0
                                ? !isAborted(width * bottom)
                                : filter.fnFilter(y, bottom, [&](std::uint32_t end) {
                                      return isAborted(above + std::uint64_t{bottom - y} * end);
                                  });
        if (!goesOn)
            return false;
    }
    return true;
}

/// Changes the height by the table's integer sums.
bool fnFilterHeightInQuads(const PixelArea& source, const PixelArea& target,
                           const ContribTable& table, const QuadTable& quads,
                           const ProgressRun& progress);

} // namespace q32
