#pragma once

#include "q32Base/platform/Export.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

/// What a control of a mixer line does.
enum class CQ_MIXER_CONTROL : std::uint32_t {
    MUTE = 0x20010002u,
    VOLUME = 0x50030001u,
    BASS = 0x50030002u,
    TREBLE = 0x50030003u
};

/// A line of a mixer.
struct CqMixerLine {
    std::uint32_t m_nLineId = 0;
    std::uint32_t m_nChannels = 0;
    std::uint32_t m_nControls = 0;
};

/// An open mixer. Destroying it closes it; no change is told after that.
class Q32_API CqMixer {
public:
    virtual ~CqMixer() = default;

    /// The line to the speakers. False when there is none.
    virtual bool fnFindSpeakerLine(CqMixerLine& line) = 0;
    /// The id of the line's control of that type, never 0. False when there is none.
    virtual bool fnFindControl(std::uint32_t lineId, CQ_MIXER_CONTROL type, std::uint32_t& id) = 0;
    /// The control's values, 0 to 65535 (mute: 0 or 1), one for all channels or one each. `values`
    /// comes with the number of values asked for and goes back with the number had.
    virtual bool fnGetValues(std::uint32_t control, std::uint32_t channels,
                             std::vector<std::uint32_t>& values) = 0;
    virtual bool fnSetValues(std::uint32_t control, std::uint32_t channels,
                             const std::vector<std::uint32_t>& values) = 0;
};

/// The sound mixers of the machine. Called on the owner's thread.
class Q32_API CqMixerService {
public:
    virtual ~CqMixerService() = default;

    /// Told on the owner's thread whenever a control has changed, by whomever.
    using Changed = std::function<void(std::uint32_t control)>;

    virtual std::uint32_t fnGetCount() = 0;
    /// Opens mixer `index`, from 0. Null on failure.
    virtual std::unique_ptr<CqMixer> fnOpen(std::uint32_t index, Changed changed) = 0;
};
