#include "tools/terminal/TerminalMode.h"

#include <csignal>
#include <initializer_list>
#include <termios.h>
#include <unistd.h>

namespace {

// State accessible to the signal handler.
termios g_Former;
volatile std::sig_atomic_t g_bChanged = 0;
volatile std::sig_atomic_t g_nSignal = 0;

void fnRestore() {
    if (g_bChanged) {
        g_bChanged = 0;
        tcsetattr(STDIN_FILENO, TCSANOW, &g_Former);
    }
}

/// The first signal ends the program in order; a second one at once. The terminal is restored in
/// either case.
void fnOnSignal(int signal) {
    fnRestore();
    g_nSignal = signal;
}

} // namespace

TerminalMode::TerminalMode() {
    struct sigaction action {};
    action.sa_handler = fnOnSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
    // A background program must not change the terminal: it would be stopped.
    if (!isatty(STDIN_FILENO) || tcgetpgrp(STDIN_FILENO) != getpgrp() ||
        tcgetattr(STDIN_FILENO, &g_Former) != 0)
        return;
    termios keys = g_Former;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    keys.c_cc[VMIN] = 0;
    keys.c_cc[VTIME] = 0;
    g_bChanged = tcsetattr(STDIN_FILENO, TCSANOW, &keys) == 0;
}

TerminalMode::~TerminalMode() {
    fnRestore();
}

bool TerminalMode::fnIsChanged() const {
    return g_bChanged != 0;
}

int TerminalMode::fnGetSignal() {
    return g_nSignal;
}

bool TerminalMode::fnMayRead() const {
    return fnIsChanged() && tcgetpgrp(STDIN_FILENO) == getpgrp();
}
