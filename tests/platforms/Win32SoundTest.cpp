/// @file What the sound server gets is what was played, and its volume is that of the mixer.
/// scripts/test-windows records meanwhile.

#include "platforms/win32/win32.h"
#include "tests/support/Await.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr WAVEFORMATEX kFormat{WAVE_FORMAT_PCM, 2, 44100, 176400, 4, 16, 0};
constexpr std::size_t kFrames = 15000;
constexpr std::size_t kSilentFrames = 15000; ///< ahead of the sound

/// Noise that begins and ends with a loud sample, so that its place in silence is known.
std::vector<std::int16_t> fnMakeSound() {
    std::vector<std::int16_t> samples(2 * kFrames);
    std::uint32_t state = 12345;
    for (std::int16_t& sample : samples) {
        state = state * 1664525 + 1013904223;
        sample = static_cast<std::int16_t>(static_cast<int>(state >> 16) - 32768);
    }
    samples.front() = samples.back() = 30001;
    return samples;
}

/// The samples that scripts/test-windows has recorded so far, from the first one that isn't
/// silence.
std::vector<std::int16_t> fnGetRecorded() {
    const char* path = std::getenv("Q32_TEST_RECORDING");
    std::ifstream file(path ? path : "", std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::vector<std::int16_t> samples(bytes.size() / 2);
    std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
    samples.erase(samples.begin(), std::ranges::find_if(samples, [](int s) { return s != 0; }));
    return samples;
}

TEST(Win32Sound, WhatIsRecordedIsWhatWasPlayed) {
    ASSERT_NE(std::getenv("Q32_TEST_RECORDING"), nullptr) << "scripts/test-windows records";
    const CqPlatform platform = q32Win32Platform(q32Win32Windows());
    std::atomic<bool> ended{false};
    // Wine starts the server's clock before it has sent anything: what comes first may be too late.
    std::vector<std::int16_t> samples(2 * kSilentFrames);
    const std::vector<std::int16_t> sound = fnMakeSound();
    samples.insert(samples.end(), sound.begin(), sound.end());
    WAVEHDR header{};
    header.lpData = reinterpret_cast<char*>(samples.data());
    header.dwBufferLength = static_cast<DWORD>(samples.size() * 2);
    const auto device = platform.m_pWaveOut->fnOpen(kFormat, [&](WAVEHDR&) { ended = true; });
    ASSERT_NE(device, nullptr);
    ASSERT_TRUE(device->fnPrepare(header) && device->fnWrite(header));
    EXPECT_TRUE(fnAwait([&] { return ended.load(); }));
    EXPECT_TRUE(device->fnUnprepare(header));
    // A block has ended when the server has it. What it hasn't played yet would go with the device.
    std::vector<std::int16_t> heard;
    EXPECT_TRUE(fnAwait([&] {
        heard = fnGetRecorded();
        return heard.size() >= sound.size();
    }));
    ASSERT_GE(heard.size(), sound.size());
    const auto difference = std::ranges::mismatch(sound, heard);
    EXPECT_EQ(difference.in1 - sound.begin(), 2 * static_cast<std::ptrdiff_t>(kFrames));
    EXPECT_TRUE(std::all_of(difference.in2, heard.end(), [](int s) { return s == 0; }));
}

/// The mixer of the sound server's output.
class Win32Mixer : public testing::Test {
protected:
    void SetUp() override {
        for (std::uint32_t i = 0; i < m_Platform.m_pMixers->fnGetCount() && !m_pMixer; ++i) {
            m_pMixer = m_Platform.m_pMixers->fnOpen(
                i, [this](std::uint32_t control) { m_Changed.push_back(control); });
            if (m_pMixer && !m_pMixer->fnFindSpeakerLine(m_Line))
                m_pMixer.reset();
        }
        ASSERT_NE(m_pMixer, nullptr);
    }
    std::uint32_t fnFind(CQ_MIXER_CONTROL type) {
        std::uint32_t id = 0;
        return m_pMixer->fnFindControl(m_Line.m_nLineId, type, id) ? id : 0;
    }
    std::uint32_t fnGet(std::uint32_t control) {
        std::vector<std::uint32_t> values(1);
        EXPECT_TRUE(m_pMixer->fnGetValues(control, 1, values));
        return values[0];
    }
    /// Handles messages until a change of the control is reported.
    bool fnAwaitChange(std::uint32_t control) {
        return fnAwait([&] { return std::ranges::count(m_Changed, control) > 0; },
                       [] {
                           MSG message;
                           while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
                               ::DispatchMessageW(&message);
                       });
    }

    const CqPlatform m_Platform = q32Win32Platform(q32Win32Windows());
    std::unique_ptr<CqMixer> m_pMixer;
    CqMixerLine m_Line;
    std::vector<std::uint32_t> m_Changed;
};

TEST_F(Win32Mixer, TheServersVolumeIsSetReadAndReported) {
    EXPECT_EQ(m_Line.m_nChannels, 2u);
    const std::uint32_t volume = fnFind(CQ_MIXER_CONTROL::VOLUME);
    ASSERT_NE(volume, 0u);
    for (const std::uint32_t value : {0x4000u, 0xC000u, 0xFFFFu}) {
        m_Changed.clear();
        ASSERT_TRUE(m_pMixer->fnSetValues(volume, 1, {value}));
        EXPECT_NEAR(fnGet(volume), value, 1); // Wine rounds
        EXPECT_TRUE(fnAwaitChange(volume));
    }
}

TEST_F(Win32Mixer, TheServersOutputIsMuted) {
    const std::uint32_t mute = fnFind(CQ_MIXER_CONTROL::MUTE);
    ASSERT_NE(mute, 0u);
    for (const std::uint32_t value : {1u, 0u}) {
        m_Changed.clear();
        ASSERT_TRUE(m_pMixer->fnSetValues(mute, 1, {value}));
        EXPECT_EQ(fnGet(mute), value);
        EXPECT_TRUE(fnAwaitChange(mute));
    }
}

TEST_F(Win32Mixer, WhatTheServerLacksIsNotFound) {
    EXPECT_EQ(fnFind(CQ_MIXER_CONTROL::BASS), 0u);
    EXPECT_EQ(fnFind(CQ_MIXER_CONTROL::TREBLE), 0u);
    std::vector<std::uint32_t> values(1);
    EXPECT_FALSE(m_pMixer->fnGetValues(0, 1, values));
    EXPECT_EQ(m_Platform.m_pMixers->fnOpen(m_Platform.m_pMixers->fnGetCount(), {}), nullptr);
}

} // namespace
