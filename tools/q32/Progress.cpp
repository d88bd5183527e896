#include "tools/q32/Progress.h"

#include "tools/q32/Failure.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace tool {

namespace {

/// Rows of a picture come by the million in a second; a look at the keyboard takes two calls of the
/// system.
constexpr std::chrono::milliseconds kLookEvery{20};
constexpr std::chrono::milliseconds kTrimEvery{1};
constexpr int kSignalBase = 128;

} // namespace

Progress::Progress(Keys& keys, bool quiet)
    : CqProgressDisplay(false), m_Keys(keys), m_bShown(!quiet && isatty(STDERR_FILENO) != 0) {}

void Progress::fnBegin(std::string what) {
    m_szWhat = std::move(what);
    m_nLastPercent = -1;
    fnReport(0, 1);
}

void Progress::fnReport(std::uint64_t done, std::uint64_t all) {
    bool aborted = false;
    fnDrawStatus(static_cast<unsigned int>(done * 100 / all), &aborted);
    fnRequire();
}

void Progress::fnRequire() {
    if (!fnPoll())
        return;
    const int signal = TerminalMode::fnGetSignal();
    throw Interrupted{signal != 0 ? kSignalBase + signal : CODE_INTERRUPTED};
}

void Progress::fnDrawStatus(unsigned int percent, bool* aborted) {
    if (aborted) {
        *aborted = fnPoll();
        m_bAborted = *aborted;
    }
    const auto shown = static_cast<int>(std::min(percent, 100U));
    if (!m_bShown || m_bStopped || shown == m_nLastPercent)
        return;
    m_nLastPercent = shown;
    m_bDrawn = true;
    std::fprintf(stderr, "\r%3d %%  %s (Esc stops)\033[K", shown, m_szWhat.c_str());
}

void Progress::fnClearStatus() const {
    if (m_bDrawn)
        std::fputs("\r\033[K", stderr);
    m_bDrawn = false;
}

bool Progress::fnIsAborted() const {
    return m_bStopped || TerminalMode::fnIsSignalled();
}

/// Whether the run is to stop; once it is, it stays so.
bool Progress::fnPoll() {
    m_bStopped = fnIsAborted();
    const Clock::time_point now = Clock::now();
    if (m_Trim && now >= m_NextTrim) {
        m_Trim();
        m_NextTrim = now + kTrimEvery;
    }
    if (m_bStopped || now < m_NextLook)
        return m_bStopped;
    m_NextLook = now + kLookEvery;
    while (!m_bStopped && m_Keys.fnHasTerminal() && !m_Keys.fnHasEnded()) {
        const int key = m_Keys.fnWait(-1, 0);
        if (key == 0)
            break;
        m_bStopped = key == Keys::kQuit;
    }
    return m_bStopped;
}

} // namespace tool
