// The volume of the program's own sounds, with sounds that play.
#include "tests/platforms/PulseFaultWorld.h"

#include <chrono>

namespace {

using Clock = std::chrono::steady_clock;

class PulseOwnVolume : public PulseFault {
protected:
    void SetUp() override {
        m_pMixer = m_Mixers.fnOpen(0, [this](std::uint32_t id) { m_Notified.push_back(id); });
        ASSERT_NE(m_pMixer, nullptr);
    }
    Values fnGet(std::uint32_t control = kVolume) {
        Values values(2);
        return m_pMixer->fnGetValues(control, 2, values) ? values : Values();
    }
    bool fnAwaitNotified(std::uint32_t control) {
        return fnAwait([&] { return std::erase(m_Notified, control) > 0; },
                       [&] { m_Mixers.fnPump(); });
    }
    /// Starts a sound that doesn't end.
    bool fnStart(TestSound& sound) {
        sound.fnLoop(0xFFFFFFFFu);
        return sound.fnStart(*m_Pulse.m_pWaveOut);
    }
    static std::string fnListSounds() { return s_pServer->fnControl({"list", "sink-inputs"}); }
    static std::string fnGetIndex() {
        const std::string sounds = s_pServer->fnControl({"list", "short", "sink-inputs"});
        return sounds.substr(0, sounds.find('\t'));
    }

    CqPulse m_Pulse = q32Pulse(m_Options);
    CqPulseMixers& m_Mixers = *m_Pulse.m_pOwnMixers;
    std::unique_ptr<CqMixer> m_pMixer;
    Values m_Notified;
};

} // namespace

TEST_F(PulseOwnVolume, AppliesToSoundsThatPlayAndToThoseThatStartLater) {
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {16384, 65535}));
    TestSound first(4000);
    ASSERT_TRUE(fnStart(first));
    EXPECT_NE(fnListSounds().find("front-left: 16384 /"), std::string::npos) << fnListSounds();
    EXPECT_NE(fnListSounds().find("front-right: 65536 /"), std::string::npos) << fnListSounds();
    EXPECT_NE(fnListSounds().find("Mute: no"), std::string::npos) << fnListSounds();
    TestSound second(4000);
    ASSERT_TRUE(fnStart(second));
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 1, {8192}));
    ASSERT_TRUE(m_pMixer->fnSetValues(kMute, 1, {1}));
    const std::string list = fnListSounds();
    EXPECT_EQ(fnCount(list, "front-left: 8192 /"), 2) << list;
    EXPECT_EQ(fnCount(list, "front-right: 8192 /"), 2) << list;
    EXPECT_EQ(fnCount(list, "Mute: yes"), 2) << list;
    EXPECT_EQ(fnGet(), (Values{8192, 8192}));
    first.m_pDevice->fnReset();
    second.m_pDevice->fnReset();
    ASSERT_TRUE(fnStart(first));
    EXPECT_EQ(fnCount(fnListSounds(), "Mute: yes"), 1) << fnListSounds();
}

TEST_F(PulseOwnVolume, LeavesTheMachinesAndOtherProgramsAsTheyAre) {
    const CqPulse other = q32Pulse(m_Options);
    TestSound others(4000);
    others.fnLoop(0xFFFFFFFFu);
    ASSERT_TRUE(others.fnStart(*other.m_pWaveOut));
    TestSound mine(4000);
    ASSERT_TRUE(fnStart(mine));
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {100, 200}));
    ASSERT_TRUE(m_pMixer->fnSetValues(kMute, 1, {1}));
    EXPECT_EQ(fnCount(fnListSounds(), "Mute: yes"), 1) << fnListSounds();
    const auto machine = m_Pulse.m_pMixers->fnOpen(0, {});
    ASSERT_NE(machine, nullptr);
    Values values(2);
    ASSERT_TRUE(machine->fnGetValues(kVolume, 2, values));
    EXPECT_EQ(values, (Values{65535, 65535}));
    ASSERT_TRUE(machine->fnGetValues(kMute, 1, values));
    EXPECT_EQ(values, Values{0});
}

TEST_F(PulseOwnVolume, ADesktopsVolumeControlChangesItAndThatIsReported) {
    TestSound sound(4000);
    ASSERT_TRUE(fnStart(sound));
    s_pServer->fnControl({"set-sink-input-volume", fnGetIndex(), "32768"});
    ASSERT_TRUE(fnAwaitNotified(kVolume));
    EXPECT_EQ(fnGet(), (Values{32768, 32768}));
    s_pServer->fnControl({"set-sink-input-mute", fnGetIndex(), "1"});
    ASSERT_TRUE(fnAwaitNotified(kMute));
    EXPECT_EQ(fnGet(kMute), Values{1});
    sound.m_pDevice->fnReset();
    EXPECT_EQ(fnGet(), (Values{32768, 32768})) << "and the next sound starts with it";
    ASSERT_TRUE(fnStart(sound));
    EXPECT_EQ(fnCount(fnListSounds(), "Mute: yes"), 1) << fnListSounds();
}

TEST_F(PulseOwnVolume, WhatAServerReportsBeforeItHasSetAVolumeIsIgnored) {
    for (int i = 0; i < 5; ++i) {
        TestSound sound(4000);
        ASSERT_TRUE(fnStart(sound));
        // PipeWire reports 0 for some 20 ms.
        for (const Clock::time_point end = Clock::now() + std::chrono::milliseconds(50);
             Clock::now() < end;)
            ASSERT_EQ(fnGet(), (Values{65535, 65535}));
    }
}

TEST_F(PulseOwnVolume, AVolumeOfNothingIsReportedOnceASoundHasStarted) {
    TestSound sound(4000);
    ASSERT_TRUE(fnStart(sound));
    s_pServer->fnControl({"set-sink-input-volume", fnGetIndex(), "0"});
    ASSERT_TRUE(fnAwaitNotified(kVolume));
    EXPECT_EQ(fnGet(), (Values{0, 0}));
}

TEST_F(PulseOwnVolume, ASoundWithoutSidesShowsOneValueAndTheNextHasBothAgain) {
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {1000, 2000}));
    TestSound mono(4000);
    mono.fnLoop(0xFFFFFFFFu);
    ASSERT_TRUE(mono.fnOpen(*m_Pulse.m_pWaveOut, {1, 1, 44100, 88200, 2, 16, 0}));
    ASSERT_TRUE(mono.m_pDevice->fnWrite(mono.m_Header));
    EXPECT_EQ(fnGet(), Values{1000});
    mono.m_pDevice->fnReset();
    EXPECT_EQ(fnGet(), (Values{1000, 2000}));
}

TEST_F(PulseOwnVolume, IsKeptWhenTheServerComesBack) {
    ASSERT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {100, 200}));
    s_pServer->fnKill();
    EXPECT_TRUE(fnAwait([&] { return fnGet().empty(); }));
    EXPECT_FALSE(m_pMixer->fnSetValues(kVolume, 2, {1, 1}));
    EXPECT_EQ(m_Mixers.fnGetCount(), 0u);
    s_pServer->fnStart();
    EXPECT_EQ(fnGet(), (Values{100, 200}));
}

TEST_F(PulseOwnVolume, ACallThatFailsSetsNothingAndReportsIt) {
    TestSound sound(4000);
    ASSERT_TRUE(fnStart(sound));
    {
        const PulseFailure failure(1, "pa_context_set_sink_input_volume");
        EXPECT_FALSE(m_pMixer->fnSetValues(kVolume, 2, {100, 200}));
        EXPECT_FALSE(PulseFailure::fnGetFailed().empty());
    }
    {
        const PulseFailure failure(1, "pa_context_set_sink_input_mute");
        EXPECT_FALSE(m_pMixer->fnSetValues(kMute, 1, {1}));
    }
    {
        const PulseFailure failure(1, "pa_context_get_sink_input_info");
        EXPECT_EQ(fnGet(), Values());
        EXPECT_FALSE(PulseFailure::fnGetFailed().empty());
    }
    EXPECT_EQ(fnGet(), (Values{65535, 65535}));
    EXPECT_EQ(fnGet(kMute), Values{0});
    {
        const PulseFailure failure(1, "pa_context_get_sink_input_info");
        s_pServer->fnControl({"set-sink-input-volume", fnGetIndex(), "32768"});
        EXPECT_TRUE(fnAwaitNotified(kVolume)) << "read again after a while";
        EXPECT_FALSE(PulseFailure::fnGetFailed().empty());
    }
}
