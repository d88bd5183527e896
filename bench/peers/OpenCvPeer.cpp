// OpenCV, one thread.

#include "Picture.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace {

void fnCvtColor(benchmark::State& state, int code, int sourceType) {
    cv::setNumThreads(1);
    auto bytes = fnPicture(static_cast<int>(CV_ELEM_SIZE(sourceType)));
    const cv::Mat source(kHeight, kWidth, sourceType, bytes.data());
    cv::Mat target;
    cv::cvtColor(source, target, code);
    for (auto _ : state) {
        cv::cvtColor(source, target, code);
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

BENCHMARK_CAPTURE(fnCvtColor, RgbToRgba_fnConvert_24_32, cv::COLOR_RGB2RGBA, CV_8UC3);
BENCHMARK_CAPTURE(fnCvtColor, RgbToBgra_fnDraw_24_to_32_bits, cv::COLOR_RGB2BGRA, CV_8UC3);
BENCHMARK_CAPTURE(fnCvtColor, Bgr565ToRgb_fnConvert_16_24, cv::COLOR_BGR5652RGB, CV_8UC2);

} // namespace

BENCHMARK_MAIN();
