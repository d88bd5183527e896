#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "q32Base/platform/CqMixerService.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <memory>
#include <vector>

/// A control of a headless mixer: one value for all channels, or one for each.
struct CqHeadlessControl {
    CQ_MIXER_CONTROL m_Type = CQ_MIXER_CONTROL::VOLUME;
    std::uint32_t m_nId = 0;
    std::vector<std::uint32_t> m_Values;
};

/// A mixer of the headless machine.
struct CqHeadlessMixerDevice {
    bool m_bOpens = true;
    bool m_bHasSpeakers = true;
    std::uint32_t m_nLineId = 0xFFFF0000u;
    std::uint32_t m_nChannels = 2;
    std::vector<CqHeadlessControl> m_Controls; ///< of the speaker line
};

/// Mixers that a script adds and changes; initially there are none. A change is reported during
/// `fnPump`, on the thread that calls it: the owner's.
class Q32_API CqHeadlessMixers final : public CqMixerService {
public:
    CqHeadlessMixers();
    ~CqHeadlessMixers() override;

    /// Calls of the mixers; shared with them, because they may outlive the service.
    struct Calls {
        CqHeadlessCalls m_Open;
        CqHeadlessCalls m_FindSpeakerLine;
        CqHeadlessCalls m_FindControl;
        CqHeadlessCalls m_GetValues;
        CqHeadlessCalls m_SetValues;
    };
    const std::shared_ptr<Calls> m_pCalls = std::make_shared<Calls>();

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
    struct State;
    class Mixer;
    std::shared_ptr<State> m_pState;
};
