/// @file Progress on the terminal, and the wish to stop.
#pragma once

#include "plugins/PictureTypes.h"
#include "q32Base/services/CqProgressDisplay.h"
#include "tools/terminal/Keys.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace tool {

/// Shows what is done and how far it is, in one line of the error stream that is rewritten in
/// place, if that is a terminal. Notices Esc, if the input is the program's terminal, and signals
/// that request the end.
///
/// The library's operations return early once the user stops them: `fnRequire` behind each of them
/// keeps what they left from being used.
class Progress final : public CqProgressDisplay, public CqPictureProgress {
public:
    /// @param keys   outlives this
    /// @param quiet  nothing is shown
    Progress(Keys& keys, bool quiet);
    ~Progress() override { fnClearStatus(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Has `trim` called about every millisecond, as work reports how far it is.
    void fnSetTrim(std::function<void()> trim) { m_Trim = std::move(trim); }

    /// Starts a piece of work, named in the line.
    void fnBegin(std::string what);
    /// Reports that `done` of `all` parts are complete; throws Interrupted.
    void fnReport(std::uint64_t done, std::uint64_t all);
    /// Throws Interrupted if the user has stopped the run.
    void fnRequire();

    void fnDrawStatus(unsigned int percent, bool* aborted) override;
    /// Removes the line, so that other text can be printed.
    void fnClearStatus() const override;
    bool fnIsAborted() const override;
    void fnOnProgress(unsigned int percent, bool& aborted) override {
        fnDrawStatus(percent, &aborted);
    }

private:
    using Clock = std::chrono::steady_clock;

    bool fnPoll();

    Keys& m_Keys;
    const bool m_bShown;
    bool m_bStopped = false;
    std::string m_szWhat;
    mutable bool m_bDrawn = false;
    Clock::time_point m_NextLook; ///< at the keyboard
    std::function<void()> m_Trim;
    Clock::time_point m_NextTrim;
};

} // namespace tool
