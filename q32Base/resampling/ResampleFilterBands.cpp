#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Parallel_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/resampling/ContribTable_p.h"
#include "q32Base/resampling/FilterChannels_p.h"
#include "q32Base/resampling/LineTable_p.h"
#include "q32Base/resampling/QuadTable_p.h"
#include "q32Base/resampling/Resample_p.h"
#include "q32Base/resampling/SourceRows_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

namespace q32 {
namespace {

/// Both tables, and how the target is divided.
struct BandPlan {
    const QuadTable& m_Columns;
    const LineTable& m_Lines;
    std::size_t m_nStride; ///< from one row of a band to the next
    std::uint32_t m_nRows; ///< of a band
    std::uint32_t m_nHeight;

    BandPlan(const PixelArea& source, const PixelArea& target, const QuadTable& columns,
             const LineTable& lines)
        : m_Columns(columns), m_Lines(lines),
          // An odd number of lines, so that the rows of a column share no set of the cache.
          m_nStride(((std::size_t{source.fnGetWidth()} * source.fnGetBytesPerPixel() +
                      lines.fnGetReach()) /
                         kCacheLine |
                     1) *
                        kCacheLine +
                    2 * kCacheLine),
          m_nRows(static_cast<std::uint32_t>(
              std::clamp<std::size_t>(kBandBytes / m_nStride, kMinRows, kMaxRows))),
          m_nHeight(target.fnGetHeight()) {}

    std::uint32_t fnCountBands() const { return (m_nHeight - 1) / m_nRows + 1; }
    std::uint32_t fnBottom(std::uint32_t band) const {
        return std::min(m_nHeight, (band + 1) * m_nRows);
    }
    /// The rows of the source that a band needs.
    RowRange fnSource(std::uint32_t band) const {
        RowRange range(m_Columns[band * m_nRows]);
        for (std::uint32_t y = band * m_nRows; y < fnBottom(band); ++y)
            range = range.fnJoin(RowRange(m_Columns[y]));
        return range;
    }
    std::uint32_t fnGetMaxSourceRows() const {
        std::uint32_t most = 0;
        for (std::uint32_t band = 0; band < fnCountBands(); ++band)
            most = std::max(most, fnSource(band).fnGetCount());
        return most;
    }

private:
    static constexpr std::size_t kCacheLine = 64;
    static constexpr std::size_t kBandBytes = 256 * 1024;
    static constexpr std::size_t kMinRows = 4;
    static constexpr std::size_t kMaxRows = 32;
};

/// Does a band: its columns into a block that stays in the cache, then the rows from there.
class BandFilter {
public:
    BandFilter(const PixelArea& source, const PixelArea& target, const BandPlan& plan,
               std::uint32_t mostSourceRows)
        : m_Source(source), m_Target(target), m_Plan(plan),
          m_nChannels(source.fnGetBytesPerPixel()), m_Rows(mostSourceRows), m_Next(mostSourceRows),
          m_pBand(fnNewArray<unsigned char>(plan.m_nStride * plan.m_nRows)) {
        std::fill_n(m_pBand.get(), plan.m_nStride * plan.m_nRows, static_cast<unsigned char>(0));
    }

    void fnFilter(std::uint32_t band) {
        fnFilterColumns(band, m_Plan.fnSource(band));
        fnFilterRows(band);
    }

private:
    void fnFilterColumns(std::uint32_t band, const RowRange& range) {
        const std::uint32_t width = m_Source.fnGetWidth();
        fnFind(m_Next, 0, range);
        for (std::uint32_t x = 0, end; x < width; x = end) {
            end = fnEnd(x);
            std::swap(m_Rows, m_Next);
            if (end < width)
                fnFind(m_Next, end, range);
            const std::uint32_t bytes = (end - x) * m_nChannels;
            const std::uint32_t ahead = SourceRows::fnRowsAhead(bytes);
            for (std::uint32_t y = band * m_Plan.m_nRows; y < m_Plan.fnBottom(band); ++y) {
                const QuadList& list = m_Plan.m_Columns[y];
                const std::uint32_t needed =
                    static_cast<std::uint32_t>(list.m_nMost) - range.m_nTop + 1;
                m_Rows.fnPrefetchTo(needed, needed + ahead, bytes);
                if (needed + ahead > range.fnGetCount() && end < width)
                    m_Next.fnPrefetchTo(0, needed + ahead - range.fnGetCount(),
                                        std::size_t{fnEnd(end) - end} * m_nChannels);
                fnKernels().fnConvolveQuadRows(
                    m_Rows.fnFrom(static_cast<std::uint32_t>(list.m_nLeast) - range.m_nTop), list,
                    fnRow(y) + std::size_t{x} * m_nChannels, bytes);
            }
        }
    }

    void fnFilterRows(std::uint32_t band) const {
        const LineSums& sums = m_Plan.m_Lines.fnGetSums();
        for (std::uint32_t x = 0, end; x < m_Target.fnGetWidth(); x = end) {
            end = std::min(m_Target.fnRunEnd(x), x + CqTileMap::kMaxTileSize);
            for (std::uint32_t y = band * m_Plan.m_nRows, next; y < m_Plan.fnBottom(band);
                 y = next) {
                next = std::min(m_Target.fnRowsEnd(y), m_Plan.fnBottom(band));
                const LineRows rows{fnRow(y),
                                    0,
                                    m_Plan.m_nStride,
                                    m_Target.fnAt(x, y),
                                    static_cast<std::size_t>(m_Target.fnGetStride(x)),
                                    next - y};
                fnKernels().fnConvolveLines(rows, sums, std::size_t{x} * m_nChannels,
                                            std::size_t{end - x} * m_nChannels);
            }
        }
    }

    std::uint32_t fnEnd(std::uint32_t x) const {
        return std::min(m_Source.fnRunEnd(x), x + CqTileMap::kMaxTileSize);
    }
    unsigned char* fnRow(std::uint32_t y) const {
        return m_pBand.get() + y % m_Plan.m_nRows * m_Plan.m_nStride;
    }
    void fnFind(SourceRows& rows, std::uint32_t x, const RowRange& range) const {
        rows.fnFind(m_Source, x, range, [](const unsigned char* at, std::uint32_t) { return at; });
    }

    const PixelArea& m_Source;
    const PixelArea& m_Target;
    const BandPlan& m_Plan;
    std::uint32_t m_nChannels;
    SourceRows m_Rows; ///< of the present tile
    SourceRows m_Next; ///< and of that to its right
    std::unique_ptr<unsigned char[]> m_pBand;
};

/// Roughly what a row of the target takes, in nanoseconds.
double fnBandRowTime(const PixelArea& source, const PixelArea& target, std::uint32_t entries) {
    constexpr double kSampleTime = 0.1;
    constexpr double kEntryTime = 0.015;
    return (kSampleTime + kEntryTime * entries) *
           (static_cast<double>(source.fnGetWidth()) + target.fnGetWidth()) *
           source.fnGetBytesPerPixel();
}

/// The tables of both axes. None of them depends on the other axis, so two threads make them.
class BandTables {
public:
    /// Raises the memory exception.
    BandTables(const PixelArea& source, const PixelArea& target, double scaleX, double scaleY) {
        constexpr double kListTime = 70.0; // nanoseconds
        const double lists = static_cast<double>(target.fnGetWidth()) + target.fnGetHeight();
        Parallel(2, kListTime * lists / 2)
            .fnRun([&](std::uint32_t, std::uint32_t first, std::uint32_t end) {
                for (; first < end; ++first)
                    if (first == 0)
                        fnMakeRows(source, target, scaleX);
                    else
                        fnMakeColumns(source, target, scaleY);
            });
    }

    bool fnAreComplete() const { return m_pColumnQuads && m_pLines; }
    const QuadTable& fnGetColumns() const { return *m_pColumnQuads; }
    const LineTable& fnGetLines() const { return *m_pLines; }
    std::uint32_t fnGetMaxEntries() const {
        return std::max(m_Columns->fnGetCapacity(), m_Rows->fnGetCapacity());
    }

private:
    void fnMakeRows(const PixelArea& source, const PixelArea& target, double scale) {
        m_Rows.emplace(scale, target.fnGetWidth(), source.fnGetWidth(), false);
        m_pRowQuads = fnMakeQuads(*m_Rows, target.fnGetWidth(), 1);
        m_pLines = fnMakeLines(m_pRowQuads.get(), target.fnGetWidth(), source.fnGetBytesPerPixel());
    }
    void fnMakeColumns(const PixelArea& source, const PixelArea& target, double scale) {
        m_Columns.emplace(scale, target.fnGetHeight(), source.fnGetHeight(), false);
        m_pColumnQuads = fnMakeQuads(*m_Columns, target.fnGetHeight(), 1);
    }

    std::optional<ContribTable> m_Rows;
    std::optional<ContribTable> m_Columns;
    std::unique_ptr<QuadTable> m_pRowQuads;
    std::unique_ptr<QuadTable> m_pColumnQuads;
    std::unique_ptr<LineTable> m_pLines;
};

/// Reports two passes, one after the other, in proportion to the bands that are done.
class BandReports {
public:
    BandReports(CqProgressDisplay* progress, std::uint32_t columns, std::uint32_t rows,
                std::uint32_t bands)
        : m_First(progress, columns, 0, 50), m_Second(progress, rows, 50, 50), m_nColumns(columns),
          m_nRows(rows), m_nBands(bands) {}

    template <class Work>
    bool fnRun(const Parallel& parallel, Work work) {
        return m_First.fnRunWith(parallel, work, [this](std::uint32_t band) {
            const std::uint64_t all = std::uint64_t{m_nColumns} + m_nRows;
            return fnAborts(all * band / m_nBands, all * (band + 1) / m_nBands);
        });
    }

private:
    bool fnAborts(std::uint64_t first, std::uint64_t end) const {
        const auto column = [this](std::uint64_t unit) {
            return static_cast<std::uint32_t>(std::min<std::uint64_t>(unit, m_nColumns));
        };
        const auto row = [&](std::uint64_t unit) {
            return static_cast<std::uint32_t>(unit - column(unit));
        };
        return m_First.fnAborts(column(first), column(end)) ||
               m_Second.fnAborts(row(first), row(end));
    }

    ProgressRun m_First;
    ProgressRun m_Second;
    std::uint32_t m_nColumns;
    std::uint32_t m_nRows;
    std::uint32_t m_nBands;
};

} // namespace

bool fnMayFilterInBands(const PixelArea& source, const PixelArea& target, double scaleX,
                        double scaleY) {
    constexpr std::uint64_t kMinBytes = 1 << 20;
    constexpr double kMinScale = 1.0 / 8.0; // no lines exist below that
    const std::uint32_t bytes = source.fnGetBytesPerPixel();
    const std::uint64_t between = std::uint64_t{source.fnGetWidth()} * bytes * target.fnGetHeight();
    return fnKernels().m_bPrefersQuads && (bytes == 1 || bytes >= 3) && between >= kMinBytes &&
           between <= 0xFFFFFFFFu && std::min(scaleX, scaleY) > kMinScale &&
           !source.fnIsScratch() && !target.fnIsScratch();
}

std::optional<bool> fnFilterInBands(const PixelArea& source, const PixelArea& target, double scaleX,
                                    double scaleY, CqProgressDisplay* progress) {
    const BandTables tables(source, target, scaleX, scaleY);
    if (!tables.fnAreComplete())
        return {};
    const BandPlan plan(source, target, tables.fnGetColumns(), tables.fnGetLines());
    const Parallel bands(plan.fnCountBands(),
                         fnBandRowTime(source, target, tables.fnGetMaxEntries()) * plan.m_nRows);
    PerWorker<BandFilter> filters(bands, source, target, plan, plan.fnGetMaxSourceRows());
    BandReports reports(progress, source.fnGetWidth(), target.fnGetHeight(), plan.fnCountBands());
    return reports.fnRun(bands, [&](std::uint32_t worker, std::uint32_t band, std::uint32_t end) {
        for (; band < end; ++band)
            filters[worker].fnFilter(band);
    });
}

} // namespace q32
