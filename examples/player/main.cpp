// Plays a WAV file on the sound server, controlled by keys, and draws its oscillogram into a
// picture file.
#include "examples/player/Silence.h"
#include "examples/sound/WholeOscillogram.h"
#include "platforms/posix/posix.h"
#include "platforms/pulse/pulse.h"
#include "plugins/PictureFile.h"
#include "plugins/WaveFile.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/q32Base.h"
#include "tools/terminal/Keys.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
constexpr unsigned kStep = 8;
constexpr unsigned kPictureWidth = 1000;
constexpr unsigned kPictureHeight = 200;

constexpr char kUsage[] =
    "usage: player [--loop] [--picture file.png] [--no-play] [--machine-volume] sound.wav\n"
    "\n"
    "  --loop           plays again and again\n"
    "  --picture file   draws the oscillogram into a PNG, JPEG, TIFF or BMP file\n"
    "  --no-play        does that alone\n"
    "  --machine-volume keys change the volume of the machine, not of this sound alone\n"
    "  --help           shows this\n"
    "\n"
    "Samples of more than 16 bits and floating-point samples are reduced to 16 bits.\n"
    "\n"
    "Keys: space pauses and goes on, p plays from the start, l loops, s stops, up and down or\n"
    "+ and - change the volume, left and right the balance, m mutes, q or Esc ends.\n"
    "Exit codes: 0 played, 1 something failed, 2 wrong use.\n";

struct Options {
    std::string m_Sound;
    std::string m_Picture;
    bool m_bLoop = false;
    bool m_bPlay = true;
    bool m_bMachine = false; ///< the keys change the machine's volume
};

/// False for invalid arguments.
bool fnParse(int count, char** arguments, Options& options) {
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--loop")
            options.m_bLoop = true;
        else if (argument == "--no-play")
            options.m_bPlay = false;
        else if (argument == "--machine-volume")
            options.m_bMachine = true;
        else if (argument == "--picture" && i + 1 < count)
            options.m_Picture = arguments[++i];
        else if (!argument.starts_with('-') && options.m_Sound.empty())
            options.m_Sound = argument;
        else
            return false;
    }
    return !options.m_Sound.empty();
}

/// What the message of a result means for a file.
const char* fnDescribeCause(int message) {
    switch (message) {
    case MESSAGE_NO_MEMORY:
        return "there is not enough memory for it";
    case MESSAGE_CANNOT_OPEN:
        return "it does not exist, or you may not read it";
    case MESSAGE_CANNOT_SAVE:
        return "it can't be written: check the folder, your permissions and the free space";
    case MESSAGE_CORRUPTED:
        return "it is damaged or incomplete";
    case MESSAGE_IN_USE:
        return "another program is using it";
    case MESSAGE_EMPTY:
        return "it has no sound in it";
    case MESSAGE_UNSUPPORTED:
        return "it is not a WAV file of PCM or floating-point samples";
    default:
        return "it can't be read";
    }
}

/// Prints why a file could not be read or written.
bool fnReport(const CqPictureResult& result) {
    if (!result.fnIsDone())
        std::fprintf(stderr, "player: %s: %s\n", static_cast<const char*>(result.m_strPath),
                     fnDescribeCause(result.m_nMsgId));
    return result.fnIsDone();
}

bool fnDraw(const CqWave& wave, const std::string& path) {
    const CqPictureFormat* format = q32FindPictureFormat(path.c_str());
    if (!format || !format->m_bCanWrite) {
        std::fprintf(
            stderr,
            "player: %s: the name must end in .png, .jpg, .tif or .bmp for the oscillogram\n",
            path.c_str());
        return false;
    }
    CqImage image(kPictureWidth, kPictureHeight, 24, nullptr, 0);
    fnDrawOscillogram(wave, image);
    return fnReport(q32WritePicture(path.c_str(), image, format->m_eFormat));
}

/// The window that the volume control notifies of external changes: the terminal line is redrawn
/// anyway, so it only has to exist.
class Console final : public CWnd {
public:
    CRect GetClientRect() const override { return {0, 0, 1, 1}; }
    LRESULT SendMessage(UINT, WPARAM, LPARAM) override { return 0; }
    void InvalidateRect(const RECT*, bool) override {}
    bool IsWindow() const override { return true; }
};

class Player {
public:
    Player(CqWave& wave, const CqPulse& pulse)
        : m_Wave(wave), m_Pulse(pulse), m_bTerminal(isatty(STDOUT_FILENO) != 0),
          m_bVolume(m_Volume.fnCreate(&m_Console, 1, kStep)), m_Silence(wave, pulse) {}

    /// Plays until the sound ends or the user quits. False when there is no device, or it is lost.
    bool fnRun(bool loop) {
        if (!m_Wave.fnPlay(false, loop)) {
            std::fprintf(stderr, "There is no sound device that plays this: %s.\n",
                         m_Pulse.m_pWaveOut->fnGetError().c_str());
            return false;
        }
        m_bLoop = loop;
        bool quit = false;
        while (!quit && fnGoesOn()) {
            fnShow();
            const int key = m_Keys.fnWait(m_Pulse.m_pOwnMixers->fnGetDescriptor(), 50);
            m_Pulse.m_pOwnMixers->fnPump();
            m_Pulse.m_pMixers->fnPump();
            quit = key == Keys::kQuit;
            if (!quit)
                fnObey(key);
        }
        const bool lost = !quit && !m_bHeld && fnIsLost();
        m_Wave.fnStop();
        fnShow();
        std::puts("");
        if (lost)
            std::fprintf(stderr, "The sound device has gone: %s.\n",
                         m_Pulse.m_pWaveOut->fnGetError().c_str());
        return !lost;
    }

private:
    /// A playing sound runs to its end; a paused one waits for a key, as long as one can come.
    bool fnGoesOn() const {
        const WAVE_STATE state = m_Wave.fnGetState();
        if (state == WAVE_PLAYING)
            return true;
        return (state == WAVE_PAUSED || m_bHeld) && !m_Keys.fnHasEnded();
    }

    /// Whether a sound stopped by itself before its end; a loop has no end.
    bool fnIsLost() const {
        return m_Wave.fnGetState() == WAVE_STOPPED &&
               (m_bLoop || !m_Pulse.m_pWaveOut->fnCanPlay(m_Wave.fnGetFormat()));
    }

    void fnObey(int key) {
        switch (key) {
        case ' ':
            m_Wave.fnGetState() == WAVE_PLAYING ? m_Wave.fnPause() : fnPlay(m_bLoop);
            break;
        case 'p':
        case 'l':
            m_Wave.fnStop();
            fnPlay(key == 'l');
            break;
        case 's':
            m_Wave.fnStop();
            m_bHeld = true; // waits for another key
            break;
        case 'm':
            m_Volume.fnSwitchMute();
            break;
        case Keys::kUp:
        case '+':
        case Keys::kDown:
        case '-':
            m_Volume.fnSetVolume(key == Keys::kUp || key == '+');
            break;
        case Keys::kRight:
        case Keys::kLeft:
            m_Volume.fnSetBalance(key == Keys::kRight);
            break;
        default:
            break;
        }
    }

    void fnPlay(bool loop) {
        m_bLoop = m_Wave.fnGetState() == WAVE_PAUSED ? m_bLoop : loop;
        m_bHeld = !m_Wave.fnPlay(false, loop);
        if (m_bHeld)
            std::fprintf(stderr, "\n%s.\n", m_Pulse.m_pWaveOut->fnGetError().c_str());
    }

    /// Where there is no terminal, only says why nothing is heard, once for each reason.
    void fnShow() {
        const char* silent =
            m_Wave.fnGetState() == WAVE_PLAYING ? m_Silence.fnGetReason() : nullptr;
        if (!m_bTerminal) {
            if (silent && silent != m_pszSaid)
                std::fprintf(stderr, "player: nothing is heard: %s\n", silent);
            m_pszSaid = silent ? silent : m_pszSaid;
            return;
        }
        static constexpr const char* kStates[] = {"stopped", "playing", "paused "};
        const WAVEFORMATEX format = m_Wave.fnGetFormat();
        const double rate = static_cast<double>(format.nSamplesPerSec) * format.nBlockAlign;
        std::printf("\r%s%s %7.2f of %.2f s", kStates[m_Wave.fnGetState()],
                    m_bLoop ? " in a loop" : "",
                    static_cast<double>(m_Pulse.m_pWaveOut->fnGetPosition()) / rate,
                    static_cast<double>(m_Wave.fnGetBufferSize()) / rate);
        if (m_bVolume)
            std::printf("  volume %3u  balance %3u%s", m_Volume.fnGetVolume(),
                        m_Volume.fnGetBalance(), m_Volume.fnGetMute() ? "  mute" : "");
        if (silent)
            std::printf("  silent: %s", silent);
        std::printf("\033[K");
        std::fflush(stdout);
    }

    CqWave& m_Wave;
    const CqPulse& m_Pulse;
    Keys m_Keys;
    Console m_Console;
    CqSoundCtrl m_Volume;
    const bool m_bTerminal;
    const bool m_bVolume;
    Silence m_Silence;
    const char* m_pszSaid = nullptr; ///< the last reason for silence that was said
    bool m_bLoop = false;
    bool m_bHeld = false;
};

bool fnRun(const Options& options, const CqPulse& pulse) {
    CqWave wave;
    const CqWaveFileResult result = q32ReadWave(options.m_Sound.c_str(), wave);
    if (!fnReport(result))
        return false;
    const WAVEFORMATEX format = wave.fnGetFormat();
    std::printf("%s: %u channels of %u bits%s, %u Hz, %u frames\n", options.m_Sound.c_str(),
                unsigned{format.nChannels}, unsigned{format.wBitsPerSample},
                result.m_bReduced ? ", reduced from finer ones" : "",
                unsigned{format.nSamplesPerSec}, unsigned{wave.fnGetFrameCount()});
    std::fflush(stdout);
    if (!options.m_Picture.empty() && !fnDraw(wave, options.m_Picture))
        return false;
    return !options.m_bPlay || Player(wave, pulse).fnRun(options.m_bLoop);
}

} // namespace

int main(int count, char** arguments) {
    for (int i = 1; i < count; ++i)
        if (std::string_view(arguments[i]) == "--help") {
            std::fputs(kUsage, stdout);
            return 0;
        }
    Options options;
    if (!fnParse(count, arguments, options)) {
        std::fputs(kUsage, stderr);
        return kExitUsage;
    }
    const CqPulse pulse = q32Pulse({.m_szApplication = "q32Base player",
                                    .m_szIcon = "multimedia-player",
                                    .m_szStream = options.m_Sound});
    CqPlatform platform = q32PosixPlatform();
    platform.m_pWaveOut = pulse.m_pWaveOut;
    platform.m_pMixers = options.m_bMachine ? pulse.m_pMixers : pulse.m_pOwnMixers;
    if (!q32Attach(platform))
        return kExitFailed;
    int code = kExitFailed;
    if (!q32::fnTryMemory([&] { code = fnRun(options, pulse) ? 0 : kExitFailed; }))
        std::fputs("Out of memory.\n", stderr);
    q32Detach();
    return code;
}
