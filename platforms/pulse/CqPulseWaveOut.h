#pragma once

#include "q32Base/platform/CqWaveOutService.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <memory>
#include <string>

namespace q32::pulse {
class Connection;
}

/// Sound output to a sound server's default sink. Created by `q32Pulse`.
///
/// A block is read from the caller's memory as the server requests it, by a thread of the
/// connection; it is never copied as a whole. When the server goes, or removes the stream, playback
/// ends, and that is reported as usual. Bytes after a block's last complete frame aren't played. No
/// call throws, and for each answer a call waits no longer than the options' patience.
class Q32_API CqPulseWaveOut final : public CqWaveOutService {
public:
    /// Over a connection that is shared with the mixers.
    explicit CqPulseWaveOut(std::shared_ptr<q32::pulse::Connection> connection);
    ~CqPulseWaveOut() override;

    /// Whether there is a sink and the format is PCM of 8, 16, 24 or 32 bits, or floating point of
    /// 32, on 1 to 32 channels, at a rate supported by the server, with a matching block size.
    bool fnCanPlay(const WAVEFORMATEX& format) override;
    std::unique_ptr<CqWaveOut> fnOpen(const WAVEFORMATEX& format, Done done) override;

    /// Bytes of the block that have been heard, for the device that was opened first among those
    /// playing; 0 when nothing plays. It stops in a pause, and restarts with each pass of a loop.
    /// From any thread.
    std::uint64_t fnGetPosition() const;
    /// The reason for the last failed call, in English; empty when none has failed.
    std::string fnGetError() const;

private:
    struct Q32_LOCAL State;
    class Out;
    const std::unique_ptr<State> m_pState;
};
