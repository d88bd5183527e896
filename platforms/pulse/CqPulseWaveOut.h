#pragma once

#include "q32Base/platform/CqWaveOutService.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <memory>
#include <string>

namespace q32::pulse {
class Connection;
}

/// Sound output by a sound server, on its default sink. Made by `q32Pulse`.
///
/// A block is read from the caller's memory as the server asks for it, by a thread of the
/// connection; it is never copied as a whole. When the server goes, or takes the stream away, what
/// plays has ended, and that is reported as usual. Bytes beyond a block's last whole frame aren't
/// heard. No call throws, and for each answer a call waits no longer than the options' patience.
class Q32_API CqPulseWaveOut final : public CqWaveOutService {
public:
    explicit CqPulseWaveOut(std::shared_ptr<q32::pulse::Connection> connection);
    ~CqPulseWaveOut() override;

    /// PCM of 8, 16, 24 and 32 bits, and floating point of 32, on 1 to 32 channels, at any rate
    /// that the server knows, with a block size that agrees; and there must be a sink.
    bool fnCanPlay(const WAVEFORMATEX& format) override;
    std::unique_ptr<CqWaveOut> fnOpen(const WAVEFORMATEX& format, Done done) override;

    /// Bytes into the block that have been heard, of the device that was opened first among those
    /// that play; 0 when nothing plays. It stands still in a pause, and begins anew with each pass
    /// of a loop.
    std::uint64_t fnGetPosition() const;
    /// Why the last call that failed did so, in English; empty when none has.
    std::string fnGetError() const;

private:
    struct State;
    class Out;
    const std::unique_ptr<State> m_pState;
};
