// Turns of 4000 x 3000 pixels, in pixels of the source for right angles, of the target for others.

#include "bench/OperationBench.h"

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

} // namespace

int main(int argc, char** argv) {
    q32::bench::fnAttach();
    for (const Case& work : kCases)
        benchmark::RegisterBenchmark(work.name, fnRotate, work)->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    q32Detach();
}
