// Open mixers, and servers that disappear, come back, or can't answer a mixer's queries.
#include "tests/platforms/PulseFaultWorld.h"

namespace {

using std::chrono::milliseconds;

class PulseWatch : public PulseFault {
protected:
    std::unique_ptr<CqMixer> fnOpenMixer() {
        return m_Mixers.fnOpen(0, [this](std::uint32_t) { ++m_nNotified; });
    }
    bool fnAwaitNotified(int count) {
        return fnAwait([&] { return m_nNotified >= count; }, [&] { m_Mixers.fnPump(); });
    }
    /// Whether the server is found again after it was gone. Another client finds it first, which
    /// looks for it five times less often than the services under test would.
    bool fnIsSought() {
        CqPulseOptions options = m_Options;
        options.m_szApplication = "Somebody else";
        options.m_Retry *= 5;
        const CqPulse other = q32Pulse(options);
        const auto mixer = other.m_pMixers->fnOpen(0, {});
        EXPECT_NE(mixer, nullptr);
        for (int i = 0; i < 2; ++i) {
            s_pServer->fnKill();
            s_pServer->fnStart();
            EXPECT_TRUE(fnAwait([&] { return fnIsConnected("Somebody else"); }));
            if (fnIsConnected(kHost))
                return true;
        }
        return false;
    }

    CqPulse m_Pulse = q32Pulse(m_Options);
    CqPulseMixers& m_Mixers = *m_Pulse.m_pMixers;
    int m_nNotified = 0;
};

} // namespace

TEST_F(PulseWatch, AServerIsSoughtAgainAfterEachAttemptThatFails) {
    const auto mixer = fnOpenMixer();
    ASSERT_NE(mixer, nullptr);
    for (const char* call : {"pa_context_new_with_proplist", "pa_context_connect"}) {
        const PulseFailure failure(1, call, true);
        s_pServer->fnKill();
        ASSERT_TRUE(fnAwait([] { return !PulseFailure::fnGetFailed().empty(); }));
        s_pServer->fnStart();
        Values values(2);
        EXPECT_FALSE(mixer->fnGetValues(kVolume, 2, values)) << call;
    }
    // No more calls are made.
    EXPECT_TRUE(fnAwait([&] { return fnIsConnected(kHost); }));
    m_nNotified = 0;
    s_pServer->fnControl({"set-sink-volume", "lab", "30000"});
    EXPECT_TRUE(fnAwaitNotified(1));
}

TEST_F(PulseWatch, AServerThatDidNotAnswerInTimeIsSoughtAgain) {
    CqPulseOptions options = m_Options;
    options.m_Patience = milliseconds(100);
    m_Pulse = q32Pulse(options);
    int notified = 0;
    std::unique_ptr<CqMixer> mixer;
    ASSERT_TRUE(fnAwait([&] { // so short a timeout may fail a server that is only slow
        mixer = m_Pulse.m_pMixers->fnOpen(0, [&](std::uint32_t) { ++notified; });
        return mixer != nullptr;
    }));
    {
        const PulseFailure failure(1, "pa_context_connect", true);
        s_pServer->fnKill();
        s_pServer->fnStart();
        s_pServer->fnFreeze();
    }
    Values values(2);
    EXPECT_FALSE(mixer->fnGetValues(kVolume, 2, values));
    EXPECT_EQ(m_Pulse.m_pWaveOut->fnGetError(), "The sound server doesn't answer");
    s_pServer->fnThaw();
    EXPECT_TRUE(fnAwait([&] { return fnIsConnected(kHost); })) << "without another call";
    s_pServer->fnControl({"set-sink-volume", "lab", "30000"});
    EXPECT_TRUE(fnAwait([&] { return notified > 0; }, [&] { m_Pulse.m_pMixers->fnPump(); }));
}

TEST_F(PulseWatch, ChangesAreReportedEvenIfTheFirstSubscriptionFailed) {
    const PulseFailure failure(1, "pa_context_subscribe");
    const auto mixer = fnOpenMixer();
    ASSERT_NE(mixer, nullptr);
    ASSERT_EQ(PulseFailure::fnGetFailed(), "pa_context_subscribe");
    s_pServer->fnControl({"set-sink-volume", "lab", "30000"});
    EXPECT_TRUE(fnAwaitNotified(1));
}

TEST_F(PulseWatch, AChangeIsReportedEvenIfItsFirstReadFailed) {
    const auto mixer = fnOpenMixer();
    ASSERT_NE(mixer, nullptr);
    const PulseFailure failure(1, "pa_context_get_sink_info_by_name");
    s_pServer->fnControl({"set-sink-volume", "lab", "30000"});
    EXPECT_TRUE(fnAwaitNotified(1));
    EXPECT_EQ(PulseFailure::fnGetFailed(), "pa_context_get_sink_info_by_name");
}

TEST_F(PulseWatch, AnOutputIsUsedAndFollowedEvenIfTheServerNamesNoDefault) {
    const PulseNoDefault hidden;
    const auto mixer = fnOpenMixer();
    ASSERT_NE(mixer, nullptr);
    EXPECT_TRUE(m_Pulse.m_pWaveOut->fnCanPlay(kSinkFormat));
    ASSERT_TRUE(mixer->fnSetValues(kVolume, 2, {100, 200}));
    ASSERT_TRUE(mixer->fnSetValues(kMute, 1, {1}));
    Values values(2);
    ASSERT_TRUE(mixer->fnGetValues(kVolume, 2, values));
    EXPECT_EQ(values, (Values{100, 200}));
    EXPECT_EQ(s_pServer->fnControl({"get-sink-mute", "lab"}), "Mute: yes\n");
    ASSERT_TRUE(fnAwaitNotified(2));
    const PulseFailure failure(1, "pa_context_get_sink_info_list");
    s_pServer->fnControl({"set-sink-volume", "lab", "30000"});
    EXPECT_TRUE(fnAwaitNotified(3));
    EXPECT_EQ(PulseFailure::fnGetFailed(), "pa_context_get_sink_info_list");
}

TEST_F(PulseWatch, AnOutputThatCannotBeListedCountsAsMissing) {
    const PulseNoDefault hidden;
    const PulseFailure failure(1, "pa_context_get_sink_info_list");
    EXPECT_FALSE(m_Pulse.m_pWaveOut->fnCanPlay(kSinkFormat));
    EXPECT_TRUE(m_Pulse.m_pWaveOut->fnCanPlay(kSinkFormat));
}

TEST_F(PulseWatch, NoServerIsSoughtForAClosedMixer) {
    ASSERT_NE(fnOpenMixer(), nullptr);
    EXPECT_FALSE(fnIsSought());
    EXPECT_TRUE(m_Pulse.m_pWaveOut->fnCanPlay(kSinkFormat)) << "but found when it is needed";
    EXPECT_TRUE(fnIsConnected(kHost));
}

TEST_F(PulseWatch, NoServerIsSoughtForAMixerThatDidNotOpen) {
    {
        const PulseFailure failure(1, "pa_context_get_sink_info_by_name");
        ASSERT_EQ(fnOpenMixer(), nullptr);
    }
    EXPECT_FALSE(fnIsSought());
}

TEST_F(PulseWatch, AServerIsSoughtForTheRemainingMixer) {
    auto first = fnOpenMixer();
    const auto second = fnOpenMixer();
    ASSERT_TRUE(first && second);
    first.reset();
    {
        const PulseFailure failure(1, "pa_context_get_sink_info_by_name");
        ASSERT_EQ(fnOpenMixer(), nullptr);
    }
    EXPECT_TRUE(fnAwait([&] { return fnIsSought(); }));
}

TEST_F(PulseWatch, AMixerGetsNoReportsOfChangesWhileNoneWasOpen) {
    ASSERT_NE(fnOpenMixer(), nullptr);
    s_pServer->fnControl({"set-sink-volume", "lab", "30000"});
    const auto mixer = fnOpenMixer();
    ASSERT_NE(mixer, nullptr);
    Values values(2);
    ASSERT_TRUE(mixer->fnGetValues(kVolume, 2, values));
    EXPECT_EQ(m_Mixers.fnPump(), 0u);
    EXPECT_EQ(m_nNotified, 0);
    s_pServer->fnControl({"set-sink-volume", "lab", "20000"});
    EXPECT_TRUE(fnAwaitNotified(1));
}
