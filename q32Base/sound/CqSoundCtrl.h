#pragma once

#include "q32Base/framework/Windows.h"
#include "q32Base/platform/CqMixerService.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <memory>

/// Notification code of CqSoundCtrl: the value that has changed.
enum SOUND_CTRL_NOTIFICATION : std::uint32_t {
    SCN_VOLUME = 1,  ///< see `CqSoundCtrl::fnGetVolume`
    SCN_MUTE = 2,    ///< see `CqSoundCtrl::fnGetMute`
    SCN_BALANCE = 3, ///< see `CqSoundCtrl::fnGetBalance`
    SCN_BASS = 4,    ///< see `CqSoundCtrl::fnGetBass`
    SCN_TREBLE = 5   ///< see `CqSoundCtrl::fnGetTreble`
};

/// The machine's volume, balance, bass, treble and mute as five values, for the speaker line of the
/// first mixer that has one. A hidden child window, which notifies its parent when anyone else
/// changes them: WM_NOTIFY, with the control's id as wParam and an NMHDR as lParam, once for each
/// value.
///
/// Values range from 0 to 255, with 128 in the middle; balance from left to right. They are cached:
/// the getters don't query the mixer, and a change made by the control itself isn't notified.
/// Failures are results, never messages or exceptions: a setter that returns false leaves its value
/// unchanged. Use on the parent's thread. The control must not be deleted from within its
/// notification; its window may be destroyed.
class Q32_API CqSoundCtrl : public CWnd {
public:
    /// Without window and mixer, until `fnCreate`.
    CqSoundCtrl() = default;
    ~CqSoundCtrl() override;

    /// Creates the child window, opens the mixer and reads its values; those that can't be read are
    /// unchanged.
    /// @param nID    the control's id in the parent's notifications
    /// @param nStep  step of the relative setters; one above 255 may wrap
    /// @return false without a parent window or a mixer with controls on a speaker line, and if the
    ///         window already exists, which is then unchanged
    bool fnCreate(CWnd* pParent, unsigned int nID, unsigned int nStep);

    /// Whether the mixer has a control for this value. That of the volume serves the balance too.
    bool fnCanHandleMute() const { return m_nMuteControl != 0; }
    bool fnCanHandleVolume() const { return m_nVolumeControl != 0; }
    bool fnCanHandleBass() const { return m_nBassControl != 0; }
    bool fnCanHandleTreble() const { return m_nTrebleControl != 0; }

    /// Whether the machine is silenced; false before it is known.
    bool fnGetMute() const { return m_bMute; }
    /// The louder channel's level, from 0; 128 before it is known.
    unsigned int fnGetVolume() const { return m_nVolume; }
    /// 0 is left alone, 255 right alone, 128 both alike, which it is before it is known.
    unsigned int fnGetBalance() const { return m_nBalance; }
    /// Level of low tones; 128 before it is known.
    unsigned int fnGetBass() const { return m_nBass; }
    /// Level of high tones; 128 before it is known.
    unsigned int fnGetTreble() const { return m_nTreble; }

    /// Silences the machine, or ends that. False without a mixer, or if it refuses. A state equal
    /// to the cached one isn't sent.
    bool fnSetMute(bool bMute);
    /// Silences the machine if it isn't, else ends that. False as above.
    bool fnSwitchMute();
    /// Set a value, clamped to 0 to 255. Return false without a mixer, or if it refuses. A value
    /// equal to the cached one isn't sent.
    bool fnSetVolume(int nVolume);
    bool fnSetBalance(int nBalance);
    bool fnSetBass(int nBass);
    bool fnSetTreble(int nTreble);
    /// Move a value by one step, up for true (balance: to the right). They fail as the others do.
    bool fnSetVolume(bool bUp);
    bool fnSetBalance(bool bUp);
    bool fnSetBass(bool bUp);
    bool fnSetTreble(bool bUp);

    // The window.

    /// That of the parent when the control was created. Nothing is ever shown in it.
    CRect GetClientRect() const override { return m_Client; }
    /// Handles WM_DESTROY and MM_MIXM_CONTROL_CHANGE. Always returns 0.
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void InvalidateRect(const RECT*, bool) override {} // it is never visible
    bool IsWindow() const override { return GetParent() != nullptr; }
    int GetDlgCtrlID() const override { return static_cast<int>(m_nId); }
    /// Also closes the mixer. The getters keep their values; every setter returns false from then
    /// on.
    bool DestroyWindow() override;

protected:
    /// Closes the mixer, as the answer to WM_DESTROY.
    void OnDestroy();
    /// Takes over a change that someone else made, and notifies the parent.
    /// @param wParam  the mixer's handle, `fnGetMixerHandle`; changes of any other are ignored
    /// @param lParam  id of the control that has changed
    long OnMixerChange(WPARAM wParam, LPARAM lParam);
    /// The open mixer as a handle, 0 for none.
    WPARAM fnGetMixerHandle() const { return reinterpret_cast<WPARAM>(m_hMixer.get()); }

private:
    Q32_LOCAL bool fnOpenMixer();
    Q32_LOCAL bool fnGetMixerMute(bool& bMute) const;
    Q32_LOCAL bool fnGetMixerVolume(unsigned int& nVolume, unsigned int& nBalance) const;
    Q32_LOCAL bool fnGetMixerBass(unsigned int& nBass) const;
    Q32_LOCAL bool fnGetMixerTreble(unsigned int& nTreble) const;
    Q32_LOCAL bool fnGetTone(std::uint32_t nControl, unsigned int& nValue) const;
    template <typename Value, typename Send>
    Q32_LOCAL bool fnStore(Value& cache, Value value, Send send);
    Q32_LOCAL bool fnSendLevels(std::uint32_t nVolume, std::uint32_t nBalance);
    Q32_LOCAL bool fnSetTone(std::uint32_t nControl, int nValue, std::uint32_t& cache);
    Q32_LOCAL int fnStep(std::uint32_t nValue, bool bUp) const;
    template <typename Value>
    Q32_LOCAL void fnTake(Value& cache, Value value, SOUND_CTRL_NOTIFICATION code);

    std::uint32_t m_nStep = 0;
    bool m_bMute = false;
    std::uint32_t m_nVolume = 128;
    std::uint32_t m_nBalance = 128;
    std::uint32_t m_nBass = 128;
    std::uint32_t m_nTreble = 128;
    std::unique_ptr<CqMixer> m_hMixer; ///< null: no mixer is in use
    std::uint32_t m_nLineChannels = 0;
    std::uint32_t m_nMuteControl = 0; ///< id; 0: there is none
    std::uint32_t m_nVolumeControl = 0;
    std::uint32_t m_nBassControl = 0;
    std::uint32_t m_nTrebleControl = 0;
    std::uint32_t m_nId = 0;
    CRect m_Client;
};
