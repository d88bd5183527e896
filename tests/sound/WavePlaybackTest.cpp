#include "tests/sound/SoundTestTools.h"
#include "tests/support/FailingAllocator.h"

#include <future>
#include <memory>
#include <thread>

using namespace q32::test;

namespace {

constexpr std::uint32_t kFrames = 100;

class WavePlaybackTest : public WaveTest {
protected:
    void SetUp() override {
        WaveTest::SetUp();
        m_Wave = std::make_unique<CqWave>(1, 8, 8000, kFrames, true);
    }
    void TearDown() override {
        m_Wave.reset();
        EXPECT_EQ(fnDevice().fnGetOpen(), 0u);
        WaveTest::TearDown();
    }

    CqWave& fnWave() { return *m_Wave; }
    CqHeadlessWaveOut::Calls& fnCalls() { return *fnDevice().m_pCalls; }

    void fnAdvance(std::uint64_t bytes) {
        fnDevice().fnAdvance(bytes);
        fnDevice().fnWaitForReports();
    }

    /// Plays every sound to its end as soon as it has started, on another thread, while `work` runs
    /// on this one.
    template <typename Work>
    void fnWhileTimePasses(Work&& work) {
        std::atomic<bool> done{false};
        std::thread time([&] {
            while (!done) {
                fnDevice().fnAdvance(1);
                std::this_thread::yield();
            }
        });
        work();
        done = true;
        time.join();
    }

    std::unique_ptr<CqWave> m_Wave;
};

/// Blocks the device's thread inside a report, so that later ends stay unreported.
class BusyReporter {
public:
    explicit BusyReporter(CqHeadlessWaveOut& device) {
        const WAVEFORMATEX format = {1, 1, 8000, 8000, 1, 8, 0};
        m_Header.lpData = &m_Sample;
        m_Header.dwBufferLength = 1;
        m_pDevice = device.fnOpen(format, [this](WAVEHDR&) {
            m_Entered.set_value();
            m_Go.get_future().wait();
        });
        m_pDevice->fnPrepare(m_Header);
        m_pDevice->fnWrite(m_Header);
        device.fnAdvance(1);
        m_Entered.get_future().wait();
    }
    void fnLetGo() { m_Go.set_value(); }

private:
    std::promise<void> m_Entered;
    std::promise<void> m_Go;
    char m_Sample = 0;
    WAVEHDR m_Header = {};
    std::unique_ptr<CqWaveOut> m_pDevice;
};

TEST_F(WavePlaybackTest, TheBlockIsPlayedUnchanged) {
    EXPECT_TRUE(fnWave().fnPlay(false, false));
    EXPECT_EQ(fnWave().fnGetState(), WAVE_PLAYING);
    EXPECT_EQ(fnDevice().fnGetOpen(), 1u);
    const auto plays = fnDevice().fnGetPlays();
    ASSERT_EQ(plays.size(), 1u);
    EXPECT_EQ(plays[0].m_pData, fnWave().fnGetBuffer());
    EXPECT_EQ(plays[0].m_nBytes, kFrames);
    EXPECT_EQ(plays[0].m_nFlags, 0u);
    EXPECT_EQ(plays[0].m_nLoops, 0u);
    EXPECT_EQ(plays[0].m_Format.nSamplesPerSec, 8000u);
}

TEST_F(WavePlaybackTest, TheEndStopsTheSoundAndClosesTheDevice) {
    fnWave().fnPlay(false, false);
    fnAdvance(kFrames - 1);
    EXPECT_EQ(fnWave().fnGetState(), WAVE_PLAYING);
    fnAdvance(1);
    EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
    EXPECT_EQ(fnDevice().fnGetOpen(), 0u);
    EXPECT_EQ(fnCalls().m_Unprepare.fnGetCount(), 1u);
}

TEST_F(WavePlaybackTest, ALoopEndsOnlyByAStop) {
    EXPECT_TRUE(fnWave().fnPlay(false, true));
    const auto plays = fnDevice().fnGetPlays();
    ASSERT_EQ(plays.size(), 1u);
    EXPECT_EQ(plays[0].m_nFlags, 12u);
    EXPECT_EQ(plays[0].m_nLoops, 0xFFFFFFFFu);
    fnAdvance(1'000'000'007);
    EXPECT_EQ(fnWave().fnGetState(), WAVE_PLAYING);
    fnWave().fnStop();
    EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
}

TEST_F(WavePlaybackTest, PlayingALoopDoesNotWait) {
    EXPECT_TRUE(fnWave().fnPlay(true, true));
    EXPECT_EQ(fnWave().fnGetState(), WAVE_PLAYING);
}

TEST_F(WavePlaybackTest, AWaitReturnsAtTheEnd) {
    fnWhileTimePasses([&] {
        EXPECT_TRUE(fnWave().fnPlay(true, false));
        EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
        EXPECT_EQ(fnDevice().fnGetOpen(), 0u);
    });
}

TEST_F(WavePlaybackTest, AnEndBeforeTheCallReturnsDoesNotDeadlock) {
    fnDevice().fnEndInWrite(true);
    for (const bool wait : {false, true}) {
        EXPECT_TRUE(fnWave().fnPlay(wait, false));
        EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
        EXPECT_EQ(fnDevice().fnGetOpen(), 0u);
        fnWave().fnStop();
    }
    EXPECT_EQ(fnCalls().m_Reset.fnGetCount(), 0u);
}

TEST_F(WavePlaybackTest, AStopEndsASoundThatPlaysOrIsPaused) {
    for (const bool answersAtOnce : {false, true}) {
        fnDevice().fnReportInReset(answersAtOnce);
        for (const bool paused : {false, true}) {
            fnWave().fnPlay(false, true);
            if (paused)
                fnWave().fnPause();
            fnWave().fnStop();
            EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
            EXPECT_EQ(fnDevice().fnGetOpen(), 0u);
        }
    }
    EXPECT_EQ(fnDevice().fnGetReports(), 4u);
}

TEST_F(WavePlaybackTest, AStoppedSoundIsNeitherStoppedNorPaused) {
    fnWave().fnStop();
    fnWave().fnPause();
    EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
    EXPECT_EQ(fnCalls().m_Pause.fnGetCount(), 0u);
    EXPECT_EQ(fnCalls().m_Reset.fnGetCount(), 0u);
}

TEST_F(WavePlaybackTest, APauseHoldsThePosition) {
    fnWave().fnPlay(false, false);
    fnAdvance(30);
    fnWave().fnPause();
    EXPECT_EQ(fnWave().fnGetState(), WAVE_PAUSED);
    fnAdvance(1000);
    EXPECT_EQ(fnDevice().fnGetPosition(), 30u);
    fnWave().fnPause();
    EXPECT_EQ(fnCalls().m_Pause.fnGetCount(), 1u) << "paused already";
}

TEST_F(WavePlaybackTest, APauseTakesEffectEvenIfTheDeviceRefuses) {
    fnWave().fnPlay(false, false);
    fnCalls().m_Pause.fnFail();
    fnWave().fnPause();
    EXPECT_EQ(fnWave().fnGetState(), WAVE_PAUSED);
    EXPECT_EQ(fnDevice().fnGetPaused(), 0u);
    fnAdvance(kFrames);
    EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED) << "it played on";
}

TEST_F(WavePlaybackTest, APausedSoundResumesWhateverTheArguments) {
    for (const bool wait : {false, true})
        for (const bool loop : {false, true}) {
            fnWave().fnPlay(false, false);
            fnAdvance(30);
            fnWave().fnPause();
            EXPECT_TRUE(fnWave().fnPlay(wait, loop));
            EXPECT_EQ(fnWave().fnGetState(), WAVE_PLAYING);
            EXPECT_EQ(fnDevice().fnGetPosition(), 30u);
            fnAdvance(kFrames - 30);
            EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED) << "once, not in a loop";
        }
    EXPECT_EQ(fnDevice().fnGetPlays().size(), 4u);
}

TEST_F(WavePlaybackTest, ARefusedResumeLeavesTheSoundPaused) {
    fnWave().fnPlay(false, false);
    fnWave().fnPause();
    fnCalls().m_Restart.fnFail();
    EXPECT_FALSE(fnWave().fnPlay(false, false));
    EXPECT_EQ(fnWave().fnGetState(), WAVE_PAUSED);
    EXPECT_TRUE(fnWave().fnPlay(false, false));
    EXPECT_EQ(fnWave().fnGetState(), WAVE_PLAYING);
}

TEST_F(WavePlaybackTest, APlayWhilePlayingRestartsTheSound) {
    fnWave().fnPlay(false, true);
    fnAdvance(30);
    EXPECT_TRUE(fnWave().fnPlay(false, false));
    EXPECT_EQ(fnDevice().fnGetPosition(), 0u);
    EXPECT_EQ(fnDevice().fnGetReports(), 1u) << "the old one has ended";
    EXPECT_EQ(fnDevice().fnGetOpen(), 1u);
    EXPECT_EQ(fnDevice().fnGetPlays().back().m_nFlags, 0u) << "no trace of the loop";
}

TEST_F(WavePlaybackTest, APlayThatFailsWhilePlayingLeavesSilence) {
    fnWave().fnPlay(false, true);
    fnCalls().m_CanPlay.fnFail();
    EXPECT_FALSE(fnWave().fnPlay(false, false));
    EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
    EXPECT_EQ(fnDevice().fnGetOpen(), 0u);
}

TEST_F(WavePlaybackTest, ARefusedFormatOpensNoDevice) {
    CqWave wave(1, 24, 8000, 10, true);
    EXPECT_FALSE(wave.fnPlay(false, false));
    EXPECT_FALSE(CqWave().fnPlay(true, false)) << "nor does a sound without a block";
    EXPECT_EQ(fnCalls().m_Open.fnGetCount(), 0u);
}

TEST_F(WavePlaybackTest, ADeviceThatCannotBeOpenedPlaysNothing) {
    fnCalls().m_Open.fnFail();
    EXPECT_FALSE(fnWave().fnPlay(true, false));
    EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
}

TEST_F(WavePlaybackTest, ARefusedBlockLeavesTheDeviceOpenUntilTheNextPlay) {
    for (CqHeadlessCalls* call : {&fnCalls().m_Prepare, &fnCalls().m_Write})
        for (const bool wait : {false, true}) {
            call->fnFail();
            EXPECT_FALSE(fnWave().fnPlay(wait, false));
            EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
            EXPECT_EQ(fnDevice().fnGetOpen(), 1u);
            fnWave().fnStop();
            EXPECT_EQ(fnDevice().fnGetOpen(), 1u);
            EXPECT_TRUE(fnWave().fnPlay(false, false));
            EXPECT_EQ(fnDevice().fnGetOpen(), 1u) << "the new one";
            fnWave().fnStop();
            EXPECT_EQ(fnDevice().fnGetOpen(), 0u);
        }
}

TEST_F(WavePlaybackTest, ADeviceLeftOpenStaysWhenTheNextOneCannotBeOpened) {
    fnCalls().m_Write.fnFail();
    fnWave().fnPlay(false, false);
    fnCalls().m_Open.fnFail();
    EXPECT_FALSE(fnWave().fnPlay(false, false));
    EXPECT_EQ(fnDevice().fnGetOpen(), 1u);
}

TEST_F(WavePlaybackTest, AStopThatTheDeviceRefusesWaitsForTheEnd) {
    fnWave().fnPlay(false, false);
    fnCalls().m_Reset.fnFail();
    std::thread time([&] {
        while (fnCalls().m_Reset.fnGetCount() == 0)
            std::this_thread::yield();
        fnDevice().fnAdvance(kFrames);
    });
    fnWave().fnStop();
    EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
    time.join();
    EXPECT_EQ(fnCalls().m_Reset.fnGetFailed(), 1u);
}

TEST_F(WavePlaybackTest, ABlockThatCannotBeUnpreparedStillEnds) {
    fnWave().fnPlay(false, false);
    fnCalls().m_Unprepare.fnFail();
    fnAdvance(kFrames);
    EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
    EXPECT_EQ(fnDevice().fnGetOpen(), 0u);
}

TEST_F(WavePlaybackTest, ALateEndEndsAPausedSound) {
    BusyReporter busy(fnDevice());
    fnWave().fnPlay(false, false);
    fnDevice().fnAdvance(kFrames); // ended, but not reported yet
    fnWave().fnPause();
    EXPECT_EQ(fnWave().fnGetState(), WAVE_PAUSED);
    busy.fnLetGo();
    fnDevice().fnWaitForReports();
    EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
    EXPECT_TRUE(fnWave().fnPlay(false, false)) << "from the start";
    EXPECT_EQ(fnDevice().fnGetPlays().size(), 3u);
}

TEST_F(WavePlaybackTest, ALateEndReleasesAStop) {
    BusyReporter busy(fnDevice());
    fnWave().fnPlay(false, false);
    fnDevice().fnAdvance(kFrames);
    std::thread later([&] {
        while (fnCalls().m_Reset.fnGetCount() == 0)
            std::this_thread::yield();
        busy.fnLetGo();
    });
    fnWave().fnStop();
    EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
    later.join();
}

TEST_F(WavePlaybackTest, DestroyingTheObjectEndsItsSound) {
    fnWave().fnPlay(false, true);
    m_Wave.reset();
    EXPECT_EQ(fnDevice().fnGetOpen(), 0u);
    fnAdvance(1000);
    EXPECT_EQ(fnDevice().fnGetReports(), 0u);
}

TEST_F(WavePlaybackTest, TheObjectMayBeDestroyedWhileItsEndIsUnreported) {
    BusyReporter busy(fnDevice());
    fnWave().fnPlay(false, false);
    fnDevice().fnAdvance(kFrames);
    m_Wave.reset();
    busy.fnLetGo();
    fnDevice().fnWaitForReports();
    EXPECT_EQ(fnDevice().fnGetReports(), 1u) << "the busy one's";
}

TEST_F(WavePlaybackTest, ACopyOfAPlayingSoundIsStopped) {
    fnWave().fnPlay(false, true);
    CqWave copy(fnWave());
    EXPECT_EQ(copy.fnGetState(), WAVE_STOPPED);
    EXPECT_TRUE(copy.fnPlay(false, false));
    EXPECT_EQ(fnDevice().fnGetPlaying(), 2u) << "each has a device of its own";
}

TEST_F(WavePlaybackTest, ASoundOnAScratchDiskIsPlayedFromThere) {
    q32GetVMPolicy()->fnSetRamLimit(0);
    fnWave().fnAlloc(1, 8, 8000, 5000, true);
    ASSERT_EQ(m_World->m_pScratch->fnGetViews(), 1u);
    EXPECT_TRUE(fnWave().fnPlay(false, false));
    EXPECT_EQ(fnDevice().fnGetPlays().back().m_pData, fnWave().fnGetBuffer());
    fnWave().fnStop();
}

TEST_F(WavePlaybackTest, NoEndNeedsMemory) {
    for (const bool paused : {false, true}) {
        ASSERT_TRUE(fnWave().fnPlay(false, true));
        if (paused)
            fnWave().fnPause();
        const std::size_t before = CqAllocationFailure::fnCount();
        fnWave().fnStop();
        EXPECT_EQ(CqAllocationFailure::fnCount(), before);
        ASSERT_TRUE(fnWave().fnPlay(false, false));
        const std::size_t ending = CqAllocationFailure::fnCount();
        fnAdvance(kFrames);
        EXPECT_EQ(CqAllocationFailure::fnCount(), ending);
        EXPECT_EQ(fnWave().fnGetState(), WAVE_STOPPED);
    }
}

TEST_F(WavePlaybackTest, ExhaustedMemoryIsAFailure) {
    const std::size_t runs = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool started = fnWave().fnPlay(false, true);
        failure.fnEnd();
        EXPECT_EQ(started, !failure.fnHappened());
        EXPECT_EQ(fnWave().fnGetState(), started ? WAVE_PLAYING : WAVE_STOPPED);
        fnWave().fnStop();
    });
    EXPECT_GT(runs, 3u);
}

} // namespace
