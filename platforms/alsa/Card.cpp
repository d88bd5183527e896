#include "platforms/alsa/Card_p.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <iterator>

namespace q32::alsa {

namespace {

constexpr std::uint32_t kFull = 0xFFFF;

constexpr const char* kVolumeNames[] = {"Master", "Speaker", "Headphone", "Front", "PCM"};

enum class Side { LEFT, RIGHT, MIDDLE };

/// Indexed by the simple mixer's channel number.
constexpr Side kSides[] = {Side::LEFT,   Side::RIGHT, Side::LEFT,  Side::RIGHT, Side::MIDDLE,
                           Side::MIDDLE, Side::LEFT,  Side::RIGHT, Side::MIDDLE};
static_assert(SND_MIXER_SCHN_FRONT_LEFT == 0 && SND_MIXER_SCHN_REAR_LEFT == 2 &&
              SND_MIXER_SCHN_FRONT_CENTER == 4 && SND_MIXER_SCHN_WOOFER == 5 &&
              SND_MIXER_SCHN_SIDE_LEFT == 6 && SND_MIXER_SCHN_REAR_CENTER == 8);

/// For its lifetime, ALSA reports this thread's errors only by results, and prints nothing.
class QuietErrors {
public:
    QuietErrors() : m_Former(snd_lib_error_set_local(fnIgnore)) {}
    ~QuietErrors() { snd_lib_error_set_local(m_Former); }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;

private:
    static void fnIgnore(const char*, int, const char*, int, const char*, va_list) {}
    const snd_local_error_handler_t m_Former;
};

} // namespace

void Control::fnTake(snd_mixer_elem_t* element) {
    if (m_pElement)
        return;
    if (fnIsMute()
            ? !snd_mixer_selem_has_playback_switch(element)
            : !snd_mixer_selem_has_playback_volume(element) ||
                  snd_mixer_selem_get_playback_volume_range(element, &m_nLowest, &m_nHighest) < 0 ||
                  m_nLowest >= m_nHighest)
        return;
    m_pElement = element;
    fnReadRaw(m_Known);
}

void Control::fnTakeSwitch(snd_mixer_elem_t* element) {
    if (snd_mixer_selem_has_playback_switch(element))
        m_pSwitch = element;
}

bool Control::fnHasSides() const {
    return !fnIsMute() && !snd_mixer_selem_is_playback_mono(m_pElement);
}

bool Control::fnReadRaw(Raw& raw) const {
    raw = {};
    if (fnIsMute())
        return fnReadSwitch(raw[0]);
    return m_pElement &&
           snd_mixer_selem_get_playback_volume(m_pElement, SND_MIXER_SCHN_FRONT_LEFT, raw.data()) >=
               0 &&
           (!fnHasSides() || snd_mixer_selem_get_playback_volume(
                                 m_pElement, SND_MIXER_SCHN_FRONT_RIGHT, &raw[1]) >= 0);
}

/// With a switch for each channel, the control is on as long as one channel is.
bool Control::fnReadSwitch(long& on) const {
    bool done = m_pElement != nullptr;
    for (int i = 0; done && on == 0 && i <= SND_MIXER_SCHN_LAST; ++i) {
        const auto channel = static_cast<snd_mixer_selem_channel_id_t>(i);
        int open = 0;
        if (!snd_mixer_selem_has_playback_channel(m_pElement, channel))
            continue;
        done = snd_mixer_selem_get_playback_switch(m_pElement, channel, &open) >= 0;
        on = open;
    }
    return done;
}

Values Control::fnGet() const {
    Raw raw;
    if (!fnReadRaw(raw))
        return {};
    if (m_Set && m_Set->second == raw)
        return m_Set->first;
    if (fnIsMute())
        return {raw[0] == 0 ? 1u : 0u};
    const auto scale = [&](long step) {
        const double part =
            static_cast<double>(step - m_nLowest) / static_cast<double>(m_nHighest - m_nLowest);
        return static_cast<std::uint32_t>(std::lround(std::clamp(part, 0.0, 1.0) * kFull));
    };
    Values values = {scale(raw[0])};
    if (fnHasSides())
        values.push_back(scale(raw[1]));
    return values;
}

bool Control::fnWriteChannel(snd_mixer_selem_channel_id_t channel, std::uint32_t value) const {
    const double steps = static_cast<double>(m_nHighest - m_nLowest);
    return snd_mixer_selem_set_playback_volume(m_pElement, channel,
                                               m_nLowest + std::lround(value * steps / kFull)) >= 0;
}

bool Control::fnSet(std::uint32_t left, std::uint32_t right) {
    if (!m_pElement)
        return false;
    m_Set.reset();
    bool done = true;
    if (fnIsMute())
        done = snd_mixer_selem_set_playback_switch_all(m_pElement, left == 0) >= 0;
    else if (!fnHasSides())
        done = fnWriteChannel(SND_MIXER_SCHN_MONO, left);
    else
        for (std::size_t i = 0; i < std::size(kSides); ++i) {
            const auto channel = static_cast<snd_mixer_selem_channel_id_t>(i);
            const std::uint32_t value = kSides[i] == Side::LEFT    ? left
                                        : kSides[i] == Side::RIGHT ? right
                                                                   : std::max(left, right);
            if (snd_mixer_selem_has_playback_channel(m_pElement, channel))
                done = fnWriteChannel(channel, value) && done;
        }
    if (m_pSwitch)
        done = snd_mixer_selem_set_playback_switch_all(m_pSwitch, 1) >= 0 && done;
    Raw raw;
    if (done && fnReadRaw(raw))
        m_Set.emplace(fnHasSides() ? Values{left, right} : Values{left}, raw);
    return done;
}

Card::Card()
    : m_Controls{Control(CQ_MIXER_CONTROL::VOLUME), Control(CQ_MIXER_CONTROL::MUTE),
                 Control(CQ_MIXER_CONTROL::BASS), Control(CQ_MIXER_CONTROL::TREBLE)} {}

std::uint32_t Card::fnGetId(CQ_MIXER_CONTROL type) {
    switch (type) {
    case CQ_MIXER_CONTROL::VOLUME:
        return 1;
    case CQ_MIXER_CONTROL::MUTE:
        return 2;
    case CQ_MIXER_CONTROL::BASS:
        return 3;
    case CQ_MIXER_CONTROL::TREBLE:
        return 4;
    }
    return 0;
}

std::unique_ptr<Card> Card::fnOpen(const std::string& device) {
    const QuietErrors quiet;
    snd_mixer_t* mixer = nullptr;
    std::unique_ptr<Card> card(new Card);
    if (snd_mixer_open(&mixer, 0) < 0)
        return nullptr;
    card->m_pMixer.reset(mixer);
    if (snd_mixer_attach(mixer, device.c_str()) < 0 ||
        snd_mixer_selem_register(mixer, nullptr, nullptr) < 0 || snd_mixer_load(mixer) < 0)
        return nullptr;
    snd_mixer_selem_id_t* id = nullptr;
    snd_mixer_selem_id_alloca(&id);
    const auto take = [&](CQ_MIXER_CONTROL type, const char* name) {
        snd_mixer_selem_id_set_name(id, name);
        if (snd_mixer_elem_t* element = snd_mixer_find_selem(mixer, id))
            card->m_Controls[fnGetId(type) - 1].fnTake(element);
    };
    for (const char* name : kVolumeNames) {
        take(CQ_MIXER_CONTROL::VOLUME, name);
        take(CQ_MIXER_CONTROL::MUTE, name);
    }
    take(CQ_MIXER_CONTROL::BASS, "Bass");
    take(CQ_MIXER_CONTROL::TREBLE, "Treble");
    snd_mixer_selem_id_set_name(id, "Tone");
    if (snd_mixer_elem_t* element = snd_mixer_find_selem(mixer, id))
        for (const CQ_MIXER_CONTROL type : {CQ_MIXER_CONTROL::BASS, CQ_MIXER_CONTROL::TREBLE})
            card->m_Controls[fnGetId(type) - 1].fnTakeSwitch(element);
    card->fnListen();
    return card;
}

/// Subscribes to the removal of each element. Changes are found by comparing: an element doesn't
/// report those made by this process.
void Card::fnListen() {
    for (snd_mixer_elem_t* element = snd_mixer_first_elem(m_pMixer.get()); element;
         element = snd_mixer_elem_next(element)) {
        snd_mixer_elem_set_callback_private(element, this);
        snd_mixer_elem_set_callback(element, [](snd_mixer_elem_t* changed, unsigned int mask) {
            auto* card = static_cast<Card*>(snd_mixer_elem_get_callback_private(changed));
            for (Control& control : card->m_Controls)
                if (mask == SND_CTL_EVENT_MASK_REMOVE)
                    control.fnNoteEnd(changed);
            return 0;
        });
    }
}

void Control::fnNoteEnd(const snd_mixer_elem_t* element) {
    if (element == m_pElement)
        m_pElement = nullptr;
    if (element == m_pSwitch)
        m_pSwitch = nullptr;
}

void Control::fnCompare() {
    Raw raw;
    if (fnReadRaw(raw) && std::exchange(m_Known, raw) != raw)
        m_bPending = true;
}

void Card::fnCompare() {
    for (Control& control : m_Controls)
        control.fnCompare();
}

Control* Card::fnFind(std::uint32_t id) {
    const bool known = id >= 1 && id <= m_Controls.size() && !m_bGone;
    return known && m_Controls[id - 1].fnIsThere() ? &m_Controls[id - 1] : nullptr;
}

std::uint32_t Card::fnCountControls() const {
    return static_cast<std::uint32_t>(std::count_if(m_Controls.begin(), m_Controls.end(),
                                                    [](auto& one) { return one.fnIsThere(); }));
}

bool Card::fnUpdate() {
    const QuietErrors quiet;
    m_bGone = m_bGone || snd_mixer_handle_events(m_pMixer.get()) < 0;
    fnCompare();
    return !m_bGone;
}

bool Card::fnHasPending() const {
    return std::any_of(m_Controls.begin(), m_Controls.end(),
                       [](const Control& one) { return one.m_bPending; });
}

std::vector<pollfd> Card::fnGetDescriptors() const {
    std::vector<pollfd> all(
        static_cast<std::size_t>(std::max(0, snd_mixer_poll_descriptors_count(m_pMixer.get()))));
    snd_mixer_poll_descriptors(m_pMixer.get(), all.data(), static_cast<unsigned int>(all.size()));
    return all;
}

} // namespace q32::alsa
