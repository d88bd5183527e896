#include "platforms/headless/CqHeadlessMixers.h"
#include "platforms/headless/CqHeadlessWaveOut.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <pthread.h>
#include <thread>

namespace {

constexpr WAVEFORMATEX kFormat{1, 2, 44100, 176400, 4, 16, 0};

struct HeadlessWave : testing::Test {
    CqHeadlessWaveOut m_Sound;
    std::array<char, 100> m_Samples{};
    WAVEHDR m_Header{};
    std::unique_ptr<CqWaveOut> m_pDevice;
    std::atomic<int> m_nReports{0};
    std::atomic<bool> m_bOwnThread{false};
    std::thread::id m_Here = std::this_thread::get_id();

    HeadlessWave() {
        m_Header.lpData = m_Samples.data();
        m_Header.dwBufferLength = static_cast<DWORD>(m_Samples.size());
        m_pDevice = m_Sound.fnOpen(kFormat, [this](WAVEHDR& header) {
            m_bOwnThread = std::this_thread::get_id() != m_Here;
            EXPECT_EQ(&header, &m_Header);
            ++m_nReports;
        });
    }
    void fnStart() {
        ASSERT_TRUE(m_pDevice->fnPrepare(m_Header));
        ASSERT_TRUE(m_pDevice->fnWrite(m_Header));
    }
    int fnAdvance(std::uint64_t bytes) {
        m_Sound.fnAdvance(bytes);
        m_Sound.fnWaitForReports();
        return m_nReports;
    }
};

#ifdef __GLIBC__
/// During its lifetime the system has no space for the stack of another thread.
class NoThreads {
public:
    NoThreads() {
        EXPECT_EQ(pthread_getattr_default_np(&m_Former), 0);
        pthread_attr_t huge;
        EXPECT_EQ(pthread_getattr_default_np(&huge), 0);
        EXPECT_EQ(pthread_attr_setstacksize(&huge, std::size_t{1} << 47), 0);
        EXPECT_EQ(pthread_setattr_default_np(&huge), 0);
        pthread_attr_destroy(&huge);
    }
    ~NoThreads() {
        pthread_setattr_default_np(&m_Former);
        pthread_attr_destroy(&m_Former);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    pthread_attr_t m_Former;
};
#endif

struct HeadlessMixer : testing::Test {
    CqHeadlessMixers m_Mixers;
    std::vector<std::uint32_t> m_Notified;
    std::unique_ptr<CqMixer> m_pMixer;

    HeadlessMixer() {
        m_Mixers.fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
        m_pMixer = m_Mixers.fnOpen(0, [this](std::uint32_t id) { m_Notified.push_back(id); });
    }
    std::vector<std::uint32_t> fnGet(std::uint32_t control, std::uint32_t channels,
                                     std::size_t count) {
        std::vector<std::uint32_t> values(count);
        return m_pMixer->fnGetValues(control, channels, values) ? values
                                                                : std::vector<std::uint32_t>();
    }
};

using Values = std::vector<std::uint32_t>;

} // namespace

TEST_F(HeadlessWave, ABlockEndsWhenTheScriptHasMovedPastItsLastByte) {
    fnStart();
    EXPECT_EQ(fnAdvance(99), 0);
    EXPECT_EQ(m_Sound.fnGetPosition(), 99u);
    EXPECT_EQ(m_Sound.fnGetPlaying(), 1u);
    EXPECT_EQ(fnAdvance(1), 1);
    EXPECT_TRUE(m_bOwnThread);
    EXPECT_EQ(m_Sound.fnGetPlaying(), 0u);
    EXPECT_EQ(fnAdvance(1000), 1) << "reported once";
    EXPECT_TRUE(m_pDevice->fnUnprepare(m_Header));
}

TEST_F(HeadlessWave, BlocksGivenToTheDeviceAreRecorded) {
    m_Header.dwFlags = 12;
    m_Header.dwLoops = 0xFFFFFFFFu;
    fnStart();
    const auto plays = m_Sound.fnGetPlays();
    ASSERT_EQ(plays.size(), 1u);
    EXPECT_EQ(plays[0].m_Format.nSamplesPerSec, 44100u);
    EXPECT_EQ(plays[0].m_pData, m_Samples.data());
    EXPECT_EQ(plays[0].m_nBytes, 100u);
    EXPECT_EQ(plays[0].m_nFlags, 12u);
    EXPECT_EQ(plays[0].m_nLoops, 0xFFFFFFFFu);
}

TEST_F(HeadlessWave, AnEndlessLoopEndsOnlyByAReset) {
    m_Header.dwFlags = 12;
    m_Header.dwLoops = 0xFFFFFFFFu;
    fnStart();
    EXPECT_EQ(fnAdvance(1'000'000'000'050), 0);
    EXPECT_EQ(m_Sound.fnGetPosition(), 50u);
    EXPECT_TRUE(m_pDevice->fnReset());
    EXPECT_EQ(fnAdvance(0), 1);
}

TEST_F(HeadlessWave, ALoopIsPlayedTheRequestedNumberOfTimes) {
    m_Header.dwFlags = 12;
    m_Header.dwLoops = 3;
    fnStart();
    EXPECT_EQ(fnAdvance(150), 0);
    EXPECT_EQ(fnAdvance(149), 0);
    EXPECT_EQ(fnAdvance(1), 1);
}

TEST_F(HeadlessWave, APausedDeviceStandsStill) {
    fnStart();
    EXPECT_TRUE(m_pDevice->fnPause());
    EXPECT_EQ(m_Sound.fnGetPaused(), 1u);
    EXPECT_EQ(fnAdvance(1000), 0);
    EXPECT_TRUE(m_pDevice->fnRestart());
    EXPECT_EQ(fnAdvance(100), 1);
}

TEST_F(HeadlessWave, AResetReturnsAPausedBlockAndReportsNothingOtherwise) {
    fnStart();
    m_pDevice->fnPause();
    EXPECT_TRUE(m_pDevice->fnReset());
    EXPECT_EQ(fnAdvance(0), 1);
    EXPECT_EQ(m_Sound.fnGetPaused(), 0u);
    EXPECT_TRUE(m_pDevice->fnReset());
    EXPECT_EQ(fnAdvance(0), 1);
}

TEST_F(HeadlessWave, TheEndMayComeBeforeTheCallReturns) {
    m_Sound.fnEndInWrite(true);
    fnStart();
    EXPECT_EQ(m_nReports, 1);
    m_Sound.fnEndInWrite(false);
    ASSERT_TRUE(m_pDevice->fnWrite(m_Header));
    m_Sound.fnReportInReset(true);
    EXPECT_TRUE(m_pDevice->fnReset());
    EXPECT_EQ(m_nReports, 2);
}

TEST_F(HeadlessWave, AReportMayUnprepareTheBlockAndDestroyItsDevice) {
    m_Sound.fnEndInWrite(true);
    m_Sound.fnReportInReset(true);
    for (const bool byReset : {false, true}) {
        m_Sound.fnEndInWrite(!byReset);
        std::unique_ptr<CqWaveOut> device;
        std::atomic<bool> unprepared{false};
        device = m_Sound.fnOpen(kFormat, [&](WAVEHDR& header) {
            unprepared = device->fnUnprepare(header);
            device.reset();
        });
        CqWaveOut* raw = device.get();
        ASSERT_TRUE(raw->fnPrepare(m_Header));
        ASSERT_TRUE(raw->fnWrite(m_Header));
        EXPECT_TRUE(!byReset || raw->fnReset());
        EXPECT_TRUE(unprepared);
        EXPECT_EQ(device, nullptr);
        EXPECT_EQ(m_Sound.fnGetOpen(), 1u) << "the other one of this test";
    }
}

TEST_F(HeadlessWave, ADestroyedDeviceReportsNothingMore) {
    fnStart();
    m_pDevice.reset();
    EXPECT_EQ(fnAdvance(1000), 0);
    EXPECT_EQ(m_Sound.fnGetOpen(), 0u);
}

TEST_F(HeadlessWave, EachStepFailsOnDemand) {
    auto& calls = *m_Sound.m_pCalls;
    calls.m_CanPlay.fnFail();
    EXPECT_FALSE(m_Sound.fnCanPlay(kFormat));
    EXPECT_TRUE(m_Sound.fnCanPlay(kFormat));
    calls.m_Open.fnFail();
    EXPECT_EQ(m_Sound.fnOpen(kFormat, [](WAVEHDR&) {}), nullptr);
    calls.m_Prepare.fnFail();
    EXPECT_FALSE(m_pDevice->fnPrepare(m_Header));
    EXPECT_FALSE(m_pDevice->fnWrite(m_Header)) << "not prepared";
    EXPECT_FALSE(m_pDevice->fnUnprepare(m_Header)) << "not prepared";
    EXPECT_TRUE(m_pDevice->fnPrepare(m_Header));
    calls.m_Write.fnFail();
    EXPECT_FALSE(m_pDevice->fnWrite(m_Header));
    EXPECT_TRUE(m_pDevice->fnWrite(m_Header));
    EXPECT_FALSE(m_pDevice->fnWrite(m_Header)) << "one block at a time";
    EXPECT_FALSE(m_pDevice->fnUnprepare(m_Header)) << "while it plays";
    calls.m_Pause.fnFail();
    calls.m_Restart.fnFail();
    calls.m_Reset.fnFail();
    EXPECT_FALSE(m_pDevice->fnPause());
    EXPECT_FALSE(m_pDevice->fnRestart());
    EXPECT_FALSE(m_pDevice->fnReset());
    EXPECT_EQ(fnAdvance(10), 0);
    EXPECT_TRUE(m_pDevice->fnReset());
    EXPECT_EQ(fnAdvance(0), 1);
    calls.m_Unprepare.fnFail();
    EXPECT_FALSE(m_pDevice->fnUnprepare(m_Header));
    EXPECT_TRUE(m_pDevice->fnUnprepare(m_Header));
}

TEST_F(HeadlessWave, OnlyConsistentPcmFormatsArePlayed) {
    WAVEFORMATEX format = kFormat;
    format.wFormatTag = 2;
    EXPECT_FALSE(m_Sound.fnCanPlay(format));
    format = kFormat;
    format.nBlockAlign = 3;
    EXPECT_FALSE(m_Sound.fnCanPlay(format));
    format = kFormat;
    format.nChannels = 3;
    EXPECT_FALSE(m_Sound.fnCanPlay(format));
}

TEST_F(HeadlessWave, ABlockOfZeroBytesEndsAtOnce) {
    m_Header.dwBufferLength = 0;
    fnStart();
    EXPECT_EQ(fnAdvance(0), 1);
}

TEST_F(HeadlessMixer, TheSpeakerLineAndItsControlsAreFound) {
    CqMixerLine line;
    ASSERT_TRUE(m_pMixer->fnFindSpeakerLine(line));
    EXPECT_EQ(line.m_nChannels, 2u);
    EXPECT_EQ(line.m_nControls, 4u);
    std::uint32_t id = 0;
    ASSERT_TRUE(m_pMixer->fnFindControl(line.m_nLineId, CQ_MIXER_CONTROL::BASS, id));
    EXPECT_EQ(id, 3u);
    EXPECT_FALSE(m_pMixer->fnFindControl(line.m_nLineId + 1, CQ_MIXER_CONTROL::BASS, id));
}

TEST_F(HeadlessMixer, DevicesMayBeClosedSilentOrWithoutControls) {
    EXPECT_EQ(m_Mixers.fnOpen(1, {}), nullptr);
    m_Mixers.fnAddDevice({.m_bOpens = false, .m_Controls = {}});
    m_Mixers.fnAddDevice({.m_bHasSpeakers = false, .m_Controls = {}});
    m_Mixers.fnAddDevice({});
    EXPECT_EQ(m_Mixers.fnGetCount(), 4u);
    CqMixerLine line;
    EXPECT_EQ(m_Mixers.fnOpen(1, {}), nullptr);
    EXPECT_FALSE(m_Mixers.fnOpen(2, {})->fnFindSpeakerLine(line));
    const auto empty = m_Mixers.fnOpen(3, {});
    ASSERT_TRUE(empty->fnFindSpeakerLine(line));
    EXPECT_EQ(line.m_nControls, 0u);
    std::uint32_t id = 0;
    EXPECT_FALSE(empty->fnFindControl(line.m_nLineId, CQ_MIXER_CONTROL::MUTE, id));
}

TEST_F(HeadlessMixer, AMonoMixerAnswersAPairWithOneValue) {
    EXPECT_TRUE(m_pMixer->fnSetValues(2, 2, {51200, 25600}));
    EXPECT_EQ(fnGet(2, 2, 2), (Values{51200, 25600}));
    EXPECT_EQ(fnGet(2, 2, 1), (Values{51200}));
    EXPECT_EQ(fnGet(2, 1, 2), (Values{51200}));
    CqHeadlessMixerDevice mono;
    mono.m_nChannels = 1;
    mono.m_Controls = {{CQ_MIXER_CONTROL::VOLUME, 9, {100}}};
    m_pMixer = m_Mixers.fnOpen(m_Mixers.fnAddDevice(mono), {});
    EXPECT_EQ(fnGet(9, 1, 2), (Values{100}));
    EXPECT_TRUE(m_pMixer->fnSetValues(9, 1, {7, 8}));
    EXPECT_EQ(fnGet(9, 1, 2), (Values{7}));
}

TEST_F(HeadlessMixer, OneValueMovesAllChannels) {
    EXPECT_TRUE(m_pMixer->fnSetValues(2, 2, {5}));
    EXPECT_EQ(m_Mixers.fnGetValues(0, CQ_MIXER_CONTROL::VOLUME), (Values{5, 5}));
    EXPECT_TRUE(m_pMixer->fnSetValues(2, 1, {6, 7}));
    EXPECT_EQ(m_Mixers.fnGetValues(0, CQ_MIXER_CONTROL::VOLUME), (Values{6, 6}));
    EXPECT_TRUE(m_pMixer->fnSetValues(3, 2, {8}));
    EXPECT_EQ(fnGet(3, 2, 1), (Values{8}));
}

#ifdef __GLIBC__
TEST_F(HeadlessWave, WithoutAThreadABlockStaysWithItsOwner) {
    ASSERT_TRUE(m_pDevice->fnPrepare(m_Header));
    {
        const NoThreads none;
        EXPECT_FALSE(m_pDevice->fnWrite(m_Header));
    }
    EXPECT_EQ(m_Header.dwFlags, 2u) << "prepared, and not in the queue";
    EXPECT_EQ(m_Sound.fnGetPlaying(), 0u);
    EXPECT_TRUE(m_pDevice->fnWrite(m_Header));
    EXPECT_EQ(fnAdvance(100), 1);
}
#endif

TEST_F(HeadlessMixer, WrongControlsChannelsAndValuesAreRefused) {
    EXPECT_FALSE(m_pMixer->fnSetValues(0, 1, {1}));
    EXPECT_FALSE(m_pMixer->fnSetValues(5, 1, {1}));
    EXPECT_FALSE(m_pMixer->fnSetValues(2, 3, {1}));
    EXPECT_FALSE(m_pMixer->fnSetValues(2, 2, {}));
    EXPECT_FALSE(m_pMixer->fnSetValues(2, 2, {1, 65536}));
    EXPECT_FALSE(m_pMixer->fnSetValues(1, 1, {2}));
    EXPECT_TRUE(fnGet(0, 1, 1).empty());
    EXPECT_TRUE(fnGet(2, 3, 1).empty());
    EXPECT_TRUE(fnGet(2, 2, 0).empty());
    EXPECT_EQ(fnGet(2, 2, 2), (Values{32768, 32768}));
    EXPECT_EQ(m_Mixers.fnPump(), 0u);
}

TEST_F(HeadlessMixer, ChangesAreReportedWhenTheOwnerPumps) {
    EXPECT_TRUE(m_Mixers.fnMove(0, CQ_MIXER_CONTROL::VOLUME, {1, 2}));
    EXPECT_TRUE(m_Mixers.fnMove(0, CQ_MIXER_CONTROL::VOLUME, {1, 2})) << "no change";
    EXPECT_FALSE(m_Mixers.fnMove(0, CQ_MIXER_CONTROL::VOLUME, {1}));
    EXPECT_FALSE(m_Mixers.fnMove(1, CQ_MIXER_CONTROL::VOLUME, {1, 2}));
    EXPECT_TRUE(m_pMixer->fnSetValues(1, 1, {1}));
    m_Mixers.fnReport(0, 77);
    EXPECT_TRUE(m_Notified.empty());
    EXPECT_EQ(m_Mixers.fnPump(), 3u);
    EXPECT_EQ(m_Notified, (Values{2, 1, 77}));
    EXPECT_EQ(m_Mixers.fnPump(), 0u);
}

TEST_F(HeadlessMixer, AClosedMixerGetsNoReports) {
    m_Mixers.fnMove(0, CQ_MIXER_CONTROL::VOLUME, {1, 2});
    m_pMixer.reset();
    EXPECT_EQ(m_Mixers.fnGetOpen(), 0u);
    EXPECT_EQ(m_Mixers.fnPump(), 0u);
    EXPECT_TRUE(m_Notified.empty());
}

TEST_F(HeadlessMixer, AReportMayCloseItsMixer) {
    m_pMixer = m_Mixers.fnOpen(0, [this](std::uint32_t id) {
        m_Notified.push_back(id);
        m_pMixer.reset();
    });
    m_Mixers.fnMove(0, CQ_MIXER_CONTROL::VOLUME, {1, 2});
    m_Mixers.fnMove(0, CQ_MIXER_CONTROL::BASS, {1});
    EXPECT_EQ(m_Mixers.fnPump(), 1u);
    EXPECT_EQ(m_Notified, (Values{2}));
}

TEST_F(HeadlessMixer, EachCallFailsOnDemand) {
    auto& calls = *m_Mixers.m_pCalls;
    for (CqHeadlessCalls* call : {&calls.m_Open, &calls.m_FindSpeakerLine, &calls.m_FindControl,
                                  &calls.m_GetValues, &calls.m_SetValues})
        call->fnFail();
    CqMixerLine line;
    std::uint32_t id = 0;
    EXPECT_EQ(m_Mixers.fnOpen(0, {}), nullptr);
    EXPECT_FALSE(m_pMixer->fnFindSpeakerLine(line));
    EXPECT_FALSE(m_pMixer->fnFindControl(0xFFFF0000u, CQ_MIXER_CONTROL::MUTE, id));
    EXPECT_TRUE(fnGet(2, 2, 2).empty());
    EXPECT_FALSE(m_pMixer->fnSetValues(2, 2, {1, 1}));
    EXPECT_TRUE(m_pMixer->fnSetValues(2, 2, {1, 1}));
}
