#include "platforms/pulse/CqPulseWaveOut.h"

#include "platforms/pulse/Voice_p.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

using q32::pulse::Connection;
using q32::pulse::fnGuard;
using q32::pulse::Reporter;
using q32::pulse::Voice;

struct CqPulseWaveOut::State {
    std::shared_ptr<Connection> m_pConnection;
    std::shared_ptr<Reporter> m_pReporter;        ///< created with the first device
    std::vector<std::weak_ptr<Voice>> m_Voices{}; ///< in the order of opening
};

namespace {

struct Encoding {
    WORD m_nTag;
    WORD m_nBits;
    pa_sample_format_t m_eFormat;
};

constexpr WORD kPcm = 1;
constexpr WORD kFloat = 3;
constexpr Encoding kEncodings[] = {{kPcm, 8, PA_SAMPLE_U8},
                                   {kPcm, 16, PA_SAMPLE_S16LE},
                                   {kPcm, 24, PA_SAMPLE_S24LE},
                                   {kPcm, 32, PA_SAMPLE_S32LE},
                                   {kFloat, 32, PA_SAMPLE_FLOAT32LE}};

/// Converts a format; false for one that no server plays.
bool fnTranslate(const WAVEFORMATEX& format, pa_sample_spec& spec) {
    const auto* found =
        std::find_if(std::begin(kEncodings), std::end(kEncodings), [&](const Encoding& one) {
            return one.m_nTag == format.wFormatTag && one.m_nBits == format.wBitsPerSample;
        });
    if (found == std::end(kEncodings) || format.nChannels > PA_CHANNELS_MAX)
        return false;
    spec = {found->m_eFormat, format.nSamplesPerSec, static_cast<std::uint8_t>(format.nChannels)};
    return pa_sample_spec_valid(&spec) && pa_frame_size(&spec) == format.nBlockAlign;
}

} // namespace

/// The caller's handle of a device. A report may destroy it while another thread is inside a call
/// to it, so calls continue with a copy of the pointer.
class CqPulseWaveOut::Out final : public CqWaveOut {
public:
    explicit Out(std::shared_ptr<Voice> voice) : m_pVoice(std::move(voice)) {}
    ~Out() override {
        const std::shared_ptr<Voice> voice = m_pVoice;
        voice->fnClose();
    }

    bool fnPrepare(WAVEHDR& header) override {
        return fnCall([&](const auto& voice) { return voice->fnPrepare(header); });
    }
    bool fnWrite(WAVEHDR& header) override {
        return fnCall([&](const auto& voice) { return voice->fnWrite(voice, header); });
    }
    bool fnUnprepare(WAVEHDR& header) override {
        return fnCall([&](const auto& voice) { return voice->fnUnprepare(header); });
    }
    bool fnPause() override {
        return fnCall([](const auto& voice) { return voice->fnSetPaused(true); });
    }
    bool fnRestart() override {
        return fnCall([](const auto& voice) { return voice->fnSetPaused(false); });
    }
    bool fnReset() override {
        return fnCall([](const auto& voice) {
            voice->fnReset();
            return true;
        });
    }

private:
    template <typename Call>
    bool fnCall(Call call) {
        const std::shared_ptr<Voice> voice = m_pVoice;
        return fnGuard(false, [&] { return call(voice); });
    }

    const std::shared_ptr<Voice> m_pVoice;
};

CqPulseWaveOut::CqPulseWaveOut(std::shared_ptr<Connection> connection)
    : m_pState(new State{std::move(connection), nullptr}) {}

CqPulseWaveOut::~CqPulseWaveOut() = default;

bool CqPulseWaveOut::fnCanPlay(const WAVEFORMATEX& format) {
    return fnGuard(false, [&] {
        Connection& connection = *m_pState->m_pConnection;
        const Connection::Lock lock(connection);
        pa_sample_spec spec;
        if (fnTranslate(format, spec))
            return connection.fnAskSink();
        connection.fnFail("The sound server doesn't know this format");
        return false;
    });
}

std::unique_ptr<CqWaveOut> CqPulseWaveOut::fnOpen(const WAVEFORMATEX& format, Done done) {
    return fnGuard(std::unique_ptr<CqWaveOut>(), [&]() -> std::unique_ptr<CqWaveOut> {
        if (!fnCanPlay(format))
            return nullptr;
        const Connection::Lock lock(*m_pState->m_pConnection);
        pa_sample_spec spec;
        fnTranslate(format, spec);
        if (!m_pState->m_pReporter)
            m_pState->m_pReporter = std::make_shared<Reporter>();
        auto voice = std::make_shared<Voice>(m_pState->m_pConnection, m_pState->m_pReporter, spec,
                                             std::move(done));
        std::erase_if(m_pState->m_Voices, [](const auto& one) { return one.expired(); });
        m_pState->m_Voices.push_back(voice);
        return std::make_unique<Out>(std::move(voice));
    });
}

std::uint64_t CqPulseWaveOut::fnGetPosition() const {
    std::shared_ptr<Voice> voice; // destroyed after the lock is released
    const Connection::Lock lock(*m_pState->m_pConnection);
    std::uint64_t position = 0;
    for (const std::weak_ptr<Voice>& one : m_pState->m_Voices) {
        voice = one.lock();
        if (voice && voice->fnReadPosition(position))
            return position;
    }
    return 0;
}

std::string CqPulseWaveOut::fnGetError() const {
    const Connection::Lock lock(*m_pState->m_pConnection);
    return m_pState->m_pConnection->fnGetError();
}
