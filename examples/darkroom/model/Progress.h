/// @file Adapters between progress objects.
#pragma once

#include "plugins/PictureFile.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <cstdint>

namespace darkroom {

/// Reports to a progress object, which may be null, how much of a task is done. False when the user
/// aborts it.
inline bool fnGoOn(CqProgressDisplay* progress, std::int64_t done, std::int64_t all) {
    bool aborted = false;
    if (progress)
        progress->fnDrawStatus(static_cast<unsigned int>(done * 100 / all), &aborted);
    return !aborted;
}

/// Forwards the progress of one part of a longer task. Has no output of its own.
class SpanProgress : public CqProgressDisplay {
public:
    /// @param whole  not owned; null: nothing is reported, and nothing aborts
    SpanProgress(CqProgressDisplay* whole, unsigned int low, unsigned int high)
        : CqProgressDisplay(false), m_pWhole(whole), m_nLow(low), m_nHigh(high) {}

    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        if (m_pWhole)
            m_pWhole->fnDrawStatus(
                m_nLow + (percent > 100 ? 100 : percent) * (m_nHigh - m_nLow) / 100, aborted);
        m_bAborted = m_pWhole && m_pWhole->fnWasAborted();
    }
    void fnClearStatus() const override {}
    bool fnIsAborted() const override { return m_pWhole && m_pWhole->fnIsAborted(); }

private:
    CqProgressDisplay* m_pWhole;
    unsigned int m_nLow;
    unsigned int m_nHigh;
};

/// Forwards the progress of picture files to a progress display, which may be null.
class PictureProgress : public CqPictureProgress {
public:
    explicit PictureProgress(CqProgressDisplay* display) : m_pDisplay(display) {}

    void fnOnProgress(unsigned int percent, bool& aborted) override {
        if (m_pDisplay)
            m_pDisplay->fnDrawStatus(percent, &aborted);
    }

private:
    CqProgressDisplay* m_pDisplay;
};

} // namespace darkroom
