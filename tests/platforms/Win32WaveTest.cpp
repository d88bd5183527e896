/// @file What a driver may do and Wine's doesn't, with other calls in place of the system's.

#include "platforms/win32/CqWin32WaveOut_p.h"
#include "platforms/win32/Voice_p.h"
#include "tests/support/Await.h"
#include "tests/support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

constexpr WAVEFORMATEX kFormat{WAVE_FORMAT_PCM, 1, 22050, 44100, 2, 16, 0};

/// A device that plays nothing, and ends blocks when the test says so.
struct Device {
    static inline bool theBusy = false;
    static inline int theStillPlaying = 0; ///< closes that fail
    static inline int theOpened = 0;
    static inline int theClosed = 0;
    static inline int theLateCalls = 0;     ///< after a close
    static inline bool theRefusing = false; ///< of blocks
    static inline bool theHolding = false;  ///< it keeps its block
    static inline WAVEHDR* theBlock = nullptr;
    static inline HANDLE theEvent = nullptr;

    Device() {
        theBusy = theRefusing = theHolding = false;
        theStillPlaying = theOpened = theClosed = theLateCalls = 0;
        theBlock = nullptr;
    }
    static q32::win32::WaveCalls fnGetCalls() {
        q32::win32::WaveCalls calls;
        calls.m_Open = fnOpen;
        calls.m_Close = fnClose;
        calls.m_Prepare = fnAccept;
        calls.m_Unprepare = fnUnprepare;
        calls.m_Write = fnWrite;
        calls.m_Pause = calls.m_Restart = fnGoOn;
        calls.m_Reset = fnReset;
        return calls;
    }
    static void fnEndBlock() {
        theBlock->dwFlags |= WHDR_DONE;
        ::SetEvent(theEvent);
    }

private:
    static MMRESULT WINAPI fnOpen(LPHWAVEOUT, UINT, LPCWAVEFORMATEX, DWORD_PTR event, DWORD_PTR,
                                  DWORD) {
        theEvent = reinterpret_cast<HANDLE>(event); // NOLINT(performance-no-int-to-ptr)
        theOpened += !theBusy;
        return theBusy ? MMSYSERR_ALLOCATED : MMSYSERR_NOERROR;
    }
    static MMRESULT WINAPI fnClose(HWAVEOUT) {
        if (theStillPlaying-- > 0)
            return WAVERR_STILLPLAYING;
        ++theClosed;
        return MMSYSERR_NOERROR;
    }
    static MMRESULT WINAPI fnAccept(HWAVEOUT, LPWAVEHDR, UINT) { return MMSYSERR_NOERROR; }
    static MMRESULT WINAPI fnUnprepare(HWAVEOUT, LPWAVEHDR, UINT) {
        return theHolding ? MMRESULT{WAVERR_STILLPLAYING} : MMRESULT{MMSYSERR_NOERROR};
    }
    static MMRESULT WINAPI fnWrite(HWAVEOUT, LPWAVEHDR block, UINT) {
        theBlock = block;
        return theRefusing ? MMSYSERR_NOMEM : MMSYSERR_NOERROR;
    }
    static MMRESULT WINAPI fnGoOn(HWAVEOUT) {
        theLateCalls += theClosed;
        return MMSYSERR_NOERROR;
    }
    static MMRESULT WINAPI fnReset(HWAVEOUT) {
        theLateCalls += theClosed;
        if (theBlock)
            theBlock->dwFlags |= WHDR_DONE;
        return MMSYSERR_NOERROR;
    }
};

class Win32Wave : public testing::Test {
protected:
    Win32Wave() {
        m_Header.lpData = m_Samples;
        m_Header.dwBufferLength = sizeof m_Samples;
    }
    std::unique_ptr<CqWaveOut> fnOpen() {
        return m_Sound.fnOpen(kFormat, [this](WAVEHDR&) { ++m_nReports; });
    }
    void fnAwaitReport() const {
        while (m_nReports == 0)
            std::this_thread::yield();
    }

    Device m_Device;
    CqWin32WaveOut m_Sound{Device::fnGetCalls()};
    char m_Samples[64] = {};
    WAVEHDR m_Header{};
    std::atomic<int> m_nReports{0};
};

TEST_F(Win32Wave, ADeviceThatAnotherProgramHasIsNotOpened) {
    Device::theBusy = true;
    EXPECT_FALSE(m_Sound.fnCanPlay(kFormat));
    EXPECT_EQ(fnOpen(), nullptr);
    Device::theBusy = false;
    EXPECT_NE(fnOpen(), nullptr);
}

TEST_F(Win32Wave, WithoutMemoryNoDeviceStaysOpen) {
    const std::size_t failures = fnFailEachAllocation([this](CqAllocationFailure& failure) {
        try {
            const auto device = fnOpen();
            failure.fnEnd();
            EXPECT_EQ(device != nullptr, !failure.fnHappened());
        } catch (const std::bad_alloc&) {
            failure.fnEnd();
        }
        EXPECT_EQ(Device::theClosed, Device::theOpened);
    });
    EXPECT_EQ(failures, 3u) << "the device's object, its voice, the thread";
    EXPECT_EQ(Device::theOpened, 2);
}

TEST_F(Win32Wave, ADeviceThatStillPlaysIsClosedALittleLater) {
    auto device = fnOpen();
    ASSERT_TRUE(device && device->fnPrepare(m_Header) && device->fnWrite(m_Header));
    Device::theStillPlaying = 3;
    device.reset();
    EXPECT_EQ(Device::theClosed, 1);
    EXPECT_EQ(m_nReports, 0);
    EXPECT_EQ(m_Header.dwFlags, DWORD{WHDR_PREPARED | WHDR_DONE});
}

TEST_F(Win32Wave, ADeviceThatNeverStopsIsGivenUpUntilItDoes) {
    auto device = fnOpen();
    ASSERT_NE(device, nullptr);
    Device::theStillPlaying = 1000000;
    device.reset();
    EXPECT_EQ(Device::theClosed, 0);
    const HANDLE event = Device::theEvent;
    EXPECT_NE(::SetEvent(event), 0) << "the event that it may still set stays";
    ASSERT_NE(fnOpen(), nullptr) << "nobody waits for it again";
    EXPECT_EQ(Device::theClosed, 0);
    Device::theStillPlaying = 0;
    device = fnOpen();
    EXPECT_EQ(Device::theClosed, 2) << "and the one opened in between";
}

TEST_F(Win32Wave, AClosedDeviceIsNotCalled) {
    const auto voice = q32::win32::Voice::fnOpen(Device::fnGetCalls(), kFormat,
                                                 [this](WAVEHDR&) { ++m_nReports; });
    ASSERT_NE(voice, nullptr);
    voice->fnClose();
    EXPECT_FALSE(voice->fnSetPaused(true));
    EXPECT_FALSE(voice->fnSetPaused(false));
    EXPECT_FALSE(voice->fnReset());
    voice->fnClose();
    EXPECT_EQ(Device::theClosed, 1);
    EXPECT_EQ(Device::theLateCalls, 0);
}

TEST_F(Win32Wave, AHeaderThatTheDriverHoldsOutlivesItsDevice) {
    auto voice = q32::win32::Voice::fnOpen(Device::fnGetCalls(), kFormat,
                                           [this](WAVEHDR&) { ++m_nReports; });
    const std::weak_ptr<q32::win32::Voice> seen = voice;
    ASSERT_TRUE(voice && voice->fnPrepare(m_Header) && voice->fnWrite(m_Header));
    Device::theHolding = true;
    voice->fnClose();
    EXPECT_EQ(m_Header.dwFlags, DWORD{WHDR_PREPARED | WHDR_DONE}) << "the host has its own";
    voice.reset();
    EXPECT_EQ(Device::theClosed, 0) << "a device isn't closed over a block";
    EXPECT_FALSE(fnAwait([&] { return seen.expired(); }, [] {}, std::chrono::milliseconds(50)));
    Device::fnEndBlock(); // as the driver does at last
    Device::theHolding = false;
    const auto device = fnOpen();
    EXPECT_EQ(Device::theClosed, 1);
    EXPECT_TRUE(fnAwait([&] { return seen.expired(); })) << "then nothing stays";
    EXPECT_EQ(m_nReports, 0);
}

TEST_F(Win32Wave, ABlockThatTheDeviceRefusesIsAsBefore) {
    const auto device = fnOpen();
    ASSERT_TRUE(device && device->fnPrepare(m_Header));
    Device::theRefusing = true;
    EXPECT_FALSE(device->fnWrite(m_Header));
    EXPECT_EQ(m_Header.dwFlags, DWORD{WHDR_PREPARED});
    Device::theRefusing = false;
    EXPECT_TRUE(device->fnWrite(m_Header));
    Device::fnEndBlock();
    fnAwaitReport();
    EXPECT_TRUE(device->fnUnprepare(m_Header));
}

} // namespace
