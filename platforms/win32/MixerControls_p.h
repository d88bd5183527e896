#pragma once

#include "platforms/win32/MixerCalls_p.h"
#include "q32Base/platform/CqMixerService.h"

#include <cstdint>
#include <map>
#include <vector>

namespace q32::win32 {

/// The speaker line of an open mixer and its controls. The system's ids of controls begin with 0,
/// the library's with 1.
class MixerControls {
public:
    using Values = std::vector<std::uint32_t>;

    /// Finds the controls of the speaker line.
    MixerControls(const MixerCalls& calls, HMIXER mixer);

    bool fnFindSpeakerLine(CqMixerLine& line) const;
    bool fnFind(std::uint32_t lineId, CQ_MIXER_CONTROL type, std::uint32_t& id);
    /// As `CqMixer::fnGetValues` and `fnSetValues`.
    bool fnGet(std::uint32_t id, std::uint32_t channels, Values& values) const;
    bool fnSet(std::uint32_t id, std::uint32_t channels, const Values& values) const;

    /// Reads all known controls, and returns those that have changed since the last time.
    Values fnTakeChanges();
    /// The same for one control, which the system says has changed. None for an unknown one.
    Values fnTakeChange(std::uint32_t id);

    static std::uint32_t fnToId(DWORD systemId) { return systemId + 1; }

private:
    struct Control {
        std::uint32_t m_nLineChannels; ///< what callers may ask for
        std::uint32_t m_nChannels;     ///< values of its own
        std::uint32_t m_nMax;
        Values m_Seen; ///< when last looked at
    };

    const Control* fnFind(std::uint32_t id, std::uint32_t channels) const;
    bool fnRead(std::uint32_t id, const Control& control, Values& values) const;
    MIXERCONTROLDETAILS fnMakeDetails(std::uint32_t id, Values& values) const;

    MixerCalls m_Calls;
    HMIXER m_Mixer;
    std::map<std::uint32_t, Control> m_Controls;
};

} // namespace q32::win32
