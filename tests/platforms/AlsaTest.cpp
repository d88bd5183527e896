#include "platforms/alsa/alsa.h"

#include "tests/support/Await.h"
#include "tests/support/LabCardFile.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <vector>

namespace {

using Values = std::vector<std::uint32_t>;

constexpr std::uint32_t kVolume = 1;
constexpr std::uint32_t kMute = 2;
constexpr std::uint32_t kBass = 3;
constexpr std::uint32_t kTreble = 4;

class Alsa : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(fnOpen("lab")); }

    bool fnOpen(const std::string& device) {
        m_pMixer.reset();
        m_pMixers = std::make_unique<CqAlsaMixers>(device);
        m_pMixer = m_pMixers->fnOpen(0, [this](std::uint32_t id) { m_Notified.push_back(id); });
        return m_pMixer != nullptr;
    }
    Values fnGet(std::uint32_t control) {
        Values values(2);
        return m_pMixer->fnGetValues(control, 2, values) ? values : Values();
    }
    bool fnIsAwake(int ms) {
        pollfd event = {m_pMixers->fnGetDescriptor(), POLLIN, 0};
        return ::poll(&event, 1, ms) == 1;
    }
    /// Waits as a host's loop does, and returns the reports.
    Values fnTakeNotified() {
        m_Notified.clear();
        fnAwait([&] { return !m_Notified.empty(); },
                [&] {
                    if (fnIsAwake(1000))
                        m_pMixers->fnPump();
                });
        return m_Notified;
    }

    LabCardFile m_Card;
    std::unique_ptr<CqAlsaMixers> m_pMixers;
    std::unique_ptr<CqMixer> m_pMixer;
    Values m_Notified;
};

} // namespace

TEST_F(Alsa, TheCardsStepsSpanTheFullRange) {
    LabCard card;
    card.m_nMaster[0] = 0;
    card.m_nMaster[1] = 31;
    card.m_nBass = -10;
    card.m_nTreble = 14;
    m_Card.fnWriteCard(card);
    EXPECT_EQ(fnGet(kVolume), (Values{0, 65535}));
    EXPECT_EQ(fnGet(kMute), Values{0});
    EXPECT_EQ(fnGet(kBass), Values{0});
    EXPECT_EQ(fnGet(kTreble), Values{65535});
    card.m_nBass = 2; // half way from -10 to 14
    m_Card.fnWriteCard(card);
    EXPECT_EQ(fnGet(kBass), Values{32768});
}

TEST_F(Alsa, SetValuesReachTheCard) {
    EXPECT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {65535, 0}));
    EXPECT_TRUE(m_pMixer->fnSetValues(kMute, 1, {1}));
    EXPECT_TRUE(m_pMixer->fnSetValues(kBass, 2, {0}));
    EXPECT_TRUE(m_pMixer->fnSetValues(kTreble, 2, {32768}));
    const LabCard card = m_Card.fnGet();
    EXPECT_EQ(card.m_nMaster[0], 31);
    EXPECT_EQ(card.m_nMaster[1], 0);
    EXPECT_EQ(card.m_nMasterOn[0], 0);
    EXPECT_EQ(card.m_nMasterOn[1], 0);
    EXPECT_EQ(card.m_nBass, -10);
    EXPECT_EQ(card.m_nTreble, 2);
}

TEST_F(Alsa, SettingBassOrTrebleSwitchesTheCardsToneOn) {
    EXPECT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {1, 2}));
    EXPECT_EQ(m_Card.fnGet().m_nToneOn, 0) << "not for the volume";
    for (const std::uint32_t control : {kBass, kTreble}) {
        LabCard card = m_Card.fnGet();
        card.m_nToneOn = 0;
        m_Card.fnWriteCard(card);
        EXPECT_TRUE(m_pMixer->fnSetValues(control, 2, {65535}));
        EXPECT_EQ(m_Card.fnGet().m_nToneOn, 1) << control;
        m_pMixers->fnPump(); // the card sends no event for a change undone before it is read
    }
}

TEST_F(Alsa, AnExceptionFromAReportPropagatesAndTheNextPumpReportsTheRest) {
    static int s_Thrown = 0;
    m_pMixer = m_pMixers->fnOpen(0, [this](std::uint32_t id) {
        m_Notified.push_back(id);
        if (id == kBass)
            throw &s_Thrown;
    });
    LabCard card;
    card.m_nBass = 0;
    card.m_nTreble = 0;
    m_Card.fnWriteCard(card);
    ASSERT_TRUE(fnIsAwake(1000));
    EXPECT_THROW(m_pMixers->fnPump(), int*);
    EXPECT_EQ(fnTakeNotified(), Values{kTreble});
    EXPECT_FALSE(fnIsAwake(50));
}

TEST_F(Alsa, AValueBetweenTwoStepsIsRememberedUntilTheControlChangesElsewhere) {
    EXPECT_TRUE(m_pMixer->fnSetValues(kBass, 2, {12345}));
    EXPECT_EQ(fnGet(kBass), Values{12345});
    LabCard card = m_Card.fnGet();
    EXPECT_EQ(card.m_nBass, -10 + 5) << "12345 / 65535 of 24 steps is 4.52";
    ++card.m_nBass;
    m_Card.fnWriteCard(card);
    EXPECT_EQ(fnGet(kBass), Values{16384});
}

TEST_F(Alsa, EachControlChangedFromOutsideIsReportedOnce) {
    LabCard card;
    card.m_nMaster[0] = 5;
    m_Card.fnWriteCard(card);
    EXPECT_EQ(fnTakeNotified(), Values{kVolume});
    card.m_nMasterOn[0] = card.m_nMasterOn[1] = 0;
    m_Card.fnWriteCard(card);
    EXPECT_EQ(fnTakeNotified(), Values{kMute});
    card.m_nBass = 0;
    card.m_nTreble = 0;
    m_Card.fnWriteCard(card);
    EXPECT_EQ(fnTakeNotified(), (Values{kBass, kTreble}));
    EXPECT_FALSE(fnIsAwake(50));
}

TEST_F(Alsa, ACardIsMuteWhenAllItsChannelsAreOff) {
    LabCard card;
    card.m_nMasterOn[0] = 0;
    m_Card.fnWriteCard(card);
    EXPECT_EQ(fnGet(kMute), Values{0}) << "the right one is heard";
    card.m_nMasterOn[1] = 0;
    m_Card.fnWriteCard(card);
    EXPECT_EQ(fnTakeNotified(), Values{kMute});
    EXPECT_EQ(fnGet(kMute), Values{1});
    card.m_nMasterOn[0] = 1;
    m_Card.fnWriteCard(card);
    EXPECT_EQ(fnTakeNotified(), Values{kMute});
    EXPECT_EQ(fnGet(kMute), Values{0}) << "the left one is heard";
    card.m_nMasterOn[1] = 1;
    m_Card.fnWriteCard(card);
    EXPECT_FALSE(fnIsAwake(50) && m_pMixers->fnPump() != 0) << "no change to report";
    EXPECT_TRUE(m_pMixer->fnSetValues(kMute, 1, {1}));
    EXPECT_EQ(m_Card.fnGet().m_nMasterOn[0] + m_Card.fnGet().m_nMasterOn[1], 0);
    EXPECT_TRUE(m_pMixer->fnSetValues(kMute, 1, {0}));
    EXPECT_EQ(m_Card.fnGet().m_nMasterOn[0] + m_Card.fnGet().m_nMasterOn[1], 2);
}

TEST_F(Alsa, AChangeThatWasAlreadyReadIsStillReported) {
    LabCard card;
    card.m_nBass = 0;
    m_Card.fnWriteCard(card);
    EXPECT_EQ(fnGet(kBass), Values{27306});
    EXPECT_EQ(fnTakeNotified(), Values{kBass});
    EXPECT_FALSE(fnIsAwake(50));
}

TEST_F(Alsa, ACardWithoutToneHasNoBassAndNoTreble) {
    ASSERT_TRUE(fnOpen("plain"));
    CqMixerLine line;
    ASSERT_TRUE(m_pMixer->fnFindSpeakerLine(line));
    EXPECT_EQ(line.m_nControls, 2u);
    std::uint32_t id = 0;
    EXPECT_FALSE(m_pMixer->fnFindControl(line.m_nLineId, CQ_MIXER_CONTROL::BASS, id));
    EXPECT_FALSE(m_pMixer->fnFindControl(line.m_nLineId, CQ_MIXER_CONTROL::TREBLE, id));
    EXPECT_FALSE(m_pMixer->fnSetValues(kBass, 2, {1}));
    EXPECT_EQ(fnGet(kTreble), Values());
}

TEST_F(Alsa, AMonoCardAnswersAPairWithOneValue) {
    ASSERT_TRUE(fnOpen("mono"));
    EXPECT_TRUE(m_pMixer->fnSetValues(kVolume, 2, {100, 200}));
    EXPECT_EQ(fnGet(kVolume), Values{100});
    EXPECT_TRUE(m_pMixer->fnSetValues(kMute, 1, {1}));
    EXPECT_EQ(fnGet(kMute), Values{1});
    EXPECT_EQ(m_Card.fnGet().m_nMasterOn[0], 0);
}

TEST_F(Alsa, WithoutTheCardThereIsNoMixer) {
    EXPECT_FALSE(fnOpen("nowhere"));
    EXPECT_EQ(m_pMixers->fnGetCount(), 0u);
    EXPECT_EQ(m_pMixers->fnPump(), 0u);
}

TEST_F(Alsa, ARemovedCardFailsAndCausesNoMoreWakeUps) {
    LabCard card;
    card.m_nGone = 1;
    m_Card.fnWriteCard(card);
    EXPECT_EQ(fnGet(kVolume), Values());
    EXPECT_FALSE(m_pMixer->fnSetValues(kVolume, 2, {1, 2}));
    CqMixerLine line;
    EXPECT_FALSE(m_pMixer->fnFindSpeakerLine(line));
    m_pMixers->fnPump();
    EXPECT_FALSE(fnIsAwake(50));
    EXPECT_EQ(m_pMixers->fnGetCount(), 0u);
    EXPECT_EQ(m_Notified, Values());
}

TEST_F(Alsa, AReportMayEndTheService) {
    m_pMixer = m_pMixers->fnOpen(0, [this](std::uint32_t id) {
        m_Notified.push_back(id);
        m_pMixer.reset();
        m_pMixers.reset();
    });
    LabCard card;
    card.m_nMasterOn[0] = card.m_nMasterOn[1] = 0;
    card.m_nBass = 0;
    m_Card.fnWriteCard(card);
    ASSERT_TRUE(fnAwait([&] { return !m_Notified.empty(); }, [&] { m_pMixers->fnPump(); }));
    EXPECT_EQ(m_Notified, Values{kMute});
}
