#pragma once

#include "platforms/pulse/SinkVolume_p.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <pulse/pulseaudio.h>
#include <vector>

namespace q32::pulse {

/// How a stream starts; what is empty is left to the server, which may remember it.
struct StartVolume {
    std::optional<pa_cvolume> m_Volume;
    std::optional<bool> m_bMute;
};

/// The volume of the program's own sounds: of those that play, and of each one that starts later.
/// The connection's lock guards it.
class OwnVolume {
public:
    /// Makes room for one more. Throws std::bad_alloc.
    void fnReserveOne() { m_Sounds.reserve(m_Sounds.size() + 1); }
    /// The stream may still be connecting. It counts as starting until fnSettle.
    void fnAdd(pa_stream* stream);
    /// From now on takes over each report of the stream. Whether some may have been ignored since
    /// it started.
    bool fnSettle(pa_stream* stream);
    void fnRemove(pa_stream* stream);
    /// The stream that was started last among those playing; null if none is.
    pa_stream* fnFindPlaying() const;
    /// The one of this index at the server, if it is playing; else null.
    pa_stream* fnFind(std::uint32_t index) const;
    /// The indices of those playing. Throws std::bad_alloc.
    std::vector<std::uint32_t> fnListPlaying() const;

    /// As last set here or read from the server; full volume before that. While a stream without
    /// sides plays, its one value; both sides are kept for the next one that has them.
    Levels fnGetShown() const;
    void fnSetVolume(std::uint32_t left, std::uint32_t right);
    void fnSetMute(bool mute);
    /// Takes over what the server reports of a stream. While the stream is starting, reports are
    /// ignored up to the first one of the program's own volume, or of any sound at all where that
    /// isn't known: PipeWire reports 0, or what it remembers, until its session manager has set
    /// the volume.
    void fnAdopt(const pa_sink_input_info& sound);

    /// The volume of a stream with these channels for levels of both sides.
    static pa_cvolume fnMakeVolume(const pa_channel_map& map, std::uint32_t left,
                                   std::uint32_t right);
    StartVolume fnGetStart(const pa_channel_map& map) const;

private:
    struct Sound {
        pa_stream* m_pStream;
        bool m_bStarting; ///< what the server reports may not be its volume yet
    };

    /// Its place in the list; the length of it if there is none.
    std::size_t fnFindSound(std::uint32_t index) const;
    Levels fnShow(const pa_channel_map& map) const;

    std::vector<Sound> m_Sounds; ///< in the order of starting
    Levels m_Levels{0xFFFF, 0xFFFF, false, false};
    bool m_bVolumeKnown = false; ///< set here, or read
    bool m_bMuteKnown = false;
};

} // namespace q32::pulse
