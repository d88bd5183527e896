/// @file A mixer of Windows with every control, in memory. Wine's have neither bass nor treble, and
/// don't keep their channels apart.
#pragma once

#include "platforms/win32/MixerCalls_p.h"

#include <array>
#include <cstdint>

namespace q32::test {

/// One device at a time, whose state is shared by all who open it.
class FakeMixer {
public:
    static constexpr DWORD kLine = 0xFFFF0000;

    FakeMixer();
    ~FakeMixer();
    FakeMixer(const FakeMixer&) = delete;
    FakeMixer& operator=(const FakeMixer&) = delete;

    q32::win32::MixerCalls fnGetCalls() const;
    /// Changes the volume as another program would.
    void fnMoveVolume(std::uint32_t value) { m_Values[0] = {value, value}; }
    /// Whether the driver sends messages about changes.
    bool m_bSends = false;
    /// Whether it sends one about the volume while it is closed.
    bool m_bSendsLate = false;
    int m_nOpen = 0;

private:
    struct Control {
        DWORD m_nType;
        bool m_bUniform;
    };
    static const std::array<Control, 4> kControls;

    static UINT WINAPI fnGetCount();
    static MMRESULT WINAPI fnOpen(LPHMIXER mixer, UINT id, DWORD_PTR callback, DWORD_PTR,
                                  DWORD flags);
    static MMRESULT WINAPI fnClose(HMIXER mixer);
    static MMRESULT WINAPI fnGetLine(HMIXEROBJ mixer, LPMIXERLINEW line, DWORD flags);
    static MMRESULT WINAPI fnGetControls(HMIXEROBJ mixer, LPMIXERLINECONTROLSW request,
                                         DWORD flags);
    static MMRESULT WINAPI fnGetDetails(HMIXEROBJ mixer, LPMIXERCONTROLDETAILS details,
                                        DWORD flags);
    static MMRESULT WINAPI fnSetDetails(HMIXEROBJ mixer, LPMIXERCONTROLDETAILS details,
                                        DWORD flags);
    /// The values that a request names; null for a wrong one.
    static std::array<std::uint32_t, 2>* fnFind(const MIXERCONTROLDETAILS& details);

    static FakeMixer* thePresent;
    std::array<std::array<std::uint32_t, 2>, 4> m_Values{};
    HWND m_Listener = nullptr; ///< the window of the last open
};

} // namespace q32::test
