// The pixel operations over pictures of 4000 x 3000, compared with memset and memcpy of as many
// bytes.
//
// Pictures are in RAM of the POSIX back end, as in a host. "moved" means that the tile edges of
// source and target don't coincide.

#include "bench/OperationBench.h"
#include "q32Base/framework/CRgn.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/q32Base.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr std::uint32_t kWidth = 4000;
constexpr std::uint32_t kHeight = 3000;

std::uint32_t fnRandom() {
    static std::uint32_t state = 1;
    state = state * 1664525 + 1013904223;
    return state >> 8;
}

std::unique_ptr<CqImage> fnPicture(unsigned int bits, std::uint32_t width = kWidth,
                                   std::uint32_t height = kHeight) {
    auto image = std::make_unique<CqImage>(width, height, bits, nullptr, 0u);
    for (std::uint32_t i = 0; i < image->TileMap->BufferSize; ++i)
        image->TileMap->PixelBuffer[i] = static_cast<unsigned char>(fnRandom());
    return image;
}

void fnCount(benchmark::State& state, double pixels, double bytes) {
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["MPix/s"] =
        benchmark::Counter(rounds * pixels / 1e6, benchmark::Counter::kIsRate);
    state.SetBytesProcessed(static_cast<std::int64_t>(rounds * bytes));
}

void fnCountPicture(benchmark::State& state, double bytesPerPixel) {
    constexpr double kPixels = double{kWidth} * kHeight;
    fnCount(state, kPixels, kPixels * bytesPerPixel);
}

double fnBytes(const benchmark::State& state) {
    return static_cast<double>(state.range(0)) / 8;
}

unsigned int fnBits(const benchmark::State& state) {
    return static_cast<unsigned int>(state.range(0));
}

void fnMemset(benchmark::State& state) {
    const auto image = fnPicture(fnBits(state));
    for (auto _ : state) {
        std::memset(image->TileMap->PixelBuffer, 77, image->TileMap->BufferSize);
        benchmark::ClobberMemory();
    }
    fnCountPicture(state, fnBytes(state));
}

void fnMemcpy(benchmark::State& state) {
    const auto image = fnPicture(fnBits(state));
    const auto source = fnPicture(fnBits(state));
    for (auto _ : state) {
        std::memcpy(image->TileMap->PixelBuffer, source->TileMap->PixelBuffer,
                    image->TileMap->BufferSize);
        benchmark::ClobberMemory();
    }
    fnCountPicture(state, 2 * fnBytes(state));
}

void fnFillWhole(benchmark::State& state) {
    const auto image = fnPicture(fnBits(state));
    for (auto _ : state)
        image->fnFill(CqColor(1, 2, 3, 4), nullptr, false);
    fnCountPicture(state, fnBytes(state));
}

void fnFillRect(benchmark::State& state) {
    const auto image = fnPicture(fnBits(state));
    const CRect rect(1, 1, kWidth - 1, kHeight - 1);
    for (auto _ : state)
        image->fnFill(CqColor(1, 2, 3, 4), &rect, false);
    fnCountPicture(state, fnBytes(state));
}

/// Argument 1: the side of the pattern.
void fnFillPattern(benchmark::State& state) {
    const auto image = fnPicture(fnBits(state));
    const auto side = static_cast<std::uint32_t>(state.range(1));
    const auto pattern = fnPicture(fnBits(state), side, side);
    for (auto _ : state)
        image->fnFill(*pattern, nullptr, nullptr);
    fnCountPicture(state, fnBytes(state));
}

/// Argument 1: the displacement of the copy.
void fnCopyBlock(benchmark::State& state) {
    const auto image = fnPicture(fnBits(state));
    const auto source = fnPicture(fnBits(state));
    const auto by = static_cast<int>(state.range(1));
    const CRect rect(0, 0, static_cast<int>(kWidth) - by, static_cast<int>(kHeight) - by);
    for (auto _ : state)
        image->fnCopyBlock(*source, &rect, by, by);
    fnCountPicture(state, 2 * fnBytes(state));
}

/// Argument 1: the rule; argument 2: the displacement of the source.
void fnMerge(benchmark::State& state) {
    const auto image = fnPicture(fnBits(state));
    const auto source = fnPicture(fnBits(state));
    CqMask mask(kWidth, kHeight);
    for (std::uint32_t i = 0; i < mask.TileMap->BufferSize; ++i)
        mask.TileMap->PixelBuffer[i] = static_cast<unsigned char>(fnRandom());
    const auto by = static_cast<int>(state.range(2));
    const CqMergeParam param(static_cast<MERGE_TYPE>(state.range(1)), 0x030201, &mask);
    for (auto _ : state)
        image->fnMerge(*source, nullptr, param, by, by);
    fnCountPicture(state, 3 * fnBytes(state) + (state.range(1) == MERGE_MASK ? 1 : 0));
}

/// Argument 0: add; argument 1: the displacement of the other mask. A new bitmap is made each time.
/// The other mask is one column and one row smaller: a mask that is covered completely would only
/// be marked empty.
void fnMask(benchmark::State& state) {
    CqMask own(kWidth, kHeight);
    CqMask other(kWidth - 1, kHeight - 1);
    for (CqMask* mask : {&own, &other})
        for (std::uint32_t i = 0; i < mask->TileMap->BufferSize; ++i)
            mask->TileMap->PixelBuffer[i] = static_cast<unsigned char>(fnRandom());
    const auto by = static_cast<int>(state.range(1));
    other.fnSetPos(CPoint(by, by));
    const CRect place = own.m_rectBound;
    for (auto _ : state) {
        own.fnMerge(other, state.range(0) != 0);
        state.PauseTiming();
        if (!(own.m_rectBound == place)) { // it has grown
            own.fnAlloc(kWidth, kHeight);
            std::memset(own.TileMap->PixelBuffer, 1, own.TileMap->BufferSize);
        }
        state.ResumeTiming();
    }
    fnCountPicture(state, 3);
}

/// The kernels alone, over bytes that stay in the cache. Argument 0: add.
void fnMaskKernel(benchmark::State& state) {
    constexpr std::size_t kPixels = 8192;
    std::vector<std::uint8_t> own(kPixels, 1);
    const std::vector<std::uint8_t> other(kPixels, 3);
    const q32::Kernels& kernels = q32::fnKernels();
    const q32::MaskSumRun run = state.range(0) != 0 ? kernels.fnMaskAdd : kernels.fnMaskSubtract;
    for (auto _ : state) {
        run(own.data(), other.data(), own.data(), kPixels);
        benchmark::ClobberMemory();
    }
    fnCount(state, kPixels, 3 * kPixels);
}

/// 100,000 lines between random points of 2000 x 2000. Argument 0: depth in bits.
void fnLines(benchmark::State& state) {
    const auto image = fnPicture(fnBits(state), 2000, 2000);
    struct Segment {
        int m_Ends[4];
    };
    std::vector<Segment> segments(100000);
    double points = 0;
    for (Segment& segment : segments) {
        for (int& end : segment.m_Ends)
            end = static_cast<int>(fnRandom() % 2000);
        const auto& [x0, y0, x1, y1] = segment.m_Ends;
        points += 1 + std::max(std::abs(x1 - x0), std::abs(y1 - y0));
    }
    for (auto _ : state)
        for (const auto& [ends] : segments)
            image->fnDrawLine(ends[0], ends[1], ends[2], ends[3], CqColor(1, 2, 3, 4), false);
    fnCount(state, points, points * fnBytes(state));
}

/// Noise in two colours. Argument 0: the side.
void fnRegionOfNoise(benchmark::State& state) {
    const auto side = static_cast<std::uint32_t>(state.range(0));
    CqImage image(side, side, 8, q32GreyRamp, 256);
    for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
        image.TileMap->PixelBuffer[i] = fnRandom() & 1 ? 3 : 4;
    for (auto _ : state) {
        CRgn region;
        image.fnCreateRgn(0x030303, region);
    }
    fnCount(state, double{1} * side * side, double{1} * side * side);
}

void fnReport(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)
        ->ComputeStatistics("max", [](const std::vector<double>& values) {
            return *std::max_element(values.begin(), values.end());
        });
}

void fnAddDepths(benchmark::internal::Benchmark* bench) {
    for (const int bits : {8, 16, 24, 32})
        bench->Arg(bits);
}

void fnAddMoves(benchmark::internal::Benchmark* bench) {
    for (const int bits : {8, 16, 24, 32})
        for (const int by : {0, 37})
            bench->Args({bits, by});
}

BENCHMARK(fnMemset)->Name("memset")->Apply(fnReport)->Apply(fnAddDepths);
BENCHMARK(fnFillWhole)->Name("fill")->Apply(fnReport)->Apply(fnAddDepths);
BENCHMARK(fnFillRect)->Name("fill rectangle")->Apply(fnReport)->Apply(fnAddDepths);
BENCHMARK(fnFillPattern)
    ->Name("pattern")
    ->Apply(fnReport)
    ->ArgsProduct({{8, 24, 32}, {8, 50, 300}});
BENCHMARK(fnMemcpy)->Name("memcpy")->Apply(fnReport)->Apply(fnAddDepths);
BENCHMARK(fnCopyBlock)->Name("copy")->Apply(fnReport)->Apply(fnAddMoves);
BENCHMARK(fnMerge)->Name("merge")->Apply(fnReport)->ArgsProduct(
    {{16, 24}, {MERGE_KEY, MERGE_MASK, MERGE_ALPHA}, {0, 37}});
BENCHMARK(fnMask)->Name("mask")->Apply(fnReport)->ArgsProduct({{0, 1}, {0, 37}});
BENCHMARK(fnMaskKernel)->Name("mask in cache")->Apply(fnReport)->Arg(0)->Arg(1);
BENCHMARK(fnLines)->Name("lines")->Apply(fnReport)->Apply(fnAddDepths);
BENCHMARK(fnRegionOfNoise)
    ->Name("region of noise")
    ->Apply(fnReport)
    ->Arg(1000)
    ->Arg(2000)
    ->Arg(4000);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv) ||
        !q32Attach(q32::bench::fnMakePlatform()))
        return 1;
    q32GetVMPolicy()->fnSetRamLimit(0xFFFFFFFFu);
    benchmark::RunSpecifiedBenchmarks();
    q32Detach();
    return 0;
}
