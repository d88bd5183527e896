#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstdint>
#include <functional>
#include <memory>

/// A sound device that was opened for one format. It plays one block at a time. Its functions are
/// called on the owner's thread, and `fnUnprepare` and the destructor also from within a report. A
/// report may destroy the device while a call of it is still under way on the owner's thread: such
/// a call returns as usual. What takes something may throw std::bad_alloc, and has done nothing
/// then; `fnReset`, `fnUnprepare` and the end of a block take nothing, so that no end is lost.
class Q32_API CqWaveOut {
public:
    /// Closes the device. A block under way is given back first, without a report. A report that
    /// runs on the device's thread has returned before this does, unless this is called by it.
    /// Blocks are no longer looked at, so that one which was only prepared may be gone already.
    virtual ~CqWaveOut() = default;

    /// Makes a block known to the device. The block and its samples must stay untouched until it is
    /// given back.
    virtual bool fnPrepare(WAVEHDR& header) = 0;
    /// Starts to play a prepared block; with the loop flags set, again and again, `dwLoops` times,
    /// and for ever with all bits of it set. The device may report the end before this call
    /// returns. False when a block plays already.
    virtual bool fnWrite(WAVEHDR& header) = 0;
    /// Lets go of a block that doesn't play. False for one that plays or was not prepared.
    virtual bool fnUnprepare(WAVEHDR& header) = 0;
    /// Stands still, until `fnRestart`.
    virtual bool fnPause() = 0;
    virtual bool fnRestart() = 0;
    /// Stops at once, ends a pause, and gives the block back, which is reported like a normal end,
    /// perhaps before this call returns. Nothing is reported when nothing plays.
    virtual bool fnReset() = 0;
};

/// Sound output by the default device.
class Q32_API CqWaveOutService {
public:
    virtual ~CqWaveOutService() = default;

    /// Called once for each block that was written, at its end or at `fnReset`, on a thread of the
    /// device's own. The device stays open; the callee may unprepare the block and destroy the
    /// device from within.
    using Done = std::function<void(WAVEHDR& header)>;

    /// Whether the device takes the format.
    virtual bool fnCanPlay(const WAVEFORMATEX& format) = 0;
    /// Opens the device. Null on failure. May throw std::bad_alloc, as `fnCanPlay` may.
    virtual std::unique_ptr<CqWaveOut> fnOpen(const WAVEFORMATEX& format, Done done) = 0;
};
