// Each kernel at each level that this machine supports, over a picture of 4000 x 3000 pixels,
// compared with memcpy.
//
// A case's name says where its target is: "picture" is as large as the source, so memory bandwidth
// limits it; "tile" is one block of 128 x 128 pixels that is rewritten each time, as in drawing;
// "streamed" is a picture written past the caches.

#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/kernels/StreamPixels_p.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace {

using q32::KernelLevel;
using q32::Kernels;

constexpr std::size_t kWidth = 4000;
constexpr std::size_t kPixels = kWidth * 3000;
constexpr std::size_t kRowPixels = 128;
constexpr std::size_t kTilePixels = kRowPixels * 128;
static_assert(kPixels % kRowPixels == 0);

// A picture's bytes, touched once so that no case pays for page faults, and in large pages where
// the system has them, like the blocks of images.
class Block {
public:
    Block() : m_Bytes(static_cast<std::uint8_t*>(std::aligned_alloc(kLargePage, kSize))) {
        if (m_Bytes == nullptr)
            std::abort();
#ifdef __linux__
        madvise(m_Bytes, kSize, MADV_HUGEPAGE);
#endif
        std::uint32_t state = 1;
        for (std::size_t i = 0; i < kSize; ++i) {
            state = state * 1664525 + 1013904223;
            m_Bytes[i] = static_cast<std::uint8_t>(state >> 24);
        }
    }
    ~Block() {
        std::free(m_Bytes);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

    std::uint8_t* fnData() {
        return m_Bytes;
    }

private:
    static constexpr std::size_t kLargePage = std::size_t{2} << 20;
    static constexpr std::size_t kSize = (kPixels * 4 + kLargePage - 1) / kLargePage * kLargePage;
    std::uint8_t* m_Bytes;
};

std::uint8_t* fnSource() {
    static Block block;
    return block.fnData();
}

std::uint8_t* fnTarget() {
    static Block block;
    return block.fnData();
}

const std::uint8_t* fnTable() {
    return fnSource();
}

const std::uint8_t* fnThresholds() {
    static std::uint8_t thresholds[64];
    for (unsigned i = 0; i < 64; ++i)
        thresholds[i] = static_cast<std::uint8_t>(i * 37 % 64 * 51 >> 6);
    return thresholds;
}

void fnCount(benchmark::State& state, std::size_t bytesPerPixel) {
    const auto pixels = state.iterations() * kPixels;
    state.counters["MPix/s"] =
        benchmark::Counter(static_cast<double>(pixels) / 1e6, benchmark::Counter::kIsRate);
    state.SetBytesProcessed(static_cast<std::int64_t>(pixels * bytesPerPixel));
}

// The "max" of several repetitions is the best rate: the machine's speed when nothing else runs.
void fnReport(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)
        ->ComputeStatistics("max", [](const std::vector<double>& values) {
            return *std::max_element(values.begin(), values.end());
        });
}

// Calls run(source, target, count) for every tile of the picture, at once or row by row.
template <class Run>
void fnPass(std::size_t sourceBytes, std::size_t targetBytes, bool oneTile, Run run) {
    for (std::size_t done = 0; done < kPixels; done += kTilePixels) {
        const std::size_t count = std::min(kTilePixels, kPixels - done);
        const std::uint8_t* source = fnSource() + done * sourceBytes;
        if (!oneTile)
            run(source, fnTarget() + done * targetBytes, count);
        else
            for (std::size_t row = 0; row < count; row += kRowPixels)
                run(source + row * sourceBytes, fnTarget() + row * targetBytes, kRowPixels);
    }
}

template <class Run>
void fnRegister(const std::string& name, std::size_t sourceBytes, std::size_t targetBytes,
                bool oneTile, Run run) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        for (auto _ : state) {
            fnPass(sourceBytes, targetBytes, oneTile, run);
            benchmark::ClobberMemory();
        }
        fnCount(state, sourceBytes + targetBytes);
    })->Apply(fnReport);
}

// A kernel in all three modes of writing, and memcpy of as many bytes as it reads and writes.
template <class Run>
void fnRegisterAll(const Kernels& kernels, const std::string& name, std::size_t sourceBytes,
                   std::size_t targetBytes, Run run) {
    fnRegister(name + "/picture", sourceBytes, targetBytes, false, run);
    fnRegister(name + "/tile", sourceBytes, targetBytes, true, run);
    if (kernels.m_eLevel != KernelLevel::SCALAR)
        fnRegister(
            name + "/streamed", sourceBytes, targetBytes, false,
            [=, &kernels](const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
                q32::fnStreamPixels(kernels, source, sourceBytes, target, targetBytes, count, run);
            });
}

void fnRegisterMemcpy() {
    for (const std::size_t bytes : {1u, 2u, 3u, 4u}) {
        const std::string name = "memcpy" + std::to_string(8 * bytes);
        const auto copy = [bytes](const std::uint8_t* source, std::uint8_t* target,
                                  std::size_t count) {
            std::memcpy(target, source, count * bytes);
        };
        fnRegister(name + "/picture", bytes, bytes, false, copy);
        fnRegister(name + "/tile", bytes, bytes, true, copy);
        benchmark::RegisterBenchmark((name + "/whole").c_str(), [=](benchmark::State& state) {
            for (auto _ : state) {
                std::memcpy(fnTarget(), fnSource(), kPixels * bytes);
                benchmark::ClobberMemory();
            }
            fnCount(state, 2 * bytes);
        })->Apply(fnReport);
    }
}

void fnRegisterFormats(const Kernels& k, const std::string& level) {
    const struct {
        const char* name;
        q32::PixelRun run;
        std::size_t sourceBytes, targetBytes;
    } formats[] = {
        {"Rgb565ToBgr24", k.fnRgb565ToBgr24, 2, 3},
        {"Rgb565ToBgrx32", k.fnRgb565ToBgrx32, 2, 4},
        {"Rgb565ToRgb24", k.fnRgb565ToRgb24, 2, 3},
        {"Rgb565ToArgb32", k.fnRgb565ToArgb32, 2, 4},
        {"Rgb24ToBgr24", k.fnRgb24ToBgr24, 3, 3},
        {"Rgb24ToBgrx32", k.fnRgb24ToBgrx32, 3, 4},
        {"Rgb24ToArgb32", k.fnRgb24ToArgb32, 3, 4},
        {"Argb32ToBgr24", k.fnArgb32ToBgr24, 4, 3},
        {"Argb32ToRgb24", k.fnArgb32ToRgb24, 4, 3},
        {"Argb32ToBgra32", k.fnArgb32ToBgra32, 4, 4},
        {"Swap16", k.fnSwap16, 2, 2},
        {"Rgb555LeToRgb565", k.fnRgb555LeToRgb565, 2, 2},
        {"Rgb565ToRgb555Le", k.fnRgb565ToRgb555Le, 2, 2},
    };
    for (const auto& f : formats)
        fnRegisterAll(k, level + f.name, f.sourceBytes, f.targetBytes, f.run);
}

void fnRegisterPalettes(const Kernels& k, const std::string& level) {
    const struct {
        const char* name;
        q32::PaletteRun run;
        std::size_t targetBytes;
    } lookUps[] = {{"Index8ToBgr24", k.fnIndex8ToBgr24, 3},
                   {"Index8ToBgrx32", k.fnIndex8ToBgrx32, 4},
                   {"Index8ToRgb24", k.fnIndex8ToRgb24, 3},
                   {"Index8ToArgb32", k.fnIndex8ToArgb32, 4}};
    for (const auto& l : lookUps)
        fnRegisterAll(
            k, level + l.name, 1, l.targetBytes,
            [run = l.run](const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
                run(source, target, count, fnTable(), 256);
            });
    // Half a byte per pixel: within each run the picture's source is read at two pixels per byte.
    fnRegister(level + "Index4ToIndex8/picture", 1, 1, false, k.fnIndex4ToIndex8);
}

void fnRegisterDithers(const Kernels& k, const std::string& level) {
    const struct {
        const char* name;
        q32::DitherRun run;
        std::size_t sourceBytes;
    } dithers[] = {{"Dither16", k.fnDither16, 2},
                   {"Dither24", k.fnDither24, 3},
                   {"Dither32", k.fnDither32, 4}};
    for (const auto& d : dithers)
        fnRegisterAll(k, level + d.name, d.sourceBytes, 1,
                      [d](const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
                          d.run(source, target, count, fnThresholds(), 0, 3);
                      });
}

// In place: "picture" passes over the entire picture, "tile" over the same tile each time.
void fnRegisterInPlace(const Kernels& k, const std::string& level) {
    for (const bool tile : {false, true}) {
        const std::string place = tile ? "/tile" : "/picture";
        fnRegister(level + "Curve24" + place, 0, 3, tile,
                   [&k](const std::uint8_t*, std::uint8_t* pixels, std::size_t count) {
                       k.fnCurve24(pixels, count, fnTable());
                   });
        fnRegister(level + "Curve32" + place, 0, 4, tile,
                   [&k](const std::uint8_t*, std::uint8_t* pixels, std::size_t count) {
                       k.fnCurve32(pixels, count, fnTable());
                   });
        fnRegister(level + "HiColorDither" + place, 0, 3, tile,
                   [&k](const std::uint8_t*, std::uint8_t* pixels, std::size_t count) {
                       static const std::uint8_t pattern[16] = {0, 12, 3, 15, 8,  4, 11, 7,
                                                                2, 14, 1, 13, 10, 6, 9,  5};
                       k.fnHiColorDither(pixels, count, pattern, 0, 0);
                   });
    }
}

// Pixels are counted in the target, in rows of 128.
void fnRegisterZooms(const Kernels& k, const std::string& level) {
    for (const std::size_t bytes : {1u, 2u, 3u, 4u}) {
        for (const std::size_t factor : {2u, 3u, 5u, 16u})
            fnRegister(level + "Inflate" + std::to_string(8 * bytes) + "By" +
                           std::to_string(factor) + "/tile",
                       0, bytes, true,
                       [=, &k](const std::uint8_t*, std::uint8_t* target, std::size_t count) {
                           k.fnInflate[bytes - 1](fnSource(), target, count, factor, 0);
                       });
        for (const std::size_t factor : {2u, 3u, 8u})
            fnRegister(level + "Shrink" + std::to_string(8 * bytes) + "By" +
                           std::to_string(factor) + "/tile",
                       0, bytes, true,
                       [=, &k](const std::uint8_t*, std::uint8_t* target, std::size_t count) {
                           k.fnShrink[bytes - 1](fnSource(), target, count, factor);
                       });
    }
}

} // namespace

int main(int argc, char** argv) {
    // Allocated before the first case, so that none pays for it.
    fnSource();
    fnTarget();
    fnRegisterMemcpy();
    const char* const names[] = {"scalar/", "avx2/", "avx512/"};
    for (const KernelLevel level : {KernelLevel::SCALAR, KernelLevel::AVX2, KernelLevel::AVX512})
        if (const Kernels* kernels = q32::fnKernelsOfLevel(level)) {
            const std::string name = names[static_cast<int>(level)];
            fnRegisterFormats(*kernels, name);
            fnRegisterPalettes(*kernels, name);
            fnRegisterDithers(*kernels, name);
            fnRegisterInPlace(*kernels, name);
            fnRegisterZooms(*kernels, name);
        }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
