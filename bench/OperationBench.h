/// @file Shared by the benchmarks of image operations.
#pragma once

#include "platforms/posix/posix.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/q32Base.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <random>

namespace q32::bench {

/// The POSIX back end, with as many threads as the environment variable `Q32_BENCH_THREADS` says; 1
/// by default, 0 for one on each core.
inline CqPlatform fnMakePlatform() {
    const char* const threads = std::getenv("Q32_BENCH_THREADS");
    CqPosixOptions options;
    options.m_nConcurrency =
        threads ? static_cast<std::uint32_t>(std::strtoul(threads, nullptr, 10)) : 1;
    return q32PosixPlatform(options);
}

/// Attaches the library for the rest of the program, with all pixels in RAM.
inline void fnAttach() {
    if (!q32Attach(fnMakePlatform()))
        std::abort();
    q32GetVMPolicy()->fnSetRamLimit(0xFFFFFFFFu);
}

/// A slow gradient with sensor-like noise; one tenth of it is plain white.
inline void fnPaint(CqImage& image) {
    std::mt19937 random(1);
    const std::uint32_t size = image.TileMap->BufferSize;
    for (std::uint32_t i = 0; i < size; ++i)
        image.TileMap->PixelBuffer[i] = static_cast<unsigned char>(
            i % 20000 < 2000 ? 255 : 20 + (i / 5000) % 200 + random() % 16);
}

/// Reports the rate in pixels.
inline void fnCountPixels(benchmark::State& state, std::uint32_t width, std::uint32_t height) {
    state.counters["MPix/s"] = benchmark::Counter(width * static_cast<double>(height) * 1e-6,
                                                  benchmark::Counter::kIsIterationInvariantRate);
}

} // namespace q32::bench
