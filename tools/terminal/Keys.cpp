#include "tools/terminal/Keys.h"

#include <poll.h>
#include <unistd.h>

namespace {

constexpr char kEscape = 27;

/// How long the rest of a sequence may take; after that, Esc was a key by itself.
constexpr int kSequenceMs = 50;

bool fnIsFinal(char byte) {
    return byte >= '@' && byte <= '~';
}

} // namespace

int Keys::fnWait(int descriptor, int ms) {
    if (TerminalMode::fnIsSignalled())
        return kQuit;
    if (!m_szRead.empty() || fnRead(descriptor, ms))
        return fnTake();
    return TerminalMode::fnIsSignalled() ? kQuit : 0;
}

/// Reads what has been typed. False when that is nothing.
bool Keys::fnRead(int descriptor, int ms) {
    // Without keys the sound plays to its end.
    pollfd sources[] = {{m_bEnded ? -1 : STDIN_FILENO, POLLIN, 0}, {descriptor, POLLIN, 0}};
    if (poll(sources, 2, ms) <= 0 || sources[0].revents == 0)
        return false;
    char bytes[256];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    m_bEnded = count <= 0;
    if (!m_bEnded)
        m_szRead.append(bytes, static_cast<std::size_t>(count));
    return !m_bEnded;
}

int Keys::fnTake() {
    const char byte = m_szRead.front();
    m_szRead.erase(0, 1);
    if (byte != kEscape)
        return static_cast<unsigned char>(byte);
    if (m_szRead.empty())
        fnRead(-1, kSequenceMs);
    return m_szRead.starts_with('[') || m_szRead.starts_with('O') ? fnTakeSequence() : kQuit;
}

/// A key that is a sequence: Esc, already read, '[' or 'O', optional numbers, and a letter that
/// identifies it.
int Keys::fnTakeSequence() {
    std::size_t end = 1;
    while (end < m_szRead.size() || fnRead(-1, kSequenceMs)) {
        const char byte = m_szRead[end++];
        if (!fnIsFinal(byte))
            continue;
        m_szRead.erase(0, end);
        return byte >= 'A' && byte <= 'D' ? kUp + (byte - 'A') : kOther;
    }
    m_szRead.clear();
    return kOther;
}
