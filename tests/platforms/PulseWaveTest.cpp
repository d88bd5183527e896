// Sounds of the library, played on a real server.
#include "platforms/headless/headless.h"
#include "q32Base/q32Base.h"
#include "tests/platforms/PulseWorld.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::uint32_t kFramesPerMs = 44;

class PulseWave : public PulseTest {
protected:
    void SetUp() override {
        CqPlatform platform = q32HeadlessPlatform();
        platform.m_pWaveOut = m_Pulse.m_pWaveOut;
        ASSERT_TRUE(q32Attach(platform));
    }
    void TearDown() override { q32Detach(); }

    static std::string fnFill(CqWave& wave, std::uint32_t frames) {
        const TestSound sound(std::size_t{frames} * kSinkFormat.nBlockAlign);
        wave.fnAlloc(2, 16, 44100, frames, false);
        std::memcpy(wave.fnGetBuffer(), sound.m_Samples.data(), sound.m_Samples.size());
        return sound.m_Samples;
    }
    /// The sound heard so far, without silence.
    std::string fnHearSamples() const {
        std::string heard = m_Recorder.fnGetBytes();
        std::erase(heard, '\0');
        return heard;
    }
    bool fnAwaitHeard(const std::string& samples) const {
        return fnAwait([&] { return fnHearSamples() == samples; });
    }
    bool fnAwaitBytes(std::size_t bytes) const {
        return fnAwait([&] { return fnHearSamples().size() >= bytes; });
    }
    static bool fnAwaitState(const CqWave& wave, WAVE_STATE state) {
        return fnAwait([&] { return wave.fnGetState() == state; });
    }
    /// Waits for silence.
    void fnExpectSilence() const {
        m_Recorder.fnWaitForMore(150 * kBytesPerMs);
        const std::string heard = fnHearSamples();
        m_Recorder.fnWaitForMore(100 * kBytesPerMs);
        EXPECT_EQ(fnHearSamples().size(), heard.size());
    }

    CqPulse m_Pulse = q32Pulse(fnOptions());
    SoundRecorder m_Recorder{*s_pServer};
};

} // namespace

TEST_F(PulseWave, ASoundOfOneFrameThatIsWaitedForEnds) {
    CqWave wave;
    std::string heard;
    for (int i = 0; i < 3; ++i) {
        heard += fnFill(wave, 1);
        EXPECT_TRUE(wave.fnPlay(true, false)) << m_Pulse.m_pWaveOut->fnGetError();
        EXPECT_EQ(wave.fnGetState(), WAVE_STOPPED);
    }
    EXPECT_TRUE(fnAwaitHeard(heard));
}

TEST_F(PulseWave, ASoundThatIsWaitedForHasBeenHeardWhenPlayReturns) {
    CqWave wave;
    const std::string samples = fnFill(wave, 100 * kFramesPerMs);
    const auto start = Clock::now();
    EXPECT_TRUE(wave.fnPlay(true, false));
    EXPECT_GE(Clock::now() - start, milliseconds(50)) << "less than what the output takes ahead";
    EXPECT_EQ(wave.fnGetState(), WAVE_STOPPED);
    EXPECT_TRUE(fnAwaitHeard(samples));
}

TEST_F(PulseWave, ASoundThatIsNotWaitedForEndsByItself) {
    CqWave wave;
    const std::string samples = fnFill(wave, 50 * kFramesPerMs);
    EXPECT_TRUE(wave.fnPlay(false, false));
    EXPECT_TRUE(fnAwaitState(wave, WAVE_STOPPED));
    EXPECT_TRUE(fnAwaitHeard(samples));
}

TEST_F(PulseWave, ALoopIsNotWaitedForAndPlaysUntilItIsStopped) {
    CqWave wave;
    const std::string samples = fnFill(wave, 30 * kFramesPerMs);
    EXPECT_TRUE(wave.fnPlay(true, true)) << "returns at once";
    EXPECT_EQ(wave.fnGetState(), WAVE_PLAYING);
    EXPECT_TRUE(fnAwaitBytes(4 * samples.size()));
    EXPECT_EQ(wave.fnGetState(), WAVE_PLAYING);
    wave.fnStop();
    EXPECT_EQ(wave.fnGetState(), WAVE_STOPPED);
    fnExpectSilence();
    const std::string heard = fnHearSamples();
    for (std::size_t i = 0; i < heard.size(); ++i)
        ASSERT_EQ(heard[i], samples[i % samples.size()]) << i;
}

TEST_F(PulseWave, APausedSoundResumesToItsEnd) {
    CqWave wave;
    const std::string samples = fnFill(wave, 300 * kFramesPerMs);
    ASSERT_TRUE(wave.fnPlay(false, false));
    ASSERT_TRUE(fnAwaitBytes(100 * kBytesPerMs));
    wave.fnPause();
    EXPECT_EQ(wave.fnGetState(), WAVE_PAUSED);
    fnExpectSilence();
    EXPECT_EQ(wave.fnGetState(), WAVE_PAUSED);
    EXPECT_LT(fnHearSamples().size(), samples.size());
    EXPECT_TRUE(wave.fnPlay(true, true)) << "goes on, and neither waits nor loops";
    EXPECT_EQ(wave.fnGetState(), WAVE_PLAYING);
    EXPECT_TRUE(fnAwaitState(wave, WAVE_STOPPED));
    EXPECT_TRUE(fnAwaitHeard(samples)) << "nothing lost, nothing twice";
}

TEST_F(PulseWave, APausedSoundCanBeStopped) {
    CqWave wave;
    const std::string samples = fnFill(wave, 300 * kFramesPerMs);
    ASSERT_TRUE(wave.fnPlay(false, true));
    ASSERT_TRUE(fnAwaitBytes(50 * kBytesPerMs));
    wave.fnPause();
    wave.fnStop();
    EXPECT_EQ(wave.fnGetState(), WAVE_STOPPED);
    fnExpectSilence();
    EXPECT_TRUE(samples.starts_with(fnHearSamples()));
}

TEST_F(PulseWave, ASoundPlayedWhileItPlaysRestarts) {
    CqWave wave;
    const std::string samples = fnFill(wave, 200 * kFramesPerMs);
    ASSERT_TRUE(wave.fnPlay(false, true));
    ASSERT_TRUE(fnAwaitBytes(50 * kBytesPerMs));
    EXPECT_TRUE(wave.fnPlay(true, false)) << "once, and waited for";
    EXPECT_EQ(wave.fnGetState(), WAVE_STOPPED);
    ASSERT_TRUE(fnAwait([&] { return fnHearSamples().ends_with(samples); }));
    const std::string heard = fnHearSamples();
    const std::string first = heard.substr(0, heard.size() - samples.size());
    EXPECT_GE(first.size(), 50 * kBytesPerMs);
    EXPECT_TRUE(samples.starts_with(first)) << "cut off, and then from the start";
}

TEST_F(PulseWave, ASoundMayBeDestroyedWhileItPlays) {
    for (const bool paused : {false, true}) {
        auto wave = std::make_unique<CqWave>();
        fnFill(*wave, 30 * kFramesPerMs);
        ASSERT_TRUE(wave->fnPlay(false, true));
        ASSERT_TRUE(fnAwaitBytes(20 * kBytesPerMs));
        if (paused)
            wave->fnPause();
        wave.reset();
        fnExpectSilence();
    }
    CqWave next;
    const std::string samples = fnFill(next, 20 * kFramesPerMs);
    EXPECT_TRUE(next.fnPlay(true, false));
    EXPECT_TRUE(fnAwait([&] { return fnHearSamples().ends_with(samples); }));
}

TEST_F(PulseWave, AServerThatDisappearsReleasesAWaitingCaller) {
    CqWave wave;
    fnFill(wave, 60'000 * kFramesPerMs);
    std::thread kill([&] {
        fnAwaitBytes(20 * kBytesPerMs);
        s_pServer->fnKill();
    });
    EXPECT_TRUE(wave.fnPlay(true, false)) << "it had started";
    EXPECT_EQ(wave.fnGetState(), WAVE_STOPPED);
    kill.join();
    EXPECT_FALSE(wave.fnPlay(true, false));
    EXPECT_EQ(wave.fnGetState(), WAVE_STOPPED);
    s_pServer->fnStart();
    fnFill(wave, 1);
    EXPECT_TRUE(wave.fnPlay(true, false)) << m_Pulse.m_pWaveOut->fnGetError();
}
