#pragma once

#include "platforms/win32/Handle_p.h"
#include "platforms/win32/WaveCalls_p.h"
#include "q32Base/platform/CqWaveOutService.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

namespace q32::win32 {

/// An open device with the thread that reports the ends of its blocks. The system gets a header of
/// its own, not the host's, whose flags are set here. Its thread keeps it alive for a report in
/// which its object is destroyed.
///
/// A driver that doesn't let go of its header or its event when it is closed may still use them:
/// they then stay, with the object, until a later `fnOpen` finds that the driver has returned them.
/// The samples are the host's, which is free to reuse them after a reset.
class Voice : public std::enable_shared_from_this<Voice> {
public:
    /// Opens the default device and starts the thread. Null on failure. Throws std::bad_alloc. Also
    /// closes those that a driver has returned at last.
    static std::shared_ptr<Voice> fnOpen(const WaveCalls& calls, const WAVEFORMATEX& format,
                                         CqWaveOutService::Done done);

    Voice(const WaveCalls& calls, CqWaveOutService::Done done);
    ~Voice();
    Voice(const Voice&) = delete;
    Voice& operator=(const Voice&) = delete;

    // After fnClose, the device isn't called any more: what needs it fails.
    bool fnPrepare(WAVEHDR& header);
    bool fnWrite(WAVEHDR& header);
    bool fnUnprepare(WAVEHDR& header);
    bool fnSetPaused(bool paused);
    bool fnReset();
    /// Returns the block without a report and closes the device; nothing is reported after that.
    /// Waits for a running report, unless called from within it, and a tenth of a second at most
    /// for the driver.
    void fnClose();

private:
    using Lock = std::unique_lock<std::mutex>;

    void fnRun();
    bool fnHasEnded() const;
    /// Takes the block from the system, and returns the host's header.
    WAVEHDR* fnTakeBack();
    bool fnStart(WAVEHDR& header);
    /// Takes the header back from the system, which a driver may refuse.
    void fnReleaseBlock();
    void fnCloseDevice();
    /// False while the driver still plays.
    bool fnTryToClose();
    void fnAbandon();
    /// Closes what can be closed by now.
    static void fnCloseAbandoned();

    const WaveCalls m_Calls;
    const CqWaveOutService::Done m_Done;
    std::mutex m_Lock; ///< guards all that follows
    std::condition_variable m_Reported;
    Handle m_Event; ///< set by the system whenever something happens, and to wake the thread
    HWAVEOUT m_Device = nullptr;
    std::set<const WAVEHDR*> m_Prepared;
    WAVEHDR m_Block{};             ///< the system's header of the playing block
    WAVEHDR* m_pPlaying = nullptr; ///< the host's
    bool m_bSilent = false;        ///< the playing block has nothing to play
    bool m_bHeld = false;          ///< the system has the header
    bool m_bPaused = false;
    bool m_bClosed = false;
    bool m_bReporting = false;
    std::thread::id m_Reporter;

    static Voice* theFirstAbandoned; ///< guarded by a lock of its own, as the next two are
    Voice* m_pNextAbandoned = nullptr;
    std::shared_ptr<Voice> m_pSelf; ///< keeps an abandoned one
};

} // namespace q32::win32
