#pragma once

#include "platforms/pulse/pulse.h"
#include "tests/support/Await.h"
#include "tests/support/SoundServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <string>

inline constexpr WAVEFORMATEX kSinkFormat{1, 2, 44100, 176400, 4, 16, 0};
inline constexpr std::size_t kBytesPerMs = 176; ///< rounded down

/// Tests that share one server.
class PulseTest : public testing::Test {
protected:
    static void SetUpTestSuite() { s_pServer = std::make_unique<SoundServer>(); }
    static void TearDownTestSuite() { s_pServer.reset(); }

    static CqPulseOptions fnOptions() {
        CqPulseOptions options;
        options.m_szServer = s_pServer->fnGetAddress();
        options.m_Latency = std::chrono::milliseconds(50);
        return options;
    }

    static inline std::unique_ptr<SoundServer> s_pServer;
};

/// A prepared sound for a device, without a sample of silence.
struct TestSound {
    explicit TestSound(std::size_t bytes, unsigned seed = 1) : m_Samples(bytes, '\0') {
        for (char& sample : m_Samples) {
            seed = seed * 1664525u + 1013904223u;
            sample = static_cast<char>(1 + (seed >> 24) % 255);
        }
        m_Header.lpData = m_Samples.data();
        m_Header.dwBufferLength = static_cast<DWORD>(bytes);
    }

    bool fnOpen(CqWaveOutService& service, const WAVEFORMATEX& format = kSinkFormat) {
        m_pDevice = service.fnOpen(format, [this](WAVEHDR& header) {
            EXPECT_EQ(&header, &m_Header);
            EXPECT_NE(std::this_thread::get_id(), m_Here);
            ++m_nReports;
        });
        return m_pDevice && m_pDevice->fnPrepare(m_Header);
    }
    bool fnStart(CqWaveOutService& service) {
        return fnOpen(service) && m_pDevice->fnWrite(m_Header);
    }
    void fnLoop(DWORD times) {
        m_Header.dwFlags |= 12;
        m_Header.dwLoops = times;
    }
    bool fnAwaitEnd(int reports = 1) {
        return fnAwait([&] { return m_nReports >= reports; });
    }

    std::string m_Samples;
    WAVEHDR m_Header{};
    std::atomic<int> m_nReports{0};
    const std::thread::id m_Here = std::this_thread::get_id();
    std::unique_ptr<CqWaveOut> m_pDevice; ///< destroyed before what it plays
};

/// The recording without the silence before and after it. No sample of the tests is silent, so
/// that silence within it is a run of zeros.
inline std::string fnTrim(const std::string& bytes) {
    const std::size_t first = bytes.find_first_not_of('\0');
    const std::size_t last = bytes.find_last_not_of('\0');
    return first == std::string::npos ? "" : bytes.substr(first, last - first + 1);
}

/// The number of occurrences of `piece`.
inline int fnCount(const std::string& bytes, const std::string& piece) {
    int count = 0;
    for (std::size_t at = 0; (at = bytes.find(piece, at)) != std::string::npos; ++at)
        ++count;
    return count;
}
