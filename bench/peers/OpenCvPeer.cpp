// OpenCV, on as many threads as the environment says.

#include "Picture.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace {

/// @param fresh  allocates a new block each time, like the library's conversions
void fnCvtColor(benchmark::State& state, int code, int sourceType, bool fresh) {
    cv::setNumThreads(fnThreads());
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
    cv::setNumThreads(fnThreads());
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
    cv::setNumThreads(fnThreads());
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

/// A table for each channel and another order of channels, in strips that stay in the cache.
void fnTableAndColors(benchmark::State& state) {
    cv::setNumThreads(fnThreads());
    auto bytes = fnPicture(3);
    const cv::Mat source(kHeight, kWidth, CV_8UC3, bytes.data());
    cv::Mat target(kHeight, kWidth, CV_8UC4);
    cv::Mat table(1, 256, CV_8UC3);
    for (int i = 0; i < 256; ++i)
        table.at<cv::Vec3b>(i) =
            cv::Vec3b(static_cast<std::uint8_t>(i ^ 1), static_cast<std::uint8_t>(i ^ 2),
                      static_cast<std::uint8_t>(i ^ 3));
    constexpr int kStrip = 20; // rows
    cv::Mat adjusted;
    for (auto _ : state) {
        for (int y = 0; y < kHeight; y += kStrip) {
            cv::LUT(source.rowRange(y, y + kStrip), table, adjusted);
            cv::Mat part = target.rowRange(y, y + kStrip);
            cv::cvtColor(adjusted, part, cv::COLOR_RGB2BGRA);
        }
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

BENCHMARK(fnTableAndColors)->Name("table and colours, for fnDraw of 24 to 32 bits with gamma");
BENCHMARK(fnOneTable)->Name("one table, for fnBrightContrast at 24 bits");
BENCHMARK(fnHueInThreePasses)->Name("three passes, for fnHueSaturation at 24 bits");
BENCHMARK_CAPTURE(fnCvtColor, RgbToRgba_fnConvert_24_32, cv::COLOR_RGB2RGBA, CV_8UC3, false);
BENCHMARK_CAPTURE(fnCvtColor, RgbToRgba_fresh_fnConvert_24_32, cv::COLOR_RGB2RGBA, CV_8UC3, true);
BENCHMARK_CAPTURE(fnCvtColor, RgbToBgra_fnDraw_24_to_32_bits, cv::COLOR_RGB2BGRA, CV_8UC3, false);
BENCHMARK_CAPTURE(fnCvtColor, Bgr565ToRgb_fnConvert_16_24, cv::COLOR_BGR5652RGB, CV_8UC2, false);
BENCHMARK_CAPTURE(fnCvtColor, Bgr565ToRgb_fresh_fnConvert_16_24, cv::COLOR_BGR5652RGB, CV_8UC2,
                  true);

/// @param reuse  into one block whose pages are touched; otherwise into a new one each time
void fnResize(benchmark::State& state, int type, cv::Size from, cv::Size to, int method,
              bool reuse) {
    cv::setNumThreads(fnThreads());
    auto bytes = fnPicture(static_cast<int>(CV_ELEM_SIZE(type)), from.width, from.height);
    const cv::Mat source(from, type, bytes.data());
    cv::Mat target;
    for ([[maybe_unused]] auto _ : state) {
        if (!reuse)
            target.release();
        cv::resize(source, target, to, 0, 0, method);
        benchmark::ClobberMemory();
    }
    const cv::Size larger = to.width > from.width ? to : from;
    fnReport(state, larger.width, larger.height);
}

// Its cubic filter does not widen when reducing: four samples per axis, against twelve here.
const cv::Size kWhole(kWidth, kHeight);
BENCHMARK_CAPTURE(fnResize, fnResample_24_times_4_cubic, CV_8UC3, cv::Size(1000, 750), kWhole,
                  cv::INTER_CUBIC, true);
BENCHMARK_CAPTURE(fnResize, fnResample_24_third_area, CV_8UC3, kWhole, cv::Size(1333, 1000),
                  cv::INTER_AREA, true);
BENCHMARK_CAPTURE(fnResize, fnResample_8_third_area, CV_8UC1, kWhole, cv::Size(1333, 1000),
                  cv::INTER_AREA, true);
BENCHMARK_CAPTURE(fnResize, fnResample_24_nearest_third, CV_8UC3, kWhole, cv::Size(1333, 1000),
                  cv::INTER_NEAREST, true);
BENCHMARK_CAPTURE(fnResize, fnResample_24_nearest_times_2, CV_8UC3, kWhole, cv::Size(8000, 6000),
                  cv::INTER_NEAREST, true);
BENCHMARK_CAPTURE(fnResize, fnResample_24_nearest_times_2_fresh, CV_8UC3, kWhole,
                  cv::Size(8000, 6000), cv::INTER_NEAREST, false);

void fnRotateRight(benchmark::State& state, int type, bool reuse) {
    cv::setNumThreads(fnThreads());
    auto bytes = fnPicture(static_cast<int>(CV_ELEM_SIZE(type)));
    const cv::Mat source(kHeight, kWidth, type, bytes.data());
    cv::Mat target;
    for ([[maybe_unused]] auto _ : state) {
        if (!reuse)
            target.release();
        cv::rotate(source, target, cv::ROTATE_90_CLOCKWISE);
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

BENCHMARK_CAPTURE(fnRotateRight, fnRotate_90_8, CV_8UC1, true);
BENCHMARK_CAPTURE(fnRotateRight, fnRotate_90_24, CV_8UC3, true);
BENCHMARK_CAPTURE(fnRotateRight, fnRotate_90_24_fresh, CV_8UC3, false);
BENCHMARK_CAPTURE(fnRotateRight, fnRotate_90_32, CV_8UC4, true);

void fnRotateAny(benchmark::State& state, int type, int method) {
    cv::setNumThreads(fnThreads());
    auto bytes = fnPicture(static_cast<int>(CV_ELEM_SIZE(type)));
    const cv::Mat source(kHeight, kWidth, type, bytes.data());
    const cv::Size size(4965, 4599);
    cv::Mat turn = cv::getRotationMatrix2D(cv::Point2f(kWidth / 2.0f, kHeight / 2.0f), 30.0, 1.0);
    turn.at<double>(0, 2) += (size.width - kWidth) / 2.0;
    turn.at<double>(1, 2) += (size.height - kHeight) / 2.0;
    cv::Mat target;
    for ([[maybe_unused]] auto _ : state) {
        cv::warpAffine(source, target, turn, size, method);
        benchmark::ClobberMemory();
    }
    fnReport(state, size.width, size.height);
}

BENCHMARK_CAPTURE(fnRotateAny, fnRotate_30_bilinear_8, CV_8UC1, cv::INTER_LINEAR);
BENCHMARK_CAPTURE(fnRotateAny, fnRotate_30_bilinear_24, CV_8UC3, cv::INTER_LINEAR);
BENCHMARK_CAPTURE(fnRotateAny, fnRotate_30_bilinear_32, CV_8UC4, cv::INTER_LINEAR);
BENCHMARK_CAPTURE(fnRotateAny, fnRotate_30_nearest_24, CV_8UC3, cv::INTER_NEAREST);
BENCHMARK_CAPTURE(fnRotateAny, fnRotate_30_nearest_32, CV_8UC4, cv::INTER_NEAREST);

} // namespace

BENCHMARK_MAIN();
