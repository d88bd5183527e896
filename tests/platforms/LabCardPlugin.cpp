// A control plug-in for ALSA: a card that is a file (see LabCard.h), which all its users share.
// Each write to the file is an event.
//
//     ctl.lab { type lab  file "/tmp/card"  tone true  channels 2 }
#include "tests/support/LabCard.h"

#include <alsa/asoundlib.h>
#include <alsa/control_external.h>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

struct Knob {
    const char* m_pszName;
    bool m_bSwitch;
    std::size_t m_nPlace;
    long m_nLowest;
    long m_nHighest;
};

constexpr Knob kKnobs[] = {{"Master Playback Volume", false, offsetof(LabCard, m_nMaster), 0, 31},
                           {"Master Playback Switch", true, offsetof(LabCard, m_nMasterOn), 0, 1},
                           {"Tone Control - Bass", false, offsetof(LabCard, m_nBass), -10, 14},
                           {"Tone Control - Treble", false, offsetof(LabCard, m_nTreble), -10, 14},
                           {"Tone Control - Switch", true, offsetof(LabCard, m_nToneOn), 0, 1}};
constexpr int kTone = 2; ///< those before it are the master's

struct Card {
    snd_ctl_ext_t m_Ext;
    int m_nFile;
    int m_nKnobs;
    unsigned int m_nChannels;
    bool m_bEvents;
    LabCard m_Seen;

    unsigned int fnCount(snd_ctl_ext_key_t key) const { return key < kTone ? m_nChannels : 1; }
    int fnRead(LabCard& state) const {
        const bool whole = ::pread(m_nFile, &state, sizeof state, 0) == sizeof state;
        return whole && state.m_nGone == 0 ? 0 : -ENODEV;
    }
    static std::int32_t* fnPlace(LabCard& state, snd_ctl_ext_key_t key) {
        return reinterpret_cast<std::int32_t*>(reinterpret_cast<char*>(&state) +
                                               kKnobs[key].m_nPlace);
    }
};

Card& fnCard(snd_ctl_ext_t* ext) {
    return *static_cast<Card*>(ext->private_data);
}

void fnClose(snd_ctl_ext_t* ext) {
    Card* card = &fnCard(ext);
    ::close(card->m_nFile);
    ::close(card->m_Ext.poll_fd);
    delete card;
}

int fnElemCount(snd_ctl_ext_t* ext) {
    return fnCard(ext).m_nKnobs;
}

int fnElemList(snd_ctl_ext_t*, unsigned int offset, snd_ctl_elem_id_t* id) {
    snd_ctl_elem_id_set_interface(id, SND_CTL_ELEM_IFACE_MIXER);
    snd_ctl_elem_id_set_name(id, kKnobs[offset].m_pszName);
    return 0;
}

snd_ctl_ext_key_t fnFindElem(snd_ctl_ext_t* ext, const snd_ctl_elem_id_t* id) {
    for (int i = 0; i < fnCard(ext).m_nKnobs; ++i)
        if (std::strcmp(snd_ctl_elem_id_get_name(id), kKnobs[i].m_pszName) == 0)
            return static_cast<snd_ctl_ext_key_t>(i);
    return SND_CTL_EXT_KEY_NOT_FOUND;
}

int fnGetAttribute(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, int* type, unsigned int* access,
                   unsigned int* count) {
    *type = kKnobs[key].m_bSwitch ? SND_CTL_ELEM_TYPE_BOOLEAN : SND_CTL_ELEM_TYPE_INTEGER;
    *access = SND_CTL_EXT_ACCESS_READWRITE;
    *count = fnCard(ext).fnCount(key);
    return 0;
}

int fnGetRange(snd_ctl_ext_t*, snd_ctl_ext_key_t key, long* lowest, long* highest, long* step) {
    *lowest = kKnobs[key].m_nLowest;
    *highest = kKnobs[key].m_nHighest;
    *step = 1;
    return 0;
}

int fnReadInteger(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, long* values) {
    LabCard state;
    if (const int error = fnCard(ext).fnRead(state))
        return error;
    for (unsigned int i = 0; i < fnCard(ext).fnCount(key); ++i)
        values[i] = Card::fnPlace(state, key)[i];
    return 0;
}

int fnWriteInteger(snd_ctl_ext_t* ext, snd_ctl_ext_key_t key, long* values) {
    Card& card = fnCard(ext);
    LabCard state;
    if (const int error = card.fnRead(state))
        return error;
    bool changed = false;
    for (unsigned int i = 0; i < card.fnCount(key); ++i) {
        std::int32_t& value = Card::fnPlace(state, key)[i];
        changed = changed || value != values[i];
        value = static_cast<std::int32_t>(values[i]);
    }
    if (changed && ::pwrite(card.m_nFile, &state, sizeof state, 0) != sizeof state)
        return -EIO;
    return changed ? 1 : 0;
}

void fnSubscribe(snd_ctl_ext_t* ext, int subscribe) {
    fnCard(ext).m_bEvents = subscribe != 0;
}

/// One event per call: the first control that has changed since its last event.
int fnReadEvent(snd_ctl_ext_t* ext, snd_ctl_elem_id_t* id, unsigned int* mask) {
    Card& card = fnCard(ext);
    LabCard state;
    if (const int error = card.fnRead(state))
        return error;
    for (int i = 0; i < card.m_nKnobs && card.m_bEvents; ++i) {
        const auto key = static_cast<snd_ctl_ext_key_t>(i);
        const std::size_t bytes = card.fnCount(key) * sizeof(std::int32_t);
        std::int32_t* seen = Card::fnPlace(card.m_Seen, key);
        if (std::memcmp(seen, Card::fnPlace(state, key), bytes) == 0)
            continue;
        std::memcpy(seen, Card::fnPlace(state, key), bytes);
        fnElemList(ext, static_cast<unsigned int>(i), id);
        *mask = SND_CTL_EVENT_MASK_VALUE;
        return 1;
    }
    char notes[4096];
    while (::read(card.m_Ext.poll_fd, notes, sizeof notes) > 0)
        ;
    return -EAGAIN;
}

constexpr snd_ctl_ext_callback_t fnMakeCallbacks() {
    snd_ctl_ext_callback_t calls{};
    calls.close = fnClose;
    calls.elem_count = fnElemCount;
    calls.elem_list = fnElemList;
    calls.find_elem = fnFindElem;
    calls.get_attribute = fnGetAttribute;
    calls.get_integer_info = fnGetRange;
    calls.read_integer = fnReadInteger;
    calls.write_integer = fnWriteInteger;
    calls.subscribe_events = fnSubscribe;
    calls.read_event = fnReadEvent;
    return calls;
}

constexpr snd_ctl_ext_callback_t kCalls = fnMakeCallbacks();

} // namespace

extern "C" {

SND_CTL_PLUGIN_DEFINE_FUNC(lab) {
    (void)root;
    const char* file = "";
    long channels = 2;
    int tone = 1;
    snd_config_t* entry = nullptr;
    if (snd_config_search(conf, "file", &entry) >= 0)
        snd_config_get_string(entry, &file);
    if (snd_config_search(conf, "channels", &entry) >= 0)
        snd_config_get_integer(entry, &channels);
    if (snd_config_search(conf, "tone", &entry) >= 0)
        tone = snd_config_get_bool(entry);
    auto* card = new Card();
    card->m_nFile = ::open(file, O_RDWR | O_CLOEXEC);
    card->m_nKnobs = tone ? static_cast<int>(std::size(kKnobs)) : kTone;
    card->m_nChannels = static_cast<unsigned int>(channels);
    snd_ctl_ext_t& ext = card->m_Ext;
    ext.version = SND_CTL_EXT_VERSION;
    std::strcpy(ext.id, "lab");
    std::strcpy(ext.name, "Card of the tests");
    ext.private_data = card;
    ext.callback = &kCalls;
    ext.poll_fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    int error = card->fnRead(card->m_Seen);
    if (error == 0 && ::inotify_add_watch(ext.poll_fd, file, IN_MODIFY) < 0)
        error = -errno;
    if (error == 0)
        error = snd_ctl_ext_create(&ext, name, mode);
    if (error < 0) {
        fnClose(&ext);
        return error;
    }
    *handlep = ext.handle;
    return 0;
}

SND_CTL_PLUGIN_SYMBOL(lab)
}
