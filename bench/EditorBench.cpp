// The operations for editors on pictures of 4000 x 3000 in RAM.

#include "bench/OperationBench.h"

#include <functional>
#include <memory>
#include <string>

namespace {

constexpr std::uint32_t kWidth = 4000;
constexpr std::uint32_t kHeight = 3000;

std::unique_ptr<CqImage> fnPicture(unsigned int bits) {
    auto image = std::make_unique<CqImage>(kWidth, kHeight, bits, q32GreyRamp, 256);
    q32::bench::fnPaint(*image);
    return image;
}

/// Measures what can be repeated on one picture.
void fnRepeat(benchmark::State& state, unsigned int bits,
              const std::function<void(CqImage&)>& work) {
    const auto image = fnPicture(bits);
    for (auto _ : state)
        work(*image);
    q32::bench::fnCountPixels(state, kWidth, kHeight);
}

void fnBlend(benchmark::State& state, unsigned int over, unsigned int under, bool masked) {
    const auto source = fnPicture(over);
    CqMask mask(kWidth, kHeight);
    q32::bench::fnPaint(mask);
    const CqBlendParam param = {200, masked ? &mask : nullptr};
    fnRepeat(state, under,
             [&](CqImage& image) { q32Blend(*source, nullptr, image, 0, 0, param, nullptr); });
}

void fnRegister(const std::string& name, std::function<void(benchmark::State&)> work) {
    benchmark::RegisterBenchmark(name.c_str(), std::move(work))->Unit(benchmark::kMillisecond);
}

void fnRegisterAll() {
    for (const unsigned int bits : {8u, 24u, 32u}) {
        const std::string depth = std::to_string(bits);
        fnRegister("Blend/" + depth,
                   [bits](benchmark::State& state) { fnBlend(state, bits, bits, false); });
        fnRegister("Blend/mask/" + depth,
                   [bits](benchmark::State& state) { fnBlend(state, bits, bits, true); });
        for (const int sigma : {1, 5, 50, 500})
            fnRegister("Blur/" + depth + "/" + std::to_string(sigma), [bits, sigma](
                                                                          benchmark::State& state) {
                fnRepeat(state, bits, [sigma](CqImage& image) { q32Blur(image, sigma, nullptr); });
            });
        fnRegister("Sharpen/" + depth + "/1", [bits](benchmark::State& state) {
            fnRepeat(state, bits, [](CqImage& image) { q32Sharpen(image, 1.0, 100, 2, nullptr); });
        });
        fnRegister("FlipHorizontal/" + depth, [bits](benchmark::State& state) {
            fnRepeat(state, bits, [](CqImage& image) { q32FlipHorizontal(image, nullptr); });
        });
        fnRegister("FlipVertical/" + depth, [bits](benchmark::State& state) {
            fnRepeat(state, bits, [](CqImage& image) { q32FlipVertical(image, nullptr); });
        });
        fnRegister("Crop/" + depth, [bits](benchmark::State& state) {
            CqImage part;
            fnRepeat(state, bits, [&part](CqImage& image) {
                q32Crop(image, CRect(37, 41, 3037, 2041), part, nullptr);
            });
        });
    }
    fnRegister("ResampleByAlpha/32/4000x3000_to_1333x1000", [](benchmark::State& state) {
        const auto picture = fnPicture(32);
        for (auto _ : state) {
            state.PauseTiming();
            CqImage image(*picture);
            state.ResumeTiming();
            q32ResampleByAlpha(image, 1333, 1000, nullptr);
        }
        q32::bench::fnCountPixels(state, kWidth, kHeight);
    });
}

} // namespace

int main(int argc, char** argv) {
    q32::bench::fnAttach();
    fnRegisterAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    q32Detach();
}
