/// @file What the sound server gets is what was played. scripts/test-windows records between the
/// two tests.

#include "platforms/win32/win32.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
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

TEST(Win32Sound, Plays) {
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
    while (!ended)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_TRUE(device->fnUnprepare(header));
    // A block has ended when the server has it; what it hasn't played yet would go with the device.
    std::this_thread::sleep_for(std::chrono::seconds(2));
}

TEST(Win32Sound, WasRecorded) {
    const char* path = std::getenv("Q32_TEST_RECORDING");
    ASSERT_NE(path, nullptr) << "scripts/test-windows records";
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const auto* heard = reinterpret_cast<const std::int16_t*>(bytes.data());
    const std::size_t count = bytes.size() / 2;
    const std::vector<std::int16_t> sound = fnMakeSound();
    const auto* const end = heard + count;
    const auto* const begin = std::find_if(heard, end, [](std::int16_t s) { return s != 0; });
    ASSERT_GE(static_cast<std::size_t>(end - begin), sound.size());
    const auto difference = std::mismatch(sound.begin(), sound.end(), begin);
    EXPECT_EQ(difference.first - sound.begin(), 2 * static_cast<std::ptrdiff_t>(kFrames));
    EXPECT_TRUE(std::all_of(difference.second, end, [](std::int16_t s) { return s == 0; }));
}

} // namespace
