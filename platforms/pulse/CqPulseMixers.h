#pragma once

#include "q32Base/platform/CqMixerService.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace q32::pulse {
class Connection;
}

/// The volume of a sound server's default sink, as one mixer whose speaker line has a left and a
/// right channel, volume and mute. Made by `q32Pulse`.
///
/// It is always the sink that is the default one now; when another becomes that, its values count
/// as changes. Of a sink with more channels, a side is as loud as its loudest one, and all follow.
/// One without sides answers a pair with one value. Values are the server's perceptual scale, with
/// 65535 for its full volume; what a user has raised above that reads as 65535. A server has no
/// bass and treble.
///
/// Changes are told when the owner pumps, on the thread that pumps:
///
///     poll {mixers->fnGetDescriptor(), POLLIN}, or a QSocketNotifier on it; then mixers->fnPump();
///
/// No call throws but a pump, which lets pass what the host throws when it is told; what is left to
/// tell then comes with the next pump. For each answer a call waits no longer than the options'
/// patience. When the server goes, calls fail; a new one is found by itself, and what it has
/// otherwise is told.
class Q32_API CqPulseMixers final : public CqMixerService {
public:
    explicit CqPulseMixers(std::shared_ptr<q32::pulse::Connection> connection);
    ~CqPulseMixers() override;

    /// Can be read from while there is something to pump. It stays open as long as the service; -1
    /// when the system has none to give, and then no mixer opens.
    int fnGetDescriptor() const;
    /// Tells the changes that have come so far; returns how many were told. Changes of a control
    /// that came faster are told as one.
    std::size_t fnPump();

    /// 1, or 0 without a server or sink.
    std::uint32_t fnGetCount() override;
    std::unique_ptr<CqMixer> fnOpen(std::uint32_t index, Changed changed) override;

private:
    struct State;
    class Mixer;
    const std::shared_ptr<State> m_pState;
};
