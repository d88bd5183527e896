#include "q32Base/framework/Memory.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/resampling/FilterChannels_p.h"
#include "q32Base/resampling/FilterRows_p.h"
#include "q32Base/resampling/LineTable_p.h"
#include "q32Base/resampling/QuadTable_p.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

namespace q32 {
namespace {

/// The steps of a row: so many tiles of the target that what the table holds for them stays in the
/// cache.
class LineSteps {
public:
    LineSteps(const QuadTable& quads, const LineSums& sums, std::uint32_t width)
        : m_nColumns(fnFindColumns(sums)), m_nSteps((width - 1) / m_nColumns + 1),
          m_pSteps(fnNewArray<RowSteps::Step>(m_nSteps)) {
        for (std::size_t i = 0; i < m_nSteps; ++i) {
            RowSteps::Step& step = m_pSteps[i];
            step.m_nX = static_cast<std::uint32_t>(i) * m_nColumns;
            step.m_nEnd = std::min(width, step.m_nX + m_nColumns);
            step.m_nFirst = 0xFFFFFFFF;
            step.m_nLast = 0;
            for (std::uint32_t x = step.m_nX; x < step.m_nEnd; ++x) {
                step.m_nFirst =
                    std::min(step.m_nFirst, static_cast<std::uint32_t>(quads[x].m_nLeast));
                step.m_nLast = std::max(step.m_nLast, static_cast<std::uint32_t>(quads[x].m_nMost));
            }
            m_nMostPixels = std::max<std::size_t>(m_nMostPixels, step.fnGetPixels());
        }
    }

    std::span<const RowSteps::Step> fnGetAll() const { return {m_pSteps.get(), m_nSteps}; }
    std::size_t fnGetMaxPixels() const { return m_nMostPixels; }

private:
    static constexpr std::size_t kTableBytes = 24 * 1024;

    static std::uint32_t fnFindColumns(const LineSums& sums) {
        constexpr std::uint32_t kTile = CqTileMap::kMaxTileSize;
        const std::size_t tile = kTile * sums.m_nChannels / kLineGroup *
                                 (sizeof(LineGroup) + sums.m_nQuads * sizeof(LineWeights));
        return kTile *
               static_cast<std::uint32_t>(std::clamp<std::size_t>(kTableBytes / tile, 1, 4));
    }

    std::uint32_t m_nColumns;
    std::size_t m_nSteps;
    std::size_t m_nMostPixels = 0;
    std::unique_ptr<RowSteps::Step[]> m_pSteps;
};

/// Convolves rows from copies of the source's, where the pixels of a row are adjacent.
class LineFilter {
public:
    LineFilter(const PixelArea& source, const PixelArea& target, const LineTable& lines,
               const LineSteps& steps)
        : m_Source(source), m_Target(target), m_Sums(lines.fnGetSums()),
          m_nStride((steps.fnGetMaxPixels() * m_Sums.m_nChannels + lines.fnGetReach() + kLine - 1) /
                    kLine * kLine),
          m_pRows(fnNewArray<unsigned char>(kRows * m_nStride)) {
        std::fill_n(m_pRows.get(), kRows * m_nStride, static_cast<unsigned char>(0));
        if (source.fnGetBytesPerPixel() == 2)
            m_pResults.reset(fnNewArray<unsigned char>(kRows * std::size_t{kMaxRun} * 3));
    }

    void fnFilter(const RowSteps::Step& step, std::uint32_t y, std::uint32_t rows) const {
        for (std::uint32_t done = 0; done < rows; done += kRows) {
            const std::uint32_t count = std::min(rows - done, kRows);
            fnFetch(step, y + done, count);
            fnSum(step, y + done, count);
        }
    }

private:
    static constexpr std::size_t kLine = 64;
    /// So many copies lie between writing bytes and reading others that contain them.
    static constexpr std::uint32_t kRows = 8;
    static constexpr std::uint32_t kMaxRun = 512;

    void fnFetch(const RowSteps::Step& step, std::uint32_t y, std::uint32_t rows) const {
        std::uint32_t end;
        for (std::uint32_t x = step.m_nFirst; x <= step.m_nLast; x = end) {
            end = std::min(m_Source.fnRunEnd(x), step.m_nLast + 1);
            unsigned char* to = m_pRows.get() + std::size_t{x - step.m_nFirst} * m_Sums.m_nChannels;
            const unsigned char* from = m_Source.fnAt(x, y);
            for (std::uint32_t r = 0; r < rows;
                 ++r, to += m_nStride, from += m_Source.fnGetStride(x)) {
                if (m_pResults)
                    fnUnpackChannels16(from, to, end - x);
                else
                    std::memcpy(to, from, std::size_t{end - x} * m_Sums.m_nChannels);
            }
        }
    }

    void fnSum(const RowSteps::Step& step, std::uint32_t y, std::uint32_t rows) const {
        const std::size_t origin = std::size_t{step.m_nFirst} * m_Sums.m_nChannels;
        std::uint32_t end;
        for (std::uint32_t x = step.m_nX; x < step.m_nEnd; x = end) {
            end = std::min({m_Target.fnRunEnd(x), step.m_nEnd, x + kMaxRun});
            unsigned char* target = m_Target.fnAt(x, y);
            const auto stride = static_cast<std::size_t>(m_Target.fnGetStride(x));
            const bool packs = m_pResults != nullptr;
            const LineRows lines{m_pRows.get(),
                                 origin,
                                 m_nStride,
                                 packs ? m_pResults.get() : target,
                                 packs ? std::size_t{kMaxRun} * 3 : stride,
                                 rows};
            fnKernels().fnConvolveLines(lines, m_Sums, std::size_t{x} * m_Sums.m_nChannels,
                                        std::size_t{end - x} * m_Sums.m_nChannels);
            for (std::uint32_t r = 0; packs && r < rows; ++r)
                fnPackChannels16(lines.m_pTarget + r * lines.m_nTargetStride, target + r * stride,
                                 end - x);
        }
    }

    const PixelArea& m_Source;
    const PixelArea& m_Target;
    const LineSums& m_Sums;
    std::size_t m_nStride; ///< of the copies
    std::unique_ptr<unsigned char[]> m_pRows;
    std::unique_ptr<unsigned char[]> m_pResults; ///< null except at 16 bits
};

} // namespace

bool fnFilterWidthInLines(const PixelArea& source, const PixelArea& target, const QuadTable& quads,
                          const LineTable& lines, const ProgressRun& progress) {
    constexpr double kSampleTime = 0.1;
    constexpr double kQuadTime = 0.05;
    const LineSums& sums = lines.fnGetSums();
    const LineSteps steps(quads, sums, target.fnGetWidth());
    const double samples = static_cast<double>(target.fnGetWidth()) * sums.m_nChannels;
    return fnFilterRows<LineFilter>(source, target, steps.fnGetAll(),
                                    (kSampleTime + kQuadTime * sums.m_nQuads) * samples, progress,
                                    lines, steps);
}

} // namespace q32
