#include "examples/gallery/Terminal.h"

#include <csignal>
#include <cstdio>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr unsigned char kEscape = 27;
constexpr unsigned int kNothingShown = 101;

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

TerminalKeyboard::TerminalKeyboard() {
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

TerminalKeyboard::~TerminalKeyboard() {
    fnRestore();
}

void TerminalKeyboard::fnDrain() {
    unsigned char bytes[64];
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    if (!g_bChanged || poll(&input, 1, 0) <= 0)
        return;
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    // A sequence arrives in one piece; what follows an Esc in it belongs to it.
    for (ssize_t i = 0; i < count; ++i) {
        const bool sequence = bytes[i] == kEscape && i + 1 < count && bytes[i + 1] != kEscape;
        if (sequence)
            break;
        m_Keys.push_back(bytes[i]);
    }
}

bool TerminalKeyboard::fnTakeKeyMessage(CqKeyMessage& message) {
    fnDrain();
    if (m_Keys.empty())
        return false;
    message.m_nMessage = WM_CHAR;
    message.m_wParam = m_Keys.front();
    m_Keys.pop_front();
    return true;
}

int TerminalMessages::fnShowBox(const char* text, UINT, const char*) {
    std::fprintf(stderr, "%s\n", text);
    return IDOK;
}

ProgressLine::ProgressLine(CqKeyboardService& keyboard)
    : m_Keyboard(keyboard), m_nShown(kNothingShown), m_bTerminal(isatty(STDOUT_FILENO) != 0) {}

void ProgressLine::fnBegin(std::string what) {
    fnClear();
    m_What = std::move(what);
}

void ProgressLine::fnTell(unsigned int percent) {
    if (fnIsUnwanted())
        throw Aborted();
    fnShow(percent);
}

void ProgressLine::fnOnProgress(unsigned int percent, bool& aborted) {
    aborted = fnIsUnwanted();
    if (!aborted)
        fnShow(percent);
}

void ProgressLine::fnClear() {
    if (m_bTerminal && m_nShown != kNothingShown)
        std::fputs("\r\033[K", stdout);
    std::fflush(stdout);
    m_nShown = kNothingShown;
}

void ProgressLine::fnShow(unsigned int percent) {
    if (!m_bTerminal || percent == m_nShown)
        return;
    std::printf("\r%3u %%  %s (Esc stops)\033[K", percent, m_What.c_str());
    std::fflush(stdout);
    m_nShown = percent;
}

bool ProgressLine::fnIsUnwanted() {
    CqKeyMessage message;
    while (m_Keyboard.fnTakeKeyMessage(message))
        m_bAborted = m_bAborted || message.m_wParam == WPARAM{VK_ESCAPE};
    m_bAborted = m_bAborted || g_bSignalled != 0;
    return m_bAborted;
}
