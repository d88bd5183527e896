// Rows, tiles, depth conversion and bitmaps of a picture of 4000 x 3000, compared with a copy of
// the same bytes. Pictures are in RAM, or in a scratch file where a case says so.

#include "bench/OperationBench.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/q32Base.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace {

constexpr std::uint32_t kWidth = 4000;
constexpr std::uint32_t kHeight = 3000;

/// The library on the real platform; pictures are in RAM or in a scratch file.
class Stage {
public:
    explicit Stage(bool scratch = false) {
        q32Attach(q32::bench::fnMakePlatform());
        q32GetVMPolicy()->fnSetRamLimit(scratch ? 0 : 0xFFFFFFFFu);
    }
    ~Stage() { q32Detach(); }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;
};

std::unique_ptr<CqImage> fnMakePicture(std::uint32_t bits) {
    auto image = std::make_unique<CqImage>(kWidth, kHeight, bits, nullptr, 0u);
    std::uint32_t state = 1;
    for (std::uint32_t i = 0; i < image->TileMap->BufferSize; ++i) {
        state = state * 1664525 + 1013904223;
        image->TileMap->PixelBuffer[i] = static_cast<unsigned char>(state >> 24);
    }
    return image;
}

void fnReport(benchmark::State& state, std::uint64_t bytes) {
    state.SetItemsProcessed(state.iterations() * std::int64_t{kWidth} * kHeight);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void fnCopyBytes(benchmark::State& state) {
    const Stage stage;
    const auto from = fnMakePicture(static_cast<std::uint32_t>(state.range(0)));
    const auto to = fnMakePicture(static_cast<std::uint32_t>(state.range(0)));
    const std::size_t bytes = from->TileMap->BufferSize;
    for (auto _ : state) {
        std::memcpy(to->TileMap->PixelBuffer, from->TileMap->PixelBuffer, bytes);
        benchmark::ClobberMemory();
    }
    fnReport(state, bytes);
}

void fnFetchRows(benchmark::State& state) {
    const Stage stage;
    const auto image = fnMakePicture(static_cast<std::uint32_t>(state.range(0)));
    for (auto _ : state) {
        CqImageLine line;
        for (std::uint32_t y = 0; y < kHeight; ++y) {
            image->fnAccessLine(y, &line, true);
            benchmark::DoNotOptimize(line.LineBuffer);
        }
    }
    fnReport(state, image->TileMap->BufferSize);
}

void fnFetchAndFlushRows(benchmark::State& state) {
    const Stage stage(state.range(1) != 0);
    const auto image = fnMakePicture(static_cast<std::uint32_t>(state.range(0)));
    for (auto _ : state) {
        CqImageLine line;
        for (std::uint32_t y = 0; y < kHeight; ++y) {
            image->fnAccessLine(y, &line, false);
            benchmark::DoNotOptimize(line.LineBuffer);
        }
    }
    fnReport(state, 2ull * image->TileMap->BufferSize);
}

void fnCopyTiles(benchmark::State& state) {
    const Stage stage;
    const auto from = fnMakePicture(static_cast<std::uint32_t>(state.range(0)));
    const auto to = fnMakePicture(static_cast<std::uint32_t>(state.range(0)));
    for (auto _ : state) {
        CqImageTile source;
        CqImageTile target;
        for (std::uint32_t i = 0; i < from->TileCount; ++i) {
            from->fnAccessTile(i, &source);
            to->fnAccessTile(i, &target);
            target.fnCopy(source);
        }
        benchmark::ClobberMemory();
    }
    fnReport(state, from->TileMap->BufferSize);
}

void fnConvertDepth(benchmark::State& state) {
    const Stage stage;
    const auto source = fnMakePicture(static_cast<std::uint32_t>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        CqImage image(*source);
        state.ResumeTiming();
        image.fnConvert(static_cast<unsigned int>(state.range(1)), true, nullptr);
        benchmark::DoNotOptimize(image.TileMap);
    }
    fnReport(state, source->TileMap->BufferSize);
}

void fnDibOut(benchmark::State& state) {
    const Stage stage;
    const auto image = fnMakePicture(static_cast<std::uint32_t>(state.range(0)));
    for (auto _ : state) {
        BITMAPINFOHEADER* dib = *image;
        benchmark::DoNotOptimize(dib);
        ::operator delete(dib);
    }
    fnReport(state, image->TileMap->BufferSize);
}

void fnDibIn(benchmark::State& state) {
    const Stage stage;
    const auto image = fnMakePicture(static_cast<std::uint32_t>(state.range(0)));
    BITMAPINFOHEADER* dib = *image;
    for (auto _ : state) {
        const CqImage back(dib);
        benchmark::DoNotOptimize(back.TileMap);
    }
    ::operator delete(dib);
    fnReport(state, image->TileMap->BufferSize);
}

/// The same bytes copied into a freshly allocated block, as bitmaps and conversions do.
void fnCopyFresh(benchmark::State& state) {
    const Stage stage;
    const auto image = fnMakePicture(static_cast<std::uint32_t>(state.range(0)));
    const std::size_t bytes = image->TileMap->BufferSize;
    for (auto _ : state) {
        void* block = ::operator new(bytes);
        std::memcpy(block, image->TileMap->PixelBuffer, bytes);
        benchmark::DoNotOptimize(block);
        ::operator delete(block);
    }
    fnReport(state, bytes);
}

BENCHMARK(fnCopyBytes)->Name("memcpy")->Arg(8)->Arg(24)->Arg(32);
BENCHMARK(fnCopyFresh)->Name("memcpy into fresh memory")->Arg(24);
BENCHMARK(fnFetchRows)->Name("row fetch")->Arg(8)->Arg(24)->Arg(32);
BENCHMARK(fnFetchAndFlushRows)
    ->Name("row fetch and flush, bits/scratch")
    ->Args({24, 0})
    ->Args({24, 1});
BENCHMARK(fnCopyTiles)->Name("tile copy")->Arg(8)->Arg(24)->Arg(32);
BENCHMARK(fnConvertDepth)
    ->Name("fnConvert, from/to")
    ->Args({8, 24})
    ->Args({24, 32})
    ->Args({16, 24});
BENCHMARK(fnDibOut)->Name("bitmap out")->Arg(24);
BENCHMARK(fnDibIn)->Name("bitmap in")->Arg(24);

} // namespace

BENCHMARK_MAIN();
