#pragma once

#include "q32Base/platform/Records.h"

namespace q32::win32 {

/// The system's calls for mixers, so that tests can put others in their place.
struct MixerCalls {
    decltype(&::mixerGetNumDevs) m_GetCount = ::mixerGetNumDevs;
    decltype(&::mixerOpen) m_Open = ::mixerOpen;
    decltype(&::mixerClose) m_Close = ::mixerClose;
    decltype(&::mixerGetLineInfoW) m_GetLine = ::mixerGetLineInfoW;
    decltype(&::mixerGetLineControlsW) m_GetControls = ::mixerGetLineControlsW;
    decltype(&::mixerGetControlDetailsW) m_GetDetails = ::mixerGetControlDetailsW;
    decltype(&::mixerSetControlDetails) m_SetDetails = ::mixerSetControlDetails;
};

} // namespace q32::win32
