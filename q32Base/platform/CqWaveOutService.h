#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstdint>
#include <functional>
#include <memory>

/// A sound device opened for one format. It plays one block at a time. Its functions are called on
/// the owner's thread; `fnUnprepare` and the destructor also from within the done callback. The
/// callback may destroy the device while one of its functions is still running on the owner's
/// thread: that call returns normally. Functions that allocate may throw std::bad_alloc and then
/// have no effect; `fnReset`, `fnUnprepare` and the end of a block allocate nothing, so that no end
/// is lost.
class Q32_API CqWaveOut {
public:
    /// Closes the device. A playing block is returned first, without a callback. Waits for a
    /// callback that is running on the device's thread, unless called from within it. Doesn't
    /// access other blocks: one that was only prepared may have been freed.
    virtual ~CqWaveOut() = default;

    /// Prepares a block for playing. The header and the samples must stay untouched until the
    /// device returns the block.
    virtual bool fnPrepare(WAVEHDR& header) = 0;
    /// Starts playing a prepared block; with the loop flags set, `dwLoops` times, or endlessly if
    /// all bits of it are set. The end may be reported before this returns. False if a block is
    /// already playing.
    virtual bool fnWrite(WAVEHDR& header) = 0;
    /// Releases a block that isn't playing. False for one that is playing or was not prepared.
    virtual bool fnUnprepare(WAVEHDR& header) = 0;
    /// Pauses until `fnRestart`.
    virtual bool fnPause() = 0;
    /// Continues after a pause.
    virtual bool fnRestart() = 0;
    /// Stops at once, ends a pause, and returns the block, which is reported like a normal end,
    /// perhaps before this returns. Nothing is reported if nothing is playing.
    virtual bool fnReset() = 0;
};

/// Sound output on the default device.
class Q32_API CqWaveOutService {
public:
    virtual ~CqWaveOutService() = default;

    /// Called once for each block that was written, at its end or at `fnReset`, on a thread of the
    /// device. The device stays open; the callee may unprepare the block and destroy the device
    /// from within.
    using Done = std::function<void(WAVEHDR& header)>;

    /// Whether the device supports the format.
    virtual bool fnCanPlay(const WAVEFORMATEX& format) = 0;
    /// Opens the device. Null on failure. May throw std::bad_alloc, as `fnCanPlay` may.
    virtual std::unique_ptr<CqWaveOut> fnOpen(const WAVEFORMATEX& format, Done done) = 0;
};
