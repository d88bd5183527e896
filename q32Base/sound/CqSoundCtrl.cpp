#include "q32Base/sound/CqSoundCtrl.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

constexpr std::uint32_t kHighest = 255;
constexpr std::uint32_t kCentre = 128;

/// Reads a control's values; the size of `values` is the number requested.
bool fnRead(CqMixer* mixer, std::uint32_t control, std::uint32_t channels,
            std::vector<std::uint32_t>& values) {
    return mixer && mixer->fnGetValues(control, channels, values) && !values.empty();
}

bool fnWrite(CqMixer& mixer, std::uint32_t control, std::uint32_t channels,
             std::initializer_list<std::uint32_t> values) {
    return q32::fnTryMemory([&] { return mixer.fnSetValues(control, channels, values); });
}

/// The id of a control; 0 when there is none.
std::uint32_t fnFindControl(CqMixer& mixer, const CqMixerLine& line, CQ_MIXER_CONTROL type) {
    std::uint32_t id = 0;
    const bool found =
        q32::fnTryMemory([&] { return mixer.fnFindControl(line.m_nLineId, type, id); });
    return found ? id : 0;
}

std::uint32_t fnClamp(int value) {
    return static_cast<std::uint32_t>(std::clamp(value, 0, static_cast<int>(kHighest)));
}

/// Position of the quieter channel between 0 and the louder one: 0 to 128, or slightly more.
std::uint32_t fnPlaceBetween(std::uint32_t quiet, std::uint32_t volume) {
    return quiet / (2 * volume);
}

} // namespace

CqSoundCtrl::~CqSoundCtrl() {
    CqSoundCtrl::DestroyWindow();
}

bool CqSoundCtrl::fnCreate(CWnd* pParent, unsigned int nID, unsigned int nStep) {
    if (IsWindow())
        return false;
    m_nStep = nStep;
    if (!pParent || !pParent->IsWindow())
        return false;
    m_nId = nID;
    m_Client = pParent->GetClientRect();
    fnSetParent(pParent);
    if (!q32::fnTryMemory([&] { return fnOpenMixer(); })) {
        DestroyWindow();
        return false;
    }
    bool mute = false;
    if (fnGetMixerMute(mute))
        m_bMute = mute;
    unsigned int volume = 0;
    unsigned int balance = 0;
    if (fnGetMixerVolume(volume, balance)) {
        m_nVolume = volume;
        m_nBalance = balance;
    }
    unsigned int tone = 0;
    if (fnGetMixerBass(tone))
        m_nBass = tone;
    if (fnGetMixerTreble(tone))
        m_nTreble = tone;
    return true;
}

/// Opens the first mixer with controls on a speaker line.
bool CqSoundCtrl::fnOpenMixer() {
    CqMixerService& service = *q32::fnPlatform().m_pMixers;
    const std::uint32_t count = service.fnGetCount();
    for (std::uint32_t index = 0; index < count; ++index) {
        std::unique_ptr<CqMixer> mixer = service.fnOpen(index, [this](std::uint32_t control) {
            SendMessage(MM_MIXM_CONTROL_CHANGE, fnGetMixerHandle(), static_cast<LPARAM>(control));
        });
        CqMixerLine line;
        if (!mixer || !mixer->fnFindSpeakerLine(line) || line.m_nControls == 0)
            continue;
        m_nLineChannels = line.m_nChannels;
        m_nMuteControl = fnFindControl(*mixer, line, CQ_MIXER_CONTROL::MUTE);
        m_nVolumeControl = fnFindControl(*mixer, line, CQ_MIXER_CONTROL::VOLUME);
        m_nBassControl = fnFindControl(*mixer, line, CQ_MIXER_CONTROL::BASS);
        m_nTrebleControl = fnFindControl(*mixer, line, CQ_MIXER_CONTROL::TREBLE);
        m_hMixer = std::move(mixer);
        return true;
    }
    return false;
}

bool CqSoundCtrl::DestroyWindow() {
    if (!IsWindow())
        return false;
    SendMessage(WM_DESTROY, 0, 0);
    fnDestroyChildren();
    fnSetParent(nullptr);
    return true;
}

LRESULT CqSoundCtrl::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == MM_MIXM_CONTROL_CHANGE)
        return OnMixerChange(wParam, lParam);
    if (message == WM_DESTROY)
        OnDestroy();
    return 0;
}

void CqSoundCtrl::OnDestroy() {
    m_hMixer.reset();
}

// Reading.

bool CqSoundCtrl::fnGetMixerMute(bool& bMute) const {
    return q32::fnTryMemory([&] {
        std::vector<std::uint32_t> values(1);
        if (!fnRead(m_hMixer.get(), m_nMuteControl, 1, values))
            return false;
        bMute = values[0] == 1;
        return true;
    });
}

bool CqSoundCtrl::fnGetMixerVolume(unsigned int& nVolume, unsigned int& nBalance) const {
    return q32::fnTryMemory([&] {
        std::vector<std::uint32_t> values(2);
        if (!fnRead(m_hMixer.get(), m_nVolumeControl, m_nLineChannels, values))
            return false;
        const std::uint32_t left = values.front();
        const std::uint32_t right = values.back(); // the same value on a mono line
        nVolume = std::max(left, right) >> 8;
        nBalance = kCentre;
        if (nVolume != 0 && left > right)
            nBalance = fnPlaceBetween(right, nVolume);
        else if (nVolume != 0 && left < right)
            nBalance = kHighest - fnPlaceBetween(left, nVolume);
        return true;
    });
}

bool CqSoundCtrl::fnGetTone(std::uint32_t nControl, unsigned int& nValue) const {
    return q32::fnTryMemory([&] {
        std::vector<std::uint32_t> values(1);
        if (!fnRead(m_hMixer.get(), nControl, m_nLineChannels, values))
            return false;
        nValue = values[0] >> 8;
        return true;
    });
}

bool CqSoundCtrl::fnGetMixerBass(unsigned int& nBass) const {
    return fnGetTone(m_nBassControl, nBass);
}

bool CqSoundCtrl::fnGetMixerTreble(unsigned int& nTreble) const {
    return fnGetTone(m_nTrebleControl, nTreble);
}

// Setting.

/// Caches a new value once it has been sent.
template <typename Value, typename Send>
bool CqSoundCtrl::fnStore(Value& cache, Value value, Send send) {
    if (!m_hMixer)
        return false;
    if (value == cache)
        return true;
    if (!send())
        return false;
    cache = value;
    return true;
}

/// The louder channel carries the volume; the other one decreases with the distance from the
/// centre.
bool CqSoundCtrl::fnSendLevels(std::uint32_t nVolume, std::uint32_t nBalance) {
    const std::uint32_t loud = nVolume * 256;
    const std::uint32_t left = nBalance > kCentre ? (kHighest - nBalance) * nVolume * 2 : loud;
    const std::uint32_t right = nBalance < kCentre ? nBalance * nVolume * 2 : loud;
    return fnWrite(*m_hMixer, m_nVolumeControl, m_nLineChannels, {left, right});
}

bool CqSoundCtrl::fnSetMute(bool bMute) {
    return fnStore(m_bMute, bMute,
                   [&] { return fnWrite(*m_hMixer, m_nMuteControl, 1, {bMute ? 1u : 0u}); });
}

bool CqSoundCtrl::fnSwitchMute() {
    return fnSetMute(!m_bMute);
}

bool CqSoundCtrl::fnSetVolume(int nVolume) {
    const std::uint32_t volume = fnClamp(nVolume);
    return fnStore(m_nVolume, volume, [&] { return fnSendLevels(volume, m_nBalance); });
}

bool CqSoundCtrl::fnSetBalance(int nBalance) {
    const std::uint32_t balance = fnClamp(nBalance);
    return fnStore(m_nBalance, balance, [&] { return fnSendLevels(m_nVolume, balance); });
}

bool CqSoundCtrl::fnSetTone(std::uint32_t nControl, int nValue, std::uint32_t& cache) {
    const std::uint32_t value = fnClamp(nValue);
    return fnStore(cache, value,
                   [&] { return fnWrite(*m_hMixer, nControl, m_nLineChannels, {value * 256}); });
}

bool CqSoundCtrl::fnSetBass(int nBass) {
    return fnSetTone(m_nBassControl, nBass, m_nBass);
}

bool CqSoundCtrl::fnSetTreble(int nTreble) {
    return fnSetTone(m_nTrebleControl, nTreble, m_nTreble);
}

/// One step up or down, for the absolute setters. Wraps at 32 bits.
int CqSoundCtrl::fnStep(std::uint32_t nValue, bool bUp) const {
    if (!bUp)
        return static_cast<int>(nValue - m_nStep);
    return static_cast<int>(std::min(nValue + m_nStep, kHighest));
}

bool CqSoundCtrl::fnSetVolume(bool bUp) {
    return fnSetVolume(fnStep(m_nVolume, bUp));
}

bool CqSoundCtrl::fnSetBalance(bool bUp) {
    return fnSetBalance(fnStep(m_nBalance, bUp));
}

bool CqSoundCtrl::fnSetBass(bool bUp) {
    return fnSetBass(fnStep(m_nBass, bUp));
}

bool CqSoundCtrl::fnSetTreble(bool bUp) {
    return fnSetTreble(fnStep(m_nTreble, bUp));
}

// Changes from outside.

/// Caches a value that was read, and notifies the parent if it has changed.
template <typename Value>
void CqSoundCtrl::fnTake(Value& cache, Value value, SOUND_CTRL_NOTIFICATION code) {
    if (value == cache)
        return;
    cache = value;
    CWnd* parent = GetParent();
    // The parent may have destroyed the window in an earlier notification.
    if (!parent)
        return;
    NMHDR notification = {reinterpret_cast<HWND>(static_cast<CWnd*>(this)), m_nId, code};
    parent->SendMessage(WM_NOTIFY, m_nId, reinterpret_cast<LPARAM>(&notification));
}

long CqSoundCtrl::OnMixerChange(WPARAM wParam, LPARAM lParam) {
    if (!m_hMixer || wParam != fnGetMixerHandle())
        return 0;
    const auto control = static_cast<std::uint32_t>(lParam);
    bool mute = false;
    unsigned int value = 0;
    unsigned int balance = 0;
    if (control == m_nVolumeControl && fnGetMixerVolume(value, balance)) {
        fnTake(m_nVolume, value, SCN_VOLUME);
        fnTake(m_nBalance, balance, SCN_BALANCE);
    } else if (control == m_nMuteControl && fnGetMixerMute(mute)) {
        fnTake(m_bMute, mute, SCN_MUTE);
    } else if (control == m_nBassControl && fnGetMixerBass(value)) {
        fnTake(m_nBass, value, SCN_BASS);
    } else if (control == m_nTrebleControl && fnGetMixerTreble(value)) {
        fnTake(m_nTreble, value, SCN_TREBLE);
    }
    return 0;
}
