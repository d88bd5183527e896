#pragma once

#include "platforms/pulse/CqPulseOptions.h"
#include "platforms/pulse/OwnVolume_p.h"

#include <cstddef>
#include <functional>
#include <pulse/pulseaudio.h>
#include <string>

namespace q32::pulse {

/// Which sinks to query. A server may have sinks but no default: PipeWire 0.3 never reports one to
/// a client that connected before the session manager chose it. The first of all sinks is used
/// then.
enum class SINK_ASKED { DEFAULT, ALL };

/// Whose volume: that of the default sink, or of the program's own sounds.
enum class VOLUME_OF { SINK, SOUNDS };

/// Begins a query; null on failure. `answer` receives the sink, or each one, and then the end.
pa_operation* fnBeginAskSink(pa_context* context, SINK_ASKED which, pa_sink_info_cb_t answer,
                             void* data);

/// The connection to the server: a loop with a thread of its own, and a context that is created
/// when needed and recreated when the server has gone.
///
/// The loop's lock guards everything that its callbacks use. Every function except the constructor
/// and the destructor requires it, and must not be called on the loop's thread unless it says so.
class Connection {
public:
    explicit Connection(const CqPulseOptions& options);
    /// Ends the loop's thread; must not run on that thread.
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

    /// Connects, if not connected yet. Releases the lock while it waits.
    bool fnConnect();
    /// The context if connected, else null.
    pa_context* fnGetContext() const;
    /// Waits until `test` holds; false when that exceeds the options' patience. Releases the lock
    /// meanwhile. Code that makes the test hold must call fnSignal.
    template <typename Test>
    bool fnWait(Test test);
    /// Wakes all waiting threads. Also for callbacks.
    void fnSignal() { pa_threaded_mainloop_signal(m_pLoop, 0); }
    /// Waits for an operation and releases it. False for null, and if it didn't complete: its
    /// callback is not called after that.
    bool fnFinish(pa_operation* operation);
    /// Queries whether there is a sink. `onSink`, if given, is called with it on the loop's thread.
    bool fnAskSink(const std::function<void(const pa_sink_info&)>& onSink = {});
    /// Queries the levels of the program's own sounds: those of the one started last if one plays,
    /// else those that the next one starts with. False without a server.
    bool fnAskSounds(Levels& levels);
    /// The program's own sounds. What changes them calls fnReportSoundsChanged.
    OwnVolume& fnGetSounds() { return m_Sounds; }
    void fnReportSoundsChanged() { fnReportChanged(VOLUME_OF::SOUNDS); }

    /// Calls `changed` on the loop's thread, or another one, with the lock held, when that volume
    /// may have changed, and after each connection. From now on a lost connection is retried at
    /// intervals of the options' retry time. Null ends this.
    void fnWatch(VOLUME_OF volume, std::function<void()> changed);

    /// Calls `ring` once on the loop's thread, after `time`. Also for callbacks. The caller
    /// releases the event with fnForget.
    pa_time_event* fnRingAfter(std::chrono::microseconds time, pa_time_event_cb_t ring, void* data);
    void fnForget(pa_time_event* event) { pa_threaded_mainloop_get_api(m_pLoop)->time_free(event); }

    /// Records why a call fails; `why` must be static. Also for callbacks.
    void fnFail(const char* why) { m_pszError = why; }
    /// Records the server's error. Also for callbacks.
    void fnFail();
    const char* fnGetError() const { return m_pszError; }

private:
    /// A timer that fires once, after the options' patience, and wakes the waiting threads.
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
    std::function<void()>& fnGetChanged(VOLUME_OF volume) {
        return m_Changed[static_cast<std::size_t>(volume)];
    }
    void fnReportChanged(VOLUME_OF volume) {
        if (fnGetChanged(volume))
            fnGetChanged(volume)();
    }
    bool fnIsWatched() { return fnGetChanged(VOLUME_OF::SINK) || fnGetChanged(VOLUME_OF::SOUNDS); }
    void fnSeekLater();
    static void fnOnState(pa_context* context, void* self);
    static void fnOnRetry(pa_mainloop_api* api, pa_time_event* event, const timeval* when,
                          void* self);
    void fnWaitForSignal() { pa_threaded_mainloop_wait(m_pLoop); }

    const CqPulseOptions m_Options;
    pa_threaded_mainloop* m_pLoop;
    pa_context* m_pContext = nullptr;
    pa_time_event* m_pRetry = nullptr;
    bool m_bSubscribed = false;         ///< the server reports changes to this context
    std::function<void()> m_Changed[2]; ///< by VOLUME_OF
    OwnVolume m_Sounds;
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

/// The result of `work`, or `failed` when memory is exhausted.
template <typename Result, typename Work>
Result fnGuard(Result failed, Work&& work) noexcept {
    try {
        return std::forward<Work>(work)();
    } catch (const std::exception&) {
        return failed;
    }
}

} // namespace q32::pulse
