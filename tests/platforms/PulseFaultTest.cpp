// Failures of calls of libpulse that never fail by themselves.
#include "tests/platforms/PulseFaultWorld.h"

#include <algorithm>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// Everything that a host does with the services, and the results.
struct HostsDay {
    explicit HostsDay(const CqPulseOptions& options) : m_Pulse(q32Pulse(options)) {}

    void fnNote(const char* what, bool done) {
        if (!done)
            m_Failed += what;
    }
    void fnLive() {
        m_pMixer = m_Pulse.m_pMixers->fnOpen(0, [this](std::uint32_t) { ++m_nNotified; });
        fnNote("open mixer;", m_pMixer != nullptr);
        if (m_pMixer) {
            Values values(2);
            fnNote("set volume;", m_pMixer->fnSetValues(kVolume, 2, {32768, 16384}));
            fnNote("get volume;", m_pMixer->fnGetValues(kVolume, 2, values));
            fnNote("set mute;", m_pMixer->fnSetValues(kMute, 1, {1}));
        }
        fnPlay(true);
        fnPlay(false);
    }
    /// Plays a sound to its end, or a loop that is paused and stopped.
    void fnPlay(bool loops) {
        TestSound sound(4000);
        if (loops)
            sound.fnLoop(0xFFFFFFFFu);
        fnNote("open;", sound.fnOpen(*m_Pulse.m_pWaveOut));
        const bool playing = sound.m_pDevice && sound.m_pDevice->fnWrite(sound.m_Header);
        if (sound.m_pDevice)
            fnNote("write;", playing);
        if (playing) {
            if (loops)
                fnPauseAndStop(*sound.m_pDevice);
            EXPECT_TRUE(sound.fnAwaitEnd());
        } else {
            EXPECT_EQ(sound.m_Header.dwFlags & 0x10, 0u) << "it isn't the device's";
        }
        sound.m_pDevice.reset();
        EXPECT_EQ(sound.m_nReports, playing ? 1 : 0);
    }

    void fnPauseAndStop(CqWaveOut& device) {
        fnNote("pause;", device.fnPause());
        m_Pulse.m_pWaveOut->fnGetPosition();
        if (!device.fnRestart()) {
            fnNote("restart;", false);
            EXPECT_TRUE(device.fnRestart()) << "at the second time";
        }
        EXPECT_TRUE(device.fnReset());
    }

    CqPulse m_Pulse;
    std::unique_ptr<CqMixer> m_pMixer;
    std::atomic<int> m_nNotified{0};
    std::string m_Failed;
};

/// PipeWire plays the last samples only when it is asked to drain.
class PulseAudioFault : public PulseFault {};

} // namespace

TEST_F(PulseFault, ACallThatFailsOnceNeitherHangsALaterOneNorLosesAnEnd) {
    for (const char* call :
         {"pa_context_new_with_proplist", "pa_context_connect", "pa_context_subscribe",
          "pa_context_get_sink_info_by_name", "pa_context_set_sink_volume_by_index",
          "pa_context_set_sink_mute_by_index", "pa_stream_new_with_proplist",
          "pa_stream_connect_playback", "pa_stream_begin_write", "pa_stream_write",
          "pa_stream_drain", "pa_stream_cork", "pa_stream_get_time"}) {
        for (std::size_t nth = 1;; ++nth) {
            HostsDay day(m_Options);
            const PulseFailure failure(nth, call);
            day.fnLive();
            if (PulseFailure::fnGetFailed().empty()) {
                EXPECT_EQ(day.m_Failed, "");
                EXPECT_GT(nth, 1u) << call << " isn't called at all";
                break;
            }
            SCOPED_TRACE(call + (" " + std::to_string(nth)) + ": " + day.m_Failed);
            EXPECT_LE(std::count(day.m_Failed.begin(), day.m_Failed.end(), ';'), 1);
            day.m_Failed.clear();
            day.fnLive();
            EXPECT_EQ(day.m_Failed, "") << "all is well again";
        }
    }
    EXPECT_TRUE(fnAwait([&] { return !fnIsConnected(kHost); })) << "nothing stays at the server";
}

TEST_F(PulseFault, WithoutAThreadThereIsNoSoundAndTheReasonIsReported) {
    for (const char* call : {"pa_threaded_mainloop_new", "pa_threaded_mainloop_start"}) {
        const PulseFailure failure(1, call);
        HostsDay day(m_Options);
        EXPECT_EQ(PulseFailure::fnGetFailed(), call);
        day.fnLive();
        EXPECT_EQ(day.m_Failed, "open mixer;open;open;") << call;
        EXPECT_EQ(day.m_Pulse.m_pWaveOut->fnGetError(), "The sound thread can't be started");
        EXPECT_EQ(day.m_Pulse.m_pWaveOut->fnGetPosition(), 0u);
        EXPECT_EQ(day.m_Pulse.m_pMixers->fnPump(), 0u);
    }
}

TEST_F(PulseFault, WithoutAContextThereIsNoDeviceUntilTheNextCall) {
    const CqPulse pulse = q32Pulse(m_Options);
    const PulseFailure failure(1, "pa_context_new_with_proplist");
    EXPECT_FALSE(pulse.m_pWaveOut->fnCanPlay(kSinkFormat));
    EXPECT_EQ(pulse.m_pWaveOut->fnGetError(), "Out of memory");
    EXPECT_TRUE(pulse.m_pWaveOut->fnCanPlay(kSinkFormat));
}

TEST_F(PulseFault, ABlockThatCannotBeStartedStaysWithItsOwner) {
    for (const char* call : {"pa_stream_new_with_proplist", "pa_stream_connect_playback"}) {
        const CqPulse pulse = q32Pulse(m_Options);
        TestSound sound(4000);
        ASSERT_TRUE(sound.fnOpen(*pulse.m_pWaveOut));
        const PulseFailure failure(1, call);
        EXPECT_FALSE(sound.m_pDevice->fnWrite(sound.m_Header)) << call;
        EXPECT_EQ(sound.m_Header.dwFlags, 2u) << "prepared, and not in the queue";
        EXPECT_EQ(sound.m_nReports, 0);
        EXPECT_TRUE(sound.m_pDevice->fnWrite(sound.m_Header));
        EXPECT_TRUE(sound.fnAwaitEnd());
    }
}

TEST_F(PulseFault, ABlockThatCannotBeSentEndsAtOnce) {
    for (const char* call : {"pa_stream_begin_write", "pa_stream_write"}) {
        const CqPulse pulse = q32Pulse(m_Options);
        TestSound sound(60'000 * kBytesPerMs);
        ASSERT_TRUE(sound.fnOpen(*pulse.m_pWaveOut));
        const PulseFailure failure(2, call);
        EXPECT_TRUE(sound.m_pDevice->fnWrite(sound.m_Header)) << call;
        EXPECT_TRUE(sound.fnAwaitEnd()) << "long before a minute is over";
        EXPECT_EQ(pulse.m_pWaveOut->fnGetPosition(), 0u);
        sound.m_pDevice.reset();
        EXPECT_EQ(sound.m_nReports, 1);
    }
}

TEST_F(PulseAudioFault, AnEndThatCannotBeQueriedIsStillHeardAndReported) {
    const CqPulse pulse = q32Pulse(m_Options);
    SoundRecorder recorder(*s_pServer);
    TestSound sound(200 * kBytesPerMs);
    ASSERT_TRUE(sound.fnOpen(*pulse.m_pWaveOut));
    const PulseFailure failure(1, "pa_stream_drain", true);
    ASSERT_TRUE(sound.m_pDevice->fnWrite(sound.m_Header));
    ASSERT_TRUE(sound.fnAwaitEnd());
    EXPECT_TRUE(fnAwait([&] { return fnGetSamples(recorder) == sound.m_Samples; }))
        << "to its last sample";
}

TEST_F(PulseAudioFault, ABlockPausedForLongerThanItsEndIsAwaitedIsHeardCompletely) {
    CqPulseOptions options = m_Options;
    options.m_Latency = milliseconds(1000); // the server has all of it at once
    const CqPulse pulse = q32Pulse(options);
    SoundRecorder recorder(*s_pServer);
    TestSound sound(500 * kBytesPerMs);
    ASSERT_TRUE(sound.fnOpen(*pulse.m_pWaveOut));
    const PulseDrainGivenUp givenUp;
    ASSERT_TRUE(sound.m_pDevice->fnWrite(sound.m_Header));
    ASSERT_TRUE(fnAwait([] { return PulseDrainGivenUp::fnIsAsked(); }));
    ASSERT_TRUE(sound.m_pDevice->fnPause());
    ASSERT_TRUE(fnAwait([] { return PulseDrainGivenUp::fnIsGivenUp(); }));
    recorder.fnWaitForMore(1000 * kBytesPerMs); // longer than the wait for a late end
    EXPECT_EQ(sound.m_nReports, 0);
    EXPECT_TRUE(sound.m_pDevice->fnRestart());
    EXPECT_TRUE(sound.fnAwaitEnd());
    EXPECT_TRUE(fnAwait([&] { return fnGetSamples(recorder) == sound.m_Samples; }));
    EXPECT_EQ(sound.m_nReports, 1);
}

TEST_F(PulseFault, AnEndThatTheServerForgetsIsDelayedWhileMoreIsHeard) {
    const CqPulse pulse = q32Pulse(m_Options);
    TestSound sound(40 * kBytesPerMs);
    ASSERT_TRUE(sound.fnOpen(*pulse.m_pWaveOut));
    const PulseFailure failure(1, "pa_stream_drain", true);
    const PulseSlowClock clock(20);
    const auto start = Clock::now();
    ASSERT_TRUE(sound.m_pDevice->fnWrite(sound.m_Header));
    ASSERT_TRUE(sound.fnAwaitEnd());
    EXPECT_GE(Clock::now() - start, milliseconds(790)) << "20 times 40 ms";
}

TEST_F(PulseFault, AnEndThatTheServerForgetsComesWhenNoMoreIsHeard) {
    const CqPulse pulse = q32Pulse(m_Options);
    TestSound sound(40 * kBytesPerMs);
    ASSERT_TRUE(sound.fnOpen(*pulse.m_pWaveOut));
    const PulseFailure failure(1, "pa_stream_drain", true);
    const PulseSlowClock clock(0);
    ASSERT_TRUE(sound.m_pDevice->fnWrite(sound.m_Header));
    EXPECT_TRUE(sound.fnAwaitEnd());
    EXPECT_EQ(sound.m_nReports, 1);
}

TEST_F(PulseFault, APauseThatFailsLetsTheSoundPlayOn) {
    const CqPulse pulse = q32Pulse(m_Options);
    TestSound sound(1000 * kBytesPerMs);
    ASSERT_TRUE(sound.fnStart(*pulse.m_pWaveOut));
    {
        const PulseFailure failure(1, "pa_stream_cork");
        EXPECT_FALSE(sound.m_pDevice->fnPause());
    }
    EXPECT_TRUE(sound.fnAwaitEnd());
}

TEST_F(PulseFault, ARestartThatFailsLeavesTheSoundPaused) {
    const CqPulse pulse = q32Pulse(m_Options);
    TestSound sound(1000 * kBytesPerMs);
    ASSERT_TRUE(sound.fnStart(*pulse.m_pWaveOut));
    ASSERT_TRUE(sound.m_pDevice->fnPause());
    {
        const PulseFailure failure(1, "pa_stream_cork");
        EXPECT_FALSE(sound.m_pDevice->fnRestart());
    }
    const std::string list = s_pServer->fnControl({"list", "sink-inputs"});
    EXPECT_NE(list.find("Corked: yes"), std::string::npos) << list;
    EXPECT_EQ(sound.m_nReports, 0);
    EXPECT_TRUE(sound.m_pDevice->fnRestart());
    EXPECT_TRUE(sound.fnAwaitEnd());
}

TEST_F(PulseFault, AMixerWhoseCallFailsSetsNothingAndReportsIt) {
    const CqPulse pulse = q32Pulse(m_Options);
    const auto mixer = pulse.m_pMixers->fnOpen(0, {});
    ASSERT_NE(mixer, nullptr);
    Values values = {1, 2};
    for (const char* call :
         {"pa_context_get_sink_info_by_name", "pa_context_set_sink_volume_by_index"}) {
        const PulseFailure failure(1, call, true);
        EXPECT_FALSE(mixer->fnSetValues(kVolume, 2, {100, 200})) << call;
    }
    {
        const PulseFailure failure(1, "pa_context_set_sink_mute_by_index");
        EXPECT_FALSE(mixer->fnSetValues(kMute, 1, {1}));
    }
    {
        const PulseFailure failure(1, "pa_context_get_sink_info_by_name", true);
        EXPECT_FALSE(mixer->fnGetValues(kVolume, 2, values));
        EXPECT_EQ(values, (Values{1, 2}));
    }
    ASSERT_TRUE(mixer->fnGetValues(kVolume, 2, values));
    EXPECT_EQ(values, (Values{65535, 65535}));
    values = {7};
    ASSERT_TRUE(mixer->fnGetValues(kMute, 1, values));
    EXPECT_EQ(values, Values{0});
}

TEST_F(PulseFault, AServerThatDisappearsDuringASettingFailsIt) {
    const CqPulse pulse = q32Pulse(m_Options);
    const auto mixer = pulse.m_pMixers->fnOpen(0, {});
    ASSERT_NE(mixer, nullptr);
    std::size_t failed = 0;
    for (const std::uint32_t control : {kVolume, kMute}) {
        for (std::size_t nth = 1;; ++nth) {
            const PulseFailure failure(nth, "pa_context_get_state");
            failed += mixer->fnSetValues(control, 1, {1}) ? 0 : 1;
            if (PulseFailure::fnGetFailed().empty())
                break;
        }
    }
    EXPECT_GE(failed, 2u);
    EXPECT_TRUE(mixer->fnSetValues(kVolume, 2, {100, 200}));
}
