#pragma once

/// The terminal that the program runs in, set to hand keys over one by one without showing them,
/// for the life of the object; one at a time. It goes back to its former state at the end, and when
/// a signal ends the program. Without a terminal, or in the background, nothing is changed.
class TerminalMode {
public:
    TerminalMode();
    ~TerminalMode();
    TerminalMode(const TerminalMode&) = delete;
    TerminalMode& operator=(const TerminalMode&) = delete;

    /// Whether keys come one by one; no longer after a signal.
    bool fnIsChanged() const;
    /// Whether a signal wants the end.
    static bool fnIsSignalled();
};
