// zimg, one thread: 8-bit planes through the filter of Mitchell and Netravali. A picture of 24 bits
// counts as three planes and one of 32 bits as four; splitting and rejoining them isn't measured.

#include "Picture.h"

#include <cstdlib>
#include <zimg.h>

namespace {

constexpr std::size_t kAlign = 64;

/// A plane with aligned rows and touched pages.
struct Plane {
    std::ptrdiff_t stride;
    std::uint8_t* pixels;
    Plane(unsigned width, unsigned height)
        : stride(static_cast<std::ptrdiff_t>((width + kAlign - 1) / kAlign * kAlign)) {
        const std::size_t size = static_cast<std::size_t>(stride) * height;
        pixels = static_cast<std::uint8_t*>(std::aligned_alloc(kAlign, size));
        std::uint32_t state = 1;
        for (std::size_t i = 0; i < size; ++i) {
            state = state * 1664525 + 1013904223;
            pixels[i] = static_cast<std::uint8_t>(state >> 24);
        }
    }
    ~Plane() { std::free(pixels); }
    Plane(const Plane&) = delete;
    Plane& operator=(const Plane&) = delete;
};

zimg_image_format fnFormat(unsigned width, unsigned height) {
    zimg_image_format format;
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = width;
    format.height = height;
    format.pixel_type = ZIMG_PIXEL_BYTE;
    format.color_family = ZIMG_COLOR_GREY;
    format.pixel_range = ZIMG_RANGE_FULL;
    return format;
}

void fnResize(benchmark::State& state, int planes, unsigned width, unsigned height,
              unsigned newWidth, unsigned newHeight) {
    const Plane source(width, height);
    const Plane target(newWidth, newHeight);
    const zimg_image_format from = fnFormat(width, height);
    const zimg_image_format to = fnFormat(newWidth, newHeight);
    zimg_graph_builder_params params;
    zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
    params.resample_filter = ZIMG_RESIZE_BICUBIC;
    params.filter_param_a = 1.0 / 3.0;
    params.filter_param_b = 1.0 / 3.0;
    params.dither_type = ZIMG_DITHER_NONE;
    params.cpu_type = ZIMG_CPU_AUTO_64B;
    zimg_filter_graph* graph = zimg_filter_graph_build(&from, &to, &params);
    std::size_t size = 0;
    if (!graph || zimg_filter_graph_get_tmp_size(graph, &size) != ZIMG_ERROR_SUCCESS)
        std::abort();
    void* work = std::aligned_alloc(kAlign, (size + kAlign - 1) / kAlign * kAlign);
    zimg_image_buffer_const in = {};
    in.version = ZIMG_API_VERSION;
    in.plane[0].data = source.pixels;
    in.plane[0].stride = source.stride;
    in.plane[0].mask = ZIMG_BUFFER_MAX;
    zimg_image_buffer out = {};
    out.version = ZIMG_API_VERSION;
    out.plane[0].data = target.pixels;
    out.plane[0].stride = target.stride;
    out.plane[0].mask = ZIMG_BUFFER_MAX;
    for ([[maybe_unused]] auto _ : state) {
        for (int plane = 0; plane < planes; ++plane)
            if (zimg_filter_graph_process(graph, &in, &out, work, nullptr, nullptr, nullptr,
                                          nullptr) != ZIMG_ERROR_SUCCESS)
                std::abort();
        benchmark::ClobberMemory();
    }
    std::free(work);
    zimg_filter_graph_free(graph);
    const bool enlarges = newWidth > width;
    fnReport(state, static_cast<int>(enlarges ? newWidth : width),
             static_cast<int>(enlarges ? newHeight : height));
}

BENCHMARK_CAPTURE(fnResize, fnResample_24_third, 3, 4000, 3000, 1333, 1000);
BENCHMARK_CAPTURE(fnResize, fnResample_32_third, 4, 4000, 3000, 1333, 1000);
BENCHMARK_CAPTURE(fnResize, fnResample_8_third, 1, 4000, 3000, 1333, 1000);
BENCHMARK_CAPTURE(fnResize, fnResample_24_times_4, 3, 1000, 750, 4000, 3000);
BENCHMARK_CAPTURE(fnResize, fnResample_24_height, 3, 4000, 3000, 4000, 1000);
BENCHMARK_CAPTURE(fnResize, fnResample_24_width, 3, 4000, 3000, 1333, 3000);

} // namespace

BENCHMARK_MAIN();
