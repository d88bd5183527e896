// Plays a WAV file to its end: play <sound> [<server>]
#include "platforms/posix/posix.h"
#include "platforms/pulse/pulse.h"
#include "plugins/PictureFile.h" // the texts of results
#include "plugins/WaveFile.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <cstdlib>

int main(int count, char** arguments) {
    if (count != 2 && count != 3)
        return std::fputs("play <sound> [<server>]\n", stderr), EXIT_FAILURE;
    CqPulseOptions options;
    options.m_szApplication = "play";
    options.m_szServer = count == 3 ? arguments[2] : ""; // empty: the user's own
    const CqPulse pulse = q32Pulse(options);
    CqPlatform platform = q32PosixPlatform();
    platform.m_pWaveOut = pulse.m_pWaveOut; // files from one back end, sound from another
    platform.m_pMixers = pulse.m_pMixers;

    return q32RunHost(platform, [&] {
        CqWave wave;
        if (!q32ShowPictureResult(q32ReadWave(arguments[1], wave)))
            return EXIT_FAILURE;
        const WAVEFORMATEX format = wave.fnGetFormat();
        std::printf("%u channels, %u bits, %u Hz, %u frames\n", unsigned{format.nChannels},
                    unsigned{format.wBitsPerSample}, unsigned{format.nSamplesPerSec},
                    unsigned{wave.fnGetFrameCount()});
        if (!wave.fnPlay(true, false)) { // waits for the end; no loop
            q32ShowMsgStr(pulse.m_pWaveOut->fnGetError().c_str(), MB_ICONHAND);
            return EXIT_FAILURE;
        }
        std::printf("played\n");
        return EXIT_SUCCESS;
    });
}
