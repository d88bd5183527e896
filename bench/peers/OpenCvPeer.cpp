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

/// One table for all channels, in place.
void fnOneTable(benchmark::State& state) {
    cv::setNumThreads(1);
    auto bytes = fnPicture(3);
    cv::Mat image(kHeight, kWidth, CV_8UC3, bytes.data());
    cv::Mat table(1, 256, CV_8UC1);
    for (int i = 0; i < 256; ++i)
        table.at<std::uint8_t>(i) = static_cast<std::uint8_t>(i ^ 1);
    for (auto _ : state) {
        cv::LUT(image, table, image);
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

/// To hue, saturation and value, a table for each, and back.
void fnHueInThreePasses(benchmark::State& state) {
    cv::setNumThreads(1);
    auto bytes = fnPicture(3);
    cv::Mat image(kHeight, kWidth, CV_8UC3, bytes.data());
    cv::Mat hsv;
    cv::Mat table(1, 256, CV_8UC3);
    for (int i = 0; i < 256; ++i)
        table.at<cv::Vec3b>(i) =
            cv::Vec3b(static_cast<std::uint8_t>(i + 7), cv::saturate_cast<std::uint8_t>(i + 20),
                      static_cast<std::uint8_t>(i));
    for (auto _ : state) {
        cv::cvtColor(image, hsv, cv::COLOR_RGB2HSV_FULL);
        cv::LUT(hsv, table, hsv);
        cv::cvtColor(hsv, image, cv::COLOR_HSV2RGB_FULL);
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

BENCHMARK(fnOneTable)->Name("one table, for fnBrightContrast at 24 bits");
BENCHMARK(fnHueInThreePasses)->Name("three passes, for fnHueSaturation at 24 bits");
BENCHMARK_CAPTURE(fnCvtColor, RgbToRgba_fnConvert_24_32, cv::COLOR_RGB2RGBA, CV_8UC3, false);
BENCHMARK_CAPTURE(fnCvtColor, RgbToRgba_fresh_fnConvert_24_32, cv::COLOR_RGB2RGBA, CV_8UC3, true);
BENCHMARK_CAPTURE(fnCvtColor, RgbToBgra_fnDraw_24_to_32_bits, cv::COLOR_RGB2BGRA, CV_8UC3, false);
BENCHMARK_CAPTURE(fnCvtColor, Bgr565ToRgb_fnConvert_16_24, cv::COLOR_BGR5652RGB, CV_8UC2, false);
BENCHMARK_CAPTURE(fnCvtColor, Bgr565ToRgb_fresh_fnConvert_16_24, cv::COLOR_BGR5652RGB, CV_8UC2,
                  true);

} // namespace

BENCHMARK_MAIN();
