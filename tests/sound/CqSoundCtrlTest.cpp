#include "q32Base/sound/CqSoundCtrl.h"

#include "tests/sound/MixerTest.h"
#include "tests/support/FailingAllocator.h"

#include <optional>

using namespace q32::test;

namespace {

/// Exposes the protected members to the tests.
struct OpenSoundCtrl : CqSoundCtrl {
    using CqSoundCtrl::fnGetMixerHandle;
    using CqSoundCtrl::OnDestroy;
    using CqSoundCtrl::OnMixerChange;
};

class CqSoundCtrlTest : public MixerTest {
protected:
    /// Creates a control of the usual mixer, with a step of 10.
    void fnStart() {
        fnMixers().fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
        ASSERT_TRUE(m_Control.fnCreate(&m_Parent, 42, 10));
    }
    bool fnMove(CQ_MIXER_CONTROL type, const Values& values) {
        return fnMixers().fnMove(0, type, values) && fnMixers().fnPump() == 1;
    }
    Values fnGet(CQ_MIXER_CONTROL type) { return fnMixers().fnGetValues(0, type); }
    std::vector<UINT> fnTakeNotified() { return m_Parent.fnTakeCodes(); }

    OpenSoundCtrl m_Control;
};

using Codes = std::vector<UINT>;
using enum CQ_MIXER_CONTROL;

TEST_F(CqSoundCtrlTest, BeginsInTheMiddleWithoutAMixer) {
    EXPECT_FALSE(m_Control.IsWindow());
    EXPECT_FALSE(m_Control.fnGetMute());
    EXPECT_EQ(m_Control.fnGetVolume(), 128u);
    EXPECT_EQ(m_Control.fnGetBalance(), 128u);
    EXPECT_EQ(m_Control.fnGetBass(), 128u);
    EXPECT_EQ(m_Control.fnGetTreble(), 128u);
    EXPECT_FALSE(m_Control.fnCanHandleMute());
    EXPECT_FALSE(m_Control.fnCanHandleVolume());
    EXPECT_FALSE(m_Control.fnCanHandleBass());
    EXPECT_FALSE(m_Control.fnCanHandleTreble());
}

TEST_F(CqSoundCtrlTest, WithoutAMixerEverySetterReturnsFalse) {
    EXPECT_FALSE(m_Control.fnSetMute(false)) << "even for the value that is there";
    EXPECT_FALSE(m_Control.fnSwitchMute());
    EXPECT_FALSE(m_Control.fnSetVolume(128));
    EXPECT_FALSE(m_Control.fnSetBalance(128));
    EXPECT_FALSE(m_Control.fnSetBass(128));
    EXPECT_FALSE(m_Control.fnSetTreble(128));
    for (const bool up : {false, true}) {
        EXPECT_FALSE(m_Control.fnSetVolume(up));
        EXPECT_FALSE(m_Control.fnSetBalance(up));
        EXPECT_FALSE(m_Control.fnSetBass(up));
        EXPECT_FALSE(m_Control.fnSetTreble(up));
    }
    EXPECT_EQ(m_Control.OnMixerChange(0, 0), 0);
}

TEST_F(CqSoundCtrlTest, IsAHiddenChildThatReadsTheMixer) {
    CqHeadlessMixerDevice device = CqHeadlessMixers::fnMakeUsualDevice();
    device.m_Controls[0].m_Values = {1};
    device.m_Controls[1].m_Values = {51200, 25600};
    device.m_Controls[2].m_Values = {256 * 3 + 255};
    device.m_Controls[3].m_Values = {65535};
    fnMixers().fnAddDevice(device);
    ASSERT_TRUE(m_Control.fnCreate(&m_Parent, 42, 10));
    EXPECT_TRUE(m_Control.IsWindow());
    EXPECT_EQ(m_Control.GetParent(), &m_Parent);
    EXPECT_EQ(m_Control.GetDlgCtrlID(), 42);
    EXPECT_EQ(m_Control.GetClientRect(), m_Parent.GetClientRect());
    EXPECT_TRUE(m_Control.fnGetMute());
    EXPECT_EQ(m_Control.fnGetVolume(), 200u);
    EXPECT_EQ(m_Control.fnGetBalance(), 64u);
    EXPECT_EQ(m_Control.fnGetBass(), 3u);
    EXPECT_EQ(m_Control.fnGetTreble(), 255u);
    EXPECT_TRUE(m_Control.fnCanHandleMute());
    EXPECT_TRUE(m_Control.fnCanHandleVolume());
    EXPECT_TRUE(m_Control.fnCanHandleBass());
    EXPECT_TRUE(m_Control.fnCanHandleTreble());
    EXPECT_EQ(fnTakeNotified(), Codes()) << "a beginning is no change";
}

TEST_F(CqSoundCtrlTest, NeedsAParentWindow) {
    fnMixers().fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
    EXPECT_FALSE(m_Control.fnCreate(nullptr, 42, 10));
    m_Parent.fnDestroy();
    EXPECT_FALSE(m_Control.fnCreate(&m_Parent, 42, 10));
    EXPECT_EQ(fnMixers().m_pCalls->m_Open.fnGetCount(), 0u);
}

TEST_F(CqSoundCtrlTest, AMachineWithoutAMixerHasNoControl) {
    EXPECT_FALSE(m_Control.fnCreate(&m_Parent, 42, 10));
    EXPECT_FALSE(m_Control.IsWindow());
}

TEST_F(CqSoundCtrlTest, TheFirstMixerWithControlsOnItsSpeakerLineIsTaken) {
    fnMixers().fnAddDevice({.m_bOpens = false, .m_Controls = {{VOLUME, 9, {1, 1}}}});
    fnMixers().fnAddDevice({.m_bHasSpeakers = false, .m_Controls = {{VOLUME, 9, {1, 1}}}});
    fnMixers().fnAddDevice({});
    EXPECT_FALSE(m_Control.fnCreate(&m_Parent, 42, 10));
    EXPECT_FALSE(m_Control.IsWindow());
    EXPECT_EQ(fnMixers().fnGetOpen(), 0u);
    fnMixers().fnAddDevice({.m_Controls = {{VOLUME, 9, {65535, 65535}}}});
    fnMixers().fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
    EXPECT_TRUE(m_Control.fnCreate(&m_Parent, 42, 10));
    EXPECT_EQ(m_Control.fnGetVolume(), 255u);
    EXPECT_EQ(fnMixers().fnGetOpen(), 1u);
}

TEST_F(CqSoundCtrlTest, AFailedCallMovesTheSearchToTheNextMixer) {
    auto& calls = *fnMixers().m_pCalls;
    fnMixers().fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
    fnMixers().fnAddDevice({.m_Controls = {{VOLUME, 9, {65535, 65535}}}});
    for (CqHeadlessCalls* call : {&calls.m_Open, &calls.m_FindSpeakerLine}) {
        call->fnFail();
        OpenSoundCtrl control;
        EXPECT_TRUE(control.fnCreate(&m_Parent, 42, 10));
        EXPECT_FALSE(control.fnCanHandleBass()) << "the second one";
    }
}

TEST_F(CqSoundCtrlTest, ControlsThatAreMissingStayAbsentAndRefuse) {
    fnMixers().fnAddDevice({.m_Controls = {{VOLUME, 9, {0, 0}}}});
    ASSERT_TRUE(m_Control.fnCreate(&m_Parent, 42, 10));
    EXPECT_TRUE(m_Control.fnCanHandleVolume());
    EXPECT_FALSE(m_Control.fnCanHandleMute());
    EXPECT_FALSE(m_Control.fnCanHandleBass());
    EXPECT_FALSE(m_Control.fnCanHandleTreble());
    const auto before = fnMixers().m_pCalls->m_SetValues.fnGetCount();
    EXPECT_FALSE(m_Control.fnSetBass(1));
    EXPECT_FALSE(m_Control.fnSetTreble(1));
    EXPECT_FALSE(m_Control.fnSetMute(true));
    EXPECT_EQ(fnMixers().m_pCalls->m_SetValues.fnGetCount(), before + 3) << "the mixer was asked";
    EXPECT_EQ(m_Control.fnGetBass(), 128u);
    fnMixers().fnReport(0, 0); // the id of absent controls
    EXPECT_EQ(fnMixers().fnPump(), 1u);
    EXPECT_EQ(fnTakeNotified(), Codes());
}

TEST_F(CqSoundCtrlTest, EachControlMayFailToBeFoundOrRead) {
    auto& calls = *fnMixers().m_pCalls;
    fnMixers().fnAddDevice(
        {.m_Controls = {
             {MUTE, 1, {1}}, {VOLUME, 2, {512, 0}}, {BASS, 3, {768}}, {TREBLE, 4, {1024}}}});
    for (std::uint64_t nth = 1; nth <= 4; ++nth) {
        calls.m_FindControl.fnFail(nth);
        OpenSoundCtrl found;
        EXPECT_TRUE(found.fnCreate(&m_Parent, 42, 10));
        EXPECT_EQ(found.fnCanHandleMute(), nth != 1);
        EXPECT_EQ(found.fnCanHandleVolume(), nth != 2);
        EXPECT_EQ(found.fnCanHandleBass(), nth != 3);
        EXPECT_EQ(found.fnCanHandleTreble(), nth != 4);
        calls.m_GetValues.fnFail(nth);
        OpenSoundCtrl read;
        EXPECT_TRUE(read.fnCreate(&m_Parent, 42, 10));
        EXPECT_EQ(read.fnGetMute(), nth != 1);
        EXPECT_EQ(read.fnGetVolume(), nth != 2 ? 2u : 128u);
        EXPECT_EQ(read.fnGetBalance(), nth != 2 ? 0u : 128u);
        EXPECT_EQ(read.fnGetBass(), nth != 3 ? 3u : 128u);
        EXPECT_EQ(read.fnGetTreble(), nth != 4 ? 4u : 128u);
    }
}

TEST_F(CqSoundCtrlTest, AnExistingWindowIsNotCreatedAgain) {
    fnStart();
    CqHeadlessWnd other({0, 0, 5, 5});
    EXPECT_FALSE(m_Control.fnCreate(&other, 1, 99));
    EXPECT_EQ(m_Control.GetParent(), &m_Parent);
    EXPECT_EQ(m_Control.GetDlgCtrlID(), 42);
    m_Control.fnSetVolume(true);
    EXPECT_EQ(m_Control.fnGetVolume(), 138u) << "the old step";
}

TEST_F(CqSoundCtrlTest, ValuesAreClampedToTheirRange) {
    fnStart();
    EXPECT_TRUE(m_Control.fnSetVolume(300));
    EXPECT_EQ(m_Control.fnGetVolume(), 255u);
    EXPECT_EQ(fnGet(VOLUME), (Values{65280, 65280}));
    EXPECT_TRUE(m_Control.fnSetVolume(-5));
    EXPECT_EQ(m_Control.fnGetVolume(), 0u);
    EXPECT_TRUE(m_Control.fnSetBalance(256));
    EXPECT_EQ(m_Control.fnGetBalance(), 255u);
    EXPECT_TRUE(m_Control.fnSetBalance(-1));
    EXPECT_EQ(m_Control.fnGetBalance(), 0u);
    EXPECT_TRUE(m_Control.fnSetBass(1000));
    EXPECT_EQ(fnGet(BASS), (Values{65280}));
    EXPECT_TRUE(m_Control.fnSetTreble(-1000));
    EXPECT_EQ(fnGet(TREBLE), (Values{0}));
}

TEST_F(CqSoundCtrlTest, AnUnchangedValueIsNotSentAgain) {
    fnStart();
    const auto before = fnMixers().m_pCalls->m_SetValues.fnGetCount();
    EXPECT_TRUE(m_Control.fnSetVolume(128));
    EXPECT_TRUE(m_Control.fnSetBalance(128));
    EXPECT_TRUE(m_Control.fnSetBass(128));
    EXPECT_TRUE(m_Control.fnSetTreble(128));
    EXPECT_TRUE(m_Control.fnSetMute(false));
    EXPECT_EQ(fnMixers().m_pCalls->m_SetValues.fnGetCount(), before);
}

TEST_F(CqSoundCtrlTest, TheLouderChannelCarriesTheVolume) {
    fnStart();
    EXPECT_TRUE(m_Control.fnSetVolume(200));
    EXPECT_TRUE(m_Control.fnSetBalance(0));
    EXPECT_EQ(fnGet(VOLUME), (Values{51200, 0}));
    EXPECT_TRUE(m_Control.fnSetBalance(255));
    EXPECT_EQ(fnGet(VOLUME), (Values{0, 51200}));
    EXPECT_TRUE(m_Control.fnSetBalance(64));
    EXPECT_EQ(fnGet(VOLUME), (Values{51200, 25600}));
    EXPECT_TRUE(m_Control.fnSetVolume(100));
    EXPECT_EQ(fnGet(VOLUME), (Values{25600, 12800})) << "the balance stays";
}

TEST_F(CqSoundCtrlTest, MuteBassAndTrebleAreSetAndRead) {
    fnStart();
    EXPECT_TRUE(m_Control.fnSetMute(true));
    EXPECT_EQ(fnGet(MUTE), (Values{1}));
    EXPECT_TRUE(m_Control.fnSwitchMute());
    EXPECT_FALSE(m_Control.fnGetMute());
    EXPECT_EQ(fnGet(MUTE), (Values{0}));
    EXPECT_TRUE(m_Control.fnSwitchMute());
    EXPECT_TRUE(m_Control.fnGetMute());
    for (int value = 0; value < 256; ++value) {
        EXPECT_TRUE(m_Control.fnSetBass(value));
        EXPECT_TRUE(m_Control.fnSetTreble(255 - value));
        EXPECT_EQ(fnGet(BASS)[0], static_cast<std::uint32_t>(value) * 256);
        EXPECT_EQ(fnGet(TREBLE)[0], static_cast<std::uint32_t>(255 - value) * 256);
    }
    fnMixers().fnPump();
    EXPECT_EQ(fnTakeNotified(), Codes());
    EXPECT_EQ(m_Control.fnGetBass(), 255u);
}

TEST_F(CqSoundCtrlTest, ARefusedValueLeavesTheCache) {
    fnStart();
    CqHeadlessCalls& set = fnMixers().m_pCalls->m_SetValues;
    set.fnFail(1, CqHeadlessCalls::kForever);
    EXPECT_FALSE(m_Control.fnSetMute(true));
    EXPECT_FALSE(m_Control.fnSetVolume(1));
    EXPECT_FALSE(m_Control.fnSetBalance(1));
    EXPECT_FALSE(m_Control.fnSetBass(1));
    EXPECT_FALSE(m_Control.fnSetTreble(1));
    EXPECT_FALSE(m_Control.fnSetVolume(true));
    EXPECT_FALSE(m_Control.fnGetMute());
    EXPECT_EQ(m_Control.fnGetVolume(), 128u);
    EXPECT_EQ(m_Control.fnGetBalance(), 128u);
    EXPECT_EQ(m_Control.fnGetBass(), 128u);
    EXPECT_EQ(m_Control.fnGetTreble(), 128u);
}

TEST_F(CqSoundCtrlTest, StepsStopAtTheEnds) {
    fnStart();
    m_Control.fnSetVolume(250);
    EXPECT_TRUE(m_Control.fnSetVolume(true));
    EXPECT_EQ(m_Control.fnGetVolume(), 255u);
    EXPECT_TRUE(m_Control.fnSetVolume(true)) << "there already";
    m_Control.fnSetVolume(5);
    EXPECT_TRUE(m_Control.fnSetVolume(false));
    EXPECT_EQ(m_Control.fnGetVolume(), 0u);
    EXPECT_TRUE(m_Control.fnSetBalance(true));
    EXPECT_EQ(m_Control.fnGetBalance(), 138u) << "to the right";
    EXPECT_TRUE(m_Control.fnSetBalance(false));
    EXPECT_TRUE(m_Control.fnSetBalance(false));
    EXPECT_EQ(m_Control.fnGetBalance(), 118u);
    EXPECT_TRUE(m_Control.fnSetBass(true));
    EXPECT_EQ(m_Control.fnGetBass(), 138u);
    EXPECT_TRUE(m_Control.fnSetTreble(false));
    EXPECT_EQ(m_Control.fnGetTreble(), 118u);
}

TEST_F(CqSoundCtrlTest, HugeStepsWrapIn32Bits) {
    fnMixers().fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
    ASSERT_TRUE(m_Control.fnCreate(&m_Parent, 42, 0xFFFFFFFFu));
    EXPECT_TRUE(m_Control.fnSetVolume(true));
    EXPECT_EQ(m_Control.fnGetVolume(), 127u) << "one down";
    EXPECT_TRUE(m_Control.fnSetBass(false));
    EXPECT_EQ(m_Control.fnGetBass(), 129u) << "one up";
}

TEST_F(CqSoundCtrlTest, AChangeFromOutsideIsReportedToTheParent) {
    fnStart();
    EXPECT_TRUE(fnMove(MUTE, {1}));
    ASSERT_EQ(m_Parent.m_Notified.size(), 1u);
    EXPECT_EQ(m_Parent.m_Notified[0].code, static_cast<UINT>(SCN_MUTE));
    EXPECT_EQ(m_Parent.m_Notified[0].idFrom, 42u);
    EXPECT_EQ(m_Parent.m_Notified[0].hwndFrom,
              reinterpret_cast<HWND>(static_cast<CWnd*>(&m_Control)));
    EXPECT_EQ(m_Parent.m_nLastWParam, 42u);
    EXPECT_TRUE(m_Control.fnGetMute());
    m_Parent.m_Notified.clear();
    EXPECT_TRUE(fnMove(BASS, {100 * 256}));
    EXPECT_TRUE(fnMove(TREBLE, {101 * 256}));
    EXPECT_TRUE(fnMove(VOLUME, {25600, 25600}));
    EXPECT_EQ(fnTakeNotified(), (Codes{SCN_BASS, SCN_TREBLE, SCN_VOLUME}));
    EXPECT_EQ(m_Control.fnGetBass(), 100u);
    EXPECT_EQ(m_Control.fnGetTreble(), 101u);
    EXPECT_EQ(m_Control.fnGetVolume(), 100u);
}

TEST_F(CqSoundCtrlTest, OneChangeMayBeReportedTwiceVolumeFirst) {
    fnStart();
    Values seen;
    m_Parent.m_OnNotify = [&](const NMHDR&) {
        seen.push_back(m_Control.fnGetVolume());
        seen.push_back(m_Control.fnGetBalance());
    };
    EXPECT_TRUE(fnMove(VOLUME, {51200, 25600}));
    EXPECT_EQ(fnTakeNotified(), (Codes{SCN_VOLUME, SCN_BALANCE}));
    EXPECT_EQ(seen, (Values{200, 128, 200, 64}))
        << "the balance is stored after the volume is reported";
    EXPECT_TRUE(fnMove(VOLUME, {51200, 51200}));
    EXPECT_EQ(fnTakeNotified(), (Codes{SCN_BALANCE}));
}

TEST_F(CqSoundCtrlTest, ItsOwnChangesAreNotReported) {
    fnStart();
    m_Control.fnSetVolume(200);
    m_Control.fnSetBalance(31);
    m_Control.fnSetMute(true);
    m_Control.fnSetBass(9);
    m_Control.fnSetTreble(8);
    EXPECT_EQ(fnMixers().fnPump(), 5u);
    EXPECT_EQ(fnTakeNotified(), Codes());
}

TEST_F(CqSoundCtrlTest, ChangesBelowTheScaleAreNotReported) {
    fnStart();
    EXPECT_TRUE(fnMove(VOLUME, {32768 + 255, 32768 + 255}));
    EXPECT_TRUE(fnMove(BASS, {32768 + 255}));
    EXPECT_EQ(fnTakeNotified(), Codes());
}

TEST_F(CqSoundCtrlTest, ABalanceSetAtVolumeZeroIsReportedAsCentred) {
    fnStart();
    m_Control.fnSetVolume(0);
    fnMixers().fnPump();
    EXPECT_TRUE(m_Control.fnSetBalance(10));
    fnMixers().fnReport(0, 2);
    EXPECT_EQ(fnMixers().fnPump(), 1u);
    EXPECT_EQ(fnTakeNotified(), (Codes{SCN_BALANCE}));
    EXPECT_EQ(m_Control.fnGetBalance(), 128u);
}

TEST_F(CqSoundCtrlTest, MuteIsOnlyExactlyOne) {
    fnMixers().fnAddDevice({.m_Controls = {{MUTE, 1, {1}}}});
    ASSERT_TRUE(m_Control.fnCreate(&m_Parent, 42, 10));
    EXPECT_TRUE(m_Control.fnGetMute());
    EXPECT_TRUE(fnMove(MUTE, {2}));
    EXPECT_EQ(fnTakeNotified(), (Codes{SCN_MUTE}));
    EXPECT_FALSE(m_Control.fnGetMute());
}

TEST_F(CqSoundCtrlTest, AFailedReadIsIgnored) {
    fnStart();
    for (const CQ_MIXER_CONTROL type : {MUTE, VOLUME, BASS, TREBLE}) {
        Values values = fnGet(type);
        values[0] ^= type == MUTE ? 1u : 0x1000u;
        fnMixers().m_pCalls->m_GetValues.fnFail();
        EXPECT_TRUE(fnMove(type, values));
    }
    EXPECT_EQ(fnTakeNotified(), Codes());
    EXPECT_FALSE(m_Control.fnGetMute());
    EXPECT_EQ(m_Control.fnGetVolume(), 128u);
}

TEST_F(CqSoundCtrlTest, AChangeOfAnotherMixerOrControlIsIgnored) {
    fnStart();
    ASSERT_TRUE(fnMixers().fnMove(0, VOLUME, {0, 0}));
    const WPARAM mixer = m_Control.fnGetMixerHandle();
    EXPECT_EQ(m_Control.SendMessage(MM_MIXM_CONTROL_CHANGE, mixer + 1, 2), 0);
    EXPECT_EQ(m_Control.SendMessage(MM_MIXM_CONTROL_CHANGE, mixer, 77), 0);
    EXPECT_EQ(m_Control.SendMessage(MM_MIXM_CONTROL_CHANGE - 1, mixer, 2), 0) << "a line's change";
    EXPECT_EQ(fnTakeNotified(), Codes());
    EXPECT_EQ(m_Control.SendMessage(MM_MIXM_CONTROL_CHANGE, mixer, 2), 0);
    EXPECT_EQ(fnTakeNotified(), (Codes{SCN_VOLUME}));
}

TEST_F(CqSoundCtrlTest, ADestroyedWindowKeepsItsValuesAndSetsNoMore) {
    fnStart();
    m_Control.fnSetVolume(77);
    EXPECT_TRUE(m_Control.DestroyWindow());
    EXPECT_FALSE(m_Control.DestroyWindow());
    EXPECT_FALSE(m_Control.IsWindow());
    EXPECT_EQ(fnMixers().fnGetOpen(), 0u);
    EXPECT_FALSE(m_Control.fnSetVolume(77));
    EXPECT_EQ(m_Control.fnGetVolume(), 77u);
    EXPECT_EQ(m_Control.OnMixerChange(0, 2), 0) << "no mixer is not the mixer 0";
    EXPECT_TRUE(m_Control.fnCreate(&m_Parent, 43, 1)) << "it can be made again";
    EXPECT_EQ(m_Control.fnGetVolume(), 77u);
}

TEST_F(CqSoundCtrlTest, TheDestroyMessageClosesTheMixer) {
    fnStart();
    m_Control.fnSetVolume(77);
    EXPECT_EQ(m_Control.SendMessage(WM_DESTROY, 0, 0), 0);
    EXPECT_EQ(fnMixers().fnGetOpen(), 0u);
    EXPECT_EQ(m_Control.fnGetMixerHandle(), 0u);
    EXPECT_FALSE(m_Control.fnSetVolume(77));
    EXPECT_FALSE(m_Control.fnSetMute(true));
    EXPECT_EQ(m_Control.fnGetVolume(), 77u);
    EXPECT_FALSE(m_Control.fnGetMute());
    EXPECT_TRUE(m_Control.fnCanHandleVolume()) << "the ids stay";
    m_Control.OnDestroy(); // twice
    EXPECT_TRUE(m_Control.DestroyWindow());
}

TEST_F(CqSoundCtrlTest, TheWindowIsDestroyedWithItsParent) {
    fnStart();
    m_Parent.fnDestroy();
    EXPECT_FALSE(m_Control.IsWindow());
    EXPECT_EQ(fnMixers().fnGetOpen(), 0u);
    std::optional<CqHeadlessWnd> parent(std::in_place, RECT{0, 0, 5, 5});
    OpenSoundCtrl second;
    OpenSoundCtrl third;
    ASSERT_TRUE(second.fnCreate(&*parent, 1, 1));
    ASSERT_TRUE(third.fnCreate(&*parent, 2, 1));
    parent.reset();
    EXPECT_FALSE(second.IsWindow());
    EXPECT_FALSE(third.IsWindow());
    EXPECT_EQ(fnMixers().fnGetOpen(), 0u);
}

TEST_F(CqSoundCtrlTest, ControlsOfOneParentMayBeDestroyedInAnyOrder) {
    fnMixers().fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
    for (const std::array<int, 3>& order :
         {std::array{0, 1, 2}, std::array{2, 1, 0}, std::array{1, 0, 2}}) {
        std::optional<OpenSoundCtrl> controls[3];
        for (auto& control : controls)
            ASSERT_TRUE(control.emplace().fnCreate(&m_Parent, 1, 1));
        for (const int which : order)
            controls[which].reset();
        EXPECT_EQ(fnMixers().fnGetOpen(), 0u);
    }
    m_Parent.fnDestroy();
}

TEST_F(CqSoundCtrlTest, AParentMayDestroyTheWindowDuringAReport) {
    fnStart();
    m_Parent.m_OnNotify = [&](const NMHDR&) { m_Control.DestroyWindow(); };
    EXPECT_TRUE(fnMove(VOLUME, {51200, 25600}));
    EXPECT_EQ(fnTakeNotified(), (Codes{SCN_VOLUME})) << "nobody is there for the balance";
    EXPECT_EQ(m_Control.fnGetBalance(), 64u);
    EXPECT_EQ(fnMixers().fnGetOpen(), 0u);
}

TEST_F(CqSoundCtrlTest, ExhaustedMemoryIsAFailure) {
    fnMixers().fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
    std::size_t refused = 0;
    const std::size_t runs = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        OpenSoundCtrl control;
        const bool made = control.fnCreate(&m_Parent, 1, 1);
        failure.fnEnd();
        refused += made ? 0 : 1;
        EXPECT_EQ(control.IsWindow(), made);
        EXPECT_EQ(fnMixers().fnGetOpen(), made ? 1u : 0u);
    });
    EXPECT_GT(refused, 0u);
    EXPECT_GT(runs, refused) << "values that could not be read";
    ASSERT_TRUE(m_Control.fnCreate(&m_Parent, 1, 1));
    fnFailEachAllocation([&](CqAllocationFailure& failure) {
        m_Control.fnSetVolume(100);
        const bool set = m_Control.fnSetVolume(200);
        failure.fnEnd();
        EXPECT_TRUE(set || m_Control.fnGetVolume() != 200u);
        m_Control.fnSetVolume(1);
    });
}

} // namespace
