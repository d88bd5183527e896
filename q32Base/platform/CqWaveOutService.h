#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstdint>
#include <functional>
#include <memory>

/// A sound device that was opened for one format. It plays one block at a time.
/// Every function but `fnReset` may be called from the owner's thread only, and `fnReset` also when
/// nothing plays.
class Q32_API CqWaveOut {
public:
    /// Closes the device. A block under way is given back first, without a report.
    virtual ~CqWaveOut() = default;

    /// Makes a block known to the device. The block and its samples must stay untouched until it is
    /// given back.
    virtual bool fnPrepare(WAVEHDR& header) = 0;
    /// Starts to play a prepared block; with the loop flags set, again and again, `dwLoops` times.
    /// The device may report the end before this call returns.
    virtual bool fnWrite(WAVEHDR& header) = 0;
    virtual bool fnUnprepare(WAVEHDR& header) = 0;
    virtual bool fnPause() = 0;
    virtual bool fnRestart() = 0;
    /// Stops at once and gives the block back, which is reported like a normal end.
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
    /// Opens the device. Null on failure.
    virtual std::unique_ptr<CqWaveOut> fnOpen(const WAVEFORMATEX& format, Done done) = 0;
};
