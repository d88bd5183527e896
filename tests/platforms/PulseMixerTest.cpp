#include "platforms/headless/headless.h"
#include "q32Base/q32Base.h"
#include "tests/platforms/PulseWorld.h"

#include <poll.h>
#include <vector>

namespace {

using Values = std::vector<std::uint32_t>;

constexpr std::uint32_t kVolume = 1;
constexpr std::uint32_t kMute = 2;

class PulseMixer : public PulseTest {
protected:
    PulseMixer() { s_pServer->fnRestore(); }

    void SetUp() override {
        m_pMixer = m_Mixers.fnOpen(0, [this](std::uint32_t id) { m_Notified.push_back(id); });
        ASSERT_NE(m_pMixer, nullptr);
    }
    Values fnGet(std::uint32_t control = kVolume) {
        Values values(2);
        return m_pMixer->fnGetValues(control, 2, values) ? values : Values();
    }
    /// Waits as a host's loop does, and pumps the reports.
    bool fnAwaitNotified(std::size_t count) {
        return fnAwait([&] { return m_Notified.size() >= count; },
                       [&] {
                           pollfd event = {m_Mixers.fnGetDescriptor(), POLLIN, 0};
                           if (::poll(&event, 1, 1000) > 0) {
                               EXPECT_GE(m_Mixers.fnPump(), 1u) << "awake for nothing";
                           }
                       });
    }
    bool fnIsQuiet() {
        pollfd event = {m_Mixers.fnGetDescriptor(), POLLIN, 0};
        const bool awake = ::poll(&event, 1, 100) != 0;
        return m_Mixers.fnPump() == 0 && !awake;
    }

    static CqPulseOptions fnRetrying() {
        CqPulseOptions options = fnOptions();
        options.m_Retry = std::chrono::milliseconds(20);
        return options;
    }

    CqPulse m_Pulse = q32Pulse(fnRetrying());
    CqPulseMixers& m_Mixers = *m_Pulse.m_pMixers;
    std::unique_ptr<CqMixer> m_pMixer;
    Values m_Notified;
};

} // namespace

TEST_F(PulseMixer, AVolumeFromOutsideIsReportedOnce) {
    s_pServer->fnControl({"set-sink-volume", "lab", "32768"});
    ASSERT_TRUE(fnAwaitNotified(1));
    EXPECT_TRUE(fnIsQuiet());
    EXPECT_EQ(m_Notified, Values{kVolume});
    EXPECT_EQ(fnGet(), (Values{32768, 32768}));
    s_pServer->fnControl({"set-sink-volume", "lab", "0", "65536"});
    ASSERT_TRUE(fnAwaitNotified(2));
    EXPECT_EQ(fnGet(), (Values{0, 65535}));
}

TEST_F(PulseMixer, MuteFromOutsideIsReportedOnce) {
    s_pServer->fnControl({"set-sink-mute", "lab", "1"});
    ASSERT_TRUE(fnAwaitNotified(1));
    EXPECT_TRUE(fnIsQuiet());
    EXPECT_EQ(m_Notified, Values{kMute});
    EXPECT_EQ(fnGet(kMute), Values{1});
}

TEST_F(PulseMixer, AVolumeAboveFullReadsAsFull) {
    s_pServer->fnControl({"set-sink-volume", "lab", "150%", "50%"});
    ASSERT_TRUE(fnAwaitNotified(1));
    EXPECT_EQ(fnGet(), (Values{65535, 32768}));
}

TEST_F(PulseMixer, SetValuesAreShownByTheServersTool) {
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {16384, 65535}));
    ASSERT_TRUE(m_pMixer->fnSetValues(kMute, 1, {1}));
    const std::string volume = s_pServer->fnControl({"get-sink-volume", "lab"});
    EXPECT_NE(volume.find("front-left: 16384 /  25%"), std::string::npos) << volume;
    EXPECT_NE(volume.find("front-right: 65536 / 100%"), std::string::npos) << volume;
    EXPECT_EQ(s_pServer->fnControl({"get-sink-mute", "lab"}), "Mute: yes\n");
}

TEST_F(PulseMixer, ThereIsNoBassAndNoTreble) {
    CqMixerLine line;
    ASSERT_TRUE(m_pMixer->fnFindSpeakerLine(line));
    std::uint32_t id = 0;
    EXPECT_FALSE(m_pMixer->fnFindControl(line.m_nLineId, CQ_MIXER_CONTROL::BASS, id));
    EXPECT_FALSE(m_pMixer->fnFindControl(line.m_nLineId, CQ_MIXER_CONTROL::TREBLE, id));
}

TEST_F(PulseMixer, AServerThatComesBackIsFoundAndItsValuesReported) {
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {100, 200}));
    ASSERT_TRUE(fnAwaitNotified(1));
    s_pServer->fnKill();
    EXPECT_TRUE(fnAwait([&] { return fnGet().empty(); }));
    EXPECT_FALSE(m_pMixer->fnSetValues(kVolume, 2, {1, 1}));
    CqMixerLine line;
    EXPECT_FALSE(m_pMixer->fnFindSpeakerLine(line));
    s_pServer->fnStart();
    ASSERT_TRUE(fnAwaitNotified(2));
    EXPECT_EQ(fnGet(), (Values{65535, 65535}));
}

TEST_F(PulseMixer, AnExceptionFromAReportPropagatesAndTheNextPumpReportsTheRest) {
    static int s_Thrown = 0;
    m_pMixer = m_Mixers.fnOpen(0, [this](std::uint32_t id) {
        m_Notified.push_back(id);
        if (id == kVolume)
            throw &s_Thrown;
    });
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {100, 200}));
    ASSERT_TRUE(m_pMixer->fnSetValues(kMute, 1, {1}));
    ASSERT_NE(m_Mixers.fnOpen(0, {}), nullptr) << "which meets both, if nothing has before";
    EXPECT_THROW(m_Mixers.fnPump(), int*);
    ASSERT_TRUE(fnAwaitNotified(2));
    EXPECT_EQ(m_Notified, (Values{kVolume, kMute}));
    EXPECT_TRUE(fnIsQuiet());
}

TEST_F(PulseMixer, AReportMayEndTheService) {
    m_pMixer = m_Mixers.fnOpen(0, [this](std::uint32_t) {
        m_pMixer.reset();
        m_Pulse = {};
        m_Notified.push_back(0);
    });
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {100, 200}));
    EXPECT_TRUE(fnAwait([&] { return !m_Notified.empty(); },
                        [&] {
                            if (m_Pulse.m_pMixers)
                                m_Mixers.fnPump();
                        }));
}

/// A window that records the control's notifications.
struct PulseParent : CqHeadlessWnd {
    PulseParent() : CqHeadlessWnd({0, 0, 100, 100}) {}
    LRESULT SendMessage(UINT message, WPARAM, LPARAM lParam) override {
        if (message == WM_NOTIFY)
            m_Codes.push_back(reinterpret_cast<const NMHDR*>(lParam)->code);
        return 0;
    }
    Values m_Codes;
};

TEST_F(PulseMixer, TheSoundControlReportsOnlyOthersChangesToItsParent) {
    CqPlatform platform = q32HeadlessPlatform();
    platform.m_pMixers = m_Pulse.m_pMixers;
    ASSERT_TRUE(q32Attach(platform));
    {
        PulseParent parent;
        CqSoundCtrl control;
        ASSERT_TRUE(control.fnCreate(&parent, 7, 10));
        EXPECT_TRUE(control.fnCanHandleVolume());
        EXPECT_TRUE(control.fnCanHandleMute());
        EXPECT_FALSE(control.fnCanHandleBass());
        EXPECT_FALSE(control.fnCanHandleTreble());
        EXPECT_EQ(control.fnGetVolume(), 255u);

        s_pServer->fnControl({"set-sink-volume", "lab", "50%"});
        ASSERT_TRUE(fnAwaitNotified(1));
        EXPECT_EQ(parent.m_Codes, Values{SCN_VOLUME});
        EXPECT_EQ(control.fnGetVolume(), 128u);
        s_pServer->fnControl({"set-sink-mute", "lab", "1"});
        ASSERT_TRUE(fnAwaitNotified(2));
        EXPECT_EQ(parent.m_Codes, (Values{SCN_VOLUME, SCN_MUTE}));

        for (int volume = 0; volume < 256; volume += 15) {
            EXPECT_TRUE(control.fnSetVolume(volume));
            EXPECT_TRUE(control.fnSetBalance(128 + volume % 2 * 50));
            m_Mixers.fnPump();
        }
        EXPECT_TRUE(control.fnSetMute(false));
        EXPECT_TRUE(control.fnSetVolume(200));
        const std::size_t notified = m_Notified.size();
        ASSERT_TRUE(fnAwaitNotified(notified + 1));
        while (!fnIsQuiet())
            ;
        EXPECT_EQ(parent.m_Codes.size(), 2u) << "own changes are not reported";

        s_pServer->fnControl({"set-sink-volume", "lab", "100%", "50%"});
        ASSERT_TRUE(
            fnAwait([&] { return parent.m_Codes.size() >= 4; }, [&] { m_Mixers.fnPump(); }));
        EXPECT_EQ(parent.m_Codes, (Values{SCN_VOLUME, SCN_MUTE, SCN_VOLUME, SCN_BALANCE}));
        EXPECT_EQ(control.fnGetBalance(), 64u);
    }
    q32Detach();
}

/// Reconfigurations that only PulseAudio supports while it runs.
class PulseAudioMixer : public PulseMixer {
protected:
    void TearDown() override {
        s_pServer->fnControl({"unload-module", m_szModule});
        s_pServer->fnRestore();
    }
    void fnUseSink(const std::string& arguments) {
        m_szModule = s_pServer->fnControl(
            {"load-module", "module-null-sink", "sink_name=other norewinds=1 " + arguments});
        m_szModule.pop_back();
        s_pServer->fnControl({"set-default-sink", "other"});
    }
    std::string m_szModule;
};

TEST_F(PulseAudioMixer, AnotherDefaultOutputIsFollowed) {
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {100, 200}));
    ASSERT_TRUE(fnAwaitNotified(1));
    fnUseSink("channels=2");
    ASSERT_TRUE(fnAwaitNotified(2));
    EXPECT_EQ(m_Notified.back(), kVolume);
    EXPECT_EQ(fnGet(), (Values{65535, 65535}));
    s_pServer->fnControl({"set-default-sink", "lab"});
    ASSERT_TRUE(fnAwaitNotified(3));
    EXPECT_EQ(fnGet(), (Values{100, 200}));
}

TEST_F(PulseAudioMixer, AnOutputWithoutSidesAnswersAPairWithOneValue) {
    fnUseSink("channels=1");
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {100, 200}));
    EXPECT_EQ(fnGet(), Values{100});
}

TEST_F(PulseAudioMixer, AllChannelsOfASurroundOutputFollowTheirSide) {
    fnUseSink("channels=6 "
              "channel_map=front-left,front-right,rear-left,rear-right,front-center,lfe");
    s_pServer->fnControl(
        {"set-sink-volume", "other", "65536", "65536", "32768", "16384", "65536", "32768"});
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {16384, 8192}));
    EXPECT_EQ(fnGet(), (Values{16384, 8192}));
    const std::string shown = s_pServer->fnControl({"get-sink-volume", "other"});
    for (const char* text : {"front-left: 16384 ", "front-right: 8192 ", "rear-left: 8192 ",
                             "rear-right: 2048 ", "front-center: 16384 ", "lfe: 8192 "})
        EXPECT_NE(shown.find(text), std::string::npos) << text << " in " << shown;
}
