#pragma once

#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/resampling/ContribTable_p.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace q32 {

/// The steps in which the filter of rows goes through a row: so many target columns at a time that
/// the source pixels they need stay in the cache.
class RowSteps {
public:
    static constexpr std::uint32_t kMaxColumns = 256; ///< of a step

    /// Target columns up to before `m_nEnd`, and the source pixels that they need.
    struct Step {
        std::uint32_t m_nX;
        std::uint32_t m_nEnd;
        std::uint32_t m_nFirst;
        std::uint32_t m_nLast;
        std::uint32_t fnGetPixels() const { return m_nLast - m_nFirst + 1; }
    };

    /// Raises the memory exception. The table must outlive it.
    /// @param width    the target's
    /// @param samples  source samples of a step, unless one column needs more
    /// @param inQuads  whether steps begin with a multiple of 4
    RowSteps(const ContribTable& table, std::uint32_t width, std::uint32_t channels,
             std::uint32_t samples, bool inQuads);

    const Step* begin() const { return m_pSteps.get(); }
    const Step* end() const { return m_pSteps.get() + m_nSteps; }
    /// The most source pixels of a step, wide sums apart: a multiple of 4.
    std::size_t fnGetMaxPixels() const { return m_nMostPixels; }

private:
    void fnWiden(Step& step, const ContribList& list) const;
    Step fnNextStep(std::uint32_t x) const;

    const ContribTable& m_Table;
    std::uint32_t m_nWidth;
    std::uint32_t m_nChannels;
    std::uint32_t m_nMostSamples;
    bool m_bInQuads;
    std::size_t m_nSteps = 0;
    std::size_t m_nMostPixels = 0;
    std::unique_ptr<Step[]> m_pSteps;
};

} // namespace q32
