#pragma once

#include "q32Base/platform/CqMixerService.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

/// The mixer of one sound card, with a speaker line of a left and a right channel. It has those of
/// volume, mute, bass and treble that the card has: volume and mute are the element "Master", else
/// "Speaker", "Headphone", "Front" or "PCM"; bass and treble the elements of these names.
///
/// 0 to 65535 maps linearly to the card's own range of steps. A control reads back exactly as set
/// here until something else changes it. A control without sides returns one value for a pair; with
/// more than two channels, each follows its side, and the middle ones the louder side. It is mute
/// when all its channels are.
///
/// Changes are reported during `fnPump`, on the thread that calls it:
///
///     poll {mixers->fnGetDescriptor(), POLLIN}, or a QSocketNotifier on it; then mixers->fnPump();
///
/// All calls must be made on one thread. No call throws except a pump, which passes on what the
/// host's callback throws. The card may be removed: calls fail from then on.
class Q32_API CqAlsaMixers final : public CqMixerService {
public:
    /// The mixer of one device, which isn't opened yet. Throws std::bad_alloc.
    /// @param device  a control device as named in ALSA's settings: "default", "hw:0", …
    explicit CqAlsaMixers(std::string device = "default");
    ~CqAlsaMixers() override;

    /// Readable while there is something to pump. It stays open as long as the service; -1 when the
    /// system can't provide one, and then no mixer opens.
    int fnGetDescriptor() const;
    /// Reports the changes received so far; returns how many were reported. Changes of a control
    /// between two pumps are reported as one.
    std::size_t fnPump();

    /// 1, or 0 when there is no such card.
    std::uint32_t fnGetCount() override;
    std::unique_ptr<CqMixer> fnOpen(std::uint32_t index, Changed changed) override;

private:
    struct Q32_LOCAL State;
    class Mixer;
    const std::shared_ptr<State> m_pState;
};
