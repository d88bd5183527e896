#include "platforms/pulse/Connection_p.h"

#include <memory>
#include <utility>

namespace q32::pulse {

namespace {

/// Wall-clock time, which the loop converts at once: its own clock requires a context.
timeval fnAfter(std::chrono::microseconds time) {
    timeval when;
    pa_gettimeofday(&when);
    pa_timeval_add(&when, static_cast<pa_usec_t>(time.count()));
    return when;
}

void fnDescribe(pa_proplist& properties, const char* key, const std::string& value) {
    if (!value.empty())
        pa_proplist_sets(&properties, key, value.c_str());
}

/// The data of the sink query's callback.
struct SinkQuestion {
    const std::function<void(const pa_sink_info&)>& m_Notified;
    bool m_bFound = false;
};

} // namespace

pa_operation* fnBeginAskSink(pa_context* context, SINK_ASKED which, pa_sink_info_cb_t answer,
                             void* data) {
    return which == SINK_ASKED::ALL
               ? pa_context_get_sink_info_list(context, answer, data)
               : pa_context_get_sink_info_by_name(context, "@DEFAULT_SINK@", answer, data);
}

Connection::Alarm::Alarm(Connection& connection)
    : m_Connection(connection),
      m_pEvent(connection.fnRingAfter(connection.m_Options.m_Patience, fnRing, this)) {}

Connection::Alarm::~Alarm() {
    m_Connection.fnForget(m_pEvent);
}

void Connection::Alarm::fnRing(pa_mainloop_api*, pa_time_event*, const timeval*, void* alarm) {
    auto* self = static_cast<Alarm*>(alarm);
    self->m_bRung = true;
    self->m_Connection.fnSignal();
}

Connection::Connection(const CqPulseOptions& options)
    : m_Options(options), m_pLoop(pa_threaded_mainloop_new()) {
    if (!m_pLoop)
        return;
    pa_threaded_mainloop_set_name(m_pLoop, "q32-pulse");
    if (pa_threaded_mainloop_start(m_pLoop) < 0) {
        pa_threaded_mainloop_free(m_pLoop);
        m_pLoop = nullptr;
    }
}

Connection::~Connection() {
    if (!m_pLoop)
        return;
    {
        const Lock lock(*this);
        fnWatch(VOLUME_OF::SINK, {});
        fnWatch(VOLUME_OF::SOUNDS, {});
        fnDrop();
    }
    pa_threaded_mainloop_stop(m_pLoop);
    pa_threaded_mainloop_free(m_pLoop);
}

bool Connection::fnConnect() {
    if (!m_pLoop) {
        fnFail("The sound thread can't be started");
        return false;
    }
    if (m_pContext && !PA_CONTEXT_IS_GOOD(pa_context_get_state(m_pContext)))
        fnDrop();
    if (!m_pContext && !fnBegin())
        return false;
    // Another thread may notice the failed attempt before this one wakes, and start again.
    const pa_context* const mine = m_pContext;
    const bool answered = fnWait([&] {
        if (m_pContext != mine)
            return true;
        const pa_context_state_t state = pa_context_get_state(m_pContext);
        return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
    });
    if (!answered && m_pContext == mine) {
        fnFail("The sound server doesn't answer");
        fnGiveUp();
    }
    return fnGetContext() != nullptr;
}

pa_context* Connection::fnGetContext() const {
    return m_pContext && pa_context_get_state(m_pContext) == PA_CONTEXT_READY ? m_pContext
                                                                              : nullptr;
}

bool Connection::fnBegin() {
    const std::unique_ptr<pa_proplist, decltype(&pa_proplist_free)> properties(pa_proplist_new(),
                                                                               pa_proplist_free);
    fnDescribe(*properties, PA_PROP_APPLICATION_NAME, m_Options.m_szApplication);
    fnDescribe(*properties, PA_PROP_APPLICATION_ICON_NAME, m_Options.m_szIcon);
    m_pContext = pa_context_new_with_proplist(pa_threaded_mainloop_get_api(m_pLoop), nullptr,
                                              properties.get());
    if (!m_pContext) {
        fnFail();
        fnGiveUp();
        return false;
    }
    pa_context_set_state_callback(m_pContext, fnOnState, this);
    const char* server = m_Options.m_szServer.empty() ? nullptr : m_Options.m_szServer.c_str();
    if (pa_context_connect(m_pContext, server, PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0)
        return true;
    fnFail();
    fnGiveUp();
    return false;
}

/// Drops a failed connection; it is retried if changes are being watched.
void Connection::fnGiveUp() {
    fnDrop();
    if (fnIsWatched())
        fnSeekLater();
}

void Connection::fnDrop() {
    if (!m_pContext)
        return;
    pa_context_set_state_callback(m_pContext, nullptr, nullptr);
    pa_context_set_subscribe_callback(m_pContext, nullptr, nullptr);
    pa_context_disconnect(m_pContext);
    pa_context_unref(m_pContext);
    m_pContext = nullptr;
    m_bSubscribed = false;
    fnSignal();
}

void Connection::fnOnState(pa_context* context, void* self) {
    auto* connection = static_cast<Connection*>(self);
    const pa_context_state_t state = pa_context_get_state(context);
    if (state == PA_CONTEXT_READY && connection->fnIsWatched())
        connection->fnSubscribe();
    if (!PA_CONTEXT_IS_GOOD(state)) {
        connection->fnFail();
        if (connection->fnIsWatched())
            connection->fnSeekLater();
    }
    connection->fnSignal();
}

void Connection::fnWatch(VOLUME_OF volume, std::function<void()> changed) {
    fnGetChanged(volume) = std::move(changed);
    if (fnIsWatched()) {
        if (fnGetContext())
            fnSubscribe();
        else
            fnSeekLater();
        return;
    }
    if (pa_time_event* retry = std::exchange(m_pRetry, nullptr))
        fnForget(retry);
    if (pa_context* context = fnGetContext()) {
        pa_context_set_subscribe_callback(context, nullptr, nullptr);
        fnAskForChanges(PA_SUBSCRIPTION_MASK_NULL);
    }
}

void Connection::fnSubscribe() {
    pa_context_set_subscribe_callback(
        m_pContext,
        [](pa_context*, pa_subscription_event_type_t event, std::uint32_t index, void* self) {
            auto* connection = static_cast<Connection*>(self);
            if ((event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK) != PA_SUBSCRIPTION_EVENT_SINK_INPUT)
                connection->fnReportChanged(VOLUME_OF::SINK);
            else if (connection->m_Sounds.fnFind(index))
                connection->fnReportChanged(VOLUME_OF::SOUNDS);
        },
        this);
    int mask = PA_SUBSCRIPTION_MASK_NULL;
    if (fnGetChanged(VOLUME_OF::SINK))
        mask |= PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SERVER;
    if (fnGetChanged(VOLUME_OF::SOUNDS))
        mask |= PA_SUBSCRIPTION_MASK_SINK_INPUT;
    if (!fnAskForChanges(mask))
        fnSeekLater();
    fnReportChanged(VOLUME_OF::SINK);
    fnReportChanged(VOLUME_OF::SOUNDS);
}

bool Connection::fnAskForChanges(int mask) {
    pa_operation* operation = pa_context_subscribe(
        m_pContext, static_cast<pa_subscription_mask_t>(mask), nullptr, nullptr);
    m_bSubscribed = operation && mask != PA_SUBSCRIPTION_MASK_NULL;
    if (operation)
        pa_operation_unref(operation);
    return operation != nullptr;
}

void Connection::fnSeekLater() {
    if (m_pRetry)
        fnForget(m_pRetry);
    m_pRetry = fnRingAfter(m_Options.m_Retry, fnOnRetry, this);
}

void Connection::fnOnRetry(pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
    auto* connection = static_cast<Connection*>(self);
    if (connection->m_pContext &&
        PA_CONTEXT_IS_GOOD(pa_context_get_state(connection->m_pContext))) {
        if (connection->fnGetContext() && !connection->m_bSubscribed)
            connection->fnSubscribe();
        return;
    }
    connection->fnDrop();
    connection->fnBegin();
}

pa_time_event* Connection::fnRingAfter(std::chrono::microseconds time, pa_time_event_cb_t ring,
                                       void* data) {
    const timeval when = fnAfter(time);
    pa_mainloop_api* api = pa_threaded_mainloop_get_api(m_pLoop);
    return api->time_new(api, &when, ring, data);
}

bool Connection::fnFinish(pa_operation* operation) {
    if (!operation) {
        fnFail();
        return false;
    }
    pa_operation_set_state_callback(
        operation, [](pa_operation*, void* self) { static_cast<Connection*>(self)->fnSignal(); },
        this);
    fnWait([&] { return pa_operation_get_state(operation) != PA_OPERATION_RUNNING; });
    const bool done = pa_operation_get_state(operation) == PA_OPERATION_DONE;
    pa_operation_set_state_callback(operation, nullptr, nullptr);
    pa_operation_cancel(operation);
    pa_operation_unref(operation);
    if (!done)
        fnFail("The sound server doesn't answer");
    return done;
}

bool Connection::fnAskSink(const std::function<void(const pa_sink_info&)>& onSink) {
    if (!fnConnect())
        return false;
    SinkQuestion question{onSink};
    const auto ask = [&](SINK_ASKED which) {
        pa_context* context = fnGetContext(); // may be lost while the first answer is awaited
        return context && fnFinish(fnBeginAskSink(
                              context, which,
                              [](pa_context*, const pa_sink_info* sink, int, void* data) {
                                  auto* asked = static_cast<SinkQuestion*>(data);
                                  if (!sink || std::exchange(asked->m_bFound, true))
                                      return;
                                  if (asked->m_Notified)
                                      asked->m_Notified(*sink);
                              },
                              &question));
    };
    if (ask(SINK_ASKED::DEFAULT) && !question.m_bFound && ask(SINK_ASKED::ALL) &&
        !question.m_bFound)
        fnFail("The sound server has no output");
    return question.m_bFound;
}

bool Connection::fnAskSounds(Levels& levels) {
    if (!fnConnect())
        return false;
    if (pa_stream* stream = m_Sounds.fnFindPlaying()) {
        // A sound that has ended meanwhile is no failure: its last known levels hold.
        pa_context* context = fnGetContext();
        if (!context || !fnFinish(pa_context_get_sink_input_info(
                            context, pa_stream_get_index(stream),
                            [](pa_context*, const pa_sink_input_info* sound, int, void* own) {
                                if (sound)
                                    static_cast<OwnVolume*>(own)->fnAdopt(*sound);
                            },
                            &m_Sounds)))
            return false;
    }
    levels = m_Sounds.fnGetShown();
    return true;
}

void Connection::fnFail() {
    fnFail(m_pContext ? pa_strerror(pa_context_errno(m_pContext)) : "Out of memory");
}

} // namespace q32::pulse
