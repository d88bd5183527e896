// Resampling: pixels are counted in the source when reducing, in the target when enlarging.

#include "bench/OperationBench.h"

namespace {

struct Case {
    const char* name;
    unsigned int bits, width, height, newWidth, newHeight;
    bool filter;
};

constexpr Case kCases[] = {
    {"Filter/24/4000x3000_to_1333x1000", 24, 4000, 3000, 1333, 1000, true},
    {"Filter/8/4000x3000_to_1333x1000", 8, 4000, 3000, 1333, 1000, true},
    {"Filter/32/4000x3000_to_1333x1000", 32, 4000, 3000, 1333, 1000, true},
    {"Filter/16/4000x3000_to_1333x1000", 16, 4000, 3000, 1333, 1000, true},
    {"Filter/24/1000x750_to_4000x3000", 24, 1000, 750, 4000, 3000, true},
    {"Filter/24/4000x3000_to_4000x1000", 24, 4000, 3000, 4000, 1000, true},
    {"Filter/24/4000x3000_to_1333x3000", 24, 4000, 3000, 1333, 3000, true},
    {"Nearest/24/4000x3000_to_8000x6000", 24, 4000, 3000, 8000, 6000, false},
    {"Nearest/24/4000x3000_to_1333x1000", 24, 4000, 3000, 1333, 1000, false},
};

void fnResample(benchmark::State& state, const Case& work) {
    CqImage source(work.width, work.height, work.bits, q32GreyRamp, 256);
    q32::bench::fnPaint(source);
    for (auto _ : state) {
        state.PauseTiming();
        CqImage image(source);
        state.ResumeTiming();
        image.fnResample(work.newWidth, work.newHeight, work.filter, nullptr);
        state.PauseTiming();
        benchmark::DoNotOptimize(image.TileMap->PixelBuffer);
        image.fnAlloc(1, 1, 8, nullptr, 0);
        state.ResumeTiming();
    }
    const bool enlarges = work.newWidth > work.width;
    q32::bench::fnCountPixels(state, enlarges ? work.newWidth : work.width,
                              enlarges ? work.newHeight : work.height);
}

} // namespace

int main(int argc, char** argv) {
    q32::bench::fnAttach();
    for (const Case& work : kCases)
        benchmark::RegisterBenchmark(work.name, fnResample, work)->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    q32Detach();
}
