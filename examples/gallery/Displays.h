/// @file
/// Progress objects for the library's long operations.
#pragma once

#include "examples/gallery/Terminal.h"
#include "q32Base/services/CqProgressDisplay.h"

/// Shows an operation's percentages on the terminal line.
class LineDisplay : public CqProgressDisplay {
public:
    explicit LineDisplay(ProgressLine& line) : CqProgressDisplay(false), m_Line(line) {}

    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        m_Line.fnOnProgress(percent, m_bAborted);
        if (aborted)
            *aborted = m_bAborted;
    }
    /// To be called after an operation: throws Aborted if it was aborted.
    void fnEnd() const {
        if (fnWasAborted())
            throw Aborted();
    }

private:
    ProgressLine& m_Line;
};

/// Aborts an operation, as Esc does, when it reports at least a given percentage.
class StopDisplay : public CqProgressDisplay {
public:
    explicit StopDisplay(unsigned int percent) : CqProgressDisplay(false), m_nStop(percent) {}

    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        m_bAborted = percent >= m_nStop;
        if (aborted)
            *aborted = m_bAborted;
    }

private:
    unsigned int m_nStop;
};
