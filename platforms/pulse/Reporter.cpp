#include "platforms/pulse/Reporter_p.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace q32::pulse {

struct Reporter::State {
    std::mutex m_Lock;
    std::condition_variable m_Changed;
    Jobs m_Jobs;
    const CqWaveOutService::Done* m_pNotified = nullptr; ///< the callback of the running report
    bool m_bStop = false;
    std::thread m_Thread;

    void fnRun() {
        std::unique_lock lock(m_Lock);
        for (;;) {
            m_Changed.wait(lock, [&] { return m_bStop || !m_Jobs.empty(); });
            if (m_bStop)
                return;
            Jobs job;
            job.splice(job.begin(), m_Jobs, m_Jobs.begin());
            m_pNotified = job.front().m_pDone.get();
            lock.unlock();
            (*m_pNotified)(*job.front().m_pHeader);
            lock.lock();
            m_pNotified = nullptr;
            m_Changed.notify_all();
            // The owner of the callback may end with its last report, and destroy this thread's
            // owner.
            lock.unlock();
            job.clear();
            lock.lock();
        }
    }
};

Reporter::Reporter() : m_pState(std::make_shared<State>()) {
    m_pState->m_Thread = std::thread([state = m_pState] { state->fnRun(); });
}

Reporter::~Reporter() {
    {
        const std::lock_guard lock(m_pState->m_Lock);
        m_pState->m_bStop = true;
        m_pState->m_Changed.notify_all();
    }
    if (m_pState->m_Thread.get_id() == std::this_thread::get_id())
        m_pState->m_Thread.detach();
    else
        m_pState->m_Thread.join();
}

void Reporter::fnPost(Jobs& jobs) {
    const std::lock_guard lock(m_pState->m_Lock);
    m_pState->m_Jobs.splice(m_pState->m_Jobs.end(), jobs);
    m_pState->m_Changed.notify_all();
}

void Reporter::fnForget(const CqWaveOutService::Done& done) {
    Jobs dropped; // destroyed after the lock is released
    std::unique_lock lock(m_pState->m_Lock);
    for (auto job = m_pState->m_Jobs.begin(); job != m_pState->m_Jobs.end();) {
        const auto next = std::next(job);
        if (job->m_pDone.get() == &done)
            dropped.splice(dropped.end(), m_pState->m_Jobs, job);
        job = next;
    }
    if (m_pState->m_Thread.get_id() != std::this_thread::get_id())
        m_pState->m_Changed.wait(lock, [&] { return m_pState->m_pNotified != &done; });
}

} // namespace q32::pulse
