#pragma once

#include "q32Base/framework/Parallel_p.h"
#include "q32Base/memory/PageWalk_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/resampling/ContribTable_p.h"
#include "q32Base/resampling/FilterChannels_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace q32 {

/// Columns from x to before `end` of target rows from y to before `bottom`, which lie in the same
/// tiles.
struct ColumnBlock {
    std::uint32_t m_nX;
    std::uint32_t m_nEnd;
    std::uint32_t m_nY;
    std::uint32_t m_nBottom;
};

/// The pass that changes the height, in bands of target rows and blocks of columns, so that source
/// and target are traversed tile by tile, in memory order. Blocks are independent of each other.
/// The arguments must outlive it.
class ColumnBands {
public:
    /// Raises the memory exception.
    /// @param columns  the width of a block
    ColumnBands(const PixelArea& source, const PixelArea& target, const ContribTable& table,
                std::uint32_t columns);

    /// How the blocks are divided among threads. In a scratch file they are visited in order, by
    /// the caller, so that the advice on pages is true.
    const Parallel& fnGetParallel() const { return m_Blocks; }

    /// Calls `filter(worker, block)` for all blocks, and reports columns in proportion to the work
    /// done. False after an abort.
    template <class Filter>
    bool fnRun(const ProgressRun& progress, Filter filter) {
        const auto work = [&](std::uint32_t worker, std::uint32_t first, std::uint32_t end) {
            for (; first < end; ++first) {
                const ColumnBlock block = fnGetBlock(first);
                if (m_bScratch)
                    fnReach(block);
                if (m_Target.fnGetBytesPerPixel() != 0)
                    filter(worker, block);
            }
        };
        std::uint32_t reported = 0;
        return progress.fnRunWith(m_Blocks, work, [&](std::uint32_t unit) {
            const std::uint32_t first = reported;
            reported = fnColumnsDone(fnGetBlock(unit));
            return progress.fnAborts(first, reported);
        });
    }

private:
    std::uint32_t fnBandEnd(std::uint32_t y) const;
    std::uint32_t fnPlanBands();
    double fnGetBlockTime() const;
    ColumnBlock fnGetBlock(std::uint32_t unit) const;
    /// Columns of the whole target that take as long as what ends with this block.
    std::uint32_t fnColumnsDone(const ColumnBlock& block) const;
    void fnReach(const ColumnBlock& block);
    std::pair<std::uint32_t, std::uint32_t> fnSourceRows(std::uint32_t y,
                                                         std::uint32_t bottom) const;
    std::uint32_t fnNextTop(std::uint32_t y) const;

    const PixelArea& m_Source;
    const PixelArea& m_Target;
    const ContribTable& m_Table;
    bool m_bScratch;
    std::uint32_t m_nColumns;
    std::uint32_t m_nAcross;
    std::unique_ptr<std::uint32_t[]> m_pBands; ///< where each begins, and the end of the last one
    Parallel m_Blocks;
    PageWalk m_SourceWalk;
    PageWalk m_TargetWalk;
};

/// Changes the height by a filter for blocks, one for each worker, which is made from the source,
/// the target and `arguments`.
template <class Filter, class... Arguments>
bool fnFilterColumns(const PixelArea& source, const PixelArea& target, const ContribTable& table,
                     const ProgressRun& progress, const Arguments&... arguments) {
    ColumnBands bands(source, target, table, Filter::fnBlockColumns(source, table));
    PerWorker<Filter> filters(bands.fnGetParallel(), source, target, arguments...);
    return bands.fnRun(progress, [&](std::uint32_t worker, const ColumnBlock& block) {
        filters[worker].fnFilter(block);
    });
}

class QuadTable;

/// Changes the height by the table's integer sums.
bool fnFilterHeightInQuads(const PixelArea& source, const PixelArea& target,
                           const ContribTable& table, const QuadTable& quads,
                           const ProgressRun& progress);

} // namespace q32
