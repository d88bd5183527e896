#include "examples/player/Keys.h"

#include <csignal>
#include <initializer_list>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr unsigned char kEscape = 27;

// What a signal handler may touch.
termios g_Former;
volatile std::sig_atomic_t g_bChanged = 0;
volatile std::sig_atomic_t g_bSignalled = 0;

void fnRestore() {
    if (g_bChanged) {
        g_bChanged = 0;
        tcsetattr(STDIN_FILENO, TCSANOW, &g_Former);
    }
}

/// The first signal ends the work in order; a second one ends the program at once. The terminal is
/// whole in either case.
void fnOnSignal(int) {
    fnRestore();
    g_bSignalled = 1;
}

} // namespace

Keys::Keys() {
    struct sigaction action {};
    action.sa_handler = fnOnSignal;
    action.sa_flags = SA_RESETHAND;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
    // A program in the background must not touch the terminal: it would be stopped.
    if (!isatty(STDIN_FILENO) || tcgetpgrp(STDIN_FILENO) != getpgrp() ||
        tcgetattr(STDIN_FILENO, &g_Former) != 0)
        return;
    termios keys = g_Former;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    keys.c_cc[VMIN] = 0;
    keys.c_cc[VTIME] = 0;
    g_bChanged = tcsetattr(STDIN_FILENO, TCSANOW, &keys) == 0;
}

Keys::~Keys() {
    fnRestore();
}

int Keys::fnWait(int descriptor, int ms) {
    if (g_bSignalled)
        return kQuit;
    // Without keys the sound plays to its end.
    pollfd sources[] = {{m_bEnded ? -1 : STDIN_FILENO, POLLIN, 0}, {descriptor, POLLIN, 0}};
    if (poll(sources, 2, ms) <= 0 || sources[0].revents == 0)
        return g_bSignalled ? kQuit : 0;
    unsigned char bytes[8];
    const ssize_t count = read(STDIN_FILENO, bytes, g_bChanged ? sizeof bytes : 1);
    m_bEnded = count <= 0;
    if (m_bEnded)
        return 0;
    // An arrow is a sequence, which arrives in one piece.
    if (count >= 3 && bytes[0] == kEscape && bytes[1] == '[')
        return bytes[2];
    return bytes[0] == kEscape ? kQuit : bytes[0];
}
