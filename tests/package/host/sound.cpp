// Links the sound back ends as a host does: without a device they report that there is none.
#include "platforms/pulse/pulse.h"
#if defined(WITH_ALSA)
#include "platforms/alsa/alsa.h"
#endif

#include <cstdio>

int main() {
    const CqPulse pulse = q32Pulse({.m_szServer = "unix:/nowhere/native"});
    bool silent = !pulse.m_pWaveOut->fnCanPlay({1, 2, 44100, 176400, 4, 16, 0}) &&
                  pulse.m_pMixers->fnGetCount() == 0;
#if defined(WITH_ALSA)
    silent = silent && CqAlsaMixers("nowhere").fnGetCount() == 0;
#endif
    std::printf("without a server: %s\n", pulse.m_pWaveOut->fnGetError().c_str());
    return silent ? 0 : 1;
}
