#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "q32Base/platform/CqMixerService.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <memory>
#include <vector>

/// A control of a headless mixer: one value for all channels, or one for each.
struct CqHeadlessControl {
    CQ_MIXER_CONTROL m_Type = CQ_MIXER_CONTROL::VOLUME; ///< what it controls
    std::uint32_t m_nId = 0;                            ///< unique in its mixer, and not 0
    std::vector<std::uint32_t> m_Values;                ///< 0 to 65535 (mute: 0 or 1), left first
};

/// A mixer of the headless machine.
struct CqHeadlessMixerDevice {
    bool m_bOpens = true;                      ///< whether it can be opened
    bool m_bHasSpeakers = true;                ///< whether it has a speaker line
    std::uint32_t m_nLineId = 0xFFFF0000u;     ///< id of that line
    std::uint32_t m_nChannels = 2;             ///< channels of that line
    std::vector<CqHeadlessControl> m_Controls; ///< of the speaker line
};

/// Mixers that a script adds and changes; initially there are none. A change is reported during
/// `fnPump`, on the thread that calls it: the owner's.
class Q32_API CqHeadlessMixers final : public CqMixerService {
public:
    /// Without mixers.
    CqHeadlessMixers();
    ~CqHeadlessMixers() override;

    /// Calls of the mixers; shared with them, because they may outlive the service.
    struct Calls {
        CqHeadlessCalls m_Open;            ///< calls of `fnOpen`
        CqHeadlessCalls m_FindSpeakerLine; ///< calls of `CqMixer::fnFindSpeakerLine`
        CqHeadlessCalls m_FindControl;     ///< calls of `CqMixer::fnFindControl`
        CqHeadlessCalls m_GetValues;       ///< calls of `CqMixer::fnGetValues`
        CqHeadlessCalls m_SetValues; ///< calls of `CqMixer::fnSetValues`; a failed one sets nothing
    };
    const std::shared_ptr<Calls> m_pCalls = std::make_shared<Calls>(); ///< never null

    /// Adds a mixer and returns its index.
    std::uint32_t fnAddDevice(const CqHeadlessMixerDevice& device);
    /// A mixer with mute, volume, bass and treble on two channels, ids 1 to 4, at half of their
    /// range.
    static CqHeadlessMixerDevice fnMakeUsualDevice();
    /// Changes a control from outside. False if there is none of that type, or for a different
    /// number of values.
    bool fnMove(std::uint32_t index, CQ_MIXER_CONTROL type,
                const std::vector<std::uint32_t>& values);
    /// Queues the report of a change of a control id, whether changed or not, known or not.
    void fnReport(std::uint32_t index, std::uint32_t control);
    /// Values of a control; none if there is none of that type.
    std::vector<std::uint32_t> fnGetValues(std::uint32_t index, CQ_MIXER_CONTROL type) const;
    /// Reports the changes so far; returns how many were reported.
    std::size_t fnPump();
    /// Number of open mixers.
    std::size_t fnGetOpen() const;

    std::uint32_t fnGetCount() override;
    std::unique_ptr<CqMixer> fnOpen(std::uint32_t index, Changed changed) override;

private:
    struct Q32_LOCAL State;
    class Mixer;
    std::shared_ptr<State> m_pState;
};
