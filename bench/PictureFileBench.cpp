// Picture files, read and written through the system's cache: 24 bits, 12 megapixels, or as many as
// Q32_BENCH_MEGAPIXELS says. The files are in the directory of TMPDIR or, if unset, in /var/tmp.

#include "bench/OperationBench.h"
#include "plugins/PictureFile.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

struct Kind {
    const char* m_pszName;
    PICTURE_FORMAT m_eFormat;
    PICTURE_COMPRESSION m_eCompression = PICTURE_LZW;
    unsigned int m_nBits = 24;
};

constexpr Kind kKinds[] = {
    {"PNG", PICTURE_PNG},
    {"PNG 32 bits", PICTURE_PNG, PICTURE_LZW, 32},
    {"JPEG", PICTURE_JPEG},
    {"TIFF LZW", PICTURE_TIFF, PICTURE_LZW},
    {"TIFF deflate", PICTURE_TIFF, PICTURE_DEFLATE},
    {"TIFF plain", PICTURE_TIFF, PICTURE_UNCOMPRESSED},
    {"BMP", PICTURE_BMP},
};

/// The side ratio of 4 to 3.
std::uint32_t fnGetHeight() {
    const char* const text = std::getenv("Q32_BENCH_MEGAPIXELS");
    const double megapixels = text ? std::strtod(text, nullptr) : 12.0;
    return static_cast<std::uint32_t>(std::lround(std::sqrt(megapixels * 0.75e6)));
}

std::string fnGetPath() {
    const char* const folder = std::getenv("TMPDIR");
    return std::string(folder && *folder ? folder : "/var/tmp") + "/q32-picture-bench";
}

std::unique_ptr<CqImage> thePicture;

CqImage& fnPicture(unsigned int bits) {
    std::unique_ptr<CqImage>& image = thePicture;
    const std::uint32_t height = fnGetHeight();
    if (!image || image->BitCount != bits) {
        image = std::make_unique<CqImage>(height * 4 / 3, height, bits, nullptr, 0);
        q32::bench::fnPaint(*image);
    }
    return *image;
}

void fnWrite(const Kind& kind) {
    CqPictureOptions options;
    options.m_eTiffCompression = kind.m_eCompression;
    if (!q32WritePicture(fnGetPath().c_str(), fnPicture(kind.m_nBits), kind.m_eFormat, options)
             .fnIsDone())
        std::abort();
}

void fnRunWrite(benchmark::State& state, const Kind& kind) {
    CqImage& image = fnPicture(kind.m_nBits);
    for (auto _ : state)
        fnWrite(kind);
    q32::bench::fnCountPixels(state, image.Width, image.Height);
}

void fnRunRead(benchmark::State& state, const Kind& kind) {
    fnWrite(kind);
    CqImage image;
    for (auto _ : state)
        if (!q32ReadPicture(fnGetPath().c_str(), image).fnIsDone())
            std::abort();
    q32::bench::fnCountPixels(state, image.Width, image.Height);
}

} // namespace

int main(int argc, char** argv) {
    q32::bench::fnAttach();
    benchmark::Initialize(&argc, argv);
    for (const Kind& kind : kKinds) {
        const auto add = [&](const char* verb, auto run) {
            benchmark::RegisterBenchmark(
                (std::string(verb) + ' ' + kind.m_pszName).c_str(),
                [&kind, run](benchmark::State& state) { run(state, kind); })
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        };
        add("read", fnRunRead);
        add("write", fnRunWrite);
    }
    benchmark::RunSpecifiedBenchmarks();
    std::remove(fnGetPath().c_str());
    thePicture.reset();
    q32Detach();
    return 0;
}
