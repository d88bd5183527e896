#pragma once

#include "q32Base/framework/Parallel_p.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <cassert>
#include <cstdint>

namespace q32 {

/// Reports the progress of an operation over `count` units, from `base` percent to `base + span`.
class ProgressRun {
public:
    ProgressRun(CqProgressDisplay* progress, std::uint32_t count, unsigned base = 0,
                unsigned span = 100)
        : m_pProgress(progress), m_nCount(count), m_nBase(base), m_nSpan(span) {}

    /// Reports a unit. True if the user has aborted the operation.
    bool fnAborts(std::uint32_t unit) const {
        bool aborted = false;
        assert(unit < m_nCount);
        if (m_pProgress)
            m_pProgress->fnDrawStatus(
                m_nBase + static_cast<unsigned>(std::uint64_t{unit} * m_nSpan / m_nCount),
                &aborted);
        return aborted;
    }
    /// Reports units from `first` to before `end`, up to the first one that aborts.
    bool fnAborts(std::uint32_t first, std::uint32_t end) const {
        if (!m_pProgress)
            return false;
        for (; first < end; ++first)
            if (fnAborts(first))
                return true;
        return false;
    }

    /// Does the units of `parallel` by `work(worker, first, end)`, and reports each, as the first
    /// of `step` units of this object. False if the user has aborted: up to a batch of units after
    /// the one reported last are then done as well.
    template <class Work>
    bool fnRun(const Parallel& parallel, Work&& work, std::uint32_t step = 1) const {
        return fnRunWith(parallel, work, [&](std::uint32_t unit) { return fnAborts(unit * step); });
    }
    /// The same, but `isAborted(unit)` reports a unit, if anything is to be reported.
    template <class Work, class IsAborted>
    bool fnRunWith(const Parallel& parallel, Work&& work, IsAborted&& isAborted) const {
        if (m_pProgress)
            return parallel.fnRunReported(work, isAborted, [](std::uint32_t, std::uint32_t) {});
        parallel.fnRun(work);
        return true;
    }

private:
    CqProgressDisplay* m_pProgress;
    std::uint32_t m_nCount;
    unsigned m_nBase;
    unsigned m_nSpan;
};

} // namespace q32
