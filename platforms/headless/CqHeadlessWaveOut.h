#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "q32Base/platform/CqWaveOutService.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

/// A block written to a headless sound device.
struct CqHeadlessPlay {
    WAVEFORMATEX m_Format; ///< of the device
    const void* m_pData;   ///< the samples; not owned, and not to be read after their end
    DWORD m_nBytes;        ///< their length
    DWORD m_nFlags;        ///< flags when the block was written
    DWORD m_nLoops;        ///< how often it is played, if its flags say so
};

/// Sound devices whose time advances only by a script. The end of a block is reported on a thread
/// of the service. The script runs on any other thread.
class Q32_API CqHeadlessWaveOut final : public CqWaveOutService {
public:
    /// Without open devices.
    CqHeadlessWaveOut();
    ~CqHeadlessWaveOut() override;

    /// Calls of the devices; shared with them, because they may outlive the service.
    struct Calls {
        CqHeadlessCalls m_CanPlay;   ///< calls of `fnCanPlay`
        CqHeadlessCalls m_Open;      ///< calls of `fnOpen`; a failed one returns null
        CqHeadlessCalls m_Prepare;   ///< calls of `CqWaveOut::fnPrepare`
        CqHeadlessCalls m_Write;     ///< calls of `CqWaveOut::fnWrite`; a failed one plays nothing
        CqHeadlessCalls m_Unprepare; ///< calls of `CqWaveOut::fnUnprepare`
        CqHeadlessCalls m_Pause;     ///< calls of `CqWaveOut::fnPause`
        CqHeadlessCalls m_Restart;   ///< calls of `CqWaveOut::fnRestart`
        CqHeadlessCalls m_Reset; ///< calls of `CqWaveOut::fnReset`; after a failed one it plays on
    };
    const std::shared_ptr<Calls> m_pCalls = std::make_shared<Calls>(); ///< never null

    /// Sets whether a block ends, and its end has been reported, before the call that starts it
    /// returns; except for endless loops.
    void fnEndInWrite(bool end);
    /// Sets whether the report of a reset has returned before the reset does.
    void fnReportInReset(bool report);

    /// Advances the time of all devices by so many bytes of their blocks. Paused ones don't
    /// advance.
    void fnAdvance(std::uint64_t bytes);
    /// Waits until all ends so far have been reported. From within a report it returns at once.
    void fnWaitForReports();

    /// Blocks written to devices so far, in order.
    std::vector<CqHeadlessPlay> fnGetPlays() const;
    /// Number of open devices.
    std::size_t fnGetOpen() const;
    /// Number of devices playing a block, including paused ones.
    std::size_t fnGetPlaying() const;
    /// Number of paused devices.
    std::size_t fnGetPaused() const;
    /// Bytes into the block of the device that has been playing longest; 0 when nothing plays.
    std::uint64_t fnGetPosition() const;
    /// Number of ends reported so far.
    std::uint64_t fnGetReports() const;

    /// @copydoc CqWaveOutService::fnCanPlay
    ///
    /// True for PCM of 8 or 16 bits, on one or two channels, with a matching block size.
    bool fnCanPlay(const WAVEFORMATEX& format) override;
    std::unique_ptr<CqWaveOut> fnOpen(const WAVEFORMATEX& format, Done done) override;

private:
    struct Q32_LOCAL Device;
    struct Q32_LOCAL State;
    class Out;
    std::shared_ptr<State> m_pState;
};
