#include "platforms/win32/CqWin32WaveOut_p.h"
#include "platforms/win32/Voice_p.h"

#include <utility>

using q32::win32::Voice;
using q32::win32::WaveCalls;

namespace {

constexpr WORD kFloat = 3; ///< WAVE_FORMAT_IEEE_FLOAT

bool fnIsConsistent(const WAVEFORMATEX& format) {
    return (format.wFormatTag == WAVE_FORMAT_PCM || format.wFormatTag == kFloat) &&
           format.nChannels > 0 && format.nSamplesPerSec > 0 && format.wBitsPerSample > 0 &&
           format.nBlockAlign * 8 == format.nChannels * format.wBitsPerSample;
}

/// The caller's handle of a device. A report may destroy it while another thread is inside a call
/// to it, so calls continue with a copy of the pointer.
class Out final : public CqWaveOut {
public:
    Out() = default;
    ~Out() override {
        if (m_pVoice)
            fnGet()->fnClose();
    }
    Out(const Out&) = delete;
    Out& operator=(const Out&) = delete;

    /// Before any other call. Without success there is nothing to close.
    bool fnOpen(const WaveCalls& calls, const WAVEFORMATEX& format, CqWaveOutService::Done done) {
        m_pVoice = Voice::fnOpen(calls, format, std::move(done));
        return m_pVoice != nullptr;
    }
    bool fnPrepare(WAVEHDR& header) override { return fnGet()->fnPrepare(header); }
    bool fnWrite(WAVEHDR& header) override { return fnGet()->fnWrite(header); }
    bool fnUnprepare(WAVEHDR& header) override { return fnGet()->fnUnprepare(header); }
    bool fnPause() override { return fnGet()->fnSetPaused(true); }
    bool fnRestart() override { return fnGet()->fnSetPaused(false); }
    bool fnReset() override { return fnGet()->fnReset(); }

private:
    std::shared_ptr<Voice> fnGet() const { return m_pVoice; }

    std::shared_ptr<Voice> m_pVoice;
};

} // namespace

bool CqWin32WaveOut::fnCanPlay(const WAVEFORMATEX& format) {
    return fnIsConsistent(format) && m_Calls.m_Open(nullptr, WAVE_MAPPER, &format, 0, 0,
                                                    WAVE_FORMAT_QUERY) == MMSYSERR_NOERROR;
}

std::unique_ptr<CqWaveOut> CqWin32WaveOut::fnOpen(const WAVEFORMATEX& format, Done done) {
    if (!fnIsConsistent(format))
        return nullptr;
    auto out = std::make_unique<Out>(); // nothing may fail for memory once the device is open
    return out->fnOpen(m_Calls, format, std::move(done)) ? std::move(out) : nullptr;
}
