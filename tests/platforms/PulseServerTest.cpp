// A server that is missing, stopped, or disappears.
#include "tests/platforms/PulseFaults.h"
#include "tests/platforms/PulseWorld.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class PulseServer : public PulseTest {
protected:
    explicit PulseServer(const CqPulseOptions& options = fnOptions())
        : m_Pulse(q32Pulse(options)) {}
    ~PulseServer() override { s_pServer->fnThaw(); }

    CqPulse m_Pulse;
    CqPulseWaveOut& m_Sound = *m_Pulse.m_pWaveOut;
};

class PulseImpatient : public PulseServer {
protected:
    PulseImpatient() : PulseServer(fnImpatient()) {}

    static CqPulseOptions fnImpatient() {
        CqPulseOptions options = fnOptions();
        options.m_Patience = milliseconds(500);
        return options;
    }
};

} // namespace

TEST_F(PulseServer, WithoutAServerThereIsNoDeviceAndTheReasonIsReported) {
    CqPulseOptions options = fnOptions();
    options.m_szServer = "unix:/nowhere/native";
    const CqPulse pulse = q32Pulse(options);
    EXPECT_EQ(pulse.m_pWaveOut->fnGetError(), "");
    const auto start = Clock::now();
    EXPECT_FALSE(pulse.m_pWaveOut->fnCanPlay(kSinkFormat));
    EXPECT_EQ(pulse.m_pWaveOut->fnGetError(), "Connection refused");
    EXPECT_EQ(pulse.m_pWaveOut->fnOpen(kSinkFormat, [](WAVEHDR&) {}), nullptr);
    EXPECT_EQ(pulse.m_pWaveOut->fnGetPosition(), 0u);
    EXPECT_EQ(pulse.m_pMixers->fnGetCount(), 0u);
    EXPECT_EQ(pulse.m_pMixers->fnOpen(0, {}), nullptr);
    EXPECT_EQ(pulse.m_pMixers->fnPump(), 0u);
    EXPECT_LT(Clock::now() - start, milliseconds(1000));
}

TEST_F(PulseServer, AnInvalidAddressIsRefused) {
    CqPulseOptions options = fnOptions();
    options.m_szServer = "{";
    const CqPulse pulse = q32Pulse(options);
    EXPECT_FALSE(pulse.m_pWaveOut->fnCanPlay(kSinkFormat));
    EXPECT_NE(pulse.m_pWaveOut->fnGetError(), "");
}

TEST_F(PulseServer, AKilledServerEndsPlaybackAndANewOneIsFound) {
    TestSound sound(100 * kBytesPerMs);
    sound.fnLoop(0xFFFFFFFFu);
    ASSERT_TRUE(sound.fnStart(m_Sound));
    ASSERT_TRUE(fnAwait([&] { return m_Sound.fnGetPosition() != 0; }));
    s_pServer->fnKill();
    ASSERT_TRUE(sound.fnAwaitEnd());
    EXPECT_FALSE(sound.m_pDevice->fnWrite(sound.m_Header));
    EXPECT_TRUE(sound.m_pDevice->fnPause()) << "nothing plays, so nothing can fail";
    EXPECT_TRUE(sound.m_pDevice->fnReset());
    EXPECT_FALSE(m_Sound.fnCanPlay(kSinkFormat));
    EXPECT_EQ(sound.m_nReports, 1);
    s_pServer->fnStart();
    EXPECT_TRUE(m_Sound.fnCanPlay(kSinkFormat)) << m_Sound.fnGetError();
    EXPECT_TRUE(sound.m_pDevice->fnWrite(sound.m_Header)) << m_Sound.fnGetError();
    EXPECT_TRUE(sound.m_pDevice->fnReset());
    EXPECT_TRUE(sound.fnAwaitEnd(2));
}

TEST_F(PulseImpatient, AStoppedServerHangsNothing) {
    TestSound sound(100 * kBytesPerMs);
    sound.fnLoop(0xFFFFFFFFu);
    TestSound late(100 * kBytesPerMs);
    std::unique_ptr<CqMixer> mixer;
    // So short a timeout may fail a server that is only slow.
    ASSERT_TRUE(fnAwait([&] {
        mixer = m_Pulse.m_pMixers->fnOpen(0, {});
        return mixer != nullptr;
    }));
    ASSERT_TRUE(fnAwait([&] { return sound.fnStart(m_Sound); }));
    ASSERT_TRUE(fnAwait([&] { return late.fnOpen(m_Sound); }));
    s_pServer->fnFreeze();
    const auto start = Clock::now();
    EXPECT_FALSE(m_Sound.fnCanPlay(kSinkFormat));
    EXPECT_EQ(m_Sound.fnGetError(), "The sound server doesn't answer");
    EXPECT_FALSE(late.m_pDevice->fnWrite(late.m_Header));
    EXPECT_EQ(m_Sound.fnGetError(), "The sound server doesn't start to play");
    std::vector<std::uint32_t> values(2);
    EXPECT_FALSE(mixer->fnGetValues(1, 2, values));
    EXPECT_FALSE(mixer->fnSetValues(1, 2, {1, 2}));
    EXPECT_FALSE(mixer->fnSetValues(2, 1, {1}));
    EXPECT_TRUE(sound.m_pDevice->fnPause());
    EXPECT_EQ(sound.m_nReports, 0);
    EXPECT_TRUE(sound.m_pDevice->fnReset());
    EXPECT_TRUE(sound.fnAwaitEnd());
    EXPECT_FALSE(q32Pulse(fnImpatient()).m_pWaveOut->fnCanPlay(kSinkFormat)) << "a new connection";
    EXPECT_LT(Clock::now() - start, milliseconds(8000));
    EXPECT_EQ(late.m_nReports, 0);
    s_pServer->fnThaw();
    EXPECT_TRUE(fnAwait([&] { return m_Sound.fnCanPlay(kSinkFormat); })) << m_Sound.fnGetError();
    EXPECT_TRUE(fnAwait([] {
        return s_pServer->fnControl({"list", "sink-inputs"}).empty();
    })) << "what it would have played is taken away";
}

TEST_F(PulseServer, ABlockThatWaitsInAPauseSurvivesARestartedServer) {
    TestSound sound(20 * kBytesPerMs);
    ASSERT_TRUE(sound.fnOpen(m_Sound));
    ASSERT_TRUE(sound.m_pDevice->fnPause());
    ASSERT_TRUE(sound.m_pDevice->fnWrite(sound.m_Header));
    s_pServer->fnKill();
    EXPECT_FALSE(sound.m_pDevice->fnRestart());
    EXPECT_EQ(sound.m_nReports, 0);
    s_pServer->fnStart();
    EXPECT_TRUE(sound.m_pDevice->fnRestart()) << m_Sound.fnGetError();
    EXPECT_TRUE(sound.fnAwaitEnd());
}

TEST_F(PulseServer, ADeviceMayBeDestroyedAtAnyTime) {
    for (int i = 0; i < 20; ++i) {
        TestSound sound(static_cast<std::size_t>(i % 3) * 400);
        ASSERT_TRUE(sound.fnStart(m_Sound)) << m_Sound.fnGetError();
        if (i % 2 != 0)
            sound.fnAwaitEnd(i % 3 == 0 ? 1 : 0);
        sound.m_pDevice.reset();
        const int reports = sound.m_nReports;
        EXPECT_TRUE(m_Sound.fnCanPlay(kSinkFormat));
        EXPECT_EQ(sound.m_nReports, reports) << "reported after its end";
    }
}

TEST_F(PulseServer, ADeviceOutlivesItsService) {
    TestSound sound(20 * kBytesPerMs);
    ASSERT_TRUE(sound.fnOpen(m_Sound));
    m_Pulse = {};
    ASSERT_TRUE(sound.m_pDevice->fnWrite(sound.m_Header));
    EXPECT_TRUE(sound.fnAwaitEnd());
}

TEST_F(PulseServer, AReportMayDestroyBothTheDeviceAndTheService) {
    CqPulse pulse = q32Pulse(fnOptions());
    TestSound sound(20 * kBytesPerMs);
    std::unique_ptr<CqWaveOut> device;
    std::atomic<bool> ended{false};
    device = pulse.m_pWaveOut->fnOpen(kSinkFormat, [&](WAVEHDR& header) {
        EXPECT_TRUE(device->fnUnprepare(header));
        device.reset();
        pulse = {};
        ended = true;
    });
    CqWaveOut* raw = device.get();
    ASSERT_TRUE(raw->fnPrepare(sound.m_Header));
    ASSERT_TRUE(raw->fnWrite(sound.m_Header));
    EXPECT_TRUE(fnAwait([&] { return ended.load(); }));
}

/// Reconfigurations that only PulseAudio supports while it runs.
class PulseAudioServer : public PulseServer {
protected:
    void TearDown() override {
        for (const std::string& module : m_Modules)
            s_pServer->fnControl({"unload-module", module});
        s_pServer->fnRestore();
    }
    void fnAddSink(const std::string& arguments) {
        std::string module =
            s_pServer->fnControl({"load-module", "module-null-sink", "norewinds=1 " + arguments});
        module.pop_back();
        m_Modules.push_back(module);
        s_pServer->fnControl({"set-default-sink", "other"});
    }

    std::vector<std::string> m_Modules;
};

TEST_F(PulseAudioServer, EightBitMonoIsHeardSampleForSample) {
    fnAddSink("sink_name=other format=u8 rate=22050 channels=1");
    SoundRecorder recorder(*s_pServer, "other", {"--format=u8", "--rate=22050", "--channels=1"});
    TestSound sound(2205);
    ASSERT_TRUE(sound.fnOpen(m_Sound, {1, 1, 22050, 22050, 1, 8, 0}));
    // After an underflow the take is repeated.
    for (int take = 1;; ++take) {
        const std::size_t underflows = fnCountUnderflows();
        const std::size_t from = recorder.fnGetSize();
        ASSERT_TRUE(sound.m_pDevice->fnWrite(sound.m_Header));
        ASSERT_TRUE(sound.fnAwaitEnd(take));
        recorder.fnWaitForMore(22050 / 5);
        const int heard = fnCount(recorder.fnGetBytes().substr(from), sound.m_Samples);
        if (heard == 1)
            break;
        ASSERT_TRUE(take < 6 && fnCountUnderflows() != underflows) << heard;
    }
}

TEST_F(PulseAudioServer, PlaybackContinuesWhereTheServerMovesIt) {
    fnAddSink("sink_name=other format=s16le rate=44100 channels=2");
    SoundRecorder recorder(*s_pServer);
    TestSound sound(10 * kBytesPerMs);
    sound.fnLoop(0xFFFFFFFFu);
    ASSERT_TRUE(sound.fnStart(m_Sound));
    s_pServer->fnControl({"unload-module", m_Modules.back()});
    m_Modules.pop_back();
    EXPECT_TRUE(fnAwait([&] { return fnCount(recorder.fnGetBytes(), sound.m_Samples) > 3; }));
    EXPECT_EQ(sound.m_nReports, 0);
}

TEST_F(PulseAudioServer, WithoutAnOutputPlaybackEndsAndThereIsNoDevice) {
    TestSound sound(100 * kBytesPerMs);
    sound.fnLoop(0xFFFFFFFFu);
    ASSERT_TRUE(sound.fnStart(m_Sound));
    s_pServer->fnControl({"unload-module", "module-null-sink"});
    EXPECT_TRUE(sound.fnAwaitEnd());
    EXPECT_FALSE(m_Sound.fnCanPlay(kSinkFormat));
    EXPECT_EQ(m_Sound.fnGetError(), "The sound server has no output");
    EXPECT_FALSE(sound.m_pDevice->fnWrite(sound.m_Header));
    EXPECT_EQ(m_Pulse.m_pMixers->fnGetCount(), 0u);
    EXPECT_EQ(m_Pulse.m_pMixers->fnOpen(0, {}), nullptr);
    s_pServer->fnControl({"load-module", "module-null-sink",
                          "norewinds=1 sink_name=lab format=s16le rate=44100 channels=2"});
    EXPECT_TRUE(m_Sound.fnCanPlay(kSinkFormat)) << "the connection stands";
    EXPECT_EQ(sound.m_nReports, 1);
}
