#pragma once

#include "q32Base/platform/CqMixerService.h"

#include <cstdarg>

// This header's last function is outside its extern "C" block.
extern "C" {
#include <alsa/error.h>
}
#include <alsa/asoundlib.h>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace q32::alsa {

/// Values of a control: left and right, or a single one.
using Values = std::vector<std::uint32_t>;

/// A control of a card: an element of its simple mixer, or the switch of one.
class Control {
public:
    explicit Control(CQ_MIXER_CONTROL type) : m_eType(type) {}

    /// Uses the element, if it has what the control needs.
    void fnTake(snd_mixer_elem_t* element);
    /// Uses the element's switch, if it has one, since the control isn't audible while it is off.
    /// Setting the control turns it on.
    void fnTakeSwitch(snd_mixer_elem_t* element);
    /// Notes that an element has been removed.
    void fnNoteEnd(const snd_mixer_elem_t* element);
    /// Marks the control as pending if its values have changed.
    void fnCompare();
    bool fnIsThere() const { return m_pElement != nullptr; }
    bool fnIsMute() const { return m_eType == CQ_MIXER_CONTROL::MUTE; }

    /// The values: a single one if the element has no sides. None on failure.
    Values fnGet() const;
    bool fnSet(std::uint32_t left, std::uint32_t right);

    bool m_bPending = false; ///< it has changed, and that is not reported yet

private:
    using Raw =
        std::array<long, 2>; ///< in the card's steps; for a switch, 1 for a channel that is on
    bool fnHasSides() const;
    bool fnReadRaw(Raw& raw) const;
    bool fnReadSwitch(long& on) const;
    bool fnWriteChannel(snd_mixer_selem_channel_id_t channel, std::uint32_t value) const;

    CQ_MIXER_CONTROL m_eType;
    snd_mixer_elem_t* m_pElement = nullptr;
    snd_mixer_elem_t* m_pSwitch = nullptr;
    long m_nLowest = 0;
    long m_nHighest = 0;
    Raw m_Known{}; ///< as last compared
    /// The values last set, and the resulting steps, which are coarser.
    std::optional<std::pair<Values, Raw>> m_Set;
};

/// An open card.
class Card {
public:
    Card(const Card&) = delete; // its elements hold its address
    Card& operator=(const Card&) = delete;
    /// Null if there is no such card. Prints nothing. Throws std::bad_alloc.
    static std::unique_ptr<Card> fnOpen(const std::string& device);

    /// The control of an id, 1 to 4; null if the card has none.
    Control* fnFind(std::uint32_t id);
    static std::uint32_t fnGetId(CQ_MIXER_CONTROL type);
    std::uint32_t fnCountControls() const;
    /// Processes the card's events and marks changed controls. False once the card is removed.
    bool fnUpdate();
    /// Marks controls that have changed.
    void fnCompare();
    bool fnHasPending() const;
    std::vector<pollfd> fnGetDescriptors() const;

private:
    Card();
    void fnListen();

    struct Close {
        void operator()(snd_mixer_t* mixer) const { snd_mixer_close(mixer); }
    };

    std::array<Control, 4> m_Controls;
    std::unique_ptr<snd_mixer_t, Close> m_pMixer; ///< notifies m_Controls as it goes
    bool m_bGone = false;
};

} // namespace q32::alsa
