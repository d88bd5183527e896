#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "q32Base/platform/CqWaveOutService.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

/// A block that a headless sound device was given.
struct CqHeadlessPlay {
    WAVEFORMATEX m_Format;
    const void* m_pData;
    DWORD m_nBytes;
    DWORD m_nFlags; ///< as the block came
    DWORD m_nLoops;
};

/// Sound devices whose time stands still until the script moves it on. The end of a block is
/// reported on one thread that belongs to the service. The script runs on any other thread.
class Q32_API CqHeadlessWaveOut final : public CqWaveOutService {
public:
    CqHeadlessWaveOut();
    ~CqHeadlessWaveOut() override;

    /// Calls of the devices; shared with them, because they may outlive the service.
    struct Calls {
        CqHeadlessCalls m_CanPlay;
        CqHeadlessCalls m_Open;
        CqHeadlessCalls m_Prepare;
        CqHeadlessCalls m_Write;
        CqHeadlessCalls m_Unprepare;
        CqHeadlessCalls m_Pause;
        CqHeadlessCalls m_Restart;
        CqHeadlessCalls m_Reset;
    };
    const std::shared_ptr<Calls> m_pCalls = std::make_shared<Calls>();

    /// A block has ended, and its end been reported, before the call that starts it returns; unless
    /// it loops for ever.
    void fnEndInWrite(bool end);
    /// The report of a reset has returned before the reset does.
    void fnReportInReset(bool report);

    /// Moves the time of all devices on by so many bytes of what they play. Paused ones stand
    /// still.
    void fnAdvance(std::uint64_t bytes);
    /// Waits until all ends so far have been reported. From within a report it returns at once.
    void fnWaitForReports();

    /// Blocks given to devices so far, in order.
    std::vector<CqHeadlessPlay> fnGetPlays() const;
    /// Devices that are open now.
    std::size_t fnGetOpen() const;
    /// Devices that are playing a block, paused ones included.
    std::size_t fnGetPlaying() const;
    /// Devices that are paused.
    std::size_t fnGetPaused() const;
    /// Bytes into the block of the device that has played longest; 0 when nothing plays.
    std::uint64_t fnGetPosition() const;
    /// Ends reported since the start.
    std::uint64_t fnGetReports() const;

    /// PCM of 8 or 16 bits, on one or two channels, with a block size that agrees.
    bool fnCanPlay(const WAVEFORMATEX& format) override;
    std::unique_ptr<CqWaveOut> fnOpen(const WAVEFORMATEX& format, Done done) override;

private:
    struct Device;
    struct State;
    class Out;
    std::shared_ptr<State> m_pState;
};
