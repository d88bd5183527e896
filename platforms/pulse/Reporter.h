#pragma once

#include "q32Base/platform/CqWaveOutService.h"
#include "q32Base/platform/Records.h"

#include <list>
#include <memory>

namespace q32::pulse {

/// The thread on which hosts are told of ended blocks. It is a thread of its own, so that a host
/// that takes its time there delays no sound, and holds no lock while it tells.
class Reporter {
public:
    struct Job {
        /// Whom to tell: a part of its owner, which it keeps alive.
        std::shared_ptr<const CqWaveOutService::Done> m_pDone;
        WAVEHDR* m_pHeader;
    };
    /// A job that waits for its time; made beforehand, so that posting it can't fail.
    using Jobs = std::list<Job>;

    /// Starts the thread. Throws what that throws.
    Reporter();
    /// Ends the thread; within a report, as soon as that returns.
    ~Reporter();
    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

    /// Has the jobs done, in order. `jobs` is empty then.
    void fnPost(Jobs& jobs);
    /// Takes back the jobs that tell `done`. Such a report that runs has returned when this does,
    /// unless this is called by it. The connection's lock must not be held.
    void fnForget(const CqWaveOutService::Done& done);

private:
    struct State;
    const std::shared_ptr<State> m_pState;
};

} // namespace q32::pulse
