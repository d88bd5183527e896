#include "tests/contract/ContractBackEnd.h"
#include "tests/support/Await.h"

#include <array>
#include <atomic>
#include <thread>

namespace {

class WaveOutContract : public ContractTest {
protected:
    static constexpr WAVEFORMATEX kFormat{1, 2, 44100, 176400, 4, 16, 0};

    WaveOutContract() {
        m_Header.lpData = m_Samples.data();
        m_Header.dwBufferLength = static_cast<DWORD>(m_Samples.size());
        m_pDevice = m_Sound.fnOpen(kFormat, [this](WAVEHDR& header) {
            m_bOtherThread = std::this_thread::get_id() != m_Here;
            m_pNotified = &header;
            ++m_nReports;
        });
    }
    void SetUp() override { ASSERT_NE(m_pDevice, nullptr); }

    bool fnStart() { return m_pDevice->fnPrepare(m_Header) && m_pDevice->fnWrite(m_Header); }
    bool fnAwaitReports(int count) {
        return fnAwait([&] { return m_nReports >= count; }, m_World.m_Tick);
    }
    void fnLoop(DWORD times) {
        m_Header.dwFlags |= 12;
        m_Header.dwLoops = times;
    }

    CqWaveOutService& m_Sound = *m_World.m_Platform.m_pWaveOut;
    std::array<char, 4000> m_Samples{};
    WAVEHDR m_Header{};
    const std::thread::id m_Here = std::this_thread::get_id();
    std::atomic<bool> m_bOtherThread{false};
    std::atomic<WAVEHDR*> m_pNotified{nullptr};
    std::atomic<int> m_nReports{0};
    std::unique_ptr<CqWaveOut> m_pDevice;
};

TEST_P(WaveOutContract, PcmOfEightAndSixteenBitsIsAcceptedInMonoAndStereo) {
    for (const WORD channels : {WORD{1}, WORD{2}})
        for (const WORD bits : {WORD{8}, WORD{16}})
            for (const DWORD rate : {8000u, 22050u, 44100u, 48000u}) {
                const auto align = static_cast<WORD>(channels * bits / 8);
                EXPECT_TRUE(m_Sound.fnCanPlay({1, channels, rate, align * rate, align, bits, 0}));
            }
}

TEST_P(WaveOutContract, InconsistentFormatsAreRefused) {
    for (const WAVEFORMATEX& format :
         {WAVEFORMATEX{2, 2, 44100, 176400, 4, 16, 0}, WAVEFORMATEX{1, 2, 44100, 176400, 3, 16, 0},
          WAVEFORMATEX{1, 0, 44100, 0, 0, 16, 0}, WAVEFORMATEX{1, 2, 0, 0, 4, 16, 0},
          WAVEFORMATEX{1, 2, 44100, 0, 0, 0, 0}, WAVEFORMATEX{}})
        EXPECT_FALSE(m_Sound.fnCanPlay(format));
}

TEST_P(WaveOutContract, TheEndIsReportedOnceOnAnotherThread) {
    ASSERT_TRUE(fnStart());
    ASSERT_TRUE(fnAwaitReports(1));
    EXPECT_TRUE(m_bOtherThread);
    EXPECT_EQ(m_pNotified, &m_Header);
    EXPECT_TRUE(m_pDevice->fnReset());
    EXPECT_TRUE(m_pDevice->fnUnprepare(m_Header));
    m_pDevice.reset();
    EXPECT_EQ(m_nReports, 1);
}

TEST_P(WaveOutContract, ABlockMustBePreparedAndPlaysAlone) {
    EXPECT_FALSE(m_pDevice->fnWrite(m_Header));
    EXPECT_FALSE(m_pDevice->fnUnprepare(m_Header));
    WAVEHDR empty{};
    EXPECT_FALSE(m_pDevice->fnPrepare(empty));
    fnLoop(0xFFFFFFFFu);
    ASSERT_TRUE(fnStart());
    EXPECT_FALSE(m_pDevice->fnWrite(m_Header));
    EXPECT_FALSE(m_pDevice->fnUnprepare(m_Header));
    EXPECT_TRUE(m_pDevice->fnReset());
    ASSERT_TRUE(fnAwaitReports(1));
    EXPECT_TRUE(m_pDevice->fnUnprepare(m_Header));
    EXPECT_FALSE(m_pDevice->fnUnprepare(m_Header));
}

TEST_P(WaveOutContract, TheFlagsReportTheStateOfTheBlock) {
    fnLoop(0xFFFFFFFFu);
    ASSERT_TRUE(m_pDevice->fnPrepare(m_Header));
    EXPECT_EQ(m_Header.dwFlags, 12u | 2u);
    ASSERT_TRUE(m_pDevice->fnWrite(m_Header));
    EXPECT_EQ(m_Header.dwFlags, 12u | 2u | 0x10u);
    ASSERT_TRUE(m_pDevice->fnReset());
    ASSERT_TRUE(fnAwaitReports(1));
    EXPECT_EQ(m_Header.dwFlags, 12u | 2u | 1u);
    ASSERT_TRUE(m_pDevice->fnUnprepare(m_Header));
    EXPECT_EQ(m_Header.dwFlags, 12u | 1u);
}

TEST_P(WaveOutContract, ABlockWithoutBytesEndsAtOnceEvenWhenItLoops) {
    m_Header.dwBufferLength = 0;
    ASSERT_TRUE(fnStart());
    ASSERT_TRUE(fnAwaitReports(1));
    fnLoop(0xFFFFFFFFu);
    ASSERT_TRUE(m_pDevice->fnWrite(m_Header));
    ASSERT_TRUE(fnAwaitReports(2));
    EXPECT_EQ(m_nReports, 2);
}

TEST_P(WaveOutContract, ALoopWithoutPassesEnds) {
    fnLoop(0);
    ASSERT_TRUE(fnStart());
    ASSERT_TRUE(fnAwaitReports(1));
}

TEST_P(WaveOutContract, ALoopEndsAfterItsPasses) {
    fnLoop(3);
    ASSERT_TRUE(fnStart());
    ASSERT_TRUE(fnAwaitReports(1));
    EXPECT_TRUE(m_pDevice->fnReset());
    EXPECT_EQ(m_nReports, 1);
}

TEST_P(WaveOutContract, AResetReturnsAPausedBlock) {
    EXPECT_TRUE(m_pDevice->fnReset()) << "nothing plays";
    EXPECT_TRUE(m_pDevice->fnPause());
    ASSERT_TRUE(fnStart());
    EXPECT_TRUE(m_pDevice->fnReset());
    ASSERT_TRUE(fnAwaitReports(1));
    ASSERT_TRUE(m_pDevice->fnWrite(m_Header)) << "and ends the pause";
    ASSERT_TRUE(fnAwaitReports(2));
}

TEST_P(WaveOutContract, AClosedDeviceReportsNothingMore) {
    fnLoop(0xFFFFFFFFu);
    ASSERT_TRUE(fnStart());
    m_pDevice.reset();
    m_World.m_Tick();
    EXPECT_EQ(m_nReports, 0);
}

TEST_P(WaveOutContract, AReportMayUnprepareTheBlockAndCloseTheDevice) {
    for (int i = 0; i < 20; ++i) {
        std::unique_ptr<CqWaveOut> device;
        std::atomic<bool> ended{false};
        device = m_Sound.fnOpen(kFormat, [&](WAVEHDR& header) {
            EXPECT_TRUE(device->fnUnprepare(header));
            device.reset();
            ended = true;
        });
        CqWaveOut* raw = device.get();
        m_Header.dwBufferLength = i % 2 == 0 ? 4 : 0; // may end before the call that starts it
        ASSERT_TRUE(raw->fnPrepare(m_Header));
        ASSERT_TRUE(raw->fnWrite(m_Header));
        ASSERT_TRUE(fnAwait([&] { return ended.load(); }, m_World.m_Tick));
    }
}

} // namespace

Q32_CONTRACT(WaveOutContract, WAVE_OUT);
