#include "platforms/pulse/Voice_p.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <utility>

namespace q32::pulse {

namespace {

// Flags of WAVEHDR::dwFlags.
constexpr DWORD kDone = 1;
constexpr DWORD kPrepared = 2;
constexpr DWORD kLoop = 4 | 8;
constexpr DWORD kInQueue = 0x10;
constexpr DWORD kForEver = 0xFFFFFFFFu;

/// How long after the expected end a block is ended if the server doesn't report it.
constexpr std::chrono::milliseconds kLate(300);

/// How long after its start a stream's reported volume may not be the one that it gets.
constexpr std::chrono::milliseconds kSettling(1000);

/// The length of an endless loop, in bytes.
constexpr std::uint64_t kEndless = UINT64_MAX;

} // namespace

Voice::Voice(std::shared_ptr<Connection> connection, std::shared_ptr<Reporter> reporter,
             const pa_sample_spec& spec, CqWaveOutService::Done done)
    : m_pConnection(std::move(connection)), m_pReporter(std::move(reporter)), m_Spec(spec),
      m_Done(std::move(done)) {}

bool Voice::fnPrepare(WAVEHDR& header) {
    const Connection::Lock lock(*m_pConnection);
    if (!header.lpData)
        return false;
    m_Prepared.insert(&header);
    header.dwFlags |= kPrepared;
    return true;
}

bool Voice::fnUnprepare(WAVEHDR& header) {
    const Connection::Lock lock(*m_pConnection);
    if (m_pPlaying == &header || m_Prepared.erase(&header) == 0)
        return false;
    header.dwFlags &= ~kPrepared;
    return true;
}

bool Voice::fnWrite(const std::shared_ptr<Voice>& self, WAVEHDR& header) {
    const Connection::Lock lock(*m_pConnection);
    if (m_pPlaying || !m_Prepared.contains(&header))
        return false;
    m_Job = {{{self, &m_Done}, &header}};
    const bool loops = (header.dwFlags & kLoop) == kLoop;
    m_nLength = header.dwBufferLength - header.dwBufferLength % pa_frame_size(&m_Spec);
    m_nTotal = m_nLength * (loops ? header.dwLoops : 1);
    if (m_nLength != 0 && loops && header.dwLoops == kForEver)
        m_nTotal = kEndless;
    m_nPlaced = 0;
    header.dwFlags = (header.dwFlags & ~kDone) | kInQueue;
    m_pPlaying = &header;
    m_bStarted = false;
    if (m_nTotal == 0)
        fnEnd();
    else if (!m_bPaused && !fnStart()) {
        // The block was not started, so its end must not be reported.
        m_Job.clear();
        if (std::exchange(m_pPlaying, nullptr))
            header.dwFlags &= ~kInQueue;
        return false;
    }
    return true;
}

/// Passes the block to the server.
bool Voice::fnStart() {
    if (m_pConnection->fnConnect() && !m_bClosed && fnOpenStream()) {
        // Playback may have ended by the time this thread wakes.
        const bool answered =
            m_pConnection->fnWait([&] { return m_bStarted || !m_pStream || m_bClosed; });
        if (!answered)
            m_pConnection->fnFail("The sound server doesn't start to play");
    }
    if (!m_bStarted)
        fnDropStream();
    return m_bStarted;
}

bool Voice::fnOpenStream() {
    const CqPulseOptions& options = m_pConnection->fnGetOptions();
    OwnVolume& sounds = m_pConnection->fnGetSounds();
    sounds.fnReserveOne();
    pa_proplist* properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, options.m_szRole.c_str());
    m_pStream = pa_stream_new_with_proplist(
        m_pConnection->fnGetContext(), options.m_szStream.c_str(), &m_Spec, nullptr, properties);
    pa_proplist_free(properties);
    if (!m_pStream) {
        m_pConnection->fnFail();
        return false;
    }
    sounds.fnAdd(m_pStream);
    pa_stream_set_state_callback(
        m_pStream,
        [](pa_stream* stream, void* self) {
            auto* voice = static_cast<Voice*>(self);
            const pa_stream_state_t state = pa_stream_get_state(stream);
            if (state == PA_STREAM_READY) {
                voice->m_bStarted = true;
                voice->fnCatchUpVolume();
                voice->fnSettleLater();
                voice->m_pConnection->fnReportSoundsChanged();
            } else if (!PA_STREAM_IS_GOOD(state)) {
                voice->m_pConnection->fnFail();
                voice->m_bStarted ? voice->fnEnd() : voice->fnDropStream();
            }
            voice->m_pConnection->fnSignal();
        },
        this);
    pa_stream_set_write_callback(
        m_pStream,
        [](pa_stream*, std::size_t room, void* self) { static_cast<Voice*>(self)->fnFeed(room); },
        this);
    return fnConnectStream();
}

bool Voice::fnConnectStream() {
    const CqPulseOptions& options = m_pConnection->fnGetOptions();
    pa_buffer_attr sizes;
    std::memset(&sizes, 0xFF, sizeof sizes); // defaults chosen by the server
    const auto latency = static_cast<pa_usec_t>(options.m_Latency.count()) * PA_USEC_PER_MSEC;
    sizes.tlength = static_cast<std::uint32_t>(pa_usec_to_bytes(latency, &m_Spec));
    int flags =
        PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_INTERPOLATE_TIMING;
    const StartVolume start =
        m_pConnection->fnGetSounds().fnGetStart(*pa_stream_get_channel_map(m_pStream));
    if (start.m_bMute)
        flags |= *start.m_bMute ? PA_STREAM_START_MUTED : PA_STREAM_START_UNMUTED;
    const int result = pa_stream_connect_playback(
        m_pStream, nullptr, &sizes, static_cast<pa_stream_flags_t>(flags),
        start.m_Volume ? &*start.m_Volume : nullptr, nullptr);
    if (result < 0)
        m_pConnection->fnFail();
    return result >= 0;
}

/// Sets the volume again: another thread may have set it while the stream was connecting, and
/// PipeWire's session manager replaces what a stream starts with by what it remembers of the last
/// one. On the loop's thread.
void Voice::fnCatchUpVolume() const {
    const auto forget = [](pa_operation* operation) {
        if (operation)
            pa_operation_unref(operation);
    };
    const StartVolume now =
        m_pConnection->fnGetSounds().fnGetStart(*pa_stream_get_channel_map(m_pStream));
    pa_context* context = pa_stream_get_context(m_pStream);
    const std::uint32_t index = pa_stream_get_index(m_pStream);
    if (now.m_Volume)
        forget(pa_context_set_sink_input_volume(context, index, &*now.m_Volume, nullptr, nullptr));
    if (now.m_bMute)
        forget(pa_context_set_sink_input_mute(context, index, *now.m_bMute, nullptr, nullptr));
}

/// Takes the volume that the server reports for the true one after a while. On the loop's thread.
void Voice::fnSettleLater() {
    m_pSettle = m_pConnection->fnRingAfter(
        kSettling,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
            static_cast<Voice*>(self)->fnSettle();
        },
        this);
    if (!m_pSettle)
        fnSettle();
}

void Voice::fnSettle() {
    fnForget(m_pSettle);
    if (m_pConnection->fnGetSounds().fnSettle(m_pStream))
        m_pConnection->fnReportSoundsChanged();
}

/// Writes as much as the server has space for. On the loop's thread.
void Voice::fnFeed(std::size_t room) {
    const std::size_t frame = pa_frame_size(&m_Spec);
    while (m_nPlaced < m_nTotal && room >= frame) {
        void* place = nullptr;
        std::size_t bytes = room;
        if (pa_stream_begin_write(m_pStream, &place, &bytes) < 0) {
            fnEnd();
            return;
        }
        bytes =
            static_cast<std::size_t>(std::min<std::uint64_t>({bytes, room, m_nTotal - m_nPlaced}));
        bytes -= bytes % frame;
        fnFill(place, bytes);
        if (pa_stream_write(m_pStream, place, bytes, nullptr, 0, PA_SEEK_RELATIVE) < 0) {
            fnEnd();
            return;
        }
        m_nPlaced += bytes;
        room -= bytes;
    }
    assert(m_nPlaced <= m_nTotal);
    if (m_nPlaced == m_nTotal && !m_pDrain)
        fnDrain();
}

/// Copies the next bytes of the block, which restarts at its end.
void Voice::fnFill(void* room, std::size_t bytes) const {
    assert(m_pPlaying && m_nLength != 0);
    auto* place = static_cast<char*>(room);
    std::uint64_t from = m_nPlaced % m_nLength;
    while (bytes != 0) {
        const auto piece =
            static_cast<std::size_t>(std::min<std::uint64_t>(bytes, m_nLength - from));
        std::memcpy(place, m_pPlaying->lpData + from, piece);
        place += piece;
        bytes -= piece;
        from = 0;
    }
}

/// Requests a notification when the last byte has been heard.
void Voice::fnDrain() {
    m_pDrain = pa_stream_drain(
        m_pStream,
        [](pa_stream*, int success, void* self) {
            auto* voice = static_cast<Voice*>(self);
            success ? voice->fnEnd() : voice->fnDrainGivenUp();
        },
        this);
    if (!m_pDrain)
        fnDrainGivenUp();
}

/// The end will not be reported: libpulse waits at most half a minute, paused or not.
void Voice::fnDrainGivenUp() {
    if (pa_operation* drain = std::exchange(m_pDrain, nullptr))
        pa_operation_unref(drain);
    if (!m_bPaused && !m_pLate)
        fnEndLate();
}

/// Returns the block and reports its end. The lock is held.
void Voice::fnEnd() {
    fnDropStream();
    WAVEHDR* header = std::exchange(m_pPlaying, nullptr);
    assert(header); // an end is reported once
    header->dwFlags = (header->dwFlags & ~kInQueue) | kDone;
    m_pReporter->fnPost(m_Job);
}

/// Ends the block a while after its last byte: across a pause, PipeWire's server forgets the
/// request to report the end. As long as the heard position advances it isn't late.
void Voice::fnEndLate() {
    m_nLateHeard = fnGetSurelyHeard();
    const std::chrono::microseconds time(pa_bytes_to_usec(m_nTotal - m_nLateHeard, &m_Spec));
    m_pLate = m_pConnection->fnRingAfter(
        time + kLate,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
            auto* voice = static_cast<Voice*>(self);
            const std::uint64_t heard = voice->fnGetSurelyHeard();
            if (heard <= voice->m_nLateHeard || heard == voice->m_nTotal) {
                voice->fnEnd();
                return;
            }
            voice->fnForget(voice->m_pLate);
            voice->fnEndLate();
        },
        this);
}

void Voice::fnForget(pa_time_event*& event) {
    if (pa_time_event* forgotten = std::exchange(event, nullptr))
        m_pConnection->fnForget(forgotten);
}

/// Disconnects a stream from the server and releases it. One that the server hasn't answered yet
/// can be disconnected only after the answer.
void Voice::fnLetGo(pa_stream* stream) {
    pa_stream_set_write_callback(stream, nullptr, nullptr);
    if (pa_stream_get_state(stream) == PA_STREAM_CREATING) {
        pa_stream_set_state_callback(
            stream, [](pa_stream* answered, void*) { fnLetGo(answered); }, nullptr);
        return;
    }
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}

/// Detaches the stream from its callbacks and from the server, which falls silent.
void Voice::fnDropStream() {
    fnForget(m_pLate);
    fnForget(m_pSettle);
    if (pa_operation* drain = std::exchange(m_pDrain, nullptr)) {
        pa_operation_cancel(drain);
        pa_operation_unref(drain);
    }
    if (pa_stream* stream = std::exchange(m_pStream, nullptr)) {
        m_pConnection->fnGetSounds().fnRemove(stream);
        fnLetGo(stream);
        m_pConnection->fnReportSoundsChanged();
    }
}

bool Voice::fnSetPaused(bool paused) {
    const Connection::Lock lock(*m_pConnection);
    if (m_pStream) {
        if (!fnCork(paused))
            return false;
        fnForget(m_pLate);
        if (!paused && m_nPlaced == m_nTotal) {
            if (!m_pDrain)
                fnDrain();
            if (!m_pLate)
                fnEndLate();
        }
        return true;
    }
    m_bPaused = paused;
    // The block was written during the pause. It isn't started corked, since the clock of such a
    // stream runs.
    if (!paused && m_pPlaying && !fnStart())
        m_bPaused = true;
    return m_bPaused == paused;
}

bool Voice::fnCork(bool cork) {
    pa_operation* operation = pa_stream_cork(m_pStream, cork, nullptr, nullptr);
    if (!operation) {
        m_pConnection->fnFail();
        return false;
    }
    pa_operation_unref(operation);
    m_bPaused = cork;
    return true;
}

void Voice::fnReset() {
    const Connection::Lock lock(*m_pConnection);
    m_bPaused = false;
    if (m_pPlaying)
        fnEnd();
}

void Voice::fnClose() {
    {
        const Connection::Lock lock(*m_pConnection);
        m_bClosed = true;
        fnDropStream();
        m_pPlaying = nullptr;
        m_Job.clear();
        m_pConnection->fnSignal();
    }
    m_pReporter->fnForget(m_Done);
}

/// Bytes heard, over all passes.
std::uint64_t Voice::fnGetHeard() const {
    pa_usec_t time = 0;
    // Before the first timing update nothing has been heard.
    if (!m_pStream || pa_stream_get_time(m_pStream, &time) < 0)
        return 0;
    // The time is interpolated, and may run slightly ahead.
    return std::min<std::uint64_t>(pa_usec_to_bytes(time, &m_Spec), m_nPlaced);
}

/// Bytes heard, limited to what the server had taken from its queue at the last timing update: the
/// clock of a stream paused before its first sample is heard runs on.
std::uint64_t Voice::fnGetSurelyHeard() const {
    const pa_timing_info* timing = m_pStream ? pa_stream_get_timing_info(m_pStream) : nullptr;
    if (!timing || timing->read_index_corrupt || timing->read_index < 0)
        return 0;
    return std::min(fnGetHeard(), static_cast<std::uint64_t>(timing->read_index));
}

bool Voice::fnReadPosition(std::uint64_t& bytes) const {
    if (m_pPlaying)
        bytes = std::min(fnGetHeard(), m_nTotal - 1) % m_nLength;
    return m_pPlaying != nullptr;
}

} // namespace q32::pulse
