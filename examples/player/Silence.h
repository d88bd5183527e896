#pragma once

#include "platforms/pulse/pulse.h"
#include "q32Base/platform/CqMixerService.h"
#include "q32Base/sound/CqWave.h"

#include <memory>

/// Finds out why a sound that plays can't be heard.
class Silence {
public:
    Silence(const CqWave& wave, const CqPulse& pulse);

    /// Why nothing is heard, in words; null as far as the file and the sound server give no
    /// reason. Asks the server only after a change that a pump has reported.
    const char* fnGetReason();

private:
    /// One volume that can silence a sound.
    struct Volume {
        std::unique_ptr<CqMixer> m_pMixer; ///< null without a server
        const char* m_pszMuted;
        const char* m_pszZero;
    };
    void fnOpen(CqMixerService& mixers, const char* muted, const char* zero);

    bool m_bEmpty;
    bool m_bChanged = true;
    const char* m_pszReason = nullptr;
    Volume m_Volumes[2];
    std::size_t m_nVolumes = 0;
};
