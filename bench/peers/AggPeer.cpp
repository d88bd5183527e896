// Anti-Grain Geometry: subdivides curves, draws primitive lines.

#include "Curves.h"

#include <agg_curves.h>
#include <agg_pixfmt_gray.h>
#include <agg_pixfmt_rgba.h>
#include <agg_renderer_base.h>
#include <agg_renderer_primitives.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

/// Subdivides to within 0.5 / scale.
void fnTessellate(benchmark::State& state, double tolerance) {
    const auto curves = Coordinates(1000.0).fnFigures<8>(100000);
    agg::curve4_div divided;
    divided.approximation_scale(0.5 / tolerance);
    double segments = 0.0;
    for (auto _ : state) {
        segments = 0.0;
        for (const auto& c : curves) {
            divided.init(c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]);
            double x;
            double y;
            int vertices = 0;
            while (divided.vertex(&x, &y) != agg::path_cmd_stop)
                ++vertices;
            segments += vertices - 1;
        }
    }
    fnReportRate(state, "segments", segments);
    fnReportRate(state, "curves", static_cast<double>(curves.size()));
}

template <typename Format>
void fnDrawSegments(benchmark::State& state) {
    constexpr int kBytes = Format::pix_width;
    std::vector<std::uint8_t> bytes(std::size_t{kImageSize} * kImageSize * kBytes);
    agg::rendering_buffer buffer(bytes.data(), kImageSize, kImageSize, kImageSize * kBytes);
    Format format(buffer);
    agg::renderer_base<Format> base(format);
    agg::renderer_primitives<agg::renderer_base<Format>> renderer(base);
    renderer.line_color(typename Format::color_type(agg::rgba(1.0, 1.0, 1.0)));
    std::vector<std::array<int, 4>> lines;
    double pixels = 0.0;
    for (const auto& line : Coordinates(kImageSize - 1).fnFigures<4>(100000)) {
        auto& whole = lines.emplace_back();
        std::transform(line.begin(), line.end(), whole.begin(), [](double number) {
            return static_cast<int>(number + 0.5)
                   << agg::line_bresenham_interpolator::subpixel_shift;
        });
        pixels += std::max(std::fabs(line[2] - line[0]), std::fabs(line[3] - line[1])) + 1.0;
    }
    for (auto _ : state)
        for (const auto& l : lines)
            renderer.line(l[0], l[1], l[2], l[3], true);
    fnReportRate(state, "pixels", pixels);
}

} // namespace

BENCHMARK_CAPTURE(fnTessellate, "tolerance 0.1", 0.1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fnTessellate, "tolerance 0.5", 0.5)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(fnDrawSegments, agg::pixfmt_gray8)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(fnDrawSegments, agg::pixfmt_argb32)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
