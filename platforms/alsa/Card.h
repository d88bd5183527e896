#pragma once

#include "q32Base/platform/CqMixerService.h"

#include <cstdarg>

// Its last function stands behind the end of its own block of C names.
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

/// Values of a control: left and right, or one.
using Values = std::vector<std::uint32_t>;

/// A control of a card: an element of its simple mixer, or the switch of one.
class Control {
public:
    explicit Control(CQ_MIXER_CONTROL type) : m_eType(type) {}

    /// Takes the element, if it has what the control needs.
    void fnTake(snd_mixer_elem_t* element);
    /// Takes the switch without which the control isn't heard, if the element has one. What is set
    /// turns it on.
    void fnTakeSwitch(snd_mixer_elem_t* element);
    /// An element has gone.
    void fnNoteEnd(const snd_mixer_elem_t* element);
    /// Notes whether the values are others than last time.
    void fnCompare();
    bool fnIsThere() const { return m_pElement != nullptr; }
    bool fnIsMute() const { return m_eType == CQ_MIXER_CONTROL::MUTE; }

    /// As they are: one value where the element has no sides. None on failure.
    Values fnGet() const;
    bool fnSet(std::uint32_t left, std::uint32_t right);

    bool m_bPending = false; ///< it has changed, and nobody has been told

private:
    using Raw =
        std::array<long, 2>; ///< in the card's steps; of a switch, 1 for a channel that is on
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
    /// What was last set, and the card's steps that came of it: those are fewer than the values.
    std::optional<std::pair<Values, Raw>> m_Set;
};

/// An open card.
class Card {
public:
    Card(const Card&) = delete; // its elements know its address
    Card& operator=(const Card&) = delete;
    /// Null when there is no such card. Silent. Throws std::bad_alloc.
    static std::unique_ptr<Card> fnOpen(const std::string& device);

    /// The control of an id, 1 to 4; null when the card has none such.
    Control* fnFind(std::uint32_t id);
    static std::uint32_t fnGetId(CQ_MIXER_CONTROL type);
    std::uint32_t fnCountControls() const;
    /// Takes in what has happened, and marks controls that have changed. False once the card has
    /// gone.
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
    std::unique_ptr<snd_mixer_t, Close> m_pMixer; ///< tells of its elements' end as it goes
    bool m_bGone = false;
};

} // namespace q32::alsa
