#include "examples/player/Silence.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

bool fnHoldsSilence(const CqWave& wave) {
    const unsigned char silent = wave.fnGetFormat().wBitsPerSample == 8 ? 128 : 0;
    const unsigned char* const bytes = wave.fnGetBuffer();
    return std::all_of(bytes, bytes + wave.fnGetBufferSize(),
                       [&](unsigned char byte) { return byte == silent; });
}

/// The greatest value of the control of that type; `unknown` if it can't be read.
std::uint32_t fnGetGreatest(CqMixer& mixer, CQ_MIXER_CONTROL type, std::uint32_t channels,
                            std::uint32_t unknown) {
    CqMixerLine line;
    std::uint32_t control = 0;
    std::vector<std::uint32_t> values(channels);
    if (!mixer.fnFindSpeakerLine(line) || !mixer.fnFindControl(line.m_nLineId, type, control) ||
        !mixer.fnGetValues(control, channels, values))
        return unknown;
    return *std::max_element(values.begin(), values.end());
}

} // namespace

Silence::Silence(const CqWave& wave, const CqPulse& pulse) : m_bEmpty(fnHoldsSilence(wave)) {
    fnOpen(*pulse.m_pOwnMixers, "this program is muted in the desktop's volume control",
           "the volume of this program is 0");
    fnOpen(*pulse.m_pMixers, "the sound of the machine is muted", "the volume of the machine is 0");
}

void Silence::fnOpen(CqMixerService& mixers, const char* muted, const char* zero) {
    m_Volumes[m_nVolumes++] = {mixers.fnOpen(0, [this](std::uint32_t) { m_bChanged = true; }),
                               muted, zero};
}

const char* Silence::fnGetReason() {
    if (m_bEmpty)
        return "the file holds nothing but silence";
    if (!std::exchange(m_bChanged, false))
        return m_pszReason;
    m_pszReason = nullptr;
    for (const Volume& volume : m_Volumes) {
        if (!volume.m_pMixer || m_pszReason)
            continue;
        if (fnGetGreatest(*volume.m_pMixer, CQ_MIXER_CONTROL::MUTE, 1, 0) != 0)
            m_pszReason = volume.m_pszMuted;
        else if (fnGetGreatest(*volume.m_pMixer, CQ_MIXER_CONTROL::VOLUME, 2, 1) == 0)
            m_pszReason = volume.m_pszZero;
    }
    return m_pszReason;
}
