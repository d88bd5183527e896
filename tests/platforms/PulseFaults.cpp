#include "tests/platforms/PulseFaults.h"

#include <atomic>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <pulse/pulseaudio.h>

namespace {

using Clock = std::chrono::steady_clock;

struct Order {
    const char* m_pszFunction;
    std::size_t m_nLeft; ///< 0: nothing fails
    bool m_bAll;
};

std::mutex g_Lock; ///< guards the variables below
Order g_Order{};
std::string g_Failed;
Clock::time_point g_Start;
int g_nSlowness = -1; ///< below 0: the server's own time

enum class Drain { USUAL, AWAITED, ASKED, GIVEN_UP };
Drain g_eDrain = Drain::USUAL;
pa_stream_success_cb_t g_Drained;
void* g_pDrainedData;

std::atomic<std::size_t> g_nUnderflows{0};
std::atomic<int> g_nDefaultsHidden{0};

bool fnFailsNow(const char* function) {
    const std::lock_guard lock(g_Lock);
    if (g_Order.m_nLeft == 0 ||
        (g_Order.m_pszFunction && std::strcmp(g_Order.m_pszFunction, function) != 0))
        return false;
    if (g_Order.m_nLeft > 1) {
        --g_Order.m_nLeft;
        return false;
    }
    g_Order.m_nLeft = g_Order.m_bAll ? 1 : 0;
    g_Failed = function;
    return true;
}

/// libpulse's own function.
template <typename Function>
Function fnFind(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

bool fnReadTime(pa_usec_t* time) {
    const std::lock_guard lock(g_Lock);
    if (g_nSlowness < 0)
        return false;
    const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(
        g_nSlowness == 0 ? Clock::duration() : (Clock::now() - g_Start) / g_nSlowness);
    *time = static_cast<pa_usec_t>(elapsed.count());
    return true;
}

bool fnChangeDrain(Drain from, Drain to) {
    const std::lock_guard lock(g_Lock);
    if (g_eDrain != from)
        return false;
    g_eDrain = to;
    return true;
}

bool fnIsDrain(Drain state) {
    const std::lock_guard lock(g_Lock);
    return g_eDrain == state;
}

} // namespace

PulseFailure::PulseFailure(std::size_t nth, const char* function, bool all) {
    const std::lock_guard lock(g_Lock);
    g_Order = {function, nth, all};
    g_Failed.clear();
}

PulseFailure::~PulseFailure() {
    const std::lock_guard lock(g_Lock);
    g_Order = {};
}

std::string PulseFailure::fnGetFailed() {
    const std::lock_guard lock(g_Lock);
    return g_Failed;
}

PulseSlowClock::PulseSlowClock(int slowness) {
    const std::lock_guard lock(g_Lock);
    g_Start = Clock::now();
    g_nSlowness = slowness;
}

PulseSlowClock::~PulseSlowClock() {
    const std::lock_guard lock(g_Lock);
    g_nSlowness = -1;
}

PulseDrainGivenUp::PulseDrainGivenUp() {
    fnChangeDrain(Drain::USUAL, Drain::AWAITED);
}

PulseDrainGivenUp::~PulseDrainGivenUp() {
    const std::lock_guard lock(g_Lock);
    g_eDrain = Drain::USUAL;
}

bool PulseDrainGivenUp::fnIsAsked() {
    return fnIsDrain(Drain::ASKED);
}

bool PulseDrainGivenUp::fnIsGivenUp() {
    return fnIsDrain(Drain::GIVEN_UP);
}

PulseNoDefault::PulseNoDefault() {
    ++g_nDefaultsHidden;
}

PulseNoDefault::~PulseNoDefault() {
    --g_nDefaultsHidden;
}

std::size_t fnCountUnderflows() {
    return g_nUnderflows;
}

// Replacements of libpulse's functions, by the rule that a program's own symbols come
// first.
#define Q32_MAY_FAIL(Result, failed, name, parameters, arguments)                                  \
    extern "C" Result name parameters {                                                            \
        static const auto real = fnFind<Result(*) parameters>(#name);                              \
        return fnFailsNow(#name) ? (failed) : real arguments;                                      \
    }

Q32_MAY_FAIL(pa_threaded_mainloop*, nullptr, pa_threaded_mainloop_new, (), ())
Q32_MAY_FAIL(int, -1, pa_threaded_mainloop_start, (pa_threaded_mainloop * m), (m))
Q32_MAY_FAIL(pa_context*, nullptr, pa_context_new_with_proplist,
             (pa_mainloop_api * api, const char* name, const pa_proplist* p), (api, name, p))
Q32_MAY_FAIL(int, -1, pa_context_connect,
             (pa_context * c, const char* server, pa_context_flags_t flags,
              const pa_spawn_api* api),
             (c, server, flags, api))
Q32_MAY_FAIL(pa_operation*, nullptr, pa_context_subscribe,
             (pa_context * c, pa_subscription_mask_t m, pa_context_success_cb_t cb, void* data),
             (c, m, cb, data))
Q32_MAY_FAIL(pa_operation*, nullptr, pa_context_get_sink_info_list,
             (pa_context * c, pa_sink_info_cb_t cb, void* data), (c, cb, data))
Q32_MAY_FAIL(pa_operation*, nullptr, pa_context_set_sink_volume_by_index,
             (pa_context * c, std::uint32_t index, const pa_cvolume* volume,
              pa_context_success_cb_t cb, void* data),
             (c, index, volume, cb, data))
Q32_MAY_FAIL(pa_operation*, nullptr, pa_context_set_sink_mute_by_index,
             (pa_context * c, std::uint32_t index, int mute, pa_context_success_cb_t cb,
              void* data),
             (c, index, mute, cb, data))
Q32_MAY_FAIL(pa_operation*, nullptr, pa_context_set_sink_input_volume,
             (pa_context * c, std::uint32_t index, const pa_cvolume* volume,
              pa_context_success_cb_t cb, void* data),
             (c, index, volume, cb, data))
Q32_MAY_FAIL(pa_operation*, nullptr, pa_context_set_sink_input_mute,
             (pa_context * c, std::uint32_t index, int mute, pa_context_success_cb_t cb,
              void* data),
             (c, index, mute, cb, data))
Q32_MAY_FAIL(pa_operation*, nullptr, pa_context_get_sink_input_info,
             (pa_context * c, std::uint32_t index, pa_sink_input_info_cb_t cb, void* data),
             (c, index, cb, data))
Q32_MAY_FAIL(pa_stream*, nullptr, pa_stream_new_with_proplist,
             (pa_context * c, const char* name, const pa_sample_spec* spec,
              const pa_channel_map* map, pa_proplist* p),
             (c, name, spec, map, p))
Q32_MAY_FAIL(int, -1, pa_stream_begin_write, (pa_stream * s, void** data, std::size_t* bytes),
             (s, data, bytes))
Q32_MAY_FAIL(int, -1, pa_stream_write,
             (pa_stream * s, const void* data, std::size_t bytes, pa_free_cb_t cb,
              std::int64_t offset, pa_seek_mode_t seek),
             (s, data, bytes, cb, offset, seek))
Q32_MAY_FAIL(pa_context_state_t, PA_CONTEXT_FAILED, pa_context_get_state, (const pa_context* c),
             (c))

extern "C" pa_operation* pa_context_get_sink_info_by_name(pa_context* c, const char* name,
                                                          pa_sink_info_cb_t cb, void* data) {
    static const auto real =
        fnFind<decltype(&pa_context_get_sink_info_by_name)>("pa_context_get_sink_info_by_name");
    if (fnFailsNow("pa_context_get_sink_info_by_name"))
        return nullptr;
    return real(c, g_nDefaultsHidden != 0 ? "none of this name" : name, cb, data);
}

extern "C" pa_operation* pa_stream_drain(pa_stream* s, pa_stream_success_cb_t cb, void* data) {
    static const auto real = fnFind<decltype(&pa_stream_drain)>("pa_stream_drain");
    if (fnFailsNow("pa_stream_drain"))
        return nullptr;
    if (!fnChangeDrain(Drain::AWAITED, Drain::ASKED))
        return real(s, cb, data);
    g_Drained = cb;
    g_pDrainedData = data;
    return real(
        s, [](pa_stream*, int, void*) {}, nullptr);
}

extern "C" pa_operation* pa_stream_cork(pa_stream* s, int b, pa_stream_success_cb_t cb,
                                        void* data) {
    static const auto real = fnFind<decltype(&pa_stream_cork)>("pa_stream_cork");
    if (fnFailsNow("pa_stream_cork"))
        return nullptr;
    pa_operation* const result = real(s, b, cb, data);
    if (b && PulseDrainGivenUp::fnIsAsked())
        pa_operation_unref(pa_stream_update_timing_info(
            s,
            [](pa_stream* stream, int, void*) {
                if (!fnIsDrain(Drain::ASKED))
                    return;
                g_Drained(stream, 0, g_pDrainedData);
                fnChangeDrain(Drain::ASKED, Drain::GIVEN_UP);
            },
            nullptr));
    return result;
}

extern "C" int pa_stream_get_time(pa_stream* s, pa_usec_t* time) {
    static const auto real = fnFind<int (*)(pa_stream*, pa_usec_t*)>("pa_stream_get_time");
    if (fnFailsNow("pa_stream_get_time"))
        return -1;
    return fnReadTime(time) ? 0 : real(s, time);
}

extern "C" int pa_stream_connect_playback(pa_stream* s, const char* device,
                                          const pa_buffer_attr* sizes, pa_stream_flags_t flags,
                                          const pa_cvolume* volume, pa_stream* other) {
    static const auto real =
        fnFind<decltype(&pa_stream_connect_playback)>("pa_stream_connect_playback");
    if (fnFailsNow("pa_stream_connect_playback"))
        return -1;
    pa_stream_set_underflow_callback(
        s, [](pa_stream*, void*) { ++g_nUnderflows; }, nullptr);
    return real(s, device, sizes, flags, volume, other);
}
