#pragma once

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

private:
    CqProgressDisplay* m_pProgress;
    std::uint32_t m_nCount;
    unsigned m_nBase;
    unsigned m_nSpan;
};

} // namespace q32
