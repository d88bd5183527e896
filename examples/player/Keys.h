#pragma once

#include "examples/terminal/TerminalMode.h"

/// The keys of the terminal, or of what stands in its place.
class Keys {
public:
    /// Waits for a key or until `descriptor` can be read from, `ms` milliseconds at most. Gives the
    /// key; 0 for none; kQuit when a signal wants the end. Of the arrows it gives
    /// 'A' (up), 'B' (down), 'C' (right) and 'D' (left).
    int fnWait(int descriptor, int ms);

    /// Whether the input has come to its end, so that no key will come any more.
    bool fnHasEnded() const { return m_bEnded; }

    static constexpr int kQuit = 'q';

private:
    TerminalMode m_Mode;
    bool m_bEnded = false;
};
