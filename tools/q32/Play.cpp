#include "platforms/pulse/pulse.h"
#include "plugins/WaveFile.h"
#include "q32Base/sound/CqWave.h"
#include "tools/q32/Commands.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Session.h"
#include "tools/q32/Texts.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

namespace tool {

namespace {

constexpr int kLookMs = 50;
constexpr unsigned int kPercent = 100;

/// Percent of the sound that was played.
unsigned int fnFindPercent(const CqWave& wave, const CqPulse& pulse) {
    const std::uint64_t size = std::max<std::uint64_t>(1, wave.fnGetBufferSize());
    return static_cast<unsigned int>(pulse.m_pWaveOut->fnGetPosition() % size * kPercent / size);
}

/// The next key; 0 after a while without one. Input that isn't the terminal's is left alone.
int fnAwaitKey(Keys& keys) {
    if (keys.fnHasTerminal())
        return keys.fnWait(-1, kLookMs);
    std::this_thread::sleep_for(std::chrono::milliseconds(kLookMs));
    return 0;
}

/// Obeys a key. False when it ends the sound.
bool fnObey(int key, CqWave& wave) {
    if (key == ' ' && wave.fnGetState() == WAVE_PLAYING)
        wave.fnPause();
    else if (key == ' ')
        wave.fnPlay(false, false);
    return key != Keys::kQuit;
}

void fnPlayToEnd(CqWave& wave, const CqPulse& pulse, const CommandLine& line, Session& session) {
    const bool loop = line.m_Steps.front().m_Words.fnHas("loop");
    const std::string& path = line.m_Steps.front().m_Words.fnGetText("FILE");
    session.fnGetProgress().fnBegin("playing " + path);
    if (!wave.fnPlay(false, loop))
        throw Failure{path + ": can't be played: " + pulse.m_pWaveOut->fnGetError()};
    bool quit = false;
    while (!quit && wave.fnGetState() != WAVE_STOPPED) {
        session.fnGetProgress().fnDrawStatus(fnFindPercent(wave, pulse), nullptr);
        quit = !fnObey(fnAwaitKey(session.fnGetKeys()), wave) || TerminalMode::fnIsSignalled();
    }
    const bool lost = !quit && (loop || !pulse.m_pWaveOut->fnCanPlay(wave.fnGetFormat()));
    wave.fnStop();
    if (TerminalMode::fnIsSignalled())
        session.fnGetProgress().fnRequire();
    if (lost)
        throw Failure{path + ": the sound device has gone: " + pulse.m_pWaveOut->fnGetError()};
}

} // namespace

int fnRunPlay(const CommandLine& line) {
    const std::string& path = line.m_Steps.front().m_Words.fnGetText("FILE");
    const CqPulse pulse =
        q32Pulse({.m_szApplication = "q32", .m_szIcon = "multimedia-player", .m_szStream = path});
    Session session(line.m_Common, [&](CqPlatform& platform) {
        platform.m_pWaveOut = pulse.m_pWaveOut;
        platform.m_pMixers = pulse.m_pMixers;
    });
    CqWave wave;
    errno = 0;
    const CqWaveFileResult result = q32ReadWave(path.c_str(), wave, &session.fnGetProgress());
    const int error = errno;
    session.fnGetProgress().fnRequire();
    if (!result.fnIsDone())
        throw Failure{fnExplainReading(path, result, error)};
    fnPlayToEnd(wave, pulse, line, session);
    return CODE_DONE;
}

} // namespace tool
