// pixman, one thread.

#include "Picture.h"

#include <cmath>
#include <pixman.h>

namespace {

/// Memory for a picture; pixman's rows are complete words.
struct Place {
    std::vector<std::uint32_t> words;
    pixman_image_t* image;
    Place(pixman_format_code_t format, int width, int height) {
        const int stride = (width * static_cast<int>(PIXMAN_FORMAT_BPP(format)) / 8 + 3) / 4;
        words.assign(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height),
                     0x40506070u);
        image = pixman_image_create_bits(format, width, height, words.data(), stride * 4);
    }
    ~Place() { pixman_image_unref(image); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
};

void fnDraw(benchmark::State& state, pixman_format_code_t format, double angle,
            pixman_filter_t filter) {
    const double radians = angle * std::acos(-1.0) / 180.0;
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    const auto width =
        static_cast<int>(std::ceil(std::fabs(kWidth * c) + std::fabs(kHeight * s) - 1e-9));
    const auto height =
        static_cast<int>(std::ceil(std::fabs(kWidth * s) + std::fabs(kHeight * c) - 1e-9));
    const Place source(format, kWidth, kHeight);
    const Place target(format, width, height);
    pixman_f_transform turn;
    pixman_f_transform_init_identity(&turn);
    pixman_f_transform_translate(&turn, nullptr, -width / 2.0, -height / 2.0);
    pixman_f_transform_rotate(&turn, nullptr, c, -s);
    pixman_f_transform_translate(&turn, nullptr, kWidth / 2.0, kHeight / 2.0);
    pixman_transform_t fixed;
    pixman_transform_from_pixman_f_transform(&fixed, &turn);
    pixman_image_set_transform(source.image, &fixed);
    pixman_image_set_filter(source.image, filter, nullptr, 0);
    for ([[maybe_unused]] auto _ : state) {
        pixman_image_composite32(PIXMAN_OP_SRC, source.image, nullptr, target.image, 0, 0, 0, 0, 0,
                                 0, width, height);
        benchmark::ClobberMemory();
    }
    fnReport(state, width, height);
}

BENCHMARK_CAPTURE(fnDraw, fnRotate_90_8, PIXMAN_a8, 90.0, PIXMAN_FILTER_NEAREST);
BENCHMARK_CAPTURE(fnDraw, fnRotate_90_24, PIXMAN_r8g8b8, 90.0, PIXMAN_FILTER_NEAREST);
BENCHMARK_CAPTURE(fnDraw, fnRotate_90_32, PIXMAN_a8r8g8b8, 90.0, PIXMAN_FILTER_NEAREST);
BENCHMARK_CAPTURE(fnDraw, fnRotate_30_bilinear_24, PIXMAN_r8g8b8, 30.0, PIXMAN_FILTER_BILINEAR);
BENCHMARK_CAPTURE(fnDraw, fnRotate_30_bilinear_32, PIXMAN_a8r8g8b8, 30.0, PIXMAN_FILTER_BILINEAR);
BENCHMARK_CAPTURE(fnDraw, fnRotate_30_nearest_32, PIXMAN_a8r8g8b8, 30.0, PIXMAN_FILTER_NEAREST);

} // namespace

BENCHMARK_MAIN();
