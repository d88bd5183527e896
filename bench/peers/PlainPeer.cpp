// Plain loops, as one writes them at first. One thread.

#include "Picture.h"

#include <array>
#include <cstring>

namespace {

/// The nearest pixels: the columns from a table, and a row again where the source's is the same.
void fnNearest(benchmark::State& state, int width, int height) {
    const auto source = fnPicture(3);
    auto target = fnPicture(3, width, height);
    std::vector<std::size_t> columns(static_cast<std::size_t>(width));
    for (std::size_t x = 0; x < columns.size(); ++x)
        columns[x] = x * kWidth / columns.size() * 3;
    const std::size_t row = columns.size() * 3;
    for ([[maybe_unused]] auto _ : state) {
        int last = -1;
        for (int y = 0; y < height; ++y) {
            const int from = static_cast<int>(std::int64_t{y} * kHeight / height);
            std::uint8_t* out = target.data() + static_cast<std::size_t>(y) * row;
            if (from == last) {
                std::memcpy(out, out - row, row);
                continue;
            }
            const std::uint8_t* in = source.data() + static_cast<std::size_t>(from) * kWidth * 3;
            for (const std::size_t column : columns) {
                out[0] = in[column];
                out[1] = in[column + 1];
                out[2] = in[column + 2];
                out += 3;
            }
            last = from;
        }
        benchmark::ClobberMemory();
    }
    fnReport(state, width > kWidth ? width : kWidth, height > kHeight ? height : kHeight);
}

/// 24 bits to the bytes of a screen of 32 bits, each channel by a table.
void fnDrawGamma(benchmark::State& state) {
    const auto source = fnPicture(3);
    auto target = fnPicture(4);
    std::array<std::uint8_t, 256> table;
    for (unsigned i = 0; i < 256; ++i)
        table[i] = static_cast<std::uint8_t>(i ^ 1u);
    for ([[maybe_unused]] auto _ : state) {
        const std::uint8_t* in = source.data();
        std::uint8_t* out = target.data();
        for (int i = 0; i < kWidth * kHeight; ++i, in += 3, out += 4) {
            out[0] = table[in[2]];
            out[1] = table[in[1]];
            out[2] = table[in[0]];
            out[3] = 0;
        }
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

BENCHMARK_CAPTURE(fnNearest, fnResample_24_nearest_third, 1333, 1000);
BENCHMARK_CAPTURE(fnNearest, fnResample_24_nearest_times_2, 8000, 6000);
BENCHMARK(fnDrawGamma);

} // namespace

BENCHMARK_MAIN();
