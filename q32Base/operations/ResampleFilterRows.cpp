#include "q32Base/framework/Memory.h"
#include "q32Base/kernels/ContribList_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/kernels/QuadList_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/operations/ContribTable_p.h"
#include "q32Base/operations/FilterChannels_p.h"
#include "q32Base/operations/PageWalk_p.h"
#include "q32Base/operations/ProgressRun_p.h"
#include "q32Base/operations/QuadTable_p.h"
#include "q32Base/operations/Resample_p.h"

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
              const QuadTable* quads)
        : m_Source(source), m_Target(target),
          m_nChannels(fnFilterChannels(source.fnGetBytesPerPixel())), m_Table(table),
          m_pQuads(quads), m_SourceWalk(source, VIEW_READ_NEXT, {false}),
          m_TargetWalk(target, VIEW_WRITE_NEXT, {false}) {
        const std::size_t pixels = fnPlanSteps();
        const std::size_t pixelBytes = std::size_t{m_nChannels} * kFilterLanes;
        m_pLanes.reset(fnNewArray<unsigned char>(pixels * pixelBytes));
        if (!quads && !table.fnIsFixedPoint()) {
            m_pSamples.reset(fnNewArray<float>(pixels * pixelBytes));
            m_pRuns.reset(fnNewArray<unsigned char>(pixels * pixelBytes));
        }
        m_pSums.reset(fnNewArray<unsigned char>(kMaxColumns * pixelBytes));
        m_pSpare.reset(fnNewArray<unsigned char>(kMaxColumns * std::size_t{m_nChannels}));
        if (source.fnGetBytesPerPixel() == 2)
            m_pUnpacked.reset(
                fnNewArray<unsigned char>(std::max<std::size_t>(pixels, kMaxColumns) * pixelBytes));
    }

    /// Filters rows of the same tiles: each step processes all of them before the next one.
    void fnFilter(std::uint32_t y, std::uint32_t rows) {
        std::uint32_t x = 0;
        for (const Step* next = m_pSteps.get(); x < m_Target.fnGetWidth(); x = next++->m_nEnd) {
            m_SourceWalk.fnReach(next->m_nFirst, y, next->m_nLast, y + rows - 1);
            m_TargetWalk.fnReach(x, y, next->m_nEnd - 1, y + rows - 1);
            for (std::uint32_t done = 0; done < rows; done += kFilterLanes)
                fnFilterStep(*next, x, y + done,
                             std::min<std::uint32_t>(kFilterLanes, rows - done));
        }
    }

private:
    static constexpr std::uint32_t kMaxColumns = 256; ///< of a step
    // Samples of a row, unless one column needs more. As floats they take more of the cache.
    static constexpr std::uint32_t kMaxSamples = 192;
    static constexpr std::uint32_t kMaxQuadSamples = 512;

    /// Target columns up to `end`, and the source pixels that they need.
    struct Step {
        std::uint32_t m_nEnd;
        std::uint32_t m_nFirst;
        std::uint32_t m_nLast;
        std::uint32_t fnGetPixels() const { return m_nLast - m_nFirst + 1; }
    };

    void fnWiden(Step& step, const ContribList& list) const {
        const auto ends = std::minmax_element(
            list.m_pEntries, list.m_pEntries + list.m_nCount,
            [](const ContribEntry& a, const ContribEntry& b) { return a.m_nPixel < b.m_nPixel; });
        step.m_nFirst = std::min(step.m_nFirst, static_cast<std::uint32_t>(ends.first->m_nPixel));
        step.m_nLast = std::max(step.m_nLast, static_cast<std::uint32_t>(ends.second->m_nPixel));
    }

    Step fnNextStep(std::uint32_t x) const {
        Step step = {x, 0xFFFFFFFFu, 0};
        const std::uint32_t samples = m_pQuads ? kMaxQuadSamples : kMaxSamples;
        do {
            Step wider = step;
            fnWiden(wider, m_Table[step.m_nEnd]);
            if (m_pQuads)
                wider.m_nFirst -= wider.m_nFirst % 4;
            if (step.m_nEnd != x && (wider.m_nLast - wider.m_nFirst) * m_nChannels >= samples)
                break;
            wider.m_nEnd = step.m_nEnd + 1;
            step = wider;
        } while (step.m_nEnd < m_Target.fnGetWidth() && step.m_nEnd - x < kMaxColumns);
        return step;
    }

    /// Plans the steps, and returns the most pixels that one needs in lanes, in complete quads.
    std::size_t fnPlanSteps() {
        std::size_t count = 0;
        for (std::uint32_t x = 0; x < m_Target.fnGetWidth(); x = fnNextStep(x).m_nEnd)
            ++count;
        m_pSteps.reset(fnNewArray<Step>(count));
        std::size_t widest = 0;
        std::uint32_t x = 0;
        for (Step* next = m_pSteps.get(); x < m_Target.fnGetWidth(); x = next++->m_nEnd) {
            *next = fnNextStep(x);
            if (next->fnGetPixels() <= kWideSum)
                widest = std::max<std::size_t>(widest, next->fnGetPixels());
        }
        return (widest + 3) / 4 * 4;
    }

    void fnFilterStep(const Step& step, std::uint32_t x, std::uint32_t y,
                      std::uint32_t rows) const {
        if (step.fnGetPixels() > kWideSum)
            fnSumWide(m_Table[x], y, rows);
        else
            fnSum(step, x, y, rows);
        fnStore(x, step.m_nEnd, y, rows);
    }

    void fnSum(const Step& step, std::uint32_t x, std::uint32_t y, std::uint32_t rows) const {
        fnFetch(step, y, rows);
        const Kernels& kernels = fnKernels();
        if (m_pQuads) {
            kernels.fnConvolveQuads(m_pLanes.get(), static_cast<std::int32_t>(step.m_nFirst),
                                    &(*m_pQuads)[x], step.m_nEnd - x, m_pSums.get(), m_nChannels);
            return;
        }
        if (m_pSamples)
            kernels.fnReadLanes(m_pLanes.get(), m_pSamples.get(), m_pRuns.get(), step.fnGetPixels(),
                                m_nChannels);
        const auto first = static_cast<std::int32_t>(step.m_nFirst);
        const FloatLanes lanes = {m_pSamples.get(), m_pLanes.get(), m_pRuns.get(), first};
        unsigned char* sums = m_pSums.get();
        for (; x < step.m_nEnd; ++x, sums += m_nChannels * kFilterLanes)
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
                    fnUnpack16(from, unpacked, 1);
                    from = unpacked;
                }
                for (std::uint32_t c = 0; c < m_nChannels; ++c)
                    sums[c] += from[c] * entry.m_dWeight;
            }
            for (std::uint32_t c = 0; c < m_nChannels; ++c)
                m_pSums[c * kFilterLanes + r] = fnStoredByte(sums[c]);
        }
    }

    void fnFetch(const Step& step, std::uint32_t y, std::uint32_t rows) const {
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
                    fnUnpack16(row, unpacked, end - x);
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
                    fnPack16(to[r], m_Target.fnAt(x, y + r), count);
            sums += bytes * kFilterLanes;
            x += count;
        }
    }

    const PixelArea& m_Source;
    const PixelArea& m_Target;
    std::uint32_t m_nChannels;
    const ContribTable& m_Table;
    const QuadTable* m_pQuads; ///< null for other sums
    std::unique_ptr<Step[]> m_pSteps;
    /// Source pixels of a step, in lanes or in quads; unused for wide sums.
    std::unique_ptr<unsigned char[]> m_pLanes;
    std::unique_ptr<float[]> m_pSamples;       ///< the same as floats; null for integer sums
    std::unique_ptr<unsigned char[]> m_pRuns;  ///< of the same; null for integer sums
    std::unique_ptr<unsigned char[]> m_pSums;  ///< target pixels of a step
    std::unique_ptr<unsigned char[]> m_pSpare; ///< dummy target of lanes without a row
    std::unique_ptr<unsigned char[]> m_pUnpacked;
    PageWalk m_SourceWalk;
    PageWalk m_TargetWalk;
};

} // namespace

bool fnFilterWidth(const PixelArea& source, const PixelArea& target, double scale,
                   const ProgressRun& progress) {
    const ContribTable table(scale, target.fnGetWidth(), source.fnGetWidth());
    const std::unique_ptr<QuadTable> quads = fnMakeQuads(table, target.fnGetWidth(), 4);
    RowFilter filter(source, target, table, quads.get());
    std::uint32_t rows;
    for (std::uint32_t y = 0; y < target.fnGetHeight(); y += rows) {
        rows = std::min(CqTileMap::kMaxTileSize, target.fnGetHeight() - y);
        if (target.fnGetBytesPerPixel() != 0)
            filter.fnFilter(y, rows);
        if (progress.fnAborts(y, y + rows))
            return false;
    }
    return true;
}

} // namespace q32
