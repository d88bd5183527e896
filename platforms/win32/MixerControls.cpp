#include "platforms/win32/MixerControls_p.h"

#include <algorithm>

namespace q32::win32 {

namespace {

constexpr std::uint32_t kMaxValue = 65535;

HMIXEROBJ fnToObject(HMIXER mixer) {
    return reinterpret_cast<HMIXEROBJ>(mixer);
}

} // namespace

MixerControls::MixerControls(const MixerCalls& calls, HMIXER mixer)
    : m_Calls(calls), m_Mixer(mixer) {
    CqMixerLine line;
    if (!fnFindSpeakerLine(line))
        return;
    for (const auto type : {CQ_MIXER_CONTROL::MUTE, CQ_MIXER_CONTROL::VOLUME,
                            CQ_MIXER_CONTROL::BASS, CQ_MIXER_CONTROL::TREBLE}) {
        std::uint32_t id = 0;
        fnFind(line.m_nLineId, type, id);
    }
}

bool MixerControls::fnFindSpeakerLine(CqMixerLine& line) const {
    MIXERLINEW own{};
    own.cbStruct = sizeof own;
    own.dwComponentType = MIXERLINE_COMPONENTTYPE_DST_SPEAKERS;
    if (m_Calls.m_GetLine(fnToObject(m_Mixer), &own, MIXER_GETLINEINFOF_COMPONENTTYPE) !=
        MMSYSERR_NOERROR)
        return false;
    line = {own.dwLineID, own.cChannels, own.cControls};
    return true;
}

bool MixerControls::fnFind(std::uint32_t lineId, CQ_MIXER_CONTROL type, std::uint32_t& id) {
    MIXERLINEW line{};
    line.cbStruct = sizeof line;
    line.dwLineID = lineId;
    MIXERCONTROLW control{};
    control.cbStruct = sizeof control;
    MIXERLINECONTROLSW request{};
    request.cbStruct = sizeof request;
    request.dwLineID = lineId;
    request.dwControlType = static_cast<DWORD>(type);
    request.cControls = 1;
    request.cbmxctrl = sizeof control;
    request.pamxctrl = &control;
    if (m_Calls.m_GetLine(fnToObject(m_Mixer), &line, MIXER_GETLINEINFOF_LINEID) !=
            MMSYSERR_NOERROR ||
        m_Calls.m_GetControls(fnToObject(m_Mixer), &request, MIXER_GETLINECONTROLSF_ONEBYTYPE) !=
            MMSYSERR_NOERROR)
        return false;
    const bool isUniform = (control.fdwControl & MIXERCONTROL_CONTROLF_UNIFORM) != 0;
    Control found{line.cChannels,
                  isUniform ? 1 : line.cChannels,
                  type == CQ_MIXER_CONTROL::MUTE ? 1 : kMaxValue,
                  {}};
    fnRead(fnToId(control.dwControlID), found, found.m_Seen);
    id = fnToId(control.dwControlID);
    m_Controls.emplace(id, std::move(found)); // a second search forgets no change
    return true;
}

const MixerControls::Control* MixerControls::fnFind(std::uint32_t id,
                                                    std::uint32_t channels) const {
    const auto found = m_Controls.find(id);
    return found != m_Controls.end() && (channels == 1 || channels == found->second.m_nLineChannels)
               ? &found->second
               : nullptr;
}

MIXERCONTROLDETAILS MixerControls::fnMakeDetails(std::uint32_t id, Values& values) const {
    static_assert(sizeof(MIXERCONTROLDETAILS_UNSIGNED) == sizeof(std::uint32_t));
    MIXERCONTROLDETAILS details{};
    details.cbStruct = sizeof details;
    details.dwControlID = id - 1;
    details.cChannels = static_cast<DWORD>(values.size());
    details.cbDetails = sizeof(std::uint32_t);
    details.paDetails = values.data();
    return details;
}

bool MixerControls::fnRead(std::uint32_t id, const Control& control, Values& values) const {
    values.assign(control.m_nChannels, 0);
    MIXERCONTROLDETAILS details = fnMakeDetails(id, values);
    return m_Calls.m_GetDetails(fnToObject(m_Mixer), &details, MIXER_GETCONTROLDETAILSF_VALUE) ==
           MMSYSERR_NOERROR;
}

bool MixerControls::fnGet(std::uint32_t id, std::uint32_t channels, Values& values) const {
    const Control* control = fnFind(id, channels);
    Values all;
    if (!control || values.empty() || !fnRead(id, *control, all))
        return false;
    all.resize(std::min({all.size(), std::size_t{channels}, values.size()}));
    values = std::move(all);
    return true;
}

bool MixerControls::fnSet(std::uint32_t id, std::uint32_t channels, const Values& values) const {
    const Control* control = fnFind(id, channels);
    if (!control || values.empty() ||
        std::ranges::any_of(values, [&](std::uint32_t value) { return value > control->m_nMax; }))
        return false;
    const std::size_t given = std::min<std::size_t>(values.size(), channels);
    Values all(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(given));
    all.resize(control->m_nChannels, all.back());
    MIXERCONTROLDETAILS details = fnMakeDetails(id, all);
    return m_Calls.m_SetDetails(fnToObject(m_Mixer), &details, MIXER_SETCONTROLDETAILSF_VALUE) ==
           MMSYSERR_NOERROR;
}

MixerControls::Values MixerControls::fnTakeChange(std::uint32_t id) {
    Values changed{id};
    const auto found = m_Controls.find(id);
    if (found == m_Controls.end() || !fnRead(id, found->second, found->second.m_Seen))
        changed.clear();
    return changed;
}

MixerControls::Values MixerControls::fnTakeChanges() {
    Values changed;
    changed.reserve(m_Controls.size()); // nothing is noted that isn't returned
    for (auto& [id, control] : m_Controls) {
        Values now;
        if (fnRead(id, control, now) && now != control.m_Seen) {
            control.m_Seen = std::move(now);
            changed.push_back(id);
        }
    }
    return changed;
}

} // namespace q32::win32
