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
/// 0 to 65535 is the card's own range of steps, evenly. A control reads back exactly as it was set
/// here until somebody else moves it. A control without sides answers a pair with one value; of
/// more than two channels, each follows its side, and the middle ones the louder side. It is mute
/// when all its channels are.
///
/// Changes are told when the owner pumps, on the thread that pumps:
///
///     poll {mixers->fnGetDescriptor(), POLLIN}, or a QSocketNotifier on it; then mixers->fnPump();
///
/// All is called on one thread. No call throws but a pump, which lets pass
/// what the host throws when it is told. The card may be taken away: calls fail from then
/// on.
class Q32_API CqAlsaMixers final : public CqMixerService {
public:
    /// @param device  a control device as ALSA's settings name it: "default", "hw:0", … Nothing is
    ///                opened yet. Throws std::bad_alloc.
    explicit CqAlsaMixers(std::string device = "default");
    ~CqAlsaMixers() override;

    /// Can be read from while there is something to pump. It stays open as long as the service; -1
    /// when the system has none to give, and then no mixer opens.
    int fnGetDescriptor() const;
    /// Tells the changes that have come so far; returns how many were told. Changes of a control
    /// that came faster are told as one.
    std::size_t fnPump();

    /// 1, or 0 when there is no such card.
    std::uint32_t fnGetCount() override;
    std::unique_ptr<CqMixer> fnOpen(std::uint32_t index, Changed changed) override;

private:
    struct State;
    class Mixer;
    const std::shared_ptr<State> m_pState;
};
