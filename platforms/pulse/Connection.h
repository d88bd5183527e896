#pragma once

#include "platforms/pulse/CqPulseOptions.h"

#include <functional>
#include <pulse/pulseaudio.h>
#include <string>

namespace q32::pulse {

/// Which output is asked for. A server may have outputs and name none of them the default:
/// PipeWire 0.3 never tells it to a client that came before the session manager had chosen one.
/// Then the first of all is the one.
enum class SINK_ASKED { DEFAULT, ALL };

/// Begins to ask; null if that fails. `answer` gets the output, or all of them, and then the end.
pa_operation* fnBeginAskSink(pa_context* context, SINK_ASKED which, pa_sink_info_cb_t answer,
                             void* data);

/// The connection to the server: a loop with a thread of its own, and a context that is made when
/// it is needed and made anew when the server has gone.
///
/// The loop's lock guards all that its callbacks touch. Every function but the constructor and the
/// destructor is called with it held, and never on the loop's thread.
class Connection {
public:
    explicit Connection(const CqPulseOptions& options);
    /// Ends the loop's thread. Never on that thread.
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    class Lock {
    public:
        explicit Lock(Connection& connection) : m_pLoop(connection.m_pLoop) {
            if (m_pLoop)
                pa_threaded_mainloop_lock(m_pLoop);
        }
        ~Lock() {
            if (m_pLoop)
                pa_threaded_mainloop_unlock(m_pLoop);
        }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pa_threaded_mainloop* const m_pLoop;
    };

    const CqPulseOptions& fnGetOptions() const { return m_Options; }

    /// Connects, if that isn't so yet. Lets go of the lock while it waits.
    bool fnConnect();
    /// The connected context, else null.
    pa_context* fnGetContext() const;
    /// Waits until `test` holds; false when that takes longer than the host has patience. Lets go
    /// of the lock meanwhile. What makes the test hold calls fnSignal.
    template <typename Test>
    bool fnWait(Test test);
    /// Wakes those who wait. Also for callbacks.
    void fnSignal() { pa_threaded_mainloop_signal(m_pLoop, 0); }
    /// Waits for an operation and lets go of it. False for null, and when it didn't come to its
    /// end: its callback is not called after that.
    bool fnFinish(pa_operation* operation);
    /// Asks whether there is an output. `told`, if given, is called with it on the loop's thread.
    bool fnAskSink(const std::function<void(const pa_sink_info&)>& told = {});

    /// Has `changed` called on the loop's thread, with the lock held, when the server or a sink may
    /// have changed, and after each connection. From now on a connection that is lost is sought
    /// again, once each retry time. Null ends it.
    void fnWatch(std::function<void()> changed);

    /// Has `ring` called once on the loop's thread, after `time`. Also for callbacks. The caller
    /// gives the event to fnForget.
    pa_time_event* fnRingAfter(std::chrono::microseconds time, pa_time_event_cb_t ring, void* data);
    void fnForget(pa_time_event* event) { pa_threaded_mainloop_get_api(m_pLoop)->time_free(event); }

    /// Notes why a call fails: a text that stays. Also for callbacks.
    void fnFail(const char* why) { m_pszError = why; }
    /// Notes the server's reason. Also for callbacks.
    void fnFail();
    const char* fnGetError() const { return m_pszError; }

private:
    /// Rings once, after the host's patience.
    class Alarm {
    public:
        explicit Alarm(Connection& connection);
        ~Alarm();
        Alarm(const Alarm&) = delete;
        Alarm& operator=(const Alarm&) = delete;
        bool fnHasRung() const { return m_bRung; }

    private:
        static void fnRing(pa_mainloop_api* api, pa_time_event* event, const timeval* when,
                           void* alarm);
        Connection& m_Connection;
        pa_time_event* m_pEvent;
        bool m_bRung = false;
    };

    bool fnBegin();
    void fnDrop();
    void fnGiveUp();
    void fnSubscribe();
    bool fnAskForChanges(int mask);
    void fnSeekLater();
    static void fnOnState(pa_context* context, void* self);
    static void fnOnRetry(pa_mainloop_api* api, pa_time_event* event, const timeval* when,
                          void* self);
    void fnWaitForSignal() { pa_threaded_mainloop_wait(m_pLoop); }

    const CqPulseOptions m_Options;
    pa_threaded_mainloop* m_pLoop;
    pa_context* m_pContext = nullptr;
    pa_time_event* m_pRetry = nullptr;
    bool m_bSubscribed = false; ///< the server tells this context of changes
    std::function<void()> m_Changed;
    const char* m_pszError = "";
};

template <typename Test>
bool Connection::fnWait(Test test) {
    if (test())
        return true;
    const Alarm alarm(*this);
    while (!test()) {
        if (alarm.fnHasRung())
            return false;
        fnWaitForSignal();
    }
    return true;
}

/// What `work` gives, or `failed` when memory runs out.
template <typename Result, typename Work>
Result fnGuard(Result failed, Work&& work) noexcept {
    try {
        return std::forward<Work>(work)();
    } catch (const std::exception&) {
        return failed;
    }
}

} // namespace q32::pulse
