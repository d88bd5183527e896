#pragma once

#include "tools/terminal/TerminalMode.h"

#include <string>

/// Keys from the terminal, or from whatever replaces it.
class Keys {
public:
    /// Keys that aren't characters.
    enum : int { kUp = 256, kDown, kRight, kLeft, kOther };
    static constexpr int kQuit = 'q';

    /// Waits up to `ms` milliseconds for a key or until `descriptor` is readable. Returns the key:
    /// a character or one of the above; 0 for none; kQuit for Esc and after a signal that requests
    /// the end. Keys that arrive together are returned one by one.
    int fnWait(int descriptor, int ms);

    /// Whether there is a terminal that may be read now. Without one, `fnWait` reads whatever the
    /// standard input is.
    bool fnHasTerminal() const { return m_Mode.fnMayRead(); }

    /// Whether the input has ended, so that no more keys will come.
    bool fnHasEnded() const { return m_bEnded && m_szRead.empty(); }

private:
    bool fnRead(int descriptor, int ms);
    int fnTake();
    int fnTakeSequence();

    TerminalMode m_Mode;
    std::string m_szRead; ///< and not yet returned
    bool m_bEnded = false;
};
