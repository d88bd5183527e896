// zimg: 8-bit planes through the filter of Mitchell and Netravali. A picture of 24 bits counts as
// three planes and one of 32 bits as four; splitting and rejoining them isn't measured. Several
// threads make a slice of each plane.

#include "Picture.h"

#include <barrier>
#include <cstdlib>
#include <deque>
#include <thread>
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

/// Makes rows of the target, from `top` to before `end`, of one plane.
class Slice {
public:
    Slice(const Plane& source, const Plane& target, unsigned width, unsigned height,
          unsigned newWidth, unsigned newHeight, unsigned top, unsigned end) {
        zimg_image_format from = fnFormat(width, height);
        from.active_region.left = 0;
        from.active_region.top = static_cast<double>(top) * height / newHeight;
        from.active_region.width = width;
        from.active_region.height = static_cast<double>(end - top) * height / newHeight;
        const zimg_image_format to = fnFormat(newWidth, end - top);
        zimg_graph_builder_params params;
        zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
        params.resample_filter = ZIMG_RESIZE_BICUBIC;
        params.filter_param_a = 1.0 / 3.0;
        params.filter_param_b = 1.0 / 3.0;
        params.dither_type = ZIMG_DITHER_NONE;
        params.cpu_type = ZIMG_CPU_AUTO_64B;
        m_pGraph = zimg_filter_graph_build(&from, &to, &params);
        std::size_t size = 0;
        if (!m_pGraph || zimg_filter_graph_get_tmp_size(m_pGraph, &size) != ZIMG_ERROR_SUCCESS)
            std::abort();
        m_pWork = std::aligned_alloc(kAlign, (size + kAlign - 1) / kAlign * kAlign);
        m_In.version = ZIMG_API_VERSION;
        m_In.plane[0].data = source.pixels;
        m_In.plane[0].stride = source.stride;
        m_In.plane[0].mask = ZIMG_BUFFER_MAX;
        m_Out.version = ZIMG_API_VERSION;
        m_Out.plane[0].data = target.pixels + target.stride * static_cast<std::ptrdiff_t>(top);
        m_Out.plane[0].stride = target.stride;
        m_Out.plane[0].mask = ZIMG_BUFFER_MAX;
    }
    ~Slice() {
        std::free(m_pWork);
        zimg_filter_graph_free(m_pGraph);
    }
    Slice(const Slice&) = delete;
    Slice& operator=(const Slice&) = delete;

    void fnMake(int planes) {
        for (int plane = 0; plane < planes; ++plane)
            if (zimg_filter_graph_process(m_pGraph, &m_In, &m_Out, m_pWork, nullptr, nullptr,
                                          nullptr, nullptr) != ZIMG_ERROR_SUCCESS)
                std::abort();
    }

private:
    zimg_filter_graph* m_pGraph = nullptr;
    void* m_pWork = nullptr;
    zimg_image_buffer_const m_In = {};
    zimg_image_buffer m_Out = {};
};

/// Threads that each make a slice, again and again.
class Slicers {
public:
    Slicers(std::deque<Slice>& slices, int planes)
        : m_Start(static_cast<std::ptrdiff_t>(slices.size())),
          m_End(static_cast<std::ptrdiff_t>(slices.size())), m_First(slices.front()),
          m_nPlanes(planes) {
        for (std::size_t i = 1; i < slices.size(); ++i)
            m_Threads.emplace_back([this, &slice = slices[i]] {
                for (m_Start.arrive_and_wait(); !m_bEnds; m_Start.arrive_and_wait()) {
                    slice.fnMake(m_nPlanes);
                    m_End.arrive_and_wait();
                }
            });
    }
    ~Slicers() {
        m_bEnds = true;
        m_Start.arrive_and_wait();
    }

    void fnMakeAll() {
        m_Start.arrive_and_wait();
        m_First.fnMake(m_nPlanes);
        m_End.arrive_and_wait();
    }

private:
    std::barrier<> m_Start;
    std::barrier<> m_End;
    Slice& m_First;
    int m_nPlanes;
    bool m_bEnds = false; ///< written before and read after the barrier
    std::vector<std::jthread> m_Threads;
};

void fnResize(benchmark::State& state, int planes, unsigned width, unsigned height,
              unsigned newWidth, unsigned newHeight) {
    const Plane source(width, height);
    const Plane target(newWidth, newHeight);
    const auto threads = static_cast<unsigned>(fnThreads());
    std::deque<Slice> slices;
    for (unsigned i = 0; i < threads; ++i)
        slices.emplace_back(source, target, width, height, newWidth, newHeight,
                            newHeight * i / threads, newHeight * (i + 1) / threads);
    {
        Slicers slicers(slices, planes);
        for ([[maybe_unused]] auto _ : state) {
            slicers.fnMakeAll();
            benchmark::ClobberMemory();
        }
    }
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
