// cairo, one thread. Its pictures have 32 bits.

#include "Picture.h"

#include <cairo.h>
#include <cmath>

namespace {

void fnDraw(benchmark::State& state, double angle, cairo_filter_t filter) {
    const double radians = angle * std::acos(-1.0) / 180.0;
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    const auto width =
        static_cast<int>(std::ceil(std::fabs(kWidth * c) + std::fabs(kHeight * s) - 1e-9));
    const auto height =
        static_cast<int>(std::ceil(std::fabs(kWidth * s) + std::fabs(kHeight * c) - 1e-9));
    auto bytes = fnPicture(4);
    cairo_surface_t* source = cairo_image_surface_create_for_data(bytes.data(), CAIRO_FORMAT_RGB24,
                                                                  kWidth, kHeight, kWidth * 4);
    cairo_surface_t* target = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cairo_t* pen = cairo_create(target);
    cairo_translate(pen, width / 2.0, height / 2.0);
    cairo_rotate(pen, radians);
    cairo_translate(pen, -kWidth / 2.0, -kHeight / 2.0);
    cairo_set_operator(pen, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(pen, source, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(pen), filter);
    for ([[maybe_unused]] auto _ : state) {
        cairo_paint(pen);
        cairo_surface_flush(target);
        benchmark::ClobberMemory();
    }
    cairo_destroy(pen);
    cairo_surface_destroy(target);
    cairo_surface_destroy(source);
    fnReport(state, width, height);
}

BENCHMARK_CAPTURE(fnDraw, fnRotate_90_32, 90.0, CAIRO_FILTER_NEAREST);
BENCHMARK_CAPTURE(fnDraw, fnRotate_30_bilinear_32, 30.0, CAIRO_FILTER_BILINEAR);
BENCHMARK_CAPTURE(fnDraw, fnRotate_30_nearest_32, 30.0, CAIRO_FILTER_NEAREST);

} // namespace

BENCHMARK_MAIN();
