// Tone adjustments of a picture of 4000 x 3000 in RAM, compared with a copy of its bytes.

#include "bench/OperationBench.h"
#include "platforms/headless/headless.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/module/Module.h"
#include "q32Base/operations/Histogram.h"
#include "q32Base/operations/ToneApply.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr std::uint32_t kWidth = 4000;
constexpr std::uint32_t kHeight = 3000;

/// The library with one picture of noise.
class Stage {
public:
    explicit Stage(unsigned bits) {
        CqPlatform platform = q32HeadlessPlatform();
        platform.m_pWork = q32::bench::fnMakePlatform().m_pWork;
        q32Attach(platform);
        q32GetVMPolicy()->fnSetRamLimit(0xFFFFFFFFu);
        m_pImage = std::make_unique<CqImage>(kWidth, kHeight, bits, nullptr, 0u);
        std::uint32_t state = 1;
        unsigned char* out = m_pImage->TileMap->PixelBuffer;
        for (std::uint32_t i = 0; i < m_pImage->TileMap->BufferSize; ++i) {
            state = state * 1664525 + 1013904223;
            out[i] = static_cast<unsigned char>(state >> 24);
        }
    }
    ~Stage() {
        m_pImage.reset();
        q32Detach();
    }

    std::unique_ptr<CqImage> m_pImage;
};

template <typename Work>
void fnMeasure(benchmark::State& state, Work work) {
    const Stage stage(static_cast<unsigned>(state.range(0)));
    for (auto _ : state)
        work(*stage.m_pImage);
    state.counters["pixels"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kWidth * kHeight, benchmark::Counter::kIsRate);
}

/// The baseline: the bytes of a picture copied into a block of the same size.
void fnCopy(benchmark::State& state) {
    std::vector<unsigned char> target(std::size_t{kWidth} * kHeight * 4);
    fnMeasure(state, [&](CqImage& image) {
        std::memcpy(target.data(), image.TileMap->PixelBuffer, image.TileMap->BufferSize);
        benchmark::ClobberMemory();
    });
}

void fnBrightContrast(benchmark::State& state) {
    fnMeasure(state, [](CqImage& image) { image.fnBrightContrast(10, -5, false, nullptr); });
}

void fnColorBalance(benchmark::State& state) {
    fnMeasure(state, [](CqImage& image) { image.fnColorBalance(10, -5, 3, false, nullptr); });
}

void fnHueSaturation(benchmark::State& state) {
    fnMeasure(state, [](CqImage& image) { image.fnHueSaturation(10, 0, false, nullptr); });
}

void fnThresholding(benchmark::State& state) {
    fnMeasure(state, [](CqImage& image) { image.fnThresholding(128, false, nullptr); });
}

void fnToneCurves(benchmark::State& state) {
    CqToneCurves curves;
    for (std::size_t i = 0; i < 256; ++i) {
        curves.m_Red[i] = static_cast<unsigned char>(255 - i);
        curves.m_Green[i] = static_cast<unsigned char>(i * i / 255);
        curves.m_Blue[i] = static_cast<unsigned char>(i);
    }
    fnMeasure(state, [&](CqImage& image) { q32ApplyToneCurves(image, nullptr, curves, nullptr); });
}

/// The same number of pixels, of one value if the second argument is set.
void fnHistogram(benchmark::State& state) {
    const Stage stage(static_cast<unsigned>(state.range(0)));
    if (state.range(1) != 0)
        std::memset(stage.m_pImage->TileMap->PixelBuffer, 200, stage.m_pImage->TileMap->BufferSize);
    CqHistogram histogram;
    for (auto _ : state) {
        q32CountHistogram(*stage.m_pImage, nullptr, nullptr, histogram, nullptr);
        benchmark::DoNotOptimize(histogram);
    }
    state.counters["pixels"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kWidth * kHeight, benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(fnCopy)->ArgName("image")->Arg(24)->Unit(benchmark::kMillisecond);
BENCHMARK(fnBrightContrast)
    ->ArgName("image")
    ->Arg(8)
    ->Arg(16)
    ->Arg(24)
    ->Arg(32)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(fnColorBalance)
    ->ArgName("image")
    ->Arg(16)
    ->Arg(24)
    ->Arg(32)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(fnHueSaturation)
    ->ArgName("image")
    ->Arg(16)
    ->Arg(24)
    ->Arg(32)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(fnThresholding)->ArgName("image")->Arg(24)->Unit(benchmark::kMillisecond);
BENCHMARK(fnToneCurves)->ArgName("image")->Arg(24)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(fnHistogram)
    ->ArgNames({"image", "flat"})
    ->ArgsProduct({{24, 32}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
