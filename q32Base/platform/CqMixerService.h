#pragma once

#include "q32Base/platform/Export.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

/// Type of a mixer line's control.
enum class CQ_MIXER_CONTROL : std::uint32_t {
    MUTE = 0x20010002u,   ///< 0 or 1
    VOLUME = 0x50030001u, ///< 0 to 65535, for each channel
    BASS = 0x50030002u,   ///< 0 to 65535
    TREBLE = 0x50030003u  ///< 0 to 65535
};

/// A line of a mixer.
struct CqMixerLine {
    std::uint32_t m_nLineId = 0;   ///< identifies it within its mixer
    std::uint32_t m_nChannels = 0; ///< number of channels: 1 for mono, 2 for stereo
    std::uint32_t m_nControls = 0; ///< number of its controls
};

/// An open mixer. Destroying it closes it; no change is reported afterwards. It may be destroyed
/// from within a change callback.
class Q32_API CqMixer {
public:
    virtual ~CqMixer() = default;

    /// The line to the speakers. False when there is none.
    virtual bool fnFindSpeakerLine(CqMixerLine& line) = 0;
    /// The id of the line's control of that type, never 0. False when there is none.
    virtual bool fnFindControl(std::uint32_t lineId, CQ_MIXER_CONTROL type, std::uint32_t& id) = 0;
    /// Reads a control's values, 0 to 65535 (mute: 0 or 1).
    /// @param channels  1 for all channels together, or the line's number of channels
    /// @param values    its size on entry is the number of values requested, at least one. It is
    /// reduced if the control has fewer: a control with one value for all channels returns one for
    /// a pair. Left first.
    /// @return false for an unknown control, including 0, and for any other number of channels
    virtual bool fnGetValues(std::uint32_t control, std::uint32_t channels,
                             std::vector<std::uint32_t>& values) = 0;
    /// Sets a control's values, ranges and `channels` as above. Channel i takes value i; channels
    /// beyond the last value take the last one, and surplus values are ignored. False as above and
    /// for a value out of range, with nothing set.
    virtual bool fnSetValues(std::uint32_t control, std::uint32_t channels,
                             const std::vector<std::uint32_t>& values) = 0;
};

/// The sound mixers of the machine. Called on the owner's thread. All but the destructors of the
/// service and its mixers may throw std::bad_alloc.
class Q32_API CqMixerService {
public:
    virtual ~CqMixerService() = default;

    /// Called on the owner's thread whenever a control has changed, whatever changed it: also for
    /// `fnSetValues` of the same mixer, but never before that returns.
    using Changed = std::function<void(std::uint32_t control)>;

    /// The number of mixers.
    virtual std::uint32_t fnGetCount() = 0;
    /// Opens mixer `index`, from 0. Null on failure.
    virtual std::unique_ptr<CqMixer> fnOpen(std::uint32_t index, Changed changed) = 0;
};
