// Qt. It runs some work in a thread pool, so the processor time of all threads is counted.

#include "Picture.h"

#include <QImage>
#include <QPainter>
#include <QTransform>

namespace {

void fnConvertFormat(benchmark::State& state, QImage::Format from, QImage::Format to, int bytes) {
    const auto pixels = fnPicture(bytes);
    const QImage source(pixels.data(), kWidth, kHeight, qsizetype{kWidth} * bytes, from);
    for (auto _ : state) {
        const QImage target = source.convertToFormat(to);
        benchmark::DoNotOptimize(target.constBits());
    }
    fnReport(state);
}

/// Source over with alpha, both at 32 bits.
void fnSourceOver(benchmark::State& state) {
    QImage target(kWidth, kHeight, QImage::Format_RGB32);
    target.fill(0xFF102030);
    const auto pixels = fnPicture(4);
    const QImage source = QImage(pixels.data(), kWidth, kHeight, QImage::Format_ARGB32)
                              .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        QPainter(&target).drawImage(0, 0, source);
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

BENCHMARK(fnSourceOver)->Name("source over at 32 bits, for fnMerge")->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(fnConvertFormat, Rgb888ToRgb32_fnDraw_24_to_32_bits, QImage::Format_RGB888,
                  QImage::Format_RGB32, 3)
    ->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(fnConvertFormat, Rgb888ToIndexed8_fnDraw_24_to_8_bits, QImage::Format_RGB888,
                  QImage::Format_Indexed8, 3)
    ->MeasureProcessCPUTime();

void fnResize(benchmark::State& state, QImage::Format format, int bytes, int width, int height,
              Qt::TransformationMode mode) {
    const auto pixels = fnPicture(bytes);
    const QImage source(pixels.data(), kWidth, kHeight, qsizetype{kWidth} * bytes, format);
    for ([[maybe_unused]] auto _ : state) {
        const QImage target = source.scaled(width, height, Qt::IgnoreAspectRatio, mode);
        benchmark::DoNotOptimize(target.constBits());
    }
    fnReport(state, width > kWidth ? width : kWidth, height > kHeight ? height : kHeight);
}

// Its smooth reduction is an area mean.
BENCHMARK_CAPTURE(fnResize, fnResample_32_third, QImage::Format_RGB32, 4, 1333, 1000,
                  Qt::SmoothTransformation)
    ->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(fnResize, fnResample_24_nearest_times_2, QImage::Format_RGB888, 3, 8000, 6000,
                  Qt::FastTransformation)
    ->MeasureProcessCPUTime();

void fnRotate(benchmark::State& state, QImage::Format format, int bytes, double angle,
              Qt::TransformationMode mode) {
    const auto pixels = fnPicture(bytes);
    const QImage source(pixels.data(), kWidth, kHeight, qsizetype{kWidth} * bytes, format);
    const QTransform turn = QTransform().rotate(angle);
    int width = 0;
    int height = 0;
    for ([[maybe_unused]] auto _ : state) {
        const QImage target = source.transformed(turn, mode);
        width = target.width();
        height = target.height();
        benchmark::DoNotOptimize(target.constBits());
    }
    fnReport(state, width, height);
}

BENCHMARK_CAPTURE(fnRotate, fnRotate_90_8, QImage::Format_Grayscale8, 1, 90.0,
                  Qt::FastTransformation)
    ->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(fnRotate, fnRotate_90_24, QImage::Format_RGB888, 3, 90.0, Qt::FastTransformation)
    ->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(fnRotate, fnRotate_90_32, QImage::Format_RGB32, 4, 90.0, Qt::FastTransformation)
    ->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(fnRotate, fnRotate_30_bilinear_32, QImage::Format_RGB32, 4, 30.0,
                  Qt::SmoothTransformation)
    ->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(fnRotate, fnRotate_30_nearest_32, QImage::Format_RGB32, 4, 30.0,
                  Qt::FastTransformation)
    ->MeasureProcessCPUTime();

} // namespace

BENCHMARK_MAIN();
