#include "q32Base/framework/Memory.h"
#include "q32Base/kernels/ContribList_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/kernels/QuadList_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/resampling/ContribTable_p.h"
#include "q32Base/resampling/FilterChannels_p.h"
#include "q32Base/resampling/FilterRows_p.h"
#include "q32Base/resampling/LineTable_p.h"
#include "q32Base/resampling/QuadTable_p.h"
#include "q32Base/resampling/Resample_p.h"

#include <algorithm>
#include <memory>

namespace q32 {
namespace {

/// Convolves some target columns of kFilterLanes rows at a time. The source pixels that they need
/// are transposed, so that the rows are side by side and one sum of blocks serves all of them. Wide
/// sums don't use that.
class RowFilter {
public:
    /// @param quads  the table's integer sums, or null
    RowFilter(const PixelArea& source, const PixelArea& target, const ContribTable& table,
              const QuadTable* quads, const RowSteps& steps)
        : m_Source(source), m_Target(target),
          m_nChannels(fnFilterChannels(source.fnGetBytesPerPixel())), m_Table(table),
          m_pQuads(quads) {
        constexpr std::size_t kColumns = RowSteps::kMaxColumns;
        const std::size_t pixels = steps.fnGetMaxPixels();
        const std::size_t pixelBytes = std::size_t{m_nChannels} * kFilterLanes;
        m_pLanes.reset(fnNewArray<unsigned char>(pixels * pixelBytes));
        if (!quads && !table.fnIsFixedPoint()) {
            m_pSamples.reset(fnNewArray<float>(pixels * pixelBytes));
            m_pRuns.reset(fnNewArray<unsigned char>(pixels * pixelBytes));
        }
        m_pSums.reset(fnNewArray<unsigned char>(kColumns * pixelBytes));
        m_pSpare.reset(fnNewArray<unsigned char>(kColumns * m_nChannels));
        if (source.fnGetBytesPerPixel() == 2)
            m_pUnpacked.reset(fnNewArray<unsigned char>(std::max(pixels, kColumns) * pixelBytes));
    }

    /// Filters a step of at most kFilterLanes rows of the same tiles.
    void fnFilter(const RowSteps::Step& step, std::uint32_t y, std::uint32_t rows) {
        if (step.fnGetPixels() > kWideSum)
            fnSumWide(m_Table[step.m_nX], y, rows);
        else
            fnSum(step, y, rows);
        fnStore(step.m_nX, step.m_nEnd, y, rows);
    }

private:
    void fnSum(const RowSteps::Step& step, std::uint32_t y, std::uint32_t rows) const {
        fnFetch(step, y, rows);
        const Kernels& kernels = fnKernels();
        if (m_pQuads) {
            kernels.fnConvolveQuads(m_pLanes.get(), static_cast<std::int32_t>(step.m_nFirst),
                                    &(*m_pQuads)[step.m_nX], step.m_nEnd - step.m_nX, m_pSums.get(),
                                    m_nChannels);
            return;
        }
        if (m_pSamples)
            kernels.fnReadLanes(m_pLanes.get(), m_pSamples.get(), m_pRuns.get(), step.fnGetPixels(),
                                m_nChannels);
        const auto first = static_cast<std::int32_t>(step.m_nFirst);
        const FloatLanes lanes = {m_pSamples.get(), m_pLanes.get(), m_pRuns.get(), first};
        unsigned char* sums = m_pSums.get();
        for (std::uint32_t x = step.m_nX; x < step.m_nEnd; ++x, sums += m_nChannels * kFilterLanes)
            if (m_pSamples)
                kernels.fnConvolveLanes(lanes, m_Table[x], sums, m_nChannels);
            else
                kernels.fnConvolveLanesFixed(m_pLanes.get(), first, m_Table[x], sums, m_nChannels);
    }

    /// Computes the single column of a step, row by row.
    void fnSumWide(const ContribList& list, std::uint32_t y, std::uint32_t rows) const {
        for (std::uint32_t r = 0; r < rows; ++r) {
            double sums[4] = {};
            for (std::int32_t k = 0; k < list.m_nCount; ++k) {
                const ContribEntry& entry = list.m_pEntries[k];
                const std::uint8_t* from =
                    m_Source.fnAt(static_cast<std::uint32_t>(entry.m_nPixel), y + r);
                unsigned char unpacked[3];
                if (m_pUnpacked) {
                    fnUnpackChannels16(from, unpacked, 1);
                    from = unpacked;
                }
                for (std::uint32_t c = 0; c < m_nChannels; ++c)
                    sums[c] += from[c] * entry.m_dWeight;
            }
            for (std::uint32_t c = 0; c < m_nChannels; ++c)
                m_pSums[c * kFilterLanes + r] = fnStoredByte(sums[c]);
        }
    }

    void fnFetch(const RowSteps::Step& step, std::uint32_t y, std::uint32_t rows) const {
        const std::uint8_t* from[kFilterLanes];
        std::uint32_t end;
        for (std::uint32_t x = step.m_nFirst; x <= step.m_nLast; x = end) {
            end = std::min(m_Source.fnRunEnd(x), step.m_nLast + 1);
            const std::size_t bytes = std::size_t{end - x} * m_nChannels;
            for (std::uint32_t r = 0; r < kFilterLanes; ++r) {
                // Lanes without a row repeat the last one.
                const std::uint8_t* row = m_Source.fnAt(x, y + std::min(r, rows - 1));
                if (m_pUnpacked) {
                    unsigned char* unpacked = m_pUnpacked.get() + r * bytes;
                    fnUnpackChannels16(row, unpacked, end - x);
                    row = unpacked;
                }
                from[r] = row;
            }
            unsigned char* to =
                m_pLanes.get() + std::size_t{x - step.m_nFirst} * m_nChannels * kFilterLanes;
            if (m_pQuads)
                fnKernels().fnRowsToQuads(from, to, end - x, m_nChannels);
            else
                fnKernels().fnRowsToLanes(from, to, bytes);
        }
    }

    void fnStore(std::uint32_t x, std::uint32_t end, std::uint32_t y, std::uint32_t rows) const {
        const unsigned char* sums = m_pSums.get();
        std::uint8_t* to[kFilterLanes];
        while (x < end) {
            const std::uint32_t count = std::min(m_Target.fnRunEnd(x), end) - x;
            const std::size_t bytes = std::size_t{count} * m_nChannels;
            for (std::uint32_t r = 0; r < kFilterLanes; ++r)
                to[r] = r >= rows     ? m_pSpare.get()
                        : m_pUnpacked ? m_pUnpacked.get() + r * bytes
                                      : m_Target.fnAt(x, y + r);
            fnKernels().fnLanesToRows(sums, to, bytes);
            if (m_pUnpacked)
                for (std::uint32_t r = 0; r < rows; ++r)
                    fnPackChannels16(to[r], m_Target.fnAt(x, y + r), count);
            sums += bytes * kFilterLanes;
            x += count;
        }
    }

    const PixelArea& m_Source;
    const PixelArea& m_Target;
    std::uint32_t m_nChannels;
    const ContribTable& m_Table;
    const QuadTable* m_pQuads; ///< null for other sums
    /// Source pixels of a step, in lanes or in quads; unused for wide sums.
    std::unique_ptr<unsigned char[]> m_pLanes;
    std::unique_ptr<float[]> m_pSamples;       ///< the same as floats; null for integer sums
    std::unique_ptr<unsigned char[]> m_pRuns;  ///< of the same; null for integer sums
    std::unique_ptr<unsigned char[]> m_pSums;  ///< target pixels of a step
    std::unique_ptr<unsigned char[]> m_pSpare; ///< dummy target of lanes without a row
    std::unique_ptr<unsigned char[]> m_pUnpacked;
};

// Samples of a step's row. As floats they take more of the cache.
constexpr std::uint32_t kStepSamples = 192;
constexpr std::uint32_t kQuadSamples = 512;

/// Roughly what the filter takes for a row, in nanoseconds.
double fnRowTime(const PixelArea& target, const ContribTable& table) {
    constexpr double kSampleTime = 0.3;
    constexpr double kEntryTime = 0.02;
    return (kSampleTime + kEntryTime * table.fnGetCapacity()) * target.fnGetWidth() *
           fnFilterChannels(target.fnGetBytesPerPixel());
}

} // namespace

bool fnFilterWidth(const PixelArea& source, const PixelArea& target, double scale,
                   const ProgressRun& progress) {
    const ContribTable table(scale, target.fnGetWidth(), source.fnGetWidth());
    const std::uint32_t channels = fnFilterChannels(source.fnGetBytesPerPixel());
    {
        const std::unique_ptr<QuadTable> quads = fnMakeQuads(table, target.fnGetWidth(), 1);
        if (const auto lines = fnMakeLines(quads.get(), target.fnGetWidth(), channels))
            return fnFilterWidthInLines(source, target, *quads, *lines, progress);
    }
    const std::unique_ptr<QuadTable> quads = fnMakeQuads(table, target.fnGetWidth(), 4);
    const RowSteps steps(table, target.fnGetWidth(), channels, quads ? kQuadSamples : kStepSamples,
                         quads != nullptr);
    return fnFilterRows<RowFilter>(source, target, {steps.begin(), steps.end()},
                                   fnRowTime(target, table), progress, table, quads.get(), steps);
}

} // namespace q32
