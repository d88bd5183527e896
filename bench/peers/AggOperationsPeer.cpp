// Anti-Grain Geometry: look-ups and merges. For its lines see AggPeer.

#include "Picture.h"

#include <agg_alpha_mask_u8.h>
#include <agg_pixfmt_amask_adaptor.h>
#include <agg_pixfmt_rgb.h>
#include <agg_rendering_buffer.h>
#include <array>

namespace {

/// One look-up per channel, by that library's own loop over all pixels.
void fnThreeTables(benchmark::State& state) {
    auto bytes = fnPicture(3);
    agg::rendering_buffer buffer(bytes.data(), kWidth, kHeight, kWidth * 3);
    agg::pixfmt_rgb24 pixels(buffer);
    std::array<std::array<std::uint8_t, 256>, 3> tables;
    for (unsigned i = 0; i < 256; ++i)
        tables[0][i] = tables[1][i] = tables[2][i] = static_cast<std::uint8_t>(i ^ 1u);
    for (auto _ : state) {
        pixels.for_each_pixel([&](std::uint8_t* p) {
            p[0] = tables[0][p[0]];
            p[1] = tables[1][p[1]];
            p[2] = tables[2][p[2]];
        });
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

/// Rows of 32-bit colours laid over 24 bits, each pixel weighted by its alpha.
void fnMergeAlpha(benchmark::State& state) {
    auto bytes = fnPicture(3);
    auto over = fnPicture(4);
    agg::rendering_buffer buffer(bytes.data(), kWidth, kHeight, kWidth * 3);
    agg::pixfmt_rgb24 pixels(buffer);
    const auto* colors = reinterpret_cast<const agg::rgba8*>(over.data());
    for (auto _ : state) {
        for (int y = 0; y < kHeight; ++y)
            pixels.blend_color_hspan(0, y, kWidth, colors + std::size_t{kWidth} * y, nullptr, 255);
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

/// The same with opaque colours, weighted by an 8-bit mask.
void fnMergeMask(benchmark::State& state) {
    auto bytes = fnPicture(3);
    auto weights = fnPicture(1);
    auto over = fnPicture(4);
    for (std::size_t i = 3; i < over.size(); i += 4)
        over[i] = 255;
    agg::rendering_buffer buffer(bytes.data(), kWidth, kHeight, kWidth * 3);
    agg::rendering_buffer maskBuffer(weights.data(), kWidth, kHeight, kWidth);
    agg::pixfmt_rgb24 pixels(buffer);
    agg::amask_no_clip_gray8 mask(maskBuffer);
    agg::pixfmt_amask_adaptor<agg::pixfmt_rgb24, agg::amask_no_clip_gray8> masked(pixels, mask);
    const auto* colors = reinterpret_cast<const agg::rgba8*>(over.data());
    for (auto _ : state) {
        for (int y = 0; y < kHeight; ++y)
            masked.blend_color_hspan(0, y, kWidth, colors + std::size_t{kWidth} * y, nullptr, 255);
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

BENCHMARK(fnThreeTables)->Name("three tables, for fnColorBalance at 24 bits");
BENCHMARK(fnMergeAlpha)->Name("32 over 24 bits by alpha, for fnMerge");
BENCHMARK(fnMergeMask)->Name("32 over 24 bits by a mask, for fnMerge");

} // namespace

BENCHMARK_MAIN();
