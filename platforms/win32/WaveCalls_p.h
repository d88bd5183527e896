#pragma once

#include "q32Base/platform/Records.h"

namespace q32::win32 {

/// The system's calls for sound output, so that tests can put others in their place.
struct WaveCalls {
    decltype(&::waveOutOpen) m_Open = ::waveOutOpen;
    decltype(&::waveOutClose) m_Close = ::waveOutClose;
    decltype(&::waveOutPrepareHeader) m_Prepare = ::waveOutPrepareHeader;
    decltype(&::waveOutUnprepareHeader) m_Unprepare = ::waveOutUnprepareHeader;
    decltype(&::waveOutWrite) m_Write = ::waveOutWrite;
    decltype(&::waveOutPause) m_Pause = ::waveOutPause;
    decltype(&::waveOutRestart) m_Restart = ::waveOutRestart;
    decltype(&::waveOutReset) m_Reset = ::waveOutReset;
};

} // namespace q32::win32
