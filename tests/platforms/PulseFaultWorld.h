/// @file
/// Services that look for their server every 20 ms, with functions that fail on demand.
#pragma once

#include "tests/platforms/PulseFaults.h"
#include "tests/platforms/PulseWorld.h"

#include <vector>

using Values = std::vector<std::uint32_t>;

inline constexpr std::uint32_t kVolume = 1;
inline constexpr std::uint32_t kMute = 2;

inline constexpr const char* kHost = "A host of the test";

inline CqPulseOptions fnRetrying(CqPulseOptions options) {
    options.m_Retry = std::chrono::milliseconds(20);
    options.m_Patience = std::chrono::milliseconds(1000);
    options.m_szApplication = kHost;
    return options;
}

class PulseFault : public PulseTest {
protected:
    PulseFault() { s_pServer->fnRestore(); }
    ~PulseFault() override { s_pServer->fnThaw(); }

    static bool fnIsConnected(const char* application) {
        return s_pServer->fnControl({"list", "clients"}).find(application) != std::string::npos;
    }

    /// The sound heard so far, without silence.
    static std::string fnGetSamples(const SoundRecorder& recorder) {
        std::string heard = recorder.fnGetBytes();
        std::erase(heard, '\0');
        return heard;
    }

    const CqPulseOptions m_Options = fnRetrying(fnOptions());
};
