#pragma once

#include "examples/terminal/TerminalMode.h"

#include <string>

/// The keys of the terminal, or of what stands in its place.
class Keys {
public:
    /// Keys that aren't characters.
    enum : int { kUp = 256, kDown, kRight, kLeft, kOther };
    static constexpr int kQuit = 'q';

    /// Waits for a key or until `descriptor` can be read from, `ms` milliseconds at most. Gives the
    /// key: a character, or one of those above; 0 for none; kQuit for Esc, and when a signal wants
    /// the end. Keys that came together are given one after the other.
    int fnWait(int descriptor, int ms);

    /// Whether the input has come to its end, so that no key will come any more.
    bool fnHasEnded() const { return m_bEnded && m_szRead.empty(); }

private:
    bool fnRead(int descriptor, int ms);
    int fnTake();
    int fnTakeSequence();

    TerminalMode m_Mode;
    std::string m_szRead; ///< and not yet given
    bool m_bEnded = false;
};
