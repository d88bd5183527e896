// Sounds in the memory of the POSIX back end: an hour of 48 kHz stereo as an oscillogram of 1000
// columns, and loading and copying 64 MiB, compared with a plain copy of as many bytes.
//
// "faults" are the page faults of the first drawing of untouched samples; the picture's own pages
// are already mapped.

#include "platforms/headless/headless.h"
#include "platforms/posix/posix.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/module/Module.h"
#include "q32Base/sound/CqWave.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/resource.h>

namespace {

constexpr std::uint32_t kRate = 48000;
constexpr std::uint32_t kHour = 3600 * kRate;
constexpr std::uint32_t kColumns = 1000;
constexpr std::uint32_t kRows = 400;
constexpr std::uint32_t kCopyBytes = 64u << 20;
constexpr WORD kResource = 1;

/// The library, with sounds in RAM or in scratch files.
class Library {
public:
    explicit Library(bool inRam = true) {
        CqPlatform platform = q32PosixPlatform();
        platform.m_pResources = m_World->m_pResources;
        if (!q32Attach(platform))
            std::abort();
        q32GetVMPolicy()->fnSetRamLimit(inRam ? 0xFFFFFFFFu : 0);
    }
    ~Library() { q32Detach(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    void fnAddResource(std::uint32_t size) {
        std::string image(44 + std::size_t{size}, '\1');
        const WAVEFORMATEX format = {1, 2, kRate, 4 * kRate, 4, 16, 0};
        std::memcpy(&image[8], "WAVE", 4);
        std::memcpy(&image[20], &format, 16);
        std::memcpy(&image[40], &size, 4);
        CqHeadlessResources& resources = *m_World->m_pResources;
        resources.fnAdd(resources.fnGetHostModule(), "WAVE", kResource, image);
    }

private:
    std::shared_ptr<CqHeadlessWorld> m_World = q32HeadlessWorld();
};

void fnNoise(CqWave& wave) {
    std::uint32_t state = 1;
    for (std::uint32_t i = 0; i < wave.fnGetBufferSize(); i += 4) {
        state = state * 1664525 + 1013904223;
        std::memcpy(wave.fnGetBuffer() + i, &state, 4);
    }
}

long fnFaults() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt + usage.ru_majflt;
}

/// @param state  1 for RAM, 0 for a scratch file; bits per pixel
void fnOscillogram(benchmark::State& state) {
    const Library library(state.range(0) != 0);
    CqWave wave(2, 16, kRate, kHour, false);
    CqImage image(kColumns, kRows, static_cast<unsigned int>(state.range(1)), nullptr, 0u);
    CqWave(2, 16, kRate, 1, true).fnRasterize(image, 0, 1, false, false);
    const long before = fnFaults();
    wave.fnRasterize(image, 0, kHour, false, false);
    state.counters["faults"] = static_cast<double>(fnFaults() - before);
    fnNoise(wave);
    for (auto _ : state)
        wave.fnRasterize(image, 0, kHour, false, false);
}

template <typename Work>
void fnMeasure(benchmark::State& state, const Work& work) {
    for (auto _ : state) {
        work();
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * kCopyBytes);
}

void fnMemcpy(benchmark::State& state) {
    const std::string from(kCopyBytes, '\1');
    std::string to(kCopyBytes, '\2');
    fnMeasure(state, [&] { std::memcpy(to.data(), from.data(), kCopyBytes); });
}

/// Into a freshly allocated block, as loading and copying require.
void fnMemcpyFresh(benchmark::State& state) {
    const std::string from(kCopyBytes, '\1');
    const CqPlatform platform = q32PosixPlatform();
    CqMemoryService& memory = *platform.m_pMemory;
    fnMeasure(state, [&] {
        void* to = memory.fnReserve(kCopyBytes);
        if (!memory.fnCommit(to, kCopyBytes))
            std::abort();
        std::memcpy(to, from.data(), kCopyBytes);
        memory.fnDecommit(to, kCopyBytes);
        memory.fnRelease(to, kCopyBytes);
    });
}

void fnFillBuffer(benchmark::State& state) {
    const Library library;
    std::string from(kCopyBytes, '\1');
    CqWave wave(2, 16, kRate, kCopyBytes / 4, true);
    fnMeasure(state, [&] {
        wave.fnFillBuffer(reinterpret_cast<unsigned char*>(from.data()), kCopyBytes / 4);
    });
}

void fnMute(benchmark::State& state) {
    const Library library;
    CqWave wave(2, 16, kRate, kCopyBytes / 4, true);
    fnMeasure(state, [&] { wave.fnMute(); });
}

void fnLoad(benchmark::State& state) {
    Library library;
    library.fnAddResource(kCopyBytes);
    fnMeasure(state, [] { const CqWave wave(static_cast<unsigned int>(kResource)); });
}

void fnCopy(benchmark::State& state) {
    const Library library;
    CqWave wave(2, 16, kRate, kCopyBytes / 4, true);
    fnMeasure(state, [&] { const CqWave copy(wave); });
}

BENCHMARK(fnOscillogram)->ArgsProduct({{1, 0}, {8, 24}})->Unit(benchmark::kMicrosecond);
BENCHMARK(fnMemcpy)->Unit(benchmark::kMillisecond);
BENCHMARK(fnFillBuffer)->Unit(benchmark::kMillisecond);
BENCHMARK(fnMute)->Unit(benchmark::kMillisecond);
BENCHMARK(fnMemcpyFresh)->Unit(benchmark::kMillisecond);
BENCHMARK(fnLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(fnCopy)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
