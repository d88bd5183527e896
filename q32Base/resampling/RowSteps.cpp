#include "q32Base/framework/Memory.h"
#include "q32Base/resampling/RowSteps_p.h"

#include <algorithm>
#include <cassert>

namespace q32 {

RowSteps::RowSteps(const ContribTable& table, std::uint32_t width, std::uint32_t channels,
                   std::uint32_t samples, bool inQuads)
    : m_Table(table), m_nWidth(width), m_nChannels(channels), m_nMostSamples(samples),
      m_bInQuads(inQuads) {
    for (std::uint32_t x = 0; x < width; x = fnNextStep(x).m_nEnd)
        ++m_nSteps;
    m_pSteps.reset(fnNewArray<Step>(m_nSteps));
    std::uint32_t x = 0;
    for (Step* next = m_pSteps.get(); x < width; x = next++->m_nEnd) {
        assert(next < m_pSteps.get() + m_nSteps);
        *next = fnNextStep(x);
        if (next->fnGetPixels() <= kWideSum)
            m_nMostPixels = std::max<std::size_t>(m_nMostPixels, next->fnGetPixels());
    }
    m_nMostPixels = (m_nMostPixels + 3) / 4 * 4;
}

void RowSteps::fnWiden(Step& step, const ContribList& list) const {
    const auto ends = std::minmax_element(
        list.m_pEntries, list.m_pEntries + list.m_nCount,
        [](const ContribEntry& a, const ContribEntry& b) { return a.m_nPixel < b.m_nPixel; });
    step.m_nFirst = std::min(step.m_nFirst, static_cast<std::uint32_t>(ends.first->m_nPixel));
    step.m_nLast = std::max(step.m_nLast, static_cast<std::uint32_t>(ends.second->m_nPixel));
    if (m_bInQuads)
        step.m_nFirst -= step.m_nFirst % 4;
}

RowSteps::Step RowSteps::fnNextStep(std::uint32_t x) const {
    Step step = {x, x, 0xFFFFFFFFu, 0};
    do {
        Step wider = step;
        fnWiden(wider, m_Table[step.m_nEnd]);
        if (step.m_nEnd != x && (wider.m_nLast - wider.m_nFirst) * m_nChannels >= m_nMostSamples)
            break;
        wider.m_nEnd = step.m_nEnd + 1;
        step = wider;
    } while (step.m_nEnd < m_nWidth && step.m_nEnd - x < kMaxColumns);
    return step;
}

} // namespace q32
