#include "tests/contract/ContractBackEnd.h"
#include "tests/support/Await.h"

#include <algorithm>
#include <vector>

namespace {

class MixerContract : public ContractTest {
protected:
    using Values = std::vector<std::uint32_t>;

    void SetUp() override {
        ASSERT_GE(m_Mixers.fnGetCount(), 1u);
        m_pMixer = m_Mixers.fnOpen(0, [this](std::uint32_t id) { m_Notified.push_back(id); });
        ASSERT_NE(m_pMixer, nullptr);
        ASSERT_TRUE(m_pMixer->fnFindSpeakerLine(m_Line));
        ASSERT_TRUE(m_pMixer->fnFindControl(m_Line.m_nLineId, CQ_MIXER_CONTROL::VOLUME, m_nVolume));
        ASSERT_TRUE(m_pMixer->fnFindControl(m_Line.m_nLineId, CQ_MIXER_CONTROL::MUTE, m_nMute));
    }

    /// The control's values; none when unavailable.
    Values fnGet(std::uint32_t control, std::uint32_t channels, std::size_t count) {
        Values values(count, 77777);
        return m_pMixer->fnGetValues(control, channels, values) ? values : Values();
    }
    bool fnAwaitNotified(std::uint32_t control) {
        return fnAwait(
            [&] {
                return std::find(m_Notified.begin(), m_Notified.end(), control) != m_Notified.end();
            },
            m_World.m_Tick);
    }

    CqMixerService& m_Mixers = *m_World.m_Platform.m_pMixers;
    std::unique_ptr<CqMixer> m_pMixer;
    CqMixerLine m_Line;
    std::uint32_t m_nVolume = 0;
    std::uint32_t m_nMute = 0;
    Values m_Notified;
};

TEST_P(MixerContract, ControlIdsAreNeverZeroAndDiffer) {
    EXPECT_GE(m_Line.m_nControls, 2u);
    EXPECT_EQ(m_Line.m_nChannels, 2u);
    Values ids;
    for (const auto type : {CQ_MIXER_CONTROL::VOLUME, CQ_MIXER_CONTROL::MUTE,
                            CQ_MIXER_CONTROL::BASS, CQ_MIXER_CONTROL::TREBLE}) {
        std::uint32_t id = 0;
        EXPECT_FALSE(m_pMixer->fnFindControl(m_Line.m_nLineId + 1, type, id));
        if (m_pMixer->fnFindControl(m_Line.m_nLineId, type, id))
            ids.push_back(id);
    }
    EXPECT_EQ(ids.size(), m_Line.m_nControls);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end());
    EXPECT_NE(ids.front(), 0u);
}

TEST_P(MixerContract, EachChannelReadsBackAsItWasSet) {
    for (std::uint32_t i = 0; i < 256; i += 5) {
        const Values pair = {i * 257, (255 - i) * 256};
        ASSERT_TRUE(m_pMixer->fnSetValues(m_nVolume, 2, pair));
        EXPECT_EQ(fnGet(m_nVolume, 2, 2), pair);
    }
}

TEST_P(MixerContract, OneValueMovesAllChannelsAndIsTheLeftOne) {
    ASSERT_TRUE(m_pMixer->fnSetValues(m_nVolume, 2, {51200, 25600}));
    EXPECT_EQ(fnGet(m_nVolume, 1, 1), Values{51200});
    EXPECT_EQ(fnGet(m_nVolume, 2, 1), Values{51200});
    EXPECT_EQ(fnGet(m_nVolume, 1, 2), Values{51200}) << "fewer than asked for";
    ASSERT_TRUE(m_pMixer->fnSetValues(m_nVolume, 1, {30000, 5}));
    EXPECT_EQ(fnGet(m_nVolume, 2, 2), (Values{30000, 30000}));
    ASSERT_TRUE(m_pMixer->fnSetValues(m_nVolume, 2, {20000}));
    EXPECT_EQ(fnGet(m_nVolume, 2, 2), (Values{20000, 20000}));
    ASSERT_TRUE(m_pMixer->fnSetValues(m_nVolume, 2, {1, 2, 3}));
    EXPECT_EQ(fnGet(m_nVolume, 2, 2), (Values{1, 2}));
}

TEST_P(MixerContract, MuteIsOneValue) {
    for (const std::uint32_t mute : {1u, 0u, 1u}) {
        ASSERT_TRUE(m_pMixer->fnSetValues(m_nMute, 1, {mute}));
        EXPECT_EQ(fnGet(m_nMute, 1, 1), Values{mute});
        EXPECT_EQ(fnGet(m_nMute, 2, 2), Values{mute});
    }
}

TEST_P(MixerContract, ValuesOutOfRangeAreRefusedAndSetNothing) {
    ASSERT_TRUE(m_pMixer->fnSetValues(m_nVolume, 2, {100, 200}));
    ASSERT_TRUE(m_pMixer->fnSetValues(m_nMute, 1, {0}));
    EXPECT_FALSE(m_pMixer->fnSetValues(m_nVolume, 2, {1, 65536}));
    EXPECT_FALSE(m_pMixer->fnSetValues(m_nVolume, 2, {}));
    EXPECT_FALSE(m_pMixer->fnSetValues(m_nVolume, 3, {1}));
    EXPECT_FALSE(m_pMixer->fnSetValues(m_nVolume, 0, {1}));
    EXPECT_FALSE(m_pMixer->fnSetValues(m_nMute, 1, {2}));
    EXPECT_FALSE(m_pMixer->fnSetValues(0, 1, {1}));
    EXPECT_FALSE(m_pMixer->fnSetValues(12345, 1, {1}));
    EXPECT_EQ(fnGet(m_nVolume, 3, 1), Values());
    EXPECT_EQ(fnGet(m_nVolume, 2, 0), Values());
    EXPECT_EQ(fnGet(0, 1, 1), Values());
    EXPECT_EQ(fnGet(12345, 1, 1), Values());
    EXPECT_EQ(fnGet(m_nVolume, 2, 2), (Values{100, 200}));
    EXPECT_EQ(fnGet(m_nMute, 1, 1), Values{0});
}

TEST_P(MixerContract, ThereIsNoMixerAfterTheLast) {
    EXPECT_EQ(m_Mixers.fnOpen(m_Mixers.fnGetCount(), {}), nullptr);
    EXPECT_EQ(m_Mixers.fnOpen(0xFFFFFFFFu, {}), nullptr);
}

TEST_P(MixerContract, AnExternalChangeIsReported) {
    m_World.m_ChangeElsewhere(true);
    ASSERT_TRUE(fnAwaitNotified(m_nVolume));
    const Values first = fnGet(m_nVolume, 2, 2);
    m_Notified.clear();
    m_World.m_ChangeElsewhere(false);
    ASSERT_TRUE(fnAwaitNotified(m_nVolume));
    EXPECT_NE(fnGet(m_nVolume, 2, 2), first);
}

TEST_P(MixerContract, AnOwnChangeIsReportedButNotBeforeTheCallReturns) {
    ASSERT_TRUE(m_pMixer->fnSetValues(m_nVolume, 2, {12000, 34000}));
    ASSERT_TRUE(m_pMixer->fnSetValues(m_nMute, 1, {1}));
    EXPECT_EQ(m_Notified, Values());
    EXPECT_TRUE(fnAwaitNotified(m_nVolume));
    EXPECT_TRUE(fnAwaitNotified(m_nMute));
}

TEST_P(MixerContract, TwoMixersBothReport) {
    Values other;
    const auto second = m_Mixers.fnOpen(0, [&](std::uint32_t id) { other.push_back(id); });
    ASSERT_NE(second, nullptr);
    ASSERT_TRUE(m_pMixer->fnSetValues(m_nVolume, 2, {12000, 34000}));
    EXPECT_TRUE(fnAwaitNotified(m_nVolume));
    EXPECT_TRUE(fnAwait([&] { return !other.empty(); }, m_World.m_Tick));
}

TEST_P(MixerContract, AReportMayCloseItsMixer) {
    int notified = 0;
    std::unique_ptr<CqMixer> mixer = m_Mixers.fnOpen(0, [&](std::uint32_t) {
        ++notified;
        mixer.reset();
    });
    ASSERT_TRUE(m_pMixer->fnSetValues(m_nVolume, 2, {12000, 34000}));
    ASSERT_TRUE(m_pMixer->fnSetValues(m_nMute, 1, {1}));
    EXPECT_TRUE(fnAwaitNotified(m_nVolume));
    EXPECT_TRUE(fnAwaitNotified(m_nMute));
    EXPECT_TRUE(fnAwait([&] { return notified == 1; }, m_World.m_Tick));
    EXPECT_EQ(mixer, nullptr);
}

} // namespace

Q32_CONTRACT(MixerContract, MIXERS);
