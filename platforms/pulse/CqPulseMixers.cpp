#include "platforms/pulse/CqPulseMixers.h"

#include "platforms/common/Descriptor_p.h"
#include "platforms/pulse/Connection_p.h"
#include "platforms/pulse/SinkVolume_p.h"

#include <algorithm>
#include <optional>
#include <sys/eventfd.h>
#include <utility>
#include <vector>

using namespace q32::pulse;
using q32::Descriptor;

namespace {

constexpr std::uint32_t kLine = 1;
constexpr std::uint32_t kChannels = 2;

constexpr std::uint32_t kVolume = 1;
constexpr std::uint32_t kMute = 2;
constexpr std::uint32_t kControls[] = {kVolume, kMute}; ///< in the order of reporting

} // namespace

/// State shared by the mixers and the connection's thread. The connection's lock guards it.
struct CqPulseMixers::State {
    /// The callback of an open mixer. It outlives the mixer by a report.
    struct Open {
        const Changed m_Changed;
        bool m_bPending[std::size(kControls)] = {};
        bool m_bClosed = false;
    };
    /// A change to report.
    struct Report {
        std::shared_ptr<Open> m_pOpen;
        std::size_t m_nControl; ///< index in `kControls`
    };

    State(std::shared_ptr<Connection> connection, VOLUME_OF volume)
        : m_pConnection(std::move(connection)), m_eVolume(volume),
          m_Event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    ~State() {
        const Connection::Lock lock(*m_pConnection);
        m_pConnection->fnWatch(m_eVolume, {});
        fnForgetRead();
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    const std::shared_ptr<Connection> m_pConnection;
    const VOLUME_OF m_eVolume;
    const Descriptor m_Event;
    std::vector<std::shared_ptr<Open>> m_Open;
    std::optional<Levels> m_Known; ///< as last compared
    pa_operation* m_pRead = nullptr;
    pa_time_event* m_pReadLater = nullptr;
    SINK_ASKED m_eAsked = SINK_ASKED::DEFAULT; ///< by the current read
    bool m_bRead = false;                      ///< the read has received the sink
    bool m_bReadAgain = false;                 ///< something changed after the read had begun

    void fnRead();
    void fnBeginRead(SINK_ASKED which);
    void fnBeginReadSounds();
    void fnPrepareRead();
    void fnEndRead();
    void fnReadLater();
    void fnForgetRead() {
        if (pa_time_event* later = std::exchange(m_pReadLater, nullptr))
            m_pConnection->fnForget(later);
        if (pa_operation* read = std::exchange(m_pRead, nullptr)) {
            pa_operation_cancel(read);
            pa_operation_unref(read);
        }
    }
    void fnCompare(const Levels& levels);
    std::vector<Report> fnTakeReports();
    void fnPutBack(const std::vector<Report>& reports, std::size_t from);
    /// Closing the last mixer also ends the watch on the server. The lock is held.
    void fnClose(const std::shared_ptr<Open>& open) {
        open->m_bClosed = true;
        std::erase(m_Open, open);
        if (!m_Open.empty())
            return;
        m_pConnection->fnWatch(m_eVolume, {});
        fnForgetRead();
        m_Known.reset();
    }
    /// Asks the server, and waits for its answer. The lock is held.
    bool fnAsk(Levels& levels) {
        if (m_eVolume == VOLUME_OF::SOUNDS)
            return m_pConnection->fnAskSounds(levels);
        return m_pConnection->fnAskSink([&](const pa_sink_info& sink) {
            levels = fnReadLevels(sink.volume, sink.channel_map, sink.mute != 0);
        });
    }
    bool fnIsThere() {
        const Connection::Lock lock(*m_pConnection);
        Levels ignored;
        return fnAsk(ignored);
    }
};

/// Begins to read the levels. On the connection's thread, or with its lock held.
void CqPulseMixers::State::fnRead() {
    // A read that was running when a connection ended never completes.
    if (m_pRead && pa_operation_get_state(m_pRead) == PA_OPERATION_RUNNING) {
        m_bReadAgain = true;
        return;
    }
    if (m_eVolume == VOLUME_OF::SOUNDS)
        fnBeginReadSounds();
    else
        fnBeginRead(SINK_ASKED::DEFAULT);
}

void CqPulseMixers::State::fnPrepareRead() {
    fnForgetRead();
    m_bReadAgain = false;
    m_bRead = false;
}

void CqPulseMixers::State::fnBeginReadSounds() {
    fnPrepareRead();
    pa_stream* stream = m_pConnection->fnGetSounds().fnFindPlaying();
    pa_context* context = m_pConnection->fnGetContext();
    if (!stream || !context) {
        fnCompare(m_pConnection->fnGetSounds().fnGetShown());
        return;
    }
    m_pRead = pa_context_get_sink_input_info(
        context, pa_stream_get_index(stream),
        [](pa_context*, const pa_sink_input_info* sound, int end, void* data) {
            auto* state = static_cast<State*>(data);
            OwnVolume& sounds = state->m_pConnection->fnGetSounds();
            if (sound)
                sounds.fnAdopt(*sound);
            if (end == 0)
                return;
            state->m_bRead = true; // also if the sound has ended meanwhile
            state->fnCompare(sounds.fnGetShown());
            state->fnEndRead();
        },
        this);
    if (!m_pRead)
        fnReadLater();
}

void CqPulseMixers::State::fnBeginRead(SINK_ASKED which) {
    fnPrepareRead();
    m_eAsked = which;
    pa_context* context = m_pConnection->fnGetContext();
    if (!context)
        return; // the next connection starts another read
    m_pRead = fnBeginAskSink(
        context, which,
        [](pa_context*, const pa_sink_info* sink, int end, void* data) {
            auto* state = static_cast<State*>(data);
            if (sink && !std::exchange(state->m_bRead, true))
                state->fnCompare(fnReadLevels(sink->volume, sink->channel_map, sink->mute != 0));
            if (end != 0)
                state->fnEndRead();
        },
        this);
    if (!m_pRead)
        fnReadLater();
}

void CqPulseMixers::State::fnEndRead() {
    fnForgetRead();
    if (m_bReadAgain)
        fnRead();
    else if (!m_bRead && m_eAsked == SINK_ASKED::DEFAULT)
        fnBeginRead(SINK_ASKED::ALL);
    else if (!m_bRead)
        fnReadLater();
}

/// Retries a failed read: the change is still to be reported, and the server may not repeat it.
void CqPulseMixers::State::fnReadLater() {
    m_pReadLater = m_pConnection->fnRingAfter(
        m_pConnection->fnGetOptions().m_Retry,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* data) {
            static_cast<State*>(data)->fnRead();
        },
        this);
}

void CqPulseMixers::State::fnCompare(const Levels& levels) {
    const Levels known = std::exchange(m_Known, levels).value_or(levels);
    const bool changed[] = {known.m_nLeft != levels.m_nLeft || known.m_nRight != levels.m_nRight,
                            known.m_bMute != levels.m_bMute};
    static_assert(std::size(changed) == std::size(kControls));
    if (!changed[0] && !changed[1])
        return;
    for (const std::shared_ptr<Open>& open : m_Open)
        for (std::size_t i = 0; i < std::size(changed); ++i)
            open->m_bPending[i] = open->m_bPending[i] || changed[i];
    ::eventfd_write(m_Event.fnGet(), 1);
}

/// Takes all pending changes. When memory is exhausted, none are taken.
std::vector<CqPulseMixers::State::Report> CqPulseMixers::State::fnTakeReports() {
    std::vector<Report> reports;
    const Connection::Lock lock(*m_pConnection);
    reports.reserve(m_Open.size() * std::size(kControls));
    for (const std::shared_ptr<Open>& open : m_Open)
        for (std::size_t i = 0; i < std::size(kControls); ++i)
            if (std::exchange(open->m_bPending[i], false))
                reports.push_back({open, i});
    eventfd_t ignored = 0;
    ::eventfd_read(m_Event.fnGet(), &ignored);
    return reports;
}

/// Returns unreported changes, for the next pump.
void CqPulseMixers::State::fnPutBack(const std::vector<Report>& reports, std::size_t from) {
    if (from == reports.size())
        return;
    const Connection::Lock lock(*m_pConnection);
    for (std::size_t i = from; i < reports.size(); ++i)
        reports[i].m_pOpen->m_bPending[reports[i].m_nControl] = true;
    ::eventfd_write(m_Event.fnGet(), 1);
}

class CqPulseMixers::Mixer final : public CqMixer {
public:
    Mixer(std::shared_ptr<State> state, std::shared_ptr<State::Open> open)
        : m_pState(std::move(state)), m_pOpen(std::move(open)) {}
    ~Mixer() override {
        const Connection::Lock lock(*m_pState->m_pConnection);
        m_pState->fnClose(m_pOpen);
    }

    bool fnFindSpeakerLine(CqMixerLine& line) override {
        return fnGuard(false, [&] {
            if (!m_pState->fnIsThere())
                return false;
            line = {kLine, kChannels, std::size(kControls)};
            return true;
        });
    }

    bool fnFindControl(std::uint32_t lineId, CQ_MIXER_CONTROL type, std::uint32_t& id) override {
        const bool volume = type == CQ_MIXER_CONTROL::VOLUME;
        if (lineId != kLine || (!volume && type != CQ_MIXER_CONTROL::MUTE))
            return false;
        id = volume ? kVolume : kMute;
        return true;
    }

    bool fnGetValues(std::uint32_t control, std::uint32_t channels,
                     std::vector<std::uint32_t>& values) override {
        return fnGuard(false, [&] {
            if (!fnIsKnown(control, channels) || values.empty())
                return false;
            const Connection::Lock lock(*m_pState->m_pConnection);
            Levels levels;
            if (!m_pState->fnAsk(levels))
                return false;
            const bool pair = channels == kChannels && control == kVolume && !levels.m_bMono;
            values.resize(pair ? std::min<std::size_t>(values.size(), 2) : 1);
            values[0] = control == kMute ? std::uint32_t{levels.m_bMute} : levels.m_nLeft;
            if (values.size() == 2)
                values[1] = levels.m_nRight;
            return true;
        });
    }

    bool fnSetValues(std::uint32_t control, std::uint32_t channels,
                     const std::vector<std::uint32_t>& values) override {
        const std::uint32_t most = control == kMute ? 1 : 0xFFFF;
        if (!fnIsKnown(control, channels) || values.empty() ||
            std::any_of(values.begin(), values.end(), [&](auto value) { return value > most; }))
            return false;
        const std::uint32_t left = values[0];
        const std::uint32_t right = channels == kChannels && values.size() > 1 ? values[1] : left;
        return fnGuard(false, [&] {
            if (m_pState->m_eVolume == VOLUME_OF::SOUNDS)
                return control == kMute ? fnSetSoundsMute(left != 0)
                                        : fnSetSoundsVolume(left, right);
            return control == kMute ? fnSetMute(left != 0) : fnSetVolume(left, right);
        });
    }

private:
    static bool fnIsKnown(std::uint32_t control, std::uint32_t channels) {
        return (control == kVolume || control == kMute) && (channels == 1 || channels == kChannels);
    }

    static void fnNoteSuccess(pa_context*, int result, void* succeeded) {
        *static_cast<bool*>(succeeded) = result != 0;
    }

    bool fnSetSoundsMute(bool mute) {
        return fnSetSounds(
            [&](pa_context* context, pa_stream* stream, auto done, bool& success) {
                return pa_context_set_sink_input_mute(context, pa_stream_get_index(stream), mute,
                                                      done, &success);
            },
            [&](OwnVolume& sounds) { sounds.fnSetMute(mute); });
    }
    bool fnSetSoundsVolume(std::uint32_t left, std::uint32_t right) {
        return fnSetSounds(
            [&](pa_context* context, pa_stream* stream, auto done, bool& success) {
                const pa_cvolume volume =
                    OwnVolume::fnMakeVolume(*pa_stream_get_channel_map(stream), left, right);
                return pa_context_set_sink_input_volume(context, pa_stream_get_index(stream),
                                                        &volume, done, &success);
            },
            [&](OwnVolume& sounds) { sounds.fnSetVolume(left, right); });
    }
    /// Sets all sounds that play, one by one, and then what the next ones start with. One that
    /// ends meanwhile is no failure.
    template <typename Begin, typename Keep>
    bool fnSetSounds(Begin begin, Keep keep) {
        Connection& connection = *m_pState->m_pConnection;
        const Connection::Lock lock(connection);
        if (!connection.fnConnect())
            return false;
        OwnVolume& sounds = connection.fnGetSounds();
        for (const std::uint32_t index : sounds.fnListPlaying()) {
            pa_stream* stream = sounds.fnFind(index);
            if (!stream)
                continue;
            bool success = false;
            pa_context* context = connection.fnGetContext();
            if (!context || !connection.fnFinish(begin(context, stream, fnNoteSuccess, success)))
                return false;
            if (!success && sounds.fnFind(index)) {
                connection.fnFail();
                return false;
            }
        }
        keep(sounds);
        connection.fnReportSoundsChanged();
        return true;
    }

    bool fnSetMute(bool mute) {
        return fnSet({}, [&](pa_context* context, std::uint32_t index, auto done, bool& success) {
            return pa_context_set_sink_mute_by_index(context, index, mute, done, &success);
        });
    }
    bool fnSetVolume(std::uint32_t left, std::uint32_t right) {
        pa_cvolume requested;
        return fnSet(
            [&](const pa_sink_info& sink) {
                requested = fnSetLevels(sink.volume, sink.channel_map, left, right);
            },
            [&](pa_context* context, std::uint32_t index, auto done, bool& success) {
                return pa_context_set_sink_volume_by_index(context, index, &requested, done,
                                                           &success);
            });
    }
    /// Calls `met` with the sink, and then sets it. Waits for the server, so that the next read
    /// returns what was set.
    template <typename Begin>
    bool fnSet(const std::function<void(const pa_sink_info&)>& met, Begin begin) {
        Connection& connection = *m_pState->m_pConnection;
        const Connection::Lock lock(connection);
        std::uint32_t index = PA_INVALID_INDEX;
        if (!connection.fnAskSink([&](const pa_sink_info& sink) {
                index = sink.index;
                if (met)
                    met(sink);
            }))
            return false;
        bool success = false;
        // The server may have gone since the query.
        pa_context* context = connection.fnGetContext();
        if (!context || !connection.fnFinish(begin(context, index, fnNoteSuccess, success)))
            return false;
        if (!success)
            connection.fnFail();
        return success;
    }

    const std::shared_ptr<State> m_pState;
    const std::shared_ptr<State::Open> m_pOpen;
};

CqPulseMixers::CqPulseMixers(std::shared_ptr<Connection> connection, VOLUME_OF volume)
    : m_pState(std::make_shared<State>(std::move(connection), volume)) {}

CqPulseMixers::~CqPulseMixers() = default;

int CqPulseMixers::fnGetDescriptor() const {
    return m_pState->m_Event.fnGet();
}

std::size_t CqPulseMixers::fnPump() {
    const std::shared_ptr<State> state = m_pState; // a report may destroy the service
    const auto reports =
        fnGuard(std::vector<State::Report>(), [&] { return state->fnTakeReports(); });
    std::size_t count = 0;
    for (std::size_t i = 0; i < reports.size(); ++i) {
        const auto& [open, control] = reports[i];
        {
            const Connection::Lock lock(*state->m_pConnection);
            if (open->m_bClosed)
                continue;
        }
        ++count;
        try {
            if (open->m_Changed)
                open->m_Changed(kControls[control]);
        } catch (...) { // anything that a host throws
            state->fnPutBack(reports, i + 1);
            throw;
        }
    }
    return count;
}

std::uint32_t CqPulseMixers::fnGetCount() {
    return fnGuard(0u, [&] { return m_pState->fnIsThere() ? 1u : 0u; });
}

std::unique_ptr<CqMixer> CqPulseMixers::fnOpen(std::uint32_t index, Changed changed) {
    return fnGuard(std::unique_ptr<CqMixer>(), [&]() -> std::unique_ptr<CqMixer> {
        if (index != 0 || !m_pState->m_Event)
            return nullptr;
        // On failure, the mixer closes after the lock is released.
        auto open = std::make_shared<State::Open>(State::Open{std::move(changed)});
        auto mixer = std::make_unique<Mixer>(m_pState, open);
        const Connection::Lock lock(*m_pState->m_pConnection);
        Levels levels;
        if (!m_pState->fnAsk(levels))
            return nullptr;
        m_pState->fnCompare(levels);
        m_pState->m_Open.push_back(std::move(open));
        m_pState->m_pConnection->fnWatch(m_pState->m_eVolume,
                                         [state = m_pState.get()] { state->fnRead(); });
        return mixer;
    });
}
