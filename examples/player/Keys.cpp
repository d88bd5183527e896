#include "examples/player/Keys.h"

#include <poll.h>
#include <unistd.h>

namespace {

constexpr unsigned char kEscape = 27;

} // namespace

int Keys::fnWait(int descriptor, int ms) {
    if (TerminalMode::fnIsSignalled())
        return kQuit;
    // Without keys the sound plays to its end.
    pollfd sources[] = {{m_bEnded ? -1 : STDIN_FILENO, POLLIN, 0}, {descriptor, POLLIN, 0}};
    if (poll(sources, 2, ms) <= 0 || sources[0].revents == 0)
        return TerminalMode::fnIsSignalled() ? kQuit : 0;
    unsigned char bytes[8];
    const ssize_t count = read(STDIN_FILENO, bytes, m_Mode.fnIsChanged() ? sizeof bytes : 1);
    m_bEnded = count <= 0;
    if (m_bEnded)
        return 0;
    // An arrow is a sequence, which arrives in one piece.
    if (count >= 3 && bytes[0] == kEscape && bytes[1] == '[')
        return bytes[2];
    return bytes[0] == kEscape ? kQuit : bytes[0];
}
