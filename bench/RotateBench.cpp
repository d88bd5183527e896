// Rotations of 4000 x 3000 pixels, counted in the source for right angles, in the target for
// others.

#include "bench/OperationBench.h"

#include <vector>

namespace {

struct Case {
    const char* name;
    unsigned int bits;
    double angle;
    bool antiAlias;
};

constexpr Case kCases[] = {
    {"Right90/8", 8, 90.0, false},         {"Right90/16", 16, 90.0, false},
    {"Right90/24", 24, 90.0, false},       {"Right90/32", 32, 90.0, false},
    {"Half180/24", 24, 180.0, false},      {"Any30/bilinear/8", 8, 30.0, true},
    {"Any30/bilinear/24", 24, 30.0, true}, {"Any30/bilinear/32", 32, 30.0, true},
    {"Any30/nearest/8", 8, 30.0, false},   {"Any30/nearest/24", 24, 30.0, false},
    {"Any30/nearest/32", 32, 30.0, false},
};

void fnRotate(benchmark::State& state, const Case& work) {
    unsigned int width = 0;
    unsigned int height = 0;
    CqImage source(4000, 3000, work.bits, q32GreyRamp, 256);
    q32::bench::fnPaint(source);
    for (auto _ : state) {
        state.PauseTiming();
        CqImage image(source);
        state.ResumeTiming();
        image.fnRotate(work.angle, CqColor(), nullptr, work.antiAlias, nullptr);
        state.PauseTiming();
        width = image.Width;
        height = image.Height;
        image.fnAlloc(1, 1, 8, nullptr, 0);
        state.ResumeTiming();
    }
    q32::bench::fnCountPixels(state, width, height);
}

struct Pixel24 {
    std::uint8_t bytes[3];
};

/// The obvious loop, from one plain picture to another whose pages have been touched: row by row
/// over the source, or over the target.
template <typename Pixel, bool kOverTarget>
void fnPlainLoops(benchmark::State& state) {
    constexpr std::size_t kWidth = 4000;
    constexpr std::size_t kHeight = 3000;
    const std::vector<Pixel> source(kWidth * kHeight, Pixel{});
    std::vector<Pixel> target(kWidth * kHeight, Pixel{});
    for (auto _ : state) {
        const auto move = [&](std::size_t x, std::size_t y) {
            target[x * kHeight + (kHeight - 1 - y)] = source[y * kWidth + x];
        };
        for (std::size_t i = 0; i < (kOverTarget ? kWidth : kHeight); ++i)
            for (std::size_t j = 0; j < (kOverTarget ? kHeight : kWidth); ++j)
                kOverTarget ? move(i, j) : move(j, i);
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    q32::bench::fnCountPixels(state, kWidth, kHeight);
}

} // namespace

int main(int argc, char** argv) {
    q32::bench::fnAttach();
    for (const Case& work : kCases)
        benchmark::RegisterBenchmark(work.name, fnRotate, work)->Unit(benchmark::kMillisecond);
    const auto plain = [](const char* name, auto* run) {
        benchmark::RegisterBenchmark(name, run)->Unit(benchmark::kMillisecond);
    };
    plain("Right90/8/plain_loops", fnPlainLoops<std::uint8_t, false>);
    plain("Right90/24/plain_loops", fnPlainLoops<Pixel24, false>);
    plain("Right90/32/plain_loops", fnPlainLoops<std::uint32_t, false>);
    plain("Right90/8/plain_target_loops", fnPlainLoops<std::uint8_t, true>);
    plain("Right90/24/plain_target_loops", fnPlainLoops<Pixel24, true>);
    plain("Right90/32/plain_target_loops", fnPlainLoops<std::uint32_t, true>);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    q32Detach();
}
