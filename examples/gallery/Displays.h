/// @file
/// Progress objects for the library's long operations.
#pragma once

#include "examples/gallery/Terminal.h"
#include "q32Base/services/CqProgressDisplay.h"

/// Shows an operation's percentages on the terminal's line.
class LineDisplay : public CqProgressDisplay {
public:
    explicit LineDisplay(ProgressLine& line) : CqProgressDisplay(false), m_Line(line) {}

    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        m_Line.fnOnProgress(percent, m_bAborted);
        if (aborted)
            *aborted = m_bAborted;
    }
    /// After an operation: throws Aborted if it was stopped.
    void fnEnd() const {
        if (fnWasAborted())
            throw Aborted();
    }

private:
    ProgressLine& m_Line;
};

/// Has an operation stop, as Esc does, when it reports a percentage or more.
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
