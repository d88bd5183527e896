#pragma once

#include "platforms/win32/WaveCalls_p.h"
#include "q32Base/platform/CqWaveOutService.h"

#include <memory>

/// Sound output on the system's default device, which converts any PCM format.
class CqWin32WaveOut final : public CqWaveOutService {
public:
    explicit CqWin32WaveOut(const q32::win32::WaveCalls& calls = {}) : m_Calls(calls) {}

    bool fnCanPlay(const WAVEFORMATEX& format) override;
    std::unique_ptr<CqWaveOut> fnOpen(const WAVEFORMATEX& format, Done done) override;

private:
    q32::win32::WaveCalls m_Calls;
};
