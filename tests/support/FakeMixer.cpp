#include "tests/support/FakeMixer.h"

#include <algorithm>
#include <cstring>

namespace q32::test {

FakeMixer* FakeMixer::thePresent = nullptr;
const std::array<FakeMixer::Control, 4> FakeMixer::kControls = {
    {{MIXERCONTROL_CONTROLTYPE_VOLUME, false},
     {MIXERCONTROL_CONTROLTYPE_MUTE, true},
     {MIXERCONTROL_CONTROLTYPE_BASS, true},
     {MIXERCONTROL_CONTROLTYPE_TREBLE, true}}};

FakeMixer::FakeMixer() {
    thePresent = this;
    m_Values[0] = {40000, 40000};
}

FakeMixer::~FakeMixer() {
    thePresent = nullptr;
}

q32::win32::MixerCalls FakeMixer::fnGetCalls() const {
    return {fnGetCount, fnOpen, fnClose, fnGetLine, fnGetControls, fnGetDetails, fnSetDetails};
}

UINT WINAPI FakeMixer::fnGetCount() {
    return 1;
}

MMRESULT WINAPI FakeMixer::fnOpen(LPHMIXER mixer, UINT id, DWORD_PTR callback, DWORD_PTR, DWORD) {
    if (id != 0)
        return MMSYSERR_BADDEVICEID;
    thePresent->m_Listener = reinterpret_cast<HWND>(callback); // NOLINT(performance-no-int-to-ptr)
    ++thePresent->m_nOpen;
    *mixer = reinterpret_cast<HMIXER>(thePresent);
    return MMSYSERR_NOERROR;
}

MMRESULT WINAPI FakeMixer::fnClose(HMIXER) {
    --thePresent->m_nOpen;
    if (thePresent->m_bSendsLate)
        ::SendMessageW(thePresent->m_Listener, MM_MIXM_CONTROL_CHANGE,
                       reinterpret_cast<WPARAM>(thePresent), 0);
    return MMSYSERR_NOERROR;
}

MMRESULT WINAPI FakeMixer::fnGetLine(HMIXEROBJ, LPMIXERLINEW line, DWORD flags) {
    if (flags == MIXER_GETLINEINFOF_LINEID
            ? line->dwLineID != kLine
            : line->dwComponentType != MIXERLINE_COMPONENTTYPE_DST_SPEAKERS)
        return MIXERR_INVALLINE;
    line->dwLineID = kLine;
    line->cChannels = 2;
    line->cControls = static_cast<DWORD>(kControls.size());
    return MMSYSERR_NOERROR;
}

MMRESULT WINAPI FakeMixer::fnGetControls(HMIXEROBJ, LPMIXERLINECONTROLSW request, DWORD) {
    for (std::size_t i = 0; i < kControls.size(); ++i)
        if (request->dwLineID == kLine && kControls[i].m_nType == request->dwControlType) {
            request->pamxctrl->dwControlID = static_cast<DWORD>(i);
            request->pamxctrl->fdwControl =
                kControls[i].m_bUniform ? DWORD{MIXERCONTROL_CONTROLF_UNIFORM} : 0;
            return MMSYSERR_NOERROR;
        }
    return MIXERR_INVALCONTROL;
}

std::array<std::uint32_t, 2>* FakeMixer::fnFind(const MIXERCONTROLDETAILS& details) {
    if (details.dwControlID >= kControls.size() || details.cbDetails != 4 ||
        details.cChannels != (kControls[details.dwControlID].m_bUniform ? 1u : 2u))
        return nullptr;
    return &thePresent->m_Values[details.dwControlID];
}

MMRESULT WINAPI FakeMixer::fnGetDetails(HMIXEROBJ, LPMIXERCONTROLDETAILS details, DWORD) {
    const auto* values = fnFind(*details);
    if (!values)
        return MMSYSERR_INVALPARAM;
    std::memcpy(details->paDetails, values->data(), 4 * std::size_t{details->cChannels});
    return MMSYSERR_NOERROR;
}

MMRESULT WINAPI FakeMixer::fnSetDetails(HMIXEROBJ, LPMIXERCONTROLDETAILS details, DWORD) {
    auto* values = fnFind(*details);
    if (!values)
        return MMSYSERR_INVALPARAM;
    std::memcpy(values->data(), details->paDetails, 4 * std::size_t{details->cChannels});
    if (thePresent->m_bSends)
        ::PostMessageW(thePresent->m_Listener, MM_MIXM_CONTROL_CHANGE,
                       reinterpret_cast<WPARAM>(thePresent),
                       static_cast<LPARAM>(details->dwControlID));
    return MMSYSERR_NOERROR;
}

} // namespace q32::test
