#include "examples/gallery/Terminal.h"

#include <cstdio>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr unsigned char kEscape = 27;
constexpr unsigned int kNothingShown = 101;

} // namespace

void TerminalKeyboard::fnDrain() {
    unsigned char bytes[64];
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    if (!m_Mode.fnIsChanged() || poll(&input, 1, 0) <= 0)
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

void ProgressLine::fnReport(unsigned int percent) {
    if (fnIsHidden())
        throw Aborted();
    fnShow(percent);
}

void ProgressLine::fnOnProgress(unsigned int percent, bool& aborted) {
    aborted = fnIsHidden();
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

bool ProgressLine::fnIsHidden() {
    CqKeyMessage message;
    while (m_Keyboard.fnTakeKeyMessage(message))
        m_bAborted = m_bAborted || message.m_wParam == WPARAM{VK_ESCAPE};
    m_bAborted = m_bAborted || TerminalMode::fnIsSignalled();
    return m_bAborted;
}
