#include "tests/sound/SoundTestTools.h"
#include "tests/support/Random.h"

#include <atomic>
#include <memory>
#include <thread>

namespace {

constexpr int kSteps = 100'000;
constexpr std::uint32_t kFrames = 40;

/// Advances the device's time on its own thread, so that ends occur at any moment.
class Time {
public:
    explicit Time(CqHeadlessWaveOut& device)
        : m_Thread([this, &device] {
              Random random(2);
              while (!m_bDone) {
                  device.fnAdvance(random() % (2 * kFrames));
                  std::this_thread::yield();
              }
          }) {}
    ~Time() {
        m_bDone = true;
        m_Thread.join();
    }
    Time(const Time&) = delete;
    Time& operator=(const Time&) = delete;

private:
    std::atomic<bool> m_bDone{false};
    std::thread m_Thread;
};

/// One sound that its owner plays at random.
class Player {
public:
    explicit Player(CqHeadlessWaveOut& device) : m_Device(device) { fnRenew(); }

    void fnStep(std::uint32_t choice) {
        fnLook();
        const std::uint32_t detail = choice / 256;
        choice %= 256;
        if (choice < 110)
            fnPlay(choice % 4 == 0, choice % 3 == 0);
        else if (choice < 170)
            fnPause();
        else if (choice < 230)
            fnStop();
        else if (choice < 236)
            fnRefuse(detail);
        else if (choice < 246)
            m_Device.fnEndInWrite(detail % 2 != 0);
        else if (choice < 254)
            m_Device.fnReportInReset(detail % 2 != 0);
        else
            fnRenew();
        EXPECT_LE(m_Device.fnGetOpen(), 1u);
    }

    void fnStop() {
        m_Wave->fnStop();
        m_bUnderWay = false;
        EXPECT_EQ(m_Wave->fnGetState(), WAVE_STOPPED);
        EXPECT_EQ(m_Device.fnGetPlaying(), 0u);
    }

    std::size_t m_nStarted = 0;
    std::size_t m_nEnded = 0; ///< sounds that reached their end
    std::size_t m_nCut = 0;   ///< sounds ended by destruction

private:
    /// Counts a sound that has ended since the last step.
    void fnLook() {
        const bool stopped = m_Wave->fnGetState() == WAVE_STOPPED;
        m_nEnded += m_bUnderWay && stopped ? 1 : 0;
        m_bUnderWay = !stopped;
    }

    void fnPlay(bool wait, bool loop) {
        const bool paused = m_Wave->fnGetState() == WAVE_PAUSED;
        const bool done = m_Wave->fnPlay(wait, loop);
        m_nStarted += done && !paused ? 1 : 0;
        // A paused sound resumes, or restarts when a late report has just ended it.
        const WAVE_STATE state = m_Wave->fnGetState();
        if (!done) {
            EXPECT_NE(state, WAVE_PLAYING);
        } else if (!paused && loop) {
            EXPECT_EQ(state, WAVE_PLAYING);
        } else if (!paused && wait) {
            EXPECT_EQ(state, WAVE_STOPPED);
        }
    }

    void fnPause() {
        m_Wave->fnPause();
        EXPECT_NE(m_Wave->fnGetState(), WAVE_PLAYING);
    }

    void fnRefuse(std::uint32_t which) {
        auto& calls = *m_Device.m_pCalls;
        CqHeadlessCalls* const all[] = {&calls.m_CanPlay,  &calls.m_Open,  &calls.m_Prepare,
                                        &calls.m_Write,    &calls.m_Pause, &calls.m_Restart,
                                        &calls.m_Unprepare};
        all[which % std::size(all)]->fnFail();
    }

    /// Destroys the object in whatever state it is.
    void fnRenew() {
        m_nCut += m_Wave && m_Wave->fnGetState() != WAVE_STOPPED ? 1 : 0;
        m_Wave = std::make_unique<CqWave>(1, 8, 8000, kFrames, true);
        m_bUnderWay = false;
    }

    CqHeadlessWaveOut& m_Device;
    std::unique_ptr<CqWave> m_Wave;
    bool m_bUnderWay = false; ///< at the last step
};

using WaveStressTest = WaveTest;

TEST_F(WaveStressTest, AHundredThousandRandomStepsNeitherHangNorLoseAnEnd) {
    {
        Player player(fnDevice());
        Random random(1);
        {
            const Time time(fnDevice());
            for (int step = 0; step < kSteps && !HasFailure(); ++step)
                player.fnStep(random());
        }
        player.fnStop();
        EXPECT_GT(player.m_nStarted, 10'000u);
        EXPECT_GT(player.m_nEnded, 100u);
        EXPECT_GT(player.m_nCut, 50u);
        EXPECT_LE(fnDevice().fnGetReports(), fnDevice().fnGetPlays().size());
        EXPECT_GE(fnDevice().fnGetReports() + player.m_nCut, fnDevice().fnGetPlays().size());
    }
    EXPECT_EQ(fnDevice().fnGetOpen(), 0u);
}

} // namespace
