#pragma once

#include "q32Base/platform/CqWaveOutService.h"
#include "q32Base/platform/Records.h"

#include <list>
#include <memory>

namespace q32::pulse {

/// The thread that reports ended blocks to hosts. It is separate, so that a host that takes its
/// time doesn't delay sound, and it holds no lock during a report.
class Reporter {
public:
    struct Job {
        /// The callback; shares ownership of the object that contains it.
        std::shared_ptr<const CqWaveOutService::Done> m_pDone;
        WAVEHDR* m_pHeader;
    };
    /// A list of one job, allocated beforehand, so that posting it can't fail.
    using Jobs = std::list<Job>;

    /// Starts the thread. Throws std::system_error and std::bad_alloc.
    Reporter();
    /// Ends the thread; within a report, as soon as that returns.
    ~Reporter();
    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

    /// Queues the jobs, in order. `jobs` is empty afterwards.
    void fnPost(Jobs& jobs);
    /// Removes the queued jobs that call `done`, and waits for a running one, unless called from
    /// within it. The connection's lock must not be held.
    void fnForget(const CqWaveOutService::Done& done);

private:
    struct State;
    const std::shared_ptr<State> m_pState;
};

} // namespace q32::pulse
