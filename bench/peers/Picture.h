#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

/// The size of the picture used by peers and library.
inline constexpr int kWidth = 4000;
inline constexpr int kHeight = 3000;

/// A picture's random bytes, touched so that no case pays for page faults.
inline std::vector<std::uint8_t> fnPicture(int bytesPerPixel, int width = kWidth,
                                           int height = kHeight) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(width) *
                                    static_cast<std::size_t>(height) *
                                    static_cast<std::size_t>(bytesPerPixel));
    std::uint32_t state = 1;
    for (std::uint8_t& b : bytes) {
        state = state * 1664525 + 1013904223;
        b = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

/// The threads that a peer with threads of its own may use: the environment variable
/// `Q32_BENCH_THREADS`, 1 by default.
inline int fnThreads() {
    const char* const threads = std::getenv("Q32_BENCH_THREADS");
    return threads ? static_cast<int>(std::strtol(threads, nullptr, 10)) : 1;
}

/// Pixels per second.
inline void fnReport(benchmark::State& state, int width = kWidth, int height = kHeight) {
    state.SetItemsProcessed(state.iterations() * std::int64_t{width} * height);
}
