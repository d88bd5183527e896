#pragma once

#include "q32Base/platform/CqMixerService.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace q32::pulse {
class Connection;
enum class VOLUME_OF;
} // namespace q32::pulse

/// A volume of a sound server, as one mixer whose speaker line has a left and a right channel,
/// volume and mute: that of the default sink, or that of the program's own sounds. Created by
/// `q32Pulse`.
///
/// The program's own volume applies to each sound that plays over this connection, and to those
/// that start later; while none plays, it is read and set as well. Until it is set or read, the
/// server decides how loud a sound starts. With several sounds, the values are those of the one
/// started last. The desktop's volume control may change it, too.
///
/// The other one follows the default sink; when another becomes the default, its values are
/// reported as changes. For a sink with more channels, a side's value is that of its loudest
/// channel, and all channels follow. A sink without sides returns one value for a pair. Values are
/// on the server's perceptual scale, with 65535 for full volume; a higher volume reads as 65535.
/// There is no bass and treble.
///
/// Changes are reported during `fnPump`, on the thread that calls it:
///
///     poll {mixers->fnGetDescriptor(), POLLIN}, or a QSocketNotifier on it; then mixers->fnPump();
///
/// No call throws except a pump, which passes on what the host's callback throws; the remaining
/// changes are then reported by the next pump. For each answer a call waits no longer than the
/// options' patience. When the server has gone, calls fail; a new one is found automatically, and
/// values that differ are reported.
class Q32_API CqPulseMixers final : public CqMixerService {
public:
    /// Over a connection that is shared with the sound output.
    CqPulseMixers(std::shared_ptr<q32::pulse::Connection> connection, q32::pulse::VOLUME_OF volume);
    ~CqPulseMixers() override;

    /// Readable while there is something to pump. It stays open as long as the service; -1 when the
    /// system can't provide one, and then no mixer opens.
    int fnGetDescriptor() const;
    /// Reports the changes received so far; returns how many were reported. Changes of a control
    /// between two pumps are reported as one.
    std::size_t fnPump();

    /// 1, or 0 without a server or sink; for the program's own sounds a server is enough.
    std::uint32_t fnGetCount() override;
    std::unique_ptr<CqMixer> fnOpen(std::uint32_t index, Changed changed) override;

private:
    struct Q32_LOCAL State;
    class Mixer;
    const std::shared_ptr<State> m_pState;
};
