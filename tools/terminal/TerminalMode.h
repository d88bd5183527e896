#pragma once

/// Sets the program's terminal to deliver keys one by one without echo, for the lifetime of the
/// object; one object at a time. The former state is restored at the end, and when a signal ends
/// the program. Without a terminal, or in the background, nothing is changed.
class TerminalMode {
public:
    TerminalMode();
    ~TerminalMode();
    TerminalMode(const TerminalMode&) = delete;
    TerminalMode& operator=(const TerminalMode&) = delete;

    /// Whether keys come one by one; false after a signal.
    bool fnIsChanged() const;
    /// Whether a signal requests the end.
    static bool fnIsSignalled() { return fnGetSignal() != 0; }
    /// The number of that signal; 0 for none.
    static int fnGetSignal();
    /// Whether the terminal is set and the program still in the foreground: elsewhere, reading a
    /// key would stop it.
    bool fnMayRead() const;
};
