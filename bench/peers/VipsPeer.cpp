// libvips, with as many worker threads as the environment says and its result cache disabled. Real
// time is measured, since the workers do the work.

#include "Picture.h"

#include <cstdlib>
#include <vips/vips.h>

namespace {

VipsImage* fnSource(std::vector<std::uint8_t>& bytes, int width, int height, int bands) {
    return vips_image_new_from_memory(bytes.data(), bytes.size(), width, height, bands,
                                      VIPS_FORMAT_UCHAR);
}

/// Evaluates the picture into a new block.
void fnWorkOut(VipsImage* lazy) {
    VipsImage* done = lazy ? vips_image_copy_memory(lazy) : nullptr;
    if (!done)
        std::abort();
    benchmark::DoNotOptimize(VIPS_IMAGE_ADDR(done, 0, 0));
    g_object_unref(done);
    g_object_unref(lazy);
}

void fnResize(benchmark::State& state, int bands, int width, int height, double x, double y) {
    auto bytes = fnPicture(bands, width, height);
    VipsImage* source = fnSource(bytes, width, height, bands);
    for ([[maybe_unused]] auto _ : state) {
        VipsImage* lazy = nullptr;
        vips_resize(source, &lazy, x, "vscale", y, "kernel", VIPS_KERNEL_MITCHELL, "gap", 0.0,
                    nullptr);
        fnWorkOut(lazy);
    }
    g_object_unref(source);
    fnReport(state, x > 1.0 ? static_cast<int>(width * x) : width,
             y > 1.0 ? static_cast<int>(height * y) : height);
}

void fnRotate(benchmark::State& state, int bands) {
    auto bytes = fnPicture(bands);
    VipsImage* source = fnSource(bytes, kWidth, kHeight, bands);
    for ([[maybe_unused]] auto _ : state) {
        VipsImage* lazy = nullptr;
        vips_rot(source, &lazy, VIPS_ANGLE_D90, nullptr);
        fnWorkOut(lazy);
    }
    g_object_unref(source);
    fnReport(state);
}

BENCHMARK_CAPTURE(fnResize, fnResample_24_third, 3, kWidth, kHeight, 1.0 / 3.0, 1.0 / 3.0)
    ->UseRealTime();
BENCHMARK_CAPTURE(fnResize, fnResample_8_third, 1, kWidth, kHeight, 1.0 / 3.0, 1.0 / 3.0)
    ->UseRealTime();
BENCHMARK_CAPTURE(fnResize, fnResample_24_height, 3, kWidth, kHeight, 1.0, 1.0 / 3.0)
    ->UseRealTime();
BENCHMARK_CAPTURE(fnRotate, fnRotate_90_8, 1)->UseRealTime();
BENCHMARK_CAPTURE(fnRotate, fnRotate_90_24, 3)->UseRealTime();
BENCHMARK_CAPTURE(fnRotate, fnRotate_90_32, 4)->UseRealTime();

} // namespace

int main(int argc, char** argv) {
    if (VIPS_INIT(argv[0]) != 0)
        return 1;
    vips_concurrency_set(fnThreads());
    vips_cache_set_max(0);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    vips_shutdown();
}
