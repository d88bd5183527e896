// OpenCV, one thread.

#include "Picture.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace {

/// @param fresh  into a new block each time, as the library's conversions have it
void fnCvtColor(benchmark::State& state, int code, int sourceType, bool fresh) {
    cv::setNumThreads(1);
    auto bytes = fnPicture(static_cast<int>(CV_ELEM_SIZE(sourceType)));
    const cv::Mat source(kHeight, kWidth, sourceType, bytes.data());
    cv::Mat target;
    cv::cvtColor(source, target, code);
    for (auto _ : state) {
        if (fresh)
            target.release();
        cv::cvtColor(source, target, code);
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

BENCHMARK_CAPTURE(fnCvtColor, RgbToRgba_fnConvert_24_32, cv::COLOR_RGB2RGBA, CV_8UC3, false);
BENCHMARK_CAPTURE(fnCvtColor, RgbToRgba_fresh_fnConvert_24_32, cv::COLOR_RGB2RGBA, CV_8UC3, true);
BENCHMARK_CAPTURE(fnCvtColor, RgbToBgra_fnDraw_24_to_32_bits, cv::COLOR_RGB2BGRA, CV_8UC3, false);
BENCHMARK_CAPTURE(fnCvtColor, Bgr565ToRgb_fnConvert_16_24, cv::COLOR_BGR5652RGB, CV_8UC2, false);
BENCHMARK_CAPTURE(fnCvtColor, Bgr565ToRgb_fresh_fnConvert_16_24, cv::COLOR_BGR5652RGB, CV_8UC2,
                  true);

} // namespace

BENCHMARK_MAIN();
