#include "platforms/pulse/OwnVolume_p.h"

#include <algorithm>
#include <utility>

namespace q32::pulse {

namespace {

bool fnIsPlaying(pa_stream* stream) {
    return pa_stream_get_state(stream) == PA_STREAM_READY;
}

} // namespace

void OwnVolume::fnAdd(pa_stream* stream) {
    m_Sounds.push_back({stream, true});
}

bool OwnVolume::fnSettle(pa_stream* stream) {
    const auto found = std::find_if(m_Sounds.begin(), m_Sounds.end(),
                                    [&](const Sound& sound) { return sound.m_pStream == stream; });
    return found != m_Sounds.end() && std::exchange(found->m_bStarting, false);
}

void OwnVolume::fnRemove(pa_stream* stream) {
    std::erase_if(m_Sounds, [&](const Sound& sound) { return sound.m_pStream == stream; });
}

pa_stream* OwnVolume::fnFindPlaying() const {
    const auto found = std::find_if(m_Sounds.rbegin(), m_Sounds.rend(), [](const Sound& sound) {
        return fnIsPlaying(sound.m_pStream);
    });
    return found == m_Sounds.rend() ? nullptr : found->m_pStream;
}

std::size_t OwnVolume::fnFindSound(std::uint32_t index) const {
    const auto found = std::find_if(m_Sounds.begin(), m_Sounds.end(), [&](const Sound& sound) {
        return fnIsPlaying(sound.m_pStream) && pa_stream_get_index(sound.m_pStream) == index;
    });
    return static_cast<std::size_t>(found - m_Sounds.begin());
}

pa_stream* OwnVolume::fnFind(std::uint32_t index) const {
    const std::size_t found = fnFindSound(index);
    return found < m_Sounds.size() ? m_Sounds[found].m_pStream : nullptr;
}

std::vector<std::uint32_t> OwnVolume::fnListPlaying() const {
    std::vector<std::uint32_t> list;
    for (const Sound& sound : m_Sounds)
        if (fnIsPlaying(sound.m_pStream))
            list.push_back(pa_stream_get_index(sound.m_pStream));
    return list;
}

void OwnVolume::fnSetVolume(std::uint32_t left, std::uint32_t right) {
    m_Levels.m_nLeft = left;
    m_Levels.m_nRight = right;
    m_bVolumeKnown = true;
}

void OwnVolume::fnSetMute(bool mute) {
    m_Levels.m_bMute = mute;
    m_bMuteKnown = true;
}

Levels OwnVolume::fnGetShown() const {
    pa_stream* stream = fnFindPlaying();
    return stream ? fnShow(*pa_stream_get_channel_map(stream)) : m_Levels;
}

Levels OwnVolume::fnShow(const pa_channel_map& map) const {
    return fnReadLevels(fnMakeVolume(map, m_Levels.m_nLeft, m_Levels.m_nRight), map,
                        m_Levels.m_bMute);
}

void OwnVolume::fnAdopt(const pa_sink_input_info& sound) {
    const Levels shown = fnShow(sound.channel_map);
    const Levels read = fnReadLevels(sound.volume, sound.channel_map, sound.mute != 0);
    const bool sameVolume = shown.m_nLeft == read.m_nLeft && shown.m_nRight == read.m_nRight;
    const bool sameMute = shown.m_bMute == read.m_bMute;
    const bool silent = read.m_nLeft == 0 && read.m_nRight == 0;
    const bool expected = (m_bVolumeKnown ? sameVolume : !silent) && (sameMute || !m_bMuteKnown);
    if (const std::size_t known = fnFindSound(sound.index); known < m_Sounds.size()) {
        bool& starting = m_Sounds[known].m_bStarting;
        starting = starting && !expected;
        if (starting)
            return;
    }
    if (!sameVolume)
        fnSetVolume(read.m_nLeft, read.m_nRight);
    if (!sameMute)
        fnSetMute(read.m_bMute);
}

pa_cvolume OwnVolume::fnMakeVolume(const pa_channel_map& map, std::uint32_t left,
                                   std::uint32_t right) {
    pa_cvolume full;
    pa_cvolume_reset(&full, map.channels);
    return fnSetLevels(full, map, left, right);
}

StartVolume OwnVolume::fnGetStart(const pa_channel_map& map) const {
    StartVolume start;
    if (m_bVolumeKnown)
        start.m_Volume = fnMakeVolume(map, m_Levels.m_nLeft, m_Levels.m_nRight);
    if (m_bMuteKnown)
        start.m_bMute = m_Levels.m_bMute;
    return start;
}

} // namespace q32::pulse
