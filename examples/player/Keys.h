#pragma once

/// The keys of the terminal, one by one and without showing them, for the life of the object. The
/// terminal goes back to its former state at the end, and when a signal ends the program.
class Keys {
public:
    Keys();
    ~Keys();
    Keys(const Keys&) = delete;
    Keys& operator=(const Keys&) = delete;

    /// Waits for a key or until `descriptor` can be read from, `ms` milliseconds at most. Gives the
    /// key; 0 for none; kQuit when a signal wants the end. Of the arrows it gives
    /// 'A' (up), 'B' (down), 'C' (right) and 'D' (left).
    int fnWait(int descriptor, int ms);

    /// Whether the input has come to its end, so that no key will come any more.
    bool fnHasEnded() const { return m_bEnded; }

    static constexpr int kQuit = 'q';

private:
    bool m_bEnded = false;
};
